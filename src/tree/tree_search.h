// The search through a tree, depth first, from an earlier child to a later one.
#pragma once

#include "tree/node_ref.h"
#include "tree/node_text.h"
#include "tree/walk.h"

namespace bv {

class TreeSearch {
public:
    /// text: the name again, as foreign nodes take it.
    TreeSearch(std::wstring_view name, BSTR text, Walk::Kind reach, IProperty** result)
        : walk_{.kind = reach, .name = name}, name_(name), text_(text), result_(result) {}

    /// Of a job (kSearchJob): an active node of the name, at the node, its children or last the node that its
    /// value holds.
    bool At(const NodeRef& node);
    /// Below a node. With kSearchBelow all children count, active or not, and no values; each node goes on in its
    /// own way, as FindProperty tells.
    bool Below(PropertyBase& node);
    /// Whether one of a list's own items is meant.
    bool Among(const NodeList& items);

    /// Whether a node has the name, and is active where that counts.
    bool IsIt(const NodeRef& node) const;

private:
    enum class Outcome { kFound, kNone, kUnknown };
    /// Below a node, as far as its own children and theirs can tell: nobody is called, so nothing needs to be held or
    /// visited. Unknown: somebody foreign would have to be asked, or the way leads round or too deep.
    Outcome BelowOwn(PropertyBase& node, int depth);
    bool IsOwn(const PropertyBase& node) const;
    bool Found(const NodeRef& node);
    bool BelowForeign(const NodeRef& node);
    bool InValue(const ComPtr<IUnknown>& held) { return held && At(NodeRef(held.get())); }

    const Walk walk_;
    const WantedName name_;
    const BSTR text_;
    IProperty** const result_;
    int foreign_depth_ = 0;  // foreign nodes below each other
};

}  // namespace bv
