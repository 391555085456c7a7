// Calls on BSTR, VARIANT and error objects.
#pragma once

#include "oaidl.h"

extern "C" {

/// A text that carries its length: the byte count stands in the 4 bytes before the first character, a NUL
/// follows the last. These give a copy: of the text up to its NUL, of so many characters or bytes (null:
/// unset ones), NULs included. Null for a null text of SysAllocString and for no memory. The caller frees it
/// with SysFreeString.
BV_PLATFORM_API BSTR SysAllocString(const OLECHAR* text);
BV_PLATFORM_API BSTR SysAllocStringLen(const OLECHAR* text, UINT length);
BV_PLATFORM_API BSTR SysAllocStringByteLen(LPCSTR bytes, UINT length);
/// Replaces *target by a copy of the text, which may lie in the old one, and frees the old one. False for no
/// memory; the old text then stays.
BV_PLATFORM_API INT SysReAllocString(BSTR* target, const OLECHAR* text);
BV_PLATFORM_API INT SysReAllocStringLen(BSTR* target, const OLECHAR* text, UINT length);
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
/// Clears the target, then copies: a text is doubled, an object gets one more reference, VT_BYREF copies the
/// pointer.
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
}

#define V_VT(X) ((X)->vt)
