#include "core/property_base.h"

namespace bv {
namespace {

constexpr NodeDecl kPath = {
    .name = L"Path", .cls = clsid::PropertySimplePath, .title = L"Path", .type = 0x8009, .value = Text(L"")};

class PropertySimplePath : public PropertyBase {
public:
    PropertySimplePath() : PropertyBase(kPath) {}

protected:
    HRESULT OnShowDialog() override { return S_FALSE; }
};

}  // namespace
BV_CREATOR(PropertySimplePath)
}  // namespace bv
