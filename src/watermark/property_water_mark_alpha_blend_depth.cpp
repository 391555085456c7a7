#include "com/strings.h"
#include "tree/property_base.h"

namespace bv {
namespace {

constexpr SHORT kInvisible = 100;  // percent of transparency
constexpr NodeDecl kDepth = {.cls = clsid::PropertyWaterMarkAlphaBlendDepth,
                             .title = L"Value",
                             .type = style::kEdit,
                             .description = help::kWatermarkTransparency,
                             .value = I4(0)};

class PropertyWaterMarkAlphaBlendDepth : public PropertyBase {
public:
    PropertyWaterMarkAlphaBlendDepth() : PropertyBase(kDepth) {}

    STDMETHODIMP put_Value(VARIANT newVal) override {
        return StoreInRange(newVal, 0, kInvisible, msg::kBadDepth);
    }
};

}  // namespace
BV_CREATOR(PropertyWaterMarkAlphaBlendDepth)
}  // namespace bv
