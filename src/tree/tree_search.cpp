#include "tree/tree_search.h"

#include "tree/property_base.h"

namespace bv {
namespace {

constexpr int kDeepestOwn = 50;

}  // namespace

inline bool TreeSearch::IsOwn(const PropertyBase& node) const {
    return node.NameText().Is(name_) && (walk_.kind == Walk::kSearchBelow || node.IsActive());
}

bool TreeSearch::IsIt(const NodeRef& at) const {
    if (const PropertyBase* node = at.own()) return IsOwn(*node);
    const bool asleep_too = walk_.kind == Walk::kSearchBelow;
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

TreeSearch::Outcome TreeSearch::BelowOwn(PropertyBase& node, int depth) {
    const bool all = walk_.kind == Walk::kSearchBelow;
    if (node.HasForeignCollection() || (node.walks_ & walk_.kind) || depth == kDeepestOwn)
        return Outcome::kUnknown;
    node.walks_ |= walk_.kind;
    Outcome outcome = Outcome::kNone;
    for (const NodeRef& child : node.children_) {
        PropertyBase* const own = child.own();
        if (!own)
            outcome = Outcome::kUnknown;
        else if (IsOwn(*own))
            outcome = Found(child) ? Outcome::kFound : Outcome::kUnknown;
        else if (all && own->HasMedia())
            outcome = Outcome::kUnknown;
        else if (own->HasBelow())
            outcome = BelowOwn(*own, depth + 1);
        if (outcome != Outcome::kNone) break;
    }
    node.walks_ &= static_cast<unsigned char>(~walk_.kind);
    if (outcome == Outcome::kNone && !all && node.HeldObject()) return Outcome::kUnknown;
    return outcome;
}

bool TreeSearch::Below(PropertyBase& node) {
    if (!node.HasBelow()) return false;
    if (const Outcome outcome = BelowOwn(node, 0); outcome != Outcome::kUnknown)
        return outcome == Outcome::kFound;
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
    for (size_t i = 0; i < items.size(); ++i) {
        if (const PropertyBase* own = items[i].own()) {
            if (IsOwn(*own)) return Found(items[i]);
        } else if (const NodeRef foreign = items[i]; IsIt(foreign)) {
            return Found(foreign);
        }
    }
    return false;
}

}  // namespace bv
