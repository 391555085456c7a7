#include "tree/property_base.h"

namespace bv {
namespace {

constexpr NodeDecl kLenExt = {.name = L"LenExt", .cls = clsid::PropertyLenExt};
constexpr NodeDecl kChildren[] = {
    {.name = names::kSplitLength,
     .title = L"Length",
     .type = style::kEdit | style::kDependent | style::kNotNegative,
     .description = help::kSplitLength,
     .value = I4(10),
     .extension = &kLenExt,
     .disabled = true},
    {.name = names::kExactly,
     .title = L"Exactly",
     .type = style::kCheckBox | style::kDependent | style::kRefinement,
     .description = help::kSplitExactly,
     .value = I4(0),
     .disabled = true},
};
constexpr NodeDecl kSplit = {.name = names::kIsSplit,
                             .cls = clsid::PropertySplit,
                             .title = L"Use split",
                             .type = style::kCheckBox | style::kSwitch,
                             .description = help::kSplit,
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
