// What a C++ host wants round the component model: counted references, texts and values that free themselves.
#pragma once

#include <string>
#include <utility>

#include <bvschema/bvschema.h>

namespace host {

/// A counted reference; null says that the object doesn't answer.
template <class T>
class Ref {
public:
    Ref() = default;
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
    /// Where a call puts its result.
    T** Put() {
        *this = Ref();
        return &pointer_;
    }
    void** PutVoid() { return reinterpret_cast<void**>(Put()); }
    template <class I>
    Ref<I> As() const {
        return Ask<I>(pointer_);
    }
    template <class I>
    static Ref<I> Ask(T* object) {
        Ref<I> result;
        if (object && FAILED(object->QueryInterface(bv::kIid<I>, result.PutVoid()))) return {};
        return result;
    }

private:
    T* pointer_ = nullptr;
};

template <class I, class T>
Ref<I> Ask(T* object) {
    return Ref<T>::template Ask<I>(object);
}

/// A BSTR argument.
class Text {
public:
    explicit Text(const std::wstring& text) : bstr_(SysAllocStringLen(text.data(), UINT(text.size()))) {}
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
    std::wstring Get() const { return bstr_ ? std::wstring(bstr_, SysStringLen(bstr_)) : std::wstring(); }

private:
    BSTR bstr_ = nullptr;
};

/// Whether values of a kind are whole numbers.
inline bool IsWhole(VARTYPE kind) {
    return kind == VT_I2 || kind == VT_I4 || (kind >= VT_I1 && kind <= VT_UINT);
}

/// A VARIANT that is cleared at its end.
class Value {
public:
    Value() { VariantInit(&variant_); }
    Value(const Value& other) : Value() { VariantCopy(&variant_, const_cast<VARIANT*>(&other.variant_)); }
    Value(Value&& other) noexcept : Value() { std::swap(variant_, other.variant_); }
    ~Value() { VariantClear(&variant_); }
    Value& operator=(Value other) noexcept {
        std::swap(variant_, other.variant_);
        return *this;
    }
    static Value Of(const std::wstring& text) {
        Value value;
        value.variant_.vt = VT_BSTR;
        value.variant_.bstrVal = SysAllocStringLen(text.data(), UINT(text.size()));
        return value;
    }
    static Value Of(LONG number) {
        Value value;
        value.variant_.vt = VT_I4;
        value.variant_.lVal = number;
        return value;
    }

    const VARIANT& get() const { return variant_; }
    VARIANT* Put() {
        VariantClear(&variant_);
        return &variant_;
    }
    VARTYPE kind() const { return variant_.vt; }
    IUnknown* object() const {
        return kind() == VT_DISPATCH || kind() == VT_UNKNOWN ? variant_.punkVal : nullptr;
    }
    /// The same value in another kind, by Automation's rules.
    HRESULT ChangeTo(VARTYPE kind, Value* result) const {
        Value copy(*this);  // source and target may be one, and the calls want a VARIANT that is not const
        const HRESULT status = VariantChangeType(&copy.variant_, &copy.variant_, 0, kind);
        if (SUCCEEDED(status)) *result = std::move(copy);
        return status;
    }
    /// As text; empty for what has none.
    std::wstring AsText() const {
        Value text;
        if (object() || FAILED(ChangeTo(VT_BSTR, &text)) || !text.variant_.bstrVal) return {};
        return std::wstring(text.variant_.bstrVal, SysStringLen(text.variant_.bstrVal));
    }

private:
    VARIANT variant_;
};

}  // namespace host
