#include "input/index_cache.h"
#include "input/media_sample.h"
#include "input/open_state.h"
#include "tree/property_base.h"

namespace bv {
namespace {

constexpr NodeDecl kChildren[] = {
    {.name = names::kTimelines, .cls = clsid::PropertyTimelines},
    {.name = names::kIdx, .type = style::kCarrier, .value = Text(L"")},
};
constexpr NodeDecl kMediaPath = {.name = names::kPathToMediaFile,
                                 .cls = clsid::PropertyMediaPath,
                                 .title = L"Path",
                                 .type = style::kEdit | style::kDialog | style::kFile,
                                 .value = Text(L""),
                                 .children = kChildren};

/// One input of the job: a path, and all that was found out about what lies there.
class PropertyMediaPath : public PropertyBase, public IMediaOpenState, public ICachedSample {
public:
    using Answers = PropertyBase::Answers::With<IMediaOpenState, ICachedSample>;
    PropertyMediaPath() : PropertyBase(kMediaPath) {}

    STDMETHODIMP get_StateSet(LONG* pVal) override {
        if (!pVal) return E_POINTER;
        *pVal = state_.IsSet();
        return S_OK;
    }
    STDMETHODIMP get_IsGood(LONG* pVal) override {
        if (!pVal) return E_POINTER;
        *pVal = state_.IsGood();
        return S_OK;
    }
    STDMETHODIMP GetState(LONG* state, BSTR* text) override { return state_.Get(state, text); }
    STDMETHODIMP SetState(LONG state, BSTR text) override {
        state_.Set(state, View(text));
        return S_OK;
    }
    STDMETHODIMP PutSample(BYTE* data, LONG size, AM_MEDIA_TYPE* type, LONG typeSize) override;
    STDMETHODIMP GetSample(BYTE** data, LONG* size, AM_MEDIA_TYPE** type, LONG* typeSize) override;

protected:
    void ReadExtra() override;
    void WriteExtra() override;
    HRESULT OnShowDialog() override;
    void OnFinalRelease() override { sample_.Drop(); }
    void OnValueChanged() override;
    void OnValueChanging() override {}

private:
    void RemoveTimelines();
    /// A search would pass by the children of an input that is switched off, and find another input's.
    ComPtr<IProperty> OwnChild(Name name) const;
    Bstr Path() const;

    Bstr previous_path_;  // the one that all below was collected for
    OpenState state_;
    MediaSample sample_;
};

Bstr PropertyMediaPath::Path() const {
    Variant path;
    std::ignore = path.ChangeFrom(Stored(), VT_BSTR);
    return Bstr(TextOf(path));
}

// --- The sample ---

STDMETHODIMP PropertyMediaPath::PutSample(BYTE* data, LONG size, AM_MEDIA_TYPE* type, LONG typeSize) {
    if (!type || (!data && size)) return E_POINTER;
    if (size < 0 || typeSize < LONG(sizeof(AM_MEDIA_TYPE))) return E_INVALIDARG;
    return sample_.Put(data, size, *type, typeSize);
}

STDMETHODIMP PropertyMediaPath::GetSample(BYTE** data, LONG* size, AM_MEDIA_TYPE** type, LONG* typeSize) {
    if (!data || !size || !type || !typeSize) return E_POINTER;
    if (!sample_) return S_FALSE;
    *data = sample_.Data().data();
    *size = LONG(sample_.Data().size());
    *type = sample_.Type();
    *typeSize = LONG(sample_.TypeSize());
    return S_OK;
}

// --- The path ---

void PropertyMediaPath::OnValueChanged() {
    Bstr path = Path();
    const bool same = SameName(path.View(), previous_path_.View()), empty = path.empty();
    previous_path_ = std::move(path);  // first: what is dropped may put another path in its end
    if (same) return;
    state_.Clear();
    if (Data()) {
        DropData();
        IndexCache(OwnChild(names::kIdx)).Drop();
    }
    DropExData();
    sample_.Drop();
    if (empty) RemoveTimelines();
}

ComPtr<IProperty> PropertyMediaPath::OwnChild(Name name) const {
    for (const NodeRef& item : Children()) {
        Bstr text;
        if (const auto child = item.node();
            child && SUCCEEDED(child->get_Name(text.Put())) && SameName(text.View(), View(name.bstr())))
            return child;
    }
    return nullptr;
}

void PropertyMediaPath::RemoveTimelines() {
    const auto timelines = OwnChild(names::kTimelines).As<ITimelines>();
    if (!timelines) return;
    // Backwards by count, forwards by place: each removal must make the list shorter.
    LONG count = 0;
    for (LONG before = 0; SUCCEEDED(timelines->get_Count(&count)) && count > 0 && count != before;) {
        before = count;
        ComPtr<IUnknown> first;
        if (FAILED(timelines->get_Item(0, first.Put()))) return;
        std::ignore = timelines->RemoveTimeline(first.As<IProperty>().get());
    }
}

// --- The index ---

void PropertyMediaPath::WriteExtra() {
    if (Data()) IndexCache(OwnChild(names::kIdx)).Write(Path().View(), DataKind(), Data());
}

void PropertyMediaPath::ReadExtra() {
    int kind = DataKind();
    ByteBlock index;
    if (IndexCache(OwnChild(names::kIdx)).Read(Path().View(), kind, index)) SwapData(index, kind);
}

HRESULT PropertyMediaPath::OnShowDialog() {
    ComPtr<IMediaSelecter> selecter;
    if (FAILED(Create(clsid::MediaSelecter, selecter)) || FAILED(selecter->Simple())) return S_FALSE;
    LONG count = 0;
    std::ignore = selecter->get_Count(&count);
    const auto host = Query<IMediaFilesHost>(Media());
    const auto files = Query<IMediaFiles>(host.get());
    for (LONG i = 0; i < count; ++i) {
        Bstr path;
        if (FAILED(selecter->get_Path(i, path.Put()))) continue;
        if (i == 0) {
            std::ignore = StoreQuietly(path.View());
            OnValueChanged();
        } else if (files) {
            std::ignore = files->Insert(path.get());
        }
    }
    return count > 1 ? S_FALSE : S_OK;
}

}  // namespace
BV_CREATOR(PropertyMediaPath)
}  // namespace bv
