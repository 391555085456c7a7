#include "tree/simple_node.h"

namespace bv {

STDMETHODIMP SimpleNode::SetType(LONG type) {
    PropertyBase::SetType(type);
    return S_OK;
}

STDMETHODIMP SimpleNode::put_Description(BSTR newVal) { return SetDescriptionText(View(newVal)); }

STDMETHODIMP SimpleNode::SetTitle(BSTR title) { return PropertyBase::SetTitle(View(title)); }

STDMETHODIMP SimpleNode::SetPathExtension(BSTR path) {
    ComPtr<IProperty> extension;
    RETURN_IF_FAILED(Create(PathClass(), extension));
    std::ignore = extension->put_Value(Lend(path));
    SetExtension(std::move(extension));
    return S_OK;
}

STDMETHODIMP SimpleNode::SetExtensionClass(CLSID* pClsID) {
    if (!pClsID) return E_POINTER;
    ComPtr<IProperty> extension;
    RETURN_IF_FAILED(Create(*pClsID, extension));
    std::ignore = extension->put_Parent(static_cast<IProperty*>(this));
    SetExtension(std::move(extension));
    return S_OK;
}

STDMETHODIMP SimpleNode::AddItem(BSTR name, VARIANT value) {
    AddChoice(name, value);
    return S_OK;
}

STDMETHODIMP SimpleNode::AddObject(CLSID* pClsID) {
    std::ignore = Values()->AddObject(pClsID);
    return S_OK;
}

STDMETHODIMP SimpleNode::AddObject2(BSTR name, CLSID* pClsID) {
    std::ignore = Values()->AddObject2(name, pClsID);
    return S_OK;
}

STDMETHODIMP SimpleNode::SelectItem(LONG index) {
    Variant value;
    RETURN_IF_FAILED(Values()->ValueAt(size_t(index), value));
    std::ignore = put_Value(value);
    return S_OK;
}

}  // namespace bv
