#include <optional>

#include "dialogs/editor_library.h"
#include "tree/property_base.h"
#include "watermark/dynamic_text.h"

namespace bv {
namespace {

constexpr const wchar_t* kDatePicture = L"d:MM:yyyy";
constexpr const wchar_t* kTimePicture = L"h:mm:ss";

constexpr NodeDecl kFormats[] = {
    {.name = names::kFormatDate,
     .title = L"Horizontal Align" /* sic */,
     .type = 0x40001,
     .value = Text(kDatePicture)},
    {.name = names::kFormatTime,
     .title = L"Horizontal Align" /* sic */,
     .type = 0x40001,
     .value = Text(kTimePicture)},
    {.name = names::kFormatIndex,
     .title = L"Horizontal Align" /* sic */,
     .type = 0x40001,
     .value = Text(L"%02d")},
};
constexpr NodeDecl kText = {.cls = clsid::PropertyWatermarkText,
                            .title = L"Text",
                            .type = 9,
                            .description = 1236,
                            .value = Text(L""),
                            .children = kFormats};

/// Which of a file's names: with its extension ("full") or without.
void ToFileName(NarrowText& path, bool full) {
    if (!full) PathRemoveExtensionA(path.Buffer());
    path.Settle();
    path = NarrowText(ToBstr(PathFindFileNameA(path.c_str())).View());
}

std::optional<NarrowText> TextOfNode(IProperty* node) {
    Variant value;
    if (!node || node->get_Value(value.Put()) != S_OK || FAILED(value.ChangeFrom(value, VT_BSTR))) return {};
    return NarrowText(TextOf(value));
}

/// The text of a watermark. The value stays as it was typed; its variables are worked out for those who ask.
class PropertyWatermarkText : public PropertyBase, public IDynamicText {
public:
    using Answers = PropertyBase::Answers::With<IDynamicText>;
    PropertyWatermarkText() : PropertyBase(kText) {}

    STDMETHODIMP GetVariableCount(LONG* count) override;
    STDMETHODIMP GetVariable(LONG index, BSTR* key, BSTR* title) override;
    STDMETHODIMP Expand(BSTR text, BSTR* result) override;

protected:
    HRESULT OnShowDialog() override { return RunEditor("LogoTextEditor", this); }

private:
    // What a variable stands for now; nothing when its source is missing, and then its key stays in the text.
    using Value = std::optional<NarrowText>;
    Value SourceFile(bool full);
    Value OutputFile(bool full);
    Value Index(bool);
    Value Date(bool);
    Value Time(bool);
    NarrowText Picture(Name name, const wchar_t* otherwise);

    struct Variable {
        std::string_view key;
        const wchar_t* title;
        Value (PropertyWatermarkText::*value)(bool full);
        bool full;
    };
    static const Variable kVariables[];
};

// A key that begins with another one stands before it. Each is put in on its own, so what one brings into the
// text is seen by those behind it.
const PropertyWatermarkText::Variable PropertyWatermarkText::kVariables[] = {
    {"%sf", L"Full Source File Name", &PropertyWatermarkText::SourceFile, true},
    {"%s", L"Short Source File Name", &PropertyWatermarkText::SourceFile, false},
    {"%of", L"Full Output File Name", &PropertyWatermarkText::OutputFile, true},
    {"%o", L"Short Output File Name", &PropertyWatermarkText::OutputFile, false},
    {"%i", L"Index", &PropertyWatermarkText::Index, false},
    {"%d", L"Current Date", &PropertyWatermarkText::Date, false},
    {"%t", L"Current Time", &PropertyWatermarkText::Time, false},
};

auto PropertyWatermarkText::SourceFile(bool full) -> Value {
    auto path = TextOfNode(Find(names::kPathToMediaFile).get());
    if (path) ToFileName(*path, full);
    return path;
}

auto PropertyWatermarkText::OutputFile(bool full) -> Value {
    const auto media = Query<IMediaObject>(Media());
    Bstr name;
    if (!media || FAILED(media->GetOuputFileName(name.Put()))) return {};
    NarrowText path(name.View());
    ToFileName(path, full);
    return path;
}

auto PropertyWatermarkText::Index(bool) -> Value {
    const auto media = Query<IMediaObject>(Media());
    if (!media) return {};
    int index = 0;
    std::ignore = media->GetCurIndex(&index);
    return FormatNumber(Picture(names::kFormatIndex, L"%d").View(), index);
}

auto PropertyWatermarkText::Date(bool) -> Value {
    SYSTEMTIME now;
    GetLocalTime(&now);
    NarrowText text;
    const NarrowText picture = Picture(names::kFormatDate, kDatePicture);
    if (!GetDateFormatA(0, 0, &now, picture.c_str(), text.Buffer(), NarrowText::kLimit)) return {};
    text.Settle();
    return text;
}

auto PropertyWatermarkText::Time(bool) -> Value {
    SYSTEMTIME now;
    GetLocalTime(&now);
    NarrowText text;
    const NarrowText picture = Picture(names::kFormatTime, kTimePicture);
    if (!GetTimeFormatA(0, 0, &now, picture.c_str(), text.Buffer(), NarrowText::kLimit)) return {};
    text.Settle();
    return text;
}

NarrowText PropertyWatermarkText::Picture(Name name, const wchar_t* otherwise) {
    const auto picture = TextOfNode(Find(name).get());
    return picture ? *picture : NarrowText(otherwise);
}

STDMETHODIMP PropertyWatermarkText::GetVariableCount(LONG* count) {
    if (!count) return E_POINTER;
    *count = LONG(std::size(kVariables));
    return S_OK;
}

STDMETHODIMP PropertyWatermarkText::GetVariable(LONG index, BSTR* key, BSTR* title) {
    if (!key || !title) return E_POINTER;
    if (index < 0 || size_t(index) >= std::size(kVariables)) return E_INVALIDARG;
    Bstr key_text = ToBstr(kVariables[index].key), title_text(kVariables[index].title);
    if (!key_text.get() || !title_text.get()) return E_OUTOFMEMORY;
    *key = key_text.Detach();
    *title = title_text.Detach();
    return S_OK;
}

STDMETHODIMP PropertyWatermarkText::Expand(BSTR text, BSTR* result) {
    if (!result) return E_POINTER;
    NarrowText expanded(View(text));
    for (const Variable& variable : kVariables)
        if (const Value value = (this->*variable.value)(variable.full))
            PutVariable(expanded, variable.key, value->View());
    return ToBstr(expanded.View()).CopyTo(result);
}

}  // namespace
BV_CREATOR(PropertyWatermarkText)
}  // namespace bv
