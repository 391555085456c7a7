#pragma once

#include "com/block_pool.h"
#include "com/com_ptr.h"

namespace bv {

class PropertyBase;

/// The child collection or the value list of a node as an object. What it shows lies in the node; the object
/// is made when somebody asks for it, and goes when nobody holds it or points back to it. When the node ends
/// first, an object that is still held takes over what it shows.
class NodePart : public Pooled {
public:
    enum Kind : unsigned char { kCollection, kValues };
    explicit NodePart(Kind kind) : kind_(kind) {}

protected:
    friend class PropertyBase;
    /// The node ends: who isn't held ends too, else it goes on with nothing to show.
    virtual void EndWithOwner() = 0;

    /// The node, which is null when it stands alone.
    ComPtr<IProperty> Owner() const;

    PropertyBase* owner_ = nullptr;  // null: it stands alone, or its node has ended

private:
    NodePart* next_ = nullptr;  // of the same node
    const Kind kind_;
};

}  // namespace bv
