// The module: its four exports, its start and its stop.
#include <bvschema/bvschema.h>

#include "com/module_lock.h"
#include "server/class_table.h"
#include "server/messages.h"
#include "server/registrar.h"

STDAPI DllGetClassObject(REFCLSID cls, REFIID iid, void** out) { return bv::GetClassObject(cls, iid, out); }

STDAPI DllCanUnloadNow() { return bv::module_locks.load(std::memory_order_acquire) == 0 ? S_OK : S_FALSE; }

STDAPI DllRegisterServer() { return bv::RegisterServer(); }

STDAPI DllUnregisterServer() { return bv::UnregisterServer(); }

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) {
        bv::SetModuleInstance(instance);
        bv::StartClassTable();
        DisableThreadLibraryCalls(instance);
    } else if (reason == DLL_PROCESS_DETACH) {
        bv::StopClassTable();
    }
    return TRUE;
}
