#pragma once

#include <bv_thread_stripe.h>
#include <bvschema/platform.h>

#include <atomic>
#include <cstdint>

namespace bv {

/// What keeps the module from being unloaded: living objects, LockServer calls, class objects held from outside.
/// Each thread counts in a stripe of its own: one count for all makes two threads that build trees slower than one.
/// A thread may end what another has made, so a stripe alone says nothing, and may be below 0; their sum is the count.
class ModuleLocks {
public:
    static void Add() { Mine().fetch_add(kCall + 1, std::memory_order_relaxed); }
    static void Drop() { Mine().fetch_add(kCall - 1, std::memory_order_release); }
    /// Whether there is none. While others add and drop the answer is no.
    static bool None() {
        const std::uint64_t sum = Sum();
        // Calls only grow: the same number of them twice means that no stripe has changed between.
        return std::uint32_t(sum) == 0 && sum == Sum();
    }

private:
    static constexpr std::uint64_t kCall = 1ull << 32;  // above the count: how often it was called
    struct alignas(64) Stripe {
        std::atomic<std::uint64_t> calls_and_count;
    };
    static std::atomic<std::uint64_t>& Mine() { return stripes_[BvThreadStripe()].calls_and_count; }
    static std::uint64_t Sum() {
        std::uint64_t sum = 0;
        for (const Stripe& stripe : stripes_) sum += stripe.calls_and_count.load(std::memory_order_acquire);
        return sum;
    }
    static inline Stripe stripes_[16];
};

inline void LockModule() { ModuleLocks::Add(); }
inline void UnlockModule() { ModuleLocks::Drop(); }

}  // namespace bv
