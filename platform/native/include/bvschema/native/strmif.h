// The media framework, as far as settings need it: media types, filters, the device enumerator.
#pragma once

#include "oaidl.h"
#include "objidl.h"

struct _AMMediaType {
    GUID majortype;
    GUID subtype;
    BOOL bFixedSizeSamples;
    BOOL bTemporalCompression;
    ULONG lSampleSize;
    GUID formattype;
    IUnknown* pUnk;
    ULONG cbFormat;
    BYTE* pbFormat;
};
using AM_MEDIA_TYPE = _AMMediaType;

/// A sound format, 18 bytes without gaps; cbSize more follow.
#pragma pack(push, 1)
struct WAVEFORMATEX {
    WORD wFormatTag;
    WORD nChannels;
    DWORD nSamplesPerSec;
    DWORD nAvgBytesPerSec;
    WORD nBlockAlign;
    WORD wBitsPerSample;
    WORD cbSize;
};
#pragma pack(pop)
static_assert(sizeof(WAVEFORMATEX) == 18);

using REFERENCE_TIME = LONGLONG;
enum FILTER_STATE { State_Stopped, State_Paused, State_Running };

struct IEnumPins;
struct IFilterGraph;
struct IPin;
struct IReferenceClock;
struct _FilterInfo;
using FILTER_INFO = _FilterInfo;

struct IMediaFilter : IPersist {
    STDMETHOD(Stop)() PURE;
    STDMETHOD(Pause)() PURE;
    STDMETHOD(Run)(REFERENCE_TIME tStart) PURE;
    STDMETHOD(GetState)(DWORD dwMilliSecsTimeout, FILTER_STATE* State) PURE;
    STDMETHOD(SetSyncSource)(IReferenceClock* pClock) PURE;
    STDMETHOD(GetSyncSource)(IReferenceClock** pClock) PURE;
};

struct IBaseFilter : IMediaFilter {
    STDMETHOD(EnumPins)(IEnumPins** ppEnum) PURE;
    STDMETHOD(FindPin)(LPCWSTR Id, IPin** ppPin) PURE;
    STDMETHOD(QueryFilterInfo)(FILTER_INFO* pInfo) PURE;
    STDMETHOD(JoinFilterGraph)(IFilterGraph* pGraph, LPCWSTR pName) PURE;
    STDMETHOD(QueryVendorInfo)(LPWSTR* pVendorInfo) PURE;
};

struct IErrorLog;  // always null here

struct IPropertyBag : IUnknown {
    /// The caller clears *pVar, which must be initialised. E_INVALIDARG for an unknown name.
    STDMETHOD(Read)(LPCOLESTR pszPropName, VARIANT* pVar, IErrorLog* pErrorLog) PURE;
    STDMETHOD(Write)(LPCOLESTR pszPropName, VARIANT* pVar) PURE;
};

struct ICreateDevEnum : IUnknown {
    /// The components announced below HKEY_CLASSES_ROOT, CLSID\{category}\Instance. S_FALSE and null: none.
    STDMETHOD(CreateClassEnumerator)
    (REFCLSID clsidDeviceClass, IEnumMoniker** ppEnumMoniker, DWORD dwFlags) PURE;
};

inline constexpr CLSID CLSID_SystemDeviceEnum = {
    0x62BE5D10, 0x60EB, 0x11D0, {0xBD, 0x3B, 0x00, 0xA0, 0xC9, 0x11, 0xCE, 0x86}};
inline constexpr IID IID_IMediaFilter = {
    0x56A86899, 0x0AD4, 0x11CE, {0xB0, 0x3A, 0x00, 0x20, 0xAF, 0x0B, 0xA7, 0x70}};
inline constexpr IID IID_IBaseFilter = {
    0x56A86895, 0x0AD4, 0x11CE, {0xB0, 0x3A, 0x00, 0x20, 0xAF, 0x0B, 0xA7, 0x70}};
inline constexpr IID IID_ICreateDevEnum = {
    0x29840822, 0x5B84, 0x11D0, {0xBD, 0x3B, 0x00, 0xA0, 0xC9, 0x11, 0xCE, 0x86}};
inline constexpr IID IID_IPropertyBag = {
    0x55272A00, 0x42CB, 0x11CE, {0x81, 0x35, 0x00, 0xAA, 0x00, 0x4B, 0xB8, 0x51}};
