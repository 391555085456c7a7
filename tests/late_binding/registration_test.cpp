// What registering and unregistering the built module leave in the registry.
#include <algorithm>
#include <iterator>
#include <map>
#include <sstream>

#include "late_binding/library.h"
#include "support/environment.h"
#include "support/files.h"
#include "support/names.h"
#include "support/registry.h"

namespace bv::test {
namespace {

namespace fs = std::filesystem;

/// What stands in one registry and not in the other, line by line.
std::vector<std::string> Differences(const std::string& a, const std::string& b) {
    std::vector<std::string> lines[2], result;
    for (const auto& [text, into] : {std::pair(&a, &lines[0]), std::pair(&b, &lines[1])}) {
        std::istringstream stream(*text);
        for (std::string line; std::getline(stream, line);) into->push_back(line);
        std::sort(into->begin(), into->end());
    }
    std::set_symmetric_difference(lines[0].begin(), lines[0].end(), lines[1].begin(), lines[1].end(),
                                  std::back_inserter(result));
    return result;
}
std::string Everything() { return Snapshot(HKEY_CLASSES_ROOT, L""); }
std::wstring Read(const std::wstring& path, const wchar_t* name = nullptr) {
    return TextValue(HKEY_CLASSES_ROOT, path, name);
}
bool Exists(const std::wstring& path) { return KeyExists(HKEY_CLASSES_ROOT, path); }
std::wstring KeyOf(REFCLSID cls) { return L"CLSID\\" + TextOf(cls); }

/// The built module in a folder of the test, once its bytes were changed.
template <class Change>
fs::path Copied(const char* folder, Change change) {
    std::string bytes = ReadAll(BinFolder() / PathOf(kModuleFile));
    change(bytes);
    const fs::path copy = TempFolder() / folder / PathOf(kModuleFile);
    fs::create_directories(copy.parent_path());
    WriteAll(copy, bytes);
    return copy;
}
/// The bytes of the module's type library.
std::string LibraryBytes() {
    const HMODULE module = LoadLibraryW(WideName(BinFolder() / PathOf(kModuleFile)).c_str());
    const HRSRC place = FindResourceA(module, MAKEINTRESOURCEA(1), "TYPELIB");
    const std::string bytes(static_cast<const char*>(LockResource(LoadResource(module, place))),
                            SizeofResource(module, place));
    FreeLibrary(module);
    return bytes;
}

struct Registered {
    CLSID id;
    std::wstring stem, description;
};
std::vector<Registered> RegisteredClasses() {
    std::vector<Registered> classes;
    const auto add = [&](REFCLSID id, const std::wstring& name) {
        const bool info = name == L"PropertyTimeline" || name == L"PropertyTimelinePointType";
        const std::wstring shown = info                            ? L"PropertyInfo"
                                   : name.starts_with(L"Property") ? L"Property"
                                   : name == L"LiveTimeFilters"    ? L"EnumObject"
                                   : name == L"DVDIndexData"       ? L"IDVDIndexData"
                                                                   : name;
        classes.push_back({id, L"BVSchema." + shown, shown + L" Class"});
    };
#define BV_CLASS(Name, text) add(clsid::Name, L## #Name);
#include <bvschema/classes.def>
#undef BV_CLASS
    return classes;
}

class RegistrationTest : public testing::Test {
protected:
    void TearDown() override {
        EXPECT_EQ(Register(), S_OK);  // as the others want it
    }
    static HRESULT Register(const fs::path& module = PathOf(kModuleFile)) {
        return CallModule(WideName(module).c_str(), "DllRegisterServer");
    }
    static HRESULT Unregister(const fs::path& module = PathOf(kModuleFile)) {
        return CallModule(WideName(module).c_str(), "DllUnregisterServer");
    }
    const std::wstring library = L"TypeLib\\" + TextOf(kTypeLibrary);
    const std::wstring library_path = library + L"\\1.0\\0\\win64";
};

TEST_F(RegistrationTest, WritesEachClassAndItsNames) {
    std::map<std::wstring, std::wstring> last;
    for (const Registered& c : RegisteredClasses()) last[c.stem] = TextOf(c.id);
    EXPECT_EQ(RegisteredClasses().size(), 59u);
    for (const Registered& c : RegisteredClasses()) {
        const std::wstring key = KeyOf(c.id);
        SCOPED_TRACE(Narrow(key));
        EXPECT_EQ(Read(key), c.description);
        EXPECT_EQ(Read(key + L"\\ProgID"), c.stem + L".1");
        EXPECT_EQ(Read(key + L"\\VersionIndependentProgID"), c.stem);
        EXPECT_EQ(Read(key + L"\\InprocServer32", L"ThreadingModel"), L"both");
        EXPECT_TRUE(
            fs::equivalent(PathOf(Read(key + L"\\InprocServer32")), BinFolder() / PathOf(kModuleFile)));
        for (const std::wstring& name : {c.stem, c.stem + L".1"}) {
            EXPECT_EQ(Read(name), c.description);
            EXPECT_EQ(Read(name + L"\\CLSID"), last[c.stem]) << "the last class of that name";
        }
    }
}

TEST_F(RegistrationTest, TakesBackAllThatItWrote) {
    ASSERT_EQ(Unregister(), S_OK);
    const std::string without = Everything();
    EXPECT_EQ(Unregister(), S_OK) << "nothing is there to be taken";
    EXPECT_THAT(Differences(without, Everything()), testing::IsEmpty());
    EXPECT_TRUE(Exists(L"CLSID"));
    EXPECT_FALSE(Exists(library));
    EXPECT_FALSE(Exists(L"BVSchema.Map"));

    ASSERT_EQ(Register(), S_OK);
    const std::string with = Everything();
    EXPECT_FALSE(Differences(without, with).empty());
    ASSERT_EQ(Register(), S_OK) << "again";
    EXPECT_THAT(Differences(with, Everything()), testing::IsEmpty());

    ASSERT_EQ(Unregister(), S_OK);
    EXPECT_THAT(Differences(without, Everything()), testing::IsEmpty());
}

TEST_F(RegistrationTest, SaysWhereTheLibraryLies) {
    ASSERT_EQ(Register(), S_OK);
    EXPECT_EQ(Read(library + L"\\1.0"), L"BVSchema 1.0 Type Library");
    // The module may have been loaded by its short path.
    const fs::path module = PathOf(Read(library_path));
    EXPECT_TRUE(fs::equivalent(module, BinFolder() / PathOf(kModuleFile))) << module;
    EXPECT_EQ(Read(library + L"\\1.0\\HELPDIR"), WideName(fs::path(module).remove_filename()));
    EXPECT_TRUE(Exists(library + L"\\1.0\\FLAGS"));

    const std::wstring interface_key = L"Interface\\" + TextOf(kIid<IProperty>);
    EXPECT_EQ(Read(interface_key), L"IProperty");
    EXPECT_EQ(Read(interface_key + L"\\ProxyStubClsid32"), L"{00020424-0000-0000-C000-000000000046}");
    EXPECT_EQ(Read(interface_key + L"\\TypeLib"), TextOf(kTypeLibrary));
    EXPECT_EQ(Read(interface_key + L"\\TypeLib", L"Version"), L"1.0");
    EXPECT_FALSE(Exists(L"Interface\\{DF0968CE-A123-47E1-9814-0C788EFE6A70}")) << "it can't be called late";
    size_t ours = 0;
    const std::string all = Snapshot(HKEY_CLASSES_ROOT, L"Interface"),
                      use = "}\\TypeLib = " + Narrow(TextOf(kTypeLibrary)) + "\n";
    for (size_t at = all.find(use); at != all.npos; at = all.find(use, at + 1)) ++ours;
    EXPECT_EQ(ours, 17u);
}

TEST_F(RegistrationTest, WipesWhatIsItsOwnAndKeepsTheRest) {
    const std::wstring own = KeyOf(clsid::Map) + L"\\Stray";
    {
        const TestKey shared(HKEY_CLASSES_ROOT, L"BVSchema.Map\\Stray"), in_class(HKEY_CLASSES_ROOT, own);
        ASSERT_EQ(Register(), S_OK);
        EXPECT_FALSE(Exists(own));
        EXPECT_TRUE(Exists(L"BVSchema.Map\\Stray"));
        ASSERT_EQ(Unregister(), S_OK);
        EXPECT_TRUE(Exists(L"BVSchema.Map\\Stray")) << "somebody else's key";
        for (const Registered& c : RegisteredClasses()) {
            EXPECT_FALSE(Exists(KeyOf(c.id)));
            EXPECT_EQ(Exists(c.stem), c.stem == L"BVSchema.Map") << Narrow(c.stem);
            EXPECT_FALSE(Exists(c.stem + L".1")) << Narrow(c.stem);
        }
    }
    EXPECT_FALSE(Exists(L"BVSchema.Map\\CLSID"));
    ASSERT_EQ(RegDeleteTreeW(HKEY_CLASSES_ROOT, L"BVSchema.Map"), ERROR_SUCCESS);
    CoFreeUnusedLibrariesEx(0, 0);
    Ref<IProperty> none;
    EXPECT_EQ(
        CoCreateInstance(clsid::PropertyMain, nullptr, CLSCTX_INPROC_SERVER, kIid<IProperty>, none.PutVoid()),
        REGDB_E_CLASSNOTREG);
}

TEST_F(RegistrationTest, WorksFromAPathWithAnApostrophe) {
    const fs::path module = Copied("Tom's 100%NAME% folder", [](std::string&) {});
    ASSERT_EQ(Register(module), S_OK);
    EXPECT_EQ(Read(library_path), WideName(module));
    const fs::path registered = PathOf(Read(KeyOf(clsid::Map) + L"\\InprocServer32"));
    EXPECT_TRUE(fs::equivalent(registered, module)) << registered;
    EXPECT_EQ(Unregister(module), S_OK);
    EXPECT_FALSE(Exists(library));
}

TEST_F(RegistrationTest, StopsAtAScriptThatFails) {
    const CLSID third = clsid::PropertyMain, last = clsid::PropertyWatermarkImageSize;
    const fs::path module = Copied("fault", [&](std::string& bytes) {
        const size_t script = bytes.find("ForceRemove " + Narrow(TextOf(clsid::EnumProperties)));
        ASSERT_NE(script, bytes.npos);
        bytes[bytes.find("Model = ", script) + 6] = ':';
    });
    ASSERT_EQ(Unregister(), S_OK);
    const std::string without = Everything();
    EXPECT_EQ(Register(module), DISP_E_EXCEPTION);
    EXPECT_TRUE(Exists(KeyOf(third) + L"\\InprocServer32")) << "what came before stays";
    for (const std::wstring& key : {KeyOf(clsid::EnumProperties), std::wstring(L"BVSchema.EnumProperties"),
                                    std::wstring(L"BVSchema.EnumProperties.1"), KeyOf(last), library})
        EXPECT_FALSE(Exists(key)) << Narrow(key);
    EXPECT_EQ(Unregister(module), S_OK);
    EXPECT_THAT(Differences(without, Everything()), testing::IsEmpty());
}

TEST_F(RegistrationTest, TakesTheLibraryBesideTheModuleWhenItHasNone) {
    const std::string bytes = LibraryBytes();
    const fs::path module = Copied("library", [&](std::string& image) {
        const size_t place = image.find(bytes);
        ASSERT_NE(place, image.npos);
        image[place] = '?';
    });
    const fs::path beside = fs::path(module).replace_extension(".tlb");
    ASSERT_EQ(Unregister(), S_OK);
    const std::string without = Everything();
    EXPECT_EQ(Register(module), TYPE_E_CANTLOADLIBRARY);
    EXPECT_TRUE(Exists(KeyOf(clsid::PropertyWatermarkImageSize))) << "the classes are there";
    EXPECT_FALSE(Exists(library));

    WriteAll(beside, bytes);
    EXPECT_EQ(Register(module), S_OK);
    EXPECT_EQ(Read(library_path), WideName(beside));
    EXPECT_EQ(Unregister(module), S_OK);
    EXPECT_THAT(Differences(without, Everything()), testing::IsEmpty());
}

TEST_F(RegistrationTest, WithoutItsLibraryTheServerWorksOnByItsTables) {
    ASSERT_EQ(UnRegisterTypeLib(kTypeLibrary, 1, 0, 0, SYS_WIN64), S_OK);
    EXPECT_FALSE(Exists(library));
    const Ref<IBVMapper> mapper = New<IBVMapper>(clsid::BVMapper);  // no other test calls one late
    Ref<ITypeInfo> type;
    EXPECT_EQ(mapper->GetTypeInfo(0, 0, type.Put()), TYPE_E_LIBNOTREGISTERED);
    LPOLESTR name = const_cast<LPOLESTR>(L"Count");
    DISPID id = 0;
    EXPECT_EQ(mapper->GetIDsOfNames(IID_NULL, &name, 1, 0, &id), TYPE_E_LIBNOTREGISTERED);
    EXPECT_EQ(Get(2).On(mapper.get()).status, TYPE_E_LIBNOTREGISTERED);
    LONG count = -1;
    EXPECT_EQ(mapper->get_Count(&count), S_OK);
    EXPECT_EQ(count, 0);
    UINT infos = 0;
    EXPECT_EQ(mapper->GetTypeInfoCount(&infos), S_OK);

    ASSERT_EQ(Register(), S_OK);
    EXPECT_EQ(Get(2).On(mapper.get()).result, I4(0)) << "it is asked for anew";
}

}  // namespace
}  // namespace bv::test
