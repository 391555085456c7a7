// Basic types, calling-convention words and status codes under their Windows names.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <cwchar>

using BOOL = int;
using WINBOOL = int;
using BYTE = unsigned char;
using CHAR = char;
using SHORT = std::int16_t;
using USHORT = std::uint16_t;
using WORD = std::uint16_t;
using INT = int;
using UINT = unsigned int;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using DWORD = std::uint32_t;
using LONGLONG = long long;
using ULONGLONG = unsigned long long;
using INT_PTR = std::intptr_t;
using UINT_PTR = std::uintptr_t;
using LONG_PTR = std::intptr_t;
using ULONG_PTR = std::uintptr_t;
using DWORD_PTR = std::uintptr_t;
using SIZE_T = std::size_t;
using FLOAT = float;
using DOUBLE = double;
using WCHAR = wchar_t;
using OLECHAR = wchar_t;
using LPSTR = char*;
using LPCSTR = const char*;
using LPWSTR = wchar_t*;
using LPCWSTR = const wchar_t*;
using LPOLESTR = wchar_t*;
using LPCOLESTR = const wchar_t*;
#define OLESTR(text) L##text
using LPBYTE = BYTE*;
using LPVOID = void*;
using LPCVOID = const void*;
using PVOID = void*;
using HRESULT = std::int32_t;
using SCODE = std::int32_t;
using LCID = DWORD;
using LPDWORD = DWORD*;
using LPCLSID = struct GUID*;
using DISPID = LONG;

using HANDLE = void*;
struct HWND__;
using HWND = HWND__*;
struct HMODULE__;
using HMODULE = HMODULE__*;
using HINSTANCE = HMODULE;
struct HRSRC__;
using HRSRC = HRSRC__*;
using HGLOBAL = void*;
struct HKEY__;
using HKEY = HKEY__*;
using REGSAM = DWORD;
using LSTATUS = LONG;
using PHKEY = HKEY*;
using FARPROC = INT_PTR (*)();
struct SECURITY_ATTRIBUTES;
using LPSECURITY_ATTRIBUTES = SECURITY_ATTRIBUTES*;  // always null here

/// 100 ns units since 1601, in two halves.
struct FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};
using PFILETIME = FILETIME*;

struct GUID {
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];
};
using IID = GUID;
using CLSID = GUID;
using REFGUID = const GUID&;
using REFIID = const IID&;
using REFCLSID = const CLSID&;
inline bool operator==(const GUID& a, const GUID& b) { return std::memcmp(&a, &b, sizeof a) == 0; }
inline bool IsEqualGUID(REFGUID a, REFGUID b) { return a == b; }
inline bool IsEqualIID(REFIID a, REFIID b) { return a == b; }
inline bool IsEqualCLSID(REFCLSID a, REFCLSID b) { return a == b; }
inline constexpr GUID GUID_NULL = {};
inline constexpr IID IID_NULL = {};
inline constexpr CLSID CLSID_NULL = {};

#define TRUE 1
#define FALSE 0
#define MAX_PATH 4096  // bytes of a path with its NUL, as the system has it
#define WINAPI
#define CALLBACK
#define STDMETHODCALLTYPE
#define STDAPICALLTYPE
#define STDMETHOD(method) virtual HRESULT STDMETHODCALLTYPE method
#define STDMETHOD_(type, method) virtual type STDMETHODCALLTYPE method
#define STDMETHODIMP HRESULT STDMETHODCALLTYPE
#define STDMETHODIMP_(type) type STDMETHODCALLTYPE
// An operation that a module exports: modules hide everything else.
#define STDAPI extern "C" __attribute__((visibility("default"))) HRESULT STDAPICALLTYPE
#define PURE = 0

#define SUCCEEDED(hr) ((HRESULT)(hr) >= 0)
#define FAILED(hr) ((HRESULT)(hr) < 0)
#define HRESULT_FROM_WIN32(x) ((HRESULT)(x) <= 0 ? (HRESULT)(x) : (HRESULT)(((x)&0x0000FFFF) | 0x80070000u))

#define S_OK ((HRESULT)0)
#define S_FALSE ((HRESULT)1)
#define E_NOTIMPL ((HRESULT)0x80004001u)
#define E_NOINTERFACE ((HRESULT)0x80004002u)
#define E_POINTER ((HRESULT)0x80004003u)
#define E_ABORT ((HRESULT)0x80004004u)
#define E_FAIL ((HRESULT)0x80004005u)
#define E_UNEXPECTED ((HRESULT)0x8000FFFFu)
#define E_ACCESSDENIED ((HRESULT)0x80070005u)
#define E_OUTOFMEMORY ((HRESULT)0x8007000Eu)
#define E_INVALIDARG ((HRESULT)0x80070057u)
#define CLASS_E_NOAGGREGATION ((HRESULT)0x80040110u)
#define CLASS_E_CLASSNOTAVAILABLE ((HRESULT)0x80040111u)
#define REGDB_E_READREGDB ((HRESULT)0x80040150u)
#define REGDB_E_CLASSNOTREG ((HRESULT)0x80040154u)
#define CO_E_NOTINITIALIZED ((HRESULT)0x800401F0u)
#define CO_E_CLASSSTRING ((HRESULT)0x800401F3u)
#define CO_E_DLLNOTFOUND ((HRESULT)0x800401F8u)
#define CO_E_ERRORINDLL ((HRESULT)0x800401F9u)
#define CO_E_OBJNOTREG ((HRESULT)0x800401FBu)
#define RPC_E_CHANGED_MODE ((HRESULT)0x80010106u)
#define STG_E_MEDIUMFULL ((HRESULT)0x80030070u)
#define DISP_E_MEMBERNOTFOUND ((HRESULT)0x80020003u)
#define DISP_E_PARAMNOTFOUND ((HRESULT)0x80020004u)
#define DISP_E_TYPEMISMATCH ((HRESULT)0x80020005u)
#define DISP_E_UNKNOWNNAME ((HRESULT)0x80020006u)
#define DISP_E_NONAMEDARGS ((HRESULT)0x80020007u)
#define DISP_E_BADVARTYPE ((HRESULT)0x80020008u)
#define DISP_E_EXCEPTION ((HRESULT)0x80020009u)
#define DISP_E_OVERFLOW ((HRESULT)0x8002000Au)
#define DISP_E_BADINDEX ((HRESULT)0x8002000Bu)
#define DISP_E_BADPARAMCOUNT ((HRESULT)0x8002000Eu)
#define DISP_E_PARAMNOTOPTIONAL ((HRESULT)0x8002000Fu)
#define DISP_E_BADCALLEE ((HRESULT)0x80020010u)
#define TYPE_E_ELEMENTNOTFOUND ((HRESULT)0x8002802Bu)
#define TYPE_E_LIBNOTREGISTERED ((HRESULT)0x8002801Du)
#define TYPE_E_REGISTRYACCESS ((HRESULT)0x8002801Cu)
#define TYPE_E_CANTLOADLIBRARY ((HRESULT)0x80029C4Au)

// What the layer's library exports.
#define BV_PLATFORM_API __attribute__((visibility("default")))
