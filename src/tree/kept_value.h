// A value as a node or an entry keeps it.
#pragma once

#include <cstdint>
#include <cstring>

#include "com/variant.h"

namespace bv {

/// A VARIANT in 16 bytes, which all kinds but records take on every platform; a record has a block of its own. No
/// value at all differs from VT_EMPTY. May be moved in memory as it is.
class KeptValue {
public:
    KeptValue() = default;
    KeptValue(const KeptValue&) = delete;
    KeptValue& operator=(const KeptValue&) = delete;
    KeptValue(KeptValue&& other) noexcept { std::memcpy(this, &other, sizeof *this), other.kind_ = kNone; }
    ~KeptValue() { Take(); }

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
    /// Takes a value over; the old one goes when the new one is in place.
    void Set(Variant value);
    /// Takes the value out; nothing is left.
    Variant Take();

private:
    static constexpr VARTYPE kNone = 0xFFFF;
    static constexpr size_t kSize = 16;
    static constexpr bool kBoxesRecords = sizeof(VARIANT) > kSize;

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
