#include "tree/node_ref.h"

#include "com/let_go.h"
#include "tree/property_base.h"

namespace bv {
namespace {

PropertyBase* OwnNode(IUnknown* object) {
    const auto found = Query<INode>(object);
    if (!found) return nullptr;
    // An object may pass the question on to a node that it holds, and still answer others itself.
    IUnknown* const node = static_cast<IProperty*>(&found->Node());
    return object == node || Query<IUnknown>(object).get() == node ? &found->Node() : nullptr;
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

ComPtr<IProperty> NodeRef::node() const {
    if (PropertyBase* node = own()) return node;
    return Query<IProperty>(object());
}

void NodeList::Clear() {
    auto gone = std::move(items_);
    items_.clear();
    for (NodeRef& item : gone) LetGo(item.Detach());
}

NodeRef Children::NextForeign(size_t& index) const {
    LONG count = 0;
    for (; SUCCEEDED(foreign_->get_Count(&count)) && count > 0 && index < size_t(count); ++index)
        if (ComPtr<IUnknown> object; SUCCEEDED(foreign_->get_Item(LONG(index), object.Put())) && object)
            return NodeRef(object.get());
    return {};
}

}  // namespace bv
