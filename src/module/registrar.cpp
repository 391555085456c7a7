#include "module/registrar.h"

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

/// The module's own path in its short form, as it stands inside a quoted token.
HRESULT ScriptPath(std::string& path) {
    char buffer[kPathCapacity];
    const DWORD length = GetModuleFileNameA(ModuleInstance(), buffer, kPathCapacity);
    if (length == 0 || length >= kPathCapacity) return LastError();
    char brief[kPathCapacity];
    const DWORD brief_length = GetShortPathNameA(buffer, brief, kPathCapacity);
    const char* const used = brief_length > 0 && brief_length < kPathCapacity ? brief : buffer;
    for (const char* c = used; *c; ++c) {
        path += *c;
        if (*c == '\'') path += '\'';
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
    HRESULT Load() {
        char path[kPathCapacity];
        const DWORD length = GetModuleFileNameA(ModuleInstance(), path, kPathCapacity);
        if (length == 0 || length >= kPathCapacity) return LastError();
        module_ = LoadLibraryExA(path, nullptr, LOAD_LIBRARY_AS_DATAFILE);
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
    RETURN_IF_FAILED(ScriptPath(path));
    return module.Load();
}

// --- The type library

std::wstring Wide(const std::string& text) {
    const Bstr wide = ToBstr(text);
    return std::wstring(wide.View());
}

/// The module's own library; where it can't be loaded from there, the ".tlb" file beside it. path: what was
/// loaded.
HRESULT LoadOwnTypeLib(std::string& path, ComPtr<ITypeLib>& library) {
    char buffer[kPathCapacity];
    const DWORD length = GetModuleFileNameA(ModuleInstance(), buffer, kPathCapacity);
    if (length == 0 || length >= kPathCapacity) return LastError();
    path = buffer;
    HRESULT status = LoadTypeLib(Wide(path).c_str(), library.Put());
    if (FAILED(status)) {
        const size_t name = path.find_last_of("\\/:") + 1;
        const size_t point = path.rfind('.');
        if (point != std::string::npos && point >= name) path.resize(point);
        path += ".tlb";
        status = LoadTypeLib(Wide(path).c_str(), library.Put());
    }
    return status;
}

HRESULT RegisterOwnTypeLib() {
    std::string path;
    ComPtr<ITypeLib> library;
    RETURN_IF_FAILED(LoadOwnTypeLib(path, library));
    std::wstring whole = Wide(path);
    std::wstring folder = Wide(path.substr(0, path.find_last_of("\\/:") + 1));
    return RegisterTypeLib(library.get(), whole.data(), folder.data());
}

/// Not every system has the operation that takes a library out: it is looked for when it is needed.
void UnregisterOwnTypeLib() {
    std::string path;
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
    for (const ClassEntry& entry : ClassTable())
        RETURN_IF_FAILED(RunClassScript(module, path, entry.script, true));
    return RegisterOwnTypeLib();
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT UnregisterServer() try {
    DataModule module;
    std::string path;
    if (SUCCEEDED(Prepare(module, path)))
        for (const ClassEntry& entry : ClassTable())
            std::ignore = RunClassScript(module, path, entry.script, false);
    UnregisterOwnTypeLib();
    return S_OK;
} catch (const std::bad_alloc&) {
    return S_OK;
}

}  // namespace bv
