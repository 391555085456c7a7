#include "tree/child_list.h"

#include "tree/tree_search.h"

namespace bv {

void ChildList::FinalRelease() { items_.Clear(); }

STDMETHODIMP ChildList::get_Name(BSTR* pVal) { return Bstr::CopyTo({}, pVal); }

STDMETHODIMP ChildList::get_Count(LONG* pVal) {
    if (!pVal) return E_POINTER;
    *pVal = LONG(items_.size());
    return S_OK;
}

STDMETHODIMP ChildList::get_Item(LONG Index, IUnknown** pVal) {
    if (!pVal) return E_POINTER;
    if (Index < 0 || size_t(Index) >= items_.size()) return E_INVALIDARG;
    return ComPtr<IUnknown>(items_[size_t(Index)].object()).CopyTo(pVal);
}

STDMETHODIMP ChildList::InsertProperty(BSTR Name, GUID* pClsID, IProperty** pRet) {
    return AddProperty(Name, pClsID, parent_.get(), pRet);
}

STDMETHODIMP ChildList::AddProperty(BSTR Name, GUID* refclsid, IDispatch* pParent, IProperty** pRet) {
    if (!refclsid) return E_POINTER;
    HRESULT status = S_OK;
    const auto node = Create<IProperty>(*refclsid, &status);
    if (!node) return FAILED(status) ? status : E_FAIL;
    const NodeRef item(node.get());
    if (item.own() && owner_ && pParent && pParent == parent_.get())
        item.own()->Rename(View(Name), false, *owner_);
    else
        RETURN_IF_FAILED(node->SetInfo(Name, Lend(pParent)));
    RETURN_IF_FAILED(Append(item));
    return pRet ? node.CopyTo(pRet) : S_OK;
}

NodeRef ChildList::AddNode(std::wstring_view name, bool literal, const CLSID& cls, PropertyBase& parent) {
    const auto node = Create<IProperty>(cls);
    if (!node) return {};
    NodeRef item(node.get());
    if (item.own())
        item.own()->Rename(name, literal, parent);
    else if (FAILED(node->SetInfo(CallBstr(name).get(), Lend(static_cast<IProperty*>(&parent)))))
        return {};
    return SUCCEEDED(Append(item)) ? item : NodeRef();
}

STDMETHODIMP ChildList::FindProperty(BSTR Name, IProperty* pParent, IProperty** pRet) {
    if (!pRet) return E_POINTER;
    TreeSearch search(View(Name), Name, Walk::kSearchJob, pRet);
    return (pParent && search.At(NodeRef(pParent))) || search.Among(items_) ? S_OK : S_FALSE;
}

STDMETHODIMP ChildList::FindPropertyExactly(BSTR, IProperty**) { return S_FALSE; }

STDMETHODIMP ChildList::InitProperty(IDispatch* pVal) {
    const auto map = Query<IMap>(pVal);
    // An index may be asked to take itself in: what that adds isn't walked.
    size_t rest = items_.size();
    for (const NodeRef& item : Children(items_)) {
        if (rest-- == 0) break;
        if (map) std::ignore = map->InsertProperty(item.object());
        if (auto node = item.node()) std::ignore = node->put_MediaObject(pVal);
    }
    return S_OK;
}

STDMETHODIMP ChildList::RemoveByName(BSTR Name, IProperty*) {
    const TreeSearch search(View(Name), Name, Walk::kSearchBelow, nullptr);
    for (const NodeRef& item : Children(items_)) {
        if (!search.IsIt(item)) continue;
        // Where it is now: a foreign node that is asked for its name may move or remove what is before it.
        for (size_t i = 0; i < items_.size(); ++i) {
            if (items_[i].object() != item.object()) continue;
            const NodeRef gone = items_.Take(i);  // its end comes when the list is whole again
            break;
        }
        break;
    }
    return S_OK;
}

STDMETHODIMP ChildList::PutParent(IProperty* pParent) {
    parent_.Set(pParent);
    owner_ = nullptr;
    return S_OK;
}

STDMETHODIMP ChildList::AddObject(BSTR Name, IUnknown* pParent, IUnknown* pUnk) {
    if (!pUnk) return E_POINTER;
    if (auto node = Query<IProperty>(pUnk)) {
        VARIANT parent = Lend(static_cast<IDispatch*>(nullptr));
        parent.vt = VT_UNKNOWN;
        parent.punkVal = pParent;
        std::ignore = node->SetInfo(Name, parent);
    }
    return Append(NodeRef(pUnk));
}

using EnumProperties = ChildList;
BV_CREATOR(EnumProperties)

}  // namespace bv
