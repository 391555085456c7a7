#include "tree/node_text.h"

#include <algorithm>
#include <bit>
#include <cstdint>

#include "com/block_pool.h"

namespace bv {
namespace {

using Word = std::uint64_t;
constexpr size_t kUnits = sizeof(Word) / sizeof(wchar_t);
constexpr Word kOnes = ~Word(0) / (sizeof(wchar_t) == 4 ? 0xFFFFFFFFu : 0xFFFFu);  // 1 in each character
static_assert(std::endian::native == std::endian::little);

/// Copies characters as a byte each, and tells whether all were ASCII and none zero.
class Packing {
public:
    void Four(const wchar_t* in, char* out) {
        Word word[4 / kUnits], packed;
        std::memcpy(word, in, sizeof word);
        for (const Word w : word) wide_ |= w;
        if constexpr (kUnits == 2) {
            packed = word[0] | word[1] << 16;
            packed |= packed >> 24;
        } else {
            packed = (word[0] | word[0] >> 8) & 0x0000FFFF0000FFFF;
            packed |= packed >> 16;
        }
        const auto four = std::uint32_t(packed);
        narrow_ |= four - 0x01010101u;  // the high bit of a byte, if it was 0
        std::memcpy(out, &four, sizeof four);
    }
    void One(wchar_t in, char* out) {
        wide_ |= Word(in);
        narrow_ |= std::uint32_t(in) - 1;
        *out = char(in);
    }
    bool IsGood() const { return !(wide_ & ~(kOnes * 0x7F)) && !(narrow_ & 0x80808080u); }

private:
    Word wide_ = 0;
    std::uint32_t narrow_ = 0;
};

/// Copies what are ASCII characters without a zero, a byte each. False if one isn't.
[[gnu::always_inline]] inline bool Pack(std::wstring_view text, char* out) {
    Packing packing;
    const size_t size = text.size();
    if (size >= 4) {
        for (size_t i = 0; i + 4 < size; i += 4) packing.Four(text.data() + i, out + i);
        packing.Four(text.data() + size - 4, out + size - 4);  // some of them again
    } else {
        for (size_t i = 0; i < size; ++i) packing.One(text[i], out + i);
    }
    return packing.IsGood();
}

wchar_t ToUpper(wchar_t c) { return c >= L'a' && c <= L'z' ? wchar_t(c - L'a' + L'A') : c; }

}  // namespace

bool NodeText::SetShort(std::wstring_view text) {
    if (text.size() > kRoom) return false;
    if (form_ > kRoom) return SetShortForLong(text);
    const bool packed = Pack(text, here_);  // it owns nothing, and the text isn't its own
    form_ = packed ? static_cast<unsigned char>(text.size()) : 0;
    return packed;
}

bool NodeText::SetShortForLong(std::wstring_view text) {
    char packed[kRoom];
    if (!Pack(text, packed)) return false;
    Free();
    std::memcpy(here_, packed, text.size());
    form_ = static_cast<unsigned char>(text.size());
    return true;
}

bool NodeText::SetLong(std::wstring_view text) {
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
    if (form == kWide ? !copy.wide : !copy.bytes) return false;
    Free();  // the text may be its own
    Set(copy, form);
    return true;
}

void NodeText::FreeLong() {
    if (form_ == kLongAscii) FreeBlock(long_().bytes, long_().size);
    if (form_ == kWide) FreeBlock(const_cast<wchar_t*>(long_().wide), long_().size * sizeof(wchar_t));
    form_ = 0;
}

WantedName::WantedName(std::wstring_view name)
    : name_(name), is_packed_(name.size() < sizeof packed_ && Pack(name, packed_)) {}

bool NodeText::IsPackedShort(const char* name) const {
    if (std::memcmp(here_, name, form_) == 0) return true;
    for (size_t i = 0; i < form_; ++i)
        if (here_[i] != name[i] && ToUpperAscii(static_cast<unsigned char>(here_[i])) !=
                                       ToUpperAscii(static_cast<unsigned char>(name[i])))
            return false;
    return true;
}

bool NodeText::IsOther(std::wstring_view name) const {
    if (form_ > kRoom && form_ != kLongAscii) return SameLetters(Wide(), name);
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
