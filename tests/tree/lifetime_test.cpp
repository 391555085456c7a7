// What stays when something goes: nothing that is gone is followed or handed out.
#include "support/doubles.h"

namespace bv::test {
namespace {

class LifetimeTest : public testing::Test {
protected:
    static Ref<IDispatch> ParentOf(const Node& node) {
        Ref<IDispatch> parent;
        const HRESULT status = node->get_Parent(parent.Put());
        EXPECT_EQ(status, parent ? S_OK : S_FALSE);
        return parent;
    }
    NothingLeft no_leaks;
};

TEST_F(LifetimeTest, AChildOutlivesItsParent) {
    Node root = CreateNode(clsid::PropertyMain);
    const Node common = root.Find(L"Common"), mode = root.Find(L"Mode");
    EXPECT_EQ(common.Parent().get(), root.get());
    root.Release();
    EXPECT_FALSE(ParentOf(common));
    EXPECT_TRUE(ParentOf(mode)) << "its own parent is still held, from above";
    EXPECT_EQ(mode.Put(I4(2)), S_OK);
    EXPECT_FALSE(mode.Find(L"IsSplit"));
}

TEST_F(LifetimeTest, AnyObjectMayBeTheParentThatEnds) {
    const Node child = CreateNode(clsid::PropertySimple);
    for (const CLSID& cls : {clsid::MediaFiles, clsid::ListItem, clsid::Timelines, clsid::LiveTimeFilters,
                             clsid::AMMediaType, clsid::BVMapper, clsid::CriticalSection}) {
        auto parent = New<IDispatch>(cls);
        ASSERT_TRUE(parent);
        EXPECT_EQ(child->put_Parent(parent.get()), S_OK);
        EXPECT_TRUE(ParentOf(child));
        parent = {};
        EXPECT_FALSE(ParentOf(child));
    }
}

TEST_F(LifetimeTest, ACollectionOutlivesItsNode) {
    Node node = CreateNode(clsid::PropertyCommon);
    const auto children = node.As<IEnumProperties>();
    const auto values = node.As<IListOfValues>();
    node.Release();
    CLSID cls = clsid::PropertySimple;
    Ref<IProperty> added;
    ASSERT_EQ(children->InsertProperty(Text(L"late"), &cls, added.Put()), S_OK);
    EXPECT_FALSE(ParentOf(Node(added)));
    EXPECT_EQ(values->AddItem(Text(L"x"), I4(1).get()), S_OK);
}

TEST_F(LifetimeTest, ANodeOutlivesAMediaObjectOfOurs) {
    // A Map alone is a media object, if a poor one.
    auto map = New<IMap>(clsid::Map);
    const Node root = CreateNode(clsid::PropertyMain);
    root.Give(map.get());
    EXPECT_TRUE(root.Find(L"Mode"));
    // The index holds the nodes, and they don't hold the index.
    map = {};
    Ref<IDispatch> media;
    EXPECT_EQ(root.Find(L"Mode")->get_MediaObject(media.Put()), S_OK);
    EXPECT_FALSE(media);
    EXPECT_TRUE(root.Find(L"IsSplit"));
}

TEST_F(LifetimeTest, TheCurrentInputOutlivesTheRoot) {
    FakeMedia media;
    const Node input = CreateNode(clsid::PropertyMediaPath);
    Node root = CreateNode(clsid::PropertyMain);
    root.Give(media.dispatch());
    ASSERT_EQ(root.As<IMainMediaPath>()->SetMediaPath(input.get()), S_OK);
    EXPECT_EQ(input.Parent().get(), root.get());
    root.Release();
    EXPECT_FALSE(ParentOf(input));
    EXPECT_EQ(input->put_Parent(nullptr), S_OK);
    EXPECT_EQ(input.Put(Str(L"x")), S_OK);
    input.Give(nullptr);
}

TEST_F(LifetimeTest, AParentCanBeReplacedAndTakenBack) {
    const Node child = CreateNode(clsid::PropertySimple);
    Fake<IDispatch> foreign;
    {
        const Node first = CreateNode(clsid::PropertySimple), second = CreateNode(clsid::PropertySimple);
        ASSERT_EQ(child->put_Parent(first.get()), S_OK);
        ASSERT_EQ(child->SetInfo(Text(L"n"), Unk(second.get()).get()), S_OK);
        EXPECT_EQ(child.Parent().get(), second.get());
        ASSERT_EQ(child->SetInfo(Text(L"m"), I4(5).get()), S_OK);
        EXPECT_EQ(child.Name(), L"m");
        EXPECT_EQ(child.Parent().get(), second.get()) << "a number is no parent";
        ASSERT_EQ(child->put_Parent(first.get()), S_OK);
    }
    EXPECT_FALSE(ParentOf(child));
    ASSERT_EQ(child->put_Parent(&foreign), S_OK);
    EXPECT_EQ(foreign.references(), 1u) << "no reference is kept";
    EXPECT_EQ(ParentOf(child).get(), &foreign);
    ASSERT_EQ(child->SetInfo(Text(L"m"), Obj(nullptr).get()), S_OK);
    EXPECT_FALSE(ParentOf(child));
}

TEST_F(LifetimeTest, AnAggregatedNodeAnswersForItsOuter) {
    Around<Fake<IUnknown>> outer(clsid::PropertyOutput);
    {
        const Node node(outer.inner.As<IProperty>());
        EXPECT_EQ(node.As<IUnknown>().get(), outer.unknown());
        EXPECT_EQ(node.Children().size(), 6u);
        EXPECT_EQ(node.Child(0).Parent().As<IUnknown>().get(), outer.unknown());
        EXPECT_GT(outer.references(), 1u) << "its references are the outer object's";
        EXPECT_TRUE(node.Find(L"SplitLength"));
        // As a value and as a child it is a node like any other.
        const Node above = CreateNode(clsid::PropertySimple);
        ASSERT_EQ(above.Put(Unk(outer.unknown())), S_OK);
        EXPECT_EQ(above->Hide(1), S_OK);
        EXPECT_FALSE(node.Shown());
        ASSERT_EQ(above.As<IEnumProperties>()->AddObject(Text(L"inside"), above.get(), outer.unknown()),
                  S_OK);
        EXPECT_EQ(above.Find(L"inside").get(), node.get());
        EXPECT_EQ(node.Parent().get(), above.get());
    }
    EXPECT_EQ(outer.references(), 1u);
    const Node mode = Node(outer.inner.As<IProperty>()).Child(0);
    outer.inner = {};
    EXPECT_FALSE(ParentOf(mode));
}

}  // namespace
}  // namespace bv::test
