#include "com/block_pool.h"

#include <bv_thread_stripe.h>

#include <atomic>
#include <cstdlib>

namespace bv {
namespace {

#ifndef __has_feature  // clang tells of its sanitizers by this alone
#define __has_feature(name) 0
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || __has_feature(address_sanitizer) || \
    __has_feature(thread_sanitizer)
constexpr bool kKeeps = false;  // the sanitizer watches each block's end
#else
constexpr bool kKeeps = true;
#endif

constexpr std::size_t kStep = 16;      // sizes are kept apart in steps of so many bytes ...
constexpr std::size_t kLargest = 984;  // ... up to this one
constexpr unsigned kMost = 256;        // blocks of a size

/// 8 above a step: the heap's own 8 bytes fill the step then.
constexpr std::size_t Rounded(std::size_t size) { return (size + 7) / kStep * kStep + 8; }
static_assert(Rounded(kLargest) == kLargest);

struct Kept {
    Kept* next;
};

/// Kept blocks by their size. Who meets another thread here goes to the heap and doesn't wait.
class alignas(64) Stripe {
public:
    ~Stripe() {
        for (auto& list : lists_)
            while (Kept* block = list.first) {
                list.first = block->next;
                std::free(block);
            }
    }
    void* Take(std::size_t place) {
        Kept* block = nullptr;
        if (busy_.exchange(true, std::memory_order_acquire)) return nullptr;
        List& list = lists_[place];
        if ((block = list.first)) {
            list.first = block->next;
            --list.count;
        }
        busy_.store(false, std::memory_order_release);
        return block;
    }
    bool Give(std::size_t place, void* memory) {
        if (busy_.exchange(true, std::memory_order_acquire)) return false;
        List& list = lists_[place];
        const bool kept = list.count < kMost;
        if (kept) {
            list.first = new (memory) Kept{list.first};
            ++list.count;
        }
        busy_.store(false, std::memory_order_release);
        return kept;
    }

private:
    struct List {
        Kept* first = nullptr;
        unsigned count = 0;
    };
    std::atomic<bool> busy_{false};
    List lists_[kLargest / kStep + 1];
};

Stripe stripes[16];

Stripe& Mine() { return stripes[BvThreadStripe()]; }

}  // namespace

void* AllocateBlock(std::size_t size) noexcept {
    size = Rounded(size);
    if (kKeeps && size <= kLargest)
        if (void* block = Mine().Take(size / kStep)) return block;
    return std::malloc(size);
}

void FreeBlock(void* block, std::size_t size) noexcept {
    size = Rounded(size);
    if (block && kKeeps && size <= kLargest && Mine().Give(size / kStep, block)) return;
    std::free(block);
}

}  // namespace bv
