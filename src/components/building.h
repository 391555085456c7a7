// What this thread is in the middle of making from components that are registered.
#pragma once

#include <bvschema/platform.h>

namespace bv {

/// Marks something as being made while it lives. False when it is being made already: a component that is
/// created on the way may be, or create, what contains it, and would have it made again without end.
class Building {
public:
    /// what: the category of a list, or the class of a component; it outlives this object.
    explicit Building(const GUID& what) : what_(what), outer_(innermost_), first_(IsFirst()) {
        innermost_ = this;
    }
    Building(const Building&) = delete;
    ~Building() { innermost_ = outer_; }
    explicit operator bool() const { return first_; }

private:
    bool IsFirst() const;

    static constinit thread_local const Building* innermost_;
    const GUID& what_;
    const Building* const outer_;
    const bool first_;
};

}  // namespace bv
