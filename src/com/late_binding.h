// The late-bound side of the dual interfaces, from the registered type library.
#pragma once

#include <bvschema/bvschema.h>

namespace bv {

void StartTypeInfo();
/// Releases what was loaded.
void StopTypeInfo();

/// The type-information side of a dual interface, from the registered type library.
HRESULT GetTypeInfoOf(REFIID iid, UINT index, LCID locale, ITypeInfo** out);
HRESULT GetIdsOfNamesOf(REFIID iid, LPOLESTR* names, UINT count, LCID locale, DISPID* ids);
HRESULT InvokeOn(IDispatch* object, REFIID iid, DISPID id, LCID locale, WORD flags, DISPPARAMS* parameters,
                 VARIANT* result, EXCEPINFO* exception, UINT* bad_argument);

template <class I>
class Dispatch : public I {
public:
    STDMETHODIMP GetTypeInfoCount(UINT* count) override {
        if (!count) return E_POINTER;
        *count = 1;
        return S_OK;
    }
    STDMETHODIMP GetTypeInfo(UINT index, LCID locale, ITypeInfo** out) override {
        return GetTypeInfoOf(kIid<I>, index, locale, out);
    }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID locale, DISPID* ids) override {
        return GetIdsOfNamesOf(kIid<I>, names, count, locale, ids);
    }
    STDMETHODIMP Invoke(DISPID id, REFIID, LCID locale, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                        EXCEPINFO* exception, UINT* bad_argument) override {
        return InvokeOn(this, kIid<I>, id, locale, flags, parameters, result, exception, bad_argument);
    }
};

}  // namespace bv
