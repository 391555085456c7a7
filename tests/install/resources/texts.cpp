// Registers itself if all of its resources are there.
#include <bvschema/bvschema.h>

#include <cstring>
#include <cwchar>

namespace {
HINSTANCE self = nullptr;
}

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) self = module;
    return TRUE;
}

STDAPI DllGetClassObject(REFCLSID, REFIID, void**) { return CLASS_E_CLASSNOTAVAILABLE; }
STDAPI DllCanUnloadNow() { return S_OK; }
STDAPI DllUnregisterServer() { return S_OK; }

STDAPI DllRegisterServer() {
    wchar_t text[16] = {}, path[1024] = {};
    if (LoadStringW(self, 7, text, 16) != 5 || std::wcscmp(text, L"seven") != 0) return E_FAIL;
    if (!FindResourceA(self, MAKEINTRESOURCEA(101), "REGISTRY")) return E_INVALIDARG;
    if (GetModuleFileNameW(self, path, 1024) == 0) return E_UNEXPECTED;
    ITypeLib* library = nullptr;
    const HRESULT status = LoadTypeLib(path, &library);
    if (FAILED(status)) return status;
    const UINT types = library->GetTypeInfoCount();
    library->Release();
    return types == 1 ? S_OK : E_NOTIMPL;
}
