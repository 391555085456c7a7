// The child collection: an ordered list of nodes, their creator, and the search through a tree.
#pragma once

#include <vector>

#include "tree/property_base.h"

namespace bv {

/// The private question "are you a collection of ours?".
struct IChildList : IUnknown {
    virtual ChildList& List() = 0;
};
template <>
inline constexpr IID kIid<IChildList> = GuidOf("7A2C6E3B-1E0F-4B4E-9D61-50F5C8A0B703");

class ChildList : public Dispatch<IEnumProperties>,
                  public SupportsErrors<IEnumProperties>,
                  public IChildList,
                  public ObjectRoot {
public:
    using Answers = InterfaceMap<IEnumProperties, ICollection, ISupportErrorInfo, IChildList>;

    /// An item, and the node of ours behind it if it is one.
    struct Item {
        ComPtr<IUnknown> object;
        PropertyBase* node;
    };

    STDMETHODIMP get_Name(BSTR* pVal) override;
    STDMETHODIMP get_Count(LONG* pVal) override;
    STDMETHODIMP get_Item(LONG Index, IUnknown** pVal) override;
    STDMETHODIMP InsertProperty(BSTR Name, GUID* pClsID, IProperty** pRet) override;
    STDMETHODIMP AddProperty(BSTR Name, GUID* refclsid, IDispatch* pParent, IProperty** pRet) override;
    STDMETHODIMP FindProperty(BSTR Name, IProperty* pParent, IProperty** pRet) override;
    STDMETHODIMP FindPropertyExactly(BSTR Name, IProperty** pRet) override;
    STDMETHODIMP InitProperty(IDispatch* pVal) override;
    STDMETHODIMP RemoveByName(BSTR Name, IProperty* pParent) override;
    STDMETHODIMP PutParent(IProperty* pParent) override;
    STDMETHODIMP AddObject(BSTR Name, IUnknown* pParent, IUnknown* pUnk) override;

    ChildList& List() override { return *this; }
    void FinalRelease();

    /// PutParent with a node of ours.
    void SetOwner(PropertyBase& owner) {
        parent_.Set(&owner, owner);
        owner_ = &owner;
    }
    const std::vector<Item>& Items() const { return items_; }
    HRESULT Append(IUnknown* object);
    /// Creates a node of the class and appends it, with a parent of ours. Null when it can't be created. own:
    /// set to the node when it is one of ours.
    ComPtr<IProperty> AddNode(std::wstring_view name, bool literal, const CLSID& cls, PropertyBase& parent,
                              PropertyBase** own);
    HRESULT Search(std::wstring_view name, IProperty* from, IProperty** result);

private:
    std::vector<Item> items_;
    BackRef<IProperty> parent_;
    PropertyBase* owner_ = nullptr;  // the node that is parent_, while that isn't null
};

/// The i-th item of a collection, ours or foreign, as a node: null past the end (and *end is set then) and
/// for an object that is no node. The caller gets a reference, since what it does may remove the item. node:
/// set to the node when it is one of ours.
ComPtr<IProperty> NodeAt(IEnumProperties* children, ChildList* own, LONG index, bool* end,
                         PropertyBase** node = nullptr);

inline bool PropertyBase::HasChildren() const {
    return own_children_ ? !own_children_->Items().empty() : bool(children_);
}

template <class Action>
void PropertyBase::ForEachChild(Action action) {
    bool end = false;
    for (LONG i = 0; !end; ++i)
        if (auto child = NodeAt(children_.get(), own_children_, i, &end)) action(child.get());
}

}  // namespace bv
