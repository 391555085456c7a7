// What classes of the module lead to as here the layer decides it: contexts, class objects for one creation,
// and what stays when the registry changes.
#include "support/doubles.h"

namespace bv::test {
namespace {

TEST(Route, ServesTheContextsThatItIsRegisteredFor) {
    NothingLeft no_leaks;
    int children = 0, lists = 0;
    const Node parent = CreateNode(clsid::PropertySimple);
    ASSERT_EQ(InsertChild(parent, clsid::PropertyLenExt), S_OK);
    // Children may come from any server, value lists from one of this process.
    const ClassDouble child(
        clsid::PropertyLenExt, [&](IUnknown*, REFIID, void**) { return ++children, E_ABORT; },
        CLSCTX_LOCAL_SERVER);
    const ClassDouble list(
        clsid::ListOfValues, [&](IUnknown*, REFIID, void**) { return ++lists, E_ABORT; },
        CLSCTX_LOCAL_SERVER);
    EXPECT_EQ(InsertChild(parent, clsid::PropertyLenExt), E_ABORT);
    EXPECT_EQ(InsertChild(parent, clsid::PropertySize), S_OK);
    EXPECT_EQ(children, 1);
    EXPECT_EQ(lists, 0);
}

TEST(Route, ServesOneCreationIfItIsForOne) {
    NothingLeft no_leaks;
    const Node parent = CreateNode(clsid::PropertySimple);
    ASSERT_EQ(InsertChild(parent, clsid::PropertyLenExt), S_OK);
    ClassDouble once(CLSID{1, 2, 3, {}}, [](IUnknown*, REFIID, void**) { return E_ABORT; });
    DWORD cookie = 0;
    ASSERT_EQ(
        CoRegisterClassObject(clsid::PropertyLenExt, &once, CLSCTX_INPROC_SERVER, REGCLS_SINGLEUSE, &cookie),
        S_OK);
    EXPECT_EQ(InsertChild(parent, clsid::PropertyLenExt), E_ABORT);
    EXPECT_EQ(InsertChild(parent, clsid::PropertyLenExt), S_OK);
    EXPECT_EQ(CoRevokeClassObject(cookie), CO_E_OBJNOTREG);
}

TEST(Route, AClassThatIsNoLongerRegisteredIsCreatedUntilTheModuleGoes) {
    // The registry is asked again only when the component model has let the module go.
    ASSERT_TRUE(CreateNode(clsid::PropertySimple));
    ASSERT_EQ(CallModule(kModuleFile, "DllUnregisterServer"), S_OK);
    {
        NothingLeft no_leaks;
        const Node parent = CreateNode(clsid::PropertySimple);
        EXPECT_EQ(InsertChild(parent, clsid::PropertySimple), S_OK);
    }
    CoFreeUnusedLibrariesEx(0, 0);
    CoFreeUnusedLibrariesEx(0, 0);
    Ref<IProperty> none;
    EXPECT_EQ(CoCreateInstance(clsid::PropertySimple, nullptr, CLSCTX_INPROC_SERVER, kIid<IProperty>,
                               none.PutVoid()),
              REGDB_E_CLASSNOTREG);
    ASSERT_EQ(CallModule(kModuleFile, "DllRegisterServer"), S_OK);
    EXPECT_TRUE(CreateNode(clsid::PropertySimple));
}

}  // namespace
}  // namespace bv::test
