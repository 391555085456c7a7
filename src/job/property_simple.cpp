#include "tree/simple_node.h"

namespace bv {
namespace {

constexpr NodeDecl kSimple = {};

class PropertySimple : public SimpleNode {
public:
    PropertySimple() : SimpleNode(kSimple) {}
};

}  // namespace
BV_CREATOR(PropertySimple)
}  // namespace bv
