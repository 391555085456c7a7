// The module: its class objects, what keeps it loaded, what it registers.
#include <fstream>

#include "platform/probe.h"
#include "support/doubles.h"
#include "support/registry.h"

namespace bv::test {
namespace {

namespace fs = std::filesystem;

/// A module loaded by its path, beside what the component model does with it.
class LoadedModule {
public:
    explicit LoadedModule(const fs::path& path) : path_(path), module_(LoadLibraryW(path.wstring().c_str())) {
        EXPECT_NE(module_, nullptr) << GetLastError();
    }
    ~LoadedModule() { FreeLibrary(module_); }
    LoadedModule(const LoadedModule&) = delete;

    template <class Call>
    Call Operation(const char* name) const {
        return reinterpret_cast<Call>(reinterpret_cast<void*>(GetProcAddress(module_, name)));
    }
    HRESULT ClassObject(REFCLSID cls, REFIID iid, void** out) const {
        return Operation<HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**)>("DllGetClassObject")(cls, iid, out);
    }
    HRESULT Call(const char* name) const { return Operation<HRESULT(STDAPICALLTYPE*)()>(name)(); }
    HRESULT CanUnload() const { return Call("DllCanUnloadNow"); }

private:
    fs::path path_;
    HMODULE module_;
};

fs::path ModulePath() { return BinFolder() / kModuleFile; }

TEST(ModuleTest, ALockIsAnObjectAServerLockOrAClassObjectOutside) {
    const LoadedModule module(ModulePath());
    EXPECT_EQ(module.CanUnload(), S_OK);
    Ref<IClassFactory> first, second;
    ASSERT_EQ(module.ClassObject(clsid::PropertyMain, kIid<IClassFactory>, first.PutVoid()), S_OK);
    EXPECT_EQ(module.CanUnload(), S_FALSE) << "a class object";
    ASSERT_EQ(module.ClassObject(clsid::PropertyMain, kIid<IClassFactory>, second.PutVoid()), S_OK);
    EXPECT_EQ(first.get(), second.get());
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

// --- Registration ---

struct RegisteredClass {
    std::wstring name, id;
    std::wstring stem, description;
};
std::vector<RegisteredClass> RegisteredClasses() {
    std::vector<RegisteredClass> classes;
#define BV_CLASS(Name, text) classes.push_back({L## #Name, L"{" L##text L"}", L"", L""});
#include <bvschema/classes.def>
#undef BV_CLASS
    for (RegisteredClass& c : classes) {
        std::wstring shown = c.name;
        if (c.name == L"PropertyTimeline" || c.name == L"PropertyTimelinePointType")
            shown = L"PropertyInfo";
        else if (c.name.starts_with(L"Property"))
            shown = L"Property";
        else if (c.name == L"LiveTimeFilters")
            shown = L"EnumObject";
        else if (c.name == L"DVDIndexData")
            shown = L"IDVDIndexData";
        c.stem = L"BVSchema." + shown;
        c.description = shown + L" Class";
    }
    return classes;
}

class RegistrationTest : public testing::Test {
protected:
    ~RegistrationTest() { EXPECT_EQ(CallModule(kModuleFile, "DllRegisterServer"), S_OK); }  // for the tests to come
    static std::string All() {
        std::string all;
        for (const RegisteredClass& c : RegisteredClasses())
            for (const std::wstring& path : {c.stem, c.stem + L".1", L"CLSID\\" + c.id})
                all += Narrow(path) + ": " + TextLine(path) + Snapshot(HKEY_CLASSES_ROOT, path) + "\n";
        return all;
    }
    static std::string TextLine(const std::wstring& path) { return Narrow(TextValue(HKEY_CLASSES_ROOT, path)) + "\n"; }
};

TEST_F(RegistrationTest, WritesEachClassAndItsNames) {
    std::map<std::wstring, std::wstring> last;
    for (const RegisteredClass& c : RegisteredClasses()) last[c.stem] = c.id;
    for (const RegisteredClass& c : RegisteredClasses()) {
        SCOPED_TRACE(Narrow(c.name));
        const std::wstring key = L"CLSID\\" + c.id;
        const auto text = [&](const std::wstring& path, const wchar_t* name = nullptr) {
            return TextValue(HKEY_CLASSES_ROOT, path, name);
        };
        EXPECT_EQ(text(key), c.description);
        EXPECT_EQ(text(key + L"\\ProgID"), c.stem + L".1");
        EXPECT_EQ(text(key + L"\\VersionIndependentProgID"), c.stem);
        EXPECT_EQ(text(key + L"\\InprocServer32", L"ThreadingModel"), L"both");
        EXPECT_TRUE(fs::equivalent(text(key + L"\\InprocServer32"), ModulePath()));
        for (const std::wstring& name : {c.stem, c.stem + L".1"}) {
            EXPECT_EQ(text(name), c.description);
            EXPECT_EQ(text(name + L"\\CLSID"), last[c.stem]) << "the last class of that name";
        }
    }
}

TEST_F(RegistrationTest, TwiceIsOnceAndStrayKeysOfAClassGo) {
    const std::string once = All();
    const std::wstring key = L"CLSID\\" + RegisteredClasses()[0].id;
    TestKey(HKEY_CLASSES_ROOT, L"BVSchema.Nobody");
    {
        HKEY stray = nullptr;
        RegCreateKeyExW(HKEY_CLASSES_ROOT, (key + L"\\Stray").c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &stray, nullptr);
        RegCloseKey(stray);
    }
    EXPECT_NE(All(), once);
    EXPECT_EQ(CallModule(kModuleFile, "DllRegisterServer"), S_OK);
    EXPECT_EQ(All(), once);
}

TEST_F(RegistrationTest, UnregisteringLeavesWhatIsntOurs) {
    {
        const TestKey stray(HKEY_CLASSES_ROOT, L"BVSchema.Map\\Stray");
        EXPECT_EQ(CallModule(kModuleFile, "DllUnregisterServer"), S_OK);
        for (const RegisteredClass& c : RegisteredClasses()) {
            EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, L"CLSID\\" + c.id)) << Narrow(c.name);
            EXPECT_EQ(KeyExists(HKEY_CLASSES_ROOT, c.stem), c.stem == L"BVSchema.Map") << Narrow(c.stem);
            EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, c.stem + L".1")) << Narrow(c.stem);
        }
        EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, L"BVSchema.Map\\Stray"));
    }
    EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, L"CLSID"));
    EXPECT_EQ(CallModule(kModuleFile, "DllUnregisterServer"), S_OK) << "with nothing there";
    RegDeleteKeyW(HKEY_CLASSES_ROOT, L"BVSchema.Map");
    CoFreeUnusedLibrariesEx(0, 0);
    void* none = nullptr;
    EXPECT_EQ(CoCreateInstance(clsid::PropertyMain, nullptr, CLSCTX_INPROC_SERVER, kIid<IProperty>, &none),
              REGDB_E_CLASSNOTREG);
}

TEST_F(RegistrationTest, APathMayHoldAnApostrophe) {
    const fs::path folder = TempFolder() / "Tom's 100%NAME% folder";
    fs::create_directories(folder);
    const fs::path copy = folder / kModuleFile;
    fs::copy_file(ModulePath(), copy);
    {
        const LoadedModule module(copy);
        EXPECT_EQ(module.Call("DllRegisterServer"), S_OK);
        EXPECT_TRUE(fs::equivalent(
            TextValue(HKEY_CLASSES_ROOT, L"CLSID\\" + RegisteredClasses()[0].id + L"\\InprocServer32"), copy));
        EXPECT_EQ(module.Call("DllUnregisterServer"), S_OK);
    }
    fs::remove_all(folder);
}

}  // namespace
}  // namespace bv::test
