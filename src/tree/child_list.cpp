#include "tree/child_list.h"

#include "tree/tree_search.h"

namespace bv {

bool ChildList::StaysWithOwner() {
    if (!owner_) return false;
    if (has_parent_ || HasReferrers()) return true;
    owner_->Forget(*this);
    items_ = &own_;
    return false;
}

void ChildList::EndWithOwner() {
    owner_ = nullptr;
    items_ = &own_;
    has_parent_ = true;                        // the node is no parent any more
    const ComPtr<IEnumProperties> last(this);  // its end, if nobody else holds it
}

ComPtr<IProperty> NodePart::Owner() const { return static_cast<IProperty*>(owner_); }

IProperty* ChildList::Parent() const { return has_parent_ ? parent_.get() : owner_; }

STDMETHODIMP ChildList::get_Name(BSTR* pVal) { return Bstr::CopyTo({}, pVal); }

STDMETHODIMP ChildList::get_Count(LONG* pVal) {
    if (!pVal) return E_POINTER;
    *pVal = LONG(items_->size());
    return S_OK;
}

STDMETHODIMP ChildList::get_Item(LONG Index, IUnknown** pVal) {
    if (!pVal) return E_POINTER;
    if (Index < 0 || size_t(Index) >= items_->size()) return E_INVALIDARG;
    return ComPtr<IUnknown>((*items_)[size_t(Index)].object()).CopyTo(pVal);
}

STDMETHODIMP ChildList::InsertProperty(BSTR Name, GUID* pClsID, IProperty** pRet) {
    return AddProperty(Name, pClsID, Parent(), pRet);
}

namespace {
[[gnu::noinline]] HRESULT SetInfoOf(const NodeRef& item, BSTR name, IDispatch* parent) {
    return item.node()->SetInfo(name, Lend(parent));
}
}  // namespace

STDMETHODIMP ChildList::AddProperty(BSTR Name, GUID* refclsid, IDispatch* pParent, IProperty** pRet) {
    if (!refclsid) return E_POINTER;
    const ComPtr<IProperty> kept = Owner();  // what is called may be foreign and end the node
    NodeRef item;
    RETURN_IF_FAILED(NodeRef::Create(*refclsid, item));
    if (PropertyBase* own = item.own(); own && owner_ && pParent == owner_) {
        if (!own->SetNameAndParent(View(Name), *owner_)) return E_OUTOFMEMORY;
    } else {
        RETURN_IF_FAILED(SetInfoOf(item, Name, pParent));
    }
    if (!items_->Append(item)) return E_OUTOFMEMORY;
    if (pRet) *pRet = std::move(item).DetachNode();
    return S_OK;
}

STDMETHODIMP ChildList::FindProperty(BSTR Name, IProperty* pParent, IProperty** pRet) {
    if (!pRet) return E_POINTER;
    const ComPtr<IProperty> kept = Owner();
    TreeSearch search(View(Name), Name, Walk::kSearchJob, pRet);
    return (pParent && search.At(NodeRef(pParent))) || search.Among(*items_) ? S_OK : S_FALSE;
}

STDMETHODIMP ChildList::FindPropertyExactly(BSTR, IProperty**) { return S_FALSE; }

STDMETHODIMP ChildList::InitProperty(IDispatch* pVal) {
    const ComPtr<IProperty> kept = Owner();
    return Init(*items_, pVal);
}

HRESULT ChildList::Init(const NodeList& items, IDispatch* media) {
    const auto map = Query<IMap>(media);
    // An index may be asked to take itself in: what that adds isn't walked.
    size_t rest = items.size();
    for (const NodeRef& item : Children(items)) {
        if (rest-- == 0) break;
        if (map) std::ignore = map->InsertProperty(item.object());
        if (auto node = item.node()) std::ignore = node->put_MediaObject(media);
    }
    return S_OK;
}

STDMETHODIMP ChildList::RemoveByName(BSTR Name, IProperty*) {
    const ComPtr<IProperty> kept = Owner();
    const TreeSearch search(View(Name), Name, Walk::kSearchBelow, nullptr);
    for (const NodeRef& item : Children(*items_)) {
        if (!search.IsIt(item)) continue;
        // Where it is now: a foreign node that is asked for its name may move or remove what is before it.
        for (size_t i = 0; i < items_->size(); ++i) {
            if ((*items_)[i].object() != item.object()) continue;
            const NodeRef gone = items_->Take(i);  // its end comes when the list is whole again
            break;
        }
        break;
    }
    return S_OK;
}

STDMETHODIMP ChildList::PutParent(IProperty* pParent) {
    has_parent_ = !owner_ || pParent != static_cast<IProperty*>(owner_);
    parent_.Set(has_parent_ ? pParent : nullptr);
    return S_OK;
}

STDMETHODIMP ChildList::AddObject(BSTR Name, IUnknown* pParent, IUnknown* pUnk) {
    const ComPtr<IProperty> kept = Owner();
    return AddObjectTo(*items_, Name, pParent, pUnk);
}

HRESULT ChildList::AddObjectTo(NodeList& items, BSTR name, IUnknown* parent, IUnknown* object) {
    if (!object) return E_POINTER;
    if (auto node = Query<IProperty>(object)) {
        VARIANT above = Lend(static_cast<IDispatch*>(nullptr));
        above.vt = VT_UNKNOWN;
        above.punkVal = parent;
        std::ignore = node->SetInfo(name, above);
    }
    return items.Append(NodeRef(object)) ? S_OK : E_OUTOFMEMORY;
}

using EnumProperties = ChildList;
BV_CREATOR(EnumProperties)

}  // namespace bv
