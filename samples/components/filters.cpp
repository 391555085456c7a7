// The two filters that every video job has, frame size and crop, and one that a user may choose. The settings
// of the first two are the server's own nodes, the third brings its own; the filter is what a graph would be
// built with. It says what it is, and takes no part in a graph: this sample shows settings.
#include "classes.h"
#include "settings.h"

namespace sample {
namespace {

constexpr Setting kGrainSettings[] = {
    {.name = L"GrainStrength",
     .title = L"Strength",
     .style = kEdit | kNotNegative,
     .value = 20,
     .unit = L"%",
     .description = L"How much of the noise is taken out."},
    {.name = L"GrainKeepEdges",
     .title = L"Keep edges sharp",
     .style = kCheckBox,
     .value = 1,
     .description = L"Leaves places alone where the picture changes much."},
};

struct FilterDecl {
    CLSID cls;
    Setting root;
};
// The node above these two names them.
constexpr FilterDecl kFrameSize = {bv::clsid::FrameSizeFilter, {.name = L"", .cls = bv::clsid::PropertySize}};
constexpr FilterDecl kCrop = {bv::clsid::CropFilter, {.name = L"", .cls = bv::clsid::PropertyCrop}};
constexpr FilterDecl kGrain = {kGrainFilter,
                               {.name = L"Grain", .title = L"Film grain", .children = kGrainSettings}};

template <const FilterDecl& decl>
class Filter final : public Component<IBaseFilter> {
public:
    /// Fails where the server has no such settings: a filter without them is of no use here.
    HRESULT Build() {
        const HRESULT status = AggregateNode(decl.root.cls);
        return FAILED(status) ? status : SetUp(this, decl.root);
    }

    STDMETHODIMP GetClassID(CLSID* pClassID) override {
        if (!pClassID) return E_POINTER;
        *pClassID = decl.cls;
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
HRESULT CreateGrainFilter(REFIID iid, void** out) {
    return Component<IBaseFilter>::Create<Filter<kGrain>>(iid, out);
}

}  // namespace sample
