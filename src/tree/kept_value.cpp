#include "tree/kept_value.h"

#include "com/block_pool.h"

namespace bv {
namespace {

constexpr size_t kHead = 16;  // keeps the characters aligned; its last 4 bytes are the length

/// Of a text's block.
size_t BytesFor(size_t bytes) { return kHead + bytes + 2 * sizeof(wchar_t); }

}  // namespace

VARIANT KeptValue::Lent() const {
    VARIANT value{};
    if (kBoxesRecords && kind_ == VT_RECORD) return *reinterpret_cast<const VARIANT*>(Bits());
    if (exists()) std::memcpy(static_cast<void*>(&value), this, kSize);
    return value;
}

HRESULT KeptValue::CopyOwned(const VARIANT& value) {
    if (value.vt == VT_BSTR) return SetText(value.bstrVal, SysStringByteLen(value.bstrVal));
    Variant copy;
    copy.CopyFrom(value);
    if (copy.vt == VT_ERROR && value.vt != VT_ERROR && copy.scode == E_OUTOFMEMORY) return E_OUTOFMEMORY;
    return Replace(std::move(copy));
}

HRESULT KeptValue::SetText(const wchar_t* text, size_t bytes) {
    wchar_t* copy = nullptr;
    if (text) {
        char* const block = bytes < 0x7FFFFFFF ? static_cast<char*>(AllocateBlock(BytesFor(bytes))) : nullptr;
        if (!block) return E_OUTOFMEMORY;
        const auto length = std::uint32_t(bytes);
        std::memcpy(block + kHead - sizeof length, &length, sizeof length);
        std::memcpy(block + kHead, text, bytes);
        std::memset(block + kHead + bytes, 0, 2 * sizeof(wchar_t));
        copy = reinterpret_cast<wchar_t*>(block + kHead);
    }
    const KeptValue old(std::move(*this));  // the text may be a part of it
    kind_ = VT_BSTR;
    std::memcpy(payload_, &copy, sizeof copy);
    return S_OK;
}

HRESULT KeptValue::SetOther(const Literal& literal) {
    if (literal.kind != VT_BSTR) return Replace(Variant(literal));
    return SetText(literal.text,
                   literal.text ? std::char_traits<wchar_t>::length(literal.text) * sizeof(wchar_t) : 0);
}

HRESULT KeptValue::Replace(Variant value) {
    if (value.vt == VT_BSTR) return SetText(value.bstrVal, SysStringByteLen(value.bstrVal));
    Variant* box = nullptr;
    if (kBoxesRecords && value.vt == VT_RECORD) {
        box = new (std::nothrow) Variant;
        if (!box) return E_OUTOFMEMORY;
        *box = std::move(value);
    }
    const KeptValue old(std::move(*this));
    if (box) {
        kind_ = VT_RECORD;
        std::memcpy(payload_, &box, sizeof box);
    } else {
        std::memcpy(static_cast<void*>(this), &static_cast<const VARIANT&>(value), kSize);
        value.vt = VT_EMPTY;
    }
    return S_OK;
}

ComPtr<IUnknown> KeptValue::TakeObject() {
    ComPtr<IUnknown> taken;
    if (IUnknown* held = object()) {
        kind_ = kNone;
        *taken.Put() = held;
    } else {
        Clear();
    }
    return taken;
}

void KeptValue::ClearOwned() {
    if (kind_ == VT_BSTR) {
        if (auto* text = reinterpret_cast<char*>(Bits())) {
            std::uint32_t length = 0;
            std::memcpy(&length, text - sizeof length, sizeof length);
            FreeBlock(text - kHead, BytesFor(length));
        }
    } else if (kBoxesRecords && kind_ == VT_RECORD) {
        delete reinterpret_cast<Variant*>(Bits());
    } else {
        Variant value;
        static_cast<VARIANT&>(value) = Lent();
    }
}

}  // namespace bv
