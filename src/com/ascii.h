// Letters and digits of texts that are ASCII by their grammar, whatever the system's language.
#pragma once

#include <algorithm>
#include <string_view>

namespace bv {

template <class Char>
constexpr bool IsDigit(Char c) {
    return c >= '0' && c <= '9';
}

template <class Char>
constexpr Char ToUpperAscii(Char c) {
    return c >= 'a' && c <= 'z' ? Char(c - 'a' + 'A') : c;
}

/// Whether two texts are the same without regard to the case of "a" to "z".
constexpr bool SameAscii(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return ToUpperAscii(x) == ToUpperAscii(y); });
}

/// The value of a hexadecimal digit; -1 for another character.
template <class Char>
constexpr int HexDigit(Char c) {
    if (IsDigit(c)) return int(c - '0');
    const Char upper = ToUpperAscii(c);
    return upper >= 'A' && upper <= 'F' ? int(upper - 'A' + 10) : -1;
}

}  // namespace bv
