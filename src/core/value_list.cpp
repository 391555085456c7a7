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

/// An object becomes VT_UNKNOWN with the pointer that is its identity, whichever interface it arrived through.
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
    /// What an entry holds, or the object that holds it: that is made when somebody asks for it.
    struct Entry {
        NodeText label;
        Variant value;
        ComPtr<IListItem> object;
    };

    std::vector<Entry> entries_;
};

STDMETHODIMP ListOfValues::get_Count(LONG* pVal) {
    if (!pVal) return E_POINTER;
    *pVal = LONG(entries_.size());
    return S_OK;
}

STDMETHODIMP ListOfValues::get_Item(LONG Index, IUnknown** pVal) {
    if (!pVal) return E_POINTER;
    if (Index < 0 || size_t(Index) >= entries_.size()) return E_INVALIDARG;
    Entry& entry = entries_[size_t(Index)];
    if (!entry.object) {
        ComPtr<IListItem> object;
        RETURN_IF_FAILED(CreateHere(OurClass::ListItem, kIid<IListItem>, object.PutVoid()));
        RETURN_IF_FAILED(object->SetInfo(Bstr(entry.label.View()).get(), entry.value));
        entry = {{}, {}, std::move(object)};
    }
    return ComPtr<IUnknown>(entry.object.get()).CopyTo(pVal);
}

STDMETHODIMP ListOfValues::get_Text(VARIANT varValue, BSTR* pVal) {
    if (!pVal) return E_POINTER;
    Variant wanted;
    wanted.CopyFrom(varValue);
    ToIdentity(wanted);
    for (const Entry& entry : entries_) {
        Variant value;
        if (!entry.object)
            value.CopyFrom(entry.value);
        else if (FAILED(entry.object->get_Value(value.Put())))
            continue;
        ToIdentity(value);
        if (!SameValue(value, wanted)) continue;
        return entry.object ? entry.object->get_Name(pVal) : entry.label.CopyTo(pVal);
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
    Entry entry;
    if (ComesBack(OurClass::ListItem)) {
        entry.label.SetCopy(View(Name));
        entry.value.CopyFrom(var);
    } else {
        HRESULT status = S_OK;
        entry.object = Create<IListItem>(clsid::ListItem, &status);
        if (!entry.object) return FAILED(status) ? status : E_FAIL;
        std::ignore = entry.object->SetInfo(Name, var);
    }
    return TryAppend(entries_, std::move(entry)) ? S_OK : E_OUTOFMEMORY;
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
    auto gone = std::move(entries_);  // an entry's end may ask the list, which is empty by then
    entries_.clear();
    for (Entry& entry : gone) {
        LetGo(entry.value);
        LetGo(entry.object);
    }
    return S_OK;
}

STDMETHODIMP ListOfValues::RemoveByID(int nID) {
    if (nID < 0 || size_t(nID) >= entries_.size()) return E_INVALIDARG;
    const auto gone = std::move(entries_[size_t(nID)]);
    entries_.erase(entries_.begin() + nID);
    return S_OK;
}

}  // namespace
BV_CREATOR(ListItem)
BV_CREATOR(ListOfValues)
}  // namespace bv
