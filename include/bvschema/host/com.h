// What C++ wants round the component model: counted references, texts and values that free themselves. Texts
// of the tree are wide; those of this layer's surface are UTF-8.
#pragma once

#include <bvschema/bvschema.h>
#include <bvschema/host/text.h>

#include <utility>

namespace bv::inline host {

/// A counted reference; null says that the object doesn't answer.
template <class T>
class Ref {
public:
    Ref() = default;
    /// Adds a reference to what the caller goes on owning.
    explicit Ref(T* pointer) : pointer_(pointer) {
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
    bool operator==(const Ref& other) const { return pointer_ == other.pointer_; }
    /// Where a call puts its result. What was held is released first.
    T** Put() {
        *this = Ref();
        return &pointer_;
    }
    void** PutVoid() { return reinterpret_cast<void**>(Put()); }
    /// The object's other interface; null when it has none.
    template <class I>
    Ref<I> As() const {
        return Ask<I>(pointer_);
    }
    template <class I>
    static Ref<I> Ask(T* object) {
        Ref<I> result;
        if (object && FAILED(object->QueryInterface(kIid<I>, result.PutVoid()))) return {};
        return result;
    }

private:
    T* pointer_ = nullptr;
};

template <class I, class T>
Ref<I> Ask(T* object) {
    return Ref<T>::template Ask<I>(object);
}

/// A BSTR argument. Null where memory has ended, which a call reads as an empty text.
class Text {
public:
    explicit Text(std::wstring_view text) : bstr_(SysAllocStringLen(text.data(), UINT(text.size()))) {}
    explicit Text(std::string_view utf8) : Text(std::wstring_view(ToWide(utf8))) {}
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;
    ~Text() { SysFreeString(bstr_); }
    operator BSTR() const { return bstr_; }

private:
    BSTR bstr_;
};

/// A BSTR result. Null is empty.
class TextResult {
public:
    TextResult() = default;
    TextResult(const TextResult&) = delete;
    TextResult& operator=(const TextResult&) = delete;
    ~TextResult() { SysFreeString(bstr_); }
    BSTR* Put() { return &bstr_; }
    std::wstring_view View() const {
        return bstr_ ? std::wstring_view(bstr_, SysStringLen(bstr_)) : std::wstring_view();
    }
    std::wstring Get() const { return std::wstring(View()); }
    std::string Utf8() const { return ToUtf8(View()); }

private:
    BSTR bstr_ = nullptr;
};

}  // namespace bv::inline host
