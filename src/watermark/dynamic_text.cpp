#include "watermark/dynamic_text.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <optional>

#include "com/ascii.h"

namespace bv {
namespace {

/// A length that a conversion may name, and what it makes of a number: the bytes that it takes.
struct Length {
    std::string_view name;
    int bytes;
};
// The longer name first. "l" is what the interfaces call long, and the same on all platforms.
constexpr Length kLengths[] = {{"hh", 1}, {"h", 2},   {"ll", 8},  {"l", 4}, {"j", 8},
                               {"z", 8},  {"I64", 8}, {"I32", 4}, {"t", 8}, {"I", 8}};
constexpr int kIntBytes = 4;

/// A format that can be given to printf with one number of 64 bits, and how much of a number it shows.
struct NumberFormat {
    NarrowBuffer<kTextLimit + 2> text;  // with the one length that is passed
    int bytes = 0;                      // 0: it shows none
    bool is_signed = false;
};

/// Takes decimal digits off a text. None for a count that no text can have.
std::optional<size_t> TakeCount(std::string_view& text) {
    size_t count = 0;
    for (; !text.empty() && IsDigit(text[0]); text.remove_prefix(1))
        count = std::min(count * 10 + size_t(text[0] - '0'), kTextLimit + 1);
    return count <= kTextLimit ? std::optional(count) : std::nullopt;
}

/// Takes what stands behind a "%" off a text. False: no integer conversion.
bool TakeConversion(std::string_view& text, NumberFormat& format) {
    const std::string_view flags = text.substr(0, text.find_first_not_of("-+ 0#"));
    text.remove_prefix(flags.size());
    const std::string_view width = text;
    if (!TakeCount(text)) return false;
    const size_t width_size = width.size() - text.size();
    std::string_view precision;
    std::optional<size_t> digits;
    if (text.starts_with('.')) {
        precision = text;
        text.remove_prefix(1);
        digits = TakeCount(text);
        if (!digits) return false;
        precision.remove_suffix(text.size());
    }
    format.bytes = kIntBytes;
    for (const Length& length : kLengths) {
        if (!text.starts_with(length.name)) continue;
        text.remove_prefix(length.name.size());
        format.bytes = length.bytes;
        break;
    }
    if (text.empty() || std::string_view("diuoxX").find(text[0]) == std::string_view::npos) return false;
    format.is_signed = text[0] == 'd' || text[0] == 'i';
    bool fits = format.text.Append("%");
    // What some systems don't know: a sign is shown of signed numbers alone, and "#" shows a digit of
    // an octal 0.
    if (digits == 0 && text[0] == 'o' && flags.find('#') != flags.npos) precision = ".1";
    for (const char& flag : flags)
        if (format.is_signed || (flag != '+' && flag != ' ')) fits &= format.text.Append({&flag, 1});
    fits &= format.text.Append(width.substr(0, width_size)) && format.text.Append(precision) &&
            format.text.Append("ll") && format.text.Append(text.substr(0, 1));
    text.remove_prefix(1);
    return fits;
}

/// None for a text with more than one conversion, or with another than of an integer.
std::optional<NumberFormat> ReadNumberFormat(std::string_view text) {
    NumberFormat format;
    while (!text.empty()) {
        const size_t plain = std::min(text.find('%'), text.size());
        if (!format.text.Append(text.substr(0, plain))) return std::nullopt;
        text.remove_prefix(plain);
        if (text.empty()) break;
        text.remove_prefix(1);
        if (text.starts_with('%')) {
            text.remove_prefix(1);
            if (!format.text.Append("%%")) return std::nullopt;
        } else if (format.bytes || !TakeConversion(text, format)) {
            return std::nullopt;
        }
    }
    return format;
}

/// What a conversion sees of a number: its low bytes, with the sign that they have.
long long Seen(LONG number, const NumberFormat& format) {
    const int hidden = 64 - 8 * format.bytes;
    if (hidden == 64 || hidden == 0) return number;
    const std::uint64_t bits = std::uint64_t(std::int64_t{number}) << hidden;
    return format.is_signed ? std::int64_t(bits) >> hidden : std::int64_t(bits >> hidden);
}

bool StartsWithKey(std::string_view text, std::string_view key) {
    return text.size() >= key.size() && SameAscii(text.substr(0, key.size()), key);
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

NarrowText FormatNumber(std::string_view text, LONG number) {
    NarrowText result;
    if (const auto format = ReadNumberFormat(text)) {
        const int length = std::snprintf(result.Buffer(), NarrowText::kCapacity + 1, format->text.c_str(),
                                         Seen(number, *format));
        if (length >= 0 && size_t(length) <= NarrowText::kCapacity) {
            result.UpdateLength();
            return result;
        }
    }
    std::snprintf(result.Buffer(), NarrowText::kCapacity + 1, "%lld", static_cast<long long>(number));
    result.UpdateLength();
    return result;
}

}  // namespace bv
