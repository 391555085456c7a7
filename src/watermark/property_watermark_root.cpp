#include "tree/property_base.h"

namespace bv {
namespace {

constexpr NodeDecl kGeneral[] = {{.name = L"WaterMarkSourceMode", .cls = clsid::PropertyWatermarkSource}};
constexpr NodeDecl kChildren[] = {
    {.name = L"WaterMarkGeneral",
     .title = L"General",
     .type = style::kGroup | style::kHeading,
     .children = kGeneral},
};
constexpr NodeDecl kRoot = {
    .cls = clsid::PropertyWatermarkRoot, .title = L"Source", .type = style::kGroup, .children = kChildren};

class PropertyWatermarkRoot : public PropertyBase {
public:
    PropertyWatermarkRoot() : PropertyBase(kRoot) {}
};

}  // namespace
BV_CREATOR(PropertyWatermarkRoot)
}  // namespace bv
