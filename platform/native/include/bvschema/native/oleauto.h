// Calls on BSTR, VARIANT and error objects.
#pragma once

#include "oaidl.h"

extern "C" {

/// A text that carries its length: the byte count stands in the 4 bytes before the first character, a NUL
/// follows the last. These give a copy: of the text up to its NUL, of so many characters or bytes (null:
/// unset ones), NULs included. Null for a null text of SysAllocString and for no memory.
/// The caller frees it with SysFreeString.
BV_PLATFORM_API BSTR SysAllocString(const OLECHAR* text);
BV_PLATFORM_API BSTR SysAllocStringLen(const OLECHAR* text, UINT length);
BV_PLATFORM_API BSTR SysAllocStringByteLen(LPCSTR bytes, UINT length);
/// Null is allowed here and has the length 0.
BV_PLATFORM_API void SysFreeString(BSTR text);
BV_PLATFORM_API UINT SysStringLen(BSTR text);
BV_PLATFORM_API UINT SysStringByteLen(BSTR text);

#define VARIANT_NOVALUEPROP 0x1
#define VARIANT_ALPHABOOL 0x2

BV_PLATFORM_API void VariantInit(VARIANTARG* value);
/// Frees the text or the reference that the value holds and makes it empty; what a VT_BYREF points to stays.
/// DISP_E_BADVARTYPE for a kind that is none; arrays and records, which nobody makes here, give it too.
BV_PLATFORM_API HRESULT VariantClear(VARIANTARG* value);
/// Clears the target, then copies: a text is doubled, an object gets one more reference, VT_BYREF
/// copies the pointer.
BV_PLATFORM_API HRESULT VariantCopy(VARIANTARG* target, VARIANTARG* source);
/// The same, but what a VT_BYREF points to is copied.
BV_PLATFORM_API HRESULT VariantCopyInd(VARIANT* target, VARIANTARG* source);
/// Converts by Automation's rules; target and source may be one. The number separator is that of the
/// process's locale, read once; the rest is English. flags: VARIANT_ALPHABOOL writes VT_BOOL as "True" and
/// "False" instead of "-1" and "0"; VARIANT_NOVALUEPROP is allowed and changes nothing, since an object's own
/// value is never asked for. DISP_E_TYPEMISMATCH (no such conversion, or a text of another form),
/// DISP_E_OVERFLOW, DISP_E_BADVARTYPE; the target stays as it was then.
BV_PLATFORM_API HRESULT VariantChangeType(VARIANTARG* target, VARIANTARG* source, USHORT flags, VARTYPE kind);

/// A new error object, with nothing set.
BV_PLATFORM_API HRESULT CreateErrorInfo(ICreateErrorInfo** result);
/// Replaces the calling thread's error object; null clears it.
BV_PLATFORM_API HRESULT SetErrorInfo(ULONG reserved, IErrorInfo* info);
/// Takes the calling thread's error object; S_FALSE and null when there is none.
BV_PLATFORM_API HRESULT GetErrorInfo(ULONG reserved, IErrorInfo** result);

/// The type library in a file: a module, whose resource "TYPELIB" number 1 it is ("path\\2": number 2), or a
/// ".tlb" file of its own. TYPE_E_CANTLOADLIBRARY when there is none, or it is damaged.
BV_PLATFORM_API HRESULT LoadTypeLib(const OLECHAR* file, ITypeLib** result);
/// The registered library of that major version, of that minor one or the highest above it, for the locale,
/// its language or none. TYPE_E_LIBNOTREGISTERED; else as LoadTypeLib.
BV_PLATFORM_API HRESULT LoadRegTypeLib(REFGUID library, WORD major, WORD minor, LCID locale,
                                       ITypeLib** result);
/// Writes what says where the library lies, and the keys of its dual interfaces. A null help folder is that
/// of the path. TYPE_E_REGISTRYACCESS when that can't be done.
BV_PLATFORM_API HRESULT RegisterTypeLib(ITypeLib* library, OLECHAR* path, OLECHAR* help_folder);
/// Deletes those keys, as far as nobody else needs them.
/// TYPE_E_REGISTRYACCESS when the library isn't registered.
BV_PLATFORM_API HRESULT UnRegisterTypeLib(REFGUID library, WORD major, WORD minor, LCID locale,
                                          SYSKIND system);

/// Calls the operation at that offset in an object's table of operations. kinds, arguments: one each, given
/// as they are; VT_VARIANT is given whole, VT_BYREF as a pointer. result may be null. convention: CC_STDCALL,
/// CC_CDECL. DISP_E_BADVARTYPE for a kind that can't be passed, DISP_E_BADCALLEE for another convention; else
/// S_OK: what the operation gives is the result, of the kind result_kind.
BV_PLATFORM_API HRESULT DispCallFunc(void* object, ULONG_PTR offset, CALLCONV convention, VARTYPE result_kind,
                                     UINT count, VARTYPE* kinds, VARIANTARG** arguments, VARIANT* result);
}

#define V_VT(X) ((X)->vt)
