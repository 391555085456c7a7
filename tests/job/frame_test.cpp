// The settings of frames, pictures and audio, and the filter objects among them.
#include "support/doubles.h"

namespace bv::test {
namespace {

class FrameTest : public testing::Test {
protected:
    NothingLeft no_leaks;
    FilterWithSettings size{clsid::FrameSizeFilter, clsid::PropertySize};
    FilterWithSettings crop{clsid::CropFilter, clsid::PropertyCrop};
};

TEST_F(FrameTest, GroupsStandWithTheirFilters) {
    EXPECT_EQ(Dump(CreateNode(clsid::PropertyLifeTimeFilters)), Golden("frame.txt"));
    EXPECT_EQ(Dump(CreateNode(clsid::PropertyPictureMain)), Golden("picture.txt"));
    EXPECT_EQ(Dump(CreateNode(clsid::PropertyFrame)), Golden("frame_rate.txt"));
    EXPECT_EQ(Dump(CreateNode(clsid::PropertyAudioSrc)), Golden("audio_src.txt"));
    EXPECT_EQ(Dump(CreateNode(clsid::PropertyHasAudio)), Golden("has_audio.txt"));
    EXPECT_EQ(Dump(CreateNode(clsid::PropertyFilters)), Golden("filters.txt"));
}

TEST(FrameWithoutFilters, KeepsTheNamesAndTheOrder) {
    NothingLeft no_leaks;
    const auto refuse = [](IUnknown*, REFIID, void**) { return E_ACCESSDENIED; };
    const ClassDouble no_size(clsid::FrameSizeFilter, refuse), no_crop(clsid::CropFilter, refuse);
    const Node frame = CreateNode(clsid::PropertyLifeTimeFilters),
               picture = CreateNode(clsid::PropertyPictureMain);
    for (const Node& group : {frame, picture.Child(0)}) {
        std::vector<std::wstring> names;
        for (const Node& child : group.Children()) names.push_back(child.Name());
        const wchar_t* first = group.Name() == L"PictureMain" ? L"FilterResize" : L"Frame Size";
        EXPECT_EQ(names, (std::vector<std::wstring>{first, L"ColorDepth", L"Crop", L"WaterMark"}));
        EXPECT_TRUE(group.Child(0).Children().empty());
        EXPECT_FALSE(group.Child(0).As<IBaseFilter>());
    }
}

TEST(FilterImpl, RefusesWhatIsNoFilterWithSettings) {
    NothingLeft no_leaks;
    const Node impl = CreateNode(clsid::PropertyFilterImpl);
    const auto init = impl.As<IFilterImplInit>();
    CLSID missing = GuidOf("D0B1E000-0000-4000-8000-000000000002");
    EXPECT_EQ(init->Init(Text(L"X"), &missing), REGDB_E_CLASSNOTREG);
    CLSID no_filter = clsid::PropertyCrop;
    EXPECT_EQ(init->Init(Text(L"X"), &no_filter), E_NOINTERFACE);
    EXPECT_EQ(init->Init(Text(L"X"), nullptr), E_POINTER);
    EXPECT_EQ(impl.Name(), L"FilterImpl");
    EXPECT_TRUE(impl.Children().empty());

    const FilterWithSettings crop(clsid::CropFilter, clsid::PropertyCrop);
    CLSID cls = clsid::CropFilter;
    EXPECT_EQ(init->Init(Text(std::wstring(1000, L'x')), &cls), S_OK);
    EXPECT_EQ(impl.Name(), L"FltImplement" + std::wstring(255 - 12, L'x'));
    EXPECT_EQ(impl.Child(0).Name(), std::wstring(1000, L'x'));
    EXPECT_TRUE(impl.As<IBaseFilter>()) << "it answers for the filter that it holds";

    // It is a simple node: setting it up makes its value, and its extension is of its own class.
    const auto simple = impl.As<ISimpleInit>();
    EXPECT_EQ(simple->put_Value(I4(-5).get()), S_OK);
    EXPECT_EQ(simple->SetPathExtension(Text(L"path")), S_OK);
    EXPECT_TRUE(impl.Extension().As<IFilterImplInit>());
    EXPECT_EQ(impl.Extension().Value(), Str(L"path"));
}

/// The switch and the nodes that it acts on, as a format would have them, in a job.
class AudioSwitchTest : public testing::Test {
protected:
    void SetUp() override {
        Add(L"HasAudio", clsid::PropertyHasAudio);
        for (const wchar_t* name : {L"Audio", L"IsInterleave", L"Interleave"})
            Add(name, clsid::PropertySimple);
        root.Find(L"IsInterleave").As<ISimpleInit>()->put_Value(I4(1).get());
        root.Give(media.dispatch());
    }
    void TearDown() override { root.Give(nullptr); }
    void Add(const wchar_t* name, CLSID cls) { AddChild(root, name, cls); }
    /// Which of the three are shown: "AiI".
    std::string Shown() const {
        std::string shown;
        if (const Node audio = root.Find(L"Audio"); audio && audio.Shown()) shown += 'A';
        if (root.Find(L"IsInterleave").Shown()) shown += 'i';
        if (root.Find(L"Interleave").Shown()) shown += 'I';
        return shown;
    }

    NothingLeft no_leaks;
    FakeMedia media;
    Node root = CreateNode(clsid::PropertySimple);
};

TEST_F(AudioSwitchTest, ShowsAndHidesTheAudioSettings) {
    struct Step {
        const char* what;
        Value audio, interleave;
        const char* shown;
    };
    const Step steps[] = {
        {"off", I4(0), I4(1), ""},
        {"on", I4(1), I4(1), "AiI"},
        {"off as text", Str(L"0"), I4(1), ""},
        {"on without interleaving: its setting stays hidden", Str(L"2"), I4(0), "Ai"},
        {"off again", I4(0), Str(L"1"), ""},
        {"on, interleaving as text", I4(-1), Str(L"1"), "AiI"},
        {"on without interleaving: its setting stays shown", I4(1), I4(0), "AiI"},
    };
    for (const Step& step : steps) {
        SCOPED_TRACE(step.what);
        ASSERT_EQ(root.Find(L"IsInterleave").Put(step.interleave), S_OK);
        ASSERT_EQ(root.Find(L"HasAudio").Put(step.audio), S_OK);
        EXPECT_EQ(Shown(), step.shown);
        EXPECT_EQ(root.Find(L"IsInterleave").Value(), step.interleave);
    }
}

TEST_F(AudioSwitchTest, SkipsWhatIsMissing) {
    ASSERT_EQ(root.As<IEnumProperties>()->RemoveByName(Text(L"Audio"), nullptr), S_OK);
    ASSERT_EQ(media.map()->RemoveProperties(Text(L"Audio"), nullptr), S_OK);
    ASSERT_EQ(root.Find(L"HasAudio").Put(I4(0)), S_OK);
    EXPECT_EQ(Shown(), "");
    ASSERT_EQ(root.Find(L"HasAudio").Put(I4(1)), S_OK);
    EXPECT_EQ(Shown(), "iI");
}

}  // namespace
}  // namespace bv::test
