#include "dialogs/path_node.h"

namespace bv {
namespace {

constexpr NodeDecl kPath = {.name = L"Path",
                            .cls = clsid::PropertySimplePath,
                            .title = L"Path",
                            .type = style::kEdit | style::kDialog | style::kFile,
                            .value = Text(L"")};

class PropertySimplePath : public PathNode {
public:
    PropertySimplePath() : PathNode(kPath) {}

protected:
    HRESULT OnShowDialog() override { return PickFile(nullptr); }
};

}  // namespace
BV_CREATOR(PropertySimplePath)
}  // namespace bv
