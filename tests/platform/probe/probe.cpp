// A module with two classes and a few resources, for tests of loading, creating and unloading.
#include <bvschema/platform.h>

namespace {

constexpr CLSID kProbe = {0x5A1E0001, 0x21B4, 0x4C0B, {0x9A, 0x55, 0x10, 0x6E, 0x3B, 0x7C, 0x44, 0x01}};
constexpr CLSID kSecondProbe = {0x5A1E0002, 0x21B4, 0x4C0B, {0x9A, 0x55, 0x10, 0x6E, 0x3B, 0x7C, 0x44, 0x01}};
constexpr IID kUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
constexpr IID kClassFactory = {0x00000001, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
constexpr HRESULT kOuterSeen = HRESULT(0x80040250);

LONG locks = 0;
bool started = false;

template <class Interface>
class Counted : public Interface {
public:
    Counted() { InterlockedIncrement(&locks); }
    STDMETHODIMP QueryInterface(REFIID iid, void** result) override {
        *result = Answers(iid) ? static_cast<Interface*>(this) : nullptr;
        if (!*result) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ULONG(InterlockedIncrement(&references_)); }
    STDMETHODIMP_(ULONG) Release() override {
        const LONG left = InterlockedDecrement(&references_);
        if (left == 0) delete this;
        return ULONG(left);
    }

protected:
    virtual ~Counted() { InterlockedDecrement(&locks); }
    virtual bool Answers(REFIID iid) const = 0;

private:
    LONG references_ = 0;
};

class Probe final : public Counted<IUnknown> {
    bool Answers(REFIID iid) const override { return IsEqualIID(iid, kUnknown); }
};

class Factory final : public Counted<IClassFactory> {
    bool Answers(REFIID iid) const override {
        return IsEqualIID(iid, kUnknown) || IsEqualIID(iid, kClassFactory);
    }
    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** result) override {
        *result = nullptr;
        if (outer) return kOuterSeen;
        Probe* const made = new Probe;
        made->AddRef();
        const HRESULT status = made->QueryInterface(iid, result);
        made->Release();
        return status;
    }
    STDMETHODIMP LockServer(BOOL) override { return S_OK; }
};

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) started = module != nullptr;
    return TRUE;
}

STDAPI DllGetClassObject(REFCLSID class_id, REFIID iid, LPVOID* result) {
    *result = nullptr;
    if (!IsEqualCLSID(class_id, kProbe) && !IsEqualCLSID(class_id, kSecondProbe))
        return CLASS_E_CLASSNOTAVAILABLE;
    Factory* const made = new Factory;
    made->AddRef();
    const HRESULT status = made->QueryInterface(iid, result);
    made->Release();
    return status;
}

STDAPI DllCanUnloadNow() { return locks == 0 ? S_OK : S_FALSE; }
STDAPI DllRegisterServer() { return started ? S_OK : E_UNEXPECTED; }
STDAPI DllUnregisterServer() { return S_OK; }
