// The interface that all others begin with, and the class object's.
#pragma once

#include "windef.h"

struct IUnknown {
    STDMETHOD(QueryInterface)(REFIID riid, void** ppvObject) PURE;
    STDMETHOD_(ULONG, AddRef)() PURE;
    STDMETHOD_(ULONG, Release)() PURE;
};
using LPUNKNOWN = IUnknown*;

struct IClassFactory : IUnknown {
    STDMETHOD(CreateInstance)(IUnknown* pUnkOuter, REFIID riid, void** ppvObject) PURE;
    STDMETHOD(LockServer)(BOOL fLock) PURE;
};

inline constexpr IID IID_IUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IClassFactory = {0x00000001, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
