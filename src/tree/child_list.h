// The child collection: an ordered list of nodes, and their creator.
#pragma once

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
    const NodeList& Items() const { return items_; }
    HRESULT Append(NodeRef item) { return items_.Append(std::move(item)) ? S_OK : E_OUTOFMEMORY; }
    /// Creates a node of the class and appends it, with a parent of ours. Null when it can't be created. literal:
    /// the name is a constant that needn't be copied.
    NodeRef AddNode(std::wstring_view name, bool literal, const CLSID& cls, PropertyBase& parent);

private:
    NodeList items_;
    BackRef<IProperty> parent_;
    PropertyBase* owner_ = nullptr;  // the node that is parent_, while that isn't null
};

}  // namespace bv
