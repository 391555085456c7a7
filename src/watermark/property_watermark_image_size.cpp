#include "dialogs/editor_library.h"
#include "tree/property_base.h"

namespace bv {
namespace {

constexpr NodeDecl kImageSize = {.cls = clsid::PropertyWatermarkImageSize,
                                 .title = L"Size",
                                 .type = style::kDialog | style::kLabel | style::kRedraws,
                                 .value = Text(L"<source>")};

class PropertyWatermarkImageSize : public PropertyBase {
public:
    PropertyWatermarkImageSize() : PropertyBase(kImageSize) {}

protected:
    HRESULT OnShowDialog() override { return RunEditor("ImageSize", this); }
};

}  // namespace
BV_CREATOR(PropertyWatermarkImageSize)
}  // namespace bv
