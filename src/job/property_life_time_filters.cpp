#include "job/frame_filters.h"
#include "tree/property_base.h"

namespace bv {
namespace {

constexpr NodeDecl kChildren[] = {
    {.name = L"Frame Size", .cls = clsid::PropertyFilterImpl, .filter = &kSizeFilter},
    {.name = L"ColorDepth", .cls = clsid::PropertyColorDepth},
    {.name = L"Crop", .cls = clsid::PropertyFilterImpl, .filter = &kCropFilter},
    {.name = L"WaterMark", .cls = clsid::PropertyWatermark},
};
constexpr NodeDecl kFrameGroup = {.cls = clsid::PropertyLifeTimeFilters,
                                  .title = L"Frame",
                                  .type = style::kGroup | style::kHeading,
                                  .description = help::kFrameFilters,
                                  .children = kChildren};

class PropertyLifeTimeFilters : public PropertyBase {
public:
    PropertyLifeTimeFilters() : PropertyBase(kFrameGroup) {}
};

}  // namespace
BV_CREATOR(PropertyLifeTimeFilters)
}  // namespace bv
