#include "components/building.h"
#include "tree/property_base.h"

namespace bv {
namespace {

constexpr size_t kMaxName = 255;  // characters
constexpr NodeDecl kImpl = {.name = L"Action",
                            .cls = clsid::PropertyActionImpl,
                            .type = style::kCheckBox | style::kDialog,
                            .value = I4(0)};

/// One action: a switch, with the action object's own settings below it.
class PropertyActionImpl : public PropertyBase, public IActionImplInit {
    ComPtr<IActionObject> action_;

public:
    using Answers = PropertyBase::Answers::With<IActionImplInit, Held<&PropertyActionImpl::action_>>;
    PropertyActionImpl() : PropertyBase(kImpl) {}

    STDMETHODIMP Init(BSTR name, BSTR title, BSTR description, CLSID* action) override {
        if (!action) return E_POINTER;
        const CLSID cls = *action;
        const Building building(cls);
        if (!building) return E_FAIL;
        ComPtr<IActionObject> object;
        const HRESULT status = Create(cls, object, CLSCTX_INPROC_SERVER);
        RETURN_IF_FAILED(status);
        action_ = std::move(object);
        if (auto root = action_.As<IProperty>()) {
            wchar_t root_name[kMaxName + 1] = L"ActionRoot_";
            const size_t prefix = std::wcslen(root_name);
            const std::wstring_view text = View(name).substr(0, kMaxName - prefix);
            root_name[prefix + text.copy(root_name + prefix, text.size())] = 0;
            std::ignore = AddChildObject(Bstr(root_name).get(), root.get());
        }
        RETURN_IF_FAILED(SetTitle(View(title)));
        RETURN_IF_FAILED(SetDescriptionText(View(description)));
        return status;
    }

protected:
    HRESULT OnShowDialog() override {
        const auto root = action_.As<IProperty>();
        return root ? root->ShowDialog() : E_FAIL;
    }
};

}  // namespace
BV_CREATOR(PropertyActionImpl)
}  // namespace bv
