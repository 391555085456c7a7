// The values that a node offers to choose from.
#pragma once

#include "com/object.h"
#include "tree/compact_list.h"
#include "tree/kept_value.h"
#include "tree/node_part.h"
#include "tree/node_text.h"

namespace bv {

/// An entry: its label and its value, as long as nobody has asked for the entry itself; then an object, ours or
/// somebody else's, which has both.
struct ValueEntry {
    NodeText label;
    KeptValue value;
    ComPtr<IListItem> object;
};

/// The entries of a list, and what a list does with them.
class ValueEntries {
public:
    size_t size() const { return items_.size(); }
    HRESULT get_Count(LONG* out) const;
    HRESULT get_Item(LONG index, IUnknown** out);
    HRESULT get_Text(const VARIANT& value, BSTR* out);
    HRESULT AddNew(BSTR label, const VARIANT& value);
    HRESULT AddItem(BSTR label, const VARIANT& value);
    /// AddItem of constants.
    HRESULT AddLiteral(const LiteralText& label, const Literal& value);
    HRESULT AddObject2(BSTR label, const GUID* cls);
    HRESULT AddObject(const GUID* cls);
    HRESULT Remove(int index);
    /// Empties the list, then lets go, first to last.
    void Clear() {
        if (size()) ClearAll();
    }
    /// The value of an entry.
    HRESULT ValueAt(size_t index, Variant& value);

private:
    /// AddItem, where somebody may have to be asked.
    HRESULT AddAsked(BSTR label, const VARIANT& value);
    HRESULT AddOwn(BSTR label, const VARIANT& value);
    void ClearAll();
    CompactList<ValueEntry, 2> items_;
};

/// The value list of a node, as ValueEntries or as a foreign object.
class ValuesRef {
public:
    explicit ValuesRef(ValueEntries& own) : own_(&own) {}
    explicit ValuesRef(ComPtr<IListOfValues> foreign) : foreign_(std::move(foreign)) {}
    const ValuesRef* operator->() const { return this; }

    size_t size() const;
    HRESULT get_Item(LONG index, IUnknown** out) const {
        return own_ ? own_->get_Item(index, out) : foreign_->get_Item(index, out);
    }
    HRESULT get_Text(const VARIANT& value, BSTR* out) const {
        return own_ ? own_->get_Text(value, out) : foreign_->get_Text(value, out);
    }
    HRESULT AddItem(BSTR label, const VARIANT& value) const {
        return own_ ? own_->AddItem(label, value) : foreign_->AddItem(label, value);
    }
    HRESULT AddObject(GUID* cls) const { return own_ ? own_->AddObject(cls) : foreign_->AddObject(cls); }
    HRESULT AddObject2(BSTR label, GUID* cls) const {
        return own_ ? own_->AddObject2(label, cls) : foreign_->AddObject2(label, cls);
    }
    HRESULT ValueAt(size_t index, Variant& value) const;

private:
    ValueEntries* own_ = nullptr;
    ComPtr<IListOfValues> foreign_;
};

class ListOfValues : public Dispatch<IListOfValues>,
                     public SupportsErrors<IListOfValues>,
                     public ObjectRoot,
                     public NodePart {
public:
    using Answers = InterfaceMap<IListOfValues, ICollection, ISupportErrorInfo>;
    static constexpr Kind kPart = kValues;
    ListOfValues() : NodePart(kPart) {}

    STDMETHODIMP get_Name(BSTR* pVal) override { return Bstr::CopyTo({}, pVal); }
    STDMETHODIMP get_Count(LONG* pVal) override { return entries_->get_Count(pVal); }
    STDMETHODIMP get_Item(LONG Index, IUnknown** pVal) override { return entries_->get_Item(Index, pVal); }
    STDMETHODIMP get_Text(VARIANT varValue, BSTR* pVal) override;
    STDMETHODIMP AddNew(BSTR Name, VARIANT var) override;
    STDMETHODIMP AddObject2(BSTR Name, GUID* pClsID) override;
    STDMETHODIMP AddObject(GUID* pClsID) override;
    STDMETHODIMP AddItem(BSTR Name, VARIANT var) override;
    STDMETHODIMP Clear() override;
    STDMETHODIMP RemoveByID(int nID) override;

    void FinalRelease() { own_.Clear(); }
    bool StaysWithOwner();
    bool IsHeld() const { return references_.references() > 0; }

private:
    friend class PropertyBase;
    void EndWithOwner() override;

    ValueEntries own_;
    ValueEntries* entries_ = &own_;  // or those of the node
};

}  // namespace bv
