// A filter object whose settings are a node of the server, as filters outside it are made.
#pragma once

#include "support/node.h"

namespace bv::test {

/// Creates such filters for a class id while it lives. settings: the class of the node.
class FilterWithSettings {
public:
    FilterWithSettings(REFCLSID filter, REFCLSID settings)
        : class_(filter, [filter, settings](IUnknown*, REFIID iid, void** out) {
              auto* object = new Filter(filter);
              object->Aggregate(settings);
              const HRESULT status = object->QueryInterface(iid, out);
              object->Release();
              return status;
          }) {}

private:
    class Filter final : public IBaseFilter {
    public:
        explicit Filter(REFCLSID id) : id_(id) {}
        void Aggregate(REFCLSID settings) {
            EXPECT_EQ(CoCreateInstance(settings, this, CLSCTX_INPROC_SERVER, kIid<IUnknown>,
                                       reinterpret_cast<void**>(&node_)),
                      S_OK);
        }
        STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
            if (iid != kIid<IUnknown> && iid != kIid<IBaseFilter> && iid != kIid<IFilterEntry>)
                return node_ ? node_->QueryInterface(iid, out) : E_NOINTERFACE;  // none yet while it is made
            *out = static_cast<IBaseFilter*>(this);
            AddRef();
            return S_OK;
        }
        STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
        STDMETHODIMP_(ULONG) Release() override {
            const ULONG left = --references_;
            if (left == 0) {
                references_ = 1000;  // the node's end counts up and down on us
                node_->Release();
                delete this;
            }
            return left;
        }
        STDMETHODIMP GetClassID(CLSID* out) override {
            *out = id_;
            return S_OK;
        }
        STDMETHODIMP Stop() override { return E_NOTIMPL; }
        STDMETHODIMP Pause() override { return E_NOTIMPL; }
        STDMETHODIMP Run(REFERENCE_TIME) override { return E_NOTIMPL; }
        STDMETHODIMP GetState(DWORD, FILTER_STATE*) override { return E_NOTIMPL; }
        STDMETHODIMP SetSyncSource(IReferenceClock*) override { return E_NOTIMPL; }
        STDMETHODIMP GetSyncSource(IReferenceClock**) override { return E_NOTIMPL; }
        STDMETHODIMP EnumPins(IEnumPins**) override { return E_NOTIMPL; }
        STDMETHODIMP FindPin(LPCWSTR, IPin**) override { return E_NOTIMPL; }
        STDMETHODIMP QueryFilterInfo(FILTER_INFO*) override { return E_NOTIMPL; }
        STDMETHODIMP JoinFilterGraph(IFilterGraph*, LPCWSTR) override { return E_NOTIMPL; }
        STDMETHODIMP QueryVendorInfo(LPWSTR*) override { return E_NOTIMPL; }

    private:
        ~Filter() = default;
        const CLSID id_;
        ULONG references_ = 1;
        IUnknown* node_ = nullptr;
    };

    ClassDouble class_;
};

}  // namespace bv::test
