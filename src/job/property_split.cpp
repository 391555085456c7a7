#include "tree/property_base.h"

namespace bv {
namespace {

constexpr NodeDecl kLenExt = {.name = L"LenExt", .cls = clsid::PropertyLenExt};
constexpr NodeDecl kChildren[] = {
    {.name = names::kSplitLength,
     .title = L"Length",
     .type = 0x101 | kNotNegative,
     .description = 98,
     .value = I4(10),
     .extension = &kLenExt,
     .disabled = true},
    {.name = names::kExactly,
     .title = L"Exactly",
     .type = 0x320,
     .description = 99,
     .value = I4(0),
     .disabled = true},
};
constexpr NodeDecl kSplit = {.name = names::kIsSplit,
                             .cls = clsid::PropertySplit,
                             .title = L"Use split",
                             .type = 0x820,
                             .description = 1117,
                             .value = I4(0),
                             .children = kChildren};

class PropertySplit : public PropertyBase {
public:
    PropertySplit() : PropertyBase(kSplit) {}

protected:
    void OnValueChanged() override { Enable(IsOn(), {names::kSplitLength, names::kExactly}); }
};

}  // namespace
BV_CREATOR(PropertySplit)
}  // namespace bv
