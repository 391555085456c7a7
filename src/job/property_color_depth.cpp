#include "tree/property_base.h"

namespace bv {
namespace {

// The numbers are the engine's, not counts of bits.
constexpr Choice kDepths[] = {
    {L"RGB, 32 bits pixel", I4(4)},
    {L"RGB, 24 bits pixel", I4(5)},
    {L"RGB, 8 bits pixel. Pallettized" /* sic */, I4(8)},
};
constexpr NodeDecl kColorDepth = {.cls = clsid::PropertyColorDepth,
                                  .title = L"Color Depth",
                                  .type = style::kList,
                                  .help =
                                      L"Count bit per pixel.\nDoesn't use a <source> for Single output mode, "
                                      L"if you want join some media files!",
                                  .value = I4(5),
                                  .choices = kDepths};

class PropertyColorDepth : public PropertyBase {
public:
    PropertyColorDepth() : PropertyBase(kColorDepth) {}
};

}  // namespace
BV_CREATOR(PropertyColorDepth)
}  // namespace bv
