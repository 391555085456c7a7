// BSTR: a text that carries its length.
#include <windows.h>
//
#include <gtest/gtest.h>
#include <oleauto.h>

#include <cstdint>
#include <cstring>
#include <cwchar>
#include <string>

namespace {

std::wstring TextOf(BSTR text) { return std::wstring(text, SysStringLen(text)); }

TEST(Bstr, CarriesItsLengthInBytesBeforeTheFirstCharacter) {
    const std::wstring source(L"ab\0cd", 5);
    BSTR text = SysAllocStringLen(source.data(), 5);
    ASSERT_NE(text, nullptr);
    std::uint32_t bytes = 0;
    std::memcpy(&bytes, reinterpret_cast<const char*>(text) - 4, 4);
    EXPECT_EQ(bytes, 5 * sizeof(OLECHAR));
    EXPECT_EQ(SysStringByteLen(text), bytes);
    EXPECT_EQ(TextOf(text), source);
    EXPECT_EQ(text[5], L'\0');
    SysFreeString(text);
}

TEST(Bstr, MayHoldAnOddNumberOfBytes) {
    // Whoever looks for the end by character finds it inside.
    for (UINT size = 0; size < 3 * sizeof(OLECHAR); ++size) {
        SCOPED_TRACE(size);
        BSTR text = SysAllocStringByteLen("abcdefghijkl", size);
        ASSERT_NE(text, nullptr);
        const std::size_t begun = (size + sizeof(OLECHAR) - 1) / sizeof(OLECHAR);
        EXPECT_EQ(std::wcslen(text), begun);
        EXPECT_EQ(SysStringByteLen(text), size);
        EXPECT_EQ(SysStringLen(text), size / sizeof(OLECHAR));
        SysFreeString(text);
    }
}

TEST(Bstr, NullIsAnEmptyText) {
    EXPECT_EQ(SysStringLen(nullptr), 0u);
    EXPECT_EQ(SysStringByteLen(nullptr), 0u);
    SysFreeString(nullptr);
    EXPECT_EQ(SysAllocString(nullptr), nullptr);
    BSTR unset = SysAllocStringLen(nullptr, 3);
    EXPECT_EQ(SysStringLen(unset), 3u);
    EXPECT_EQ(unset[3], L'\0');
    SysFreeString(unset);
    EXPECT_EQ(SysAllocStringLen(nullptr, 0xFFFFFFFF), nullptr);
}

}  // namespace
