#include "job/frame_filters.h"
#include "tree/property_base.h"

namespace bv {
namespace {

constexpr NodeDecl kImage[] = {
    {.name = L"FilterResize", .cls = clsid::PropertyFilterImpl, .filter = &kSizeFilter},
    {.name = L"ColorDepth", .cls = clsid::PropertyColorDepth},
    {.name = L"Crop", .cls = clsid::PropertyFilterImpl, .filter = &kCropFilter},
    {.name = L"WaterMark", .cls = clsid::PropertyWatermark},
};
constexpr NodeDecl kChildren[] = {
    {.name = L"PictureMain",
     .title = L"Image",
     .type = style::kGroup | style::kHeading,
     .description = help::kPicture,
     .children = kImage},
};
constexpr NodeDecl kPicture = {.name = L"Main",
                               .cls = clsid::PropertyPictureMain,
                               .title = L"Picture",
                               .type = style::kCarrier,
                               .children = kChildren};

class PropertyPictureMain : public PropertyBase {
public:
    PropertyPictureMain() : PropertyBase(kPicture) {}
};

}  // namespace
BV_CREATOR(PropertyPictureMain)
}  // namespace bv
