// Texts of nodes: packed or not, they are given back and found as they were set.
#include "tree/node_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace bv {
namespace {

std::wstring Given(const NodeText& text) {
    Bstr copy;
    EXPECT_EQ(text.CopyTo(copy.Put()), S_OK);
    return std::wstring(copy.View());
}

/// Letters of all kinds, of a length.
std::wstring Letters(size_t length) {
    std::wstring text;
    for (size_t i = 0; i < length; ++i) text += wchar_t(i % 3 ? L'a' + i % 26 : L'A' + i % 26);
    return text;
}

TEST(NodeText, KeepsEachCharacterOfEachLength) {
    // The last three are ASCII in their low byte, or end a text of other kinds.
    const wchar_t odd[] = {L'~', 0x7F, 0x80, 0xE9, 0x161, 0x100, 0};
    NodeText kept;  // goes through all forms
    for (size_t length = 0; length <= 40; ++length) {
        kept.SetCopy(Letters(length));
        EXPECT_EQ(Given(kept), Letters(length));
        for (size_t place = 0; place < length; ++place)
            for (const wchar_t c : odd) {
                std::wstring text = Letters(length);
                text[place] = c;
                kept.SetCopy(text);
                EXPECT_EQ(Given(kept), text) << length << ' ' << place << ' ' << int(c);
                EXPECT_EQ(kept.size(), length);
            }
    }
}

TEST(NodeText, IsFoundWithoutRegardToCaseAndByNoOtherName) {
    for (size_t length = 1; length <= 40; ++length) {
        const std::wstring name = Letters(length);
        NodeText text;
        text.SetCopy(name);
        std::wstring upper = name;
        std::transform(upper.begin(), upper.end(), upper.begin(), [](wchar_t c) { return ToUpperAscii(c); });
        EXPECT_TRUE(text.Is(WantedName(upper))) << length;
        EXPECT_FALSE(text.Is(WantedName(name + L'a'))) << length;
        EXPECT_FALSE(text.Is(WantedName(name.substr(1)))) << length;
        for (size_t place = 0; place < length; ++place)
            // Another letter, what differs from a letter in the bit of its case alone, a letter of another script.
            for (const wchar_t c : {L'0', L'@', L'`', wchar_t(0x161)}) {
                std::wstring other = name;
                other[place] = c;
                EXPECT_FALSE(text.Is(WantedName(other))) << length << ' ' << place << ' ' << int(c);
            }
    }
}

constexpr LiteralText kShort = L"12345678901234567890123", kLong = L"123456789012345678901234", kOther = L"\x161koda",
                      kEmpty = L"";

TEST(NodeText, LiteralsAreKeptAsTheCompilerPackedThem) {
    static_assert(kShort.IsPacked() && kEmpty.IsPacked() && !kLong.IsPacked() && !kOther.IsPacked());
    NodeText text;
    for (const LiteralText* literal : {&kShort, &kLong, &kEmpty, &kOther, &kShort}) {
        text.SetLiteral(*literal);
        EXPECT_EQ(Given(text), literal->View());
        EXPECT_TRUE(text.Is(WantedName(literal->View())));
    }
}

}  // namespace
}  // namespace bv
