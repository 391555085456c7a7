// The child collection: an ordered list of nodes, and their creator.
#pragma once

#include "tree/node_part.h"
#include "tree/property_base.h"

namespace bv {

class ChildList : public Dispatch<IEnumProperties>,
                  public SupportsErrors<IEnumProperties>,
                  public ObjectRoot,
                  public NodePart {
public:
    using Answers = InterfaceMap<IEnumProperties, ICollection, ISupportErrorInfo>;
    static constexpr Kind kPart = kCollection;
    ChildList() : NodePart(kPart) {}

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

    void FinalRelease() { own_.Clear(); }
    bool StaysWithOwner();
    bool IsHeld() const { return references_.references() > 0; }

    const NodeList& Items() const { return *items_; }
    HRESULT Append(NodeRef item) { return items_->Append(std::move(item)) ? S_OK : E_OUTOFMEMORY; }

    // What the collection of a node does, without the object.
    static HRESULT Init(const NodeList& items, IDispatch* media);
    static HRESULT AddObjectTo(NodeList& items, BSTR name, IUnknown* parent, IUnknown* object);

private:
    friend class PropertyBase;
    IProperty* Parent() const;
    void EndWithOwner() override;

    NodeList own_;
    NodeList* items_ = &own_;  // or those of the node
    BackRef<IProperty> parent_;
    bool has_parent_ = false;  // somebody has put one: it counts instead of the node
};

}  // namespace bv
