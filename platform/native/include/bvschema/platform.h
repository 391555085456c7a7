// The component model's own names: here the platform layer supplies them.
#pragma once

#include "native/windows.h"
//
#include "native/dshow.h"
#include "native/msxml.h"
#include "native/objbase.h"
#include "native/oleauto.h"
#include "native/shlwapi.h"

#define BV_DECLARE_UUID(Type, text)
