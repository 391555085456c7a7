// The reader of .idx files: the first byte says whether the source still fits, the rest is the file.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "com/strings.h"
#include "input/index_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using bv::IndexFile;
    static const std::wstring name = L"fuzz" + std::to_wstring(getpid());
    static const std::string path = [] {
        wchar_t own[4096] = {};
        GetModuleFileNameW(bv::ModuleInstance(), own, 4096);
        PathRemoveFileSpecW(own);
        return std::string(bv::NarrowText(own + (L'/' + name) + L".idx").c_str());
    }();
    if (size == 0) return 0;
    const bool fits = data[0] & 1;
    ++data;
    --size;

    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (!file) std::abort();
    std::fwrite(data, 1, size, file);
    std::fclose(file);

    ULONGLONG fingerprint = 0;
    for (std::size_t i = 0; i < 8 && i < size; ++i) fingerprint |= ULONGLONG(data[i]) << (8 * i);
    const IndexFile index_file(name);
    int kind = -1;
    bv::ByteBlock index;
    const auto reading = index_file.Read(fits ? fingerprint : ~fingerprint, kind, index);
    const auto expected = fits && size >= 16 ? IndexFile::Reading::kGood : IndexFile::Reading::kStale;
    if (reading != expected) std::abort();
    if (reading == IndexFile::Reading::kGood) {
        if (index.size() != size - 16 || std::memcmp(index.data(), data + 16, index.size()) != 0)
            std::abort();
        // What was read is written as it was, but for the four bytes without a meaning.
        if (!index_file.Write(fingerprint, kind, index)) std::abort();
        bv::ByteBlock again;
        int kind_again = 0;
        if (index_file.Read(fingerprint, kind_again, again) != IndexFile::Reading::kGood ||
            kind_again != kind || again.size() != index.size())
            std::abort();
    } else if (index) {
        std::abort();
    }
    index_file.Delete();

    // Any text as the name in IDX: it names a file of ours or none.
    std::wstring hostile(data, data + std::min<std::size_t>(size, 400));
    if (const IndexFile other(hostile); other && hostile.find_first_of(L"/\\:") != hostile.npos) std::abort();
    return 0;
}
