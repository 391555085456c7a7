// Automation: BSTR, VARIANT, IDispatch and the error object's interfaces.
#pragma once

#include "typeinfo.h"
#include "unknwn.h"

using BSTR = wchar_t*;
using VARTYPE = unsigned short;
using VARIANT_BOOL = short;
using DATE = double;
#define VARIANT_TRUE ((VARIANT_BOOL)-1)
#define VARIANT_FALSE ((VARIANT_BOOL)0)

enum VARENUM {
    VT_EMPTY = 0,
    VT_NULL = 1,
    VT_I2 = 2,
    VT_I4 = 3,
    VT_R4 = 4,
    VT_R8 = 5,
    VT_CY = 6,
    VT_DATE = 7,
    VT_BSTR = 8,
    VT_DISPATCH = 9,
    VT_ERROR = 10,
    VT_BOOL = 11,
    VT_VARIANT = 12,
    VT_UNKNOWN = 13,
    VT_DECIMAL = 14,
    VT_I1 = 16,
    VT_UI1 = 17,
    VT_UI2 = 18,
    VT_UI4 = 19,
    VT_I8 = 20,
    VT_UI8 = 21,
    VT_INT = 22,
    VT_UINT = 23,
    VT_VOID = 24,
    VT_HRESULT = 25,
    VT_PTR = 26,
    VT_SAFEARRAY = 27,
    VT_CARRAY = 28,
    VT_USERDEFINED = 29,
    VT_LPSTR = 30,
    VT_LPWSTR = 31,
    VT_RECORD = 36,
    VT_ARRAY = 0x2000,
    VT_BYREF = 0x4000,
    VT_TYPEMASK = 0xFFF
};

// The nameless structs below are part of how these types are used; every compiler for this platform has them.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"

union CY {
    struct {
        ULONG Lo;
        LONG Hi;
    };
    LONGLONG int64;
};
struct DECIMAL {
    USHORT wReserved;
    union {
        struct {
            BYTE scale;
            BYTE sign;
        };
        USHORT signscale;
    };
    ULONG Hi32;
    union {
        struct {
            ULONG Lo32;
            ULONG Mid32;
        };
        ULONGLONG Lo64;
    };
};
#define DECIMAL_NEG ((BYTE)0x80)

struct IDispatch;
struct SAFEARRAY;

struct VARIANT {
    union {
        struct {
            VARTYPE vt;
            WORD wReserved1;
            WORD wReserved2;
            WORD wReserved3;
            union {
                LONGLONG llVal;
                LONG lVal;
                BYTE bVal;
                SHORT iVal;
                FLOAT fltVal;
                DOUBLE dblVal;
                VARIANT_BOOL boolVal;
                SCODE scode;
                CY cyVal;
                DATE date;
                BSTR bstrVal;
                IUnknown* punkVal;
                IDispatch* pdispVal;
                SAFEARRAY* parray;
                BYTE* pbVal;
                SHORT* piVal;
                LONG* plVal;
                LONGLONG* pllVal;
                FLOAT* pfltVal;
                DOUBLE* pdblVal;
                VARIANT_BOOL* pboolVal;
                SCODE* pscode;
                CY* pcyVal;
                DATE* pdate;
                BSTR* pbstrVal;
                IUnknown** ppunkVal;
                IDispatch** ppdispVal;
                SAFEARRAY** pparray;
                VARIANT* pvarVal;
                void* byref;
                CHAR cVal;
                USHORT uiVal;
                ULONG ulVal;
                ULONGLONG ullVal;
                INT intVal;
                UINT uintVal;
                DECIMAL* pdecVal;
                CHAR* pcVal;
                USHORT* puiVal;
                ULONG* pulVal;
                ULONGLONG* pullVal;
                INT* pintVal;
                UINT* puintVal;
                struct {
                    PVOID pvRecord;
                    void* pRecInfo;
                };
            };
        };
        DECIMAL decVal;
    };
};
#pragma GCC diagnostic pop

using VARIANTARG = VARIANT;
static_assert(offsetof(VARIANT, vt) == 0 && offsetof(VARIANT, lVal) == 8 &&
              sizeof(VARIANT) == 8 + 2 * sizeof(void*));

struct DISPPARAMS {
    VARIANTARG* rgvarg;
    DISPID* rgdispidNamedArgs;
    UINT cArgs;
    UINT cNamedArgs;
};
struct EXCEPINFO {
    WORD wCode;
    WORD wReserved;
    BSTR bstrSource;
    BSTR bstrDescription;
    BSTR bstrHelpFile;
    DWORD dwHelpContext;
    PVOID pvReserved;
    HRESULT (*pfnDeferredFillIn)(EXCEPINFO*);
    SCODE scode;
};

struct IDispatch : IUnknown {
    STDMETHOD(GetTypeInfoCount)(UINT* pctinfo) PURE;
    STDMETHOD(GetTypeInfo)(UINT iTInfo, LCID lcid, ITypeInfo** ppTInfo) PURE;
    STDMETHOD(GetIDsOfNames)(REFIID riid, LPOLESTR* rgszNames, UINT cNames, LCID lcid, DISPID* rgDispId) PURE;
    STDMETHOD(Invoke)
    (DISPID dispIdMember, REFIID riid, LCID lcid, WORD wFlags, DISPPARAMS* pDispParams, VARIANT* pVarResult,
     EXCEPINFO* pExcepInfo, UINT* puArgErr) PURE;
};

struct IErrorInfo : IUnknown {
    STDMETHOD(GetGUID)(GUID* pGUID) PURE;
    STDMETHOD(GetSource)(BSTR* pBstrSource) PURE;
    STDMETHOD(GetDescription)(BSTR* pBstrDescription) PURE;
    STDMETHOD(GetHelpFile)(BSTR* pBstrHelpFile) PURE;
    STDMETHOD(GetHelpContext)(DWORD* pdwHelpContext) PURE;
};
struct ICreateErrorInfo : IUnknown {
    STDMETHOD(SetGUID)(REFGUID rguid) PURE;
    STDMETHOD(SetSource)(LPOLESTR szSource) PURE;
    STDMETHOD(SetDescription)(LPOLESTR szDescription) PURE;
    STDMETHOD(SetHelpFile)(LPOLESTR szHelpFile) PURE;
    STDMETHOD(SetHelpContext)(DWORD dwHelpContext) PURE;
};
struct ISupportErrorInfo : IUnknown {
    STDMETHOD(InterfaceSupportsErrorInfo)(REFIID riid) PURE;
};

inline constexpr IID IID_IDispatch = {0x00020400, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IErrorInfo = {
    0x1CF2B120, 0x547D, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};
inline constexpr IID IID_ICreateErrorInfo = {
    0x22F03340, 0x547D, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};
inline constexpr IID IID_ISupportErrorInfo = {
    0xDF0B3D60, 0x548F, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};
