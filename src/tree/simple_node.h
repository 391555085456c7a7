// The family of nodes that their creator sets up.
#pragma once

#include "tree/property_base.h"

namespace bv {

/// A node with ISimpleInit: put_Value makes the store when there is none, and put_Description leaves
/// the id alone.
class SimpleNode : public PropertyBase, public ISimpleInit {
public:
    using Answers = PropertyBase::Answers::With<ISimpleInit>;
    using PropertyBase::PropertyBase;

    STDMETHODIMP SetType(LONG type) override;
    STDMETHODIMP put_IsHide(LONG newVal) override { return PropertyBase::put_IsHide(newVal); }
    STDMETHODIMP put_IsDisabled(LONG newVal) override { return PropertyBase::put_IsDisabled(newVal); }
    STDMETHODIMP put_Description(BSTR newVal) override;
    STDMETHODIMP SetTitle(BSTR title) override;
    STDMETHODIMP put_Value(VARIANT newVal) override { return StoreChecked(newVal); }
    STDMETHODIMP put_Parent(IDispatch* newVal) override { return PropertyBase::put_Parent(newVal); }
    STDMETHODIMP SetPathExtension(BSTR path) override;
    STDMETHODIMP AddItem(BSTR name, VARIANT value) override;
    STDMETHODIMP AddObject(CLSID* pClsID) override;
    STDMETHODIMP AddObject2(BSTR name, CLSID* pClsID) override;
    STDMETHODIMP SelectItem(LONG index) override;
    STDMETHODIMP SetExtensionClass(CLSID* pClsID) override;
    STDMETHODIMP put_DescriptionID(int newVal) override { return PropertyBase::put_DescriptionID(newVal); }

protected:
    /// The class of the node that SetPathExtension makes.
    virtual const CLSID& PathClass() const { return clsid::PropertySimplePath; }
};

}  // namespace bv
