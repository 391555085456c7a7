#include "tree/property_base.h"

namespace bv {
namespace {

constexpr Choice kUnits[] = {{L"s", I4(1)}, {L"ms", I4(2)}, {L"frm", I4(3)}};
constexpr NodeDecl kLenExt = {.name = L"LenExt",
                              .cls = clsid::PropertyLenExt,
                              .title = L"LenExt",
                              .type = style::kList,
                              .value = I4(1),
                              .choices = kUnits};

/// The unit of a length.
class PropertyLenExt : public PropertyBase {
public:
    PropertyLenExt() : PropertyBase(kLenExt) {}
};

}  // namespace
BV_CREATOR(PropertyLenExt)
}  // namespace bv
