// How an object of ours comes to be: its base, its interface map, and its two forms, alone and aggregated.
#pragma once

#include <bvschema/bvschema.h>

#include <atomic>
#include <new>
#include <type_traits>

#include "com/back_ref.h"
#include "com/com_ptr.h"
#include "com/creation.h"
#include "com/late_binding.h"
#include "com/module_lock.h"

namespace bv {

/// A count that may rise from 0 and fall back while the object is made or ends.
template <class Number>
class BasicRefCount {
public:
    ULONG Add() { return References(count_ += 2); }
    /// True: this was the last reference, and the end may begin.
    bool Drop(ULONG* left) {
        const ULONG count = count_ -= 2;
        *left = References(count);
        return count == kMade;
    }
    /// Drops a reference that isn't the last; false for the last, which it leaves.
    bool DropOneOfSeveral() {
        if (count_ < 4) return false;
        count_ -= 2;
        return true;
    }
    ULONG references() const { return References(count_); }
    void MarkMade() { count_ |= kMade; }
    void BeginEnd() { count_ &= ~kMade; }

private:
    static constexpr ULONG kMade = 1;  // construction is over, and the end hasn't begun
    static ULONG References(ULONG count) { return count / 2; }
    Number count_{0};
};

using RefCount = BasicRefCount<ULONG>;                     // of an object that one thread uses at a time
using SharedRefCount = BasicRefCount<std::atomic<ULONG>>;  // of one made for several threads

/// The base of all objects: it counts for the module's lock, and holds the count of the form without an outer
/// object.
template <class Count>
class BasicObjectRoot {
public:
    using References = Count;
    BasicObjectRoot() { LockModule(); }
    BasicObjectRoot(const BasicObjectRoot&) = delete;
    BasicObjectRoot& operator=(const BasicObjectRoot&) = delete;

    /// Runs after construction. A failure ends the creation.
    HRESULT FinalConstruct() { return S_OK; }
    /// Runs when the last reference is gone, while the object is still whole.
    void FinalRelease() {}
    /// Asked when the last reference is gone: an object that is a part of another may stay with it.
    bool StaysWithOwner() { return false; }

protected:
    ~BasicObjectRoot() { UnlockModule(); }
    Count references_;
};
using ObjectRoot = BasicObjectRoot<RefCount>;
using SharedObjectRoot = BasicObjectRoot<SharedRefCount>;

/// Whether two ids are the same; most differ in their first word already.
inline bool SameId(REFIID a, REFIID b) { return a.Data1 == b.Data1 && a == b; }

/// Rows of an interface map: an interface that the object is ...
template <class I>
struct Own {
    template <class Object>
    static I* Cast(Object* object) {
        return static_cast<I*>(object);
    }
    template <class Object>
    static bool Answer(Object* object, REFIID iid, void** out, HRESULT& status) {
        if (!SameId(iid, kIid<I>)) return false;
        I* found = Cast(object);
        found->AddRef();
        *out = found;
        status = S_OK;
        return true;
    }
};
/// ... or one whose query goes to an object that it holds, a ComPtr<I> or a BackRef<I>.
template <auto Member>
struct Held;
template <class Owner, template <class> class Pointer, class I, Pointer<I> Owner::*Member>
struct Held<Member> {
    template <class Object>
    static bool Answer(Object* object, REFIID iid, void** out, HRESULT& status) {
        if (!SameId(iid, kIid<I>)) return false;
        I* held = (object->*Member).get();
        status = held ? held->QueryInterface(iid, out) : E_NOINTERFACE;
        return true;
    }
};

/// Or a row of a class's own, which derives from this and has an Answer too.
struct MapRow {};
namespace detail {
template <class Row>
struct RowOf {
    using type = std::conditional_t<std::is_base_of_v<MapRow, Row>, Row, Own<Row>>;
};
template <auto Member>
struct RowOf<Held<Member>> {
    using type = Held<Member>;
};
}  // namespace detail

/// What QueryInterface answers. The first row is an interface of the object itself: it is the object's
/// identity.
template <class First, class... Rest>
struct InterfaceMap {
    /// Further rows, of a derived class. They come first, as they are what such an object is asked for most.
    template <class... More>
    using With = InterfaceMap<First, More..., Rest...>;

    template <class Object>
    static IUnknown* Identity(Object* object) {
        return static_cast<First*>(object);
    }
    template <class Object>
    [[gnu::always_inline]] static HRESULT Find(Object* object, REFIID iid, void** out) {
        HRESULT status = E_NOINTERFACE;
        if (Own<First>::Answer(object, iid, out, status) ||
            (detail::RowOf<Rest>::type::Answer(object, iid, out, status) || ...))
            return status;
        return E_NOINTERFACE;
    }
};

/// A T that others can point back to, as late binding makes any object a parent. One that is a target itself
/// stays as it is; of any other its form answers for it.
template <class T>
class Referred : public T, public BackRefTarget {
protected:
    HRESULT Answer(REFIID iid, void** out) {
        const HRESULT status = T::Answers::Find(static_cast<T*>(this), iid, out);
        if (status != E_NOINTERFACE || iid != kIid<IBackRefTarget>) return status;
        T::Answers::Identity(static_cast<T*>(this))->AddRef();
        *out = static_cast<IBackRefTarget*>(this);
        return S_OK;
    }
};
template <class T>
requires std::is_base_of_v<BackRefTarget, T>
class Referred<T> : public T {
protected:
    HRESULT Answer(REFIID iid, void** out) {
        HRESULT status = T::Answers::Find(static_cast<T*>(this), iid, out);
        if (status == E_NOINTERFACE) Own<IBackRefTarget>::Answer(static_cast<T*>(this), iid, out, status);
        return status;
    }
};

/// What both forms do at an object's end, before its memory goes.
template <class T>
void EndObject(Referred<T>& object, typename T::References& count) {
    count.BeginEnd();
    object.ForgetReferrers();
    object.FinalRelease();
}

/// The form without an outer object: the object and its IUnknown are one. T::AnswersAlone, if there is one, is a
/// row that only this form answers.
template <class T>
class Standalone final : public Referred<T> {
public:
    STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (SameId(iid, kIid<IUnknown>)) {
            AddRef();
            *out = T::Answers::Identity(static_cast<T*>(this));
            return S_OK;
        }
        HRESULT status = this->Answer(iid, out);
        if constexpr (requires { typename T::AnswersAlone; })
            if (status == E_NOINTERFACE) T::AnswersAlone::Answer(static_cast<T*>(this), iid, out, status);
        return status;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return this->references_.Add(); }
    STDMETHODIMP_(ULONG) Release() override {
        ULONG left = 0;
        if (this->references_.Drop(&left) && !this->StaysWithOwner()) End();
        return left;
    }
    HRESULT Begin() {
        const HRESULT status = this->FinalConstruct();
        this->references_.MarkMade();
        return status;
    }
    void End() {
        EndObject<T>(*this, this->references_);
        delete this;
    }

private:
    ~Standalone() = default;
};

/// The form inside an outer object: the outer one answers for it. This is the IUnknown that the outer object
/// holds.
template <class T>
class Inner final : public IUnknown {
public:
    explicit Inner(IUnknown* outer) : object_(this, outer) {}

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (SameId(iid, kIid<IUnknown>)) {
            AddRef();
            *out = static_cast<IUnknown*>(this);
            return S_OK;
        }
        return object_.Answer(iid, out);
    }
    STDMETHODIMP_(ULONG) AddRef() override { return count_.Add(); }
    STDMETHODIMP_(ULONG) Release() override {
        ULONG left = 0;
        if (count_.Drop(&left)) End();
        return left;
    }
    HRESULT Begin() {
        const HRESULT status = object_.FinalConstruct();
        count_.MarkMade();
        return status;
    }
    void End() {
        EndObject<T>(object_, count_);
        delete this;
    }

private:
    class Object final : public Referred<T> {
    public:
        using Referred<T>::Answer;
        Object(Inner* inner, IUnknown* outer) : inner_(inner), outer_(outer) {}
        STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
            const HRESULT status = outer_->QueryInterface(iid, out);
            return SUCCEEDED(status) ? status : inner_->QueryInterface(iid, out);
        }
        STDMETHODIMP_(ULONG) AddRef() override { return outer_->AddRef(); }
        STDMETHODIMP_(ULONG) Release() override { return outer_->Release(); }

    private:
        Inner* inner_;
        IUnknown* outer_;
    };

    ~Inner() = default;
    Object object_;
    typename T::References count_;
};

/// Creates a T, alone or inside an outer object, and asks it for an interface. The status of its final
/// construction or of that query; nothing remains after a failure.
template <class T>
HRESULT CreateObject(IUnknown* outer, REFIID iid, void** out) {
    const auto finish = [&](auto* object) -> HRESULT {
        if (!object) return E_OUTOFMEMORY;
        HRESULT status = object->Begin();
        if (SUCCEEDED(status)) status = object->QueryInterface(iid, out);
        if (FAILED(status)) object->End();
        return status;
    };
    try {
        return outer ? finish(new (std::nothrow) Inner<T>(outer)) : finish(new (std::nothrow) Standalone<T>);
    } catch (const std::bad_alloc&) {  // what the object holds may need memory too
        return E_OUTOFMEMORY;
    }
}

/// ISupportErrorInfo for one interface. The object can be pointed back to.
template <class I>
class SupportsErrors : public BackRefTarget {
public:
    STDMETHODIMP InterfaceSupportsErrorInfo(REFIID iid) override { return iid == kIid<I> ? S_OK : S_FALSE; }
};

}  // namespace bv

/// What a class's file gives: the creator that the class table calls.
#define BV_CREATOR(Class)                                            \
    HRESULT Create##Class(IUnknown* outer, REFIID iid, void** out) { \
        return CreateObject<Class>(outer, iid, out);                 \
    }
