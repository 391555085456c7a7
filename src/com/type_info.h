// The late-bound side of the dual interfaces, from the registered type library: what com/object.h declares.
#pragma once

namespace bv {

void StartTypeInfo();
/// Releases what was loaded.
void StopTypeInfo();

}  // namespace bv
