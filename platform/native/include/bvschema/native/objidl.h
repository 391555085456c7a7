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

struct IBindCtx;  // always null here

/// A name for an object that can be made from it. It is bound, and nothing else can be done with it.
struct IMoniker : IUnknown {
    STDMETHOD(BindToObject)(IBindCtx* pbc, IMoniker* pmkToLeft, REFIID riidResult, void** ppvResult) PURE;
    STDMETHOD(BindToStorage)(IBindCtx* pbc, IMoniker* pmkToLeft, REFIID riid, void** ppvObj) PURE;
};

struct IEnumMoniker : IUnknown {
    /// S_FALSE when fewer than celt are left. pceltFetched may be null for one.
    STDMETHOD(Next)(ULONG celt, IMoniker** rgelt, ULONG* pceltFetched) PURE;
};

inline constexpr IID IID_ISequentialStream = {
    0x0C733A30, 0x2A1C, 0x11CE, {0xAD, 0xE5, 0x00, 0xAA, 0x00, 0x44, 0x77, 0x3D}};
inline constexpr IID IID_IPersist = {0x0000010C, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IMoniker = {0x0000000F, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IEnumMoniker = {0x00000102, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
