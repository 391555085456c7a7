// Calls of the system that fail on purpose, in this program and in all that it loads: the N-th one that the
// thread makes in a guarded call, once or from then on.
#pragma once

#include <atomic>

namespace bv::test {

enum class FaultKind {
    kMemory,  // allocations give nothing
    kFiles,   // calls on files and descriptors give the error
    kShort,   // a write takes half of the bytes, as a signal can make it
};

struct FaultPlan {
    FaultKind kind = FaultKind::kMemory;
    int error = 0;  // errno of a failing call on a file
    bool from_then_on = false;
    const char* name = "";
};

/// Counts the calls of the plan's kind, and lets one fail. Only in a Guarded, and one at a time.
class Faults {
public:
    /// first: the number of the call that fails, from 1; 0: none does.
    Faults(const FaultPlan& plan, long first);
    ~Faults();
    Faults(const Faults&) = delete;
    /// Whether a call has failed.
    static bool Tripped();
};

/// While it lives, calls of this thread are counted and may fail.
class Guarded {
public:
    Guarded();
    ~Guarded();
    Guarded(const Guarded&) = delete;
};

/// Blocks of memory that are taken and not given back, of the whole process.
long LiveBlocks();

/// With BV_FAILURES_TRACE in the environment: shows where the blocks were taken that are taken between the
/// two calls and still there.
void WatchBlocks();
void ShowWatchedBlocks();

}  // namespace bv::test
