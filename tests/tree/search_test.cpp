// Child collections, the search through a tree, the flat index of a job, and the media object that a
// tree is given.
#include "support/doubles.h"
#include "support/environment.h"

namespace bv::test {
namespace {

/// top: a (x, b (x)), held h (x, y), c, foreign
class SearchTest : public testing::Test {
protected:
    SearchTest() {
        held->SetInfo(Text(L"h"), Nothing().get());
        AddChild(held, L"x");
        AddChild(held, L"y");
        EXPECT_EQ(top.Put(Obj(held.get())), S_OK);
    }
    Node Find(const wchar_t* name) const { return top.Find(name); }

    NothingLeft no_leaks;
    Fake<IDispatch> no_node;  // these outlive the index
    ForeignNode inner{L"Inner"}, foreign{L"f"};
    FakeMedia media;
    Node top = CreateNode(clsid::PropertySimple);
    Node a = AddChild(top, L"a");
    Node ax = AddChild(a, L"x");
    Node b = AddChild(a, L"b");
    Node bx = AddChild(b, L"x");
    Node c = AddChild(top, L"c");
    Node held = CreateNode(clsid::PropertySimple);
};

TEST_F(SearchTest, WithoutAMediaObjectWalksTheDescendants) {
    EXPECT_EQ(Find(L"x").get(), ax.get()) << "an earlier child's descendants come first";
    EXPECT_EQ(a.Find(L"B").get(), b.get());
    EXPECT_EQ(Find(L"C").get(), c.get());
    EXPECT_FALSE(Find(L"y")) << "what a value holds isn't below";
    EXPECT_FALSE(a.Find(L"a")) << "a node isn't below itself";
    EXPECT_FALSE(Find(L""));
    a->put_Active(0);
    EXPECT_EQ(Find(L"x").get(), ax.get()) << "asleep or not";
    auto* untouched = top.get();
    EXPECT_EQ(top->FindProperty(Text(L"none"), &untouched), S_FALSE);
    EXPECT_EQ(untouched, top.get());
}

TEST_F(SearchTest, WithAMediaObjectFindsActiveNodesOfTheWholeJob) {
    top.Give(media.dispatch());
    EXPECT_EQ(Find(L"x").get(), ax.get());
    EXPECT_EQ(Find(L"Y").get(), held.Child(1).get()) << "the held node, after all children";
    EXPECT_EQ(c.Find(L"b").get(), b.get()) << "not below c: by the index";
    EXPECT_EQ(b.Find(L"x").get(), bx.get()) << "below the asking node first";
    EXPECT_EQ(a.Find(L"a").get(), a.get()) << "itself too";
    EXPECT_FALSE(c.Find(L"h")) << "a held node is in no index";
    ax->put_Active(0);
    EXPECT_EQ(Find(L"x").get(), bx.get()) << "a sleeping one is passed over, a later one found";
    a->put_Active(0);
    ax->put_Active(1);
    EXPECT_EQ(Find(L"x").get(), ax.get()) << "a sleeping node is still walked";
    EXPECT_FALSE(Find(L"a"));

    media.has_map = false;
    Ref<IProperty> none;
    EXPECT_EQ(top->FindProperty(Text(L"c"), none.Put()), E_FAIL);
    media.has_map = true;
    top.Give(nullptr);
    EXPECT_EQ(Find(L"a").get(), a.get()) << "without one again";
}

TEST_F(SearchTest, ForeignNodesAreSearchedThroughTheirInterfaces) {
    {
        const Node under = CreateNode(clsid::PropertySimple);
        AddChild(under, L"deep");
        foreign.children = under.As<IEnumProperties>();
    }
    inner.value = Obj(held.get());
    const auto list = top.As<IEnumProperties>();
    ASSERT_EQ(list->AddObject(Text(L"object"), top.get(), &no_node), S_OK);
    ASSERT_EQ(list->AddObject(Text(L"Foreign"), nullptr, foreign.unknown()), S_OK);
    ASSERT_EQ(foreign.children->AddObject(Text(L"Inner"), nullptr, inner.unknown()), S_OK);
    EXPECT_EQ(foreign.name, L"Foreign");
    EXPECT_EQ(CountOf(list), 4);
    EXPECT_EQ(Find(L"foreign").get(), &foreign);

    top.Give(media.dispatch());
    EXPECT_EQ(foreign.media_calls, 1);
    EXPECT_EQ(Find(L"foreign").get(), &foreign);
    EXPECT_TRUE(Find(L"deep")) << "by its collection";
    EXPECT_EQ(Find(L"inner").get(), &inner);
    foreign.active = 0;
    EXPECT_FALSE(Find(L"foreign"));
    EXPECT_TRUE(Find(L"deep"));
    ASSERT_EQ(top.Put(Nothing()), S_OK);
    held->put_Active(1);
    EXPECT_TRUE(Find(L"y")) << "through the value of a foreign node";
}

/// A script can hang a node below itself.
TEST_F(SearchTest, AWalkPassesANodeOnceThatHangsBelowItself) {
    const auto hang = [&](const Node& above, const Node& node) {
        EXPECT_EQ(above.As<IEnumProperties>()->AddObject(Text(L"loop"), above.get(), node.get()), S_OK);
    };
    const auto take = [&](const Node& above) {
        above.As<IEnumProperties>()->RemoveByName(Text(L"loop"), nullptr);
    };
    const Node filters = AddChild(c, L"filters", clsid::PropertyFilters);
    const auto list = filters.As<IEnumObject>();
    IUnknown *node = filters.get(), *itself = list.get();
    const struct {
        const char* what;
        std::function<void()> close, open;  // such nodes hold themselves until the circle is opened
    } circles[] = {
        {"its own value", [&] { top.Put(Obj(top.get())); }, [&] { top.Put(Nothing()); }},
        {"a descendant's value", [&] { bx.Put(Unk(top.get())); }, [&] { bx.Put(Nothing()); }},
        {"its own child, twice", [&] { hang(top, top), hang(top, top); }, [&] { take(top), take(top); }},
        {"a descendant's child, twice", [&] { hang(b, a), hang(b, a); }, [&] { take(b), take(b); }},
        {"in the list of its own filters, and that in itself", [&] { list->Add(&node), list->Add(&itself); },
         [&] { list->Remove(node), list->Remove(itself); }}};
    for (const auto& circle : circles) {
        SCOPED_TRACE(circle.what);
        circle.close();
        for (const LONG flag : {1, 0}) {
            EXPECT_EQ(top->Hide(flag), S_OK);
            EXPECT_EQ(top->Disabled(flag), S_OK);
            EXPECT_EQ(top->put_Active(1 - flag), S_OK);
            EXPECT_EQ(bx.Shown(), flag == 0);
            EXPECT_EQ(bx.Enabled(), flag == 0);
            EXPECT_EQ(bx.Active(), flag == 0);
        }
        EXPECT_FALSE(Find(L"none"));
        top.Give(media.dispatch());
        EXPECT_FALSE(Find(L"none"));
        EXPECT_EQ(Find(L"x").get(), ax.get());
        EXPECT_EQ(list->SetMediaObject(media.dispatch()), S_OK);
        EXPECT_EQ(top->SetMediaObject(media.dispatch()), S_OK);
        EXPECT_THAT(top.Xml(), testing::HasSubstr("<EnumFilters>\n</EnumFilters>\n"));
        EXPECT_EQ(top->SetMediaObject(nullptr), S_OK);
        top.Give(nullptr);
        circle.open();
    }
}

/// ... or hold nodes by each other, as many as it likes.
TEST_F(SearchTest, AChainOfAnyLengthIsNoHarm) {
    using Hold = void (*)(const Node& node, const Node& below);
    const Hold by_value = [](const Node& node, const Node& below) { node.Put(Obj(below.get())); };
    const Hold as_child = [](const Node& node, const Node& below) {
        node.As<IEnumProperties>()->AddObject(Text(L"child"), nullptr, below.get());
    };
    const Hold as_choice = [](const Node& node, const Node& below) {
        node.As<IListOfValues>()->AddItem(Text(L"choice"), Obj(below.get()).get());
    };
    const Hold beside = [](const Node& node, const Node& below) {
        node->PutExData(Ref<IProperty>(below.As<IProperty>()).get());
    };
    const Hold as_filter = [](const Node& node, const Node& below) {
        IUnknown* object = below.get();
        node.As<IEnumObject>()->Add(&object);
    };
    const struct {
        CLSID cls;
        Hold even, odd;
        size_t written;  // bytes at least
    } chains[] = {{clsid::PropertySimple, by_value, as_child, 1000},
                  {clsid::PropertySimple, as_choice, as_choice, 1},
                  {clsid::PropertySimple, beside, beside, 1000},
                  {clsid::PropertyFilters, as_filter, as_filter, 1000}};
    for (const auto& kind : chains) {
        Node chain = CreateNode(kind.cls), last = chain;
        for (int i = 0; i < (kInFull ? 60000 : 3000); ++i) {
            const Node below = CreateNode(kind.cls);
            (i % 2 == 0 ? kind.even : kind.odd)(last, below);
            last = below;
        }
        last = {};
        EXPECT_EQ(chain->Hide(1), S_OK);
        EXPECT_EQ(chain->put_Active(0), S_OK);
        EXPECT_EQ(chain->SetMediaObject(nullptr), S_OK);
        EXPECT_FALSE(chain.Find(L"none"));
        EXPECT_GT(chain.Xml().size(), kind.written);
    }
}

TEST_F(SearchTest, AnIndexTakesItselfInOnce) {
    const auto map = New<IMap>(clsid::Map);
    const auto list = map.As<IEnumProperties>();
    ASSERT_EQ(map->InsertProperty(top.get()), S_OK);
    EXPECT_EQ(list->InitProperty(map.get()), S_OK);
    EXPECT_LT(CountOf(list), 100);
    top.Give(nullptr);
}

TEST_F(SearchTest, Collection) {
    const auto list = top.As<IEnumProperties>();
    CLSID cls = clsid::PropertySimple, gone = kNoClass, folder = clsid::PropertyFolder;
    Ref<IProperty> added;
    ASSERT_EQ(list->AddProperty(Text(L"C"), &cls, a.get(), added.Put()), S_OK);
    EXPECT_EQ(Node(added).Parent().get(), a.get()) << "the parent that was passed";
    EXPECT_EQ(c.Parent().get(), top.get()) << "the collection's own";
    EXPECT_EQ(Find(L"c").get(), c.get());
    ASSERT_EQ(list->AddProperty(Text(L"mine"), &folder, nullptr, nullptr), S_OK);
    EXPECT_EQ(Find(L"mine").Title(), L"Destination Folder");
    EXPECT_FALSE(Find(L"mine").Parent());
    EXPECT_FALSE(Find(L"DestinationPath")) << "the name that was given wins over the class's own";
    EXPECT_EQ(list->AddProperty(Text(L"n"), &gone, nullptr, nullptr), REGDB_E_CLASSNOTREG);
    EXPECT_EQ(list->AddProperty(Text(L"n"), nullptr, nullptr, nullptr), E_POINTER);

    Ref<IProperty> found;
    EXPECT_EQ(list->FindPropertyExactly(Text(L"c"), found.Put()), S_FALSE);
    EXPECT_EQ(list->FindProperty(Text(L"x"), nullptr, found.Put()), S_FALSE) << "its own items alone";
    EXPECT_EQ(list->FindProperty(Text(L"x"), b.get(), found.Put()), S_OK);
    EXPECT_EQ(found.get(), bx.get());
    c->put_Active(0);
    EXPECT_EQ(list->FindProperty(Text(L"c"), nullptr, found.Put()), S_OK);
    EXPECT_EQ(found.get(), added.get()) << "the active one of two";
    ASSERT_EQ(list->RemoveByName(Text(L"c"), added.get()), S_OK);
    EXPECT_EQ(top.Child(1).get(), added.get()) << "the first goes, active or not";
    EXPECT_EQ(list->RemoveByName(Text(L"nobody"), nullptr), S_OK);
    EXPECT_EQ(list->RemoveByName(Text(L"x"), nullptr), S_OK);
    EXPECT_EQ(top.Children().size(), 3u);

    EXPECT_EQ(TextFrom(list.get(), &IEnumProperties::get_Name), L"");
    Ref<IUnknown> item;
    for (const LONG index : {-1, 3, 0x7FFFFFFF}) EXPECT_EQ(list->get_Item(index, item.Put()), E_INVALIDARG);
    EXPECT_EQ(list->get_Item(0, nullptr), E_POINTER);
    const auto empty = New<IEnumProperties>(clsid::EnumProperties);
    EXPECT_EQ(CountOf(empty), 0);
    EXPECT_EQ(empty->get_Item(0, item.Put()), E_INVALIDARG);
    EXPECT_EQ(empty->FindProperty(Text(L""), nullptr, found.Put()), S_FALSE);
    EXPECT_EQ(empty->AddObject(Text(L""), nullptr, nullptr), E_POINTER);
}

TEST_F(SearchTest, TheMediaObjectReachesEveryChoice) {
    FormatDouble format(L"f");
    const auto list = top.As<IListOfValues>();
    const Node choice = CreateNode(clsid::PropertySimple);
    const Node below = AddChild(choice, L"OfChoice");
    ASSERT_EQ(list->AddItem(Text(L"one"), Obj(choice.get()).get()), S_OK);
    ASSERT_EQ(list->AddItem(Text(L"two"), Unk(format.unknown()).get()), S_OK);
    ASSERT_EQ(list->AddItem(Text(L"three"), I4(3).get()), S_OK);
    top.Give(media.dispatch());
    EXPECT_EQ(format.format_media, media.dispatch());
    EXPECT_EQ(format.media_calls, 1);
    Ref<IDispatch> got;
    for (const Node& node : {top, a, bx, choice, below}) {
        EXPECT_EQ(node->get_MediaObject(got.Put()), S_OK);
        EXPECT_EQ(got.get(), media.dispatch());
    }
    EXPECT_EQ(held->get_MediaObject(got.Put()), S_OK);
    EXPECT_FALSE(got) << "the held node isn't an entry of the list";

    // In the index: children before their own, then the entries' descendants, the entries themselves not.
    std::vector<std::wstring> names;
    const auto index = media.map().As<IEnumProperties>();
    for (LONG i = 0; i < CountOf(index); ++i) names.push_back(Node(ItemOf(index, i).As<IProperty>()).Name());
    EXPECT_EQ(names, (std::vector<std::wstring>{L"a", L"x", L"b", L"x", L"c", L"OfChoice"}));
    top.Give(media.dispatch());
    EXPECT_EQ(CountOf(index), 12) << "a second time registers a second time";
    list->Clear();
}

TEST_F(SearchTest, ThePlainWayRegistersNothing) {
    CLSID unit = clsid::PropertyLenExt;
    ASSERT_EQ(a.As<ISimpleInit>()->SetExtensionClass(&unit), S_OK);
    FormatDouble format(L"f");
    ASSERT_EQ(top.As<IListOfValues>()->AddItem(Text(L"two"), Unk(format.unknown()).get()), S_OK);
    ASSERT_EQ(top->SetMediaObject(media.dispatch()), S_OK);
    Ref<IDispatch> got;
    EXPECT_EQ(a.Extension()->get_MediaObject(got.Put()), S_OK);
    EXPECT_EQ(got.get(), media.dispatch());
    got = {};
    EXPECT_EQ(format.media, nullptr);
    EXPECT_FALSE(c.Find(L"a")) << "nothing is in the index";
    EXPECT_EQ(a.Find(L"x").get(), ax.get()) << "but the search from a node walks";
    ASSERT_EQ(top.As<IListOfValues>()->Clear(), S_OK);
    // And the registering way doesn't reach the extension.
    ASSERT_EQ(top->SetMediaObject(nullptr), S_OK);
    top.Give(media.dispatch());
    EXPECT_EQ(a.Extension()->get_MediaObject(got.Put()), S_OK);
    EXPECT_FALSE(got);
}

// --- The index ---

TEST_F(SearchTest, IndexReadsAndWritesByName) {
    const auto map = New<IMap>(clsid::Map);
    Ref<IProperty> found;
    EXPECT_EQ(map->get_Property(Text(L"x"), nullptr, found.Put()), S_FALSE);
    for (const Node& node : {ax, bx, b}) ASSERT_EQ(map->InsertProperty(node.get()), S_OK);
    EXPECT_EQ(map->InsertProperty(nullptr), E_POINTER);
    EXPECT_EQ(map->get_Property(Text(L"x"), b.get(), found.Put()), S_OK);
    EXPECT_EQ(found.get(), bx.get()) << "below the parent first";
    EXPECT_EQ(map->get_Property(Text(L"X"), nullptr, found.Put()), S_OK);
    EXPECT_EQ(found.get(), ax.get());

    Value value;
    EXPECT_EQ(map->get_PropertyVal(Text(L"x"), nullptr, value.Put()), S_FALSE) << "it has no value";
    EXPECT_EQ(map->put_PropertyVal(Text(L"x"), b.get(), I4(5).get()), S_OK);
    EXPECT_EQ(bx.Value(), I4(5));
    EXPECT_EQ(map->get_PropertyVal(Text(L"x"), b.get(), value.Put()), S_OK);
    EXPECT_EQ(value, I4(5));
    bx.As<ISimpleInit>()->SetType(0x80000);
    EXPECT_EQ(map->put_PropertyVal(Text(L"x"), b.get(), I4(-5).get()), E_FAIL);
    EXPECT_EQ(TakeRefusal().text, L"This value cannot be negative.");
    for (const wchar_t* name : {L"nobody", L"b"}) {
        b->put_Active(0);
        EXPECT_EQ(map->get_PropertyVal(Text(name), nullptr, value.Put()), E_INVALIDARG);
        EXPECT_EQ(map->put_PropertyVal(Text(name), nullptr, I4(1).get()), E_INVALIDARG);
    }
    EXPECT_EQ(map->RemoveProperties(Text(L"b"), nullptr), S_OK);
    EXPECT_EQ(map->RemoveProperties(Text(L"b"), nullptr), S_OK);

    ASSERT_EQ(map->InsertProperty(foreign.unknown()), S_OK);
    ASSERT_EQ(map->InsertProperty(foreign.unknown()), S_OK);
    EXPECT_EQ(map->InitDefault(), S_OK);
    EXPECT_EQ(foreign.init_calls, 2);
    ASSERT_EQ(map->RemoveProperties(Text(L"F"), nullptr), S_OK);
    EXPECT_EQ(foreign.references(), 2u);
    ASSERT_EQ(map->RemoveProperties(Text(L"F"), nullptr), S_OK);
    const auto errors = map.As<ISupportErrorInfo>();
    EXPECT_EQ(errors->InterfaceSupportsErrorInfo(kIid<IMap>), S_OK);
    EXPECT_EQ(errors->InterfaceSupportsErrorInfo(kIid<IProperty>), S_FALSE);
}

}  // namespace
}  // namespace bv::test
