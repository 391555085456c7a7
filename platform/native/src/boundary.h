// Where the layer's code ends and its callers' begins: no exception goes beyond.
#pragma once

#include <new>

#include "winbase.h"
#include "winerror.h"

namespace bv::platform {

/// Gives what the call gives; without memory for it, `failed`, and ERROR_NOT_ENOUGH_MEMORY as the last error.
template <class Result, class Call>
Result Bounded(Result failed, Call call) {
    try {
        return call();
    } catch (const std::bad_alloc&) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return failed;
    }
}

}  // namespace bv::platform
