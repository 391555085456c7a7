// The watermark's tree: what stands, which source is shown, which transparencies are refused.
#include "support/node.h"

namespace bv::test {
namespace {

class WatermarkTest : public testing::Test {
protected:
    Node operator[](const wchar_t* name) const { return mark.Find(name); }

    NothingLeft no_leaks;
    Node mark = CreateNode(clsid::PropertyWatermark);
};

TEST_F(WatermarkTest, StandsWithItsDefaults) { EXPECT_EQ(Dump(mark), Golden("watermark.txt")); }

TEST_F(WatermarkTest, OneSourceIsShown) {
    struct Case {
        const char* what;
        Value mode;
        bool text;
    };
    const Case cases[] = {
        {"Image", I4(1), false},
        {"Text", I4(2), true},
        {"2 as VT_I2 is not Text", I2(2), false},
        {"Text again", I4(2), true},
        {"2 as text is not Text", Str(L"2"), false},
        {"a number that no entry has", I4(-7), false},
    };
    ASSERT_EQ((*this)[L"FORMAT_t"].Put(Str(L"HH:mm")), S_OK);
    ASSERT_EQ((*this)[L"WaterMarkLogoImageLeft"].Put(I4(-3)), S_OK);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        ASSERT_EQ((*this)[L"WaterMarkSourceMode"].Put(c.mode), S_OK);
        for (const wchar_t* name : {L"WaterMarkSrcText", L"WaterMarkTextFont", L"FORMAT_i"})
            EXPECT_EQ((*this)[name].Shown(), c.text) << Narrow(name);
        for (const wchar_t* name :
             {L"WaterMarkSrcImage", L"WatermarkTransparentColor", L"WaterMarkLogoImageSize"})
            EXPECT_EQ((*this)[name].Shown(), !c.text) << Narrow(name);
        EXPECT_TRUE((*this)[L"WaterMarkBackgroundColor"].Shown());
        EXPECT_EQ((*this)[L"FORMAT_t"].Value(), Str(L"HH:mm"));
        EXPECT_EQ((*this)[L"WaterMarkLogoImageLeft"].Value(), I4(-3));
    }
}

TEST_F(WatermarkTest, TransparencyIsAPercentage) {
    const Node depth = (*this)[L"WaterMarkFiltersAlphaBlendValue"];
    const Value taken[] = {I4(0),     I4(100), I2(100),   Str(L"50"), R8(99.9),
                           R8(100.4), UI1(7),  Nothing(), Bool(false)};
    for (const Value& value : taken) {
        EXPECT_EQ(depth.Put(value), S_OK);
        EXPECT_EQ(depth.Value(), value);  // as it was given
    }
    ASSERT_EQ(depth.Put(I4(33)), S_OK);
    for (const Value& value : {I4(-1), I4(101), I4(32767), R8(100.6), Str(L"-1"), UI1(101), Bool(true)})
        ExpectRefused(depth, value, L"Invalid Depth value. This property should be from 0 to 100.");

    struct Case {
        Value value;
        HRESULT status;
    };
    const Case unreadable[] = {{Str(L"abc"), DISP_E_TYPEMISMATCH},
                               {Str(L""), DISP_E_TYPEMISMATCH},
                               {I4(32768), DISP_E_OVERFLOW},
                               {R8(1e300), DISP_E_OVERFLOW}};
    for (const Case& c : unreadable) {
        SetErrorInfo(0, nullptr);
        EXPECT_EQ(depth.Put(c.value), c.status);
        EXPECT_EQ(TakeRefusal().text, L"");
        EXPECT_EQ(depth.Value(), I4(33));
    }
}

TEST_F(WatermarkTest, ColoursAreSimpleNodes) {
    const Node colour = (*this)[L"WaterMarkTextColor"];
    EXPECT_EQ(colour.Put(Str(L"no colour")), S_OK);
    ASSERT_EQ(colour->put_Description(Text(L"hidden by the id")), S_OK);
    EXPECT_EQ(colour.Description(), L"Input (or select using the wizard) text color.");
    ASSERT_EQ(colour.As<ISimpleInit>()->SetPathExtension(Text(L"0x102030")), S_OK);
    GUID cls = {};
    ASSERT_EQ(colour.Extension()->get_ClassID(&cls), S_OK);
    EXPECT_EQ(cls, clsid::PropertyWatermarkBackgroundColor);
    EXPECT_EQ(colour.Extension().Value(), Str(L"0x102030"));
    EXPECT_FALSE(mark.As<ISimpleInit>());
}

}  // namespace
}  // namespace bv::test
