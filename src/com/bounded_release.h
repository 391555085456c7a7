// Releases that may follow one another in a chain of any length.
#pragma once

#include <vector>

#include "com/com_ptr.h"
#include "com/variant.h"

namespace bv {

/// How deep a thread is in such releases.
struct ReleaseDepth {
    static ReleaseDepth& OfThread();
    void ReleaseDeepest(IUnknown* reference);

    int releases = 0;
    std::vector<IUnknown*>* waiting = nullptr;  // from the deepest on
};

/// Releases a reference that an object held, at its end. Past a fixed depth, releases are queued and done in a
/// loop, so a long chain can't exhaust the stack.
void ReleaseBounded(IUnknown* reference, ReleaseDepth& depth);
inline void ReleaseBounded(IUnknown* reference) { ReleaseBounded(reference, ReleaseDepth::OfThread()); }

template <class T>
void ReleaseBounded(ComPtr<T>& held) {
    if (T* const reference = held.Detach()) ReleaseBounded(static_cast<IUnknown*>(reference));
}
inline void ReleaseBounded(Variant& held) {
    IUnknown* const reference = ObjectOf(held);
    if (!reference) return held.Clear();
    held.vt = VT_EMPTY;
    ReleaseBounded(reference);
}

}  // namespace bv
