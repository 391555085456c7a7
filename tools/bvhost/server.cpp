#include "server.h"

#include <cstdio>

#include "paths.h"

namespace host {
namespace {

namespace fs = std::filesystem;

const char* Meaning(HRESULT status) {
    switch (status) {
        case E_OUTOFMEMORY:
            return "out of memory";
        case E_NOTIMPL:
            return "not available";
        case E_NOINTERFACE:
            return "the object has no such interface";
        case E_INVALIDARG:
            return "not there";
        case E_FAIL:
            return "it failed";
        case REGDB_E_READREGDB:
            return "the registry can't be read";
        case REGDB_E_CLASSNOTREG:
            return "the class isn't registered";
        case CLASS_E_CLASSNOTAVAILABLE:
            return "the module doesn't have this class";
        case DISP_E_TYPEMISMATCH:
            return "a value of another kind is needed";
        case DISP_E_OVERFLOW:
            return "the number is too large";
        case DISP_E_BADPARAMCOUNT:
        case DISP_E_PARAMNOTFOUND:
        case DISP_E_PARAMNOTOPTIONAL:
            return "another number of arguments is needed";
        case DISP_E_BADVARTYPE:
            return "it takes or gives what no script has a value for";
        case DISP_E_MEMBERNOTFOUND:
            return "it can't be used in this way";
        case TYPE_E_LIBNOTREGISTERED:
            return "the type library isn't registered; \"bvhost register\" registers it";
        default:
            break;
    }
    if (status == HRESULT_FROM_WIN32(ERROR_REGISTRY_CORRUPT)) return "it is damaged";
    if (status == HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)) return "the file isn't there";
    if (status == HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND)) return "the module can't be loaded";
    if (status == HRESULT_FROM_WIN32(ERROR_PROC_NOT_FOUND)) return "this is no component module";
    if (status == HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED)) return "access is denied";
    if (status == HRESULT_FROM_WIN32(ERROR_INVALID_NAME))
        return "the system's code page can't spell its path";
    if (status == HRESULT_FROM_WIN32(ERROR_BAD_EXE_FORMAT)) return "this is no module for this program";
    return nullptr;
}

}  // namespace

void ForgetErrors() { SetErrorInfo(0, nullptr); }

std::string Reason(HRESULT status) {
    Ref<IErrorInfo> error;
    TextResult description;
    if (GetErrorInfo(0, error.Put()) == S_OK && SUCCEEDED(error->GetDescription(description.Put()))) {
        const std::string text = OneLine(Utf8(description.Get()));
        if (!text.empty()) return text;
    }
    if (const char* meaning = Meaning(status)) return meaning;
    char code[32];
    std::snprintf(code, sizeof code, "error 0x%08X", unsigned(status));
    return code;
}

void CantCreate(const char* what, HRESULT status) {
    std::string text = std::string("can't create ") + what + ": " + Reason(status);
    if (status == REGDB_E_CLASSNOTREG) text += "; \"bvhost register\" registers it";
    throw Problem(text);
}

fs::path ModuleFolderOf(REFCLSID cls) {
    wchar_t id[40];
    StringFromGUID2(cls, id, 40);
    HKEY key = nullptr;
    const std::wstring path = std::wstring(L"CLSID\\") + id + L"\\InprocServer32";
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return {};
    wchar_t module[1024] = {};
    DWORD size = sizeof module - sizeof *module;
    const LONG error =
        RegQueryValueExW(key, nullptr, nullptr, nullptr, reinterpret_cast<BYTE*>(module), &size);
    RegCloseKey(key);
    return error == ERROR_SUCCESS ? ToPath(module).parent_path() : fs::path();
}

std::vector<fs::path> DefaultModules() {
    wchar_t self[1024] = {};
    GetModuleFileNameW(nullptr, self, 1023);
    const fs::path bin = ToPath(self).parent_path();
    std::vector<fs::path> folders = {bin};
    std::error_code error;
    for (const char* lib : {"lib", "lib64"}) {
        folders.push_back(bin.parent_path() / lib / "bvschema");
        for (const auto& entry : fs::directory_iterator(bin.parent_path() / lib, error))
            if (entry.is_directory(error))
                folders.push_back(entry.path() / "bvschema");  // lib/<architecture>/
    }
    for (const fs::path& folder : folders) {
        std::vector<fs::path> modules;
        for (const char* stem : {"BVSchema", "BVSamples"}) {
            for (const char* suffix : {".so", ".dll"}) {
                const fs::path module = folder / (std::string(stem) + suffix);
                if (fs::is_regular_file(module, error)) modules.push_back(module);
            }
        }
        if (!modules.empty()) return modules;
    }
    throw Problem("there is no BVSchema module beside bvhost; name the modules");
}

void NeedRegistry() {
    HKEY key = nullptr;
    const LSTATUS status = RegOpenKeyExW(HKEY_CLASSES_ROOT, L"", 0, KEY_READ, &key);
    if (status != ERROR_SUCCESS)
        throw Problem("the registry can't be read: " + Reason(HRESULT_FROM_WIN32(DWORD(status))));
    RegCloseKey(key);
}

void CallModule(const fs::path& module, const char* operation) {
    NeedRegistry();
    std::error_code ignored;
    const std::string name = PathText(module);
    if (!fs::exists(module, ignored)) throw Problem("there is no file " + name);
    const HMODULE loaded = LoadLibraryW(FromPath(module).c_str());
    if (!loaded) throw Problem(name + ": " + Reason(HRESULT_FROM_WIN32(GetLastError())));
    using Operation = HRESULT(STDAPICALLTYPE*)();
    const auto call = reinterpret_cast<Operation>(reinterpret_cast<void*>(GetProcAddress(loaded, operation)));
    ForgetErrors();
    const HRESULT status = call ? call() : HRESULT_FROM_WIN32(ERROR_PROC_NOT_FOUND);
    FreeLibrary(loaded);
    if (status == DISP_E_EXCEPTION) throw Problem(name + ": the registry can't be written");
    if (FAILED(status)) throw Problem(name + ": " + Reason(status));
}

}  // namespace host
