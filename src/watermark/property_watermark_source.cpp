#include "tree/property_base.h"

namespace bv {
namespace {

enum Source : LONG { kImage = 1, kText = 2 };
constexpr Choice kSources[] = {{L"Text", I4(kText)}, {L"Image", I4(kImage)}};
constexpr NodeDecl kChildren[] = {
    {.name = names::kWaterMarkSrcText, .cls = clsid::PropertyWatermarkSrcText},
    {.name = names::kWaterMarkSrcImage, .cls = clsid::PropertyWatermarkSrcImage},
};
constexpr NodeDecl kSource = {.cls = clsid::PropertyWatermarkSource,
                              .title = L"Source Type",
                              .type = style::kList | style::kShowsOthers,
                              .description = help::kWatermarkSource,
                              .value = I4(kText),
                              .choices = kSources,
                              .children = kChildren};

class PropertyWatermarkSource : public PropertyBase {
public:
    PropertyWatermarkSource() : PropertyBase(kSource) {}

protected:
    HRESULT BuildChildren() override {
        RETURN_IF_FAILED(Build(kSource));
        OnValueChanged();
        return S_OK;
    }
    // Exactly one branch is shown: whatever isn't text, by kind and value, is an image.
    void OnValueChanged() override {
        const bool text = Is(I4(kText));
        Show(text, {names::kWaterMarkSrcText});
        Show(!text, {names::kWaterMarkSrcImage});
    }
};

}  // namespace
BV_CREATOR(PropertyWatermarkSource)
}  // namespace bv
