#include "tree/property_base.h"
#include "xml/xml_sink.h"

namespace bv {
namespace {

constexpr NodeDecl kTimelines = {.name = L"TimeLines",
                                 .cls = clsid::PropertyTimelines,
                                 .type = style::kCheckBox | style::kSwitch,
                                 .value = I4(0)};

/// Says whether an input's cuts count, and owns them.
class PropertyTimelines : public PropertyBase {
    ComPtr<ITimelines> timelines_;

public:
    using Answers = PropertyBase::Answers::With<Held<&PropertyTimelines::timelines_>>;
    PropertyTimelines() : PropertyBase(kTimelines) {}

protected:
    HRESULT BuildChildren() override {
        RETURN_IF_FAILED(Build(kTimelines));
        // Where it can't be created for another reason, the node stands without.
        return Create(clsid::Timelines, timelines_) == E_OUTOFMEMORY ? E_OUTOFMEMORY : S_OK;
    }
    void OnMediaObjectChanged(IDispatch* media) override {
        if (timelines_) std::ignore = timelines_->SetMediaObject(Query<IMediaObject>(media).get());
    }
    void OnFinalRelease() override { timelines_.Reset(); }
    void WriteChildrenExtra(XmlSink& sink) override {
        LONG count = 0;
        if (timelines_) std::ignore = timelines_->get_Count(&count);
        for (LONG i = 0; i < count; ++i) {
            ComPtr<IUnknown> item;
            if (FAILED(timelines_->get_Item(i, item.Put()))) return;
            if (auto writer = item.As<ISettingsWriter>()) std::ignore = writer->WriteXml(&sink);
        }
    }
};

}  // namespace
BV_CREATOR(PropertyTimelines)
}  // namespace bv
