#include "input/index_file.h"
#include "input/media_sample.h"
#include "tree/property_base.h"

namespace bv {
namespace {

constexpr LONG kGood = 1, kFailed = 2;  // states of an open attempt; all others are the host's

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

    STDMETHODIMP get_StateSet(LONG* pVal) override;
    STDMETHODIMP get_IsGood(LONG* pVal) override;
    STDMETHODIMP GetState(LONG* state, BSTR* text) override;
    STDMETHODIMP SetState(LONG state, BSTR text) override;
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
    void DropIndex();
    void RemoveTimelines();
    /// A search would pass by the children of an input that is switched off, and find another input's.
    ComPtr<IProperty> OwnChild(Name name) const;
    Bstr IdxValue(IProperty* idx) const;
    Bstr Path() const;

    Bstr previous_path_;  // the one that all below was collected for
    Bstr state_text_;
    LONG state_set_ = 0;
    LONG state_ = 0;
    MediaSample sample_;
};

Bstr PropertyMediaPath::Path() const {
    Variant path;
    std::ignore = path.ChangeFrom(Stored(), VT_BSTR);
    return Bstr(TextOf(path));
}

// --- The last attempt to open it ---

STDMETHODIMP PropertyMediaPath::get_StateSet(LONG* pVal) {
    if (!pVal) return E_POINTER;
    *pVal = state_set_;
    return S_OK;
}

STDMETHODIMP PropertyMediaPath::get_IsGood(LONG* pVal) {
    if (!pVal) return E_POINTER;
    *pVal = state_set_ && state_ == kGood;
    return S_OK;
}

STDMETHODIMP PropertyMediaPath::GetState(LONG* state, BSTR* text) {
    if (!state) return E_POINTER;
    if (state_ != kGood) {
        // What went wrong lies in the thread's error object, where the parser that failed left it.
        ComPtr<IErrorInfo> error;
        if (GetErrorInfo(0, error.Put()) == S_OK && error) {
            Bstr description;
            std::ignore = error->GetDescription(description.Put());
            state_text_ = std::move(description);
            state_ = kFailed;
            *state = state_;
            return text ? state_text_.CopyTo(text) : S_OK;
        }
    }
    RETURN_IF_FAILED(state_text_.CopyTo(text));
    *state = state_;
    return S_OK;
}

STDMETHODIMP PropertyMediaPath::SetState(LONG state, BSTR text) {
    state_text_ = Bstr(View(text));
    state_ = state;
    state_set_ = 1;
    return S_OK;
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
    state_text_ = Bstr();
    state_set_ = 0;
    if (Data()) DropIndex();
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

// --- The index and its cache file ---

Bstr PropertyMediaPath::IdxValue(IProperty* idx) const {
    Variant value, text;
    if (idx && idx->get_Value(value.Put()) == S_OK) std::ignore = text.ChangeFrom(value, VT_BSTR);
    return Bstr(TextOf(text));
}

void PropertyMediaPath::DropIndex() {
    DropData();
    const auto idx = OwnChild(names::kIdx);
    const Bstr name = IdxValue(idx.get());
    if (name.empty()) return;
    if (const IndexFile file(name.View()); file) file.Delete();
    std::ignore = idx->put_Value(Lend(ConstBstr(L"").get()));
}

void PropertyMediaPath::WriteExtra() {
    if (!Data()) return;
    const auto idx = OwnChild(names::kIdx);
    if (!idx) return;
    Bstr name = IdxValue(idx.get());
    if (!IndexFile::IsSafeName(name.View())) {  // empty, or no name of ours
        GUID id;
        if (FAILED(CoCreateGuid(&id))) return;
        name = Bstr(GuidText(id).View());
        std::ignore = idx->put_Value(Lend(name.get()));
    }
    const auto fingerprint = Fingerprint(Path().View());
    if (const IndexFile file(name.View()); file && fingerprint)
        std::ignore = file.Write(*fingerprint, DataKind(), Data());
}

void PropertyMediaPath::ReadExtra() {
    const auto idx = OwnChild(names::kIdx);
    const IndexFile file(IdxValue(idx.get()).View());
    const auto fingerprint = Fingerprint(Path().View());
    if (!file || !fingerprint) return;
    int kind = DataKind();
    ByteBlock index;
    switch (file.Read(*fingerprint, kind, index)) {
        case IndexFile::Reading::kMissing:
            return;
        case IndexFile::Reading::kGood:
            break;
        case IndexFile::Reading::kStale:
            file.Delete();
            break;
    }
    SwapData(index, kind);
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
