// The registry: keys below fixed roots, each with named values. One database file for each user; several
// processes may use it at once. Every call is a step of its own: done in whole or not at all.
//
// Names compare without regard to case and keep the spelling of their first creation. Subkeys come in
// alphabetical order without case, values in the order of their creation. A key name has at most 255
// characters. Texts are kept once and given as narrow or wide. All calls give a system error code,
// ERROR_SUCCESS (0) when done; ERROR_KEY_DELETED for a handle whose key is gone; ERROR_REGISTRY_CORRUPT or
// ERROR_REGISTRY_IO_FAILED when the database can't be used.
#pragma once

#include "windef.h"

#define HKEY_CLASSES_ROOT \
    ((HKEY)(ULONG_PTR)(LONG)0x80000000)  // the same as Software\Classes below HKEY_LOCAL_MACHINE
#define HKEY_CURRENT_USER ((HKEY)(ULONG_PTR)(LONG)0x80000001)
#define HKEY_LOCAL_MACHINE ((HKEY)(ULONG_PTR)(LONG)0x80000002)
#define HKEY_USERS ((HKEY)(ULONG_PTR)(LONG)0x80000003)
#define HKEY_PERFORMANCE_DATA ((HKEY)(ULONG_PTR)(LONG)0x80000004)
#define HKEY_CURRENT_CONFIG ((HKEY)(ULONG_PTR)(LONG)0x80000005)
#define HKEY_DYN_DATA ((HKEY)(ULONG_PTR)(LONG)0x80000006)

#define REG_NONE 0
#define REG_SZ 1
#define REG_EXPAND_SZ 2
#define REG_BINARY 3
#define REG_DWORD 4
#define REG_MULTI_SZ 7
#define REG_QWORD 11

#define REG_OPTION_NON_VOLATILE 0
#define REG_CREATED_NEW_KEY 1
#define REG_OPENED_EXISTING_KEY 2

// Every user may read and write the own registry, so that the wish for access decides nothing.
#define KEY_QUERY_VALUE 0x0001
#define KEY_SET_VALUE 0x0002
#define KEY_CREATE_SUB_KEY 0x0004
#define KEY_ENUMERATE_SUB_KEYS 0x0008
#define KEY_READ 0x20019
#define KEY_WRITE 0x20006
#define KEY_ALL_ACCESS 0xF003F

extern "C" {

/// Opens the key at a path of names with a backslash between them; a null or empty path opens the key once
/// more. ERROR_FILE_NOT_FOUND when it isn't there. The caller closes *result.
BV_PLATFORM_API LONG RegOpenKeyExA(HKEY key, LPCSTR path, DWORD options, REGSAM access, PHKEY result);
BV_PLATFORM_API LONG RegOpenKeyExW(HKEY key, LPCWSTR path, DWORD options, REGSAM access, PHKEY result);
/// The same, making what is missing of the path. disposition may be null; else it becomes REG_CREATED_NEW_KEY
/// or REG_OPENED_EXISTING_KEY. reserved, class_name, security: 0 and null.
BV_PLATFORM_API LONG RegCreateKeyExA(HKEY key, LPCSTR path, DWORD reserved, LPSTR class_name, DWORD options,
                                     REGSAM access, LPSECURITY_ATTRIBUTES security, PHKEY result,
                                     LPDWORD disposition);
BV_PLATFORM_API LONG RegCreateKeyExW(HKEY key, LPCWSTR path, DWORD reserved, LPWSTR class_name, DWORD options,
                                     REGSAM access, LPSECURITY_ATTRIBUTES security, PHKEY result,
                                     LPDWORD disposition);
BV_PLATFORM_API LONG RegCloseKey(HKEY key);
/// ERROR_ACCESS_DENIED for a key that has subkeys.
BV_PLATFORM_API LONG RegDeleteKeyA(HKEY key, LPCSTR path);
BV_PLATFORM_API LONG RegDeleteKeyW(HKEY key, LPCWSTR path);
/// Deletes the key at the path with all below it. With a null path: all that is below the key and its values.
BV_PLATFORM_API LONG RegDeleteTreeA(HKEY key, LPCSTR path);
BV_PLATFORM_API LONG RegDeleteTreeW(HKEY key, LPCWSTR path);
BV_PLATFORM_API LONG RegDeleteValueA(HKEY key, LPCSTR name);
BV_PLATFORM_API LONG RegDeleteValueW(HKEY key, LPCWSTR name);

/// size: in bytes; a text's with its NUL. A null or empty name is the key's default value.
BV_PLATFORM_API LONG RegSetValueExA(HKEY key, LPCSTR name, DWORD reserved, DWORD type, const BYTE* data,
                                    DWORD size);
BV_PLATFORM_API LONG RegSetValueExW(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data,
                                    DWORD size);
/// *size: in: bytes in the buffer, out: bytes of the value. ERROR_MORE_DATA with *size set and the buffer
/// untouched or unspecified when it is too small; with null data just the size.
/// type, data and size may be null.
BV_PLATFORM_API LONG RegQueryValueExA(HKEY key, LPCSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data,
                                      LPDWORD size);
BV_PLATFORM_API LONG RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data,
                                      LPDWORD size);

/// The name of the subkey at that place. *length: in: characters in the buffer with the NUL, out: without it.
/// ERROR_NO_MORE_ITEMS past the last one, ERROR_MORE_DATA when the buffer is too small. class_name,
/// class_length, reserved: null. written: null, or becomes 0.
BV_PLATFORM_API LONG RegEnumKeyExA(HKEY key, DWORD index, LPSTR name, LPDWORD length, LPDWORD reserved,
                                   LPSTR class_name, LPDWORD class_length, PFILETIME written);
BV_PLATFORM_API LONG RegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, LPDWORD length, LPDWORD reserved,
                                   LPWSTR class_name, LPDWORD class_length, PFILETIME written);
/// The name and the content of the value at that place; lengths and sizes as above.
BV_PLATFORM_API LONG RegEnumValueA(HKEY key, DWORD index, LPSTR name, LPDWORD length, LPDWORD reserved,
                                   LPDWORD type, LPBYTE data, LPDWORD size);
BV_PLATFORM_API LONG RegEnumValueW(HKEY key, DWORD index, LPWSTR name, LPDWORD length, LPDWORD reserved,
                                   LPDWORD type, LPBYTE data, LPDWORD size);
/// Numbers of subkeys and values, the longest names in characters without a NUL and the longest content in
/// bytes. Each may be null. class_name, class_length, reserved: null; the last two become 0.
BV_PLATFORM_API LONG RegQueryInfoKeyA(HKEY key, LPSTR class_name, LPDWORD class_length, LPDWORD reserved,
                                      LPDWORD subkeys, LPDWORD longest_subkey, LPDWORD longest_class,
                                      LPDWORD values, LPDWORD longest_value_name, LPDWORD longest_value,
                                      LPDWORD security_size, PFILETIME written);
BV_PLATFORM_API LONG RegQueryInfoKeyW(HKEY key, LPWSTR class_name, LPDWORD class_length, LPDWORD reserved,
                                      LPDWORD subkeys, LPDWORD longest_subkey, LPDWORD longest_class,
                                      LPDWORD values, LPDWORD longest_value_name, LPDWORD longest_value,
                                      LPDWORD security_size, PFILETIME written);
}
