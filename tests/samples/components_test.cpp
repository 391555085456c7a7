// Formats, actions and filters from a module of their own, as a job finds and uses them.
#include "support/environment.h"
#include "support/node.h"

namespace bv::test {
namespace {

class SamplesTest : public JobTest {
protected:
    static void SetUpTestSuite() { ASSERT_EQ(CallModule(kSamplesFile, "DllRegisterServer"), S_OK); }
    static void TearDownTestSuite() { EXPECT_EQ(CallModule(kSamplesFile, "DllUnregisterServer"), S_OK); }
    Node Formats() const { return (*this)[L"OutputFileFormat"]; }
    Node Format(size_t index) const {
        return Node(Ref<IUnknown>(Formats().Choices().at(index).second.object()).As<IProperty>());
    }
};

TEST_F(SamplesTest, FormatsAreSelectedBackAndForth) {
    ASSERT_EQ(Formats().Choices().size(), 2u);
    EXPECT_EQ(Formats().Choices()[0].first, L"AVI");
    EXPECT_EQ(Formats().Choices()[1].first, L"MP4");
    for (const size_t selected : {0u, 1u, 0u}) {
        ASSERT_EQ(Formats().Put(Formats().Choices()[selected].second), S_OK);
        for (const size_t i : {0u, 1u}) {
            EXPECT_EQ(Format(i).Active(), i == selected);
            EXPECT_TRUE(Format(i).Shown());
        }
        // A setting of the selected format alone, and one that both have under the same name.
        EXPECT_EQ(bool((*this)[L"FastStart"]), selected == 1);
        EXPECT_EQ((*this)[L"VideoBitrate"].Value(), I4(selected == 0 ? 4000 : 2500));
    }
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
    EXPECT_EQ(action.Description(), L"Makes a small picture of each output file.");
    EXPECT_EQ(action.Value(), I4(0));
    ASSERT_EQ(action.Children().size(), 1u);
    EXPECT_EQ(action.Child(0).Name(), L"ActionRoot_Thumbnail");
    EXPECT_EQ(action.As<IActionObject>().As<IProperty>().get(), action.Child(0).get());
    EXPECT_EQ((*this)[L"ThumbnailWidth"].Value(), I4(320));
}

TEST_F(SamplesTest, AFilterBringsTheServersSettings) {
    const std::pair<CLSID, CLSID> filters[] = {{clsid::FrameSizeFilter, clsid::PropertySize},
                                               {clsid::CropFilter, clsid::PropertyCrop}};
    for (const auto& [cls, settings] : filters) {
        Ref<IProperty> own;
        Ref<IBaseFilter> filter;
        const HRESULT available =
            CoCreateInstance(settings, nullptr, CLSCTX_INPROC_SERVER, kIid<IProperty>, own.PutVoid());
        EXPECT_EQ(CoCreateInstance(cls, nullptr, CLSCTX_INPROC_SERVER, kIid<IBaseFilter>, filter.PutVoid()),
                  available);
        if (FAILED(available)) continue;  // no settings, no filter
        EXPECT_EQ(Node(filter.As<IProperty>()).Value(), Node(own).Value());
        CLSID said = {};
        EXPECT_EQ(filter->GetClassID(&said), S_OK);
        EXPECT_TRUE(said == cls);
    }
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
    ASSERT_EQ(CallModule(kSamplesFile, "DllRegisterServer"), S_OK);
}

}  // namespace
}  // namespace bv::test
