#include "watermark/colour.h"

#include "com/narrow.h"

namespace bv {
namespace {

constexpr int kLongest = 255;    // bytes of a text that is read
constexpr size_t kFirst = 2;     // where red begins
constexpr size_t kShortest = 8;  // with all three pairs
constexpr int kNoDigit = -1;

int Digit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return kNoDigit;
}

DWORD Pair(const char* text) {
    const int high = Digit(text[0]), low = Digit(text[1]);
    if (high == kNoDigit) return 0;
    return DWORD(low == kNoDigit ? high : high * 16 + low);
}

}  // namespace

DWORD ReadColour(std::wstring_view text) {
    char narrow[kLongest];
    const int length = ToNarrowBytes(narrow, text.substr(0, text.find(L'\0')), kLongest);
    if (length < int(kShortest)) return 0;
    return Pair(narrow + kFirst) | Pair(narrow + kFirst + 2) << 8 | Pair(narrow + kFirst + 4) << 16;
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
