#include "dialogs/editor_library.h"
#include "tree/property_base.h"

namespace bv {
namespace {

constexpr NodeDecl kCrop = {.cls = clsid::PropertyCrop,
                            .title = L"Crop",
                            .type = 0x30008,
                            .description = 1133,
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
