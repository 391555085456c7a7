// Formats, actions and filters from a module of their own, as a job finds and uses them.
#include <random>

#include "support/environment.h"
#include "support/node.h"

namespace bv::test {
namespace {

class SamplesTest : public JobTest {
protected:
    static void SetUpTestSuite() { ASSERT_EQ(CallModule(kSamplesFile, "DllRegisterServer"), S_OK); }
    static void TearDownTestSuite() {
        EXPECT_TRUE(ModuleCanGo(kSamplesFile)) << "a component outlives the tests";
        EXPECT_EQ(CallModule(kSamplesFile, "DllUnregisterServer"), S_OK);
    }
    Node Formats() const { return (*this)[L"OutputFileFormat"]; }
    Node Format(size_t index) const {
        return Node(Ref<IUnknown>(Formats().Choices().at(index).second.object()).As<IProperty>());
    }
};

/// How many nodes of a tree are active, and how many there are.
std::pair<size_t, size_t> CountActive(const Node& node) {
    std::pair<size_t, size_t> count = {node.Active(), 1};
    for (const Node& child : node.Children()) {
        const auto below = CountActive(child);
        count.first += below.first;
        count.second += below.second;
    }
    return count;
}

TEST_F(SamplesTest, FormatsAreSelectedInAnyOrder) {
    struct Case {
        const wchar_t* label;
        const wchar_t* own;  // a setting that no other format has
        Value bitrate;       // one that several have under the same name
        const char* tree;
    };
    const Case cases[] = {{L"AVI", L"Interleave", I4(4000), "format_avi.txt"},
                          {L"MP4", L"FastStart", I4(2500), "format_mp4.txt"},
                          {L"Picture", L"Compression", Nothing(), "format_png.txt"}};
    ASSERT_EQ(Formats().Choices().size(), std::size(cases));
    std::minstd_rand random(4);
    for (int round = 0; round < 60; ++round) {
        const size_t selected = round < 3 ? size_t(round) : random() % std::size(cases);
        ASSERT_EQ(Formats().Put(Formats().Choices()[selected].second), S_OK);
        for (size_t i = 0; i < std::size(cases); ++i) {
            SCOPED_TRACE(Narrow(cases[i].label));
            EXPECT_EQ(Formats().Choices()[i].first, cases[i].label);
            const auto [active, all] = CountActive(Format(i));
            EXPECT_EQ(active, i == selected ? all : 0);
            EXPECT_TRUE(Format(i).Shown());
            EXPECT_EQ(bool((*this)[cases[i].own]), i == selected);
            if (round < 3 && i == selected) {
                EXPECT_EQ(Dump(Format(i)), Golden(cases[i].tree));
            }
        }
        const Node bitrate = (*this)[L"VideoBitrate"];
        EXPECT_EQ(bitrate ? bitrate.Value() : Nothing(), cases[selected].bitrate);
        EXPECT_EQ((*this)[L"ResizeType"].Parent().Parent().Name(), L"FltImplementSize");
    }
    ASSERT_EQ(Formats().Put(Formats().Choices()[0].second), S_OK);
    ExpectRefused((*this)[L"VideoBitrate"], I4(-1), L"This value cannot be negative.");
}

TEST_F(SamplesTest, AFormatIsOneObjectWithItsNode) {
    const auto info = Format(1).As<IOutputFormatInfo>();
    ASSERT_TRUE(info);
    EXPECT_EQ(info.As<IProperty>().get(), Format(1).get());
    EXPECT_EQ(info.As<IUnknown>().get(), Format(1).As<IUnknown>().get());
    EXPECT_TRUE(info.As<IEnumProperties>());
    BSTR name = nullptr, extension = nullptr;
    ASSERT_EQ(info->GetFormatInfo(&name, &extension), S_OK);
    EXPECT_EQ(Take(name), L"MP4");
    EXPECT_EQ(Take(extension), L".mp4");
    GUID cls = {};
    ASSERT_EQ(info->GetClassID(&cls), S_OK);
    EXPECT_TRUE(New<IOutputFormatInfo>(cls));

    // A format lives without a job, and can't be part of another object.
    FakeMedia outer;
    void* none = &outer;
    EXPECT_EQ(CoCreateInstance(cls, outer.dispatch(), CLSCTX_INPROC_SERVER, kIid<IUnknown>, &none),
              CLASS_E_NOAGGREGATION);
    EXPECT_EQ(none, nullptr);
}

TEST_F(SamplesTest, TheActionHangsBelowItsCheckBox) {
    const Node action = (*this)[L"Thumbnail"];
    ASSERT_TRUE(action);
    EXPECT_EQ(action.Title(), L"Make thumbnails");
    EXPECT_EQ(action.As<IActionObject>().As<IProperty>().get(), action.Child(0).get());
    EXPECT_EQ((*this)[L"ThumbnailWidth"].Value(), I4(320));
}

TEST_F(SamplesTest, AFilterBringsTheServersSettings) {
    const std::pair<CLSID, CLSID> filters[] = {{clsid::FrameSizeFilter, clsid::PropertySize},
                                               {clsid::CropFilter, clsid::PropertyCrop}};
    for (const auto& [cls, settings] : filters) {
        const auto filter = New<IBaseFilter>(cls);
        EXPECT_EQ(Dump(Node(filter.As<IProperty>())), Dump(CreateNode(settings)));
        CLSID said = {};
        EXPECT_EQ(filter->GetClassID(&said), S_OK);
        EXPECT_TRUE(said == cls);
    }
}

/// The nodes of the filters that are offered, by their labels.
std::vector<std::pair<std::wstring, Value>> OfferedFilters() {
    const Node node = CreateNode(clsid::PropertySimple);
    GUID category = category::Filters;
    EXPECT_EQ(
        New<IBVFilterMapper>(clsid::BVFilterMapper)->Init(&category, nullptr, node.As<IListOfValues>().get()),
        S_OK);
    return node.Choices();
}

TEST_F(SamplesTest, AFilterIsFoundAndGoesIntoAList) {
    auto offered = OfferedFilters();
    ASSERT_EQ(offered.size(), 1u);
    EXPECT_EQ(offered[0].first, L"Film grain");
    const Node filters = (*this)[L"Filters"];
    IUnknown* filter = offered[0].second.object();
    ASSERT_EQ(filters.As<IEnumObject>()->Add(&filter), S_OK);
    CLSID cls = {};
    ASSERT_EQ(Ref<IUnknown>(filter).As<IBaseFilter>()->GetClassID(&cls), S_OK);
    EXPECT_TRUE(New<IFilterEntry>(cls)) << "by its class id it goes into a list as well";
    EXPECT_THAT(filters.Xml(),
                testing::HasSubstr("<EnumFilters>\n<Grain>\n<GrainStrength value='20' type='3'"));
}

TEST_F(SamplesTest, AnnouncesItsComponentsAndWithdrawsThem) {
    const auto read = [](GUID category, std::vector<std::vector<std::wstring>>* rows) {
        const auto mapper = New<IBVMapper>(clsid::BVMapper);
        const HRESULT status = mapper->Init(&category);
        LONG count = 0;
        mapper->get_Count(&count);
        for (LONG i = 0; i < count; ++i) {
            tagGUIDREG* record = nullptr;
            if (FAILED(mapper->get_Item(i, &record))) continue;
            rows->push_back({record->bstrName});
            rows->back().insert(rows->back().end(), record->pExtrData, record->pExtrData + record->cbCount);
        }
        return status;
    };
    std::vector<std::vector<std::wstring>> inputs;
    ASSERT_EQ(read(category::InputFormats, &inputs), S_OK);
    const std::vector<std::vector<std::wstring>> expected = {
        {L"AVI input", L"*.avi", L"AVI video", L"Video"},
        {L"MP4 input", L"*.mp4;*.m4v;*.mov", L"MP4 video", L"Video"},
        {L"Image input", L"*.bmp;*.png;*.jpg", L"Images", L"Image"},
    };
    EXPECT_THAT(inputs, testing::UnorderedElementsAreArray(expected));

    ASSERT_EQ(CallModule(kSamplesFile, "DllUnregisterServer"), S_OK);
    for (const GUID& gone : {category::InputFormats, category::OutputFormats, category::Actions}) {
        std::vector<std::vector<std::wstring>> rows;
        EXPECT_EQ(read(gone, &rows), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
        EXPECT_TRUE(rows.empty());
    }
    EXPECT_TRUE(OfferedFilters().empty());
    ASSERT_EQ(CallModule(kSamplesFile, "DllRegisterServer"), S_OK);
}

}  // namespace
}  // namespace bv::test
