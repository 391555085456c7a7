// How a module learns that a class id still leads where it led when it last looked: a creation call for a class of its own
// would come back to it, and it may take the short way.
#pragma once

#include <cstdint>

#include "objbase.h"

/// A number that no earlier state of the process had: it changes when a class object is registered or revoked, and when
/// modules are freed. 0: nothing can be told, or this thread may not create objects.
extern "C" BV_PLATFORM_API std::uint64_t BvClassChanges();
