// Calls on BSTR, VARIANT and error objects.
#pragma once

#include "oaidl.h"

extern "C" {

/// A copy of the text up to its NUL; null for a null text and for no memory. The caller frees it with SysFreeString.
BV_PLATFORM_API BSTR SysAllocString(const OLECHAR* text);
BV_PLATFORM_API BSTR SysAllocStringLen(const OLECHAR* text, UINT length);
BV_PLATFORM_API BSTR SysAllocStringByteLen(LPCSTR bytes, UINT length);
BV_PLATFORM_API INT SysReAllocString(BSTR* target, const OLECHAR* text);
BV_PLATFORM_API INT SysReAllocStringLen(BSTR* target, const OLECHAR* text, UINT length);
BV_PLATFORM_API void SysFreeString(BSTR text);
BV_PLATFORM_API UINT SysStringLen(BSTR text);
BV_PLATFORM_API UINT SysStringByteLen(BSTR text);

BV_PLATFORM_API void VariantInit(VARIANTARG* value);
BV_PLATFORM_API HRESULT VariantClear(VARIANTARG* value);
BV_PLATFORM_API HRESULT VariantCopy(VARIANTARG* target, VARIANTARG* source);
BV_PLATFORM_API HRESULT VariantCopyInd(VARIANT* target, VARIANTARG* source);
/// Converts by Automation's rules. flags: 0.
BV_PLATFORM_API HRESULT VariantChangeType(VARIANTARG* target, VARIANTARG* source, USHORT flags, VARTYPE kind);

/// A new error object, with nothing set.
BV_PLATFORM_API HRESULT CreateErrorInfo(ICreateErrorInfo** result);
/// Replaces the calling thread's error object; null clears it.
BV_PLATFORM_API HRESULT SetErrorInfo(ULONG reserved, IErrorInfo* info);
/// Takes the calling thread's error object; S_FALSE and null when there is none.
BV_PLATFORM_API HRESULT GetErrorInfo(ULONG reserved, IErrorInfo** result);
}

#define V_VT(X) ((X)->vt)
