#include "tree/kept_value.h"

namespace bv {

VARIANT KeptValue::Lent() const {
    VARIANT value{};
    if (kBoxesRecords && kind_ == VT_RECORD) return *reinterpret_cast<const VARIANT*>(Bits());
    if (exists()) std::memcpy(static_cast<void*>(&value), this, kSize);
    return value;
}

void KeptValue::Set(Variant value) {
    const Variant old = Take();
    if (kBoxesRecords && value.vt == VT_RECORD) {
        auto* box = new (std::nothrow) Variant;
        if (!box) {
            value.Clear();
            value.vt = VT_ERROR;
            value.scode = E_OUTOFMEMORY;
        } else {
            *box = std::move(value);
            kind_ = VT_RECORD;
            std::memcpy(payload_, &box, sizeof box);
            return;
        }
    }
    std::memcpy(static_cast<void*>(this), &static_cast<const VARIANT&>(value), kSize);
    value.vt = VT_EMPTY;
}

Variant KeptValue::Take() {
    Variant value;
    if (kBoxesRecords && kind_ == VT_RECORD) {
        auto* box = reinterpret_cast<Variant*>(Bits());
        value = std::move(*box);
        delete box;
    } else {
        static_cast<VARIANT&>(value) = Lent();
    }
    kind_ = kNone;
    return value;
}

}  // namespace bv
