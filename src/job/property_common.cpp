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
    HRESULT BuildChildren() override {
        RETURN_IF_FAILED(Build(kCommon));
        return put_Active(1);
    }
};

}  // namespace
BV_CREATOR(PropertyCommon)
}  // namespace bv
