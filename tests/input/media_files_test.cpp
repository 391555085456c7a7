// The list of a job's inputs, and the one of them that is the current input.
#include "support/doubles.h"

namespace bv::test {
namespace {

class MediaFilesTest : public testing::Test {
protected:
    Node At(LONG index) const { return Node(ItemOf(files, index).As<IProperty>()); }
    std::vector<std::wstring> Paths() const {
        std::vector<std::wstring> paths;
        for (LONG i = 0; i < CountOf(files); ++i) paths.push_back(At(i).Value().text());
        return paths;
    }
    using Texts = std::vector<std::wstring>;
    NothingLeft no_leaks;
    Ref<IMediaFiles> files = New<IMediaFiles>(clsid::MediaFiles);
};

TEST_F(MediaFilesTest, ALoneUnusedEntryIsFilled) {
    EXPECT_EQ(Paths(), Texts{});
    Ref<IProperty> top;
    ASSERT_EQ(files->GetTopMedia(top.Put()), S_OK);
    EXPECT_EQ(Node(top).Value(), Str(L""));
    EXPECT_EQ(Paths(), Texts{L""});
    ASSERT_EQ(files->Insert(Text(L"a")), S_OK);
    EXPECT_EQ(Paths(), Texts{L"a"});
    EXPECT_EQ(At(0).get(), top.get());
    ASSERT_EQ(files->Insert(Text(L"")), S_OK);
    EXPECT_EQ(Paths(), (Texts{L"a", L""})) << "the one entry has a path";
    ASSERT_EQ(files->Insert(Text(L"a")), S_OK);
    EXPECT_EQ(Paths(), (Texts{L"a", L"", L"a"})) << "the same path twice";
    ASSERT_EQ(files->GetTopMedia(top.Put()), S_OK);
    EXPECT_EQ(top.get(), At(0).get());
    ASSERT_EQ(top->put_Value(Str(L"").get()), S_OK);
    ASSERT_EQ(files->RemoveItem(At(2).get()), S_OK);
    ASSERT_EQ(files->Insert(Text(L"b")), S_OK);
    EXPECT_EQ(Paths(), (Texts{L"", L"", L"b"})) << "two unused ones stay";
    EXPECT_EQ(files->GetTopMedia(nullptr), E_POINTER);
}

TEST_F(MediaFilesTest, EntriesMoveAndGo) {
    for (const wchar_t* path : {L"1", L"2", L"3"}) ASSERT_EQ(files->Insert(Text(path)), S_OK);
    ASSERT_EQ(files->Move(At(0).get(), 1), S_OK);
    EXPECT_EQ(Paths(), (Texts{L"2", L"1", L"3"}));
    ASSERT_EQ(files->Move(At(2).get(), -2), S_OK);
    EXPECT_EQ(Paths(), (Texts{L"3", L"1", L"2"})) << "a swap, no shift";
    ASSERT_EQ(files->Move(At(1).get(), 0), S_OK);
    for (const int outside : {-1, 3, 0x7FFFFFFF, int(0x80000000)})
        EXPECT_EQ(files->Move(At(0).get(), outside), E_INVALIDARG);
    const Node stranger = CreateNode(clsid::PropertyMediaPath);
    EXPECT_EQ(files->Move(stranger.get(), 99), S_OK);
    EXPECT_EQ(files->RemoveItem(stranger.get()), S_OK);
    EXPECT_EQ(files->RemoveItem(nullptr), S_OK);
    EXPECT_EQ(Paths(), (Texts{L"3", L"1", L"2"}));
    const Node middle = At(1);
    ASSERT_EQ(files->RemoveItem(middle.get()), S_OK);
    EXPECT_EQ(Paths(), (Texts{L"3", L"2"}));
    EXPECT_EQ(middle.Value(), Str(L"1")) << "whoever holds it keeps it";
    Ref<IUnknown> none;
    for (const LONG index : {-1, 2}) EXPECT_EQ(files->get_Item(index, none.Put()), E_INVALIDARG);
    EXPECT_EQ(TextFrom(files.get(), &IMediaFiles::get_Name), L"");
}

TEST_F(MediaFilesTest, AnInputThatCantBeMadeIsNotAdded) {
    const ClassDouble refusing(clsid::PropertyMediaPath, [](IUnknown*, REFIID, void**) { return E_ABORT; });
    EXPECT_EQ(files->Insert(Text(L"a")), E_ABORT);
    EXPECT_EQ(Paths(), Texts{});
    Ref<IProperty> none;
    EXPECT_EQ(files->GetTopMedia(none.Put()), S_OK);
    EXPECT_FALSE(none);
}

// --- The current input ---

TEST_F(JobTest, OneInputIsTheCurrentOne) {
    const auto job = root.As<IMainMediaPath>();
    const Node first = CreateNode(clsid::PropertyMediaPath), second = CreateNode(clsid::PropertyMediaPath);
    ASSERT_EQ(first.Put(Str(L"first")), S_OK);
    ASSERT_EQ(second.Put(Str(L"second")), S_OK);
    second->SetInfo(Text(L"something else"), Nothing().get());
    const LONG before = CountOf(media.map().As<IEnumProperties>());
    for (const Node& input : {first, second, second}) {
        ASSERT_EQ(job->SetMediaPath(input.get()), S_OK);
        EXPECT_EQ((*this)[L"PathToMediaFile"].get(), input.get());
        EXPECT_EQ((*this)[L"IDX"].get(), input.Child(1).get());
        EXPECT_EQ(input.Parent().get(), root.get());
        EXPECT_EQ(CountOf(media.map().As<IEnumProperties>()), before + 3)
            << "the old one has left the index, with what is below it";
    }
    EXPECT_EQ(root.Children().size(), 2u) << "it is nobody's child";
    EXPECT_EQ(root.Xml(), Golden("main.xml"));
    EXPECT_EQ(job->SetMediaPath(nullptr), E_POINTER);
    media.has_map = false;
    EXPECT_EQ(job->SetMediaPath(first.get()), E_FAIL);
    media.has_map = true;
    root.Give(nullptr);
    EXPECT_EQ(job->SetMediaPath(first.get()), E_FAIL);
    first.Give(nullptr), second.Give(nullptr);
}

/// Gives inputs that are no nodes, or can't be written.
TEST_F(JobTest, OnlyInputsThatAreNodesAreWritten) {
    class Files : public Fake<IMediaFiles> {
    public:
        std::vector<IUnknown*> items;
        STDMETHODIMP get_Name(BSTR*) override { return E_NOTIMPL; }
        STDMETHODIMP get_Count(LONG* out) override {
            *out = LONG(items.size()) + 1;
            return S_OK;
        }
        STDMETHODIMP get_Item(LONG index, IUnknown** out) override {
            if (size_t(index) >= items.size()) return E_FAIL;
            items[size_t(index)]->AddRef();
            *out = items[size_t(index)];
            return S_OK;
        }
        STDMETHODIMP AddNew() override { return E_NOTIMPL; }
        STDMETHODIMP Insert(BSTR) override { return E_NOTIMPL; }
        STDMETHODIMP RemoveItem(IProperty*) override { return E_NOTIMPL; }
        STDMETHODIMP Move(IProperty*, int) override { return E_NOTIMPL; }
        STDMETHODIMP GetTopMedia(IProperty**) override { return E_NOTIMPL; }
    };
    Files files;
    Fake<IDispatch> object;
    ForeignNode unwritable(L"foreign");
    const Node input = CreateNode(clsid::PropertyMediaPath);
    files.items = {object.unknown(), unwritable.unknown(), input.get()};
    media.files = files.unknown();
    EXPECT_EQ(root.Xml().substr(0, 51), "<Main>\n<FILES>\n<PathToMediaFile value='' type='8'>\n");
    media.files = nullptr;
}

}  // namespace
}  // namespace bv::test
