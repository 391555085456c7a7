#include <algorithm>
#include <vector>

#include "com/bounded_release.h"
#include "com/byte_block.h"
#include "com/object.h"
#include "xml/xml_sink.h"

namespace bv {
namespace {

/// The list of filter objects behind PropertyFilters.
class LiveTimeFilters : public Dispatch<IEnumObject>,
                        public SupportsErrors<IEnumObject>,
                        public ISettingsWriter,
                        public ObjectRoot {
public:
    using Answers = InterfaceMap<IEnumObject, IDispatch, ISupportErrorInfo, ISettingsWriter>;

    STDMETHODIMP Count(LONG* pnCount) override;
    STDMETHODIMP Item(LONG nID, IUnknown** ppUnk) override;
    STDMETHODIMP Remove(IUnknown* ppUnk) override;
    STDMETHODIMP Add(IUnknown** ppUnk) override;
    STDMETHODIMP SetMediaObject(IDispatch* ppUnk) override;
    STDMETHODIMP AddByCLSID(CLSID* pClsID, IUnknown** ppUnk) override;
    STDMETHODIMP WriteXml(ISequentialStream* stream) override;
    STDMETHODIMP ReadExtraData(IUnknown*) override { return S_OK; }

    void FinalRelease() {
        auto gone = std::move(objects_);  // an object's end sees an empty list
        objects_.clear();
        for (auto& object : gone) ReleaseBounded(object);
    }

private:
    HRESULT Append(IUnknown* object);

    std::vector<ComPtr<IUnknown>> objects_;
    BackRef<IDispatch> media_;
    /// A call that writes the list, and where to.
    struct Writing {
        const XmlSink* sink;
        const Writing* outer;
        int depth;
    };
    static constexpr int kDeepest =
        64;  // calls that a filter makes inside each other, each to a stream of its own
    const Writing* writing_ = nullptr;
    bool MayWrite(const XmlSink* sink) const;
};

STDMETHODIMP LiveTimeFilters::Count(LONG* pnCount) {
    if (!pnCount) return E_POINTER;
    *pnCount = LONG(objects_.size());
    return S_OK;
}

STDMETHODIMP LiveTimeFilters::Item(LONG nID, IUnknown** ppUnk) {
    if (!ppUnk) return E_POINTER;
    if (nID < 0 || size_t(nID) >= objects_.size()) return E_INVALIDARG;
    return objects_[size_t(nID)].CopyTo(ppUnk);
}

STDMETHODIMP LiveTimeFilters::Remove(IUnknown* ppUnk) {
    const auto place =
        std::find_if(objects_.begin(), objects_.end(), [&](auto& o) { return o.get() == ppUnk; });
    if (place == objects_.end()) return S_FALSE;
    const auto gone = std::move(*place);  // its end comes when the list is whole again
    objects_.erase(place);
    return S_OK;
}

HRESULT LiveTimeFilters::Append(IUnknown* object) {
    if (!TryAppend(objects_, ComPtr<IUnknown>(object))) return E_OUTOFMEMORY;
    if (!media_) return S_OK;
    if (const auto node = Query<IProperty>(object)) std::ignore = node->put_MediaObject(media_.get());
    return S_OK;
}

STDMETHODIMP LiveTimeFilters::Add(IUnknown** ppUnk) {
    if (!ppUnk) return E_POINTER;
    return *ppUnk ? Append(*ppUnk) : S_OK;
}

STDMETHODIMP LiveTimeFilters::AddByCLSID(CLSID* pClsID, IUnknown** ppUnk) {
    if (!pClsID || !ppUnk) return E_POINTER;
    ComPtr<IFilterEntry> entry;
    RETURN_IF_FAILED(Create(*pClsID, entry, CLSCTX_INPROC_SERVER));
    RETURN_IF_FAILED(Append(entry.get()));
    *ppUnk = entry.Detach();
    return S_OK;
}

STDMETHODIMP LiveTimeFilters::SetMediaObject(IDispatch* ppUnk) {
    media_.Set(ppUnk);
    // By index: a node that learns of the job may change the list.
    for (size_t i = 0; i < objects_.size(); ++i) {
        const auto object = objects_[i];
        if (const auto node = object.As<IProperty>()) std::ignore = node->put_MediaObject(ppUnk);
    }
    return S_OK;
}

/// Not below itself, as a list may hold itself; a filter may have it written to another stream meanwhile.
bool LiveTimeFilters::MayWrite(const XmlSink* sink) const {
    for (const Writing* outer = writing_; outer; outer = outer->outer)
        if (outer->sink == sink) return false;
    return !writing_ || writing_->depth < kDeepest;
}

STDMETHODIMP LiveTimeFilters::WriteXml(ISequentialStream* stream) {
    if (!stream) return E_POINTER;
    const XmlSink::Scope scope(stream);
    XmlSink* const sink = scope.sink();
    if (!sink) return E_OUTOFMEMORY;
    if (!MayWrite(sink)) return S_OK;
    const Writing writing{sink, writing_, writing_ ? writing_->depth + 1 : 1};
    writing_ = &writing;
    sink->Append("<EnumFilters>\n");
    for (size_t i = 0; i < objects_.size(); ++i) {
        const auto object = objects_[i];  // what it does may take it out of the list
        auto writer = object.As<ISettingsWriter>();
        if (!writer) writer = Query<ISettingsWriter>(object.As<IProperty>().get());
        if (writer) std::ignore = writer->WriteXml(sink);
    }
    sink->Append("</EnumFilters>\n");
    writing_ = writing.outer;
    return S_OK;
}

}  // namespace
BV_CREATOR(LiveTimeFilters)
}  // namespace bv
