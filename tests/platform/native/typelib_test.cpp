// Type libraries whose path or whose contents are somebody else's.
#include <windows.h>
//
#include <gtest/gtest.h>
#include <oleauto.h>

#include <string>

#include <sys/stat.h>

#include "automation/typelib_format.h"
#include "support/environment.h"
#include "support/files.h"
#include "support/names.h"

namespace {

namespace fs = std::filesystem;
using namespace bv::typelib;

/// Bytes of a library, as its form says.
class Bytes {
public:
    Bytes& Number(std::uint32_t number, int size) {
        for (int i = 0; i < size; ++i) text += static_cast<char>(number >> (8 * i));
        return *this;
    }
    Bytes& Id(std::uint32_t first) { return Number(first, 4).Number(0, 4).Number(0, 4).Number(0, 4); }
    Bytes& Name(const std::string& name) {
        Number(static_cast<std::uint32_t>(name.size()), 2);
        text += name;
        return *this;
    }
    std::string text;
};

/// A chain of dual interfaces, each the base of the next one.
std::string Chain(unsigned count) {
    Bytes bytes;
    bytes.text.assign(kMagic, sizeof kMagic);
    bytes.Number(kFormat, 2).Id(7).Number(1, 2).Number(0, 2).Name("Chain").Name("").Number(count, 2);
    for (unsigned i = 0; i < count; ++i)
        bytes.Number(TKIND_INTERFACE, 1)
            .Number(TYPEFLAG_FDUAL, 2)
            .Id(1000 + i)
            .Name("I")
            .Name("")
            .Number(i == 0 ? kStandard | kIDispatch : i - 1, 2)
            .Number(0, 2);
    return bytes.text;
}

TEST(TypeLibrary, WhatIsNoFileIsRefusedWithoutWaiting) {
    const fs::path pipe = bv::test::TempFolder() / "pipe.tlb";
    fs::remove(pipe);
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const fs::path& path : {pipe, fs::path("/dev/zero"), fs::path("/dev/tty"), bv::test::TempFolder()}) {
        ITypeLib* library = nullptr;
        EXPECT_EQ(LoadTypeLib(bv::test::WideName(path).c_str(), &library), TYPE_E_CANTLOADLIBRARY) << path;
        EXPECT_EQ(library, nullptr);
    }
    fs::remove(pipe);
}

TEST(TypeLibrary, AChainOfBasesMayBeAsLongAsThereAreTypes) {
    constexpr unsigned kMost = 32767;
    const fs::path path = bv::test::TempFolder() / "chain.tlb";
    bv::test::WriteAll(path, Chain(kMost));
    ITypeLib* library = nullptr;
    ASSERT_EQ(LoadTypeLib(bv::test::WideName(path).c_str(), &library), S_OK);
    EXPECT_EQ(library->GetTypeInfoCount(), kMost);
    ITypeInfo* last = nullptr;
    ASSERT_EQ(library->GetTypeInfo(kMost - 1, &last), S_OK);
    TYPEATTR* attributes = nullptr;
    ASSERT_EQ(last->GetTypeAttr(&attributes), S_OK);
    EXPECT_EQ(attributes->cFuncs, 7) << "those of the standard bases alone";
    last->ReleaseTypeAttr(attributes);
    wchar_t name[] = L"invoke";
    LPOLESTR names = name;
    MEMBERID id = 0;
    EXPECT_EQ(last->GetIDsOfNames(&names, 1, &id), S_OK);
    last->Release();
    library->Release();
    fs::remove(path);
}

}  // namespace
