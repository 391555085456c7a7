#include "watermark/colour.h"

#include "com/ascii.h"
#include "com/narrow.h"

namespace bv {
namespace {

constexpr size_t kLongest = 255;  // bytes of a text that is read
constexpr size_t kFirst = 2;      // where red begins
constexpr size_t kShortest = 8;   // with all three pairs

DWORD Pair(const char* text) {
    const int high = HexDigit(text[0]), low = HexDigit(text[1]);
    if (high < 0) return 0;
    return DWORD(low < 0 ? high : high * 16 + low);
}

}  // namespace

DWORD ReadColour(std::wstring_view text) {
    const NarrowBuffer<kLongest> narrow(text);
    if (narrow.size() < kShortest) return 0;
    const char* const pairs = narrow.c_str() + kFirst;
    return Pair(pairs) | Pair(pairs + 2) << 8 | Pair(pairs + 4) << 16;
}

std::wstring ColourToText(DWORD colour) {
    constexpr wchar_t kDigits[] = L"0123456789ABCDEF";
    std::wstring text = L"0x";
    for (const unsigned shift : {0u, 8u, 16u}) {
        text += kDigits[colour >> (shift + 4) & 0xF];
        text += kDigits[colour >> shift & 0xF];
    }
    return text;
}

}  // namespace bv
