#include "server/registrar.h"

#include <cstring>
#include <string>

#include "com/com_ptr.h"
#include "server/class_table.h"
#include "server/messages.h"
#include "server/script.h"

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

}  // namespace

HRESULT RegisterServer() try {
    DataModule module;
    std::string path;
    RETURN_IF_FAILED(Prepare(module, path));
    for (const ClassEntry& entry : ClassTable())
        RETURN_IF_FAILED(RunClassScript(module, path, entry.script, true));
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT UnregisterServer() try {
    DataModule module;
    std::string path;
    if (SUCCEEDED(Prepare(module, path)))
        for (const ClassEntry& entry : ClassTable())
            std::ignore = RunClassScript(module, path, entry.script, false);
    return S_OK;
} catch (const std::bad_alloc&) {
    return S_OK;
}

}  // namespace bv
