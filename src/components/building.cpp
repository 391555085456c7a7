#include "components/building.h"

namespace bv {

constinit thread_local const Building* Building::innermost_ = nullptr;

bool Building::IsFirst() const {
    for (const Building* outer = outer_; outer; outer = outer->outer_)
        if (outer->what_ == what_) return false;
    return true;
}

}  // namespace bv
