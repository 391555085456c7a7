// Type libraries: what a module's interfaces, records and classes look like to callers that learn of them
// while they run. Operations that nothing here would answer aren't declared. Included by oaidl.h.
#pragma once

#include "unknwn.h"

using BSTR = wchar_t*;
using MEMBERID = DISPID;
using HREFTYPE = DWORD;
#define MEMBERID_NIL ((MEMBERID)-1)
#define DISPID_UNKNOWN ((DISPID)-1)
#define DISPID_VALUE 0
#define DISPID_PROPERTYPUT (-3)
#define DISPATCH_METHOD 0x1
#define DISPATCH_PROPERTYGET 0x2
#define DISPATCH_PROPERTYPUT 0x4
#define DISPATCH_PROPERTYPUTREF 0x8

enum TYPEKIND {
    TKIND_ENUM,
    TKIND_RECORD,
    TKIND_MODULE,
    TKIND_INTERFACE,
    TKIND_DISPATCH,
    TKIND_COCLASS,
    TKIND_ALIAS,
    TKIND_UNION,
    TKIND_MAX
};
enum SYSKIND { SYS_WIN16, SYS_WIN32, SYS_MAC, SYS_WIN64 };
enum CALLCONV { CC_FASTCALL, CC_CDECL, CC_PASCAL, CC_MACPASCAL, CC_STDCALL };
enum FUNCKIND { FUNC_VIRTUAL, FUNC_PUREVIRTUAL, FUNC_NONVIRTUAL, FUNC_STATIC, FUNC_DISPATCH };
enum INVOKEKIND {
    INVOKE_FUNC = 1,
    INVOKE_PROPERTYGET = 2,
    INVOKE_PROPERTYPUT = 4,
    INVOKE_PROPERTYPUTREF = 8
};
enum VARKIND { VAR_PERINSTANCE, VAR_STATIC, VAR_CONST, VAR_DISPATCH };

#define PARAMFLAG_FIN 0x1
#define PARAMFLAG_FOUT 0x2
#define PARAMFLAG_FRETVAL 0x8
#define PARAMFLAG_FOPT 0x10
#define FUNCFLAG_FRESTRICTED 0x1
#define TYPEFLAG_FCANCREATE 0x2
#define TYPEFLAG_FDUAL 0x40
#define TYPEFLAG_FNONEXTENSIBLE 0x80
#define TYPEFLAG_FOLEAUTOMATION 0x100
#define TYPEFLAG_FDISPATCHABLE 0x1000
#define IMPLTYPEFLAG_FDEFAULT 0x1
#define LIBFLAG_FHASDISKIMAGE 0x8

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"  // nameless unions, as in oaidl.h

struct ARRAYDESC;
struct TYPEDESC {
    union {
        TYPEDESC* lptdesc;   // VT_PTR
        ARRAYDESC* lpadesc;  // VT_CARRAY
        HREFTYPE hreftype;   // VT_USERDEFINED
    };
    unsigned short vt;
};
struct SAFEARRAYBOUND {
    ULONG cElements;
    LONG lLbound;
};
struct ARRAYDESC {
    TYPEDESC tdescElem;
    USHORT cDims;
    SAFEARRAYBOUND rgbounds[1];
};
struct PARAMDESCEX;  // default values: always null here
struct PARAMDESC {
    PARAMDESCEX* pparamdescex;
    USHORT wParamFlags;
};
struct IDLDESC {
    ULONG_PTR dwReserved;
    USHORT wIDLFlags;
};
struct ELEMDESC {
    TYPEDESC tdesc;
    union {
        IDLDESC idldesc;
        PARAMDESC paramdesc;
    };
};
struct FUNCDESC {
    MEMBERID memid;
    SCODE* lprgscode;
    ELEMDESC* lprgelemdescParam;
    FUNCKIND funckind;
    INVOKEKIND invkind;
    CALLCONV callconv;
    SHORT cParams;
    SHORT cParamsOpt;
    SHORT oVft;
    SHORT cScodes;
    ELEMDESC elemdescFunc;
    WORD wFuncFlags;
};
struct VARIANT;
struct VARDESC {
    MEMBERID memid;
    LPOLESTR lpstrSchema;
    union {
        ULONG oInst;
        VARIANT* lpvarValue;
    };
    ELEMDESC elemdescVar;
    WORD wVarFlags;
    VARKIND varkind;
};
#pragma GCC diagnostic pop

struct TYPEATTR {
    GUID guid;
    LCID lcid;
    DWORD dwReserved;
    MEMBERID memidConstructor;
    MEMBERID memidDestructor;
    LPOLESTR lpstrSchema;
    ULONG cbSizeInstance;
    TYPEKIND typekind;
    WORD cFuncs;
    WORD cVars;
    WORD cImplTypes;
    WORD cbSizeVft;
    WORD cbAlignment;
    WORD wTypeFlags;
    WORD wMajorVerNum;
    WORD wMinorVerNum;
    TYPEDESC tdescAlias;
    IDLDESC idldescType;
};
struct TLIBATTR {
    GUID guid;
    LCID lcid;
    SYSKIND syskind;
    WORD wMajorVerNum;
    WORD wMinorVerNum;
    WORD wLibFlags;
};

struct DISPPARAMS;
struct EXCEPINFO;
struct ITypeLib;

/// One type of a library. A dual interface has two of them: the dispatch side (TKIND_DISPATCH), which the
/// library gives and which lists the operations of all bases too, results as a script sees them; and the
/// table side (TKIND_INTERFACE), which the dispatch side refers to by GetRefTypeOfImplType(-1), with its own
/// operations alone, as they are called.
struct ITypeInfo : IUnknown {
    /// A description that is got here is given back by the Release operation of its kind.
    STDMETHOD(GetTypeAttr)(TYPEATTR** ppTypeAttr) PURE;
    /// TYPE_E_ELEMENTNOTFOUND past the last one.
    STDMETHOD(GetFuncDesc)(UINT index, FUNCDESC** ppFuncDesc) PURE;
    STDMETHOD(GetVarDesc)(UINT index, VARDESC** ppVarDesc) PURE;
    /// The name of the first operation or field of that id, then those of its parameters, as many as there is
    /// room for; the value of a write has none.
    STDMETHOD(GetNames)(MEMBERID memid, BSTR* rgBstrNames, UINT cMaxNames, UINT* pcNames) PURE;
    STDMETHOD(GetRefTypeOfImplType)(UINT index, HREFTYPE* pRefType) PURE;
    STDMETHOD(GetImplTypeFlags)(UINT index, INT* pImplTypeFlags) PURE;
    /// An operation's name, then names of its parameters, without regard to case: the id and the parameters'
    /// places. DISP_E_UNKNOWNNAME when one isn't there, whose id is then -1.
    STDMETHOD(GetIDsOfNames)(LPOLESTR* rgszNames, UINT cNames, MEMBERID* pMemId) PURE;
    /// Calls an operation of the interface that pvInstance points to. Arguments are converted by Automation's
    /// rules and stay the caller's; one that is left out, or given as VT_ERROR with DISP_E_PARAMNOTFOUND,
    /// must be optional. An object is asked for the parameter's interface. A result by reference goes
    /// straight to a place of its own kind, or through a VT_VARIANT. What the operation gives ends in
    /// *pVarResult, which may be null. DISP_E_MEMBERNOTFOUND, DISP_E_BADPARAMCOUNT, DISP_E_PARAMNOTFOUND,
    /// DISP_E_PARAMNOTOPTIONAL, DISP_E_TYPEMISMATCH, DISP_E_OVERFLOW, with the place in rgvarg of a bad
    /// argument in *puArgErr; DISP_E_BADVARTYPE for an operation whose arguments can't be held by a VARIANT
    /// (records, pointers to pointers): nothing was called then. DISP_E_EXCEPTION when the operation failed:
    /// *pExcepInfo has its status as scode, and what the thread's error object tells, which is taken. All
    /// other statuses are S_OK.
    STDMETHOD(Invoke)
    (PVOID pvInstance, MEMBERID memid, WORD wFlags, DISPPARAMS* pDispParams, VARIANT* pVarResult,
     EXCEPINFO* pExcepInfo, UINT* puArgErr) PURE;
    /// MEMBERID_NIL: of the type itself. Each place may be null.
    STDMETHOD(GetDocumentation)
    (MEMBERID memid, BSTR* pBstrName, BSTR* pBstrDocString, DWORD* pdwHelpContext, BSTR* pBstrHelpFile) PURE;
    STDMETHOD(GetRefTypeInfo)(HREFTYPE hRefType, ITypeInfo** ppTInfo) PURE;
    /// A new object of a class (TKIND_COCLASS).
    STDMETHOD(CreateInstance)(IUnknown* pUnkOuter, REFIID riid, PVOID* ppvObj) PURE;
    STDMETHOD(GetContainingTypeLib)(ITypeLib** ppTLib, UINT* pIndex) PURE;
    STDMETHOD_(void, ReleaseTypeAttr)(TYPEATTR* pTypeAttr) PURE;
    STDMETHOD_(void, ReleaseFuncDesc)(FUNCDESC* pFuncDesc) PURE;
    STDMETHOD_(void, ReleaseVarDesc)(VARDESC* pVarDesc) PURE;
};

struct ITypeLib : IUnknown {
    STDMETHOD_(UINT, GetTypeInfoCount)() PURE;
    STDMETHOD(GetTypeInfo)(UINT index, ITypeInfo** ppTInfo) PURE;
    STDMETHOD(GetTypeInfoType)(UINT index, TYPEKIND* pTKind) PURE;
    /// TYPE_E_ELEMENTNOTFOUND when no type has that id.
    STDMETHOD(GetTypeInfoOfGuid)(REFGUID guid, ITypeInfo** ppTinfo) PURE;
    STDMETHOD(GetLibAttr)(TLIBATTR** ppTLibAttr) PURE;
    /// -1: of the library itself. Each place may be null.
    STDMETHOD(GetDocumentation)
    (INT index, BSTR* pBstrName, BSTR* pBstrDocString, DWORD* pdwHelpContext, BSTR* pBstrHelpFile) PURE;
    STDMETHOD_(void, ReleaseTLibAttr)(TLIBATTR* pTLibAttr) PURE;
};

inline constexpr IID IID_ITypeInfo = {0x00020401, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_ITypeLib = {0x00020402, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
