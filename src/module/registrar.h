// Registration of the module: each class by its script, then the type library.
#pragma once

#include <bvschema/platform.h>

namespace bv {

// Each is one step of the registry, where the platform has such steps.

/// Runs the classes' scripts in table order and stops at the first that fails, with its status; those before
/// it stay. When the registry itself fails, nothing stays.
HRESULT RegisterServer();
/// Takes back what the scripts wrote, whatever fails. S_OK, also when the registry fails and all stays as it
/// was: whoever must know looks.
HRESULT UnregisterServer();

}  // namespace bv
