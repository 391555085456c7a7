// The list of an input's cuts: its tree, its order, its lifetime, and the length of what is encoded.
#include <climits>

#include "support/cuts.h"

namespace bv::test {
namespace {

using TimelinesTest = CutsTest;

TEST_F(TimelinesTest, ACutStandsWhenItIsCreated) {
    EXPECT_EQ(Dump(CreateNode(clsid::PropertyTimeline)), Golden("timeline.txt"));
    EXPECT_EQ(Dump(timelines), "Timelines {3F165F2C-A139-4851-B608-DDA925D3D4AA} 0x820 \"\" = 3 0\n");
    EXPECT_EQ(CreateNode(clsid::PropertyTimelines).Name(), L"TimeLines");
    EXPECT_EQ(CreateNode(clsid::PropertyTimelineOutput).Name(), L"TimeLineOutput");
    EXPECT_EQ(Dump(CreateNode(clsid::PropertyTimelineWidth)),
              "TimelineWidth {3F165F9D-A139-5852-B618-DDA925D3D4AA} 0x1 \"Width\"\n");
    const Node cut = Add(0, 0);
    EXPECT_EQ(cut.Find(L"points").Description(), L"Length: 0 frm");
    EXPECT_EQ(cut.Find(L"startfrm").Value(), I4(0));
}

TEST_F(TimelinesTest, AddedCutsAreTakenAsTheyAre) {
    const Node first = Add(100, 50), second = Add(INT_MIN, INT_MAX);
    EXPECT_EQ(Count(), 2);
    EXPECT_EQ(At(0).get(), first.get());
    EXPECT_EQ(At(1).get(), second.get());
    EXPECT_EQ(first.Find(L"StartFrm").Value(), I4(100));
    EXPECT_EQ(first.Find(L"EndFrm").Value(), I4(50));
    EXPECT_EQ(first.Find(L"points").Description(), L"Length: -50 frm");
    Ref<IUnknown> none;
    EXPECT_EQ(cuts->get_Item(2, none.Put()), E_INVALIDARG);
    EXPECT_EQ(cuts->get_Item(-1, none.Put()), E_INVALIDARG);

    EXPECT_EQ(cuts->RemoveTimeline(first.Find(L"StartFrm").get()), S_OK);  // no cut of the list
    EXPECT_EQ(cuts->RemoveTimeline(nullptr), S_OK);
    EXPECT_EQ(Count(), 2);
    EXPECT_EQ(cuts->RemoveTimeline(first.get()), S_OK);
    EXPECT_EQ(cuts->RemoveTimeline(first.get()), S_OK);
    EXPECT_EQ(Count(), 1);
    EXPECT_EQ(At(0).get(), second.get());
}

TEST_F(TimelinesTest, OutputModeShowsWhatItNeeds) {
    const Node cut = Add(0, 10);
    const Node mode = cut.Find(L"TimelineOutputMode");
    struct Case {
        Value value;
        bool file, folder;
    };
    const Case cases[] = {{I4(1), true, false}, {I4(2), false, true},  {I4(0), false, false},
                          {I4(2), false, true}, {I4(7), false, false}, {Str(L"1"), false, false},
                          {I2(2), false, false}};
    const auto expect = [&](bool file, bool folder) {
        EXPECT_EQ(cut.Find(L"TimelineOutputMediaName").Shown(), file);
        EXPECT_EQ(cut.Find(L"TimelineDestinationPath").Shown(), folder);
        EXPECT_EQ(cut.Find(L"TimelineFileNamePattern").Shown(), folder);
    };
    for (const Case& c : cases) {
        ASSERT_EQ(mode.Put(c.value), S_OK);
        expect(c.file, c.folder);
    }
    // While the whole job is one file, a cut's own choice rests.
    ASSERT_EQ(mode.Put(I4(1)), S_OK);
    ASSERT_EQ((*this)[L"Mode"].Put(I4(1)), S_OK);
    expect(true, false);
    EXPECT_FALSE(mode.Enabled());
    expect(false, false);
    EXPECT_EQ(mode.Format(), I4(0));
    EXPECT_EQ(mode.Value(), I4(1));
    ASSERT_EQ((*this)[L"Mode"].Put(I4(2)), S_OK);
    EXPECT_EQ(mode.Format(), I4(1));
    EXPECT_TRUE(mode.Enabled());
    expect(true, false);
    ASSERT_EQ((*this)[L"Mode"].Put(Str(L"1")), S_OK);
    EXPECT_TRUE(mode.Enabled());

    cuts->SetMediaObject(nullptr);  // no job in reach
    LONG disabled = 55;
    Value shown = I4(56);
    EXPECT_EQ(mode->get_IsDisabled(&disabled), S_OK);
    EXPECT_EQ(mode->get_Format(&shown.get()), S_OK);
    EXPECT_EQ(disabled, 55);
    EXPECT_EQ(shown, I4(56));
    expect(true, false);
}

TEST_F(TimelinesTest, NothingFollowsAParentThatIsGone) {
    const Node cut = Add(0, 10), other = Add(5, 7);
    Ref<IDispatch> parent;
    ASSERT_EQ(cut->get_Parent(parent.Put()), S_OK);
    EXPECT_EQ(parent.As<IMediaObject>().get(), static_cast<IMediaObject*>(&media));
    EXPECT_EQ(parent.As<ITimelines>().get(), cuts.get());
    cuts->SetMediaObject(nullptr);
    EXPECT_FALSE(parent.As<IMediaObject>());
    cuts->SetMediaObject(&media);
    parent = {};

    // The list alone outlives its node, then a cut its list.
    media.map()->RemoveProperties(Text(L"Timelines"), nullptr);
    media.map()->RemoveProperties(Text(L"IDX"), nullptr);
    media.map()->RemoveProperties(Text(L"PathToMediaFile"), nullptr);
    timelines.Release();
    input.Release();
    EXPECT_EQ(Count(), 2);
    EXPECT_EQ(cut->get_Parent(parent.Put()), S_OK);
    parent = {};
    cuts = {};
    EXPECT_EQ(cut->get_Parent(parent.Put()), S_FALSE);
    EXPECT_EQ(other.Find(L"EndFrm").PutFormat(I4(8)), S_OK);
    const Node points = cut.Find(L"points"), end = cut.Find(L"EndFrm");
    const_cast<Node&>(cut).Release();
    EXPECT_EQ(points->get_Parent(parent.Put()), S_FALSE);
    EXPECT_EQ(end.Put(I4(75)), S_OK);
    EXPECT_EQ(points.Description(), L"Length: 3 c (75 frm)");
}

TEST_F(TimelinesTest, AnEmptyPathHasNoCuts) {
    Add(0, 10);
    Add(20, 30);
    EXPECT_EQ(input.Put(Str(L"b.avi")), S_OK);
    EXPECT_EQ(Count(), 2);
    EXPECT_EQ(input.Put(Str(L"")), S_OK);
    EXPECT_EQ(Count(), 0);
}

TEST_F(TimelinesTest, CutsStandInTheSettings) {
    EXPECT_EQ(timelines.Xml(), "<Timelines value='0' type='3'>\n</Timelines>\n");
    const Node cut = Add(10, 250);
    ASSERT_EQ(cut.Find(L"StartFrm").Extension().Put(I4(2)), S_OK);
    ASSERT_EQ(cut.Find(L"TimelineOutputMode").Put(I4(2)), S_OK);
    ASSERT_EQ(timelines.Put(I4(1)), S_OK);
    EXPECT_EQ(timelines.Xml(),
              "<Timelines value='1' type='3'>\n" + Golden("timeline.xml") + "</Timelines>\n");
}

TEST_F(TimelinesTest, ActiveDurationIsWhatIsEncoded) {
    Add(0, 25);
    Add(100, 100000);
    EXPECT_EQ(Active(), 100000000);  // cuts not in use
    ASSERT_EQ(timelines.Put(I4(1)), S_OK);
    EXPECT_EQ(Active(), 70000000);
    for (const Value& off : {I4(0x10000), Str(L"no"), Bool(false), I2(0)}) {
        ASSERT_EQ(timelines.Put(off), S_OK);
        EXPECT_EQ(Active(), 100000000);
    }
    for (const Value& on : {I4(-1), I4(0x8000), Bool(true), I2(5), Str(L"1")}) {
        ASSERT_EQ(timelines.Put(on), S_OK);
        EXPECT_EQ(Active(), 70000000);
    }
    const Node at_end = Add(250, 200);  // begins where the source ends
    EXPECT_EQ(Active(), 70000000);
    ASSERT_EQ(at_end->put_Active(0), S_OK);
    const Node reversed = Add(50, 25);
    EXPECT_EQ(Active(), 60000000);
    cuts->RemoveTimeline(reversed.get());
    Add(0, 25);  // an overlap counts twice
    EXPECT_EQ(Active(), 80000000);

    media.flag_a = 0;
    EXPECT_EQ(Active(), 80000000);
    media.flag_b = 0;
    LONGLONG duration = 33;
    EXPECT_EQ(cuts->get_ActiveDuration(&duration), S_OK);
    EXPECT_EQ(duration, 33);
    media.still = 1;
    EXPECT_EQ(Active(), 40000);
}

TEST_F(TimelinesTest, ActiveDurationStaysInItsRange) {
    ASSERT_EQ(timelines.Put(I4(1)), S_OK);
    Add(INT_MIN, INT_MAX);
    media.duration = LLONG_MAX;
    media.time_per_frame = LLONG_MAX;
    EXPECT_EQ(Active(), LLONG_MAX);
    Add(INT_MIN, INT_MAX);
    EXPECT_EQ(Active(), LLONG_MAX);
    Add(-1, INT_MIN);
    EXPECT_EQ(Active(), LLONG_MAX - 1);
    media.time_per_frame = LLONG_MIN;
    EXPECT_GE(Active(), LLONG_MIN);
    media.duration = LLONG_MIN;
    EXPECT_EQ(Active(), 0);
}

TEST_F(TimelinesTest, ActiveDurationTellsWhatItMisses) {
    LONGLONG duration = 33;
    const auto expect = [&](HRESULT status, const wchar_t* text) {
        ExpectRaised([&] { return cuts->get_ActiveDuration(&duration); }, text, L"BVSchema.Timelines.1",
                     status);
        EXPECT_EQ(duration, 33);
    };
    media.has_parser = false;
    expect(E_FAIL, L"Couldn't find parser.");
    timelines->put_Active(0);
    expect(E_INVALIDARG, L"Can't find timelines.");
    media.has_map = false;
    expect(E_FAIL, L"Coult'n query value map.");
    cuts->SetMediaObject(nullptr);
    expect(E_FAIL, L"Coult'n query value map.");
    media.has_map = true;
}

TEST_F(TimelinesTest, AdditionReportsAClassThatIsMissing) {
    const ClassDouble refused(clsid::PropertyTimeline,
                              [](IUnknown*, REFIID, void**) { return E_ACCESSDENIED; });
    Ref<IProperty> cut;
    EXPECT_EQ(cuts->AddTimeline(1, 2, cut.Put()), E_ACCESSDENIED);
    EXPECT_EQ(Count(), 0);
}

}  // namespace
}  // namespace bv::test
