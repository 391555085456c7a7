#include "tree/property_base.h"

namespace bv {
namespace {

constexpr NodeDecl kChildren[] = {
    {.name = names::kOutput, .cls = clsid::PropertyOutput},
    {.name = names::kAction, .cls = clsid::PropertyAction},
};
constexpr NodeDecl kCommon = {.cls = clsid::PropertyCommon, .children = kChildren};

class PropertyCommon : public PropertyBase {
public:
    PropertyCommon() : PropertyBase(kCommon) {}

protected:
    void BuildChildren() override {
        Build(kCommon);
        std::ignore = put_Active(1);
    }
};

}  // namespace
BV_CREATOR(PropertyCommon)
}  // namespace bv
