#include "tree/walk.h"

#include "tree/property_base.h"

namespace bv {

namespace {
constinit thread_local Visit* innermost = nullptr;
}

Visit*& InnermostVisit() { return innermost; }

Visit::Visit(PropertyBase& node, const Walk& walk)
    : node_(node), walk_(walk), outer_(*walk.innermost), depth_(outer_ ? outer_->depth_ + 1 : 0) {
    if (depth_ >= kDeepest) return;
    marked_ = !(node.walks_ & walk.kind);
    if (!marked_)
        for (const Visit* visit = outer_; visit; visit = visit->outer_)
            if (&visit->node_ == &node && visit->walk_ == walk) return;
    node.walks_ |= walk.kind;
    *walk.innermost = this;
    entered_ = true;
}

Visit::~Visit() {
    if (!entered_) return;
    *walk_.innermost = outer_;
    if (marked_) node_.walks_ &= static_cast<unsigned char>(~walk_.kind);
}

}  // namespace bv
