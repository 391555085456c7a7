#include "core/property_base.h"

namespace bv {
namespace {

constexpr NodeDecl kMediaName = {.name = names::kOutputMediaName,
                                 .cls = clsid::PropertyOutputMediaName,
                                 .title = L"Output File Name",
                                 .type = 9,
                                 .description = 95,
                                 .value = Text(L"")};

class PropertyOutputMediaName : public PropertyBase {
public:
    PropertyOutputMediaName() : PropertyBase(kMediaName) {}

protected:
    HRESULT OnShowDialog() override { return S_FALSE; }
};

}  // namespace
BV_CREATOR(PropertyOutputMediaName)
}  // namespace bv
