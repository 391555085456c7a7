#include "components/building.h"
#include "tree/simple_node.h"

namespace bv {
namespace {

constexpr size_t kMaxName = 255;  // characters
constexpr NodeDecl kImpl = {.name = L"FilterImpl", .cls = clsid::PropertyFilterImpl, .type = style::kCarrier};

/// A filter object, with the filter's own settings below it.
class PropertyFilterImpl : public SimpleNode, public IFilterImplInit {
    ComPtr<IBaseFilter> filter_;

public:
    using Answers = SimpleNode::Answers::With<IFilterImplInit, Held<&PropertyFilterImpl::filter_>>;
    PropertyFilterImpl() : SimpleNode(kImpl) {}

    STDMETHODIMP Init(BSTR name, CLSID* filter) override {
        if (!filter) return E_POINTER;
        const CLSID cls = *filter;
        const Building building(cls);
        if (!building) return E_FAIL;
        ComPtr<IBaseFilter> object;
        RETURN_IF_FAILED(Create(cls, object, CLSCTX_INPROC_SERVER));
        const auto settings = object.As<IProperty>();
        if (!settings) return E_NOINTERFACE;
        filter_ = std::move(object);
        std::ignore = AddChildObject(name, settings.get());

        wchar_t full_name[kMaxName + 1] = L"FltImplement";
        const size_t prefix = std::wcslen(full_name);
        const std::wstring_view text = View(name).substr(0, kMaxName - prefix);
        const size_t length = prefix + text.copy(full_name + prefix, text.size());
        return SetInfo(Bstr(std::wstring_view(full_name, length)).get(), Variant());
    }

protected:
    const CLSID& PathClass() const override { return ClassId(); }
};

}  // namespace
BV_CREATOR(PropertyFilterImpl)
}  // namespace bv
