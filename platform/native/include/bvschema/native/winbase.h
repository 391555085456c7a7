// Modules and their resources, critical sections, interlocked operations, the last error.
#pragma once

#include <pthread.h>

#include "windef.h"

#define INFINITE 0xFFFFFFFF  // as a time in ms: no end, or the system's own

extern "C" {

/// The calling thread's last error, a system error code. A call that succeeds leaves it alone.
BV_PLATFORM_API DWORD GetLastError();
BV_PLATFORM_API void SetLastError(DWORD error);
}

// --- Modules ------------------------------------------------------------------------------------------

#define DLL_PROCESS_DETACH 0
#define DLL_PROCESS_ATTACH 1
#define LOAD_LIBRARY_AS_DATAFILE 0x00000002

extern "C" {

/// Loads a module, or counts one load more of it. A name without a separator is looked for beside the
/// program, beside the module that asks for it, and then by the system's rules. Null with the last error set:
/// ERROR_MOD_NOT_FOUND for no such file, ERROR_BAD_EXE_FORMAT for a file that is no module. Each load is
/// given back by FreeLibrary.
BV_PLATFORM_API HMODULE LoadLibraryA(LPCSTR name);
BV_PLATFORM_API HMODULE LoadLibraryW(LPCWSTR name);
/// As LoadLibrary. file: null. flags: 0 or LOAD_LIBRARY_AS_DATAFILE, which makes no difference here.
BV_PLATFORM_API HMODULE LoadLibraryExW(LPCWSTR name, HANDLE file, DWORD flags);
/// FALSE with ERROR_MOD_NOT_FOUND for what is no loaded module. The last call unloads the module.
BV_PLATFORM_API BOOL FreeLibrary(HMODULE module);
/// The address of an exported operation, null with ERROR_PROC_NOT_FOUND.
BV_PLATFORM_API FARPROC GetProcAddress(HMODULE module, LPCSTR name);
/// A loaded module by its path or file name, not counted; null names the program itself.
BV_PLATFORM_API HMODULE GetModuleHandleW(LPCWSTR name);
/// The module's full path; null names the program itself. Gives the length without the NUL. A buffer that is
/// too small holds the beginning, ended by a NUL; the result is its size then and the
/// last error ERROR_INSUFFICIENT_BUFFER.
BV_PLATFORM_API DWORD GetModuleFileNameW(HMODULE module, LPWSTR buffer, DWORD size);
/// No thread calls are made here in any case. FALSE for what is no loaded module.
BV_PLATFORM_API BOOL DisableThreadLibraryCalls(HMODULE module);
/// A path without blanks for the same file: here the path itself. Gives the length without the NUL, the size
/// needed with it when the buffer is too small, 0 when there is no such file.
BV_PLATFORM_API DWORD GetShortPathNameW(LPCWSTR path, LPWSTR buffer, DWORD size);
}

// --- Resources ----------------------------------------------------------------------------------------

#define MAKEINTRESOURCEA(number) ((LPSTR)(ULONG_PTR)(WORD)(number))
#define IS_INTRESOURCE(name) ((ULONG_PTR)(name) >> 16 == 0)
#define RT_STRING MAKEINTRESOURCEA(6)

extern "C" {

/// A resource of the module (null: of the program). name and type are texts, compared without case, or
/// numbers (MAKEINTRESOURCEA, or a text "#101"). Null with ERROR_RESOURCE_TYPE_NOT_FOUND or
/// ERROR_RESOURCE_NAME_NOT_FOUND. RT_STRING holds the string table in blocks of 16 texts, block n begins with
/// id 16 * (n - 1).
BV_PLATFORM_API HRSRC FindResourceA(HMODULE module, LPCSTR name, LPCSTR type);
BV_PLATFORM_API DWORD SizeofResource(HMODULE module, HRSRC resource);
BV_PLATFORM_API HGLOBAL LoadResource(HMODULE module, HRSRC resource);
/// The resource's bytes, which are valid while the module is loaded. They need not end with a NUL.
BV_PLATFORM_API LPVOID LockResource(HGLOBAL data);

/// A text of the string table, cut to the buffer and ended by a NUL. Gives its length without the NUL in
/// characters of the buffer; 0 when there is no such text.
BV_PLATFORM_API int LoadStringA(HINSTANCE module, UINT id, LPSTR buffer, int size);
BV_PLATFORM_API int LoadStringW(HINSTANCE module, UINT id, LPWSTR buffer, int size);
}

// --- Critical sections --------------------------------------------------------------------------------

/// A lock that its owner may take again.
struct CRITICAL_SECTION {
    pthread_mutex_t mutex;
};
using LPCRITICAL_SECTION = CRITICAL_SECTION*;

extern "C" {
BV_PLATFORM_API void InitializeCriticalSection(LPCRITICAL_SECTION section);
/// The section must not be held.
BV_PLATFORM_API void DeleteCriticalSection(LPCRITICAL_SECTION section);
BV_PLATFORM_API void EnterCriticalSection(LPCRITICAL_SECTION section);
BV_PLATFORM_API void LeaveCriticalSection(LPCRITICAL_SECTION section);
}

// --- Interlocked operations: each is a full barrier ---------------------------------------------------

/// Both give the new value.
inline LONG InterlockedIncrement(LONG volatile* value) {
    return __atomic_add_fetch(value, 1, __ATOMIC_SEQ_CST);
}
inline LONG InterlockedDecrement(LONG volatile* value) {
    return __atomic_sub_fetch(value, 1, __ATOMIC_SEQ_CST);
}
