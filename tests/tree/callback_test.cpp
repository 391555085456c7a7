// Foreign components that do something in the middle of a call: what they change is there, nobody stands on
// what they took away.
#include "support/doubles.h"
#include "support/environment.h"

namespace bv::test {
namespace {

/// A foreign node that calls back, once, when it is asked in one of several ways.
class CallingNode : public ForeignNodeOf<ISettingsWriter> {
public:
    CallingNode() : ForeignNodeOf(L"calling") {}

    enum When { kNever, kName, kActive, kQuery, kHide, kWrite, kValue, kMedia };
    When when = kNever;
    std::function<void()> call;

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
        Reached(kQuery);
        return ForeignNodeOf::QueryInterface(iid, out);
    }
    STDMETHODIMP get_Name(BSTR* out) override {
        Reached(kName);
        return ForeignNodeOf::get_Name(out);
    }
    STDMETHODIMP get_Active(LONG* out) override {
        Reached(kActive);
        return ForeignNodeOf::get_Active(out);
    }
    STDMETHODIMP Hide(LONG flag) override {
        Reached(kHide);
        return ForeignNodeOf::Hide(flag);
    }
    STDMETHODIMP get_Value(VARIANT* out) override {
        Reached(kValue);
        return ForeignNodeOf::get_Value(out);
    }
    STDMETHODIMP SetMediaObject(IDispatch* given) override {
        Reached(kMedia);
        return ForeignNodeOf::SetMediaObject(given);
    }
    STDMETHODIMP WriteXml(ISequentialStream*) override {
        Reached(kWrite);
        return S_OK;
    }
    STDMETHODIMP ReadExtraData(IUnknown*) override { return S_OK; }

private:
    void Reached(When here) {
        if (when != here) return;
        when = kNever;
        call();
    }
};

/// An object around a node of ours, which answers some interfaces itself.
class Answering : public Around<Fake<ISettingsWriter>> {
public:
    using Around::Around;
    bool writes = false;
    Ref<IEnumProperties> children;  // null: the node's own

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
        if (iid == kIid<IEnumProperties> && children) return children->QueryInterface(iid, out);
        *out = nullptr;
        if (iid == kIid<ISettingsWriter> && !writes)
            return inner ? inner->QueryInterface(iid, out) : E_NOINTERFACE;
        return Around::QueryInterface(iid, out);
    }
    STDMETHODIMP WriteXml(ISequentialStream* stream) override {
        const std::string_view text = "<around/>\n";
        return stream->Write(text.data(), ULONG(text.size()), nullptr);
    }
    STDMETHODIMP ReadExtraData(IUnknown*) override { return S_OK; }
};

class CallbackTest : public testing::Test {
protected:
    Ref<IUnknown> NewCalling(CallingNode::When when, std::function<void()> call) {
        auto* node = new Heap<CallingNode>;
        node->when = when;
        node->call = std::move(call);
        Ref<IUnknown> held(node->unknown());
        node->Release();
        return held;
    }
    void Add(const Node& above, IUnknown* object) {
        EXPECT_EQ(above.As<IEnumProperties>()->AddObject(Text(L"calling"), nullptr, object), S_OK);
    }
    NothingLeft no_leaks;
};

TEST_F(CallbackTest, ChildrenMayComeAndGoWhileANameIsSearched) {
    const struct {
        const char* what;
        std::function<void(const Node&)> act;
    } acts[] = {{"below", [](const Node& top) { top.Find(L"last"); }},
                {"in the job",
                 [](const Node& top) {
                     Ref<IProperty> found;
                     top.As<IEnumProperties>()->FindProperty(Text(L"last"), top.get(), found.Put());
                     top.As<IEnumProperties>()->FindProperty(Text(L"last"), nullptr, found.Put());
                 }},
                {"to remove one", [](const Node& top) {
                     top.As<IEnumProperties>()->RemoveByName(Text(L"calling"), nullptr);
                 }}};
    for (const auto& act : acts)
        for (const auto when : {CallingNode::kName, CallingNode::kActive, CallingNode::kQuery})
            for (const bool adds : {false, true}) {
                SCOPED_TRACE(std::string(act.what) + (adds ? ", adding" : ", removing"));
                const Node top = CreateNode(clsid::PropertySimple);
                for (int i = 0; i < 3; ++i) AddChild(top, L"before");
                const Ref<IUnknown> calling = NewCalling(CallingNode::kNever, [&] {
                    const auto list = top.As<IEnumProperties>();
                    for (int i = 0; i < 40 && adds; ++i) AddChild(top, L"more");
                    for (const wchar_t* name : {L"before", L"before", L"before", L"calling", L"last"})
                        if (!adds) list->RemoveByName(Text(name), nullptr);
                });
                Add(top, calling.get());
                AddChild(top, L"last");
                static_cast<CallingNode*>(static_cast<IProperty*>(calling.get()))->when = when;
                act.act(top);
                const LONG left = CountOf(top.As<IEnumProperties>());
                EXPECT_TRUE(adds ? left >= 4 : left <= 5);
            }
}

TEST_F(CallbackTest, EntriesMayGoWhileAValueIsSearched) {
    /// An entry that empties its list.
    class Entry : public Fake<IListItem> {
    public:
        explicit Entry(IListOfValues* of) : list(of) {}
        IListOfValues* list;
        STDMETHODIMP get_Name(BSTR* out) override {
            *out = SysAllocString(L"label");
            return S_OK;
        }
        STDMETHODIMP get_Title(BSTR* out) override { return get_Name(out); }
        STDMETHODIMP get_Value(VARIANT* out) override {
            if (list) std::exchange(list, nullptr)->Clear();
            VariantInit(out);
            return S_OK;
        }
        STDMETHODIMP SetInfo(BSTR, VARIANT) override { return S_OK; }
    };
    const Node node = CreateNode(clsid::PropertySimple);
    const auto list = node.As<IListOfValues>();
    {
        const ClassDouble foreign(clsid::ListItem, [&](IUnknown*, REFIID iid, void** out) {
            return MakeNew<Entry>(iid, out, list.get());
        });
        for (int i = 0; i < 3; ++i) ASSERT_EQ(list->AddItem(Text(L"x"), I4(i).get()), S_OK);
    }
    BSTR text = nullptr;
    EXPECT_EQ(list->get_Text(I4(1).get(), &text), E_INVALIDARG);
    EXPECT_EQ(CountOf(list), 0);
}

TEST_F(CallbackTest, AnotherWalkGoesThroughTheOneThatRuns) {
    const Node top = CreateNode(clsid::PropertySimple);
    const Node a = AddChild(top, L"a"), b = AddChild(a, L"b");
    const auto add = [&](CallingNode::When when, std::function<void()> call) {
        const auto list = top.As<IEnumProperties>();
        list->RemoveByName(Text(L"calling"), nullptr);
        Add(top, NewCalling(when, std::move(call)).get());
    };
    add(CallingNode::kHide, [&] { EXPECT_EQ(top->Hide(0), S_OK); });
    EXPECT_EQ(top->Hide(1), S_OK);
    EXPECT_TRUE(b.Shown()) << "the other flag is another walk";

    Node found;
    add(CallingNode::kName, [&] { found = top.Find(L"b"); });
    EXPECT_FALSE(top.Find(L"nobody"));
    EXPECT_EQ(found.get(), b.get()) << "so is another name";

    std::string text;
    add(CallingNode::kWrite, [&] { text = top.Xml(); });
    EXPECT_EQ(top.Xml(), text) << "and another stream";
    EXPECT_NE(text.find("<b>"), text.npos);

    FakeMedia first, second;
    add(CallingNode::kMedia, [&] { EXPECT_EQ(top->SetMediaObject(second.dispatch()), S_OK); });
    EXPECT_EQ(top->SetMediaObject(first.dispatch()), S_OK);
    Ref<IDispatch> media;
    EXPECT_EQ(b->get_MediaObject(media.Put()), S_OK);
    EXPECT_EQ(media.get(), second.dispatch());
    top->SetMediaObject(nullptr);
}

TEST_F(CallbackTest, AnExtensionMayBeReplacedWhileItIsAsked) {
    for (const auto when : {CallingNode::kValue, CallingNode::kMedia}) {
        const Node node = CreateNode(clsid::PropertySimple);
        ASSERT_EQ(node.Put(I4(1)), S_OK);
        const auto init = node.As<ISimpleInit>();
        CLSID unit = kNoClass;
        {
            const ClassDouble foreign(kNoClass, [&](IUnknown*, REFIID iid, void** out) {
                return NewCalling(when,
                                  [&] {
                                      CLSID other = clsid::PropertyLenExt;
                                      EXPECT_EQ(init->SetExtensionClass(&other), S_OK);
                                  })
                    ->QueryInterface(iid, out);
            });
            ASSERT_EQ(init->SetExtensionClass(&unit), S_OK);
        }
        EXPECT_EQ(node->SetMediaObject(nullptr), S_OK);
        node.Xml();
        EXPECT_EQ(node.Extension().Choices().size(), 3u);
    }
}

TEST_F(CallbackTest, WhatAnObjectAroundANodeAnswersItselfIsAsked) {
    const ClassDouble maker(kNoClass, [&](IUnknown*, REFIID iid, void** out) {
        return MakeNew<Answering>(iid, out, clsid::PropertySimple);
    });
    const Node top = CreateNode(clsid::PropertySimple), other = CreateNode(clsid::PropertySimple);
    AddChild(other, L"others");
    const Node node = AddChild(top, L"around", kNoClass);
    auto* around = static_cast<Answering*>(static_cast<ISettingsWriter*>(node.As<IUnknown>().get()));
    EXPECT_EQ(top.Find(L"AROUND").get(), node.get());
    EXPECT_EQ(node.Parent().get(), top.get());
    around->writes = true;
    EXPECT_NE(top.Xml().find("<around/>"), std::string::npos);
    around->children = other.As<IEnumProperties>();
    Ref<IProperty> found;
    EXPECT_EQ(top.As<IEnumProperties>()->FindProperty(Text(L"others"), top.get(), found.Put()), S_OK);
    around->children = {};
}

/// What an object around a node lets go is nobody's any more.
TEST_F(CallbackTest, AnObjectAroundANodeMayLetItGo) {
    auto* around = new Heap<Answering>(clsid::PropertySimple);
    const Node top = CreateNode(clsid::PropertySimple);
    Add(top, around->unknown());
    around->inner = {};
    EXPECT_FALSE(top.Find(L"calling"));
    EXPECT_EQ(top->Hide(1), S_OK);
    EXPECT_EQ(top.Xml(), CreateNode(clsid::PropertySimple).Xml());
    around->Release();
}

TEST_F(CallbackTest, AnItemsEndSeesTheListWithoutIt) {
    /// Counts what is in a list as it ends.
    class Item : public Fake<IUnknown> {
    public:
        Item(IEnumProperties* list, std::vector<LONG>* counts) : list_(list), counts_(counts) {}
        ~Item() override {
            LONG count = -1;
            list_->get_Count(&count);
            counts_->push_back(count);
        }

    private:
        IEnumProperties* list_;
        std::vector<LONG>* counts_;
    };
    std::vector<LONG> counts;
    {
        const auto list = New<IEnumProperties>(clsid::EnumProperties);
        for (int i = 0; i < 3; ++i) {
            auto* item = new Heap<Item>(list.get(), &counts);
            ASSERT_EQ(list->AddObject(Text(L""), nullptr, item), S_OK);
            item->Release();
        }
    }
    EXPECT_EQ(counts, (std::vector<LONG>{0, 0, 0}));
}

TEST_F(CallbackTest, ChainsOfIndicesAndCollectionsEnd) {
    const int length = kInFull ? 60000 : 3000;
    auto map = New<IMap>(clsid::Map);
    auto list = New<IEnumProperties>(clsid::EnumProperties);
    for (int i = 0; i < length; ++i) {
        const auto outer_map = New<IMap>(clsid::Map);
        const auto outer_list = New<IEnumProperties>(clsid::EnumProperties);
        ASSERT_EQ(outer_map->InsertProperty(map.get()), S_OK);
        ASSERT_EQ(outer_list->AddObject(Text(L""), nullptr, list.get()), S_OK);
        map = outer_map;
        list = outer_list;
    }
}

void ExpectAlike(const Node& node, const Node& own) {
    SCOPED_TRACE(Narrow(own.Name()));
    EXPECT_EQ(node.Name(), own.Name());
    EXPECT_EQ(node.Title(), own.Title());
    EXPECT_EQ(node.Type(), own.Type());
    EXPECT_EQ(node.Value(), own.Value());
    EXPECT_EQ(node.Choices(), own.Choices());
    EXPECT_EQ(bool(node.Extension()), bool(own.Extension()));
    if (own.Extension() && node.Extension()) ExpectAlike(node.Extension(), own.Extension());
    const auto children = node.Children(), own_children = own.Children();
    ASSERT_EQ(children.size(), own_children.size());
    for (size_t i = 0; i < children.size(); ++i) ExpectAlike(children[i], own_children[i]);
}

/// What a declaration sets reaches nodes of another's class through their interfaces.
TEST_F(CallbackTest, AnotherClassMayStandForSimpleNodes) {
    const CLSID trees[] = {clsid::PropertySplit, clsid::PropertyWatermarkSrcText,
                           clsid::PropertyTextOrientation, clsid::PropertyWatermarkRoot};
    std::vector<Node> own;
    for (const CLSID& cls : trees) own.push_back(CreateNode(cls));
    int made = 0;
    Ref<IClassFactory> ours;
    ASSERT_EQ(CoGetClassObject(clsid::PropertySimple, CLSCTX_INPROC_SERVER, nullptr, kIid<IClassFactory>,
                               ours.PutVoid()),
              S_OK);
    const ClassDouble other(clsid::PropertySimple, [&](IUnknown*, REFIID iid, void** out) {
        ++made;
        return MakeNew<Around<Fake<IUnknown>>>(iid, out, ours.get());
    });
    for (size_t i = 0; i < std::size(trees); ++i) ExpectAlike(CreateNode(trees[i]), own[i]);
    EXPECT_GT(made, 10);
}

}  // namespace
}  // namespace bv::test
