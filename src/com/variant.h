#pragma once

#include <bvschema/bvschema.h>

#include "com/bstr.h"

namespace bv {

/// A constant value that says its kind: I4(1), Text(L""), Empty(). {} is no value at all.
struct Literal {
    static constexpr VARTYPE kNone = 0xFFFF;

    VARTYPE kind = kNone;
    LONG number = 0;
    const wchar_t* text = nullptr;
    const CLSID* node = nullptr;  // VT_DISPATCH: the class of the node to be created as the value

    constexpr bool IsNone() const { return kind == kNone; }
};
constexpr Literal I4(LONG value) { return {VT_I4, value}; }
constexpr Literal I2(SHORT value) { return {VT_I2, value}; }
constexpr Literal Text(const wchar_t* value) { return {VT_BSTR, 0, value}; }
constexpr Literal Empty() { return {VT_EMPTY}; }
constexpr Literal NodeOf(const CLSID& value) { return {VT_DISPATCH, 0, nullptr, &value}; }

/// An owned VARIANT.
class Variant : public VARIANT {
public:
    Variant() : VARIANT{} {}
    explicit Variant(const Literal& literal) : Variant() {
        vt = literal.kind;
        if (literal.kind == VT_BSTR)
            bstrVal = SysAllocString(literal.text);
        else if (literal.kind == VT_I2)
            iVal = SHORT(literal.number);
        else if (literal.kind == VT_I4)
            lVal = literal.number;
        else
            vt = VT_EMPTY;
    }
    explicit Variant(std::wstring_view text) : Variant() {
        vt = VT_BSTR;
        bstrVal = SysAllocStringLen(text.data(), UINT(text.size()));
    }
    explicit Variant(IDispatch* object) : Variant() {
        vt = VT_DISPATCH;
        pdispVal = object;
        if (object) object->AddRef();
    }
    Variant(const Variant&) = delete;
    Variant(Variant&& other) noexcept : VARIANT(other) { other.vt = VT_EMPTY; }
    ~Variant() { Clear(); }
    Variant& operator=(const Variant&) = delete;
    Variant& operator=(Variant&& other) noexcept {
        std::swap(static_cast<VARIANT&>(*this), static_cast<VARIANT&>(other));
        return *this;
    }

    /// To be filled by a call that gives a VARIANT.
    VARIANT* Put() {
        Clear();
        return this;
    }
    /// Becomes a copy; of a reference, which is the caller's, a copy of what it points to. When it can't, it
    /// holds the status as VT_ERROR.
    void CopyFrom(const VARIANT& source) {
        Variant copy;
        if (IsPlain(source.vt)) {
            static_cast<VARIANT&>(copy) = source;
        } else if (const HRESULT status = VariantCopyInd(&copy, const_cast<VARIANT*>(&source));
                   FAILED(status)) {
            copy.vt = VT_ERROR;
            copy.scode = status;
        }
        *this = std::move(copy);
    }
    /// Becomes the source changed to a kind by Automation's rules; stays as it is when that fails.
    HRESULT ChangeFrom(const VARIANT& source, VARTYPE kind) {
        if (source.vt == kind && IsPlain(kind)) {
            CopyFrom(source);
            return S_OK;
        }
        return VariantChangeType(this, const_cast<VARIANT*>(&source), 0, kind);
    }
    HRESULT CopyTo(VARIANT* out) const {
        if (IsPlain(vt)) {
            *out = *this;
            return S_OK;
        }
        VariantInit(out);
        return VariantCopy(out, const_cast<Variant*>(this));
    }
    /// The text of a VT_BSTR, which it doesn't hold any more.
    Bstr DetachText() {
        Bstr text;
        *text.Put() = std::exchange(bstrVal, nullptr);
        vt = VT_EMPTY;
        return text;
    }
    void DetachTo(VARIANT* out) {
        *out = *this;
        vt = VT_EMPTY;
    }
    void Clear() {
        if (IsPlain(vt))
            vt = VT_EMPTY;
        else
            VariantClear(this);
    }

private:
    /// Nothing and the common numbers: they own nothing, and are most of what a tree holds.
    static bool IsPlain(VARTYPE kind) { return kind <= VT_R8; }
};

/// The object that a VARIANT holds, null for all other kinds. No reference is added.
inline IUnknown* ObjectOf(const VARIANT& value) {
    return value.vt == VT_DISPATCH || value.vt == VT_UNKNOWN ? value.punkVal : nullptr;
}

/// The characters of a VT_BSTR, none for all other kinds.
inline std::wstring_view TextOf(const VARIANT& value) {
    return value.vt == VT_BSTR ? View(value.bstrVal) : std::wstring_view();
}

/// A VARIANT passed on that stays the caller's: an object or a text that is only lent.
inline VARIANT Lend(IDispatch* object) {
    VARIANT value;
    VariantInit(&value);
    value.vt = VT_DISPATCH;
    value.pdispVal = object;
    return value;
}
inline VARIANT Lend(BSTR text) {
    VARIANT value;
    VariantInit(&value);
    value.vt = VT_BSTR;
    value.bstrVal = text;
    return value;
}

/// Whether two values are the same: of one kind and equal in it.
/// Kinds without a rule are never equal, but to themselves.
bool SameValue(const VARIANT& a, const VARIANT& b);
bool SameValue(const VARIANT& a, const Literal& b);

}  // namespace bv
