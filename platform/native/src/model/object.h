// The common part of the layer's own objects: a thread-safe count, and the answer for one interface
// and its bases.
#pragma once

#include <new>

#include "unknwn.h"
#include "winbase.h"

namespace bv::platform {

/// Made with one reference. Ids: those that the object answers besides IUnknown, all in one
/// line of inheritance.
template <class Interface, const IID&... Ids>
class Object : public Interface {
public:
    using Interface::Interface;

    STDMETHODIMP QueryInterface(REFIID iid, void** result) override {
        if (!result) return E_POINTER;
        const bool answered = iid == IID_IUnknown || ((iid == Ids) || ...);
        *result = answered ? static_cast<Interface*>(this) : nullptr;
        if (!answered) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(InterlockedIncrement(&references_)); }
    STDMETHODIMP_(ULONG) Release() override {
        const LONG left = InterlockedDecrement(&references_);
        if (left == 0) delete this;
        return static_cast<ULONG>(left);
    }

protected:
    virtual ~Object() = default;

private:
    LONG references_ = 1;
};

/// Asks a new object for the interface that its maker wants and gives up the reference it was made with.
inline HRESULT HandOut(IUnknown* made, REFIID iid, void** result) {
    if (!made) return E_OUTOFMEMORY;
    const HRESULT status = made->QueryInterface(iid, result);
    made->Release();
    return status;
}

}  // namespace bv::platform
