#include "tree/property_base.h"

namespace bv {
namespace {

// The engine knows the places by these numbers, which don't follow the order shown.
constexpr Choice kAcross[] = {{L"Left", I4(1)}, {L"Center", I4(3)}, {L"Right", I4(2)}};
constexpr Choice kDown[] = {{L"Top", I4(4)}, {L"Center", I4(6)}, {L"Bottom", I4(5)}};
constexpr NodeDecl kChildren[] = {
    {.name = L"WaterMarkSrcTextDesc", .cls = clsid::PropertyWatermarkText},
    {.name = L"WaterMarkTextColor", .cls = clsid::PropertyWatermarkBackgroundColor},
    {.name = L"WaterMarkTextFont", .cls = clsid::PropertyWatermarkFont},
    {.name = L"WaterMarkSrcTextHAlign",
     .title = L"Horizontal Align",
     .type = style::kList,
     .description = help::kWatermarkTextAcross,
     .value = I4(1),
     .choices = kAcross},
    {.name = L"WaterMarkSrcTextVAlign",
     .title = L"Vertical Align",
     .type = style::kList,
     .description = help::kWatermarkTextDown,
     .value = I4(4),
     .choices = kDown},
};
constexpr NodeDecl kSrcText = {
    .cls = clsid::PropertyWatermarkSrcText, .type = style::kCarrier, .children = kChildren};

class PropertyWatermarkSrcText : public PropertyBase {
public:
    PropertyWatermarkSrcText() : PropertyBase(kSrcText) {}
};

}  // namespace
BV_CREATOR(PropertyWatermarkSrcText)
}  // namespace bv
