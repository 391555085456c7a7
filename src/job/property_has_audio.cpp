#include "tree/node_values.h"
#include "tree/property_base.h"

namespace bv {
namespace {

constexpr NodeDecl kHasAudio = {.cls = clsid::PropertyHasAudio,
                                .title = L"Create Audio Stream",
                                .type = style::kCheckBox | style::kBranch | style::kShowsOthers,
                                .description = help::kHasAudio,
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
    bool IsInterleaved() { return NumberOf(Find(names::kIsInterleave).get()).value_or(0) != 0; }
};

}  // namespace
BV_CREATOR(PropertyHasAudio)
}  // namespace bv
