// The two points of a cut: frames and times, the order of the points, the length text.
#include <climits>

#include "support/cuts.h"

namespace bv::test {
namespace {

const std::wstring kUnitSource = L"BVSchema.PropertyInfo.1";
constexpr wchar_t kBadTime[] = L"The time value is wrong. Please use: hh:mm:ss.nn";
constexpr wchar_t kCrossed[] = L"Start point should be less than End point!";
constexpr wchar_t kNegative[] = L"This value cannot be negative.";
constexpr wchar_t kNoParser[] = L"Couldn't find parser.";
constexpr wchar_t kBadRate[] = L"Invalid frame rate value.";

class PointsTest : public CutsTest {
protected:
    PointsTest() : cut(Add(0, INT_MAX)) {}
    Node Start() const { return cut.Find(L"StartFrm"); }
    Node End() const { return cut.Find(L"EndFrm"); }
    std::wstring Length() const { return cut.Find(L"points").Description(); }
    static void ShowTime(const Node& point) { ASSERT_EQ(point.Extension().Put(I4(2)), S_OK); }

    Node cut;
};

TEST_F(PointsTest, TimesAreShownCutToMilliseconds) {
    ShowTime(Start());
    struct Case {
        LONGLONG time_per_frame;
        LONG frame;
        const wchar_t* text;
    };
    const Case cases[] = {
        {400000, 0, L"00:00:00.000"},
        {400000, 100, L"00:00:04.000"},
        {400000, 90000, L"01:00:00.000"},
        {400000, -50, L"00:00:-2.000"},
        {333667, 30, L"00:00:01.001"},
        {417083, 1000, L"00:00:41.708"},
        {1, INT_MAX, L"00:03:34.748"},
        {-400000, 25, L"00:00:-1.000"},
        {36000000000, INT_MAX, L"2147483647:00:00.000"},
        {1LL << 53, 1, L"250199:58:45.474"},
        {LLONG_MAX, 1, L"256204778:48:05.477"},
    };
    for (const Case& c : cases) {
        media.time_per_frame = c.time_per_frame;
        ASSERT_EQ(Start().Put(I4(c.frame)), S_OK);
        EXPECT_EQ(Start().Format(), Str(c.text)) << c.time_per_frame << ' ' << c.frame;
    }
    ASSERT_EQ(Start().Put(Str(L"25")), S_OK);
    media.time_per_frame = 400000;
    EXPECT_EQ(Start().Format(), Str(L"00:00:01.000"));
    EXPECT_EQ(Start().Value(), Str(L"25"));
}

TEST_F(PointsTest, TypedTimesBecomeFrames) {
    ShowTime(Start());
    struct Case {
        const wchar_t* text;
        LONG frame;
    };
    const Case cases[] = {
        {L"00:00:04.000", 100},
        {L"00:00:00.020", 0},  // half a frame
        {L"00:00:00.030", 1},  // 0.75
        {L"1:2:3.5", 93075},   // 5 ms
        {L"0:90:0.000", 135000},
        {L"0:0:1.2000", 30},  // three digits
        {L" 0: 0:\t1.040 and a tail", 26},
        {L"+0:0:+1.+4", 25},
        {L"0:1:-58.000", 50},
        {L"596523:0:0.0", INT_MAX},
        {L"99999999999999999999999:99999999999999999999999:99999999999999999999999.999", INT_MAX},
        {L"2147483647:2147483647:2147483647.999", INT_MAX},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Start().PutFormat(Str(c.text)), S_OK) << Narrow(c.text);
        EXPECT_EQ(Start().Value(), I4(c.frame)) << Narrow(c.text);
    }
    EXPECT_EQ(Start().PutFormat(I4(77)), S_OK);  // a number is a frame
    EXPECT_EQ(Start().Value(), I4(77));
    EXPECT_EQ(Start().PutFormat(I2(78)), S_OK);
    EXPECT_EQ(Start().Value(), I2(78));

    const std::wstring wrong[] = {L"",         L"1:2:3",   L"1:2:3.",    L"1:2:3.x",
                                  L"1 :2:3.4", L"1:2.3.4", L"a:b:c.d",   L"1:2:3.-",
                                  L"1:2:3,5",  L"::.",     L"- 1:2:3.4", std::wstring(600, L'0') + L":0:0.0"};
    for (const std::wstring& text : wrong) {
        SCOPED_TRACE(Narrow(text));
        ExpectFormatRefused(Start(), Str(text), kBadTime, kUnitSource);
    }
    ExpectFormatRefused(Start(), Str(L"-1:0:0.0"), kNegative);
    ExpectFormatRefused(Start(), Str(L"-99999999999:0:0.0"), kNegative);
}

TEST_F(PointsTest, AShownTimeComesBackAsItsFrame) {
    ShowTime(Start());
    for (const LONGLONG time_per_frame :
         {33333LL, 33367LL, 166683LL, 333667LL, 400000LL, 417083LL, 10000000LL}) {
        media.time_per_frame = time_per_frame;
        for (LONG frame = 0; frame < 200000; frame += 1 + frame / 13) {
            ASSERT_EQ(Start().Put(I4(frame)), S_OK);
            ASSERT_EQ(Start().PutFormat(Start().Format()), S_OK);
            ASSERT_EQ(Start().Value(), I4(frame)) << time_per_frame;
        }
    }
}

TEST_F(PointsTest, ATimeNeedsASourceAndItsRate) {
    ShowTime(Start());
    ASSERT_EQ(Start().Put(I4(5)), S_OK);
    const auto expect = [&](const wchar_t* message) {
        ExpectFormatRefused(Start(), Str(L"0:0:1.0"), message, kUnitSource);
        ExpectFormatRefused(Start(), Str(L"0:0:1"), kBadTime, kUnitSource);
        Value shown;
        EXPECT_EQ(Start()->get_Format(shown.Put()), E_FAIL);
        EXPECT_EQ(TakeRefusal().text, message);
        EXPECT_EQ(End().Format(), I4(INT_MAX));
        EXPECT_EQ(End().PutFormat(I4(INT_MAX)), S_OK);
    };
    media.time_per_frame = 0;
    expect(kBadRate);
    media.time_per_frame = 400000;
    media.has_parser = false;
    expect(kNoParser);
    cuts->SetMediaObject(nullptr);
    expect(kNoParser);
    media.has_parser = true;
    ASSERT_EQ(Start().Put(Str(L"no number")), S_OK);
    Value shown;
    EXPECT_EQ(Start()->get_Format(shown.Put()), DISP_E_TYPEMISMATCH);
}

TEST_F(PointsTest, ThePointsKeepTheirOrder) {
    const Node fresh = Add(0, 0);
    const Node start = fresh.Find(L"StartFrm"), end = fresh.Find(L"EndFrm");
    ExpectFormatRefused(start, I4(10), kCrossed);
    EXPECT_EQ(end.PutFormat(I4(10)), S_OK);
    EXPECT_EQ(start.PutFormat(I4(10)), S_OK);
    ExpectFormatRefused(end, I4(9), kCrossed);
    ExpectFormatRefused(end, I4(-1), kNegative);
    ExpectFormatRefused(start, Str(L"-1"), kNegative);
    ExpectFormatRefused(start, Str(L"x"), L"Couldn't convert this type.", L"BVSchema.Property.1",
                        DISP_E_TYPEMISMATCH);
    ExpectFormatRefused(start, R8(3e10), L"Couldn't convert this type.", L"BVSchema.Property.1",
                        DISP_E_OVERFLOW);
    EXPECT_EQ(start.Put(I4(20)), S_OK);          // a value isn't held to the order
    EXPECT_EQ(end.PutFormat(I4(100000)), S_OK);  // nor to the end of the source
    EXPECT_EQ(end.Put(Str(L"none")), S_OK);
    ExpectFormatRefused(start, I4(1), L"Couldn't convert this type.", L"BVSchema.Property.1",
                        DISP_E_TYPEMISMATCH);

    const Node alone = CreateNode(clsid::PropertyTimelineStartPoint);  // without another point: no order
    EXPECT_EQ(alone.PutFormat(I4(-5)), S_OK);
    EXPECT_EQ(alone.Value(), I4(-5));
}

TEST_F(PointsTest, TheLengthIsTold) {
    struct Case {
        LONGLONG time_per_frame;
        LONG start, end;
        const wchar_t* text;
    };
    const Case cases[] = {
        {400000, 0, 250, L"Length: 10 c (250 frm)"},
        {400000, 0, 20, L"Length: 20 frm"},
        {400000, 100, 50, L"Length: -2 c (-50 frm)"},
        {0, 0, 250, L"Length: 250 frm"},
        {1, 0, 250, L"Length: 250 frm"},
        {400000, INT_MIN, INT_MAX, L"Length: 171798691 c (4294967295 frm)"},
        {LLONG_MAX, INT_MIN, INT_MAX, L"Length: 9223372036854775807 c (4294967295 frm)"},
        {LLONG_MIN, INT_MIN, INT_MAX, L"Length: -9223372036854775808 c (4294967295 frm)"},
    };
    for (const Case& c : cases) {
        media.time_per_frame = c.time_per_frame;
        ASSERT_EQ(Start().Put(I4(c.start)), S_OK);
        ASSERT_EQ(End().Put(I4(c.end)), S_OK);
        EXPECT_EQ(Length(), c.text) << c.time_per_frame;
    }
    // A length that can't be told in seconds is still a stored value.
    media.has_parser = false;
    SetErrorInfo(0, nullptr);
    EXPECT_EQ(Start().Put(I4(1)), S_OK);
    EXPECT_EQ(TakeRefusal().text, kNoParser);
    EXPECT_EQ(Length(), L"Length: 2147483646 frm");
    EXPECT_EQ(End().Put(Str(L"no number")), S_OK);
    EXPECT_EQ(Length(), L"Length: -1 frm");
}

TEST_F(PointsTest, AUnitTakesWhatItIsGiven) {
    const Node unit = Start().Extension();
    EXPECT_EQ(Dump(unit), Golden("point_unit.txt"));
    EXPECT_EQ(unit.Parent().get(), nullptr);
    EXPECT_EQ(unit->put_Description(Text(L"help")), S_OK);
    EXPECT_EQ(unit.Description(), L"");
    const auto setup = unit.As<ISimpleInit>();
    ASSERT_TRUE(setup);
    EXPECT_EQ(setup->SetType(0x80000), S_OK);
    EXPECT_EQ(unit.Put(I4(-5)), S_OK);  // no check at all
    EXPECT_EQ(Start().Format(), I4(0));
    EXPECT_EQ(setup->SelectItem(0), S_OK);
    EXPECT_EQ(Start().Format(), Str(L"00:00:00.000"));
    EXPECT_EQ(unit.Put(Str(L"2")), S_OK);  // 2 in any form is time
    EXPECT_EQ(Start().Format(), Str(L"00:00:00.000"));
    EXPECT_EQ(End().Format(), I4(INT_MAX));  // each point has its own
    EXPECT_EQ(setup->SetPathExtension(Text(L"C:\\a")), S_OK);
    GUID cls = {};
    EXPECT_EQ(unit.Extension()->get_ClassID(&cls), S_OK);
    EXPECT_EQ(cls, clsid::PropertySimplePath);
    EXPECT_EQ(unit.Extension().Value(), Str(L"C:\\a"));
}

}  // namespace
}  // namespace bv::test
