#include "tree/property_base.h"

namespace bv {
namespace {

// What is stored is the number of a rate; the engine knows the rates by these numbers.
constexpr Choice kRates[] = {
    {L"15 fps (AVI standart)" /* sic */, I4(1)},
    {L"23.98 fps (NTSC film)", I4(2)},
    {L"24.00 fps (film)", I4(3)},
    {L"25.00 fps (PAL)", I4(4)},
    {L"29.97 fps (NTSC)", I4(5)},
    {L"30.00 fps (NTSC)", I4(6)},
    {L"50.00 fps (PAL)", I4(7)},
    {L"59.94 fps (NTSC)", I4(8)},
    {L"60.00 fps (NTSC)", I4(9)},
};
constexpr NodeDecl kFrame = {.cls = clsid::PropertyFrame,
                             .title = L"Frame Rate",
                             .type = style::kList,
                             .description = help::kFrameRate,
                             .value = I4(4),
                             .choices = kRates};

class PropertyFrame : public PropertyBase {
public:
    PropertyFrame() : PropertyBase(kFrame) {}
};

}  // namespace
BV_CREATOR(PropertyFrame)
}  // namespace bv
