// Error objects, and the one that each thread keeps.
#include <oleauto.h>
#include <pthread.h>
#include <windows.h>

#include <new>

namespace {

/// A text that comes in as a plain pointer and leaves as a copy for its taker.
class Text {
public:
    ~Text() { SysFreeString(text_); }

    HRESULT Set(LPOLESTR text) {
        const BSTR copy = SysAllocString(text);
        if (text && !copy) return E_OUTOFMEMORY;
        SysFreeString(text_);
        text_ = copy;
        return S_OK;
    }
    HRESULT CopyTo(BSTR* result) const {
        if (!result) return E_INVALIDARG;
        *result = text_ ? SysAllocStringLen(text_, SysStringLen(text_)) : nullptr;
        return text_ && !*result ? E_OUTOFMEMORY : S_OK;
    }

private:
    BSTR text_ = nullptr;
};

class ErrorInfo final : public IErrorInfo, public ICreateErrorInfo, public ISupportErrorInfo {
public:
    STDMETHODIMP QueryInterface(REFIID iid, void** result) override {
        if (!result) return E_POINTER;
        if (iid == IID_IUnknown || iid == IID_IErrorInfo) {
            *result = static_cast<IErrorInfo*>(this);
        } else if (iid == IID_ICreateErrorInfo) {
            *result = static_cast<ICreateErrorInfo*>(this);
        } else if (iid == IID_ISupportErrorInfo) {
            *result = static_cast<ISupportErrorInfo*>(this);
        } else {
            *result = nullptr;
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(InterlockedIncrement(&references_)); }
    STDMETHODIMP_(ULONG) Release() override {
        const LONG left = InterlockedDecrement(&references_);
        if (left == 0) delete this;
        return static_cast<ULONG>(left);
    }

    STDMETHODIMP GetGUID(GUID* result) override {
        if (!result) return E_INVALIDARG;
        *result = guid_;
        return S_OK;
    }
    STDMETHODIMP GetSource(BSTR* result) override { return source_.CopyTo(result); }
    STDMETHODIMP GetDescription(BSTR* result) override { return description_.CopyTo(result); }
    STDMETHODIMP GetHelpFile(BSTR* result) override { return help_file_.CopyTo(result); }
    STDMETHODIMP GetHelpContext(DWORD* result) override {
        if (!result) return E_INVALIDARG;
        *result = help_context_;
        return S_OK;
    }

    STDMETHODIMP SetGUID(REFGUID guid) override {
        guid_ = guid;
        return S_OK;
    }
    STDMETHODIMP SetSource(LPOLESTR text) override { return source_.Set(text); }
    STDMETHODIMP SetDescription(LPOLESTR text) override { return description_.Set(text); }
    STDMETHODIMP SetHelpFile(LPOLESTR text) override { return help_file_.Set(text); }
    STDMETHODIMP SetHelpContext(DWORD context) override {
        help_context_ = context;
        return S_OK;
    }

    STDMETHODIMP InterfaceSupportsErrorInfo(REFIID iid) override {
        return iid == IID_ICreateErrorInfo ? S_OK : S_FALSE;
    }

private:
    ~ErrorInfo() = default;

    LONG references_ = 1;
    GUID guid_ = GUID_NULL;
    Text source_;
    Text description_;
    Text help_file_;
    DWORD help_context_ = 0;
};

void ReleaseAtThreadEnd(void* info) { static_cast<IErrorInfo*>(info)->Release(); }

/// The key of the thread's own object, which is released with the thread.
pthread_key_t ThreadKey() {
    static const pthread_key_t key = [] {
        pthread_key_t made = 0;
        pthread_key_create(&made, ReleaseAtThreadEnd);
        return made;
    }();
    return key;
}

/// Puts another object in place of the thread's and gives that, each with its reference.
IErrorInfo* Exchange(IErrorInfo* info) {
    auto* const before = static_cast<IErrorInfo*>(pthread_getspecific(ThreadKey()));
    pthread_setspecific(ThreadKey(), info);
    return before;
}

}  // namespace

extern "C" {

HRESULT CreateErrorInfo(ICreateErrorInfo** result) {
    if (!result) return E_INVALIDARG;
    *result = new (std::nothrow) ErrorInfo;
    return *result ? S_OK : E_OUTOFMEMORY;
}

HRESULT SetErrorInfo(ULONG reserved, IErrorInfo* info) {
    if (reserved != 0) return E_INVALIDARG;
    if (info) info->AddRef();
    if (IErrorInfo* before = Exchange(info)) before->Release();
    return S_OK;
}

HRESULT GetErrorInfo(ULONG reserved, IErrorInfo** result) {
    if (reserved != 0 || !result) return E_INVALIDARG;
    *result = Exchange(nullptr);
    return *result ? S_OK : S_FALSE;
}
}
