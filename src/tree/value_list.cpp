// The value list and its entries.
#include <vector>

#include "com/byte_block.h"
#include "com/let_go.h"
#include "com/object.h"
#include "com/variant.h"

namespace bv {
namespace {

class ListItem : public Dispatch<IListItem>, public SupportsErrors<IListItem>, public ObjectRoot {
public:
    using Answers = InterfaceMap<IListItem, IBaseObj, IDispatch, ISupportErrorInfo>;

    STDMETHODIMP get_Name(BSTR* pVal) override { return label_.CopyTo(pVal); }
    STDMETHODIMP get_Title(BSTR* pVal) override { return label_.CopyTo(pVal); }
    STDMETHODIMP get_Value(VARIANT* pVal) override {
        if (!pVal) return E_POINTER;
        return value_.CopyTo(pVal);
    }
    STDMETHODIMP SetInfo(BSTR Name, VARIANT pVal) override {
        label_ = Bstr(View(Name));
        value_.CopyFrom(pVal);
        return S_OK;
    }
    void FinalRelease() { LetGo(value_); }

private:
    Bstr label_;  // the name and the title
    Variant value_;
};

/// An object becomes VT_UNKNOWN with the pointer that is its identity, whichever interface it arrived
/// through.
void ToIdentity(Variant& value) {
    if (value.vt != VT_DISPATCH && value.vt != VT_UNKNOWN) return;
    auto identity = Query<IUnknown>(ObjectOf(value));
    value.Clear();
    value.vt = VT_UNKNOWN;
    value.punkVal = identity.Detach();
}

class ListOfValues : public Dispatch<IListOfValues>, public SupportsErrors<IListOfValues>, public ObjectRoot {
public:
    using Answers = InterfaceMap<IListOfValues, ICollection, ISupportErrorInfo>;

    STDMETHODIMP get_Name(BSTR* pVal) override { return Bstr::CopyTo({}, pVal); }
    STDMETHODIMP get_Count(LONG* pVal) override;
    STDMETHODIMP get_Item(LONG Index, IUnknown** pVal) override;
    STDMETHODIMP get_Text(VARIANT varValue, BSTR* pVal) override;
    STDMETHODIMP AddNew(BSTR Name, VARIANT var) override;
    STDMETHODIMP AddObject2(BSTR Name, GUID* pClsID) override;
    STDMETHODIMP AddObject(GUID* pClsID) override;
    STDMETHODIMP AddItem(BSTR Name, VARIANT var) override;
    STDMETHODIMP Clear() override;
    STDMETHODIMP RemoveByID(int nID) override;
    void FinalRelease() { std::ignore = Clear(); }

private:
    std::vector<ComPtr<IListItem>> items_;
};

STDMETHODIMP ListOfValues::get_Count(LONG* pVal) {
    if (!pVal) return E_POINTER;
    *pVal = LONG(items_.size());
    return S_OK;
}

STDMETHODIMP ListOfValues::get_Item(LONG Index, IUnknown** pVal) {
    if (!pVal) return E_POINTER;
    if (Index < 0 || size_t(Index) >= items_.size()) return E_INVALIDARG;
    return ComPtr<IUnknown>(items_[size_t(Index)].get()).CopyTo(pVal);
}

STDMETHODIMP ListOfValues::get_Text(VARIANT varValue, BSTR* pVal) {
    if (!pVal) return E_POINTER;
    Variant wanted;
    wanted.CopyFrom(varValue);
    ToIdentity(wanted);
    for (size_t i = 0; i < items_.size(); ++i) {
        const auto item = items_[i];  // a foreign entry may take itself out
        Variant value;
        if (FAILED(item->get_Value(value.Put()))) continue;
        ToIdentity(value);
        if (SameValue(value, wanted)) return item->get_Name(pVal);
    }
    return E_INVALIDARG;
}

STDMETHODIMP ListOfValues::AddNew(BSTR Name, VARIANT var) {
    Variant value;
    value.CopyFrom(var);
    if (value.vt == VT_DISPATCH) ToIdentity(value);
    return AddItem(Name, value);
}

STDMETHODIMP ListOfValues::AddItem(BSTR Name, VARIANT var) {
    if (auto node = Query<IProperty>(ObjectOf(var))) std::ignore = node->put_Active(0);
    HRESULT status = S_OK;
    auto item = Create<IListItem>(clsid::ListItem, &status);
    if (!item) return FAILED(status) ? status : E_FAIL;
    std::ignore = item->SetInfo(Name, var);
    return TryAppend(items_, std::move(item)) ? S_OK : E_OUTOFMEMORY;
}

STDMETHODIMP ListOfValues::AddObject2(BSTR Name, GUID* pClsID) {
    if (!pClsID) return E_POINTER;
    HRESULT status = S_OK;
    const auto node = Create<IProperty>(*pClsID, &status);
    if (!node) return FAILED(status) ? status : E_FAIL;
    std::ignore = node->put_Value(Lend(Name));
    return AddItem(Name, Lend(static_cast<IDispatch*>(node.get())));
}

STDMETHODIMP ListOfValues::AddObject(GUID* pClsID) {
    if (!pClsID) return E_POINTER;
    HRESULT status = S_OK;
    const auto object = Create<IDispatch>(*pClsID, &status);
    if (!object) return FAILED(status) ? status : E_FAIL;
    Bstr label;
    if (auto node = object.As<IProperty>()) std::ignore = node->get_Title(label.Put());
    return AddItem(label.get(), Lend(object.get()));
}

STDMETHODIMP ListOfValues::Clear() {
    auto gone = std::move(items_);  // an entry's end may ask the list, which is empty by then
    items_.clear();
    for (auto& item : gone) LetGo(item);
    return S_OK;
}

STDMETHODIMP ListOfValues::RemoveByID(int nID) {
    if (nID < 0 || size_t(nID) >= items_.size()) return E_INVALIDARG;
    const auto gone = std::move(items_[size_t(nID)]);
    items_.erase(items_.begin() + nID);
    return S_OK;
}

}  // namespace
BV_CREATOR(ListItem)
BV_CREATOR(ListOfValues)
}  // namespace bv
