// A value that is a node: what selecting does to it, and what passes through it.
#include "support/doubles.h"

namespace bv::test {
namespace {

/// A node that offers two groups, each with a child of its own, and a plain number.
class SelectionTest : public testing::Test {
protected:
    SelectionTest() {
        const auto list = chooser.As<IListOfValues>();
        for (const wchar_t* label : {L"A", L"B"}) {
            CLSID cls = clsid::PropertySimple;
            EXPECT_EQ(list->AddObject2(Text(label), &cls), S_OK);
        }
        EXPECT_EQ(list->AddItem(Text(L"plain"), I4(3).get()), S_OK);
        for (size_t i = 0; i < 2; ++i) {
            CLSID cls = clsid::PropertySimple;
            EXPECT_EQ(
                Entry(i).As<IEnumProperties>()->InsertProperty(Text(i ? L"OfB" : L"OfA"), &cls, nullptr),
                S_OK);
            EXPECT_EQ(Entry(i).Child(0)->put_Active(0), S_OK);
        }
    }
    Node Entry(size_t index) const { return Node(Ref<IUnknown>(Choice(index).object()).As<IProperty>()); }
    Value Choice(size_t index) const { return chooser.Choices().at(index).second; }
    Node ChildOf(size_t index) const { return Entry(index).Child(0); }

    NothingLeft no_leaks;
    Node chooser = CreateNode(clsid::PropertySimple);
};

TEST_F(SelectionTest, SwitchesTheOldOneOffAndTheNewOneOn) {
    struct Case {
        const char* what;
        Value value;
        bool a, b;  // active and shown
    };
    const Case cases[] = {
        {"the first, from no value at all", Choice(0), true, false},
        {"the second", Choice(1), false, true},
        {"the same again", Choice(1), false, true},
        {"the first, as IUnknown", Unk(Entry(0).get()), true, false},
        {"no node", I4(3), false, false},
        {"the second, from no node", Choice(1), false, true},
        {"a null object", Obj(nullptr), false, false},
    };
    EXPECT_FALSE(Entry(0).Active()) << "an entry sleeps until it is chosen";
    Entry(1)->Hide(1);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        ASSERT_EQ(chooser.Put(c.value), S_OK);
        for (const bool below : {false, true})
            for (const size_t i : {0u, 1u}) {
                const Node node = below ? ChildOf(i) : Entry(i);
                EXPECT_EQ(node.Active(), i ? c.b : c.a) << i << below;
                EXPECT_EQ(node.Shown(), i ? c.b : c.a) << i << below;
            }
    }
}

TEST_F(SelectionTest, FlagsPassThroughTheHeldNodeAlone) {
    ASSERT_EQ(chooser.Put(Choice(1)), S_OK);
    Entry(0)->Hide(0);
    ASSERT_EQ(chooser->Hide(5), S_OK);
    LONG flag = 0;
    EXPECT_EQ(ChildOf(1)->get_IsHide(&flag), S_OK);
    EXPECT_EQ(flag, 5);
    EXPECT_TRUE(Entry(0).Shown()) << "not selected";
    ASSERT_EQ(chooser->put_IsHide(0), S_OK);
    EXPECT_TRUE(ChildOf(1).Shown());
    ASSERT_EQ(chooser->put_IsDisabled(1), S_OK);
    EXPECT_FALSE(ChildOf(1).Enabled());
    EXPECT_TRUE(Entry(0).Enabled());
    ASSERT_EQ(chooser->Disabled(0), S_OK);
    EXPECT_TRUE(ChildOf(1).Enabled());
    ASSERT_EQ(chooser->put_Active(0), S_OK);
    EXPECT_FALSE(ChildOf(1).Active());
    ASSERT_EQ(chooser->put_Active(1), S_OK);
    EXPECT_TRUE(ChildOf(1).Active());
    EXPECT_FALSE(Entry(0).Active());
}

TEST_F(SelectionTest, AForeignNodeIsSwitchedLikeOurs) {
    ForeignNode foreign(L"foreign");
    ASSERT_EQ(chooser.Put(Unk(foreign.unknown())), S_OK);
    EXPECT_EQ(foreign.active, 1);
    chooser->Hide(1);
    chooser->Disabled(1);
    EXPECT_EQ(foreign.hidden, 1);
    EXPECT_EQ(foreign.disabled, 1);
    ASSERT_EQ(chooser.Put(Choice(0)), S_OK);
    EXPECT_EQ(foreign.active, 0);
    EXPECT_EQ(foreign.hidden, 1);
    // And an object that is no node is a value like any other.
    Fake<IDispatch> object;
    ASSERT_EQ(chooser.Put(Obj(&object)), S_OK);
    EXPECT_EQ(chooser->Hide(0), S_OK);
    ASSERT_EQ(chooser.Put(Nothing()), S_OK);
}

TEST_F(SelectionTest, ClearingTheListLeavesTheValue) {
    ASSERT_EQ(chooser.Put(Choice(1)), S_OK);
    ASSERT_EQ(chooser.As<IListOfValues>()->Clear(), S_OK);
    EXPECT_TRUE(chooser.Choices().empty());
    EXPECT_EQ(Node(Ref<IUnknown>(chooser.Value().object()).As<IProperty>()).Value(), Str(L"B"));
}

// --- The list ---

TEST_F(SelectionTest, TextGivesTheFirstLabelOfAValue) {
    const auto list = chooser.As<IListOfValues>();
    Fake<IDispatch> object;
    Value money;  // of a kind that isn't compared
    money.get().vt = VT_CY;
    ASSERT_EQ(list->AddItem(Text(L"money"), money.get()), S_OK);
    for (const auto& [label, value] : std::vector<std::pair<const wchar_t*, Value>>{{L"again", I4(3)},
                                                                                    {L"bool", Bool(true)},
                                                                                    {L"word", Str(L"Word")},
                                                                                    {L"byte", UI1(1)},
                                                                                    {L"real", R8(0.5)},
                                                                                    {L"nothing", Nothing()},
                                                                                    {L"item", Obj(&object)}})
        ASSERT_EQ(list->AddItem(Text(label), value.get()), S_OK);
    const struct {
        Value value;
        const wchar_t* label;  // null: not there
    } cases[] = {{I4(3), L"plain"},
                 {I2(3), nullptr},
                 {Str(L"3"), nullptr},
                 {Bool(true), L"bool"},
                 {I2(-1), nullptr},
                 {Str(L"Word"), L"word"},
                 {Str(L"word"), nullptr},
                 {Str(L"Words"), nullptr},
                 {UI1(1), L"byte"},
                 {I4(1), nullptr},
                 {R8(0.5), L"real"},
                 {R8(0.25), nullptr},
                 {Nothing(), L"nothing"},
                 {Obj(&object), L"item"},
                 {Unk(&object), L"item"},
                 {Choice(1), L"B"},
                 {Unk(Entry(1).get()), L"B"},
                 {Unk(Entry(1).As<ISettingsWriter>().get()), L"B"},
                 {Obj(chooser.get()), nullptr},
                 {money, nullptr}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.value));
        BSTR label = nullptr;
        EXPECT_EQ(list->get_Text(c.value.get(), &label), c.label ? S_OK : E_INVALIDARG);
        EXPECT_EQ(Take(label), c.label ? c.label : L"");
    }
    EXPECT_EQ(list->get_Text(I4(3).get(), nullptr), E_POINTER);
    EXPECT_EQ(list->Clear(), S_OK);
}

TEST_F(SelectionTest, EntriesAreAddedAsTheyAre) {
    const auto list = chooser.As<IListOfValues>();
    ASSERT_EQ(list->Clear(), S_OK);
    FormatDouble format(L"A format");
    Fake<IDispatch> no_node;
    {
        GUID cls = kNoClass;
        const ClassDouble made(cls, format.Maker());
        EXPECT_EQ(list->AddObject(&cls), S_OK);
    }
    {
        GUID cls = kNoClass;
        const ClassDouble made(cls, no_node.Maker());
        EXPECT_EQ(list->AddObject(&cls), S_OK);
        EXPECT_EQ(list->AddObject2(Text(L"x"), &cls), E_NOINTERFACE)
            << "only a node has a value to be its label";
    }
    EXPECT_EQ(format.active, 0);
    ASSERT_EQ(list->AddNew(Text(L"new"), Obj(&no_node).get()), S_OK);
    ASSERT_EQ(list->AddItem(Text(L"item"), Obj(&no_node).get()), S_OK);
    GUID gone = kNoClass, node = clsid::PropertySimple;
    EXPECT_EQ(list->AddObject(&gone), REGDB_E_CLASSNOTREG);
    EXPECT_EQ(list->AddObject2(Text(L"x"), &gone), REGDB_E_CLASSNOTREG);
    EXPECT_EQ(list->AddObject(&node), E_NOINTERFACE) << "a node of ours is reached as IProperty";
    EXPECT_EQ(list->AddObject(nullptr), E_POINTER);
    EXPECT_EQ(list->AddObject2(Text(L"x"), nullptr), E_POINTER);

    const auto choices = chooser.Choices();
    ASSERT_EQ(choices.size(), 4u);
    const struct {
        const wchar_t* label;
        VARTYPE kind;
    } want[] = {{L"A format", VT_DISPATCH}, {L"", VT_DISPATCH}, {L"new", VT_UNKNOWN}, {L"item", VT_DISPATCH}};
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(choices[i].first, want[i].label);
        EXPECT_EQ(choices[i].second.kind(), want[i].kind);
    }
    const auto entry = ItemOf(list, 2);
    EXPECT_EQ(TextFrom(entry.As<IListItem>().get(), &IListItem::get_Title), L"new");
    EXPECT_EQ(entry.As<IListItem>()->SetInfo(Text(L"other"), I4(8).get()), S_OK);
    BSTR label = nullptr;
    EXPECT_EQ(list->get_Text(I4(8).get(), &label), S_OK) << "the list holds what its entry holds";
    EXPECT_EQ(Take(label), L"other");
    EXPECT_EQ(ItemOf(list, 2).get(), entry.get());
    EXPECT_EQ(entry.As<IListItem>()->SetInfo(Text(L"new"), I4(8).get()), S_OK);
    EXPECT_EQ(entry.As<IListItem>()->get_Title(nullptr), E_POINTER);
    EXPECT_EQ(entry.As<IListItem>()->get_Value(nullptr), E_POINTER);

    for (const int outside : {-1, 4}) EXPECT_EQ(list->RemoveByID(outside), E_INVALIDARG);
    ASSERT_EQ(list->RemoveByID(0), S_OK);
    ASSERT_EQ(list->RemoveByID(0), S_OK);
    EXPECT_EQ(chooser.Choices().at(0).first, L"new");
    for (const LONG outside : {-1, 2}) {
        auto* untouched = entry.get();
        EXPECT_EQ(list->get_Item(outside, &untouched), E_INVALIDARG);
        EXPECT_EQ(untouched, entry.get());
    }
    ASSERT_EQ(list->Clear(), S_OK);
}

TEST_F(SelectionTest, AnEntryThatCantBeMadeIsNotAdded) {
    const ClassDouble refusing(clsid::ListItem, [](IUnknown*, REFIID, void**) { return E_ABORT; });
    ForeignNode node(L"n");
    const auto list = chooser.As<IListOfValues>();
    EXPECT_EQ(list->AddItem(Text(L"x"), Unk(node.unknown()).get()), E_ABORT);
    EXPECT_EQ(node.active, 0);
    EXPECT_EQ(chooser.Choices().size(), 3u);
}

}  // namespace
}  // namespace bv::test
