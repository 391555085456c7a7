// The ordered list of a job's inputs.
#include <algorithm>
#include <vector>

#include "com/byte_block.h"
#include "com/object.h"
#include "com/variant.h"

namespace bv {
namespace {

class MediaFiles : public Dispatch<IMediaFiles>, public ObjectRoot {
public:
    using Answers = InterfaceMap<IMediaFiles, ICollection, IBaseObj, IDispatch>;

    STDMETHODIMP get_Name(BSTR* pVal) override { return Bstr::CopyTo({}, pVal); }
    STDMETHODIMP get_Count(LONG* pVal) override;
    STDMETHODIMP get_Item(LONG Index, IUnknown** pVal) override;
    STDMETHODIMP AddNew() override;
    STDMETHODIMP Insert(BSTR Path) override { return Add(Path, nullptr); }
    STDMETHODIMP RemoveItem(IProperty* pIt) override;
    STDMETHODIMP Move(IProperty* ptrProp, int nDir) override;
    STDMETHODIMP GetTopMedia(IProperty** pProp) override;
    void FinalRelease() {
        for (auto& item : items_) item.Reset();
        items_.clear();
    }

private:
    HRESULT Add(BSTR path, IProperty** result);
    bool HasOnlyUnused() const;
    std::vector<ComPtr<IUnknown>>::iterator FindItem(IProperty* node);

    std::vector<ComPtr<IUnknown>> items_;
};

STDMETHODIMP MediaFiles::get_Count(LONG* pVal) {
    if (!pVal) return E_POINTER;
    *pVal = LONG(items_.size());
    return S_OK;
}

STDMETHODIMP MediaFiles::get_Item(LONG Index, IUnknown** pVal) {
    if (!pVal) return E_POINTER;
    if (Index < 0 || size_t(Index) >= items_.size()) return E_INVALIDARG;
    return items_[size_t(Index)].CopyTo(pVal);
}

/// An entry with an empty path is there to be filled, if it is the only one.
bool MediaFiles::HasOnlyUnused() const {
    if (items_.size() != 1) return false;
    const auto node = items_[0].As<IProperty>();
    Variant path;
    return node && node->get_Value(path.Put()) == S_OK && path.vt == VT_BSTR && TextOf(path).empty();
}

HRESULT MediaFiles::Add(BSTR path, IProperty** result) {
    ComPtr<IProperty> node;
    HRESULT status = S_OK;
    if (HasOnlyUnused()) {
        node = items_[0].As<IProperty>();
        std::ignore = node->put_Value(Lend(path));
    } else {
        node = Create<IProperty>(clsid::PropertyMediaPath, &status);
        if (!node) return FAILED(status) ? status : E_FAIL;
        status = node->put_Value(Lend(path));
        if (!TryAppend(items_, node.As<IUnknown>())) return E_OUTOFMEMORY;
    }
    if (result) std::ignore = node.CopyTo(result);
    return status;
}

STDMETHODIMP MediaFiles::AddNew() {
    const auto selecter = Create<IMediaSelecter>(clsid::MediaSelecter);
    if (!selecter) return S_FALSE;
    LONG count = 0;
    if (FAILED(selecter->Simple()) || FAILED(selecter->get_Count(&count))) return S_OK;
    for (LONG i = 0; i < count; ++i) {
        Bstr path;
        RETURN_IF_FAILED(selecter->get_Path(i, path.Put()));
        RETURN_IF_FAILED(Add(path.get(), nullptr));
    }
    return S_OK;
}

std::vector<ComPtr<IUnknown>>::iterator MediaFiles::FindItem(IProperty* node) {
    return std::find_if(items_.begin(), items_.end(),
                        [node](const auto& item) { return item.template As<IProperty>().get() == node; });
}

STDMETHODIMP MediaFiles::RemoveItem(IProperty* pIt) {
    const auto found = FindItem(pIt);
    if (found == items_.end()) return S_OK;
    const ComPtr<IUnknown> gone = std::move(*found);
    items_.erase(found);
    return S_OK;
}

/// E_INVALIDARG for a place outside the list, which stays as it is.
STDMETHODIMP MediaFiles::Move(IProperty* ptrProp, int nDir) {
    const auto found = FindItem(ptrProp);
    if (found == items_.end()) return S_OK;
    const LONGLONG target = LONGLONG(found - items_.begin()) + nDir;
    if (target < 0 || target >= LONGLONG(items_.size())) return E_INVALIDARG;
    std::swap(*found, items_[size_t(target)]);
    return S_OK;
}

STDMETHODIMP MediaFiles::GetTopMedia(IProperty** pProp) {
    if (!pProp) return E_POINTER;
    *pProp = nullptr;
    if (items_.empty()) {
        std::ignore = Add(nullptr, pProp);
        return S_OK;
    }
    *pProp = items_[0].As<IProperty>().Detach();
    return S_OK;
}

}  // namespace
BV_CREATOR(MediaFiles)
}  // namespace bv
