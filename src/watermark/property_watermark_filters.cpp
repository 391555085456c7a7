#include "tree/property_base.h"

namespace bv {
namespace {

constexpr Choice kAngles[] = {
    {L"None", I4(0)}, {L"90 degree", I4(1)}, {L"180 degree", I4(2)}, {L"270 degree", I4(3)}};
constexpr NodeDecl kTransparency[] = {
    {.name = L"WaterMarkFiltersAlphaBlendValue", .cls = clsid::PropertyWaterMarkAlphaBlendDepth},
};
constexpr NodeDecl kOrientation[] = {
    {.name = L"WaterMarkOrientation",
     .title = L"Rotate",
     .type = style::kList,
     .description = help::kWatermarkOrientation,
     .value = I4(0),
     .choices = kAngles},
};
constexpr NodeDecl kChildren[] = {
    {.name = L"WaterMarkFiltersAlphaBlend",
     .title = L"Transparency",
     .type = style::kGroup | style::kHeading,
     .children = kTransparency},
    {.name = L"WaterMarkOrientationDesc",
     .title = L"Orientation",
     .type = style::kGroup | style::kHeading,
     .children = kOrientation},
};
constexpr NodeDecl kFilters = {.cls = clsid::PropertyWatermarkFilters,
                               .title = L"Filters",
                               .type = style::kGroup,
                               .children = kChildren};

class PropertyWatermarkFilters : public PropertyBase {
public:
    PropertyWatermarkFilters() : PropertyBase(kFilters) {}
};

}  // namespace
BV_CREATOR(PropertyWatermarkFilters)
}  // namespace bv
