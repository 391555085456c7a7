// Several changes of the registry as one step, on a system that has no such steps for everybody: each call is done when
// it returns.
#pragma once

#include <bvschema/platform.h>

namespace bv {

class RegistryChange {
public:
    RegistryChange() = default;
    RegistryChange(const RegistryChange&) = delete;
    RegistryChange& operator=(const RegistryChange&) = delete;
    HRESULT Begin() { return S_OK; }
    HRESULT Keep() { return S_OK; }
};

}  // namespace bv
