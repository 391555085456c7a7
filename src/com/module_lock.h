#pragma once

#include <bvschema/platform.h>

#include <atomic>

namespace bv {

/// What keeps the module from being unloaded: living objects, LockServer calls, class objects held from
/// outside.
inline std::atomic<LONG> module_locks{0};

inline void LockModule() { module_locks.fetch_add(1, std::memory_order_relaxed); }
inline void UnlockModule() { module_locks.fetch_sub(1, std::memory_order_release); }

}  // namespace bv
