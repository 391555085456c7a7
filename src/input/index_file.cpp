#include "input/index_file.h"

#include <bv_file_draft.h>

#include <climits>
#include <cstring>
#include <cwchar>
#include <new>
#include <string>
#include <tuple>
#include <utility>

#include "com/strings.h"

namespace bv {
namespace {

// The header, little-endian: fingerprint (8 bytes), kind (4), nothing (4). The index follows to the end.
constexpr DWORD kHeaderSize = 16;
constexpr DWORD kKindAt = 8;
constexpr std::wstring_view kExtension = L".idx";
constexpr std::wstring_view kDraftExtension = L".new";
static_assert(kDraftExtension.size() == kExtension.size(), "a draft's name is as long as the file's");
constexpr size_t kMaxName = 255 - kExtension.size();

void PutNumber(BYTE* bytes, ULONGLONG number, int size) {
    for (int i = 0; i < size; ++i) bytes[i] = BYTE(number >> (8 * i));
}

ULONGLONG GetNumber(const BYTE* bytes, int size) {
    ULONGLONG number = 0;
    for (int i = 0; i < size; ++i) number |= ULONGLONG(bytes[i]) << (8 * i);
    return number;
}

class File {
public:
    File(const wchar_t* path, DWORD access, DWORD disposition)
        : handle_(CreateFileW(path, access, FILE_SHARE_READ, nullptr, disposition, FILE_ATTRIBUTE_NORMAL,
                              nullptr)) {}
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File() { Close(); }
    explicit operator bool() const { return handle_ != INVALID_HANDLE_VALUE; }
    bool Close() {
        HANDLE const open = std::exchange(handle_, INVALID_HANDLE_VALUE);
        return open != INVALID_HANDLE_VALUE && CloseHandle(open);
    }
    ULONGLONG Size() const {
        LARGE_INTEGER size = {};
        return GetFileSizeEx(handle_, &size) ? ULONGLONG(size.QuadPart) : 0;
    }
    bool Read(void* bytes, DWORD size) {
        DWORD done = 0;
        return ReadFile(handle_, bytes, size, &done, nullptr) && done == size;
    }
    bool Write(const void* bytes, DWORD size) {
        DWORD done = 0;
        return WriteFile(handle_, bytes, size, &done, nullptr) && done == size;
    }

private:
    HANDLE handle_;
};

ULONGLONG HighOrLow(DWORD high, DWORD low) { return high | low; }

/// A name that some systems take for a device in every folder, whatever its extension.
bool IsDeviceName(std::wstring_view name) {
    name = name.substr(0, name.find_first_of(L". "));
    if (name.size() == 4 && IsDigit(name[3])) {
        name.remove_suffix(1);
        return SameName(name, L"COM") || SameName(name, L"LPT");
    }
    for (const wchar_t* device : {L"CON", L"PRN", L"AUX", L"NUL", L"CONIN$", L"CONOUT$"})
        if (SameName(name, device)) return true;
    return false;
}

/// The mask for all entries of a folder, joined the way the folder is written: the path calls have less room
/// than a folder's path may take, and a long one needs the form that has no limit where paths have one.
std::wstring AllIn(const std::wstring& folder) {
    std::wstring mask = folder;
    mask += mask[0] == L'/' ? L"/*.*" : L"\\*.*";
    if (mask.size() >= MAX_PATH && mask[1] == L':') mask.insert(0, L"\\\\?\\");
    return mask;
}

}  // namespace

bool IndexFile::IsSafeName(std::wstring_view name) {
    if (name.empty() || name.size() > kMaxName || name.find(L"..") != name.npos || IsDeviceName(name))
        return false;
    for (const wchar_t c : name)
        if (c < L' ' || std::wcschr(L"/\\:*?\"<>|", c)) return false;
    return true;
}

std::optional<ULONGLONG> Fingerprint(std::wstring_view source) try {
    const std::wstring path(source.substr(0, source.find(L'\0')));
    if (path.empty()) return 0;
    if (const File file(path.c_str(), GENERIC_READ, OPEN_EXISTING); file) {
        const ULONGLONG size = file.Size();
        return HighOrLow(DWORD(size >> 32), DWORD(size));
    }
    WIN32_FIND_DATAW entry;
    HANDLE const search = FindFirstFileW(AllIn(path).c_str(), &entry);
    if (search == INVALID_HANDLE_VALUE) return 0;
    ULONGLONG sum = 0;
    do sum += HighOrLow(entry.nFileSizeHigh, entry.nFileSizeLow);
    while (FindNextFileW(search, &entry));
    FindClose(search);
    return sum;
} catch (const std::bad_alloc&) {
    return std::nullopt;
}

IndexFile::IndexFile(std::wstring_view name) {
    wchar_t path[MAX_PATH];
    const DWORD length = GetModuleFileNameW(ModuleInstance(), path, MAX_PATH);
    if (!IsSafeName(name) || length == 0 || length >= MAX_PATH) return;
    PathRemoveFileSpecW(path);
    wchar_t file[MAX_PATH];
    name.copy(file, name.size());
    kExtension.copy(file + name.size(), kExtension.size());
    file[name.size() + kExtension.size()] = 0;
    if (PathAppendW(path, file)) std::wcscpy(path_, path);
}

bool IndexFile::Write(ULONGLONG fingerprint, int kind, const ByteBlock& index) const {
    wchar_t draft[MAX_PATH];
    std::wcscpy(draft, path_);
    kDraftExtension.copy(draft + std::wcslen(draft) - kExtension.size(), kDraftExtension.size());

    File file(draft, GENERIC_WRITE, CREATE_ALWAYS);
    if (!file) return false;
    BYTE header[kHeaderSize] = {};
    PutNumber(header, fingerprint, 8);
    PutNumber(header + kKindAt, DWORD(kind), 4);
    const bool written = file.Write(header, kHeaderSize) && file.Write(index.data(), DWORD(index.size()));
    if (file.Close() && written) return KeepDraft(draft, path_);
    std::ignore = DeleteFileW(draft);
    return false;
}

IndexFile::Reading IndexFile::Read(ULONGLONG fingerprint, int& kind, ByteBlock& index) const {
    index.Free();
    File file(path_, GENERIC_READ, OPEN_EXISTING);
    if (!file) return Reading::kMissing;
    const ULONGLONG size = file.Size();
    BYTE header[kHeaderSize];
    if (size < kHeaderSize || size - kHeaderSize > INT_MAX || !file.Read(header, kHeaderSize) ||
        GetNumber(header, 8) != fingerprint)
        return Reading::kStale;
    const DWORD length = DWORD(size - kHeaderSize);
    if (!index.Allocate(length)) return Reading::kMissing;
    if (!file.Read(index.data(), length)) {
        index.Free();
        return Reading::kStale;
    }
    kind = int(GetNumber(header + kKindAt, 4));
    return Reading::kGood;
}

void IndexFile::Delete() const { std::ignore = DeleteFileW(path_); }

}  // namespace bv
