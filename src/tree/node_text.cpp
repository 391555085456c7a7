#include "tree/node_text.h"

#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "com/block_pool.h"

namespace bv {
namespace {

using Unit = std::conditional_t<sizeof(wchar_t) == 4, std::uint32_t, std::uint16_t>;
using Four = Unit __attribute__((vector_size(4 * sizeof(Unit))));
using FourBytes = unsigned char __attribute__((vector_size(4)));

/// Copies what are ASCII characters without a zero, a byte each. False if one isn't.
bool Pack(std::wstring_view text, char* out) {
    // Four at a time; whether one was zero or above 0x7F is seen at the end, beyond the seven bits.
    Four beyond{};
    size_t i = 0;
    for (; i + 4 <= text.size(); i += 4) {
        Four four;
        std::memcpy(&four, text.data() + i, sizeof four);
        beyond |= four | (four - 1);
        const auto bytes = __builtin_convertvector(four, FourBytes);
        std::memcpy(out + i, &bytes, sizeof bytes);
    }
    std::uint32_t all = beyond[0] | beyond[1] | beyond[2] | beyond[3];
    for (; i < text.size(); ++i) {
        const auto c = std::uint32_t(text[i]);
        all |= c | (c - 1);
        out[i] = char(c);
    }
    return all < 0x80;
}

wchar_t ToUpper(wchar_t c) { return c >= L'a' && c <= L'z' ? wchar_t(c - L'a' + L'A') : c; }

}  // namespace

bool NodeText::SetShort(std::wstring_view text) {
    if (text.size() > kRoom) return false;
    char packed[kRoom + 1];
    if (!Pack(text, packed)) return false;
    Free();
    std::memcpy(here_, packed, kRoom);
    form_ = static_cast<unsigned char>(text.size());
    return true;
}

void NodeText::SetLiteral(std::wstring_view literal) {
    if (SetShort(literal)) return;
    Free();
    Set({{literal.data()}, literal.size()}, kLiteral);
}

void NodeText::SetCopy(std::wstring_view text) {
    if (SetShort(text)) return;
    Long copy{{nullptr}, text.size()};
    unsigned char form = kLongAscii;
    copy.bytes = static_cast<char*>(AllocateBlock(text.size()));
    if (copy.bytes && !Pack(text, copy.bytes)) {
        FreeBlock(copy.bytes, text.size());
        auto* wide = static_cast<wchar_t*>(AllocateBlock(text.size() * sizeof(wchar_t)));
        if (wide) std::copy(text.begin(), text.end(), wide);
        copy.wide = wide;
        form = kWide;
    }
    Free();  // the text may be its own
    if (form == kWide ? copy.wide != nullptr : copy.bytes != nullptr) Set(copy, form);
}

void NodeText::Free() {
    if (form_ == kLongAscii) FreeBlock(long_().bytes, long_().size);
    if (form_ == kWide) FreeBlock(const_cast<wchar_t*>(long_().wide), long_().size * sizeof(wchar_t));
    form_ = 0;
}

bool NodeText::IsAscii(std::wstring_view name) const {
    const std::string_view bytes = Ascii();
    for (size_t i = 0; i < bytes.size(); ++i) {
        const auto own = wchar_t(bytes[i]);
        if (own != name[i] && ToUpper(own) != ToUpper(name[i])) {
            if (name[i] < 0x80) return false;
            std::wstring_view rest = name.substr(i);  // letters beyond ASCII may be the same as one of it
            wchar_t letter[1] = {own};
            if (!SameLetters({letter, 1}, rest.substr(0, 1))) return false;
        }
    }
    return true;
}

HRESULT NodeText::CopyTo(BSTR* out) const {
    if (form_ > kRoom && form_ != kLongAscii) return Bstr::CopyTo(Wide(), out);
    if (!out) return E_POINTER;
    const std::string_view bytes = Ascii();
    BSTR copy = SysAllocStringLen(nullptr, UINT(bytes.size()));
    if (!copy) return E_OUTOFMEMORY;
    for (size_t i = 0; i < bytes.size(); ++i) copy[i] = static_cast<unsigned char>(bytes[i]);
    *out = copy;
    return S_OK;
}

}  // namespace bv
