// The value list and its entries.
#include "tree/value_list.h"

#include "com/bounded_release.h"
#include "com/creation.h"
#include "tree/property_base.h"

namespace bv {

HRESULT CreateListItem(IUnknown* outer, REFIID iid, void** out);  // below

namespace {

class ListItem : public Dispatch<IListItem>,
                 public SupportsErrors<IListItem>,
                 public ObjectRoot,
                 public Pooled {
public:
    using Answers = InterfaceMap<IListItem, IBaseObj, IDispatch, ISupportErrorInfo>;

    STDMETHODIMP get_Name(BSTR* pVal) override { return label_.CopyTo(pVal); }
    STDMETHODIMP get_Title(BSTR* pVal) override { return label_.CopyTo(pVal); }
    STDMETHODIMP get_Value(VARIANT* pVal) override {
        if (!pVal) return E_POINTER;
        return value_.CopyTo(pVal);
    }
    STDMETHODIMP SetInfo(BSTR Name, VARIANT pVal) override {
        NodeText label;
        if (!label.SetCopy(View(Name))) return E_OUTOFMEMORY;
        RETURN_IF_FAILED(value_.SetCopy(pVal));
        label_.Swap(label);
        return S_OK;
    }
    void FinalRelease() {
        auto object = value_.TakeObject();
        ReleaseBounded(object);
    }
    /// Takes an entry over.
    void Become(ValueEntry& entry) {
        label_.Swap(entry.label);
        value_.TakeFrom(entry.value);
    }

private:
    NodeText label_;  // the name and the title
    KeptValue value_;
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

}  // namespace

HRESULT ValueEntries::get_Count(LONG* out) const {
    if (!out) return E_POINTER;
    *out = LONG(size());
    return S_OK;
}

HRESULT ValueEntries::get_Item(LONG index, IUnknown** out) {
    if (!out) return E_POINTER;
    if (index < 0 || size_t(index) >= size()) return E_INVALIDARG;
    ValueEntry& entry = items_[size_t(index)];
    if (!entry.object) {
        RETURN_IF_FAILED(CreateListItem(nullptr, kIid<IListItem>, entry.object.PutVoid()));
        static_cast<ListItem*>(entry.object.get())->Become(entry);
    }
    return ComPtr<IUnknown>(entry.object.get()).CopyTo(out);
}

HRESULT ValueEntries::ValueAt(size_t index, Variant& value) {
    if (index >= size()) return E_INVALIDARG;
    const ComPtr<IListItem> object = items_[index].object;  // a foreign entry may take itself out
    if (object) return SUCCEEDED(object->get_Value(value.Put())) ? S_OK : E_FAIL;
    value.CopyFrom(items_[index].value.Lent());
    return S_OK;
}

HRESULT ValueEntries::get_Text(const VARIANT& wanted_value, BSTR* out) {
    if (!out) return E_POINTER;
    Variant wanted;
    wanted.CopyFrom(wanted_value);
    ToIdentity(wanted);
    for (size_t i = 0; i < size(); ++i) {
        const ComPtr<IListItem> object = items_[i].object;
        if (!object && !items_[i].value.object()) {
            if (SameValue(items_[i].value.Lent(), wanted)) return items_[i].label.CopyTo(out);
            continue;
        }
        Variant value;
        if (FAILED(ValueAt(i, value))) continue;
        ToIdentity(value);
        if (!SameValue(value, wanted)) continue;
        if (object) return object->get_Name(out);
        if (i < size()) return items_[i].label.CopyTo(out);
    }
    return E_INVALIDARG;
}

HRESULT ValueEntries::AddNew(BSTR label, const VARIANT& value) {
    Variant copy;
    copy.CopyFrom(value);
    if (copy.vt == VT_DISPATCH) ToIdentity(copy);
    return AddItem(label, copy);
}

namespace {
OwnWhile own_entries;
}

HRESULT ValueEntries::AddItem(BSTR label, const VARIANT& value) {
    if (ObjectOf(value) || !own_entries.Holds(OwnWhile::Now())) return AddAsked(label, value);
    return AddOwn(label, value);
}

HRESULT ValueEntries::AddAsked(BSTR label, const VARIANT& value) {
    if (auto node = Query<IProperty>(ObjectOf(value))) std::ignore = node->put_Active(0);
    const ULONGLONG now = OwnWhile::Now();
    if (!own_entries.Holds(now)) {
        Route route(clsid::ListItem, kAnyServer);
        if (route.own() != CreateListItem) {
            ValueEntry entry;
            RETURN_IF_FAILED(route.Make(kIid<IListItem>, entry.object.PutVoid()));
            if (!entry.object) return E_FAIL;
            std::ignore = entry.object->SetInfo(label, value);
            return items_.Append(std::move(entry)) ? S_OK : E_OUTOFMEMORY;
        }
        own_entries.Remember(now);
    }
    return AddOwn(label, value);
}

HRESULT ValueEntries::AddOwn(BSTR label, const VARIANT& value) {
    KeptValue kept;
    if (value.vt > VT_R8) RETURN_IF_FAILED(kept.SetCopy(value));
    NodeText text;
    if (!text.SetCopy(View(label))) return E_OUTOFMEMORY;
    ValueEntry* const entry = items_.Append();
    if (!entry) return E_OUTOFMEMORY;
    if (value.vt > VT_R8)
        entry->value.TakeFrom(kept);
    else
        std::ignore = entry->value.SetCopy(value);  // a number, which always can be
    entry->label.Swap(text);
    return S_OK;
}

HRESULT ValueEntries::AddLiteral(const LiteralText& label, const Literal& value) {
    if (!own_entries.Holds(OwnWhile::Now())) return AddAsked(CallBstr(label.View()).get(), Variant(value));
    KeptValue kept;
    RETURN_IF_FAILED(kept.SetLiteral(value));
    ValueEntry* const entry = items_.Append();
    if (!entry) return E_OUTOFMEMORY;
    entry->value.TakeFrom(kept);
    entry->label.SetLiteral(label);
    return S_OK;
}

HRESULT ValueEntries::AddObject2(BSTR label, const GUID* cls) {
    if (!cls) return E_POINTER;
    NodeRef made;
    RETURN_IF_FAILED(NodeRef::Create(*cls, made));
    const auto node = made.node();
    std::ignore = node->put_Value(Lend(label));
    return AddItem(label, Lend(static_cast<IDispatch*>(node.get())));
}

HRESULT ValueEntries::AddObject(const GUID* cls) {
    if (!cls) return E_POINTER;
    ComPtr<IDispatch> object;
    RETURN_IF_FAILED(Create(*cls, object));
    Bstr label;
    if (auto node = object.As<IProperty>()) std::ignore = node->get_Title(label.Put());
    return AddItem(label.get(), Lend(object.get()));
}

HRESULT ValueEntries::Remove(int index) {
    if (index < 0 || size_t(index) >= size()) return E_INVALIDARG;
    const ValueEntry gone = items_.Take(size_t(index));
    return S_OK;
}

void ValueEntries::ClearAll() {
    const auto gone = std::move(items_);  // an entry's end may ask the list, which is empty by then
    for (ValueEntry& entry : gone) {
        ReleaseBounded(entry.object);
        if (!entry.value.object()) continue;
        auto object = entry.value.TakeObject();
        ReleaseBounded(object);
    }
}

size_t ValuesRef::size() const {
    if (own_) return own_->size();
    LONG count = 0;
    return SUCCEEDED(foreign_->get_Count(&count)) && count > 0 ? size_t(count) : 0;
}

HRESULT ValuesRef::ValueAt(size_t index, Variant& value) const {
    if (own_) return own_->ValueAt(index, value);
    ComPtr<IUnknown> entry;
    RETURN_IF_FAILED(foreign_->get_Item(LONG(index), entry.Put()));
    const auto item = entry.As<IListItem>();
    return item && SUCCEEDED(item->get_Value(value.Put())) ? S_OK : E_FAIL;
}

bool ListOfValues::StaysWithOwner() {
    if (!owner_) return false;
    if (HasReferrers()) return true;
    owner_->Forget(*this);
    entries_ = &own_;
    return false;
}

void ListOfValues::EndWithOwner() {
    owner_ = nullptr;
    entries_ = &own_;
    const ComPtr<IListOfValues> last(this);  // its end, if nobody else holds it
}

// What these call may be foreign and end the node: it stays until they are done.

STDMETHODIMP ListOfValues::get_Text(VARIANT varValue, BSTR* pVal) {
    const ComPtr<IProperty> kept = Owner();
    return entries_->get_Text(varValue, pVal);
}

STDMETHODIMP ListOfValues::AddNew(BSTR Name, VARIANT var) {
    const ComPtr<IProperty> kept = Owner();
    return entries_->AddNew(Name, var);
}

STDMETHODIMP ListOfValues::AddObject2(BSTR Name, GUID* pClsID) {
    const ComPtr<IProperty> kept = Owner();
    return entries_->AddObject2(Name, pClsID);
}

STDMETHODIMP ListOfValues::AddObject(GUID* pClsID) {
    const ComPtr<IProperty> kept = Owner();
    return entries_->AddObject(pClsID);
}

STDMETHODIMP ListOfValues::AddItem(BSTR Name, VARIANT var) {
    const ComPtr<IProperty> kept = Owner();
    return entries_->AddItem(Name, var);
}

STDMETHODIMP ListOfValues::Clear() {
    const ComPtr<IProperty> kept = Owner();
    entries_->Clear();
    return S_OK;
}

STDMETHODIMP ListOfValues::RemoveByID(int nID) {
    const ComPtr<IProperty> kept = Owner();
    return entries_->Remove(nID);
}

BV_CREATOR(ListItem)
BV_CREATOR(ListOfValues)
}  // namespace bv
