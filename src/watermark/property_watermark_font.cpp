#include "dialogs/editor_library.h"
#include "tree/property_base.h"
#include "watermark/font_string.h"

namespace bv {
namespace {

constexpr NodeDecl kFont = {.cls = clsid::PropertyWatermarkFont,
                            .title = L"Font",
                            .type = style::kEdit | style::kDialog,
                            .description = help::kWatermarkFont,
                            .value = Text(L"FONT=Tahoma;STYLE=Regular;SIZE=10;U=OFF;S=OFF;CHARSET=Default;")};

class PropertyWatermarkFont : public PropertyBase, public IFontStringParser {
public:
    using Answers = PropertyBase::Answers::With<IFontStringParser>;
    PropertyWatermarkFont() : PropertyBase(kFont) {}

    STDMETHODIMP PutFontInfo(FontInfo* font) override {
        if (!font) return E_POINTER;
        return StoreQuietly(FontToText(*font).View());
    }
    STDMETHODIMP GetFontInfo(FontInfo* font) override {
        if (!font) return E_POINTER;
        ReadFontText(TextOf(Stored()), *font);
        return S_OK;
    }

protected:
    HRESULT OnShowDialog() override { return RunEditor("FontEditor", this); }
};

}  // namespace
BV_CREATOR(PropertyWatermarkFont)
}  // namespace bv
