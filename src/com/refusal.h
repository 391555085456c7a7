// How a refusal reaches the person before the host: a text in the thread's error object.
#pragma once

#include <bvschema/platform.h>

#include "com/strings.h"

namespace bv {

/// Puts a text in the thread's error object. source: the class that refuses, whose ProgID becomes the source.
/// Gives the status, or DISP_E_EXCEPTION when that is 0.
HRESULT RaiseError(REFCLSID source, const char* text, REFIID iid, HRESULT status);
/// The same with a text of the string table. Gives E_FAIL.
HRESULT RaiseMessage(REFCLSID source, int id);

}  // namespace bv
