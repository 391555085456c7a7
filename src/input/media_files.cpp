// The ordered list of a job's inputs.
#include <utility>
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
    ComPtr<IProperty> Unused() const;
    size_t PlaceOf(IProperty* node) const;

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

/// An entry with an empty path is there to be filled, if it is the only one; null: there is none.
ComPtr<IProperty> MediaFiles::Unused() const {
    if (items_.size() != 1) return nullptr;
    const auto item = items_[0];
    auto node = item.As<IProperty>();
    Variant path;
    const bool unused =
        node && node->get_Value(path.Put()) == S_OK && path.vt == VT_BSTR && TextOf(path).empty();
    return unused ? std::move(node) : nullptr;
}

HRESULT MediaFiles::Add(BSTR path, IProperty** result) {
    ComPtr<IProperty> node = Unused();
    HRESULT status = S_OK;
    if (node) {
        std::ignore = node->put_Value(Lend(path));
    } else {
        RETURN_IF_FAILED(Create(clsid::PropertyMediaPath, node));
        status = node->put_Value(Lend(path));
        if (!TryAppend(items_, node.As<IUnknown>())) return E_OUTOFMEMORY;
    }
    if (result) std::ignore = node.CopyTo(result);
    return status;
}

STDMETHODIMP MediaFiles::AddNew() {
    ComPtr<IMediaSelecter> selecter;
    if (FAILED(Create(clsid::MediaSelecter, selecter))) return S_FALSE;
    LONG count = 0;
    if (FAILED(selecter->Simple()) || FAILED(selecter->get_Count(&count))) return S_OK;
    for (LONG i = 0; i < count; ++i) {
        Bstr path;
        RETURN_IF_FAILED(selecter->get_Path(i, path.Put()));
        RETURN_IF_FAILED(Add(path.get(), nullptr));
    }
    return S_OK;
}

/// By index, and each item held: an item that is asked may change the list. The list's size for a node that
/// isn't in it.
size_t MediaFiles::PlaceOf(IProperty* node) const {
    for (size_t i = 0; i < items_.size(); ++i)
        if (const auto item = items_[i]; item.As<IProperty>().get() == node && i < items_.size()) return i;
    return items_.size();
}

STDMETHODIMP MediaFiles::RemoveItem(IProperty* pIt) {
    const size_t place = PlaceOf(pIt);
    if (place == items_.size()) return S_OK;
    const ComPtr<IUnknown> gone = std::move(items_[place]);
    items_.erase(items_.begin() + std::ptrdiff_t(place));
    return S_OK;
}

/// E_INVALIDARG for a place outside the list, which stays as it is.
STDMETHODIMP MediaFiles::Move(IProperty* ptrProp, int nDir) {
    const size_t place = PlaceOf(ptrProp);
    if (place == items_.size()) return S_OK;
    const LONGLONG target = LONGLONG(place) + nDir;
    if (target < 0 || target >= LONGLONG(items_.size())) return E_INVALIDARG;
    std::swap(items_[place], items_[size_t(target)]);
    return S_OK;
}

STDMETHODIMP MediaFiles::GetTopMedia(IProperty** pProp) {
    if (!pProp) return E_POINTER;
    *pProp = nullptr;
    if (items_.empty()) {
        std::ignore = Add(nullptr, pProp);
        return S_OK;
    }
    const auto first = items_[0];
    *pProp = first.As<IProperty>().Detach();
    return S_OK;
}

}  // namespace
BV_CREATOR(MediaFiles)
}  // namespace bv
