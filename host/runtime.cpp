#include <bvschema/host/runtime.h>

namespace bv::inline host {

namespace fs = std::filesystem;

Runtime::Runtime() {
    const HRESULT status = CoInitialize(nullptr);
    if (FAILED(status)) throw Error(status, "the component model can't begin: " + Reason(status));
}
Runtime::~Runtime() { CoUninitialize(); }

Result<> Runtime::Register(const fs::path& module) { return CallModule(module, "DllRegisterServer"); }
Result<> Runtime::Unregister(const fs::path& module) { return CallModule(module, "DllUnregisterServer"); }

fs::path Runtime::ModuleOf(REFCLSID cls) {
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
    return error == ERROR_SUCCESS ? ToPath(std::wstring_view(module)) : fs::path();
}

Result<> CallModule(const fs::path& module, const char* operation) {
    const std::string name = OneLine(PathToUtf8(module));
    const auto refused = [&](HRESULT status, const std::string& why) {
        return Refusal{status, name + ": " + why, {}, name};
    };
    const auto failed = [&](HRESULT status) { return refused(status, Reason(status)); };
    std::error_code ignored;
    if (!fs::exists(module, ignored))
        return Refusal{HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND), "there is no file " + name, {}, name};
    const HMODULE loaded = LoadLibraryW(FromPath(module).c_str());
    if (!loaded) return failed(HRESULT_FROM_WIN32(GetLastError()));
    using Operation = HRESULT(STDAPICALLTYPE*)();
    const auto call = reinterpret_cast<Operation>(reinterpret_cast<void*>(GetProcAddress(loaded, operation)));
    ForgetErrors();
    const HRESULT status = call ? call() : HRESULT_FROM_WIN32(ERROR_PROC_NOT_FOUND);
    FreeLibrary(loaded);
    if (status == DISP_E_EXCEPTION) return refused(status, "the registry can't be written");
    if (FAILED(status)) return failed(status);
    return {};
}

}  // namespace bv::inline host
