#include "automation/decimal_number.h"

#include <langinfo.h>
#include <locale.h>

#include <algorithm>
#include <charconv>
#include <cmath>

#include "stringapiset.h"

namespace bv::platform {
namespace {

constexpr U128 kBits96 = U128{1} << 96;
constexpr U128 kKept = U128{1} << 122;  // below it, one more digit fits
constexpr int kDecimalPlaces = 28;
constexpr int kCurrencyPlaces = 4;

wchar_t FirstCharacter(const char* text, wchar_t otherwise) {
    wchar_t wide[8] = {};
    const bool usable = text && *text && MultiByteToWideChar(CP_UTF8, 0, text, -1, wide, 8) > 0;
    return usable ? wide[0] : otherwise;
}

Separators ReadSeparators() {
    locale_t locale = newlocale(LC_NUMERIC_MASK, "", nullptr);
    if (!locale) return {L'.', L','};
    Separators result;
    result.decimal = FirstCharacter(nl_langinfo_l(RADIXCHAR, locale), L'.');
    result.thousands = FirstCharacter(nl_langinfo_l(THOUSEP, locale), result.decimal == L',' ? L'.' : L',');
    freelocale(locale);
    return result;
}

/// Appends a digit. fraction: it stands right of the point.
void Append(DecimalNumber& number, int digit, bool fraction) {
    if (number.digits < kKept) {
        number.digits = number.digits * 10 + static_cast<unsigned>(digit);
        if (fraction) --number.exponent;
    } else {
        number.more |= digit != 0;
        if (!fraction) ++number.exponent;
    }
}

int DigitIn(wchar_t c, int base) {
    int digit = base;
    if (c >= L'0' && c <= L'9') digit = c - L'0';
    if (c >= L'a' && c <= L'f') digit = c - L'a' + 10;
    if (c >= L'A' && c <= L'F') digit = c - L'A' + 10;
    return digit < base ? digit : -1;
}

/// Reads a text from left to right.
class Reader {
public:
    explicit Reader(std::wstring_view text) : text_(text) {}

    wchar_t Peek() const { return at_ < text_.size() ? text_[at_] : L'\0'; }
    void Skip() { ++at_; }
    bool Take(wchar_t c) {
        if (Peek() != c || c == L'\0') return false;
        ++at_;
        return true;
    }
    void SkipBlanks() {
        while (IsBlank(Peek())) ++at_;
    }
    bool AtEnd() const { return at_ >= text_.size(); }

private:
    std::wstring_view text_;
    std::size_t at_ = 0;
};

/// The bit pattern after "&". Only blanks may follow.
HRESULT ParseBits(Reader& in, DecimalNumber* number) {
    const bool hex = in.Take(L'H') || in.Take(L'h');
    if (!hex && !in.Take(L'O') && !in.Take(L'o')) return DISP_E_TYPEMISMATCH;
    const int base = hex ? 16 : 8;
    int digit = DigitIn(in.Peek(), base);
    if (digit < 0) return DISP_E_TYPEMISMATCH;
    bool overflow = false;
    for (; digit >= 0; digit = DigitIn(in.Peek(), base)) {
        number->digits = number->digits * static_cast<unsigned>(base) + static_cast<unsigned>(digit);
        overflow |= number->digits > UINT64_MAX;
        if (overflow) number->digits = UINT64_MAX;
        in.Skip();
    }
    in.SkipBlanks();
    if (!in.AtEnd()) return DISP_E_TYPEMISMATCH;
    return overflow ? DISP_E_OVERFLOW : S_OK;
}

bool ParseExponent(Reader& in, DecimalNumber* number) {
    const bool negative = in.Take(L'-');
    if (!negative) in.Take(L'+');
    if (DigitIn(in.Peek(), 10) < 0) return false;
    long long exponent = 0;
    for (int digit; (digit = DigitIn(in.Peek(), 10)) >= 0; in.Skip()) {
        exponent = std::min(exponent * 10 + digit, 1'000'000'000'000LL);
    }
    number->exponent += negative ? -exponent : exponent;
    return true;
}

}  // namespace

bool IsBlank(wchar_t c) {
    return c == L' ' || (c >= 0x9 && c <= 0xD) || c == 0x85 || c == 0xA0 || c == 0x1680 ||
           (c >= 0x2000 && c <= 0x200A) || c == 0x2028 || c == 0x2029 || c == 0x202F || c == 0x205F ||
           c == 0x3000;
}

const Separators& NumberSeparators() {
    static const Separators separators = ReadSeparators();
    return separators;
}

std::optional<U128> Rounded(const DecimalNumber& number, int places) {
    U128 value = number.digits;
    if (value == 0) return value;
    long long shift = number.exponent + places;
    for (; shift > 0; --shift) {
        if (value >= kKept) return std::nullopt;
        value *= 10;
    }
    if (shift == 0) return value;  // what was not kept is below half of a unit of 10^38 digits
    if (shift < -38) return U128{0};
    U128 unit = 1;
    for (; shift < 0; ++shift) unit *= 10;
    const U128 whole = value / unit;
    const U128 rest = value % unit;
    const U128 half = unit / 2;
    const bool up = rest > half || (rest == half && (number.more || whole % 2 != 0));
    return whole + (up ? 1 : 0);
}

double ToDouble(const DecimalNumber& number) {
    char digits[64];
    char* end = digits + sizeof digits;
    char* begin = end;
    U128 value = number.digits;
    long long exponent = number.exponent;
    if (number.more) {  // one digit below the kept ones decides a tie
        *--begin = '1';
        --exponent;
    }
    do {
        *--begin = static_cast<char>('0' + static_cast<int>(value % 10));
        value /= 10;
    } while (value != 0);
    if (number.digits == 0) return number.negative ? -0.0 : 0.0;

    std::string text(begin, end);
    text += 'e' + std::to_string(exponent);
    double result = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), result);
    if (error == std::errc::result_out_of_range) result = exponent > 0 ? HUGE_VAL : 0;
    return number.negative ? -result : result;
}

DecimalNumber FromCurrency(const CY& value) {
    const bool negative = value.int64 < 0;
    const auto bits = static_cast<ULONGLONG>(value.int64);
    return {negative, false, negative ? 0 - bits : bits, -kCurrencyPlaces};
}

std::optional<DecimalNumber> FromDecimal(const DECIMAL& value) {
    if (value.scale > kDecimalPlaces || (value.sign & ~DECIMAL_NEG) != 0) return std::nullopt;
    const U128 digits = U128{value.Hi32} << 64 | value.Lo64;
    return DecimalNumber{value.sign != 0, false, digits, -static_cast<long long>(value.scale)};
}

DecimalNumber FromDouble(double value, int significant) {
    DecimalNumber number;
    number.negative = std::signbit(value);
    const double size = std::fabs(value);
    if (size < 0x1p96 && size == std::floor(size)) {
        number.digits = static_cast<U128>(size);
        return number;
    }
    char text[64];
    const auto [end, error] =
        std::to_chars(text, text + sizeof text, size, std::chars_format::scientific, significant - 1);
    const char* at = text;
    for (bool fraction = false; at != end && *at != 'e'; ++at) {
        if (*at == '.') {
            fraction = true;
        } else {
            Append(number, *at - '0', fraction);
        }
    }
    int exponent = 0;
    if (at != end) ++at;
    if (at != end && *at == '+') ++at;
    std::from_chars(at, end, exponent);
    number.exponent += exponent;
    return number;
}

bool ToCurrency(const DecimalNumber& number, CY* result) {
    const std::optional<U128> units = Rounded(number, kCurrencyPlaces);
    const U128 limit = U128{1} << 63;
    if (!units || *units > limit || (*units == limit && !number.negative)) return false;
    const auto bits = static_cast<ULONGLONG>(*units);
    result->int64 = static_cast<LONGLONG>(number.negative ? 0 - bits : bits);
    return true;
}

bool ToDecimal(const DecimalNumber& number, DECIMAL* result) {
    DecimalNumber shortest = number;
    if (shortest.digits == 0) shortest.exponent = 0;
    while (shortest.exponent < 0 && shortest.digits % 10 == 0) {
        shortest.digits /= 10;
        ++shortest.exponent;
    }
    const int most = static_cast<int>(std::clamp<long long>(-shortest.exponent, 0, kDecimalPlaces));
    for (int scale = most; scale >= 0; --scale) {
        const std::optional<U128> digits = Rounded(shortest, scale);
        if (!digits || *digits >= kBits96) continue;
        *result = {};
        result->scale = static_cast<BYTE>(*digits == 0 ? 0 : scale);
        result->sign = number.negative && *digits != 0 ? DECIMAL_NEG : 0;
        result->Hi32 = static_cast<ULONG>(*digits >> 64);
        result->Lo64 = static_cast<ULONGLONG>(*digits);
        return true;
    }
    return false;
}

std::string ToText(const DecimalNumber& number) {
    std::string text;
    U128 digits = number.digits;
    for (long long exponent = number.exponent; digits != 0 || exponent <= 0; ++exponent) {
        const int digit = static_cast<int>(digits % 10);
        if (exponent >= 0 || digit != 0 || !text.empty()) text += static_cast<char>('0' + digit);
        digits /= 10;
        if (exponent == -1 && !text.empty()) text += '.';
    }
    if (number.negative && number.digits != 0) text += '-';
    std::reverse(text.begin(), text.end());
    return text;
}

HRESULT ParseNumber(std::wstring_view text, DecimalNumber* number, bool* bits) {
    *number = {};
    *bits = false;
    const Separators& separators = NumberSeparators();
    Reader in(text);
    bool plus = false, minus = false, open = false, currency = false;
    const auto take_once = [&in](wchar_t c, bool* seen) { return !*seen && in.Take(c) && (*seen = true); };

    for (bool more = true; more;) {
        in.SkipBlanks();
        more = take_once(L'+', &plus) || take_once(L'-', &minus) || take_once(L'(', &open) ||
               take_once(L'$', &currency);
    }
    if (in.Take(L'&')) {
        *bits = true;
        return ParseBits(in, number);
    }

    bool any = false, fraction = false;
    for (;; in.Skip()) {
        const int digit = DigitIn(in.Peek(), 10);
        if (digit >= 0) {
            Append(*number, digit, fraction);
            any = true;
        } else if (in.Peek() == separators.decimal && !fraction) {
            fraction = true;
        } else if (in.Peek() != separators.thousands || !any) {
            break;
        }
    }
    if (!any) return DISP_E_TYPEMISMATCH;
    if ((in.Take(L'e') || in.Take(L'E')) && !ParseExponent(in, number)) return DISP_E_TYPEMISMATCH;

    bool closed = !open;
    const bool had_sign = plus || minus;
    for (bool more = true; more;) {
        in.SkipBlanks();
        more = (!had_sign && !plus && take_once(L'-', &minus)) ||
               (!had_sign && !minus && take_once(L'+', &plus)) || take_once(L')', &closed) ||
               take_once(L'$', &currency);
    }
    if (!in.AtEnd() || !closed) return DISP_E_TYPEMISMATCH;
    number->negative = minus || open;
    return S_OK;
}

}  // namespace bv::platform
