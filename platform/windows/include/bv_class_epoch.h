// What a look-up of a class that is kept can be checked against: the real component model tells nobody.
#pragma once

#include <windows.h>

/// 0: nothing may be kept, ask CoGetClassObject.
inline ULONGLONG BvClassEpoch() { return 0; }

/// Whether the platform counts at all.
inline constexpr bool kHasClassEpoch = false;
