#include "components/mapper.h"
#include "tree/property_base.h"

namespace bv {
namespace {

constexpr NodeDecl kAction = {.name = names::kAction,
                              .cls = clsid::PropertyAction,
                              .title = L"Actions",
                              .type = style::kGroup | style::kHeading,
                              .description = help::kAction};

/// The actions that are registered on the machine when the tree is built.
class PropertyAction : public PropertyBase {
public:
    PropertyAction() : PropertyBase(kAction) {}

protected:
    HRESULT BuildChildren() override {
        ForEachRegistered(category::Actions, [this](tagGUIDREG& found) {
            auto action =
                AddChild<IActionImplInit>({.name = found.bstrName, .cls = clsid::PropertyActionImpl});
            if (action)
                std::ignore =
                    action->Init(found.bstrName, found.pExtrData[0], found.pExtrData[1], &found.clsGUID);
        });
        return S_OK;
    }
};

}  // namespace
BV_CREATOR(PropertyAction)
}  // namespace bv
