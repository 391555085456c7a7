#include "core/simple_node.h"

namespace bv {
namespace {

constexpr NodeDecl kColor = {.cls = clsid::PropertyWatermarkBackgroundColor,
                             .title = L"Color",
                             .type = 9,
                             .description = 1237,
                             .value = Text(L"0x000000")};

/// A colour of any use. Any text may be put here; what can't be read as a colour counts as black.
class PropertyWatermarkBackgroundColor : public SimpleNode {
public:
    PropertyWatermarkBackgroundColor() : SimpleNode(kColor) {}

protected:
    HRESULT OnShowDialog() override { return S_FALSE; }
};

}  // namespace
BV_CREATOR(PropertyWatermarkBackgroundColor)
}  // namespace bv
