#include "tree/property_base.h"

namespace bv {
namespace {

constexpr NodeDecl kGeneral[] = {{.name = L"WaterMarkSourceMode", .cls = clsid::PropertyWatermarkSource}};
constexpr NodeDecl kChildren[] = {
    {.name = L"WaterMarkGeneral", .title = L"General", .type = 0xC0, .children = kGeneral},
};
constexpr NodeDecl kRoot = {
    .cls = clsid::PropertyWatermarkRoot, .title = L"Source", .type = 0x80, .children = kChildren};

class PropertyWatermarkRoot : public PropertyBase {
public:
    PropertyWatermarkRoot() : PropertyBase(kRoot) {}
};

}  // namespace
BV_CREATOR(PropertyWatermarkRoot)
}  // namespace bv
