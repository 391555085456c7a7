// Every class of the module: created, aggregated, asked, released.
#include "support/doubles.h"

namespace bv::test {
namespace {

struct ClassCase {
    const char* name;
    CLSID cls;
};
const ClassCase kClasses[] = {
#define BV_CLASS(Name, text) {#Name, clsid::Name},
#include <bvschema/classes.def>
#undef BV_CLASS
};

HRESULT Make(REFCLSID cls, IUnknown* outer, REFIID iid, void** out) {
    return CoCreateInstance(cls, outer, CLSCTX_INPROC_SERVER, iid, out);
}

TEST(ClassesTest, EachIsCreatedAggregatedAndReleased) {
    EXPECT_EQ(std::size(kClasses), 59u);
    for (const ClassCase& c : kClasses) {
        SCOPED_TRACE(c.name);
        NothingLeft no_leaks;
        Ref<IUnknown> object;
        ASSERT_EQ(Make(c.cls, nullptr, kIid<IUnknown>, object.PutVoid()), S_OK);
        EXPECT_FALSE(ModuleCanGo());
        EXPECT_EQ(object.As<IUnknown>().get(), object.get());
        if (Node node{object.As<IProperty>()}) {
            CLSID own = {};
            EXPECT_EQ(node->get_ClassID(&own), S_OK);
            EXPECT_EQ(own, c.cls);
            EXPECT_TRUE(node.Active());
            EXPECT_TRUE(node.Shown());
            EXPECT_TRUE(node.Enabled());
            Ref<IDispatch> none;
            EXPECT_EQ(object->QueryInterface(kIid<IDispatch>, none.PutVoid()), E_NOINTERFACE);
        }

        void* refused = &object;
        EXPECT_EQ(Make(c.cls, nullptr, kIid<IErrorInfo>, &refused), E_NOINTERFACE);
        EXPECT_EQ(refused, nullptr);
        Fake<IUnknown> outer;
        EXPECT_EQ(Make(c.cls, outer.unknown(), kIid<IProperty>, &refused), CLASS_E_NOAGGREGATION);
        Ref<IUnknown> inner;
        EXPECT_EQ(Make(c.cls, outer.unknown(), kIid<IUnknown>, inner.PutVoid()), S_OK);
        EXPECT_NE(inner.get(), outer.unknown());
    }
}

TEST(ClassesTest, ANodeWithoutItsCollectionsIsNotMade) {
    NothingLeft no_leaks;
    for (const CLSID& needed : {clsid::ListOfValues, clsid::EnumProperties}) {
        EXPECT_TRUE(CreateNode(clsid::PropertyOutput).Find(L"Mode")) << "nobody stands in front of a class";
        const ClassDouble refusing(needed, [](IUnknown*, REFIID, void**) { return E_ABORT; });
        void* none = nullptr;
        EXPECT_EQ(Make(clsid::PropertySimple, nullptr, kIid<IProperty>, &none), E_ABORT);
        EXPECT_EQ(none, nullptr);
    }
    // The index makes its own, and doesn't ask.
    const ClassDouble refusing(clsid::EnumProperties, [](IUnknown*, REFIID, void**) { return E_ABORT; });
    EXPECT_TRUE(New<IMap>(clsid::Map));
}

TEST(ClassesTest, AParentStandsWithoutAChildThatCantBeMade) {
    NothingLeft no_leaks;
    const ClassDouble no_folder(clsid::PropertyFolder, [](IUnknown*, REFIID, void**) { return E_ABORT; });
    const ClassDouble no_unit(clsid::PropertyLenExt, [](IUnknown*, REFIID, void**) { return E_ABORT; });
    FakeMedia media;
    const Node root = CreateNode(clsid::PropertyMain);
    root.Give(media.dispatch());
    EXPECT_FALSE(root.Find(L"DestinationPath"));
    EXPECT_EQ(root.Find(L"Mode").Put(I4(2)), S_OK);
    EXPECT_TRUE(root.Find(L"FileNamePattern").Shown()) << "the hook skips what isn't there";
    EXPECT_FALSE(root.Find(L"SplitLength").Extension());
    EXPECT_NE(root.Xml().find("<SplitLength value='10' type='3'>"), std::string::npos);
}

TEST(ClassesTest, AChildAndACollectionMayBeSomebodyElses) {
    NothingLeft no_leaks;
    ForeignNode folder(L"");
    {
        const ClassDouble other(clsid::PropertyFolder, folder.Maker());
        const Node output = CreateNode(clsid::PropertyOutput);
        EXPECT_EQ(folder.name, L"DestinationPath");
        EXPECT_EQ(folder.hidden, 1);
        EXPECT_EQ(folder.parent, static_cast<IDispatch*>(output.get()));
    }
    // A collection that stands before one of ours.
    Around<Fake<IUnknown>> collection(clsid::EnumProperties);
    Node split;
    {
        const ClassDouble other(
            clsid::EnumProperties, [&, first = true](IUnknown*, REFIID iid, void** out) mutable {
                if (std::exchange(first, false)) return collection.QueryInterface(iid, out);
                return New<IUnknown>(clsid::Map).As<IEnumProperties>()->QueryInterface(iid, out);
            });
        split = CreateNode(clsid::PropertySplit);
    }
    EXPECT_EQ(Dump(split), Dump(CreateNode(clsid::PropertySplit)));
    EXPECT_TRUE(split.Find(L"Exactly"));
    ASSERT_EQ(split.Put(I4(1)), S_OK);
    EXPECT_TRUE(split.Find(L"Exactly").Enabled());
    EXPECT_EQ(split.Xml(), CreateNode(clsid::PropertySplit).Xml().replace(16, 1, "1"));
    split.Release();
}

}  // namespace
}  // namespace bv::test
