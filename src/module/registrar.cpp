#include "module/registrar.h"

#include <bvschema/registry_change.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "com/com_ptr.h"
#include "com/strings.h"
#include "module/class_table.h"
#include "module/script.h"

namespace bv {
namespace {

constexpr DWORD kPathCapacity = 1024;

HRESULT LastError() {
    const DWORD error = GetLastError();
    return error ? HRESULT_FROM_WIN32(error) : E_FAIL;
}

/// The module's own path, wide: the narrow code page may not have all of it.
HRESULT OwnPath(std::wstring& path) {
    wchar_t buffer[kPathCapacity];
    const DWORD length = GetModuleFileNameW(ModuleInstance(), buffer, kPathCapacity);
    if (length == 0 || length >= kPathCapacity) return LastError();
    path.assign(buffer, length);
    return S_OK;
}

/// The path in its short form, as it stands inside a quoted token of a script, which is narrow.
HRESULT ScriptPath(const std::wstring& whole, std::string& path) {
    wchar_t brief[kPathCapacity];
    const DWORD length = GetShortPathNameW(whole.c_str(), brief, kPathCapacity);
    const std::wstring_view used =
        length > 0 && length < kPathCapacity ? std::wstring_view(brief, length) : std::wstring_view(whole);
    char narrow[4 * kPathCapacity];
    const int size = ToNarrowBytes(narrow, used, int(sizeof narrow));
    if (size <= 0) return E_FAIL;
    // A path with another character in it would be registered, and never be found.
    if (std::count(narrow, narrow + size, '#') != std::count(used.begin(), used.end(), L'#'))
        return HRESULT_FROM_WIN32(ERROR_INVALID_NAME);
    for (int i = 0; i < size; ++i) {
        path += narrow[i];
        if (narrow[i] == '\'') path += '\'';
    }
    return S_OK;
}

/// The module loaded as data, for as long as a script is read.
class DataModule {
public:
    DataModule() = default;
    DataModule(const DataModule&) = delete;
    DataModule& operator=(const DataModule&) = delete;
    ~DataModule() {
        if (module_) FreeLibrary(module_);
    }
    HRESULT Load(const std::wstring& path) {
        module_ = LoadLibraryExW(path.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
        return module_ ? S_OK : LastError();
    }
    HRESULT Script(int number, std::string_view& text) const {
        HRSRC const place = FindResourceA(module_, MAKEINTRESOURCEA(number), "REGISTRY");
        if (!place) return LastError();
        HGLOBAL const loaded = LoadResource(module_, place);
        const void* const data = loaded ? LockResource(loaded) : nullptr;
        if (!data) return LastError();
        text = {static_cast<const char*>(data), SizeofResource(module_, place)};
        return S_OK;
    }

private:
    HMODULE module_ = nullptr;
};

HRESULT RunClassScript(const DataModule& module, const std::string& path, int number, bool registering) {
    std::string_view text;
    RETURN_IF_FAILED(module.Script(number, text));
    const Replacement module_path[] = {{"Module", path}};
    return RunScript(text, module_path, registering);
}

HRESULT Prepare(DataModule& module, std::string& path) {
    std::wstring whole;
    RETURN_IF_FAILED(OwnPath(whole));
    RETURN_IF_FAILED(ScriptPath(whole, path));
    return module.Load(whole);
}

// --- The type library

/// The module's own library; where it can't be loaded from there, the ".tlb" file beside it. path: what was
/// loaded.
HRESULT LoadOwnTypeLib(std::wstring& path, ComPtr<ITypeLib>& library) {
    RETURN_IF_FAILED(OwnPath(path));
    HRESULT status = LoadTypeLib(path.c_str(), library.Put());
    if (FAILED(status)) {
        const size_t name = path.find_last_of(L"\\/:") + 1;
        const size_t point = path.rfind(L'.');
        if (point != std::wstring::npos && point >= name) path.resize(point);
        path += L".tlb";
        status = LoadTypeLib(path.c_str(), library.Put());
    }
    return status;
}

HRESULT RegisterOwnTypeLib() {
    std::wstring path;
    ComPtr<ITypeLib> library;
    RETURN_IF_FAILED(LoadOwnTypeLib(path, library));
    std::wstring folder = path.substr(0, path.find_last_of(L"\\/:") + 1);
    return RegisterTypeLib(library.get(), path.data(), folder.data());
}

/// Not every system has the operation that takes a library out: it is looked for when it is needed.
void UnregisterOwnTypeLib() {
    std::wstring path;
    ComPtr<ITypeLib> library;
    TLIBATTR* attributes = nullptr;
    if (FAILED(LoadOwnTypeLib(path, library)) || FAILED(library->GetLibAttr(&attributes))) return;
    if (HMODULE const automation = LoadLibraryA("oleaut32.dll")) {
        using Operation = HRESULT(STDAPICALLTYPE*)(REFGUID, WORD, WORD, LCID, SYSKIND);
        const auto unregister = reinterpret_cast<Operation>(
            reinterpret_cast<void*>(GetProcAddress(automation, "UnRegisterTypeLib")));
        if (unregister)
            std::ignore = unregister(attributes->guid, attributes->wMajorVerNum, attributes->wMinorVerNum,
                                     attributes->lcid, attributes->syskind);
        FreeLibrary(automation);
    }
    library->ReleaseTLibAttr(attributes);
}

}  // namespace

HRESULT RegisterServer() try {
    DataModule module;
    std::string path;
    RETURN_IF_FAILED(Prepare(module, path));
    RegistryChange change;
    RETURN_IF_FAILED(change.Begin());
    HRESULT status = S_OK;
    for (const ClassEntry& entry : ClassTable())
        if (SUCCEEDED(status)) status = RunClassScript(module, path, ScriptOf(entry), true);
    if (SUCCEEDED(status)) status = RegisterOwnTypeLib();
    const HRESULT kept = change.Keep();
    return FAILED(status) ? status : kept;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT UnregisterServer() try {
    RegistryChange change;
    if (FAILED(change.Begin())) return S_OK;
    DataModule module;
    std::string path;
    if (SUCCEEDED(Prepare(module, path)))
        for (const ClassEntry& entry : ClassTable())
            std::ignore = RunClassScript(module, path, ScriptOf(entry), false);
    UnregisterOwnTypeLib();
    std::ignore = change.Keep();
    return S_OK;
} catch (const std::bad_alloc&) {
    return S_OK;
}

}  // namespace bv
