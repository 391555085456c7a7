// Font strings and the record that they stand for.
#include <cstring>

#include "support/node.h"

namespace bv::test {
namespace {

const std::wstring kDefault = L"FONT=Tahoma;STYLE=Regular;SIZE=10;U=OFF;S=OFF;CHARSET=Default;";

/// A field as a reader of it would take it.
template <size_t N>
std::string Field(const char (&field)[N]) {
    return {field, strnlen(field, N)};
}
template <size_t N>
void SetField(char (&field)[N], const std::string& text) {
    std::memset(field, 0, N);
    std::memcpy(field, text.data(), std::min(N, text.size()));
}

class FontTest : public testing::Test {
protected:
    FontInfo Parse(const Value& text) {
        EXPECT_EQ(font.Put(text), S_OK);
        FontInfo info = {};
        SetField(info.FaceName, "face");
        SetField(info.Style, "style");
        SetField(info.Charset, "charset");
        info.Size = 77;
        info.Underline = info.Strikeout = 5;
        EXPECT_EQ(parser->GetFontInfo(&info), S_OK);
        return info;
    }
    /// "face|style|charset|77|5|5"
    std::string Parsed(const Value& text) {
        const FontInfo info = Parse(text);
        return Field(info.FaceName) + '|' + Field(info.Style) + '|' + Field(info.Charset) + '|' +
               std::to_string(info.Size) + '|' + std::to_string(info.Underline) + '|' +
               std::to_string(info.Strikeout);
    }

    NothingLeft no_leaks;
    Node font = CreateNode(clsid::PropertyWatermarkFont);
    Ref<IFontStringParser> parser = font.As<IFontStringParser>();
};

TEST_F(FontTest, ReadsItems) {
    struct Case {
        std::wstring text;
        std::string record;
    };
    const Case cases[] = {
        {kDefault, "Tahoma|Regular|Default|10|0|0"},
        {L"", "face|style|charset|77|5|5"},
        {L"XYZ=1;FONT=Arial;junk;", "Arial|style|charset|77|5|5"},
        {L"CHARSET=Greek;U=ON;FONT=A;FONT=B", "B|style|Greek|77|1|5"},
        {L"FONT=a=b;", "a=b|style|charset|77|5|5"},
        {L" FONT=Arial;STYLE= Bold ", "face| Bold |charset|77|5|5"},
        {L"FONT=;STYLE=", "||charset|77|5|5"},
        {L"SIZE=abc", "face|style|charset|8|5|5"},
        {L"SIZE=+-3", "face|style|charset|8|5|5"},
        {L"SIZE=12pt", "face|style|charset|12|5|5"},
        {L"SIZE=-3", "face|style|charset|-3|5|5"},
        {L"SIZE= \t+9", "face|style|charset|9|5|5"},
        {L"SIZE=99999999999999999999999", "face|style|charset|2147483647|5|5"},
        {L"SIZE=-2147483649", "face|style|charset|-2147483648|5|5"},
        {L"U=on;S=oN", "face|style|charset|77|1|1"},
        {L"U=1;S=ON ", "face|style|charset|77|0|0"},
        {std::wstring(500, L';') + L"SIZE=3", "face|style|charset|3|5|5"},
        {std::wstring(510, L';') + L"SIZE=3", "face|style|charset|77|5|5"},  // more than 512 bytes
        {std::wstring(L"SIZE=3;\0SIZE=4", 14), "face|style|charset|3|5|5"},
    };
    for (const Case& c : cases) EXPECT_EQ(Parsed(Str(c.text)), c.record) << Narrow(c.text);
    EXPECT_EQ(Parsed(I4(12)), "face|style|charset|77|5|5");
    EXPECT_EQ(parser->GetFontInfo(nullptr), E_POINTER);
    EXPECT_EQ(parser->PutFontInfo(nullptr), E_POINTER);
}

TEST_F(FontTest, NamesStopAtTheirFields) {
    for (const size_t length : {30u, 31u, 32u, 33u, 255u, 256u, 300u}) {
        const std::wstring name(length, L'n');
        const FontInfo face = Parse(Str(L"FONT=" + name));
        EXPECT_EQ(Field(face.FaceName), std::string(std::min<size_t>(length, 255), 'n'));
        EXPECT_EQ(Field(face.Style), "style");
        const FontInfo both = Parse(Str(L"CHARSET=" + name + L";SIZE=3"));
        EXPECT_EQ(Field(both.Charset), std::string(std::min<size_t>(length, 31), 'n'));
        EXPECT_EQ(both.Size, 3);
        EXPECT_EQ(Field(both.Style), "style");
    }
}

TEST_F(FontTest, WritesRecords) {
    FontInfo info = {};
    SetField(info.FaceName, "Tahoma");
    SetField(info.Style, "Regular");
    SetField(info.Charset, "Default");
    info.Size = 10;
    ASSERT_EQ(font.Put(I4(1)), S_OK);
    ASSERT_EQ(parser->PutFontInfo(&info), S_OK);
    EXPECT_EQ(font.Value(), Str(kDefault));

    SetField(info.FaceName, std::string(256, 'f'));  // no NUL in any of them
    SetField(info.Style, std::string(32, 's'));
    SetField(info.Charset, std::string(32, 'c'));
    info.Size = -2147483647 - 1;
    info.Underline = -1;
    info.Strikeout = 0x10000;
    ASSERT_EQ(parser->PutFontInfo(&info), S_OK);
    EXPECT_EQ(font.Value(), Str(L"FONT=" + std::wstring(256, L'f') + L";STYLE=" + std::wstring(32, L's') +
                                L";SIZE=-2147483648;U=ON;S=ON;CHARSET=" + std::wstring(32, L'c') + L";"));
}

}  // namespace
}  // namespace bv::test
