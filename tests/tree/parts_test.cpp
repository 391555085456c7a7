// What a node holds as a few words, and shows as objects and values like any other.
#include "support/doubles.h"

namespace bv::test {
namespace {

class PartsTest : public testing::Test {
protected:
    Node Add(const wchar_t* name) const {
        CLSID cls = clsid::PropertySimple;
        Ref<IProperty> added;
        EXPECT_EQ(node.As<IEnumProperties>()->InsertProperty(Text(name), &cls, added.Put()), S_OK);
        return Node(std::move(added));
    }
    NothingLeft no_leaks;
    Node node = CreateNode(clsid::PropertySimple);
};

TEST_F(PartsTest, AreOneObjectAsLongAsSomebodyCanTell) {
    auto list = node.As<IEnumProperties>();
    EXPECT_EQ(node.As<IEnumProperties>().get(), list.get());
    auto values = node.As<IListOfValues>();
    EXPECT_EQ(node.As<IListOfValues>().get(), values.get());
    EXPECT_FALSE(list.As<IProperty>()) << "it isn't the node";

    // What was put, and who points back, outlasts the last reference.
    const Node other = CreateNode(clsid::PropertySimple);
    ASSERT_EQ(node.As<IEnumProperties>()->PutParent(other.get()), S_OK);
    EXPECT_EQ(other->put_Parent(values.get()), S_OK);
    auto* const before = values.get();
    list = {};
    values = {};
    EXPECT_EQ(Add(L"child").Parent().get(), other.get());
    Ref<IDispatch> parent;
    ASSERT_EQ(other->get_Parent(parent.Put()), S_OK);
    EXPECT_EQ(parent.get(), before);
    parent = {};
    node.Release();
    EXPECT_EQ(other->get_Parent(parent.Put()), S_FALSE) << "the list has ended with its node";
}

TEST_F(PartsTest, StayWithWhoeverHoldsThemWhenTheNodeEnds) {
    const auto list = node.As<IEnumProperties>();
    const auto values = node.As<IListOfValues>();
    const Node child = Add(L"child");
    ASSERT_EQ(values->AddItem(Text(L"one"), I4(1).get()), S_OK);
    const Ref<IUnknown> entry = ItemOf(values, 0);
    ASSERT_EQ(values->AddItem(Text(L"two"), Str(L"2").get()), S_OK);
    node.Release();
    EXPECT_EQ(ItemOf(list, 0).As<IProperty>().get(), child.get());
    EXPECT_EQ(ItemOf(values, 0).get(), entry.get());
    BSTR label = nullptr;
    ASSERT_EQ(values->get_Text(Str(L"2").get(), &label), S_OK);
    EXPECT_EQ(Take(label), L"two");
    EXPECT_EQ(values->Clear(), S_OK);
    EXPECT_EQ(TextFrom(entry.As<IListItem>().get(), &IListItem::get_Title), L"one")
        << "an entry outlives its list";
}

TEST_F(PartsTest, AnEntryIsOneObjectThatCanBeChanged) {
    const auto values = node.As<IListOfValues>();
    ASSERT_EQ(values->AddItem(Text(L"one"), I4(1).get()), S_OK);
    const auto entry = ItemOf(values, 0).As<IListItem>();
    EXPECT_EQ(ItemOf(values, 0).As<IListItem>().get(), entry.get());
    ASSERT_EQ(entry->SetInfo(Text(L"other"), I4(7).get()), S_OK);
    BSTR label = nullptr;
    ASSERT_EQ(values->get_Text(I4(7).get(), &label), S_OK);
    EXPECT_EQ(Take(label), L"other");
    ASSERT_EQ(node.As<ISimpleInit>()->SelectItem(0), S_OK);
    EXPECT_EQ(node.Value(), I4(7));
}

TEST_F(PartsTest, TheNodeMayEndInACallOfItsCollection) {
    /// Lets the node go when it is asked for its name.
    class Ending : public ForeignNode {
    public:
        explicit Ending(Node* owner) : ForeignNode(L"ending"), owner_(owner) {}
        STDMETHODIMP get_Name(BSTR* out) override {
            owner_->Release();
            return ForeignNode::get_Name(out);
        }

    private:
        Node* owner_;
    } ending(&node);
    auto list = node.As<IEnumProperties>();
    ASSERT_EQ(list->AddObject(Text(L"ending"), nullptr, ending.unknown()), S_OK);
    Add(L"last");
    Ref<IProperty> found;
    EXPECT_EQ(list->FindProperty(Text(L"last"), nullptr, found.Put()), S_OK);
    EXPECT_FALSE(node);
    EXPECT_EQ(CountOf(list), 2);
    EXPECT_EQ(list->RemoveByName(Text(L"ending"), nullptr), S_OK);
}

TEST_F(PartsTest, FlagsAndValuesStayAsTheyWerePut) {
    for (const LONG flag : {0L, 1L, -1L, 127L, -128L, 1000L, 0x7FFFFFFFL}) {
        LONG got = 5;
        EXPECT_EQ(node->Hide(LONG(flag)), S_OK);
        EXPECT_EQ(node->get_IsHide(&got), S_OK);
        EXPECT_EQ(got, flag);
        EXPECT_EQ(node->put_Active(LONG(flag)), S_OK);
        EXPECT_EQ(node->get_Active(&got), S_OK);
        EXPECT_EQ(got, flag);
    }
    Value decimal;
    decimal.get().vt = VT_DECIMAL;
    decimal.get().decVal.scale = 2;
    decimal.get().decVal.Hi32 = 1;
    decimal.get().decVal.Lo64 = 5;
    Value bytes;  // not whole characters
    bytes.get().vt = VT_BSTR;
    bytes.get().bstrVal = SysAllocStringByteLen("abc", 3);
    ASSERT_EQ(node.Put(decimal), S_OK);
    const Value got = node.Value();
    EXPECT_EQ(got.kind(), VT_DECIMAL);
    EXPECT_EQ(got.get().decVal.scale, 2);
    EXPECT_EQ(got.get().decVal.Hi32, 1u);
    EXPECT_EQ(got.get().decVal.Lo64, 5u);
    ASSERT_EQ(node.Put(bytes), S_OK);
    EXPECT_EQ(SysStringByteLen(node.Value().get().bstrVal), 3u);
    for (const size_t length : {0u, 1u, 70u, 100u, 5000u}) {
        ASSERT_EQ(node.Put(Str(std::wstring(length, L'x'))), S_OK);
        EXPECT_EQ(node.Value().text(), std::wstring(length, L'x'));
    }
}

TEST_F(PartsTest, NamesOfAnyLengthAndScriptAreKeptAndFound) {
    const std::wstring names[] = {L"",
                                  L"a",
                                  std::wstring(23, L'b'),
                                  std::wstring(24, L'c'),
                                  std::wstring(600, L'd'),
                                  L"\u00e9t\u00e9",
                                  L"\u0438\u043c\u044f " + std::wstring(30, L'e'),
                                  std::wstring(L"a\0b", 3)};
    for (const std::wstring& name : names) {
        const Node child = Add(L"first");
        ASSERT_EQ(child->SetInfo(Text(name), Nothing().get()), S_OK);
        EXPECT_EQ(child.Name(), name);
        EXPECT_EQ(node.Find(name).get(), child.get());
        ASSERT_EQ(child->SetInfo(Text(L"again"), Nothing().get()), S_OK);
        EXPECT_EQ(node.Find(L"AGAIN").get(), child.get());
        ASSERT_EQ(node.As<IEnumProperties>()->RemoveByName(Text(L"again"), nullptr), S_OK);
    }
    Add(L"\u00c9T\u00c9 \u0418");
    EXPECT_TRUE(node.Find(L"\u00e9t\u00e9 \u0438")) << "letters beyond ASCII have a case too";
    EXPECT_FALSE(node.Find(L"\u00e9t\u00e9 a"));
}

}  // namespace
}  // namespace bv::test
