#include "tree/property_base.h"

namespace bv {
namespace {

constexpr NodeDecl kSides[] = {
    {.name = L"WaterMarkLeft",
     .title = L"Left",
     .type = style::kEdit,
     .description = help::kWatermarkLeft,
     .value = I4(0)},
    {.name = L"WaterMarkRight",
     .title = L"Right",
     .type = style::kEdit,
     .description = help::kWatermarkRight,
     .value = I4(100)},
    {.name = L"WaterMarkTop",
     .title = L"Top",
     .type = style::kEdit,
     .description = help::kWatermarkTop,
     .value = I4(0)},
    {.name = L"WaterMarkBottom",
     .title = L"Bottom",
     .type = style::kEdit,
     .description = help::kWatermarkBottom,
     .value = I4(30)},
};
constexpr NodeDecl kRect = {.cls = clsid::PropertyWatermarkRect,
                            .title = L"Rectangle",
                            .type = style::kGroup | style::kHeading,
                            .children = kSides};

class PropertyWatermarkRect : public PropertyBase {
public:
    PropertyWatermarkRect() : PropertyBase(kRect) {}
};

}  // namespace
BV_CREATOR(PropertyWatermarkRect)
}  // namespace bv
