// Registration of the module: each class by its script, then the type library.
#pragma once

#include <bvschema/platform.h>

namespace bv {

/// Runs the classes' scripts in table order and stops at the first that fails, with its status; those before
/// it stay.
HRESULT RegisterServer();
/// Takes back what the scripts wrote, whatever fails. S_OK.
HRESULT UnregisterServer();

}  // namespace bv
