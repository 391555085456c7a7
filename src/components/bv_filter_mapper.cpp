// The media framework's filters, put in a value list.
#include "com/object.h"
#include "com/variant.h"

namespace bv {
namespace {

const CLSID kDeviceEnumerator = GuidOf("62BE5D10-60EB-11D0-BD3B-00A0C911CE86");

class BVFilterMapper : public Dispatch<IBVFilterMapper>, public ObjectRoot {
public:
    using Answers = InterfaceMap<IBVFilterMapper, IDispatch>;

    STDMETHODIMP Init(GUID* pCategory, GUID* pItem, IListOfValues* pDest) override {
        if (!pCategory || !pDest) return E_POINTER;
        const CLSID wrapper = pItem ? *pItem : GUID_NULL;
        ComPtr<ICreateDevEnum> devices;
        ComPtr<IEnumMoniker> monikers;
        if (FAILED(Create(kDeviceEnumerator, devices, CLSCTX_INPROC_SERVER)) ||
            FAILED(devices->CreateClassEnumerator(*pCategory, monikers.Put(), 0)) || !monikers)
            return S_OK;
        ComPtr<IMoniker> moniker;
        while (monikers->Next(1, moniker.Put(), nullptr) == S_OK) AddFilter(moniker.get(), wrapper, pDest);
        return S_OK;
    }

private:
    /// A filter of the application's own is the entry itself; any other is wrapped.
    /// What fails drops the entry.
    static void AddFilter(IMoniker* moniker, const CLSID& wrapper, IListOfValues* list) {
        ComPtr<IPropertyBag> bag;
        Variant name;
        if (FAILED(moniker->BindToStorage(nullptr, nullptr, kIid<IPropertyBag>, bag.PutVoid())) ||
            FAILED(bag->Read(L"FriendlyName", name.Put(), nullptr)) || name.vt != VT_BSTR)
            return;
        const BSTR label = name.bstrVal;
        ComPtr<IBaseFilter> filter;
        if (moniker->BindToObject(nullptr, nullptr, kIid<IBaseFilter>, filter.PutVoid()) != S_OK || !filter)
            return;
        VARIANT value = Lend(static_cast<IDispatch*>(nullptr));
        if (filter.As<IProperty>()) {
            value.vt = VT_UNKNOWN;
            value.punkVal = filter.get();
            std::ignore = list->AddNew(label, value);
        } else if (ComPtr<IFilterItem> item;
                   SUCCEEDED(Create(wrapper, item)) && SUCCEEDED(item->Init(label, filter.get()))) {
            std::ignore = list->AddNew(label, Lend(static_cast<IDispatch*>(item.get())));
        }
    }
};

}  // namespace
BV_CREATOR(BVFilterMapper)
}  // namespace bv
