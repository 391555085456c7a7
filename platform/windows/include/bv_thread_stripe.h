// What many threads count or keep lies in stripes, so that they seldom meet: which one is this thread's.
#pragma once

#include <windows.h>

/// A number below 16 that stays with the thread; others may have the same. A few instructions.
inline unsigned BvThreadStripe() {
    return GetCurrentThreadId() / 4 % 16;  // ids are multiples of 4
}
