// Watermark texts with variables in them.
#include <cstring>

#include "support/node.h"

namespace bv::test {
namespace {

/// A text node in a job that has an input file.
class DynamicTextTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(dynamic);
        Input(L"C:\\in.folder\\clip.test.avi");
        media.output_name = L"D:\\out\\Result.mp4";
        ASSERT_EQ(media.map()->InsertProperty(input.get()), S_OK);
        ASSERT_EQ(input->SetInfo(Text(L"PathToMediaFile"), Nothing().get()), S_OK);
        text.Give(media.dispatch());
    }
    void TearDown() override { text.Give(nullptr); }
    void Input(const std::wstring& path) { input.As<ISimpleInit>()->put_Value(Str(path).get()); }
    void Format(const wchar_t* name, const Value& format) { ASSERT_EQ(text.Find(name).Put(format), S_OK); }
    std::wstring Expand(const std::wstring& raw) const {
        BSTR result = nullptr;
        EXPECT_EQ(dynamic->Expand(Text(raw), &result), S_OK);
        return Take(result);
    }

    NothingLeft no_leaks;
    FakeMedia media;
    Node input = CreateNode(clsid::PropertySimple);
    Node text = CreateNode(clsid::PropertyWatermarkText);
    Ref<IDynamicText> dynamic = text.As<IDynamicText>();
};

struct Expansion {
    std::wstring raw, expanded;
};

TEST_F(DynamicTextTest, VariablesAreListed) {
    LONG count = 0;
    ASSERT_EQ(dynamic->GetVariableCount(&count), S_OK);
    std::wstring all;
    for (LONG i = 0; i < count; ++i) {
        BSTR key = nullptr, title = nullptr;
        ASSERT_EQ(dynamic->GetVariable(i, &key, &title), S_OK);
        all += Take(key) + L"=" + Take(title) + L";";
    }
    EXPECT_EQ(all,
              L"%sf=Full Source File Name;%s=Short Source File Name;%of=Full Output File Name;"
              L"%o=Short Output File Name;%i=Index;%d=Current Date;%t=Current Time;");
    BSTR key = nullptr, title = nullptr;
    for (const LONG outside : {LONG(-1), count})
        EXPECT_EQ(dynamic->GetVariable(outside, &key, &title), E_INVALIDARG);
    EXPECT_EQ(dynamic->GetVariable(0, nullptr, &title), E_POINTER);
    EXPECT_EQ(dynamic->Expand(Text(L"x"), nullptr), E_POINTER);
    BSTR result = nullptr;
    EXPECT_EQ(dynamic->Expand(nullptr, &result), S_OK);
    EXPECT_EQ(Take(result), L"");
}

TEST_F(DynamicTextTest, PutsValuesInTheirPlaces) {
    const Expansion cases[] = {
        {L"", L""},
        {L"plain Text", L"plain Text"},
        {L"100%", L"100%"},
        {L"%x %", L"%x %"},
        {L"%%", L"%%"},
        {L"%sf", L"clip.test.avi"},
        {L"%s", L"clip.test"},
        {L"%SF and %S", L"clip.test.avi and clip.test"},
        {L"%sfoo", L"clip.test.avioo"},
        {L"%of %Of %o.", L"Result.mp4 Result.mp4 Result."},
        {L"%i%i", L"0303"},
        {L"%%i", L"%03"},
        {L"a%", L"a%"},
        {L"%s%%o", L"clip.test%Result"},
    };
    for (const Expansion& c : cases) EXPECT_EQ(Expand(c.raw), c.expanded) << Narrow(c.raw);
    ASSERT_EQ(text.Put(Str(L"%i")), S_OK);
    Expand(L"%i");
    EXPECT_EQ(text.Value(), Str(L"%i"));
}

TEST_F(DynamicTextTest, LaterVariablesSeeWhatEarlierOnesBrought) {
    Input(L"C:\\a%i.avi");
    EXPECT_EQ(Expand(L"%sf"), L"a03.avi");
    Input(L"C:\\%o%");
    EXPECT_EQ(Expand(L"%sI"), L"Result03");  // a sign from a value, before a letter of the text
    media.output_name = L"%sf";
    EXPECT_EQ(Expand(L"%of"), L"%sf");
}

TEST_F(DynamicTextTest, FileNamesOfAnyForm) {
    struct PathCase {
        std::wstring path, full, brief;
    };
    const PathCase cases[] = {
        {L"C:\\clips\\noext", L"noext", L"noext"},
        {L"clip.avi", L"clip.avi", L"clip"},
        {L"C:\\a.b\\c", L"c", L"c"},
        {L"\\\\server\\share\\c.d", L"c.d", L"c"},
        {L"", L"", L""},
        {L".avi", L".avi", L""},
        {L"C:\\" + std::wstring(100, L'n') + L".avi", std::wstring(100, L'n') + L".avi",
         std::wstring(100, L'n')},
        {std::wstring(600, L'n'), L"", L""},
    };
    for (const PathCase& c : cases) {
        SCOPED_TRACE(Narrow(c.path));
        Input(c.path);
        media.output_name = c.path;
        EXPECT_EQ(Expand(L"<%sf|%s|%of|%o>"),
                  L"<" + c.full + L"|" + c.brief + L"|" + c.full + L"|" + c.brief + L">");
    }
}

TEST_F(DynamicTextTest, AVariableWithoutASourceStays) {
    media.has_media_object = false;
    EXPECT_EQ(Expand(L"%sf %of %o %i"), L"clip.test.avi %of %o %i");
    ASSERT_EQ(media.map()->RemoveProperties(Text(L"PathToMediaFile"), nullptr), S_OK);
    EXPECT_EQ(Expand(L"%sf %s"), L"%sf %s");
    text.Give(nullptr);
    media.has_media_object = true;
    EXPECT_EQ(Expand(L"%s %o %i"), L"%s %o %i");
    Format(L"FORMAT_d", Str(L"'today'"));
    EXPECT_EQ(Expand(L"%sf_%d"), L"%sf_today");
}

TEST_F(DynamicTextTest, NumbersGoThroughTheirPicture) {
    struct NumberCase {
        int number;
        std::wstring format, shown;
    };
    const std::wstring nines(500, L'9');
    const NumberCase cases[] = {
        {3, L"%d", L"3"},
        {3, L"%02d", L"03"},
        {-3, L"%04i|", L"-003|"},
        {3, L"%-4d|%%", L"3   |%"},
        {3, L"%+5d", L"   +3"},
        {255, L"%x %%", L"ff %"},
        {255, L"%#06X", L"0X00FF"},
        {0, L"%#o %%", L"0 %"},
        {0, L"%#05.0o", L"    0"},
        {-2147483647 - 1, L"%d", L"-2147483648"},
        {3, L"% +5u|", L"    3|"},
        {7, L"%06.3d", L"   007"},
        {0, L"<%.0d>", L"<>"},
        // A length says how many of the number's bytes are shown.
        {300, L"%hhd", L"44"},
        {70000, L"%hd", L"4464"},
        {-1, L"%#hx", L"0xffff"},
        {-1, L"%llo", L"1777777777777777777777"},
        {-12, L"%zd|%%", L"-12|%"},
        {-1, L"%I64u", L"18446744073709551615"},
        {-1, L"%I32u", L"4294967295"},
        {3, L"%510d|", std::wstring(509, L' ') + L"3|"},
        {3, L"no number", L"no number"},
        {3, L"", L""},
        // What is no format for one number counts as "%d".
        {3, L"%s", L"3"},
        {3, L"a%nb%d", L"3"},
        {3, L"%*d", L"3"},
        {3, L"%1$d", L"3"},
        {3, L"%lhd", L"3"},
        {3, L"%Lf", L"3"},
        {3, L"%.-1d", L"3"},
        {3, L"%", L"3"},
        {3, L"%513d", L"3"},
        {3, L"%99999999999999999999d", L"3"},
        {3, L"%.2000000000d", L"3"},
        {3, nines + L"%20d", L"3"},
    };
    for (const NumberCase& c : cases) {
        Format(L"FORMAT_i", Str(c.format));
        media.index = c.number;
        EXPECT_EQ(Expand(L"%i"), c.shown) << Narrow(c.format);
    }
    media.index = 3;
    Format(L"FORMAT_i", I4(77));  // a number is a format without a conversion
    EXPECT_EQ(Expand(L"%i"), L"77");
    ASSERT_EQ(text.As<IEnumProperties>()->RemoveByName(Text(L"FORMAT_i"), nullptr), S_OK);
    ASSERT_EQ(media.map()->RemoveProperties(Text(L"FORMAT_i"), nullptr), S_OK);
    EXPECT_EQ(Expand(L"%i"), L"3");
}

TEST_F(DynamicTextTest, DatesAndTimesAreLocalAndNew) {
    const auto now = [](bool date, const char* format) {
        SYSTEMTIME time = {};
        GetLocalTime(&time);
        char shown[100] = "";
        if (date)
            GetDateFormatA(0, 0, &time, format, shown, sizeof shown);
        else
            GetTimeFormatA(0, 0, &time, format, shown, sizeof shown);
        return std::wstring(shown, shown + std::strlen(shown));
    };
    const auto expect = [&](const wchar_t* key, bool date, const char* format) {
        std::wstring before, shown, after;
        do {  // the clock may go on between
            before = now(date, format);
            shown = Expand(key);
            after = now(date, format);
        } while (before != after);
        EXPECT_EQ(shown, before) << format;
    };
    expect(L"%d", true, "d:MM:yyyy");
    expect(L"%T", false, "h:mm:ss");
    Format(L"FORMAT_d", Str(L"dddd, d. MMMM 'yy' yy"));
    Format(L"FORMAT_t", Str(L"HH'h'mm tt"));
    expect(L"%D", true, "dddd, d. MMMM 'yy' yy");
    expect(L"%t", false, "HH'h'mm tt");

    Format(L"FORMAT_d", Str(L""));
    Format(L"FORMAT_t", Str(std::wstring(600, L'h')));  // more than a format may have
    EXPECT_EQ(Expand(L"<%d>"), L"<>");
    EXPECT_LE(Expand(L"%t").size(), 20u);
    Format(L"FORMAT_d", Str(std::wstring(507, L'-') + L"dddd"));  // no room for what it makes
    EXPECT_EQ(Expand(L"<%d>"), L"<%d>");
}

TEST_F(DynamicTextTest, TextsHaveALimit) {
    EXPECT_EQ(Expand(std::wstring(512, L'x')), std::wstring(512, L'x'));
    EXPECT_EQ(Expand(std::wstring(513, L'x')), L"");
    EXPECT_EQ(Expand(std::wstring(510, L'x') + L"%i"), std::wstring(510, L'x') + L"03");
    EXPECT_EQ(Expand(std::wstring(508, L'x') + L"%sf"), L"");  // it fits, what it becomes doesn't
    std::wstring many;
    for (int i = 0; i < 250; ++i) many += L"%s";
    EXPECT_EQ(Expand(many), L"");
    EXPECT_EQ(Expand(L"%i"), L"03");
    EXPECT_EQ(Expand(std::wstring(L"a\0%i", 4)), L"a");
}

}  // namespace
}  // namespace bv::test
