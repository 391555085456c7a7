// The component model's own names: here the system's real headers supply them.
#pragma once

#include <windows.h>
//
// Else the media framework's header makes the language's own text functions unusable for all
// who include this.
#ifndef NO_DSHOW_STRSAFE
#define NO_DSHOW_STRSAFE
#endif
#include <comdef.h>
#include <dshow.h>
#include <msxml.h>
#include <oleauto.h>
#include <shlwapi.h>

#ifdef _MSC_VER
#define BV_DECLARE_UUID(Type, text) struct __declspec(uuid(text)) Type;
#else
#define BV_DECLARE_UUID(Type, text)                 \
    template <>                                     \
    constexpr const GUID& __mingw_uuidof<Type>() {  \
        return ::bv::kIid<Type>;                    \
    }                                               \
    template <>                                     \
    constexpr const GUID& __mingw_uuidof<Type*>() { \
        return ::bv::kIid<Type>;                    \
    }
#endif
