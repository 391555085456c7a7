// A value as a node or an entry keeps it.
#pragma once

#include <cstdint>
#include <cstring>

#include "com/com_ptr.h"
#include "com/variant.h"

namespace bv {

/// A VARIANT in 16 bytes, which all kinds but records take on every platform; a record has a block of its own. A text
/// has a block that looks like a BSTR, with its length in front, but isn't one of the system's: it can be lent, never
/// given away. No value at all differs from VT_EMPTY. May be moved in memory as it is.
class KeptValue {
public:
    KeptValue() = default;
    KeptValue(const KeptValue&) = delete;
    KeptValue& operator=(const KeptValue&) = delete;
    KeptValue(KeptValue&& other) noexcept { std::memcpy(this, &other, sizeof *this), other.kind_ = kNone; }
    ~KeptValue() { Clear(); }

    bool exists() const { return kind_ != kNone; }
    VARTYPE kind() const { return exists() ? kind_ : VARTYPE(VT_EMPTY); }
    /// The value, which stays this one's: VT_EMPTY when there is none.
    VARIANT Lent() const;
    IUnknown* object() const {
        return kind_ == VT_DISPATCH || kind_ == VT_UNKNOWN ? reinterpret_cast<IUnknown*>(Bits()) : nullptr;
    }
    HRESULT CopyTo(VARIANT* out) const {
        VARIANT value = Lent();
        if (value.vt <= VT_R8) {
            *out = value;
            return S_OK;
        }
        VariantInit(out);
        return VariantCopy(out, &value);
    }
    /// Becomes a copy; of a reference, of what it points to. E_OUTOFMEMORY: it stays as it was. What can't be copied
    /// for another reason becomes VT_ERROR with the status. The old value goes when the new one is in place.
    HRESULT SetCopy(const VARIANT& value) {
        if (!IsPlain() || value.vt > VT_R8) return CopyOwned(value);
        kind_ = value.vt;
        std::memcpy(payload_, &value.llVal, sizeof payload_);
        return S_OK;
    }
    HRESULT SetLiteral(const Literal& literal) {
        if (!IsPlain() || literal.kind != VT_I4) return SetOther(literal);
        kind_ = VT_I4;
        std::memset(payload_, 0, sizeof payload_);
        std::memcpy(payload_, &literal.number, sizeof literal.number);
        return S_OK;
    }
    HRESULT SetText(const wchar_t* text, size_t bytes);
    /// Takes the value of another, which has none then.
    void TakeFrom(KeptValue& other) {
        KeptValue mine(std::move(*this));
        std::memcpy(static_cast<void*>(this), &other, sizeof *this);
        other.kind_ = kNone;
    }
    /// Takes an object out; nothing is left, whatever the value was.
    ComPtr<IUnknown> TakeObject();

private:
    static constexpr VARTYPE kNone = 0xFFFF;
    static constexpr size_t kSize = 16;
    static constexpr bool kBoxesRecords = sizeof(VARIANT) > kSize;

    /// Nothing, or a number that owns nothing.
    bool IsPlain() const { return kind_ <= VT_R8 || kind_ == kNone; }
    HRESULT CopyOwned(const VARIANT& value);
    HRESULT SetOther(const Literal& literal);
    HRESULT Replace(Variant value);
    void Clear() {
        if (!IsPlain()) ClearOwned();
        kind_ = kNone;
    }
    void ClearOwned();
    std::uintptr_t Bits() const {
        std::uintptr_t bits;
        std::memcpy(&bits, payload_, sizeof bits);
        return bits;
    }

    alignas(8) VARTYPE kind_ = kNone;
    unsigned char rest_[6] = {};  // of a decimal
    unsigned char payload_[8] = {};
};
static_assert(sizeof(KeptValue) == 16);

}  // namespace bv
