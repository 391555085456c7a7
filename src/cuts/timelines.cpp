// The ordered list of an input's cuts.
#include <algorithm>
#include <deque>

#include "com/byte_block.h"
#include "com/refusal.h"
#include "cuts/frame_time.h"
#include "cuts/timeline_file.h"
#include "cuts/timeline_point.h"
#include "tree/property_base.h"
#include "xml/xml_sink.h"

namespace bv {
namespace {

constexpr LONGLONG kStillDuration = 40000;  // 4 ms

// The encoding is a fixed text; what is written is in the narrow code page.
constexpr std::string_view kFileBegin = "<?xml version=\"1.0\" encoding=\"Windows-1251\" ?><Timelines>";
constexpr std::string_view kFileEnd = "</Timelines>";

class Timelines : public Dispatch<ITimelines>,
                  public ICutFileReach,
                  public BackRefTarget,
                  public ObjectRoot,
                  private LoadedCuts {
    BackRef<IMediaObject> media_;

public:
    // What stands below a cut reaches the media object through its parents.
    using Answers = InterfaceMap<ITimelines, ICollection, IBaseObj, IDispatch, ICutFileReach, IBackRefTarget,
                                 Held<&Timelines::media_>>;

    STDMETHODIMP get_Name(BSTR* pVal) override { return Bstr::CopyTo({}, pVal); }
    STDMETHODIMP get_Count(LONG* pVal) override;
    STDMETHODIMP get_Item(LONG Index, IUnknown** pVal) override;
    STDMETHODIMP AddTimeline(LONG nStartFrm, LONG nEndFrm, IProperty** ptrRet) override;
    STDMETHODIMP RemoveTimeline(IProperty* ptrProp) override;
    STDMETHODIMP Save(BSTR bstrFileName) override;
    STDMETHODIMP Load(BSTR bstrFileName) override;
    STDMETHODIMP SetMediaObject(IMediaObject* ptrMediaObj) override;
    STDMETHODIMP get_ActiveDuration(LONGLONG* pVal) override;
    STDMETHODIMP get_WholeJob(LONG* pVal) override;
    STDMETHODIMP put_WholeJob(LONG newVal) override;
    void FinalRelease() { Clear(); }

private:
    struct Item {
        ComPtr<IUnknown> object;
        ComPtr<IProperty> node;  // the same object: what a caller knows it by
    };

    void Clear();
    HRESULT Make(LONG first, LONG last, bool quietly, ComPtr<IProperty>& timeline);
    HRESULT AddLoaded(ComPtr<IProperty>& timeline) override;
    HRESULT Append(const ComPtr<IProperty>& timeline);
    LONGLONG Sum(IMediaParser& parser) const;

    // Cuts are often removed from the front, one by one.
    std::deque<Item> items_;
    FileReach reach_ = FileReach::kOwnCuts;
};

ComPtr<IProperty> PointOf(IProperty* timeline, Name name) {
    ComPtr<IProperty> point;
    return timeline->FindProperty(name.bstr(), point.Put()) == S_OK ? point : nullptr;
}

STDMETHODIMP Timelines::get_Count(LONG* pVal) {
    if (!pVal) return E_POINTER;
    *pVal = LONG(items_.size());
    return S_OK;
}

STDMETHODIMP Timelines::get_Item(LONG Index, IUnknown** pVal) {
    if (!pVal) return E_POINTER;
    if (Index < 0 || size_t(Index) >= items_.size()) return E_INVALIDARG;
    return items_[size_t(Index)].object.CopyTo(pVal);
}

/// First to last. One that is ending is out of the list already.
void Timelines::Clear() {
    while (!items_.empty()) {
        const Item going = std::move(items_.front());
        items_.pop_front();
    }
}

/// A cut that isn't in the list yet. Without a source its length can't be told in seconds, and that is raised
/// unless it is to be made quietly.
HRESULT Timelines::Make(LONG first, LONG last, bool quietly, ComPtr<IProperty>& timeline) {
    RETURN_IF_FAILED(Create(clsid::PropertyTimeline, timeline));
    std::ignore = timeline->put_Parent(static_cast<ITimelines*>(this));
    const auto start = PointOf(timeline.get(), names::kStartFrm),
               end = PointOf(timeline.get(), names::kEndFrm);
    const auto own_start = start.As<ITimelinePoint>(), own_end = end.As<ITimelinePoint>();
    if (own_start && own_end) {
        own_start->SetFrame(first);  // the second point tells the length of both
        own_end->SetFrame(last);
        own_end->TellLength(quietly);
    } else {
        if (start) std::ignore = start->put_Value(Variant(I4(first)));
        if (end) std::ignore = end->put_Value(Variant(I4(last)));
    }
    return S_OK;
}

STDMETHODIMP Timelines::AddTimeline(LONG nStartFrm, LONG nEndFrm, IProperty** ptrRet) {
    ComPtr<IProperty> timeline;
    RETURN_IF_FAILED(Make(nStartFrm, nEndFrm, false, timeline));
    RETURN_IF_FAILED(Append(timeline));
    return ptrRet ? timeline.CopyTo(ptrRet) : S_OK;
}

HRESULT Timelines::AddLoaded(ComPtr<IProperty>& timeline) {
    RETURN_IF_FAILED(
        Make(0, 0, !items_.empty(), timeline));  // what is raised is the same for each: once will do
    return Append(timeline);
}

HRESULT Timelines::Append(const ComPtr<IProperty>& timeline) {
    std::ignore = timeline->SetMediaObject(media_.get());
    if (ComPtr<IProperty> extension; timeline->get_Extension(extension.Put()) == S_OK && extension)
        std::ignore = extension->SetMediaObject(media_.get());
    try {
        items_.push_back({timeline.As<IUnknown>(), timeline});
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

STDMETHODIMP Timelines::RemoveTimeline(IProperty* ptrProp) {
    const auto found = std::find_if(items_.begin(), items_.end(),
                                    [ptrProp](const Item& item) { return item.node.get() == ptrProp; });
    if (found == items_.end()) return S_OK;
    const Item gone = std::move(*found);  // its end comes when the list is whole again
    items_.erase(found);
    return S_OK;
}

STDMETHODIMP Timelines::SetMediaObject(IMediaObject* ptrMediaObj) {
    media_.Set(ptrMediaObj);
    for (size_t i = 0; i < items_.size(); ++i) {
        const auto node = items_[i].node;
        std::ignore = node->SetMediaObject(ptrMediaObj);
    }
    return S_OK;
}

STDMETHODIMP Timelines::Save(BSTR bstrFileName) {
    TextFile file{NarrowText(View(bstrFileName))};
    if (!file) return RaiseMessage(clsid::Timelines, msg::kNoFile);
    XmlSink::Scope scope(&file);
    XmlSink* const sink = scope.sink();
    if (!sink) return E_OUTOFMEMORY;
    HRESULT status = S_OK;
    sink->Append(kFileBegin);
    for (size_t i = 0; i < items_.size() && status == S_OK; ++i) {
        const ComPtr<IUnknown> item = items_[i].object;
        const auto writer = item.As<ISettingsWriter>();
        if (!item.As<IProperty>())
            status = RaiseMessage(clsid::Timelines, msg::kNoProperty);
        else if (!writer)
            status = RaiseMessage(clsid::Timelines, msg::kNoInterface);
        else
            std::ignore = writer->WriteXml(sink);
    }
    if (status == S_OK) sink->Append(kFileEnd);
    scope.Close();
    // A file that the disk had no room for wasn't created.
    if (!file.Close() && status == S_OK) status = RaiseMessage(clsid::Timelines, msg::kNoFile);
    return status;
}

STDMETHODIMP Timelines::Load(BSTR bstrFileName) {
    Clear();
    ComPtr<IXMLDOMDocument> document;
    if (FAILED(Create(kXmlDocument, document))) return RaiseMessage(clsid::Timelines, msg::kNoDocument);
    std::ignore = document->put_async(VARIANT_FALSE);
    // A file of cuts is alone: nothing that it names is fetched.
    std::ignore = document->put_validateOnParse(VARIANT_FALSE);
    std::ignore = document->put_resolveExternals(VARIANT_FALSE);
    VARIANT_BOOL loaded = VARIANT_FALSE;
    if (document->load(Lend(bstrFileName), &loaded) != S_OK || !loaded)
        return RaiseMessage(clsid::Timelines, msg::kBadConfig);
    const auto cursor = CursorOf(document.get());
    if (!cursor) return E_OUTOFMEMORY;
    const HRESULT status = TimelineReader(*this, *cursor, reach_).Read();
    if (SUCCEEDED(status)) return S_OK;
    Clear();
    return status == TimelineReader::kTooManyCuts ? RaiseMessage(clsid::Timelines, msg::kBadConfig) : status;
}

STDMETHODIMP Timelines::get_WholeJob(LONG* pVal) {
    if (!pVal) return E_POINTER;
    *pVal = reach_ == FileReach::kWholeJob;
    return S_OK;
}

STDMETHODIMP Timelines::put_WholeJob(LONG newVal) {
    reach_ = newVal ? FileReach::kWholeJob : FileReach::kOwnCuts;
    return S_OK;
}

/// What is encoded of the source: each cut up to the source's end, overlaps as often as they occur.
LONGLONG Timelines::Sum(IMediaParser& parser) const {
    LONGLONG time_per_frame = 0, duration = 0, sum = 0;
    std::ignore = parser.get_TimePerFrame(&time_per_frame);
    std::ignore = parser.get_Duration(&duration);
    for (size_t i = 0; i < items_.size(); ++i) {
        const auto node = items_[i].node;
        const LONGLONG start = TimeOf(FrameOf(PointOf(node.get(), names::kStartFrm).get()), time_per_frame);
        const LONGLONG end = TimeOf(FrameOf(PointOf(node.get(), names::kEndFrm).get()), time_per_frame);
        if (start < duration) sum = AddSpan(sum, start, std::min(end, duration));
    }
    return sum;
}

STDMETHODIMP Timelines::get_ActiveDuration(LONGLONG* pVal) {
    if (!pVal) return E_POINTER;
    const auto map = Query<IMap>(media_.get());
    if (!map) return RaiseMessage(clsid::Timelines, msg::kNoMap);
    Variant in_use, number;
    if (const HRESULT status = map->get_PropertyVal(names::kTimelines.get(), nullptr, in_use.Put());
        FAILED(status)) {
        std::ignore = RaiseMessage(clsid::Timelines, msg::kNoTimelines);
        return status;
    }
    const auto parser = Query<IMediaParser>(media_.get());
    if (!parser) return RaiseMessage(clsid::Timelines, msg::kNoParser);
    int has_a = 0, has_b = 0, is_still = 0;
    std::ignore = parser->get_StreamFlagB(&has_b);
    std::ignore = parser->get_StreamFlagA(&has_a);
    std::ignore = parser->get_IsStill(&is_still);
    const bool cut = SUCCEEDED(number.ChangeFrom(in_use, VT_I4)) && (number.lVal & 0xFFFF);
    if (!has_a && !has_b) {
        if (is_still) *pVal = kStillDuration;
        return S_OK;
    }
    if (cut)
        *pVal = Sum(*parser);
    else
        std::ignore = parser->get_Duration(pVal);
    return S_OK;
}

}  // namespace
BV_CREATOR(Timelines)
}  // namespace bv
