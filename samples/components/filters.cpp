// The two filters that every video job has: frame size and crop. The settings are the server's own nodes; the
// filter is what a graph would be built with. It says what it is, and takes no part in a graph: this sample
// shows settings.
#include "classes.h"
#include "component.h"

namespace sample {
namespace {

constexpr CLSID kFrameSize[] = {bv::clsid::FrameSizeFilter, bv::clsid::PropertySize};
constexpr CLSID kCrop[] = {bv::clsid::CropFilter, bv::clsid::PropertyCrop};

/// ids: the filter's class, and the class of its settings.
template <const CLSID (&ids)[2]>
class Filter final : public Component<IBaseFilter> {
public:
    /// Fails where the server has no such settings: a filter without them is of no use here.
    HRESULT Build() { return AggregateNode(ids[1]); }

    STDMETHODIMP GetClassID(CLSID* pClassID) override {
        if (!pClassID) return E_POINTER;
        *pClassID = ids[0];
        return S_OK;
    }
    STDMETHODIMP Stop() override { return E_NOTIMPL; }
    STDMETHODIMP Pause() override { return E_NOTIMPL; }
    STDMETHODIMP Run(REFERENCE_TIME) override { return E_NOTIMPL; }
    STDMETHODIMP GetState(DWORD, FILTER_STATE*) override { return E_NOTIMPL; }
    STDMETHODIMP SetSyncSource(IReferenceClock*) override { return E_NOTIMPL; }
    STDMETHODIMP GetSyncSource(IReferenceClock**) override { return E_NOTIMPL; }
    STDMETHODIMP EnumPins(IEnumPins**) override { return E_NOTIMPL; }
    STDMETHODIMP FindPin(LPCWSTR, IPin**) override { return E_NOTIMPL; }
    STDMETHODIMP QueryFilterInfo(FILTER_INFO*) override { return E_NOTIMPL; }
    STDMETHODIMP JoinFilterGraph(IFilterGraph*, LPCWSTR) override { return E_NOTIMPL; }
    STDMETHODIMP QueryVendorInfo(LPWSTR*) override { return E_NOTIMPL; }

protected:
    bool Answers(REFIID iid) const override {
        return Component::Answers(iid) || iid == IID_IMediaFilter || iid == IID_IPersist ||
               iid == bv::kIid<IFilterEntry>;  // which has nothing of its own
    }
};

}  // namespace

HRESULT CreateFrameSizeFilter(REFIID iid, void** out) {
    return Component<IBaseFilter>::Create<Filter<kFrameSize>>(iid, out);
}
HRESULT CreateCropFilter(REFIID iid, void** out) {
    return Component<IBaseFilter>::Create<Filter<kCrop>>(iid, out);
}

}  // namespace sample
