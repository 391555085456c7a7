#include "com/bounded_release.h"

#include <vector>

#include "com/byte_block.h"

namespace bv {
namespace {

constexpr int kDeepest = 1000;
thread_local int depth = 0;
thread_local std::vector<IUnknown*>* waiting = nullptr;  // from kDeepest on

}  // namespace

void ReleaseBounded(IUnknown* reference) {
    if (waiting && TryAppend(*waiting, reference)) return;
    std::vector<IUnknown*> later;
    if (++depth == kDeepest) waiting = &later;
    reference->Release();
    if (depth == kDeepest) {
        while (!later.empty()) {
            IUnknown* const next = later.back();
            later.pop_back();
            next->Release();
        }
        waiting = nullptr;
    }
    --depth;
}

}  // namespace bv
