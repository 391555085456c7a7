#include "tree/property_base.h"

namespace bv {
namespace {

constexpr NodeDecl kSides[] = {
    {.name = L"WaterMarkLeft", .title = L"Left", .type = 1, .description = 1241, .value = I4(0)},
    {.name = L"WaterMarkRight", .title = L"Right", .type = 1, .description = 1242, .value = I4(100)},
    {.name = L"WaterMarkTop", .title = L"Top", .type = 1, .description = 1243, .value = I4(0)},
    {.name = L"WaterMarkBottom", .title = L"Bottom", .type = 1, .description = 1244, .value = I4(30)},
};
constexpr NodeDecl kRect = {
    .cls = clsid::PropertyWatermarkRect, .title = L"Rectangle", .type = 0xC0, .children = kSides};

class PropertyWatermarkRect : public PropertyBase {
public:
    PropertyWatermarkRect() : PropertyBase(kRect) {}
};

}  // namespace
BV_CREATOR(PropertyWatermarkRect)
}  // namespace bv
