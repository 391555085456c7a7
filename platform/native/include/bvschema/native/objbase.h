// The component model: initialisation, creation by class id, class registration, ids as text, task memory.
//
// A class id leads to a class object that a program has registered, else to the module that the registry
// names (HKEY_CLASSES_ROOT, CLSID\{class id}\InprocServer32) and its DllGetClassObject. A class that has been
// looked up stays with its module until the module is freed, whatever the registry says by then.
#pragma once

#include "objidl.h"
#include "unknwn.h"

#define CLSCTX_INPROC_SERVER 0x1
#define CLSCTX_INPROC_HANDLER 0x2
#define CLSCTX_LOCAL_SERVER 0x4
#define CLSCTX_REMOTE_SERVER 0x10
#define CLSCTX_SERVER (CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER | CLSCTX_REMOTE_SERVER)
#define CLSCTX_ALL (CLSCTX_SERVER | CLSCTX_INPROC_HANDLER)
#define COINIT_MULTITHREADED 0x0
#define COINIT_APARTMENTTHREADED 0x2
#define REGCLS_SINGLEUSE 0
#define REGCLS_MULTIPLEUSE 1

extern "C" {

/// To be called by each thread before it creates objects; S_FALSE when it has been already. Each call is
/// answered by a CoUninitialize; the process's last one drops the class cache and closes the modules that can
/// go. RPC_E_CHANGED_MODE: this thread was initialised for another model.
BV_PLATFORM_API HRESULT CoInitialize(LPVOID reserved);
BV_PLATFORM_API HRESULT CoInitializeEx(LPVOID reserved, DWORD flags);
BV_PLATFORM_API void CoUninitialize();

/// A new object. *result becomes null on failure. CO_E_NOTINITIALIZED when neither this thread has been
/// initialised nor any for COINIT_MULTITHREADED, REGDB_E_CLASSNOTREG when the class isn't registered, the
/// system error as a status when its module can't be loaded, CO_E_ERRORINDLL when the module makes no class
/// objects; else what the class object says.
BV_PLATFORM_API HRESULT CoCreateInstance(REFCLSID class_id, LPUNKNOWN outer, DWORD context, REFIID iid,
                                         LPVOID* result);
/// The class object; statuses as above. server: null.
BV_PLATFORM_API HRESULT CoGetClassObject(REFCLSID class_id, DWORD context, LPVOID server, REFIID iid,
                                         LPVOID* result);
/// From now on this process's creations of the class come from the object given, which is held with a
/// reference until CoRevokeClassObject. flags: REGCLS_MULTIPLEUSE; REGCLS_SINGLEUSE serves one creation.
BV_PLATFORM_API HRESULT CoRegisterClassObject(REFCLSID class_id, LPUNKNOWN class_object, DWORD context,
                                              DWORD flags, LPDWORD cookie);
/// CO_E_OBJNOTREG for an unknown cookie.
BV_PLATFORM_API HRESULT CoRevokeClassObject(DWORD cookie);
/// Unloads the modules behind classes that say that they can go, after a time of grace: on another thread the
/// last release may not have returned. delay: that time in ms; a module goes at the first call that much
/// later than one that found it unused, if it wasn't used in between. 0: at once, which is the caller's word
/// that no thread is inside. INFINITE, as the short form says: 10 minutes, or 0 where this thread alone is
/// initialised, and not for COINIT_MULTITHREADED. The last CoUninitialize waits for nobody. reserved: 0.
BV_PLATFORM_API void CoFreeUnusedLibraries();
BV_PLATFORM_API void CoFreeUnusedLibrariesEx(DWORD delay, DWORD reserved);

/// The program's name for the class, from the registry. REGDB_E_CLASSNOTREG: there is none. The caller frees
/// it with CoTaskMemFree.
BV_PLATFORM_API HRESULT ProgIDFromCLSID(REFCLSID class_id, LPOLESTR* result);
/// CO_E_CLASSSTRING, and *result null, for a name that leads to no class.
BV_PLATFORM_API HRESULT CLSIDFromProgID(LPCOLESTR name, LPCLSID result);

BV_PLATFORM_API HRESULT CoCreateGuid(GUID* result);
/// Reads "{48ADEF10-6C76-40CE-8D40-34771934785D}" and nothing else; CO_E_CLASSSTRING.
/// A null text is the null id.
BV_PLATFORM_API HRESULT CLSIDFromString(LPCOLESTR text, LPCLSID result);
/// Writes that form, in upper case. Gives 39, its length with the NUL;
/// 0, and nothing written, when size is less.
BV_PLATFORM_API int StringFromGUID2(REFGUID id, LPOLESTR buffer, int size);

/// Memory that passes between components. Null: none left. A size of 0 gives a block that must be
/// freed as well.
BV_PLATFORM_API LPVOID CoTaskMemAlloc(SIZE_T size);
BV_PLATFORM_API void CoTaskMemFree(LPVOID block);
}

/// What a module exports to serve classes, and to say that it can be unloaded (S_OK) or not (S_FALSE).
STDAPI DllGetClassObject(REFCLSID class_id, REFIID iid, LPVOID* result);
STDAPI DllCanUnloadNow();
