#include "tree/walk.h"

#include "tree/property_base.h"

namespace bv {

namespace {
constinit thread_local Visit* innermost = nullptr;
}

Visit*& InnermostVisit() { return innermost; }

bool Visit::IsInside() const {
    for (const Visit* visit = outer_; visit; visit = visit->outer_)
        if (&visit->node_ == &node_ && visit->walk_ == walk_) return true;
    return false;
}

}  // namespace bv
