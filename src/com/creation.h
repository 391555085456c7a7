// Objects by class id, as if by the system's creation call each: to every status, to what stands for a class of
// ours, and to the order in which anybody is asked.
//
// That call is CoGetClassObject, CreateInstance and a release. Where the class object is this module's own, the
// class's creator is called instead, and the class object isn't asked for again
// - while the platform's class epoch stands, where it has one: nothing has been registered, revoked or freed;
// - else while the outermost creation on this thread runs, which keeps it for that long and no longer. What it
//   keeps goes earlier when foreign code has been run, which may have put something else in its place.
#pragma once

#include <bv_class_epoch.h>
#include <bvschema/bvschema.h>

#include <atomic>

#include "com/com_ptr.h"

namespace bv {

using Creator = HRESULT (*)(IUnknown* outer, REFIID iid, void** out);

/// What CoCreateInstance calls CLSCTX_ALL without a handler: in this process or in another.
inline constexpr DWORD kAnyServer = 0x17;

/// The creator of our own class that the id is known to lead to; null: it has to be asked for.
Creator KnownCreator(REFCLSID cls, DWORD context);

/// Where a class id leads: to one creation, which is to follow at once.
class Route {
public:
    /// Asks, once: a class object that serves one creation is used up by it. Two routes are asked for before
    /// the first object is made only where the first is our own: any other may change the second.
    Route(REFCLSID cls, DWORD context) : own_(KnownCreator(cls, context)) {
        if (!own_) Ask(cls, context);
    }
    Route(const Route&) = delete;
    Route& operator=(const Route&) = delete;

    /// The creator of our own class that the id leads to; null when it leads elsewhere or nowhere. Who knows
    /// what that creator would make may make it himself, as a part of something larger.
    Creator own() const { return own_; }
    /// Creates, without an outer object. The status of the look-up or of the class; *out is null after a
    /// failure.
    HRESULT Make(REFIID iid, void** out);

private:
    void Ask(REFCLSID cls, DWORD context);
    HRESULT MakeForeign(REFIID iid, void** out);

    Creator own_ = nullptr;
    ComPtr<IClassFactory> foreign_;
    HRESULT status_ = S_OK;
};

/// That some fixed classes lead to our own creators, remembered while the platform's class epoch stands: one question
/// for all of them.
class OwnWhile {
public:
    /// What to remember; 0: nothing can be.
    static ULONGLONG Now() { return BvClassEpoch(); }
    bool Holds(ULONGLONG now) const { return now != 0 && epoch_.load(std::memory_order_relaxed) == now; }
    /// To be told what Now gave before the classes were looked up.
    void Remember(ULONGLONG epoch) { epoch_.store(epoch, std::memory_order_relaxed); }

private:
    std::atomic<ULONGLONG> epoch_{0};
};

/// CoCreateInstance(cls, nullptr, context, iid, out), with less work for a class of our own.
HRESULT CreateByClass(REFCLSID cls, DWORD context, REFIID iid, void** out);

/// Creates an object by class id. A failure leaves out null; success means that there is an object.
template <class I>
HRESULT Create(REFCLSID cls, ComPtr<I>& out, DWORD context = kAnyServer) {
    const HRESULT status = CreateByClass(cls, context, kIid<I>, out.PutVoid());
    if (SUCCEEDED(status)) return out ? status : E_FAIL;
    std::ignore = out.Detach();  // what a failed call leaves there is no reference
    return status;
}

/// Surrounds what a class object of ours creates: the outermost one on a thread keeps the class objects that
/// are asked for inside.
class CreationScope {
public:
    CreationScope() {
        if constexpr (!kHasClassEpoch) Enter();
    }
    ~CreationScope() {
        if constexpr (!kHasClassEpoch) Leave();
    }
    CreationScope(const CreationScope&) = delete;
    CreationScope& operator=(const CreationScope&) = delete;

private:
    static void Enter();
    static void Leave();
};

inline HRESULT Route::Make(REFIID iid, void** out) {
    if (!own_) return MakeForeign(iid, out);
    *out = nullptr;
    const CreationScope scope;
    return own_(nullptr, iid, out);
}

}  // namespace bv
