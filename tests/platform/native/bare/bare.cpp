// A component module that was built without its entry.
#include <bvschema/platform.h>

STDAPI DllGetClassObject(REFCLSID, REFIID, void**) { return CLASS_E_CLASSNOTAVAILABLE; }

/// The path that the module would register as its own, or as that of the given module.
extern "C" __attribute__((visibility("default"))) DWORD AskPath(HMODULE module, wchar_t* path, DWORD size) {
    const DWORD length = GetModuleFileNameW(module, path, size);
    return length;
}
