#include "tree/node_text.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace bv {
namespace {

/// Copies what are ASCII characters without a zero, a byte each. False if one isn't.
bool Pack(std::wstring_view text, char* out) {
    std::uint32_t all = 0;  // wchar_t has a sign on some systems
    bool zero = false;
    for (size_t i = 0; i < text.size(); ++i) {
        all |= std::uint32_t(text[i]);
        zero |= text[i] == 0;
        out[i] = char(text[i]);
    }
    return all < 0x80 && !zero;
}

wchar_t ToUpper(wchar_t c) { return c >= L'a' && c <= L'z' ? wchar_t(c - L'a' + L'A') : c; }

}  // namespace

bool NodeText::SetShort(std::wstring_view text) {
    if (text.size() > kRoom) return false;
    char packed[kRoom];
    if (!Pack(text, packed)) return false;
    Free();
    std::memcpy(here_, packed, sizeof packed);
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
    copy.bytes = static_cast<char*>(std::malloc(text.size() + 1));
    if (copy.bytes && !Pack(text, copy.bytes)) {
        std::free(copy.bytes);
        auto* wide = static_cast<wchar_t*>(std::malloc(text.size() * sizeof(wchar_t)));
        if (wide) std::copy(text.begin(), text.end(), wide);
        copy.wide = wide;
        form = kWide;
    }
    Free();  // the text may be its own
    if (form == kWide ? copy.wide != nullptr : copy.bytes != nullptr) Set(copy, form);
}

void NodeText::Free() {
    if (form_ == kLongAscii) std::free(long_().bytes);
    if (form_ == kWide) std::free(const_cast<wchar_t*>(long_().wide));
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
