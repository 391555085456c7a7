#include "watermark/font_string.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>

#include "com/ascii.h"
#include "com/narrow.h"

namespace bv {
namespace {

constexpr LONG kUnreadableSize = 8;
using SizeRange = std::numeric_limits<LONG>;

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
        length = size_t(ToNarrowBytes(field, wide.View(), int(N - 1), Fit::kCut));
    }
    field[length] = 0;
}

LONG ReadSize(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) text.remove_prefix(1);
    LONGLONG size = 0;
    if (text.empty() || !IsDigit(text[0])) return kUnreadableSize;
    if (std::from_chars(text.data(), text.data() + text.size(), size).ec != std::errc())
        size = SizeRange::max();
    return LONG(std::clamp<LONGLONG>(negative ? -size : size, SizeRange::min(), SizeRange::max()));
}

void ReadItem(std::string_view item, FontInfo& font) {
    const size_t equals = item.find('=');
    if (equals == item.npos) return;
    const std::string_view key = item.substr(0, equals), value = item.substr(equals + 1);
    if (SameAscii(key, "FONT")) SetField(font.FaceName, value);
    if (SameAscii(key, "STYLE")) SetField(font.Style, value);
    if (SameAscii(key, "CHARSET")) SetField(font.Charset, value);
    if (SameAscii(key, "SIZE")) font.Size = ReadSize(value);
    if (SameAscii(key, "U")) font.Underline = SameAscii(value, "ON");
    if (SameAscii(key, "S")) font.Strikeout = SameAscii(value, "ON");
}

}  // namespace

Bstr FontToText(const FontInfo& font) {
    NarrowText text;  // what all fields can take, with the keys, is less
    char digits[12];
    const auto number = std::to_chars(digits, std::end(digits), font.Size);
    const std::string_view size(digits, size_t(number.ptr - digits));
    for (const std::string_view part :
         {std::string_view("FONT="), FieldText(font.FaceName), std::string_view(";STYLE="),
          FieldText(font.Style), std::string_view(";SIZE="), size, std::string_view(";U="),
          std::string_view(font.Underline ? "ON" : "OFF"), std::string_view(";S="),
          std::string_view(font.Strikeout ? "ON" : "OFF"), std::string_view(";CHARSET="),
          FieldText(font.Charset), std::string_view(";")})
        text.Append(part);
    return ToBstr(text.View());
}

void ReadFontText(std::wstring_view text, FontInfo& font) {
    const NarrowText narrow(text);
    std::string_view rest = narrow.View();
    while (!rest.empty()) {
        const size_t end = std::min(rest.find(';'), rest.size());
        ReadItem(rest.substr(0, end), font);
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
}

}  // namespace bv
