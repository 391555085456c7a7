#include "tree/tree_search.h"

#include "tree/property_base.h"

namespace bv {

bool TreeSearch::IsIt(const NodeRef& at) const {
    const bool asleep_too = walk_.kind == Walk::kSearchBelow;
    if (const PropertyBase* node = at.own())
        return node->NameText().Is(walk_.name) && (asleep_too || node->IsActive());
    const auto node = at.node();
    LONG active = 0;
    Bstr name;
    return node && (asleep_too || (SUCCEEDED(node->get_Active(&active)) && active)) &&
           SUCCEEDED(node->get_Name(name.Put())) && SameName(name.View(), walk_.name);
}

bool TreeSearch::Found(const NodeRef& at) {
    *result_ = at.node().Detach();
    return *result_ != nullptr;
}

bool TreeSearch::At(const NodeRef& at) {
    if (IsIt(at)) return Found(at);
    if (PropertyBase* node = at.own())
        return walk_.kind == Walk::kSearchBelow && node->HasMedia()
                   ? node->FindProperty(text_, result_) == S_OK
                   : Below(*node);
    if (foreign_depth_ == Visit::kDeepest) return false;
    ++foreign_depth_;
    const bool found = BelowForeign(at);
    --foreign_depth_;
    return found;
}

bool TreeSearch::Below(PropertyBase& node) {
    if (!node.HasBelow()) return false;
    const Visit visit(node, walk_);
    if (!visit) return false;
    for (const NodeRef& child : node.Children())
        if (At(child)) return true;
    return walk_.kind == Walk::kSearchJob && InValue(node.HeldObject());
}

bool TreeSearch::BelowForeign(const NodeRef& at) {
    const auto node = at.node();
    if (!node) return false;
    if (walk_.kind == Walk::kSearchBelow) return node->FindProperty(text_, result_) == S_OK;
    if (const auto children = Query<IEnumProperties>(node.get()))
        for (const NodeRef& child : Children(children.get()))
            if (At(child)) return true;
    int kind = VT_EMPTY;
    Variant value;
    return SUCCEEDED(node->get_ValueType(&kind)) && (kind == VT_DISPATCH || kind == VT_UNKNOWN) &&
           SUCCEEDED(node->get_Value(value.Put())) && InValue(ObjectOf(value));
}

bool TreeSearch::Among(const NodeList& items) {
    for (const NodeRef& item : Children(items))
        if (IsIt(item)) return Found(item);
    return false;
}

}  // namespace bv
