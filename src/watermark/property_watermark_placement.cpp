#include "tree/property_base.h"

namespace bv {
namespace {

constexpr Choice kModes[] = {{L"Transparent", I4(1)}, {L"Solid", I4(2)}};
constexpr NodeDecl kBackground[] = {
    {.name = L"WaterMarkBackgroundMode",
     .title = L"Background Mode",
     .type = style::kList,
     .description = help::kWatermarkBackgroundMode,
     .value = I4(1),
     .choices = kModes},
    {.name = L"WaterMarkBackgroundColor",
     .cls = clsid::PropertyWatermarkBackgroundColor,
     .description = help::kWatermarkBackgroundColor,
     .value = Text(L"0xFFFFFF")},
};
constexpr NodeDecl kChildren[] = {
    {.name = L"WaterMarkRect", .cls = clsid::PropertyWatermarkRect},
    {.name = L"WaterMarkBackground",
     .title = L"Background",
     .type = style::kGroup | style::kHeading,
     .children = kBackground},
};
constexpr NodeDecl kPlacement = {
    .cls = clsid::PropertyWatermarkPlacement, .title = L"Area", .type = style::kGroup, .children = kChildren};

class PropertyWatermarkPlacement : public PropertyBase {
public:
    PropertyWatermarkPlacement() : PropertyBase(kPlacement) {}
};

}  // namespace
BV_CREATOR(PropertyWatermarkPlacement)
}  // namespace bv
