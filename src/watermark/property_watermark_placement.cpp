#include "tree/property_base.h"

namespace bv {
namespace {

constexpr Choice kModes[] = {{L"Transparent", I4(1)}, {L"Solid", I4(2)}};
constexpr NodeDecl kBackground[] = {
    {.name = L"WaterMarkBackgroundMode",
     .title = L"Background Mode",
     .type = 4,
     .description = 1240,
     .value = I4(1),
     .choices = kModes},
    {.name = L"WaterMarkBackgroundColor",
     .cls = clsid::PropertyWatermarkBackgroundColor,
     .description = 1239,
     .value = Text(L"0xFFFFFF")},
};
constexpr NodeDecl kChildren[] = {
    {.name = L"WaterMarkRect", .cls = clsid::PropertyWatermarkRect},
    {.name = L"WaterMarkBackground", .title = L"Background", .type = 0xC0, .children = kBackground},
};
constexpr NodeDecl kPlacement = {
    .cls = clsid::PropertyWatermarkPlacement, .title = L"Area", .type = 0x80, .children = kChildren};

class PropertyWatermarkPlacement : public PropertyBase {
public:
    PropertyWatermarkPlacement() : PropertyBase(kPlacement) {}
};

}  // namespace
BV_CREATOR(PropertyWatermarkPlacement)
}  // namespace bv
