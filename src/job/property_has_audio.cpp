#include "tree/property_base.h"

namespace bv {
namespace {

constexpr NodeDecl kHasAudio = {.cls = clsid::PropertyHasAudio,
                                .title = L"Create Audio Stream",
                                .type = 0x1420,
                                .description = 1123,
                                .value = I4(1)};

class PropertyHasAudio : public PropertyBase {
public:
    PropertyHasAudio() : PropertyBase(kHasAudio) {}

protected:
    // The interleaving setting comes back only where interleaving is on; else it keeps what it has.
    void OnValueChanged() override {
        const bool on = IsOn();
        Show(on, {names::kAudio, names::kIsInterleave});
        if (!on || IsInterleaved()) Show(on, {names::kInterleave});
    }

private:
    bool IsInterleaved() {
        const auto flag = Find(names::kIsInterleave);
        Variant value;
        return flag && flag->get_Value(value.Put()) == S_OK && SUCCEEDED(value.ChangeFrom(value, VT_I2)) &&
               value.iVal != 0;
    }
};

}  // namespace
BV_CREATOR(PropertyHasAudio)
}  // namespace bv
