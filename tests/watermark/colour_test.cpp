// Colours as text and as the system's colour word.
#include "watermark/colour.h"

#include <gtest/gtest.h>

namespace bv {
namespace {

TEST(Colour, IsReadAsFarAsItGoes) {
    struct Case {
        std::wstring text;
        DWORD colour;
    };
    const Case cases[] = {
        {L"0xFF8000", 0x000080FF},
        {L"0xff8000", 0x000080FF},
        {L"xxFF8000", 0x000080FF},
        {L"0x0102FFzz;", 0x00FF0201},
        {L"0xGG8000", 0x00008000},
        {L"0x1G2-ff", 0x00FF0201},
        {L"0x 1+2-3", 0},
        {L"0x0x0x0x", 0},
        {L"#FF8000", 0},
        {L"0xFFFFF", 0},
        {L"", 0},
        {std::wstring(L"0x10\0FFFF", 10), 0},
        {L"0x010203" + std::wstring(247, L'F'), 0x00030201},
        {L"0x010203" + std::wstring(248, L'F'), 0},
    };
    for (const Case& c : cases) EXPECT_EQ(ReadColour(c.text), c.colour) << c.text.size();
}

TEST(Colour, IsWrittenInUpperCase) {
    for (const DWORD colour : {0u, 0xFFFFFFu, 0x80FFu, 0xABCDEFu, 0x010A0Fu})
        EXPECT_EQ(ReadColour(ColourToText(colour)), colour);
    EXPECT_EQ(ColourToText(0xFF0080FF), L"0xFF8000");  // the highest byte is no colour
    EXPECT_EQ(ColourToText(0x00EFCDAB), L"0xABCDEF");
}

}  // namespace
}  // namespace bv
