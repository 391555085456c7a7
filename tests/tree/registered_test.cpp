// Output formats and actions: what a job makes of what is registered, and of components that fail.
#include <algorithm>

#include "support/doubles.h"
#include "support/files.h"
#include "support/names.h"
#include "support/registry.h"

namespace bv::test {
namespace {

std::wstring CategoryPath(const GUID& category) {
    return L"CLSID\\" + TextOf(category::Root) + L"\\" + TextOf(category);
}
CLSID Id(unsigned char last) {
    CLSID id = kNoClass;
    id.Data4[7] = last;
    return id;
}

class FormatsTest : public testing::Test {
protected:
    FormatsTest() {
        for (unsigned char i = 0; i < 3; ++i) {
            category.Put(TextOf(Id(i)), nullptr, L"registered name");
            formats[i].id = Id(i);
        }
    }
    Node CreateRoot() { return CreateNode(clsid::PropertyMain); }
    std::vector<LONG> Active() const { return {formats[0].active, formats[1].active, formats[2].active}; }

    TestKey category{HKEY_CLASSES_ROOT, CategoryPath(category::OutputFormats)};
    NothingLeft no_leaks;
    FormatDouble formats[3] = {FormatDouble(L"A"), FormatDouble(L"B"), FormatDouble(L"C")};
    ClassDouble classes[3] = {
        {Id(0), formats[0].Maker()}, {Id(1), formats[1].Maker()}, {Id(2), formats[2].Maker()}};
};

TEST_F(FormatsTest, TheFirstIsChosenAndOneIsActive) {
    FakeMedia media;
    const Node root = CreateRoot();
    const Node list = root.Child(0);
    ASSERT_EQ(list.Choices().size(), 3u);
    EXPECT_EQ(list.Choices()[1].first, L"B") << "the title of the format's node";
    EXPECT_EQ(list.ValueType(), VT_DISPATCH);
    EXPECT_EQ(formats[0].owners, std::vector<IProperty*>{nullptr});
    EXPECT_EQ(Active(), (std::vector<LONG>{1, 0, 0}));
    EXPECT_TRUE(formats[1].owners.empty());
    EXPECT_NE(root.Xml().find("<OutputFileFormat value='" + Narrow(TextOf(Id(0))) + "' type='72'>"),
              std::string::npos);

    ASSERT_EQ(list.Put(list.Choices()[2].second), S_OK);
    EXPECT_EQ(Active(), (std::vector<LONG>{0, 0, 1}));
    EXPECT_EQ(formats[2].owners, std::vector<IProperty*>{list.get()});
    for (const FormatDouble& format : formats) EXPECT_EQ(format.hidden, 0);
    formats[1].owner_status = E_FAIL;
    ASSERT_EQ(list.Put(list.Choices()[1].second), S_OK);
    EXPECT_EQ(Active(), (std::vector<LONG>{0, 0, 0})) << "it stays chosen, but isn't activated";
    formats[0].owner_status = S_FALSE;
    ASSERT_EQ(list.Put(list.Choices()[0].second), S_OK);
    EXPECT_EQ(Active(), (std::vector<LONG>{1, 0, 0}));
    ASSERT_EQ(list.Put(I4(3)), S_OK) << "a value of no entry";
    EXPECT_EQ(Active(), (std::vector<LONG>{0, 0, 0}));

    root.Give(media.dispatch());
    for (const FormatDouble& format : formats) EXPECT_EQ(format.format_media, media.dispatch());
    root.Give(nullptr);
}

TEST_F(FormatsTest, AFirstThatCantBeUsedIsChosenAsleep) {
    formats[0].owner_status = S_FALSE;
    const Node root = CreateRoot();
    EXPECT_EQ(root.Child(0).ValueType(), VT_DISPATCH);
    EXPECT_EQ(Active(), (std::vector<LONG>{0, 0, 0}));
    EXPECT_TRUE(root.Child(0).Active());
}

TEST_F(FormatsTest, ComponentsThatFailAreLeftOut) {
    const std::filesystem::path text = TempFolder() / "no_module.bin";
    WriteAll(text, "no module, but long enough to be looked at, which takes sixty-four bytes or so");
    const TestClass no_file(Id(10), WideName(TempFolder() / "gone.bin"));
    const TestClass no_module(Id(11), WideName(text));
    const TestClass lacks_exports(Id(12),
                                  WideName((BinFolder() / std::filesystem::path("BVProbe").replace_extension(
                                                              PathOf(kModuleFile).extension()))));
    const ClassDouble refuses(Id(13), [](IUnknown*, REFIID, void**) { return E_ABORT; });
    const ClassDouble gives_nothing(Id(14), [](IUnknown*, REFIID, void** out) {
        *out = nullptr;
        return S_OK;
    });
    for (unsigned char i = 10; i < 16; ++i) category.Put(TextOf(Id(i)), nullptr, L"broken");
    category.Put(L"{", nullptr, L"no class id");
    const Node root = CreateRoot();
    EXPECT_EQ(root.Child(0).Choices().size(), 3u);
    EXPECT_EQ(root.Children().size(), 2u);
}

TEST(NoFormatTest, AJobStandsWithoutFormats) {
    NothingLeft no_leaks;
    for (const bool broken : {false, true}) {
        const TestKey category(HKEY_CLASSES_ROOT, CategoryPath(category::OutputFormats));
        if (broken) category.Put(TextOf(Id(77)), nullptr, L"broken");
        const Node list = CreateNode(clsid::PropertyMain).Child(0);
        EXPECT_EQ(list.Name(), L"OutputFileFormat");
        EXPECT_EQ(list.ValueType(), VT_EMPTY);
        EXPECT_EQ(list.Put(I4(1)), E_NOTIMPL);
        EXPECT_TRUE(list.Active());
    }
    const ClassDouble no_mapper(clsid::BVMapper, [](IUnknown*, REFIID, void**) { return E_ABORT; });
    EXPECT_EQ(CreateNode(clsid::PropertyMain).Xml(), Golden("main.xml"));
}

/// A format and an action.
class Component : public Fake<IOutputFormatInfo, IActionObject> {
public:
    STDMETHODIMP GetFormatInfo(BSTR*, BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP GetClassID(GUID*) override { return E_NOTIMPL; }
    STDMETHODIMP SetOwner(IProperty*) override { return S_OK; }
    STDMETHODIMP SetMediaObject(IDispatch*) override { return S_OK; }
};
/// Makes components of a node of the server's.
auto MakerOf(REFCLSID cls, int& made) {
    return [cls, &made](IUnknown*, REFIID iid, void** out) {
        ++made;
        return MakeNew<Around<Component>>(iid, out, cls);
    };
}

TEST(RegisteredTest, AComponentMayBeMadeOfTheListThatItIsIn) {
    const TestKey formats(HKEY_CLASSES_ROOT, CategoryPath(category::OutputFormats));
    const TestKey actions(HKEY_CLASSES_ROOT, CategoryPath(category::Actions));
    const CLSID lists[] = {clsid::PropertyMain, clsid::PropertyCommon, clsid::PropertyListOutFormats,
                           clsid::PropertyAction};
    for (const CLSID& list : lists) {  // the server's own classes, and a format made of one
        formats.Put(TextOf(list), nullptr, L"a list");
        actions.Put(TextOf(list), nullptr, L"a list");
    }
    formats.Put(TextOf(Id(0)), nullptr, L"made of one");
    actions.Put(TextOf(Id(1)), nullptr, L"made of one");
    NothingLeft no_leaks;
    for (const CLSID& list : lists) {
        int formats_made = 0, actions_made = 0;
        const ClassDouble format(Id(0), MakerOf(list, formats_made));
        const ClassDouble action(Id(1), MakerOf(list, actions_made));
        const Node root = CreateNode(clsid::PropertyMain);
        EXPECT_EQ(root.Child(0).Choices().size(), 1u) << "the lists themselves are no formats";
        EXPECT_EQ(root.Child(1).Child(1).Children().size(), 5u);
        // One for each list that isn't inside of itself: a format's actions, an action's formats.
        EXPECT_LE(formats_made, 6);
        EXPECT_LE(actions_made, 6);
        EXPECT_GT(formats_made * actions_made, 0);
    }
}

TEST(RegisteredTest, AFilterMayBeMadeOfTheBranchThatItIsIn) {
    NothingLeft no_leaks;
    for (const CLSID& branch : {clsid::PropertyLifeTimeFilters, clsid::PropertyPictureMain}) {
        const FilterWithSettings crop(clsid::CropFilter, branch);
        const Node node = CreateNode(branch);
        const std::string all = Dump(node);
        EXPECT_LT(std::count(all.begin(), all.end(), '\n'), 200);
    }
}

// --- Actions ---

class ActionDouble : public Fake<IActionObject> {
public:
    ForeignNode root{L"its own name"};
    bool has_root = true;
    STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
        return iid == kIid<IProperty> && has_root ? root.QueryInterface(iid, out)
                                                  : Fake::QueryInterface(iid, out);
    }
};

TEST(ActionsTest, EachRegisteredActionHasASwitchAndItsOwnSettings) {
    const TestKey category(HKEY_CLASSES_ROOT, CategoryPath(category::Actions));
    for (unsigned char i = 0; i < 3; ++i)
        category.Put(TextOf(Id(i)), nullptr, i == 0 ? L"Thumbs" : i == 1 ? L"Mail" : L"Gone");
    category.Put(TextOf(Id(0)) + L"\\1", nullptr, L"Make thumbnails");
    category.Put(TextOf(Id(0)) + L"\\2", nullptr, L"A small picture");
    NothingLeft no_leaks;
    ActionDouble thumbs, mail;
    FakeMedia media;
    const ClassDouble first(Id(0), thumbs.Maker()), second(Id(1), mail.Maker());
    const Node root = CreateNode(clsid::PropertyMain);
    root.Give(media.dispatch());
    const Node actions = root.Find(L"Action");
    EXPECT_EQ(actions.Title(), L"Actions");
    EXPECT_EQ(actions.Type(), 0xC0);
    EXPECT_EQ(actions.Description(), L"Different actions that will be applied to output files.");
    ASSERT_EQ(actions.Children().size(), 3u);

    const Node action = actions.Child(0);
    EXPECT_EQ(action.Name(), L"Thumbs");
    EXPECT_EQ(action.Title(), L"Make thumbnails");
    EXPECT_EQ(action.Description(), L"A small picture");
    EXPECT_EQ(action.Type(), 0x28);
    EXPECT_EQ(action.Value(), I4(0));
    EXPECT_EQ(action.As<IActionObject>().get(), &thumbs);
    EXPECT_EQ(root.Find(L"actionroot_thumbs").get(), &thumbs.root);
    thumbs.root.dialog = S_FALSE;
    EXPECT_EQ(action->ShowDialog(), S_FALSE) << "the action's own editor";
    thumbs.has_root = false;
    EXPECT_EQ(action->ShowDialog(), E_FAIL);

    EXPECT_EQ(actions.Child(1).Title(), L"") << "it has no extra texts";
    EXPECT_EQ(mail.root.name, L"ActionRoot_Mail");
    const Node gone = actions.Child(2);
    EXPECT_EQ(gone.Name(), L"Gone");
    EXPECT_EQ(gone.Title(), L"");
    EXPECT_TRUE(gone.Children().empty());
    EXPECT_FALSE(gone.As<IActionObject>());
    EXPECT_EQ(gone->ShowDialog(), E_FAIL);

    // Set up by hand, with a name that is cut, and with one that has no class.
    ActionDouble other;
    const ClassDouble third(Id(3), other.Maker());
    const Node made = CreateNode(clsid::PropertyActionImpl);
    CLSID cls = Id(4);
    EXPECT_EQ(made.Name(), L"Action");
    EXPECT_EQ(made.As<IActionImplInit>()->Init(Text(L"n"), Text(L"t"), Text(L"d"), &cls),
              REGDB_E_CLASSNOTREG);
    EXPECT_EQ(made.Title(), L"");
    cls = Id(3);
    EXPECT_EQ(made.As<IActionImplInit>()->Init(Text(std::wstring(300, L'n')), nullptr, nullptr, &cls), S_OK);
    EXPECT_EQ(other.root.name, L"ActionRoot_" + std::wstring(244, L'n'));
    EXPECT_EQ(made.As<IActionImplInit>()->Init(nullptr, nullptr, nullptr, nullptr), E_POINTER);
}

}  // namespace
}  // namespace bv::test
