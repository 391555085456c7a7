#include "watermark/font_string.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>

#include "com/narrow.h"

namespace bv {
namespace {

constexpr LONG kUnreadableSize = 8;
using SizeRange = std::numeric_limits<LONG>;

bool SameWord(std::string_view a, std::string_view b) {
    const auto upper = [](char c) { return c >= 'a' && c <= 'z' ? char(c - 'a' + 'A') : c; };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [&](char x, char y) { return upper(x) == upper(y); });
}

template <size_t N>
std::string_view FieldText(const char (&field)[N]) {
    return {field, strnlen(field, N)};
}

template <size_t N>
void SetField(char (&field)[N], std::string_view text) {
    size_t length = text.size();
    if (length < N) {
        std::memcpy(field, text.data(), length);
    } else {
        const Bstr wide = ToBstr(text);
        length = size_t(ToNarrowCut(field, wide.View(), int(N - 1)));
    }
    field[length] = 0;
}

LONG ReadSize(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) text.remove_prefix(1);
    LONGLONG size = 0;
    if (text.empty() || text[0] < '0' || text[0] > '9') return kUnreadableSize;
    if (std::from_chars(text.data(), text.data() + text.size(), size).ec != std::errc())
        size = SizeRange::max();
    return LONG(std::clamp<LONGLONG>(negative ? -size : size, SizeRange::min(), SizeRange::max()));
}

void ReadItem(std::string_view item, FontInfo& font) {
    const size_t equals = item.find('=');
    if (equals == item.npos) return;
    const std::string_view key = item.substr(0, equals), value = item.substr(equals + 1);
    if (SameWord(key, "FONT")) SetField(font.FaceName, value);
    if (SameWord(key, "STYLE")) SetField(font.Style, value);
    if (SameWord(key, "CHARSET")) SetField(font.Charset, value);
    if (SameWord(key, "SIZE")) font.Size = ReadSize(value);
    if (SameWord(key, "U")) font.Underline = SameWord(value, "ON");
    if (SameWord(key, "S")) font.Strikeout = SameWord(value, "ON");
}

}  // namespace

Bstr FontToText(const FontInfo& font) {
    char text[kTextLimit];  // what all fields can take, with the keys, is less
    size_t length = 0;
    const auto put = [&](std::string_view part) {
        part = part.substr(0, sizeof text - length);
        length += part.copy(text + length, part.size());
    };
    char digits[12];
    const auto number = std::to_chars(digits, std::end(digits), font.Size);
    const std::string_view size(digits, size_t(number.ptr - digits));
    for (const std::string_view part :
         {std::string_view("FONT="), FieldText(font.FaceName), std::string_view(";STYLE="),
          FieldText(font.Style), std::string_view(";SIZE="), size, std::string_view(";U="),
          std::string_view(font.Underline ? "ON" : "OFF"), std::string_view(";S="),
          std::string_view(font.Strikeout ? "ON" : "OFF"), std::string_view(";CHARSET="),
          FieldText(font.Charset), std::string_view(";")})
        put(part);
    return ToBstr({text, length});
}

void ReadFontText(std::wstring_view text, FontInfo& font) {
    char narrow[kTextLimit];
    const int length = ToNarrowBytes(narrow, text, kTextLimit);
    if (length < 0) return;
    std::string_view rest(narrow, size_t(length));
    rest = rest.substr(0, rest.find('\0'));
    while (!rest.empty()) {
        const size_t end = std::min(rest.find(';'), rest.size());
        ReadItem(rest.substr(0, end), font);
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
}

}  // namespace bv
