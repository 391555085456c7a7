// A counted reference, for hosts that are tests.
#pragma once

#include <bvschema/bvschema.h>

#include <utility>

namespace bv::test {

/// A counted reference, as a host would write one.
template <class T>
class Ref {
public:
    Ref() = default;
    Ref(T* pointer) : pointer_(pointer) {  // NOLINT
        if (pointer_) pointer_->AddRef();
    }
    Ref(const Ref& other) : Ref(other.pointer_) {}
    Ref(Ref&& other) noexcept : pointer_(std::exchange(other.pointer_, nullptr)) {}
    ~Ref() {
        if (pointer_) pointer_->Release();
    }
    Ref& operator=(Ref other) noexcept {
        std::swap(pointer_, other.pointer_);
        return *this;
    }
    T* get() const { return pointer_; }
    T* operator->() const { return pointer_; }
    explicit operator bool() const { return pointer_ != nullptr; }
    T** Put() {
        *this = Ref();
        return &pointer_;
    }
    void** PutVoid() { return reinterpret_cast<void**>(Put()); }
    template <class I>
    Ref<I> As() const {
        Ref<I> result;
        if (pointer_ && FAILED(pointer_->QueryInterface(kIid<I>, result.PutVoid()))) return {};
        return result;
    }

private:
    T* pointer_ = nullptr;
};

}  // namespace bv::test
