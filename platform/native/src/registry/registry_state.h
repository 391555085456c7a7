// For who keeps what he has made of the registry.
#pragma once

#include <cstdint>

namespace bv::platform {

/// Stands for what the registry holds for this thread: the same number before something was read and later
/// means that it would be read again. 0: nothing may be kept. Costs a lock that is held for moments.
std::uint64_t RegistryState();

}  // namespace bv::platform
