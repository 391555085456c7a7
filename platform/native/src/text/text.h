// Text inside the layer is UTF-8. Bytes that are no UTF-8 pass through unchanged, since they may be part of a
// file name; as wide characters they become U+FFFD.
#pragma once

#include <string>
#include <string_view>

namespace bv::platform {

inline constexpr wchar_t kReplacement = 0xFFFD;

/// Neither half a surrogate pair nor beyond the last character.
inline bool IsCharacter(wchar_t c) { return c >= 0 && c <= 0x10FFFF && (c < 0xD800 || c > 0xDFFF); }

struct Utf8Character {
    wchar_t character;  // -1: bytes that mean nothing, for which one replacement character stands
    size_t length;      // in bytes, at least 1
};

/// The character that a text begins with, which isn't empty.
inline Utf8Character DecodeUtf8(std::string_view text) {
    const auto byte = [text](size_t i) { return unsigned{static_cast<unsigned char>(text[i])}; };
    const unsigned lead = byte(0);
    if (lead < 0x80) return {static_cast<wchar_t>(lead), 1};
    if (lead < 0xC2 || lead > 0xF4) return {-1, 1};
    const size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    wchar_t c = static_cast<wchar_t>(lead & (0xFF >> (length + 1)));
    for (size_t i = 1; i < length; ++i) {
        // The second byte alone tells overlong forms, surrogates and what lies above the last character.
        const unsigned low = i > 1 ? 0x80 : lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
        const unsigned high = i > 1 ? 0xBF : lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
        if (i >= text.size() || byte(i) < low || byte(i) > high) return {-1, i};
        c = static_cast<wchar_t>(c << 6 | static_cast<wchar_t>(byte(i) & 0x3F));
    }
    return {c, length};
}

/// Writes a character's bytes and gives their number; what is no character becomes U+FFFD.
size_t EncodeUtf8(wchar_t c, char (&bytes)[4]);

/// The one rule of letter case: characters are the same without case if this is. Forms of a letter, such as a
/// final sigma or a long s, are letters of their own. It is the same in every locale.
wchar_t UpperCase(wchar_t c);
bool SameWithoutCase(std::wstring_view a, std::wstring_view b);

std::string ToUtf8(std::wstring_view text);
std::wstring ToWide(std::string_view text);

/// Between the narrow code page and UTF-8; the same bytes when that is the code page.
std::string NarrowToUtf8(std::string_view text);
std::string Utf8ToNarrow(std::string_view text);

/// The form in which texts compare without case: UpperCase of each character.
std::string Fold(std::string_view text);

/// The longest beginning of at most that many bytes that splits no character.
std::string_view CutUtf8(std::string_view text, size_t size);

}  // namespace bv::platform
