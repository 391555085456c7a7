// The component model's own names: here the platform layer supplies them.
#pragma once

#include <windows.h>
//
#include <dshow.h>
#include <objbase.h>
#include <oleauto.h>
#include <shlwapi.h>

#define BV_DECLARE_UUID(Type, text)
