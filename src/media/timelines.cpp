// The ordered list of an input's cuts.
#include <algorithm>
#include <deque>

#include "com/byte_block.h"
#include "core/property_base.h"
#include "media/frame_time.h"
#include "server/messages.h"

namespace bv {
namespace {

constexpr LONGLONG kStillDuration = 40000;  // 4 ms

class Timelines : public Dispatch<ITimelines>, public BackRefTarget, public ObjectRoot {
    BackRef<IMediaObject> media_;

public:
    // What stands below a cut reaches the media object through its parents.
    using Answers =
        InterfaceMap<ITimelines, ICollection, IBaseObj, IDispatch, IBackRefTarget, Held<&Timelines::media_>>;

    STDMETHODIMP get_Name(BSTR* pVal) override { return Bstr::CopyTo({}, pVal); }
    STDMETHODIMP get_Count(LONG* pVal) override;
    STDMETHODIMP get_Item(LONG Index, IUnknown** pVal) override;
    STDMETHODIMP AddTimeline(LONG nStartFrm, LONG nEndFrm, IProperty** ptrRet) override;
    STDMETHODIMP RemoveTimeline(IProperty* ptrProp) override;
    STDMETHODIMP Save(BSTR bstrFileName) override;
    STDMETHODIMP Load(BSTR bstrFileName) override;
    STDMETHODIMP SetMediaObject(IMediaObject* ptrMediaObj) override;
    STDMETHODIMP get_ActiveDuration(LONGLONG* pVal) override;
    void FinalRelease() { Clear(); }

private:
    struct Item {
        ComPtr<IUnknown> object;
        ComPtr<IProperty> node;  // the same object: what a caller knows it by
    };

    void Clear();
    LONGLONG Sum(IMediaParser& parser) const;

    // Cuts are often removed from the front, one by one.
    std::deque<Item> items_;
};

void PutFrame(IProperty* timeline, Name name, LONG frame) {
    ComPtr<IProperty> point;
    if (timeline->FindProperty(name.bstr(), point.Put()) == S_OK) std::ignore = point->put_Value(Variant(I4(frame)));
}

/// 0 for a point that isn't there or holds no number.
LONG FrameOf(IProperty* timeline, Name name) {
    ComPtr<IProperty> point;
    Variant value, frame;
    if (timeline->FindProperty(name.bstr(), point.Put()) != S_OK || point->get_Value(value.Put()) != S_OK ||
        FAILED(frame.ChangeFrom(value, VT_I4)))
        return 0;
    return frame.lVal;
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

/// First to last; an end that asks finds the list empty.
void Timelines::Clear() {
    std::deque<Item> going;
    going.swap(items_);
    while (!going.empty()) going.pop_front();
}

STDMETHODIMP Timelines::AddTimeline(LONG nStartFrm, LONG nEndFrm, IProperty** ptrRet) {
    HRESULT status = S_OK;
    const auto timeline = Create<IProperty>(clsid::PropertyTimeline, &status);
    if (!timeline) return FAILED(status) ? status : E_FAIL;
    std::ignore = timeline->put_Parent(static_cast<ITimelines*>(this));
    PutFrame(timeline.get(), names::kStartFrm, nStartFrm);
    PutFrame(timeline.get(), names::kEndFrm, nEndFrm);
    std::ignore = timeline->SetMediaObject(media_.get());
    if (ComPtr<IProperty> extension; timeline->get_Extension(extension.Put()) == S_OK && extension)
        std::ignore = extension->SetMediaObject(media_.get());
    try {
        items_.push_back({timeline.As<IUnknown>(), timeline});
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    return ptrRet ? timeline.CopyTo(ptrRet) : S_OK;
}

STDMETHODIMP Timelines::RemoveTimeline(IProperty* ptrProp) {
    const auto found =
        std::find_if(items_.begin(), items_.end(), [ptrProp](const Item& item) { return item.node.get() == ptrProp; });
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

STDMETHODIMP Timelines::Save(BSTR) { return E_NOTIMPL; }
STDMETHODIMP Timelines::Load(BSTR) { return E_NOTIMPL; }

/// What is encoded of the source: each cut up to the source's end, overlaps as often as they occur.
LONGLONG Timelines::Sum(IMediaParser& parser) const {
    LONGLONG time_per_frame = 0, duration = 0, sum = 0;
    std::ignore = parser.get_TimePerFrame(&time_per_frame);
    std::ignore = parser.get_Duration(&duration);
    for (size_t i = 0; i < items_.size(); ++i) {
        const auto node = items_[i].node;
        const LONGLONG start = TimeOf(FrameOf(node.get(), names::kStartFrm), time_per_frame);
        const LONGLONG end = TimeOf(FrameOf(node.get(), names::kEndFrm), time_per_frame);
        if (start < duration) sum = AddSpan(sum, start, std::min(end, duration));
    }
    return sum;
}

STDMETHODIMP Timelines::get_ActiveDuration(LONGLONG* pVal) {
    if (!pVal) return E_POINTER;
    const auto map = Query<IMap>(media_.get());
    if (!map) return RaiseMessage(clsid::Timelines, msg::kNoMap);
    Variant in_use, number;
    if (const HRESULT status = map->get_PropertyVal(names::kTimelines.get(), nullptr, in_use.Put()); FAILED(status)) {
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
