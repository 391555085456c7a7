#include "typed_value.h"

#include "text.h"
#include "value_forms.h"

namespace host {
namespace {

// --- Texts that mean something, by the class of the node that has them

struct Form {
    CLSID cls;
    bool (*fits)(const std::wstring& text);
    const char* takes;
};

bool IsFont(const std::wstring& text) {
    return text.find(L'=') != text.npos && UnknownFontItems(text).empty();
}

const Form kForms[] = {
    {bv::clsid::PropertyCrop,
     [](const std::wstring& text) { return text == L"<none>" || ToRect(text).has_value(); },
     "<none> or the pixels \"left,top,right,bottom\", such as 0,0,720,576"},
    {bv::clsid::PropertySize,
     [](const std::wstring& text) { return text == L"<source>" || ToSize(text).has_value(); },
     "<source> or pixels from 1x1 to 16384x16384, such as 720x576"},
    {bv::clsid::PropertyWatermarkImageSize,
     [](const std::wstring& text) { return text == L"<source>" || ToSize(text).has_value(); },
     "<source> or pixels from 1x1 to 16384x16384, such as 64x64"},
    {bv::clsid::PropertyWatermarkBackgroundColor, [](const std::wstring& text) { return IsColour(text); },
     "a colour, 0xRRGGBB, such as 0xFF0000 for red"},
    {bv::clsid::PropertyWatermarkFont, IsFont,
     "a font, such as \"FONT=Arial;STYLE=Bold;SIZE=12;U=OFF;S=OFF;\""},
};

const Form* FormOf(const NodeView& node) {
    for (const Form& form : kForms)
        if (form.cls == node.cls) return &form;
    return nullptr;
}

/// A transparent colour that isn't wanted is empty; what starts as a colour stays one.
bool MayBeEmpty(const NodeView& node) {
    return node.cls == bv::clsid::PropertyWatermarkBackgroundColor &&
           SameName(node.name, L"WatermarkTransparentColor");
}

}  // namespace

std::string FormOtherThan(const NodeView& node, const std::wstring& text) {
    const Form* const form = FormOf(node);
    if (!form || form->fits(text) || (text.empty() && MayBeEmpty(node))) return {};
    for (const auto& choice : node.choices)
        if (SameName(choice.label, text)) return {};
    return form->takes + std::string(MayBeEmpty(node) ? ", or nothing" : "");
}

}  // namespace host
