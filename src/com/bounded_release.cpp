#include "com/bounded_release.h"

#include "com/byte_block.h"

namespace bv {
namespace {

constexpr int kDeepest = 1000;
constinit thread_local ReleaseDepth of_thread;

}  // namespace

ReleaseDepth& ReleaseDepth::OfThread() { return of_thread; }

void ReleaseBounded(IUnknown* reference, ReleaseDepth& depth) {
    if (depth.releases + 1 >= kDeepest) return depth.ReleaseDeepest(reference);
    ++depth.releases;
    reference->Release();
    --depth.releases;
}

void ReleaseDepth::ReleaseDeepest(IUnknown* reference) {
    if (waiting && TryAppend(*waiting, reference)) return;
    std::vector<IUnknown*> later;
    if (++releases == kDeepest) waiting = &later;
    reference->Release();
    if (releases == kDeepest) {
        while (!later.empty()) {
            IUnknown* const next = later.back();
            later.pop_back();
            next->Release();
        }
        waiting = nullptr;
    }
    --releases;
}

}  // namespace bv
