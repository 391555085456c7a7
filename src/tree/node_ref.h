// One view of what stands in a tree: nodes of ours, and other objects, which are asked through their interfaces.
#pragma once

#include <cstdint>

#include "com/com_ptr.h"
#include "tree/compact_list.h"

namespace bv {

class PropertyBase;
class Route;

/// A counted reference to an object in a tree. A node of ours that isn't aggregated can be reached directly; of an
/// aggregated one the outer object answers first, so it counts as foreign.
class NodeRef {
public:
    NodeRef() = default;
    /// Asks the object, which may be null, whether it is a node of ours.
    explicit NodeRef(IUnknown* object);
    explicit NodeRef(PropertyBase& node);
    /// A new node of a class, as if by CoCreateInstance. Null after a failure.
    static HRESULT Create(REFCLSID cls, NodeRef& out);
    NodeRef(const NodeRef& other);
    NodeRef(NodeRef&& other) noexcept : bits_(std::exchange(other.bits_, 0)) {}
    ~NodeRef();
    NodeRef& operator=(NodeRef other) noexcept {
        std::swap(bits_, other.bits_);
        return *this;
    }

    explicit operator bool() const { return bits_ != 0; }
    IUnknown* object() const { return reinterpret_cast<IUnknown*>(bits_ & ~kOwn); }
    /// The node of ours, null for a foreign object.
    PropertyBase* own() const;
    /// The object as a node, null when it isn't one.
    ComPtr<IProperty> node() const;
    /// Gives the reference away as a node's, null when the object isn't one.
    IProperty* DetachNode() && { return bits_ & kOwn ? static_cast<IProperty*>(Detach()) : node().Detach(); }
    /// Gives the reference away.
    IUnknown* Detach() { return reinterpret_cast<IUnknown*>(std::exchange(bits_, 0) & ~kOwn); }

private:
    static HRESULT CreateForeign(Route& route, NodeRef& out);

    static constexpr std::uintptr_t kOwn = 1;
    std::uintptr_t bits_ = 0;  // the object, with a mark when it is a node of ours
};

/// Nodes in the order of a tree.
class NodeList : public CompactList<NodeRef, 2> {
public:
    /// Empties the list, then releases what it held, first to last.
    void Clear() {
        if (!empty()) ClearAll();
    }

private:
    void ClearAll();
};

/// The items of a list of ours or of a foreign collection, in order: for (const NodeRef& child : children). The
/// loop holds the item that it is at. What it calls may change the collection: it goes on by place, up to where
/// the end is then.
class Children {
public:
    explicit Children(const NodeList& own) : own_(&own) {}
    explicit Children(IEnumProperties* foreign) : foreign_(foreign) {}

    class End {};
    class Iterator {
    public:
        explicit Iterator(const Children& children) : children_(children) { Fetch(); }
        const NodeRef& operator*() const { return at_; }
        Iterator& operator++() {
            ++index_;
            Fetch();
            return *this;
        }
        bool operator!=(End) const { return bool(at_); }

    private:
        [[gnu::always_inline]] void Fetch() {
            if (children_.own_)
                at_ = index_ < children_.own_->size() ? (*children_.own_)[index_] : NodeRef();
            else
                at_ = children_.NextForeign(index_);
        }
        const Children& children_;
        size_t index_ = 0;
        NodeRef at_;
    };
    Iterator begin() const { return Iterator(*this); }
    End end() const { return {}; }

private:
    /// The item at a place, or the next that the collection gives; null at its end.
    NodeRef NextForeign(size_t& index) const;

    const NodeList* own_ = nullptr;
    ComPtr<IEnumProperties> foreign_;
};

}  // namespace bv
