#include "dialogs/editor_library.h"
#include "tree/node_values.h"
#include "tree/property_base.h"
#include "watermark/dynamic_text.h"
#include "watermark/text_variables.h"

namespace bv {
namespace {

constexpr NodeDecl kFormats[] = {
    {.name = names::kFormatDate,
     .title = L"Horizontal Align" /* sic */,
     .type = style::kEdit | style::kInEditor,
     .value = Text(kDateFormat)},
    {.name = names::kFormatTime,
     .title = L"Horizontal Align" /* sic */,
     .type = style::kEdit | style::kInEditor,
     .value = Text(kTimeFormat)},
    {.name = names::kFormatIndex,
     .title = L"Horizontal Align" /* sic */,
     .type = style::kEdit | style::kInEditor,
     .value = Text(L"%02d")},
};
constexpr NodeDecl kText = {.cls = clsid::PropertyWatermarkText,
                            .title = L"Text",
                            .type = style::kEdit | style::kDialog,
                            .description = help::kWatermarkText,
                            .value = Text(L""),
                            .children = kFormats};

/// The text of a watermark. The value stays as it was typed; its variables are worked out for those who ask.
class PropertyWatermarkText : public PropertyBase, public IDynamicText, private VariableSource {
public:
    using Answers = PropertyBase::Answers::With<IDynamicText>;
    PropertyWatermarkText() : PropertyBase(kText) {}

    STDMETHODIMP GetVariableCount(LONG* count) override {
        if (!count) return E_POINTER;
        *count = LONG(kVariableCount);
        return S_OK;
    }
    STDMETHODIMP GetVariable(LONG index, BSTR* key, BSTR* title) override {
        if (!key || !title) return E_POINTER;
        if (index < 0 || size_t(index) >= kVariableCount) return E_INVALIDARG;
        Bstr key_text = ToBstr(kVariables[index].key), title_text(kVariables[index].title);
        if (!key_text.get() || !title_text.get()) return E_OUTOFMEMORY;
        *key = key_text.Detach();
        *title = title_text.Detach();
        return S_OK;
    }
    STDMETHODIMP Expand(BSTR text, BSTR* result) override {
        if (!result) return E_POINTER;
        NarrowText expanded(View(text));
        memory_ = S_OK;
        for (const Variable& variable : kVariables)
            if (const VariableValue value = variable.value(*this))
                PutVariable(expanded, variable.key, value->View());
        if (FAILED(memory_)) return memory_;  // a text without some of its values would be another one
        Bstr wide = ToBstr(expanded.View());
        if (!wide.get()) return E_OUTOFMEMORY;
        *result = wide.Detach();
        return S_OK;
    }

protected:
    HRESULT OnShowDialog() override { return RunEditor("LogoTextEditor", this); }

private:
    /// Notes when there was no memory for a value; all else that can fail is no value.
    bool Good(HRESULT status) {
        if (status == E_OUTOFMEMORY) memory_ = status;
        return status == S_OK;
    }
    VariableValue TextOfNode(IProperty* node) {
        Variant text;
        if (!Good(ReadValue(node, VT_BSTR, text))) return {};
        return NarrowText(TextOf(text));
    }
    VariableValue SourcePath() override { return TextOfNode(Find(names::kPathToMediaFile).get()); }
    VariableValue OutputPath() override {
        const auto media = Query<IMediaObject>(Media());
        Bstr name;
        const HRESULT status = media ? media->GetOuputFileName(name.Put()) : E_NOINTERFACE;
        std::ignore = Good(status);
        if (FAILED(status)) return {};
        return NarrowText(name.View());
    }
    std::optional<LONG> OutputIndex() override {
        const auto media = Query<IMediaObject>(Media());
        if (!media) return {};
        int index = 0;
        std::ignore = media->GetCurIndex(&index);
        return index;
    }
    VariableValue FormatOf(Name name) override { return TextOfNode(Find(name).get()); }

    HRESULT memory_ = S_OK;  // of the text that is worked out
};

}  // namespace
BV_CREATOR(PropertyWatermarkText)
}  // namespace bv
