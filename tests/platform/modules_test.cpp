// Modules: loading, their operations, resources and texts.
#include <gtest/gtest.h>

#include <cstring>

#include "platform/probe.h"
#include "support/files.h"
#include "support/names.h"

namespace bv::test {
namespace {

/// The probe, loaded.
class Modules : public testing::Test {
protected:
    void SetUp() override { ASSERT_NE(module, nullptr) << GetLastError(); }
    void TearDown() override { FreeLibrary(module); }

    HMODULE module = LoadLibraryW(WideName(ProbePath()).c_str());
};

TEST_F(Modules, EachLoadIsGivenBack) {
    EXPECT_EQ(LoadLibraryExW(WideName(ProbePath()).c_str(), nullptr, 0), module);
    EXPECT_EQ(GetModuleHandleW(WideName(ProbePath().filename()).c_str()), module);
    EXPECT_TRUE(FreeLibrary(module));
    EXPECT_EQ(GetModuleHandleW(WideName(ProbePath()).c_str()), module);
    EXPECT_TRUE(FreeLibrary(module));
    EXPECT_EQ(GetModuleHandleW(WideName(ProbePath()).c_str()), nullptr);
    module = LoadLibraryA("BVProbe.dll");  // beside the program; natively that means BVProbe.so
    EXPECT_EQ(GetModuleHandleW(WideName(ProbePath()).c_str()), module);
}

TEST_F(Modules, WhatCannotBeLoadedSaysWhy) {
    const std::filesystem::path text = TempFolder() / "text.bin";
    WriteAll(text, "no module, but long enough to be looked at, which takes sixty-four bytes or so");
    const struct {
        std::wstring name;
        DWORD error;
    } cases[] = {
        {WideName(TempFolder() / "nothing.bin"), ERROR_MOD_NOT_FOUND},
        {L"bv-there-is-no-such-module.dll", ERROR_MOD_NOT_FOUND},
        {WideName(text), ERROR_BAD_EXE_FORMAT},
    };
    for (const auto& c : cases) {
        SetLastError(0);
        EXPECT_EQ(LoadLibraryW(c.name.c_str()), nullptr);
        EXPECT_EQ(GetLastError(), c.error) << Utf8Name(PathOf(c.name));
    }
}

TEST_F(Modules, OperationsAndPath) {
    const auto operation = GetProcAddress(module, "DllRegisterServer");
    ASSERT_NE(operation, nullptr);
    EXPECT_EQ(reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(reinterpret_cast<void*>(operation))(), S_OK)
        << "DllMain has run";
    EXPECT_EQ(GetProcAddress(module, "DllNothing"), nullptr);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_PROC_NOT_FOUND));

    wchar_t path[4096] = {};
    const DWORD length = GetModuleFileNameW(module, path, 4096);
    EXPECT_TRUE(std::filesystem::equivalent(PathOf(path), ProbePath()));
    EXPECT_EQ(length, std::wcslen(path));
    wchar_t few[8] = L"xxxxxxx";
    EXPECT_EQ(GetModuleFileNameW(module, few, 4), 4u);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INSUFFICIENT_BUFFER));
    EXPECT_EQ(few[4], L'x');
    EXPECT_GT(GetModuleFileNameW(nullptr, few, 8), 0u);
}

TEST_F(Modules, SystemLibrariesAreFoundByName) {
    const HMODULE system = LoadLibraryA("oleaut32.dll");
    ASSERT_NE(system, nullptr);
    EXPECT_NE(GetProcAddress(system, "SysAllocString"), nullptr);
    EXPECT_EQ(GetModuleHandleW(L"oleaut32.dll"), system);
    EXPECT_TRUE(FreeLibrary(system));
}

TEST_F(Modules, ResourcesByNumberAndName) {
    const HRSRC script = FindResourceA(module, MAKEINTRESOURCEA(101), "REGISTRY");
    ASSERT_NE(script, nullptr);
    EXPECT_EQ(FindResourceA(module, "#101", "registry"), script);
    EXPECT_EQ(SizeofResource(module, script), 10u);
    const void* data = LockResource(LoadResource(module, script));
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(std::memcmp(data, "HKCR { }\r\n", 10), 0);

    EXPECT_EQ(FindResourceA(module, MAKEINTRESOURCEA(102), "REGISTRY"), nullptr);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_RESOURCE_NAME_NOT_FOUND));
    EXPECT_EQ(FindResourceA(module, MAKEINTRESOURCEA(101), "NOTHING"), nullptr);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_RESOURCE_TYPE_NOT_FOUND));
}

TEST_F(Modules, TextsAreCutToTheBuffer) {
    char narrow[64] = {};
    wchar_t wide[64] = {};
    EXPECT_EQ(LoadStringA(module, 1, narrow, 64), 5);
    EXPECT_STREQ(narrow, "first");
    EXPECT_EQ(LoadStringW(module, 1258, wide, 64), 4);
    EXPECT_STREQ(wide, L"last");
    EXPECT_EQ(LoadStringA(module, 16, narrow, 7), 6);
    EXPECT_STREQ(narrow, "a text");
    EXPECT_EQ(LoadStringW(module, 16, wide, 7), 6);
    EXPECT_STREQ(wide, L"a text");
    EXPECT_EQ(LoadStringA(module, 2, narrow, 64), 0);
    EXPECT_EQ(LoadStringA(module, 5000, narrow, 64), 0);

    for (const int block : {1, 2, 79}) {  // of the ids 0 to 15, 16 to 31, 1248 to 1263
        const HRSRC found = FindResourceA(module, MAKEINTRESOURCEA(block), RT_STRING);
        ASSERT_NE(found, nullptr) << block;
        EXPECT_GE(SizeofResource(module, found), 32u);
    }
    EXPECT_EQ(FindResourceA(module, MAKEINTRESOURCEA(3), RT_STRING), nullptr);
}

}  // namespace
}  // namespace bv::test
