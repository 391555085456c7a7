// The list of further filters: what it holds, who learns of the job, and its part of the settings XML.
#include "support/doubles.h"

namespace bv::test {
namespace {

LONG CountOf(const Ref<IEnumObject>& list) {
    LONG count = -1;
    EXPECT_EQ(list->Count(&count), S_OK);
    return count;
}

IDispatch* MediaOf(const Node& node) {
    Ref<IDispatch> media;
    EXPECT_EQ(node->get_MediaObject(media.Put()), S_OK);
    return media.get();
}

class FilterListTest : public testing::Test {
protected:
    NothingLeft no_leaks;
    FakeMedia media;
    FilterWithSettings crop{clsid::CropFilter, clsid::PropertyCrop};
    Node filters = CreateNode(clsid::PropertyFilters);
    Ref<IEnumObject> list = filters.As<IEnumObject>();
};

TEST_F(FilterListTest, HoldsObjectsInOrder) {
    EXPECT_EQ(CountOf(list), 0);
    const Node a = CreateNode(clsid::PropertyFrame), b = CreateNode(clsid::PropertyColorDepth);
    IUnknown *first = a.get(), *second = b.get(), *none = nullptr;
    for (IUnknown** object : {&none, &first, &second, &first}) EXPECT_EQ(list->Add(object), S_OK);
    EXPECT_EQ(CountOf(list), 3);

    EXPECT_EQ(list->Remove(first), S_OK);  // of an object that is there twice the first goes
    Ref<IUnknown> item;
    ASSERT_EQ(list->Item(0, item.Put()), S_OK);
    EXPECT_EQ(item.get(), second);
    EXPECT_EQ(list->Remove(first), S_OK);
    EXPECT_EQ(list->Remove(first), S_FALSE);
    EXPECT_EQ(CountOf(list), 1);
    for (const int outside : {-1, 1, 0x7FFFFFFF}) EXPECT_EQ(list->Item(outside, item.Put()), E_INVALIDARG);
}

TEST_F(FilterListTest, ObjectsLearnOfTheJob) {
    const Node early = CreateNode(clsid::PropertySize);
    IUnknown* object = early.get();
    ASSERT_EQ(list->Add(&object), S_OK);
    EXPECT_EQ(MediaOf(early), nullptr);

    ASSERT_EQ(filters->put_MediaObject(media.dispatch()), S_OK);
    EXPECT_EQ(MediaOf(filters), media.dispatch());
    EXPECT_EQ(MediaOf(early.Child(0)), media.dispatch());

    Ref<IUnknown> late;
    CLSID cls = clsid::CropFilter, missing = GuidOf("D0B1E000-0000-4000-8000-000000000003");
    ASSERT_EQ(list->AddByCLSID(&cls, late.Put()), S_OK);
    EXPECT_EQ(MediaOf(Node(late.As<IProperty>())), media.dispatch());
    IUnknown* created = nullptr;
    EXPECT_EQ(list->AddByCLSID(&missing, &created), REGDB_E_CLASSNOTREG);
    EXPECT_EQ(CountOf(list), 2);

    // The plain way reaches the list, and not the node that has it.
    ASSERT_EQ(filters->SetMediaObject(nullptr), S_OK);
    EXPECT_EQ(MediaOf(early), nullptr);
    EXPECT_EQ(MediaOf(filters), media.dispatch());
    ASSERT_EQ(filters->put_MediaObject(nullptr), S_OK);
}

TEST_F(FilterListTest, AFilterMayHaveTheListWrittenElsewhere) {
    /// Writes the list into a stream of its own, and into the one that it is given.
    class Filter : public Fake<ISettingsWriter> {
    public:
        Ref<ISettingsWriter> list;
        MemoryStream own;
        bool asked = false;
        STDMETHODIMP WriteXml(ISequentialStream* stream) override {
            if (!std::exchange(asked, true)) {
                EXPECT_EQ(list->WriteXml(&own), S_OK);
            }
            EXPECT_EQ(list->WriteXml(stream), S_OK);
            return stream->Write("<own/>\n", 7, nullptr);
        }
        STDMETHODIMP ReadExtraData(IUnknown*) override { return S_OK; }
    };
    Filter filter;
    filter.list = list.As<ISettingsWriter>();
    IUnknown* object = filter.unknown();
    ASSERT_EQ(list->Add(&object), S_OK);
    MemoryStream stream;
    EXPECT_EQ(filter.list->WriteXml(&stream), S_OK);
    const std::string whole = "<EnumFilters>\n<own/>\n</EnumFilters>\n";
    EXPECT_EQ(stream.text, whole) << "it isn't written inside itself";
    EXPECT_EQ(filter.own.text, whole) << "another stream gets it";
    EXPECT_EQ(list->Remove(object), S_OK);
}

TEST_F(FilterListTest, WritesWhatCanBeWritten) {
    ASSERT_EQ(filters->SetInfo(Text(L"F"), Nothing().get()), S_OK);
    EXPECT_EQ(filters.Xml(), "<F value='0' type='3'>\n<EnumFilters>\n</EnumFilters>\n</F>\n");

    Ref<IUnknown> created;
    CLSID cls = clsid::CropFilter;
    ASSERT_EQ(list->AddByCLSID(&cls, created.Put()), S_OK);
    ASSERT_EQ(created.As<IProperty>()->SetInfo(Text(L"Crop"), Nothing().get()), S_OK);
    const auto mute = New<IListOfValues>(clsid::ListOfValues);  // neither a writer nor a node
    IUnknown* object = mute.get();
    ASSERT_EQ(list->Add(&object), S_OK);
    const std::string part = "<EnumFilters>\n<Crop value='&lt;none&gt;' type='8'>\n</Crop>\n</EnumFilters>\n";
    EXPECT_EQ(filters.Xml(), "<F value='0' type='3'>\n" + part + "</F>\n");
    MemoryStream stream;
    ASSERT_EQ(list.As<ISettingsWriter>()->WriteXml(&stream), S_OK);
    EXPECT_EQ(stream.text, part);
}

}  // namespace
}  // namespace bv::test
