#include "tree/node_ref.h"

#include "com/bounded_release.h"
#include "tree/property_base.h"

namespace bv {
namespace {

PropertyBase* OwnNode(IUnknown* object) {
    ComPtr<IProperty> node;
    if (!object || FAILED(object->QueryInterface(kNodeQuestion, node.PutVoid()))) return nullptr;
    // An object may pass the question on to a node that it holds, and still answer others itself.
    return object == node.get() || SameObject(object, node.get()) ? static_cast<PropertyBase*>(node.get())
                                                                  : nullptr;
}

}  // namespace

NodeRef::NodeRef(IUnknown* object) {
    if (PropertyBase* node = OwnNode(object)) {
        *this = NodeRef(*node);
    } else if (object) {
        object->AddRef();
        bits_ = reinterpret_cast<std::uintptr_t>(object);
    }
}

HRESULT NodeRef::Create(REFCLSID cls, NodeRef& out) {
    out = {};
    Route route(cls, kAnyServer);
    if (!route.own()) return CreateForeign(route, out);
    IProperty* node = nullptr;
    const HRESULT status = route.Make(kIid<IProperty>, reinterpret_cast<void**>(&node));
    // Nothing of ours but a node answers IProperty.
    if (SUCCEEDED(status)) out.bits_ = reinterpret_cast<std::uintptr_t>(node) | kOwn;
    return status;
}

HRESULT NodeRef::CreateForeign(Route& route, NodeRef& out) {
    ComPtr<IProperty> node;
    RETURN_IF_FAILED(route.Make(kIid<IProperty>, node.PutVoid()));
    if (!node) return E_FAIL;
    out = NodeRef(node.get());
    return S_OK;
}

ComPtr<IProperty> NodeRef::node() const {
    if (PropertyBase* node = own()) return node;
    return Query<IProperty>(object());
}

void NodeList::ClearAll() {
    const NodeList gone = std::move(*this);
    ReleaseDepth& depth = ReleaseDepth::OfThread();
    for (NodeRef& item : gone) ReleaseBounded(item.Detach(), depth);
}

NodeRef Children::NextForeign(size_t& index) const {
    LONG count = 0;
    for (; SUCCEEDED(foreign_->get_Count(&count)) && count > 0 && index < size_t(count); ++index)
        if (ComPtr<IUnknown> object; SUCCEEDED(foreign_->get_Item(LONG(index), object.Put())) && object)
            return NodeRef(object.get());
    return {};
}

}  // namespace bv
