// The flat index of a job's nodes.
#include "com/bounded_release.h"
#include "tree/child_list.h"

namespace bv {
namespace {

class Map : public Dispatch<IMap>, public SupportsErrors<IMap>, public ObjectRoot {
    ComPtr<IEnumProperties> nodes_;
    ChildList* list_ = nullptr;

public:
    using Answers = InterfaceMap<IMap, IDispatch, ISupportErrorInfo, Held<&Map::nodes_>>;

    HRESULT FinalConstruct() {
        if (FAILED(CreateObject<ChildList>(nullptr, kIid<IEnumProperties>, nodes_.PutVoid())))
            return E_OUTOFMEMORY;
        list_ = static_cast<ChildList*>(nodes_.get());
        return S_OK;
    }
    void FinalRelease() {
        list_ = nullptr;
        ReleaseBounded(nodes_);
    }

    STDMETHODIMP get_Property(BSTR Name, IProperty* pParent, IProperty** pVal) override {
        return list_->FindProperty(Name, pParent, pVal);
    }
    STDMETHODIMP get_PropertyVal(BSTR Name, IProperty* pParent, VARIANT* pVal) override {
        ComPtr<IProperty> node;
        return nodes_->FindProperty(Name, pParent, node.Put()) == S_OK ? node->get_Value(pVal) : E_INVALIDARG;
    }
    STDMETHODIMP put_PropertyVal(BSTR Name, IProperty* pParent, VARIANT newVal) override {
        ComPtr<IProperty> node;
        return nodes_->FindProperty(Name, pParent, node.Put()) == S_OK ? node->put_Value(newVal)
                                                                       : E_INVALIDARG;
    }
    STDMETHODIMP RemoveProperties(BSTR Name, IProperty* pParent) override {
        std::ignore = nodes_->RemoveByName(Name, pParent);
        return S_OK;
    }
    STDMETHODIMP InitDefault() override {
        for (const NodeRef& item : Children(list_->Items()))
            if (auto node = item.node()) std::ignore = node->InitDefault();
        return S_OK;
    }
    STDMETHODIMP InsertProperty(IUnknown* pVal) override {
        return pVal ? list_->Append(NodeRef(pVal)) : E_POINTER;
    }
};

}  // namespace
BV_CREATOR(Map)
}  // namespace bv
