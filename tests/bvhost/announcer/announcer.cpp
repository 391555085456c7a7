// A module whose registration promises too much: formats that it doesn't have, or that nobody has.
#include <bvschema/bvschema.h>

#include <string>

namespace {

HINSTANCE instance = nullptr;

void Write(const std::wstring& path, const wchar_t* text) {
    HKEY key = nullptr;
    if (RegCreateKeyExW(HKEY_CLASSES_ROOT, (L"CLSID\\" + path).c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                        KEY_WRITE, nullptr, &key, nullptr) != ERROR_SUCCESS)
        return;
    RegSetValueExW(key, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(text),
                   DWORD((std::wcslen(text) + 1) * sizeof(wchar_t)));
    RegCloseKey(key);
}

constexpr wchar_t kFormats[] =
    L"{3C78B8E0-6C50-11D0-A0E0-000EFA951B00}\\{3C78B8E2-6C5D-11D0-ADE1-0C0EFA951B02}\\";
constexpr const wchar_t* kClasses[] = {L"{D0B1E000-0000-4000-8000-0000000000F1}",
                                       L"{D0B1E000-0000-4000-8000-0000000000F2}",
                                       L"{D0B1E000-0000-4000-8000-0000000000F3}"};

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) instance = module;
    return TRUE;
}

STDAPI DllGetClassObject(REFCLSID, REFIID, void**) { return CLASS_E_CLASSNOTAVAILABLE; }
STDAPI DllCanUnloadNow() { return S_OK; }

STDAPI DllRegisterServer() {
    wchar_t own[1024] = {}, program[1024] = {};
    GetModuleFileNameW(instance, own, 1023);
    GetModuleFileNameW(nullptr, program, 1023);
    const wchar_t* const servers[] = {own, program, nullptr};
    const wchar_t* const names[] = {L"Not there", L"Wrong place", L"No class"};
    for (int i = 0; i < 3; ++i) {
        if (servers[i]) Write(std::wstring(kClasses[i]) + L"\\InprocServer32", servers[i]);
        Write(std::wstring(kFormats) + kClasses[i], names[i]);
    }
    return S_OK;
}

STDAPI DllUnregisterServer() {
    for (const wchar_t* cls : kClasses) {
        RegDeleteTreeW(HKEY_CLASSES_ROOT, (std::wstring(L"CLSID\\") + cls).c_str());
        RegDeleteTreeW(HKEY_CLASSES_ROOT, (std::wstring(L"CLSID\\") + kFormats + cls).c_str());
    }
    return S_OK;
}
