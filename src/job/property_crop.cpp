#include "dialogs/editor_library.h"
#include "tree/property_base.h"

namespace bv {
namespace {

constexpr NodeDecl kCrop = {.cls = clsid::PropertyCrop,
                            .title = L"Crop",
                            .type = style::kDialog | style::kLabel | style::kRedraws,
                            .description = help::kCrop,
                            .value = Text(L"<none>")};

class PropertyCrop : public PropertyBase {
public:
    PropertyCrop() : PropertyBase(kCrop) {}

protected:
    HRESULT OnShowDialog() override { return RunEditor("CropEditor", this); }
};

}  // namespace
BV_CREATOR(PropertyCrop)
}  // namespace bv
