// How an object lets go of what it holds, when that may hold the next without end.
#pragma once

#include "com/com_ptr.h"
#include "com/variant.h"

namespace bv {

/// Releases a reference that an object held, at its end. What ends takes with it what it holds; where that
/// goes deeper than the stack is sure to last, references wait, and the call at that depth releases those
/// that do one after another.
void LetGo(IUnknown* reference);

template <class T>
void LetGo(ComPtr<T>& held) {
    if (T* const reference = held.Detach()) LetGo(static_cast<IUnknown*>(reference));
}
inline void LetGo(Variant& held) {
    IUnknown* const reference = ObjectOf(held);
    if (!reference) return held.Clear();
    held.vt = VT_EMPTY;
    LetGo(reference);
}

}  // namespace bv
