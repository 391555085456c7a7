#pragma once

#include <bvschema/bvschema.h>

#include <tuple>
#include <utility>

namespace bv {

/// A counted reference to an interface.
template <class T>
class ComPtr {
public:
    ComPtr() = default;
    ComPtr(std::nullptr_t) {}  // NOLINT: a null pointer is a ComPtr
    /// Adds a reference.
    ComPtr(T* pointer) : pointer_(pointer) {  // NOLINT: and so is a raw one
        if (pointer_) pointer_->AddRef();
    }
    ComPtr(const ComPtr& other) : ComPtr(other.pointer_) {}
    ComPtr(ComPtr&& other) noexcept : pointer_(std::exchange(other.pointer_, nullptr)) {}
    ~ComPtr() { Reset(); }

    ComPtr& operator=(ComPtr other) noexcept {
        std::swap(pointer_, other.pointer_);
        return *this;
    }

    T* get() const { return pointer_; }
    T* operator->() const { return pointer_; }
    T& operator*() const { return *pointer_; }
    explicit operator bool() const { return pointer_ != nullptr; }

    /// The field is empty before the reference goes: what its end calls sees it empty.
    void Reset() {
        if (T* old = std::exchange(pointer_, nullptr)) old->Release();
    }
    /// To be filled by a call that gives a reference.
    T** Put() {
        Reset();
        return &pointer_;
    }
    void** PutVoid() { return reinterpret_cast<void**>(Put()); }
    T* Detach() { return std::exchange(pointer_, nullptr); }
    /// Gives the caller a reference.
    HRESULT CopyTo(T** out) const {
        if (pointer_) pointer_->AddRef();
        *out = pointer_;
        return S_OK;
    }
    /// The object's interface I, null when it refuses.
    template <class I>
    ComPtr<I> As() const;

private:
    T* pointer_ = nullptr;
};

/// The interface I of an object that may be null; null when it refuses.
template <class I>
ComPtr<I> Query(IUnknown* object) {
    ComPtr<I> result;
    if (object && FAILED(object->QueryInterface(kIid<I>, result.PutVoid()))) return nullptr;
    return result;
}

template <class T>
template <class I>
ComPtr<I> ComPtr<T>::As() const {
    return Query<I>(pointer_);
}

/// Whether two interface pointers are the same object.
inline bool SameObject(IUnknown* a, IUnknown* b) {
    return a == b || (a && b && Query<IUnknown>(a).get() == Query<IUnknown>(b).get());
}

#define RETURN_IF_FAILED(expression)                                               \
    do {                                                                           \
        if (const HRESULT status_ = (expression); FAILED(status_)) return status_; \
    } while (false)

}  // namespace bv
