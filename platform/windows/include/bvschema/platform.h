// The component model's own names: here the system's real headers supply them.
#pragma once

#include <windows.h>
//
#include <comdef.h>
#include <dshow.h>
#include <oleauto.h>
#include <shlwapi.h>

#ifdef _MSC_VER
#define BV_DECLARE_UUID(Type, text) struct __declspec(uuid(text)) Type;
#else
#define BV_DECLARE_UUID(Type, text)                                             \
    template <>                                                                 \
    constexpr const GUID& __mingw_uuidof<Type>() { return ::bv::kIid<Type>; }   \
    template <>                                                                 \
    constexpr const GUID& __mingw_uuidof<Type*>() { return ::bv::kIid<Type>; }
#endif
