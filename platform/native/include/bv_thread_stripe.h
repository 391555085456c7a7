// What many threads count or keep lies in stripes, so that they seldom meet: which one is this thread's.
#pragma once

#include <cstdint>

/// A number below 16 that stays with the thread; others may have the same. A few instructions.
inline unsigned BvThreadStripe() {
    // Threads' own data lie pages apart.
    const auto data = reinterpret_cast<std::uintptr_t>(__builtin_thread_pointer());
    return static_cast<std::uint32_t>(data >> 12) * 0x9E3779B1u >> 28;
}
