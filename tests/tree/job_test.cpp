// A job's tree: what stands when the root is created, and what a choice shows, hides and refuses.
#include "support/node.h"

namespace bv::test {
namespace {

TEST_F(JobTest, StandsWhenTheRootIsCreated) {
    EXPECT_EQ(root.Name(), L"Main");
    ASSERT_EQ(root.Children().size(), 2u);
    EXPECT_EQ(root.Child(0).Name(), L"OutputFileFormat");
    EXPECT_EQ(Dump((*this)[L"Output"]), Golden("output.txt"));
}

TEST_F(JobTest, ModeShowsWhatOneFileOrASeriesNeeds) {
    struct Case {
        const char* what;
        Value mode;
        bool series;
    };
    const Case cases[] = {
        {"Single", I4(1), false},
        {"Multiply", I4(2), true},
        {"2 as VT_I2 is not Multiply", I2(2), false},
        {"2 as text is not Multiply", Str(L"2"), false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        ASSERT_EQ((*this)[L"Mode"].Put(c.mode), S_OK);
        EXPECT_EQ((*this)[L"OutputMediaName"].Shown(), !c.series);
        for (const wchar_t* name :
             {L"DestinationPath", L"FileNamePattern", L"IsSplit", L"SplitLength", L"Exactly"})
            EXPECT_EQ((*this)[name].Shown(), c.series) << Narrow(name);
        EXPECT_TRUE((*this)[L"Overwrite"].Shown());
        (*this)[L"OutputMediaName"]->put_IsHide(!c.series);
        EXPECT_EQ((*this)[L"Mode"]->InitDefault(), S_OK) << "shows it anew";
        EXPECT_EQ((*this)[L"OutputMediaName"].Shown(), !c.series);
    }
}

TEST_F(JobTest, SplitEnablesItsSettings) {
    const Node split = (*this)[L"IsSplit"];
    ASSERT_EQ(split.Put(I4(1)), S_OK);
    EXPECT_TRUE((*this)[L"SplitLength"].Enabled());
    EXPECT_TRUE((*this)[L"Exactly"].Enabled());
    ASSERT_EQ((*this)[L"SplitLength"].Put(I4(7)), S_OK);
    ASSERT_EQ(split.Put(Str(L"0")), S_OK);
    EXPECT_FALSE((*this)[L"SplitLength"].Enabled());
    EXPECT_TRUE((*this)[L"SplitLength"].Extension().Enabled());
    EXPECT_EQ((*this)[L"SplitLength"].Value(), I4(7));
}

TEST_F(JobTest, RefusesANegativeLength) {
    const Node length = (*this)[L"SplitLength"];
    for (const Value& value : {I4(-1), Str(L"-5"), R8(-0.6)})
        ExpectRefused(length, value, L"This value cannot be negative.");
    EXPECT_EQ(length.Put(Str(L"no number")), S_OK);
    EXPECT_EQ(length.ValueType(), VT_BSTR);
    EXPECT_EQ((*this)[L"Exactly"].Put(I4(-1)), S_OK);
}

}  // namespace
}  // namespace bv::test
