#include "typed_value.h"

#include <charconv>
#include <limits>

#include "text.h"
#include "value_forms.h"

namespace host {
namespace {

std::string Quoted(const std::wstring& text) { return '"' + OneLine(Utf8(text)) + '"'; }

/// A format has a name of its own beside the label of its choice.
std::wstring FormatName(const NodeView::Choice& choice, std::wstring* extension = nullptr) {
    TextResult name, with_dot;
    const auto format = Ask<IOutputFormatInfo>(choice.value.object());
    if (!format || FAILED(format->GetFormatInfo(name.Put(), with_dot.Put()))) return {};
    if (extension) *extension = with_dot.Get();
    return name.Get();
}

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

// --- Numbers

struct Range {
    VARTYPE kind;
    long long lowest, highest;
};
template <class T>
constexpr Range RangeOf(VARTYPE kind) {
    return {kind, std::numeric_limits<T>::min(), std::numeric_limits<T>::max()};
}
constexpr Range kWholeKinds[] = {
    RangeOf<signed char>(VT_I1), RangeOf<unsigned char>(VT_UI1),
    RangeOf<short>(VT_I2),       RangeOf<unsigned short>(VT_UI2),
    RangeOf<int>(VT_I4),         RangeOf<unsigned>(VT_UI4),
    RangeOf<int>(VT_INT),        RangeOf<unsigned>(VT_UINT),
    RangeOf<long long>(VT_I8),   {VT_UI8, 0, std::numeric_limits<long long>::max()},
};

const Range* WholeRange(VARTYPE kind) {
    for (const Range& range : kWholeKinds)
        if (range.kind == kind) return &range;
    return nullptr;
}

template <class Number>
std::optional<Number> NumberOf(const std::wstring& text) {
    const std::string digits = Utf8(text);
    const char* const end = digits.data() + digits.size();
    Number number = {};
    const auto [rest, error] = std::from_chars(digits.data(), end, number);
    if (error != std::errc() || rest != end) return {};
    return number;
}

bool IsReal(VARTYPE kind) { return kind == VT_R4 || kind == VT_R8 || kind == VT_CY || kind == VT_DECIMAL; }

/// The text in the kind of the node's value; not where that would round it.
std::optional<Value> Converted(const NodeView& node, const std::wstring& text) {
    const VARTYPE kind = node.value.kind();
    if (kind == VT_EMPTY || kind == VT_BSTR) return Value::Of(text);
    if (const Range* range = WholeRange(kind)) {
        const auto number = NumberOf<long long>(text);
        if (!number || *number < range->lowest || *number > range->highest) return {};
    } else if (IsReal(kind)) {
        const auto number = NumberOf<double>(text);
        if (!number || *number - *number != 0) return {};  // neither "inf" nor "nan"
        Value exact, value;  // not by text, in which the decimal point depends on the locale
        VARIANT* const real = exact.Put();
        real->vt = VT_R8;
        real->dblVal = *number;
        if (FAILED(exact.ChangeTo(kind, &value))) return {};
        return value;
    }
    Value value;
    if (FAILED(Value::Of(text).ChangeTo(kind, &value))) return {};
    return value;
}

}  // namespace

std::optional<Value> LabelledValue(const NodeView& node, const std::wstring& text) {
    for (const auto& choice : node.choices)
        if (SameName(choice.label, text)) return choice.value;
    for (const auto& choice : node.choices)
        if (std::wstring extension;
            SameName(FormatName(choice, &extension), text) || SameName(extension, text))
            return choice.value;
    return {};
}

std::optional<Value> TypedValue(const NodeView& node, const std::wstring& text) {
    if (!text.empty())
        if (auto value = LabelledValue(node, text)) return value;
    if (!node.choices.empty()) {
        for (const auto& choice : node.choices)
            if (!choice.value.object() && !text.empty() && choice.value.AsText() == text) return choice.value;
        if (node.style & bv::style::kList || node.value.object()) return {};
    }
    if (node.value.object()) return {};
    if (node.style & bv::style::kCheckBox) {
        for (const wchar_t* yes : {L"on", L"yes", L"true", L"1"})
            if (SameName(text, yes)) return Converted(node, L"1");
        for (const wchar_t* no : {L"off", L"no", L"false", L"0"})
            if (SameName(text, no)) return Converted(node, L"0");
        return {};
    }
    const Form* const form = FormOf(node);
    if (form && !form->fits(text) && !(text.empty() && MayBeEmpty(node))) return {};
    return Converted(node, text);
}

std::string WhatItTakes(const NodeView& node, const std::wstring& text) {
    if (!node.choices.empty()) {
        std::vector<std::wstring> labels;
        std::string all;
        for (const auto& choice : node.choices) {
            labels.push_back(choice.label);
            all += (all.empty() ? "" : ", ") + Quoted(choice.label);
            const std::wstring also = FormatName(choice);
            if (also.empty() || also == choice.label) continue;
            labels.push_back(also);
            all += " (" + OneLine(Utf8(also)) + ')';
        }
        return "the choices are " + all + Suggestion(text, labels);
    }
    if (node.style & bv::style::kCheckBox) return "this setting is \"on\" or \"off\"";
    if (const Form* const form = FormOf(node))
        return std::string("this setting takes ") + form->takes + (MayBeEmpty(node) ? ", or nothing" : "");
    std::string takes = "a " + KindName(node.value.kind());
    if (const Range* range = WholeRange(node.value.kind())) {
        const bool signless = node.style & bv::style::kNotNegative;
        takes = "a whole number from " + std::to_string(signless ? 0 : range->lowest) + " to " +
                std::to_string(range->highest);
    } else if (IsReal(node.value.kind())) {
        takes = "a number, such as 29.97";
    }
    if (node.unit && !node.unit->choices.empty()) {
        std::string units;
        for (const auto& choice : node.unit->choices)
            units += (units.empty() ? "" : ", ") + OneLine(Utf8(choice.label));
        takes += ", and behind a blank its unit: " + units;
    }
    return "this setting takes " + takes;
}

}  // namespace host
