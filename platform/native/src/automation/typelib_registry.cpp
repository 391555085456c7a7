// Where type libraries lie: in modules and in files of their own, and what the registry says of them.
#include <shlwapi.h>
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <memory>
#include <vector>

#include "automation/typelib_data.h"
#include "objbase.h"
#include "oleauto.h"
#include "text/text.h"

using namespace bv::platform;

namespace {

constexpr std::size_t kMaxFile = 16u << 20;
constexpr wchar_t kMarshaller[] = L"{00020424-0000-0000-C000-000000000046}";  // of all Automation interfaces

// --- Files

/// A regular file, opened without waiting for anybody; anything else that a path names is none.
class File {
public:
    explicit File(const std::string& path)
        : handle_(CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                              FILE_ATTRIBUTE_NORMAL, nullptr)) {}
    File(const File&) = delete;
    ~File() {
        if (handle_ != INVALID_HANDLE_VALUE) CloseHandle(handle_);
    }
    /// The first bytes, at most so many.
    std::string Read(std::size_t most) const {
        std::string bytes(most, '\0');
        DWORD done = 0;
        if (handle_ == INVALID_HANDLE_VALUE ||
            !::ReadFile(handle_, bytes.data(), static_cast<DWORD>(most), &done, nullptr))
            done = 0;
        bytes.resize(done);
        return bytes;
    }
    std::size_t Size() const {
        LARGE_INTEGER size = {};
        return handle_ != INVALID_HANDLE_VALUE && GetFileSizeEx(handle_, &size)
                   ? static_cast<std::size_t>(size.QuadPart)
                   : 0;
    }

private:
    const HANDLE handle_;
};

std::string ReadFile(const std::string& path) {
    const File file(path);
    const std::size_t size = file.Size();
    return size <= kMaxFile ? file.Read(size) : std::string();
}

bool BeginsAsLibrary(const std::string& path) {
    const std::string magic = File(path).Read(sizeof bv::typelib::kMagic);
    return magic == std::string_view(bv::typelib::kMagic, sizeof bv::typelib::kMagic);
}

/// The bytes of a module's library; empty when it has none. They are copied: the module may go.
std::string ReadResource(const std::string& path, int number) {
    const HMODULE module = LoadLibraryA(path.c_str());
    if (!module) return {};
    std::string bytes;
    if (const HRSRC place = FindResourceA(module, MAKEINTRESOURCEA(number), "TYPELIB")) {
        const void* const data = LockResource(LoadResource(module, place));
        bytes.assign(static_cast<const char*>(data), SizeofResource(module, place));
    }
    FreeLibrary(module);
    return bytes;
}

HRESULT Load(const std::wstring& file, ITypeLib** result) {
    std::string path = ToUtf8(file);
    int number = 1;
    if (const std::size_t end = path.rfind('\\');
        end != std::string::npos && !PathFileExistsA(path.c_str())) {
        char* rest = nullptr;
        const long given = std::strtol(path.c_str() + end + 1, &rest, 10);
        if (*rest || given < 1 || given > 0xFFFF) return TYPE_E_CANTLOADLIBRARY;
        number = static_cast<int>(given);
        path.resize(end);
    }
    if (!PathFileExistsA(path.c_str())) return TYPE_E_CANTLOADLIBRARY;
    const std::string bytes = BeginsAsLibrary(path) ? ReadFile(path) : ReadResource(path, number);
    std::shared_ptr<const TypeLibraryData> data = ReadTypeLibrary(bytes);
    if (!data) return TYPE_E_CANTLOADLIBRARY;
    *result = NewTypeLib(std::move(data));
    return S_OK;
}

// --- The registry

class Key {
public:
    Key() = default;
    Key(const Key&) = delete;
    ~Key() {
        if (key_) RegCloseKey(key_);
    }
    bool Open(HKEY parent, const std::wstring& path) {
        return RegOpenKeyExW(parent, path.c_str(), 0, KEY_ALL_ACCESS, &key_) == ERROR_SUCCESS;
    }
    bool Create(HKEY parent, const std::wstring& path) {
        return RegCreateKeyExW(parent, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS,
                               nullptr, &key_, nullptr) == ERROR_SUCCESS;
    }
    HKEY get() const { return key_; }
    bool Put(const wchar_t* name, const std::wstring& text) const {
        return RegSetValueExW(key_, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                              static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))) == ERROR_SUCCESS;
    }
    std::wstring Get(const wchar_t* name) const {
        DWORD type = 0, size = 0;
        if (RegQueryValueExW(key_, name, nullptr, &type, nullptr, &size) != ERROR_SUCCESS || type != REG_SZ)
            return {};
        std::wstring text(size / sizeof(wchar_t), L'\0');
        if (RegQueryValueExW(key_, name, nullptr, nullptr, reinterpret_cast<BYTE*>(text.data()), &size) !=
            ERROR_SUCCESS)
            return {};
        return text.substr(0, text.find(L'\0'));
    }
    std::vector<std::wstring> Subkeys() const {
        std::vector<std::wstring> names;
        wchar_t name[256];
        for (DWORD i = 0, length = 256;
             RegEnumKeyExW(key_, i, name, &length, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
             ++i, length = 256)
            names.emplace_back(name, length);
        return names;
    }

private:
    HKEY key_ = nullptr;
};

bool PutBelow(const Key& parent, const wchar_t* path, const std::wstring& text) {
    Key key;
    return key.Create(parent.get(), path) && key.Put(nullptr, text);
}

std::wstring IdText(REFGUID id) {
    wchar_t text[39];
    StringFromGUID2(id, text, 39);
    return text;
}
std::wstring Hex(unsigned number) {
    wchar_t text[16];
    std::swprintf(text, std::size(text), L"%x", number);
    return text;
}
std::wstring VersionText(WORD major, WORD minor) { return Hex(major) + L"." + Hex(minor); }
const wchar_t* SystemText(SYSKIND system) {
    return system == SYS_WIN64   ? L"win64"
           : system == SYS_WIN32 ? L"win32"
           : system == SYS_WIN16 ? L"win16"
                                 : nullptr;
}

/// The registered minor version that serves the wish; -1: none.
int FindMinor(const Key& library, WORD major, WORD minor) {
    int best = -1;
    for (const std::wstring& name : library.Subkeys()) {
        wchar_t* end = nullptr;
        const unsigned long found_major = std::wcstoul(name.c_str(), &end, 16);
        if (*end != L'.' || found_major != major) continue;
        const unsigned long found_minor = std::wcstoul(end + 1, &end, 16);
        if (*end || found_minor > 0xFFFF || found_minor < minor) continue;
        if (found_minor == minor) return minor;
        best = std::max(best, static_cast<int>(found_minor));
    }
    return best;
}

std::wstring RegisteredPath(REFGUID id, WORD major, WORD minor, LCID locale) {
    Key library;
    if (!library.Open(HKEY_CLASSES_ROOT, L"TypeLib\\" + IdText(id))) return {};
    const int found = FindMinor(library, major, minor);
    if (found < 0) return {};
    constexpr LCID kLanguage = 0x3FF;
    for (const LCID candidate : {locale, locale & kLanguage, LCID(0)}) {
        Key place;
        if (place.Open(library.get(),
                       VersionText(major, static_cast<WORD>(found)) + L"\\" + Hex(candidate) + L"\\win64"))
            return place.Get(nullptr);
    }
    return {};
}

/// Frees a text at its end.
class Text {
public:
    explicit Text(BSTR text) : text_(text) {}
    Text(const Text&) = delete;
    ~Text() { SysFreeString(text_); }

private:
    const BSTR text_;
};

HRESULT RegisterInterface(ITypeInfo& type, const std::wstring& library, const std::wstring& version) try {
    TYPEATTR* attributes = nullptr;
    if (const HRESULT status = type.GetTypeAttr(&attributes); FAILED(status)) return status;
    const GUID id = attributes->guid;
    const bool called_late =
        attributes->typekind == TKIND_DISPATCH || (attributes->wTypeFlags & TYPEFLAG_FOLEAUTOMATION);
    type.ReleaseTypeAttr(attributes);
    if (!called_late) return S_OK;
    BSTR text = nullptr;
    if (const HRESULT status = type.GetDocumentation(MEMBERID_NIL, &text, nullptr, nullptr, nullptr);
        FAILED(status))
        return status;
    const Text owned(text);
    Key interface;
    Key use;
    const bool written =
        interface.Create(HKEY_CLASSES_ROOT, L"Interface\\" + IdText(id)) &&
        interface.Put(nullptr, text ? text : L"") && PutBelow(interface, L"ProxyStubClsid", kMarshaller) &&
        PutBelow(interface, L"ProxyStubClsid32", kMarshaller) && use.Create(interface.get(), L"TypeLib") &&
        use.Put(nullptr, library) && use.Put(L"Version", version);
    return written ? S_OK : TYPE_E_REGISTRYACCESS;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT Register(ITypeLib& library, const TLIBATTR& attributes, const std::wstring& path,
                 std::wstring help_folder) {
    const SYSKIND system = attributes.syskind;
    const std::wstring id = IdText(attributes.guid);
    const std::wstring version = VersionText(attributes.wMajorVerNum, attributes.wMinorVerNum);
    if (help_folder.empty()) help_folder = path.substr(0, path.rfind(L'/'));
    BSTR name = nullptr;
    BSTR help = nullptr;
    if (const HRESULT status = library.GetDocumentation(-1, &name, &help, nullptr, nullptr); FAILED(status))
        return status;
    const Text owned_name(name), owned_help(help);
    const std::wstring shown = help ? help : name ? name : L"";

    Key key;
    if (!key.Create(HKEY_CLASSES_ROOT, L"TypeLib\\" + id + L"\\" + version) || !key.Put(nullptr, shown) ||
        !PutBelow(key, (Hex(attributes.lcid) + L"\\" + SystemText(system)).c_str(), path) ||
        !PutBelow(key, L"FLAGS", Hex(attributes.wLibFlags)) || !PutBelow(key, L"HELPDIR", help_folder))
        return TYPE_E_REGISTRYACCESS;

    for (UINT i = 0; i < library.GetTypeInfoCount(); ++i) {
        ITypeInfo* type = nullptr;
        if (FAILED(library.GetTypeInfo(i, &type))) return E_OUTOFMEMORY;
        const HRESULT status = RegisterInterface(*type, id, version);
        type->Release();
        if (FAILED(status)) return status;
    }
    return S_OK;
}

/// The interfaces that say that they are described by that library.
void DeleteInterfaces(const std::wstring& id, const std::wstring& version) {
    Key interfaces;
    if (!interfaces.Open(HKEY_CLASSES_ROOT, L"Interface")) return;
    for (const std::wstring& name : interfaces.Subkeys()) {
        bool ours = false;
        {
            Key use;
            ours = use.Open(interfaces.get(), name + L"\\TypeLib") && SameWithoutCase(use.Get(nullptr), id) &&
                   use.Get(L"Version") == version;
        }
        if (ours) RegDeleteTreeW(interfaces.get(), name.c_str());
    }
}

HRESULT Unregister(REFGUID guid, WORD major, WORD minor, LCID locale, SYSKIND system) {
    const std::wstring id = IdText(guid);
    const std::wstring version = VersionText(major, minor);
    const std::wstring path = L"TypeLib\\" + id;
    Key library;
    {
        Key release;
        Key language;
        if (!library.Open(HKEY_CLASSES_ROOT, path) || !release.Open(library.get(), version) ||
            !language.Open(release.get(), Hex(locale)) ||
            RegDeleteKeyW(language.get(), SystemText(system)) != ERROR_SUCCESS)
            return TYPE_E_REGISTRYACCESS;
        // For another system, or another language, the library is still there.
        if (!language.Subkeys().empty()) return S_OK;
        RegDeleteKeyW(release.get(), Hex(locale).c_str());
        for (const std::wstring& left : release.Subkeys())
            if (left != L"FLAGS" && left != L"HELPDIR") return S_OK;
    }
    RegDeleteTreeW(library.get(), version.c_str());
    DeleteInterfaces(id, version);
    if (library.Subkeys().empty()) RegDeleteKeyW(HKEY_CLASSES_ROOT, path.c_str());
    return S_OK;
}

}  // namespace

extern "C" {

HRESULT LoadTypeLib(const OLECHAR* file, ITypeLib** result) try {
    if (!file || !result) return E_INVALIDARG;
    *result = nullptr;
    return Load(file, result);
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT LoadRegTypeLib(REFGUID library, WORD major, WORD minor, LCID locale, ITypeLib** result) try {
    if (!result) return E_INVALIDARG;
    *result = nullptr;
    const std::wstring path = RegisteredPath(library, major, minor, locale);
    if (path.empty()) return TYPE_E_LIBNOTREGISTERED;
    ITypeLib* loaded = nullptr;
    const HRESULT status = Load(path, &loaded);
    if (FAILED(status)) return status;
    // The file may hold another library by now.
    TLIBATTR* attributes = nullptr;
    const bool right = SUCCEEDED(loaded->GetLibAttr(&attributes)) && attributes->guid == library;
    if (attributes) loaded->ReleaseTLibAttr(attributes);
    if (!right) {
        loaded->Release();
        return TYPE_E_CANTLOADLIBRARY;
    }
    *result = loaded;
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT RegisterTypeLib(ITypeLib* library, OLECHAR* path, OLECHAR* help_folder) try {
    if (!library || !path) return E_INVALIDARG;
    TLIBATTR* attributes = nullptr;
    if (const HRESULT status = library->GetLibAttr(&attributes); FAILED(status)) return status;
    const TLIBATTR about = *attributes;
    library->ReleaseTLibAttr(attributes);
    return SystemText(about.syskind) ? Register(*library, about, path, help_folder ? help_folder : L"")
                                     : E_INVALIDARG;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT UnRegisterTypeLib(REFGUID library, WORD major, WORD minor, LCID locale, SYSKIND system) try {
    return SystemText(system) ? Unregister(library, major, minor, locale, system) : E_INVALIDARG;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}
}
