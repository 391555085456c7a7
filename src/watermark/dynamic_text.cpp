#include "watermark/dynamic_text.h"

#include <algorithm>
#include <charconv>
#include <string>

namespace bv {
namespace {

/// One conversion: "%-08.3lx".
struct Conversion {
    bool left = false, plus = false, blank = false, zeros = false, prefix = false;
    size_t width = 0;
    size_t precision = 1;  // the least count of digits
    bool has_precision = false;
    char kind = 0;
};

/// Reads decimal digits; a count that no text can have stops at one that is too large already.
size_t ReadCount(std::string_view& text) {
    size_t count = 0;
    while (!text.empty() && text[0] >= '0' && text[0] <= '9') {
        count = std::min(count * 10 + size_t(text[0] - '0'), NarrowText::kLimit + 1);
        text.remove_prefix(1);
    }
    return count;
}

/// Reads what stands behind a "%". False: no integer conversion.
bool ReadConversion(std::string_view& text, Conversion& result) {
    for (; !text.empty(); text.remove_prefix(1)) {
        if (text[0] == '-')
            result.left = true;
        else if (text[0] == '+')
            result.plus = true;
        else if (text[0] == ' ')
            result.blank = true;
        else if (text[0] == '0')
            result.zeros = true;
        else if (text[0] == '#')
            result.prefix = true;
        else
            break;
    }
    result.width = ReadCount(text);
    if (text.starts_with('.')) {
        text.remove_prefix(1);
        result.precision = ReadCount(text);
        result.has_precision = true;
    }
    for (const std::string_view length : {"ll", "l"}) {  // the number has one size, whatever it is called
        if (!text.starts_with(length)) continue;
        text.remove_prefix(length.size());
        break;
    }
    if (text.empty() || std::string_view("diuoxX").find(text[0]) == std::string_view::npos) return false;
    result.kind = text[0];
    text.remove_prefix(1);
    return true;
}

bool AppendNumber(NarrowText& out, const Conversion& how, LONG number) {
    const bool is_signed = how.kind == 'd' || how.kind == 'i';
    const bool negative = is_signed && number < 0;
    const ULONG magnitude = negative ? 0u - ULONG(number) : ULONG(number);

    char buffer[12];
    const int base = how.kind == 'o' ? 8 : how.kind == 'x' || how.kind == 'X' ? 16 : 10;
    const auto end = std::to_chars(buffer, std::end(buffer), magnitude, base).ptr;
    if (how.kind == 'X')
        std::transform(buffer, end, buffer, [](char c) { return c >= 'a' ? char(c - 'a' + 'A') : c; });
    std::string_view digits(buffer, size_t(end - buffer));
    if (magnitude == 0 && how.precision == 0) digits = {};

    std::string_view sign;
    if (negative)
        sign = "-";
    else if (is_signed && (how.plus || how.blank))
        sign = how.plus ? "+" : " ";
    else if (how.prefix && base == 16 && magnitude)
        sign = how.kind == 'x' ? "0x" : "0X";

    size_t leading = how.precision > digits.size() ? how.precision - digits.size() : 0;
    if (how.prefix && base == 8 && leading == 0 && !digits.starts_with('0')) leading = 1;
    size_t used = sign.size() + leading + digits.size();
    size_t padding = how.width > used ? how.width - used : 0;
    if (how.zeros && !how.left && !how.has_precision) leading += std::exchange(padding, 0);
    return (how.left || out.Append(padding, ' ')) && out.Append(sign) && out.Append(leading, '0') &&
           out.Append(digits) && (!how.left || out.Append(padding, ' '));
}

/// False for a picture that is none.
bool Fill(std::string_view picture, LONG number, NarrowText& out) {
    bool shown = false;
    while (!picture.empty()) {
        const size_t plain = std::min(picture.find('%'), picture.size());
        if (!out.Append(picture.substr(0, plain))) return false;
        picture.remove_prefix(plain);
        if (picture.empty()) break;
        picture.remove_prefix(1);
        if (picture.starts_with('%')) {
            picture.remove_prefix(1);
            if (!out.Append("%")) return false;
            continue;
        }
        Conversion how;
        if (shown || !ReadConversion(picture, how) || !AppendNumber(out, how, number)) return false;
        shown = true;
    }
    return true;
}

bool StartsWithKey(std::string_view text, std::string_view key) {
    return text.size() >= key.size() && std::equal(key.begin(), key.end(), text.begin(), [](char k, char c) {
               return k == (c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c);
           });
}

}  // namespace

void PutVariable(NarrowText& text, std::string_view key, std::string_view value) {
    NarrowText result;
    std::string_view rest = text.View();
    while (!rest.empty()) {
        size_t taken = std::min(rest.find('%'), rest.size());
        std::string_view part = rest.substr(0, taken);
        if (taken == 0) {
            const bool found = StartsWithKey(rest, key);
            taken = found ? key.size() : 1;
            part = found ? value : rest.substr(0, 1);
        }
        if (!result.Append(part)) {
            result.Clear();
            break;
        }
        rest.remove_prefix(taken);
    }
    text = result;
}

NarrowText FormatNumber(std::string_view picture, LONG number) {
    NarrowText result;
    if (Fill(picture, number, result)) return result;
    result.Clear();
    Fill("%d", number, result);
    return result;
}

}  // namespace bv
