// What a look-up of a class that is kept can be checked against, beside the calls with Windows names.
#pragma once

#include "windef.h"

extern "C" {
/// A number that moves on whenever a class id may lead elsewhere than before: a class object was registered
/// or revoked, or a module was dropped. Where a class was found in between two calls with the same result, it
/// is still found there, by this thread too. So ask for it before CoGetClassObject, and keep both results
/// together. What wasn't found may be found at any time, as the registry belongs to other processes too.
///
/// 0: nothing may be kept, ask CoGetClassObject. It is so on a thread that may not create (CoInitialize).
/// A few instructions and no lock.
BV_PLATFORM_API ULONGLONG BvClassEpoch();
}

/// Whether the platform counts at all.
inline constexpr bool kHasClassEpoch = true;
