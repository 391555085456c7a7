#include "com/bounded_release.h"
#include "dialogs/editor_library.h"
#include "tree/property_base.h"
#include "xml/xml_sink.h"

namespace bv {
namespace {

constexpr NodeDecl kFilters = {.cls = clsid::PropertyFilters,
                               .title = L"Filters",
                               .type = style::kCheckBox | style::kDialog,
                               .description = help::kFilters,
                               .value = I4(0)};

/// The further filters that the user chose: a switch, with the list beside it.
class PropertyFilters : public PropertyBase {
    ComPtr<IEnumObject> filters_;

public:
    using Answers = PropertyBase::Answers::With<Held<&PropertyFilters::filters_>>;
    PropertyFilters() : PropertyBase(kFilters) {}

    STDMETHODIMP put_MediaObject(IDispatch* newVal) override {
        std::ignore = SetMediaObject(newVal);
        KeepMedia(newVal);
        return S_OK;
    }

protected:
    void PropagateMediaObject(IDispatch* media, BackRefLink**) override {
        const Walk walk{.kind = Walk::kGiveMedia, .object = media};
        const Visit visit(*this, walk);
        if (visit && filters_) std::ignore = filters_->SetMediaObject(media);
    }
    HRESULT BuildChildren() override {
        RETURN_IF_FAILED(Build(kFilters));
        // Where it can't be created for another reason, the node stands without.
        return Create(clsid::LiveTimeFilters, filters_) == E_OUTOFMEMORY ? E_OUTOFMEMORY : S_OK;
    }
    void OnFinalRelease() override { ReleaseBounded(filters_); }
    HRESULT OnShowDialog() override { return RunEditor("Filters", this); }
    void WriteChildrenExtra(XmlSink& sink) override {
        if (const auto writer = filters_.As<ISettingsWriter>()) std::ignore = writer->WriteXml(&sink);
    }
};

}  // namespace
BV_CREATOR(PropertyFilters)
}  // namespace bv
