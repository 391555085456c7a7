// A value of a node.
#pragma once

#include <bvschema/host/com.h>

#include <concepts>
#include <cstdint>
#include <limits>
#include <optional>
#include <variant>

namespace bv::inline host {

/// Whether values of a kind are whole numbers.
constexpr bool IsWhole(VARTYPE kind) {
    return kind == VT_I2 || kind == VT_I4 || (kind >= VT_I1 && kind <= VT_UINT);
}

/// How a kind of value is called: "32-bit number".
std::string KindName(VARTYPE kind);

/// What a value is to C++: nothing, a switch (VT_BOOL), a whole number, a decimal one, a text in
/// UTF-8, an object.
using Scalar = std::variant<std::monostate, bool, std::int64_t, double, std::string, Ref<IUnknown>>;

/// A VARIANT that is cleared at its end. Nodes compare values by kind and value: 2 here is VT_I4 2, as in the
/// tree's own lists, and 2.0 is VT_R8.
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

    /// VT_I4, or VT_I8 for a number beyond 32 bits.
    template <std::integral Number>
    Value(Number number) : Value() {  // NOLINT: node = 2 is meant
        if constexpr (std::same_as<Number, bool>) {
            variant_.vt = VT_BOOL;
            variant_.boolVal = number ? VARIANT_TRUE : VARIANT_FALSE;
        } else if (std::in_range<std::int32_t>(number)) {
            variant_.vt = VT_I4;
            variant_.lVal = static_cast<LONG>(number);
        } else {
            variant_.vt = VT_I8;
            variant_.llVal = static_cast<LONGLONG>(number);
        }
    }
    Value(double number) : Value() {  // NOLINT
        variant_.vt = VT_R8;
        variant_.dblVal = number;
    }
    Value(std::string_view utf8) : Value(Of(ToWide(utf8))) {}          // NOLINT
    Value(const char* utf8) : Value(std::string_view(utf8)) {}         // NOLINT
    Value(const std::string& utf8) : Value(std::string_view(utf8)) {}  // NOLINT
    explicit Value(IUnknown* object) : Value() {
        variant_.vt = VT_UNKNOWN;
        variant_.punkVal = object;
        if (object) object->AddRef();
    }
    static Value Of(std::wstring_view text) {
        Value value;
        value.variant_.vt = VT_BSTR;
        value.variant_.bstrVal = SysAllocStringLen(text.data(), UINT(text.size()));
        return value;
    }
    static Value Of(LONG number) { return Value(number); }

    const VARIANT& get() const { return variant_; }
    /// Where a call puts its result. What was held is cleared first.
    VARIANT* Put() {
        VariantClear(&variant_);
        return &variant_;
    }
    VARTYPE kind() const { return variant_.vt; }
    bool empty() const { return variant_.vt == VT_EMPTY; }
    /// The object that is the value, which goes on owning it; null for other kinds.
    IUnknown* object() const {
        return kind() == VT_DISPATCH || kind() == VT_UNKNOWN ? variant_.punkVal : nullptr;
    }
    Scalar scalar() const;

    /// The same value in another kind, by Automation's rules. A failure leaves *result.
    HRESULT ChangeTo(VARTYPE kind, Value* result) const {
        Value copy(*this);  // source and target may be one, and the calls want a VARIANT that is not const
        const HRESULT status = VariantChangeType(&copy.variant_, &copy.variant_, 0, kind);
        if (SUCCEEDED(status)) *result = std::move(copy);
        return status;
    }
    /// As text; empty for what has none, such as an object.
    std::wstring AsText() const;
    std::string text() const { return ToUtf8(AsText()); }
    /// As a whole number; none for what is none.
    std::optional<std::int64_t> number() const;

    /// The same kind and the same value; objects by identity.
    bool operator==(const Value& other) const;

private:
    VARIANT variant_;
};

}  // namespace bv::inline host
