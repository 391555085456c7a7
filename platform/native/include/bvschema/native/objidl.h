// Streams, persistence, monikers.
#pragma once

#include "unknwn.h"

struct ISequentialStream : IUnknown {
    STDMETHOD(Read)(void* pv, ULONG cb, ULONG* pcbRead) PURE;
    STDMETHOD(Write)(const void* pv, ULONG cb, ULONG* pcbWritten) PURE;
};

struct IPersist : IUnknown {
    STDMETHOD(GetClassID)(CLSID* pClassID) PURE;
};

struct IStream;
union ULARGE_INTEGER;

struct IPersistStream : IPersist {
    STDMETHOD(IsDirty)() PURE;
    STDMETHOD(Load)(IStream* pStm) PURE;
    STDMETHOD(Save)(IStream* pStm, BOOL fClearDirty) PURE;
    STDMETHOD(GetSizeMax)(ULARGE_INTEGER* pcbSize) PURE;
};

struct IBindCtx;  // always null here
struct IEnumMoniker;

/// A name for an object that can be made from it.
struct IMoniker : IPersistStream {
    STDMETHOD(BindToObject)(IBindCtx* pbc, IMoniker* pmkToLeft, REFIID riidResult, void** ppvResult) PURE;
    STDMETHOD(BindToStorage)(IBindCtx* pbc, IMoniker* pmkToLeft, REFIID riid, void** ppvObj) PURE;
    STDMETHOD(Reduce)
    (IBindCtx* pbc, DWORD dwReduceHowFar, IMoniker** ppmkToLeft, IMoniker** ppmkReduced) PURE;
    STDMETHOD(ComposeWith)(IMoniker* pmkRight, BOOL fOnlyIfNotGeneric, IMoniker** ppmkComposite) PURE;
    STDMETHOD(Enum)(BOOL fForward, IEnumMoniker** ppenumMoniker) PURE;
    STDMETHOD(IsEqual)(IMoniker* pmkOtherMoniker) PURE;
    STDMETHOD(Hash)(DWORD* pdwHash) PURE;
    STDMETHOD(IsRunning)(IBindCtx* pbc, IMoniker* pmkToLeft, IMoniker* pmkNewlyRunning) PURE;
    STDMETHOD(GetTimeOfLastChange)(IBindCtx* pbc, IMoniker* pmkToLeft, FILETIME* pFileTime) PURE;
    STDMETHOD(Inverse)(IMoniker** ppmk) PURE;
    STDMETHOD(CommonPrefixWith)(IMoniker* pmkOther, IMoniker** ppmkPrefix) PURE;
    STDMETHOD(RelativePathTo)(IMoniker* pmkOther, IMoniker** ppmkRelPath) PURE;
    STDMETHOD(GetDisplayName)(IBindCtx* pbc, IMoniker* pmkToLeft, LPOLESTR* ppszDisplayName) PURE;
    STDMETHOD(ParseDisplayName)
    (IBindCtx* pbc, IMoniker* pmkToLeft, LPOLESTR pszDisplayName, ULONG* pchEaten, IMoniker** ppmkOut) PURE;
    STDMETHOD(IsSystemMoniker)(DWORD* pdwMksys) PURE;
};

struct IEnumMoniker : IUnknown {
    /// S_FALSE when fewer than celt are left. pceltFetched may be null for one.
    STDMETHOD(Next)(ULONG celt, IMoniker** rgelt, ULONG* pceltFetched) PURE;
    STDMETHOD(Skip)(ULONG celt) PURE;
    STDMETHOD(Reset)() PURE;
    STDMETHOD(Clone)(IEnumMoniker** ppenum) PURE;
};

inline constexpr IID IID_ISequentialStream = {
    0x0C733A30, 0x2A1C, 0x11CE, {0xAD, 0xE5, 0x00, 0xAA, 0x00, 0x44, 0x77, 0x3D}};
inline constexpr IID IID_IPersist = {0x0000010C, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IPersistStream = {0x00000109, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IMoniker = {0x0000000F, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IEnumMoniker = {0x00000102, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
