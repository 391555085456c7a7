// The module: its class objects, what keeps it loaded.
#include "support/doubles.h"
#include "support/environment.h"
#include "support/names.h"

namespace bv::test {
namespace {

namespace fs = std::filesystem;

/// A module loaded by its path, beside what the component model does with it.
class LoadedModule {
public:
    explicit LoadedModule(const fs::path& path) : path_(path), module_(LoadLibraryW(WideName(path).c_str())) {
        EXPECT_NE(module_, nullptr) << GetLastError();
    }
    ~LoadedModule() { FreeLibrary(module_); }
    LoadedModule(const LoadedModule&) = delete;

    template <class Call>
    Call Operation(const char* name) const {
        return reinterpret_cast<Call>(reinterpret_cast<void*>(GetProcAddress(module_, name)));
    }
    HRESULT ClassObject(REFCLSID cls, REFIID iid, void** out) const {
        return Operation<HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**)>("DllGetClassObject")(cls, iid,
                                                                                                  out);
    }
    HRESULT Call(const char* name) const { return Operation<HRESULT(STDAPICALLTYPE*)()>(name)(); }
    HRESULT CanUnload() const { return Call("DllCanUnloadNow"); }

private:
    fs::path path_;
    HMODULE module_;
};

fs::path ModulePath() { return BinFolder() / PathOf(kModuleFile); }

TEST(ModuleTest, ALockIsAnObjectAServerLockOrAClassObjectOutside) {
    const LoadedModule module(ModulePath());
    EXPECT_EQ(module.CanUnload(), S_OK);
    Ref<IClassFactory> first, second;
    ASSERT_EQ(module.ClassObject(clsid::PropertyMain, kIid<IClassFactory>, first.PutVoid()), S_OK);
    EXPECT_EQ(module.CanUnload(), S_FALSE) << "a class object";
    ASSERT_EQ(module.ClassObject(clsid::PropertyMain, kIid<IClassFactory>, second.PutVoid()), S_OK);
    EXPECT_EQ(first.get(), second.get());
    const ULONG references = first->AddRef();
    EXPECT_EQ(first->Release(), references - 1);
    second = {};
    EXPECT_EQ(module.CanUnload(), S_FALSE);
    ASSERT_EQ(first->LockServer(TRUE), S_OK);
    ASSERT_EQ(first->LockServer(TRUE), S_OK);
    ASSERT_EQ(first->LockServer(FALSE), S_OK);
    Ref<IProperty> root;
    ASSERT_EQ(first->CreateInstance(nullptr, kIid<IProperty>, root.PutVoid()), S_OK);
    first = {};
    EXPECT_EQ(module.CanUnload(), S_FALSE);
    root = {};
    EXPECT_EQ(module.CanUnload(), S_FALSE) << "a server lock";
    ASSERT_EQ(module.ClassObject(clsid::Map, kIid<IClassFactory>, first.PutVoid()), S_OK);
    ASSERT_EQ(first->LockServer(FALSE), S_OK);
    first = {};
    EXPECT_EQ(module.CanUnload(), S_OK);
}

TEST(ModuleTest, RefusesWhatItHasnt) {
    const LoadedModule module(ModulePath());
    void* out = &out;
    for (const CLSID& cls : {clsid::PropertyMpegVideoFormat, clsid::MediaInfo, CLSID{}, kNoClass}) {
        out = &out;
        EXPECT_EQ(module.ClassObject(cls, kIid<IClassFactory>, &out), CLASS_E_CLASSNOTAVAILABLE);
        EXPECT_EQ(out, nullptr);
    }
    EXPECT_EQ(module.ClassObject(clsid::Map, kIid<IClassFactory>, nullptr), E_POINTER);
    EXPECT_EQ(module.ClassObject(clsid::Map, kIid<IMap>, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    {
        Ref<IClassFactory> maps;
        Fake<IUnknown> outer;
        ASSERT_EQ(module.ClassObject(clsid::Map, kIid<IUnknown>, maps.PutVoid()), S_OK);
        EXPECT_EQ(maps->CreateInstance(nullptr, kIid<IMap>, nullptr), E_POINTER);
        out = &out;
        EXPECT_EQ(maps->CreateInstance(outer.unknown(), kIid<IMap>, &out), CLASS_E_NOAGGREGATION);
        EXPECT_EQ(out, nullptr);
        out = &out;
        EXPECT_EQ(maps->CreateInstance(nullptr, kIid<IProperty>, &out), E_NOINTERFACE);
        EXPECT_EQ(out, nullptr);
    }
    EXPECT_EQ(module.CanUnload(), S_OK) << "a refusal leaves nothing";
}

TEST(ModuleTest, IsGoneWhenAJobIsDone) {
    for (int round = 0; round < 3; ++round) {
        FakeMedia media;
        {
            const Node root = CreateNode(clsid::PropertyMain);
            root.Give(media.dispatch());
            EXPECT_EQ(root.Find(L"Mode").Put(I4(2)), S_OK);
            root.Xml();
            CoFreeUnusedLibrariesEx(0, 0);
            EXPECT_TRUE(root.Find(L"Mode")) << "a living object keeps it";
        }
        EXPECT_NE(GetModuleHandleW(kModuleFile), nullptr);
    }
    ASSERT_TRUE(ModuleCanGo());
    CoFreeUnusedLibrariesEx(0, 0);
    EXPECT_EQ(GetModuleHandleW(kModuleFile), nullptr);
    EXPECT_TRUE(CreateNode(clsid::PropertyMain)) << "and comes back";
    CoFreeUnusedLibrariesEx(0, 0);
}

}  // namespace
}  // namespace bv::test
