#include <atomic>

#include "com/object.h"

namespace bv {
namespace {

/// One of a job's two locks: its owner may enter it again.
class Lock {
public:
    Lock() = default;
    ~Lock() { Delete(); }
    void Initialize() {
        if (ready_) return;
        InitializeCriticalSection(&section_);
        entries_ = 0;
        ready_ = true;
    }
    void Delete() {
        if (ready_.exchange(false)) DeleteCriticalSection(&section_);
    }
    HRESULT Enter() {
        if (!ready_) return E_UNEXPECTED;
        ++entries_;
        EnterCriticalSection(&section_);
        return S_OK;
    }
    HRESULT Leave() {
        if (!ready_) return E_UNEXPECTED;
        --entries_;  // first, or the next owner would still see this entry
        LeaveCriticalSection(&section_);
        return S_OK;
    }
    /// Held, with one more entry that waits or was made by the owner again.
    bool IsContended() const { return entries_ > 1; }

private:
    CRITICAL_SECTION section_;
    std::atomic<LONG> entries_{0};  // begun and not left
    std::atomic<bool> ready_{false};
};

/// What a host and the job that it runs share; used by several threads at once.
class CriticalSection : public Dispatch<ICriticalSection>, public SharedObjectRoot {
public:
    using Answers = InterfaceMap<ICriticalSection, IDispatch>;

    STDMETHODIMP Enter(LONG bWork) override { return Selected(bWork).Enter(); }
    STDMETHODIMP Leave(LONG bWork) override { return Selected(bWork).Leave(); }
    STDMETHODIMP get_IsLock(LONG bWork, LONG* pVal) override {
        return Give(pVal, LONG(Selected(bWork).IsContended()));
    }
    STDMETHODIMP get_NotifyWnd(HWND* pVal) override { return Give(pVal, notices_.load()); }
    STDMETHODIMP put_NotifyWnd(HWND newVal) override {
        notices_ = newVal;
        return S_OK;
    }
    STDMETHODIMP Initialize(LONG bWork) override {
        Selected(bWork).Initialize();
        if (bWork) stopped_ = 0;  // a new job begins
        return S_OK;
    }
    STDMETHODIMP Delete(LONG bWork) override {
        Selected(bWork).Delete();
        return S_OK;
    }
    STDMETHODIMP Stop() override {
        stopped_ = 1;
        return S_OK;
    }
    STDMETHODIMP get_IsStop(LONG* pRet) override { return Give(pRet, stopped_.load()); }

private:
    template <class T>
    static HRESULT Give(T* out, T value) {
        if (!out) return E_POINTER;
        *out = value;
        return S_OK;
    }
    Lock& Selected(LONG work) { return work ? work_ : other_; }

    Lock work_;
    Lock other_;
    std::atomic<LONG> stopped_{0};
    std::atomic<HWND> notices_{nullptr};
};

}  // namespace
BV_CREATOR(CriticalSection)
}  // namespace bv
