#include "tree/node_values.h"
#include "tree/property_base.h"

namespace bv {
namespace {

using output_mode::kSingle, output_mode::kMultiply;
constexpr Choice kModes[] = {{L"Single", I4(kSingle)}, {L"Multiply", I4(kMultiply)}};
constexpr NodeDecl kMode = {.name = names::kMode,
                            .cls = clsid::PropertyOutputMode,
                            .title = L"Mode",
                            .type = style::kList | style::kShowsOthers,
                            .description = help::kOutputMode,
                            .value = I4(kSingle),
                            .choices = kModes};

class PropertyOutputMode : public PropertyBase {
public:
    PropertyOutputMode() : PropertyBase(kMode) {}

    STDMETHODIMP InitDefault() override {
        OnValueChanged();
        return S_OK;
    }

protected:
    // One joined file has a path of its own; a series has a folder, a pattern and pieces.
    void OnValueChanged() override {
        const bool series = Is(I4(kMultiply));  // by kind and value: 2 as VT_I2 or text is not a series
        Show(!series, {names::kOutputMediaName});
        Show(series, {names::kDestinationPath, names::kFileNamePattern, names::kIsSplit});
    }
};

}  // namespace
BV_CREATOR(PropertyOutputMode)
}  // namespace bv
