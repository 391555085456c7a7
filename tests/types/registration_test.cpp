// What registering and unregistering the built module leave in the registry.
#include <filesystem>
#include <fstream>
#include <map>

#include "support/environment.h"
#include "types/library.h"

namespace bv::test {
namespace {

namespace fs = std::filesystem;

/// Every key below one, with its values as text: "CLSID\{...}" and "CLSID\{...}:name".
using Registry = std::map<std::wstring, std::wstring>;

void Collect(HKEY parent, const std::wstring& path, Registry& result) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(parent, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return;
    result[path] = L"";
    wchar_t name[512];
    std::vector<BYTE> data(4096);
    for (DWORD i = 0;; ++i) {
        DWORD length = DWORD(std::size(name)), type = 0, size = DWORD(data.size());
        const LONG status = RegEnumValueW(key, i, name, &length, nullptr, &type, data.data(), &size);
        if (status == ERROR_NO_MORE_ITEMS) break;
        std::wstring& value = result[path + L":" + std::wstring(name, length)];
        if (status == ERROR_SUCCESS && type == REG_SZ && size >= sizeof(wchar_t))
            value.assign(reinterpret_cast<const wchar_t*>(data.data()), size / sizeof(wchar_t) - 1);
        else
            value = L"(kind " + std::to_wstring(type) + L")";
    }
    for (DWORD i = 0;; ++i) {
        DWORD length = DWORD(std::size(name));
        if (RegEnumKeyExW(key, i, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
        Collect(parent, (path.empty() ? L"" : path + L"\\") + std::wstring(name, length), result);
    }
    RegCloseKey(key);
}
Registry Everything() {
    Registry result;
    Collect(HKEY_CLASSES_ROOT, L"", result);
    return result;
}
/// What one registry has and the other has not, or has otherwise.
std::vector<std::wstring> Differences(const Registry& a, const Registry& b) {
    std::vector<std::wstring> result;
    for (const auto& [path, value] : a)
        if (const auto found = b.find(path); found == b.end() || found->second != value) result.push_back(L"- " + path);
    for (const auto& [path, value] : b)
        if (const auto found = a.find(path); found == a.end() || found->second != value) result.push_back(L"+ " + path);
    return result;
}

std::wstring Read(const std::wstring& path, const wchar_t* name = nullptr) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return L"(no key)";
    wchar_t text[2048] = {};
    DWORD size = sizeof text - sizeof *text;
    const LONG status = RegQueryValueExW(key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size);
    RegCloseKey(key);
    return status == ERROR_SUCCESS ? text : L"(no value)";
}
bool Exists(const std::wstring& path) { return Read(path) != L"(no key)"; }
void Write(const std::wstring& path) {
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr),
              ERROR_SUCCESS);
    RegCloseKey(key);
}
std::wstring IdText(REFGUID id) {
    wchar_t text[39];
    StringFromGUID2(id, text, 39);
    return text;
}

class RegistrationTest : public testing::Test {
protected:
    void TearDown() override {
        EXPECT_EQ(CallModule(kModuleFile, "DllRegisterServer"), S_OK);  // as the others want it
    }
    const std::wstring library = L"TypeLib\\" + IdText(kTypeLibrary);
};

TEST_F(RegistrationTest, TakesBackAllThatItWrote) {
    ASSERT_EQ(CallModule(kModuleFile, "DllUnregisterServer"), S_OK);
    const Registry without = Everything();
    EXPECT_EQ(CallModule(kModuleFile, "DllUnregisterServer"), S_OK) << "nothing is there to be taken";
    EXPECT_THAT(Differences(without, Everything()), testing::IsEmpty());
    EXPECT_TRUE(Exists(L"CLSID"));
    EXPECT_FALSE(Exists(library));
    EXPECT_FALSE(Exists(L"BVSchema.Map"));

    ASSERT_EQ(CallModule(kModuleFile, "DllRegisterServer"), S_OK);
    const Registry with = Everything();
    EXPECT_FALSE(Differences(without, with).empty());
    ASSERT_EQ(CallModule(kModuleFile, "DllRegisterServer"), S_OK) << "again";
    EXPECT_THAT(Differences(with, Everything()), testing::IsEmpty());

    ASSERT_EQ(CallModule(kModuleFile, "DllUnregisterServer"), S_OK);
    EXPECT_THAT(Differences(without, Everything()), testing::IsEmpty());
}

TEST_F(RegistrationTest, SaysWhereTheLibraryLies) {
    ASSERT_EQ(CallModule(kModuleFile, "DllRegisterServer"), S_OK);
    EXPECT_EQ(Read(library + L"\\1.0"), L"BVSchema 1.0 Type Library");
    // The module may have been loaded by its short path.
    const fs::path module = Read(library + L"\\1.0\\0\\win64");
    EXPECT_TRUE(fs::equivalent(module, BinFolder() / kModuleFile)) << module;
    EXPECT_EQ(Read(library + L"\\1.0\\HELPDIR"), fs::path(module).remove_filename().wstring());
    EXPECT_TRUE(Exists(library + L"\\1.0\\FLAGS"));

    const std::wstring interface_key = L"Interface\\" + IdText(kIid<IProperty>);
    EXPECT_EQ(Read(interface_key), L"IProperty");
    EXPECT_EQ(Read(interface_key + L"\\ProxyStubClsid32"), L"{00020424-0000-0000-C000-000000000046}");
    EXPECT_EQ(Read(interface_key + L"\\TypeLib"), IdText(kTypeLibrary));
    EXPECT_EQ(Read(interface_key + L"\\TypeLib", L"Version"), L"1.0");
    EXPECT_FALSE(Exists(L"Interface\\{DF0968CE-A123-47E1-9814-0C788EFE6A70}")) << "it can't be called late";
    size_t ours = 0;
    for (const auto& [path, value] : Everything())
        if (path.starts_with(L"Interface\\") && path.ends_with(L"\\TypeLib:") && value == IdText(kTypeLibrary)) ++ours;
    EXPECT_EQ(ours, 17u);
}

TEST_F(RegistrationTest, WipesWhatIsItsOwnAndKeepsTheRest) {
    const std::wstring own = L"CLSID\\" + IdText(clsid::Map) + L"\\Stray";
    const std::wstring shared = L"BVSchema.Map\\Stray";
    Write(own);
    Write(shared);
    ASSERT_EQ(CallModule(kModuleFile, "DllRegisterServer"), S_OK);
    EXPECT_FALSE(Exists(own));
    EXPECT_TRUE(Exists(shared));
    ASSERT_EQ(CallModule(kModuleFile, "DllUnregisterServer"), S_OK);
    EXPECT_TRUE(Exists(shared)) << "somebody else's key";
    EXPECT_FALSE(Exists(L"BVSchema.Map\\CLSID"));
    EXPECT_FALSE(Exists(L"BVSchema.ListItem"));
    ASSERT_EQ(RegDeleteTreeW(HKEY_CLASSES_ROOT, L"BVSchema.Map"), ERROR_SUCCESS);
}

TEST_F(RegistrationTest, WorksFromAPathWithAnApostrophe) {
    const fs::path folder = TempFolder() / "it's here";
    fs::create_directories(folder);
    const fs::path module = folder / kModuleFile;
    fs::copy_file(BinFolder() / kModuleFile, module, fs::copy_options::overwrite_existing);
    ASSERT_EQ(CallModule(module.wstring().c_str(), "DllRegisterServer"), S_OK);
    EXPECT_EQ(Read(library + L"\\1.0\\0\\win64"), module.wstring());
    const fs::path registered = Read(L"CLSID\\" + IdText(clsid::Map) + L"\\InprocServer32");
    EXPECT_TRUE(fs::equivalent(registered, module)) << registered;
    EXPECT_EQ(CallModule(module.wstring().c_str(), "DllUnregisterServer"), S_OK);
    EXPECT_FALSE(Exists(library));
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

    ASSERT_EQ(CallModule(kModuleFile, "DllRegisterServer"), S_OK);
    EXPECT_EQ(Get(2).On(mapper.get()).result, I4(0)) << "it is asked for anew";
}

TEST_F(RegistrationTest, FindsTheLibraryByVersionAndFile) {
    ASSERT_EQ(CallModule(kModuleFile, "DllRegisterServer"), S_OK);
    Ref<ITypeLib> found;
    EXPECT_EQ(LoadRegTypeLib(kTypeLibrary, 1, 0, 0x409, found.Put()), S_OK) << "no language has its own";
    EXPECT_EQ(LoadRegTypeLib(kTypeLibrary, 2, 0, 0, found.Put()), TYPE_E_LIBNOTREGISTERED);
    EXPECT_EQ(LoadRegTypeLib(kTypeLibrary, 1, 1, 0, found.Put()), TYPE_E_LIBNOTREGISTERED);
    EXPECT_EQ(LoadRegTypeLib(clsid::Map, 1, 0, 0, found.Put()), TYPE_E_LIBNOTREGISTERED);

    // The library as a file of its own, and what is none. Wine takes a file that begins as one at its word.
    const HMODULE module = LoadLibraryW((BinFolder() / kModuleFile).wstring().c_str());
    const HRSRC place = FindResourceA(module, MAKEINTRESOURCEA(1), "TYPELIB");
    ASSERT_TRUE(place);
    const std::string bytes(static_cast<const char*>(LockResource(LoadResource(module, place))),
                            SizeofResource(module, place));
    FreeLibrary(module);
    const auto load = [&](const std::string& content) {
        const fs::path file = TempFolder() / "library.tlb";
        std::ofstream(file, std::ios::binary) << content;
        return LoadTypeLib(file.wstring().c_str(), found.Put());
    };
    EXPECT_EQ(load(bytes), S_OK);
    EXPECT_EQ(found->GetTypeInfoCount(), 81u);
    EXPECT_TRUE(FAILED(load("")));
    EXPECT_TRUE(FAILED(load("no library at all")));
    EXPECT_EQ(LoadTypeLib((TempFolder() / "missing.tlb").wstring().c_str(), found.Put()), TYPE_E_CANTLOADLIBRARY);
}

}  // namespace
}  // namespace bv::test
