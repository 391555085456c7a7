#include "com/narrow.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <algorithm>

#include "com/variant.h"

namespace bv {
namespace {

constexpr size_t kBlock = 8;

/// Eight characters, if all of them are ASCII; else false, and what was written means nothing.
bool CopyAscii(char* out, const wchar_t* in) {
#ifdef __SSE2__
    const auto load = [in](size_t at) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + at)); };
    __m128i low = load(0), all = low, units = low;
    if constexpr (sizeof(wchar_t) == 4) {
        const __m128i high = load(kBlock / 2);
        all = _mm_or_si128(low, high);
        units = _mm_packs_epi32(low, high);
    }
    const __m128i beyond = sizeof(wchar_t) == 4 ? _mm_set1_epi32(~0x7F) : _mm_set1_epi16(~0x7F);
    if (_mm_movemask_epi8(_mm_cmpeq_epi8(_mm_and_si128(all, beyond), _mm_setzero_si128())) != 0xFFFF)
        return false;
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out), _mm_packus_epi16(units, units));
#else
    for (size_t i = 0; i < kBlock; ++i) {
        if (size_t(in[i]) >= 0x80) return false;
        out[i] = char(in[i]);
    }
#endif
    return true;
}

/// The characters from `plain` on, which stand behind as many bytes.
int RestToNarrow(char* buffer, std::wstring_view text, size_t plain, int capacity) {
    if (plain == size_t(capacity)) return -1;
    const auto convert = [&](DWORD flags, const char* unmapped) {
        return WideCharToMultiByte(CP_ACP, flags, text.data() + plain, int(text.size() - plain),
                                   buffer + plain, int(size_t(capacity) - plain), unmapped, nullptr);
    };
    int rest = convert(WC_NO_BEST_FIT_CHARS, "#");
    // A system whose code page is UTF-8 takes neither flag nor substitute: it has every character.
    if (rest == 0 && GetLastError() != ERROR_INSUFFICIENT_BUFFER) rest = convert(0, nullptr);
    return rest > 0 ? int(plain) + rest : -1;
}

/// The whole text, or -1.
int WholeToNarrow(char* buffer, std::wstring_view text, int capacity) {
    size_t plain = 0;  // most texts are ASCII, which is the same in every code page
    const size_t most = std::min(text.size(), size_t(capacity));
    if (most >= kBlock) {
        const size_t last = most - kBlock;  // the last block may begin inside of the one before
        for (size_t at = 0; CopyAscii(buffer + at, text.data() + at); at = std::min(at + kBlock, last)) {
            plain = at + kBlock;
            if (plain == most) break;
        }
    }
    while (plain < most && text[plain] > 0 && text[plain] < 0x80) {
        buffer[plain] = char(text[plain]);
        ++plain;
    }
    return plain == text.size() ? int(plain) : RestToNarrow(buffer, text, plain, capacity);
}

}  // namespace

int ToNarrowBytes(char* buffer, std::wstring_view text, int capacity, Fit fit) {
    if (fit == Fit::kCut) text = text.substr(0, size_t(capacity));  // a character has a byte at least
    for (;;) {
        const int length = WholeToNarrow(buffer, text, capacity);
        if (length >= 0 || fit == Fit::kWhole) return length;
        const wchar_t last = text.back();
        text.remove_suffix(1);
        // Of a pair of surrogates both go.
        if (last >= 0xDC00 && last <= 0xDFFF && !text.empty()) text.remove_suffix(1);
    }
}

std::optional<NarrowText> ToNarrow(const VARIANT& value) {
    Variant text;
    if (FAILED(text.ChangeFrom(value, VT_BSTR))) return std::nullopt;
    const std::wstring_view wide = TextOf(text);
    const NarrowText narrow(wide);
    if (narrow.empty() && !wide.empty() && wide[0] != L'\0') return std::nullopt;
    return narrow;
}

int ToWide(const char* text, wchar_t* buffer, int capacity) {
    if (capacity <= 0) return 0;
    // The length that it gives counts the terminator.
    const int length = text ? MultiByteToWideChar(CP_ACP, 0, text, -1, buffer, capacity) : 0;
    if (length <= 0) {
        buffer[0] = 0;
        return 0;
    }
    return length - 1;
}

Bstr ToBstr(std::string_view text) {
    Bstr result;
    const int length =
        text.empty() ? 0 : MultiByteToWideChar(CP_ACP, 0, text.data(), int(text.size()), nullptr, 0);
    BSTR* out = result.Put();
    *out = SysAllocStringLen(nullptr, UINT(length));
    if (*out && length) MultiByteToWideChar(CP_ACP, 0, text.data(), int(text.size()), *out, length);
    return result;
}

}  // namespace bv
