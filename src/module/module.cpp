// The module: its four exports, its start and its stop.
#include <bvschema/bvschema.h>

#include "com/late_binding.h"
#include "com/module_lock.h"
#include "com/strings.h"
#include "module/class_table.h"
#include "module/registrar.h"

STDAPI DllGetClassObject(REFCLSID cls, REFIID iid, void** out) { return bv::GetClassObject(cls, iid, out); }

STDAPI DllCanUnloadNow() { return bv::ModuleLocks::None() ? S_OK : S_FALSE; }

STDAPI DllRegisterServer() { return bv::RegisterServer(); }

STDAPI DllUnregisterServer() { return bv::UnregisterServer(); }

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID process_ends) {
    if (reason == DLL_PROCESS_ATTACH) {
        bv::SetModuleInstance(instance);
        bv::StartClassTable();
        bv::StartTypeInfo();
        DisableThreadLibraryCalls(instance);
    } else if (reason == DLL_PROCESS_DETACH) {
        // At the end of the process the system's libraries may have gone before: their objects are left to
        // it.
        if (!process_ends) bv::StopTypeInfo();
        bv::StopClassTable();
    }
    return TRUE;
}
