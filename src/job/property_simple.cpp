#include "core/simple_node.h"

namespace bv {
namespace {

constexpr NodeDecl kSimple = {};

class PropertySimple : public SimpleNode {
public:
    PropertySimple() : SimpleNode(kSimple) {}

protected:
    const CLSID& PathClass() const override { return clsid::PropertySimplePath; }
};

}  // namespace
BV_CREATOR(PropertySimple)
}  // namespace bv
