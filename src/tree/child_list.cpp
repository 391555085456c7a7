#include "tree/child_list.h"

namespace bv {
namespace {

/// The depth first search from one node: itself, its children, the node that its value holds. Active nodes
/// match; all are walked. Foreign nodes are asked through their interfaces.
class TreeSearch {
public:
    TreeSearch(std::wstring_view name, IProperty** result) : name_(name), result_(result) {}

    bool From(IUnknown* object) {
        if (PropertyBase* node = NodeBehind(object)) return From(*node);
        auto node = Query<IProperty>(object);
        return node && FromForeign(node.get());
    }
    bool From(PropertyBase& node) {
        if (node.IsActive() && SameName(node.NameView(), name_)) return Found(&node);
        if (!node.HasBelow()) return false;
        const PropertyBase::Passage passage(node, PropertyBase::kSearch, depth_);
        if (!passage) return false;
        if (ChildList* children = node.OwnChildren()) {
            for (const ChildList::Item& item : children->Items())
                if (item.node ? From(*item.node) : From(item.object.get())) return true;
        } else if (FromItems(node.Children())) {
            return true;
        }
        IUnknown* held = node.HeldObject();
        return held && From(held);
    }

    static bool Matches(IProperty* foreign, std::wstring_view name) {
        LONG active = 0;
        Bstr own;
        return SUCCEEDED(foreign->get_Active(&active)) && active && SUCCEEDED(foreign->get_Name(own.Put())) &&
               SameName(own.View(), name);
    }

private:
    bool Found(IProperty* node) {
        node->AddRef();
        *result_ = node;
        return true;
    }
    bool FromForeign(IProperty* node) {
        if (Matches(node, name_)) return Found(node);
        if (auto children = Query<IEnumProperties>(node); children && FromItems(children.get())) return true;
        int kind = VT_EMPTY;
        if (FAILED(node->get_ValueType(&kind)) || (kind != VT_DISPATCH && kind != VT_UNKNOWN)) return false;
        Variant value;
        if (FAILED(node->get_Value(value.Put()))) return false;
        IUnknown* held = ObjectOf(value);
        return held && From(held);
    }
    bool FromItems(IEnumProperties* children) {
        bool end = false;
        for (LONG i = 0; !end; ++i)
            if (auto child = NodeAt(children, nullptr, i, &end); child && From(child.get())) return true;
        return false;
    }

    std::wstring_view name_;
    IProperty** result_;
    int& depth_ = PropertyBase::Passage::Depth();
};

}  // namespace

PropertyBase* NodeBehind(IUnknown* object) {
    auto ours = Query<INode>(object);
    if (!ours) return nullptr;
    PropertyBase& node = ours->Node();
    if (object == static_cast<IProperty*>(&node)) return &node;
    // An object around a node may answer for itself; it counts as the node only where it doesn't.
    const bool same = Query<IProperty>(object).get() == static_cast<IProperty*>(&node) &&
                      Query<ISettingsWriter>(object).get() == static_cast<ISettingsWriter*>(&node) &&
                      Query<IEnumProperties>(object).get() == node.Children();
    return same ? &node : nullptr;
}

ComPtr<IProperty> NodeAt(IEnumProperties* children, ChildList* own, LONG index, bool* end,
                         PropertyBase** node) {
    if (own) {
        *end = size_t(index) >= own->Items().size();
        if (*end) return nullptr;
        const ChildList::Item& item = own->Items()[size_t(index)];
        if (node) *node = item.node;
        return item.node ? ComPtr<IProperty>(item.node) : item.object.As<IProperty>();
    }
    LONG count = 0;
    *end = !children || FAILED(children->get_Count(&count)) || index >= count;
    ComPtr<IUnknown> object;
    if (*end || FAILED(children->get_Item(index, object.Put()))) return nullptr;
    return object.As<IProperty>();
}

void ChildList::FinalRelease() {
    for (Item& item : items_) item.object.Reset();
    items_.clear();
}

STDMETHODIMP ChildList::get_Name(BSTR* pVal) { return Bstr::CopyTo({}, pVal); }

STDMETHODIMP ChildList::get_Count(LONG* pVal) {
    if (!pVal) return E_POINTER;
    *pVal = LONG(items_.size());
    return S_OK;
}

STDMETHODIMP ChildList::get_Item(LONG Index, IUnknown** pVal) {
    if (!pVal) return E_POINTER;
    if (Index < 0 || size_t(Index) >= items_.size()) return E_INVALIDARG;
    return items_[size_t(Index)].object.CopyTo(pVal);
}

HRESULT ChildList::Append(IUnknown* object) {
    return TryAppend(items_, Item{object, NodeBehind(object)}) ? S_OK : E_OUTOFMEMORY;
}

STDMETHODIMP ChildList::InsertProperty(BSTR Name, GUID* pClsID, IProperty** pRet) {
    return AddProperty(Name, pClsID, parent_.get(), pRet);
}

STDMETHODIMP ChildList::AddProperty(BSTR Name, GUID* refclsid, IDispatch* pParent, IProperty** pRet) {
    if (!refclsid) return E_POINTER;
    HRESULT status = S_OK;
    const auto node = Create<IProperty>(*refclsid, &status);
    if (!node) return FAILED(status) ? status : E_FAIL;
    PropertyBase* const ours = NodeBehind(node.get());
    if (ours && owner_ && pParent && pParent == parent_.get())
        ours->Rename(View(Name), false, *owner_);
    else
        RETURN_IF_FAILED(node->SetInfo(Name, Lend(pParent)));
    if (!TryAppend(items_, Item{node.get(), ours})) return E_OUTOFMEMORY;
    return pRet ? node.CopyTo(pRet) : S_OK;
}

ComPtr<IProperty> ChildList::AddNode(std::wstring_view name, bool literal, const CLSID& cls,
                                     PropertyBase& parent, PropertyBase** own) {
    auto node = Create<IProperty>(cls);
    if (!node) return nullptr;
    PropertyBase* ours = NodeBehind(node.get());
    if (ours)
        ours->Rename(name, literal, parent);
    else if (FAILED(node->SetInfo(Bstr(name).get(), Lend(static_cast<IProperty*>(&parent)))))
        return nullptr;
    if (!TryAppend(items_, Item{node.get(), ours})) return nullptr;
    *own = ours;
    return node;
}

HRESULT ChildList::Search(std::wstring_view name, IProperty* from, IProperty** result) {
    if (from && TreeSearch(name, result).From(from)) return S_OK;
    for (const Item& item : items_) {
        if (item.node) {
            if (!item.node->IsActive() || !SameName(item.node->NameView(), name)) continue;
            ComPtr<IProperty>(item.node).CopyTo(result);
            return S_OK;
        }
        auto node = item.object.As<IProperty>();
        if (!node || !TreeSearch::Matches(node.get(), name)) continue;
        *result = node.Detach();
        return S_OK;
    }
    return S_FALSE;
}

STDMETHODIMP ChildList::FindProperty(BSTR Name, IProperty* pParent, IProperty** pRet) {
    if (!pRet) return E_POINTER;
    return Search(View(Name), pParent, pRet);
}

STDMETHODIMP ChildList::FindPropertyExactly(BSTR, IProperty**) { return S_FALSE; }

STDMETHODIMP ChildList::InitProperty(IDispatch* pVal) {
    const auto map = Query<IMap>(pVal);
    // An index may be asked to take itself in: what that adds isn't walked.
    for (size_t i = 0, count = items_.size(); i < count && i < items_.size(); ++i) {
        const ComPtr<IUnknown> item = items_[i].object;
        if (map) std::ignore = map->InsertProperty(item.get());
        if (auto node = item.As<IProperty>()) std::ignore = node->put_MediaObject(pVal);
    }
    return S_OK;
}

STDMETHODIMP ChildList::RemoveByName(BSTR Name, IProperty*) {
    for (size_t i = 0; i < items_.size(); ++i) {
        bool same = false;
        if (items_[i].node) {
            same = SameName(items_[i].node->NameView(), View(Name));
        } else if (auto node = items_[i].object.As<IProperty>()) {
            Bstr own;
            same = SUCCEEDED(node->get_Name(own.Put())) && SameName(own.View(), View(Name));
        }
        if (!same) continue;
        const ComPtr<IUnknown> kept = items_[i].object;  // its end comes when the list is whole again
        items_.erase(items_.begin() + std::ptrdiff_t(i));
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
    return Append(pUnk);
}

using EnumProperties = ChildList;
BV_CREATOR(EnumProperties)

}  // namespace bv
