#include "dialogs/editor_library.h"
#include "tree/property_base.h"

namespace bv {
namespace {

// Read by the editor and by the frame-size filter, which know the modes by these numbers.
constexpr NodeDecl kChildren[] = {
    {.name = L"SizeMode", .type = style::kCarrier, .value = I4(0)},
    {.name = L"OriginalRatio", .type = style::kCarrier, .value = I4(1)},
    {.name = L"ResizeType", .type = style::kCarrier, .value = I4(0)},
};
constexpr NodeDecl kSize = {.cls = clsid::PropertySize,
                            .title = L"Resolution",
                            .type = style::kDialog | style::kLabel | style::kRedraws,
                            .description = help::kFrameSize,
                            .value = Text(L"<source>"),
                            .children = kChildren};

class PropertySize : public PropertyBase {
public:
    PropertySize() : PropertyBase(kSize) {}

protected:
    HRESULT OnShowDialog() override { return RunEditor("ResizeEditor", this); }
};

}  // namespace
BV_CREATOR(PropertySize)
}  // namespace bv
