#include "com/strings.h"
#include "tree/property_base.h"

namespace bv {
namespace {

constexpr SHORT kFullTurn = 360;  // degrees, either way
constexpr NodeDecl kUnit = {.type = style::kLabel, .value = Text(L"degree")};
constexpr NodeDecl kOrientation = {.cls = clsid::PropertyTextOrientation,
                                   .title = L"Orientation",
                                   .type = style::kEdit,
                                   .value = I4(0),
                                   .extension = &kUnit};

class PropertyTextOrientation : public PropertyBase {
public:
    PropertyTextOrientation() : PropertyBase(kOrientation) {}

    STDMETHODIMP put_Value(VARIANT newVal) override {
        return StoreInRange(newVal, -kFullTurn, kFullTurn, msg::kBadAngle);
    }
};

}  // namespace
BV_CREATOR(PropertyTextOrientation)
}  // namespace bv
