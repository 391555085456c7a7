// Exact decimal numbers, the common form of VT_CY, VT_DECIMAL and text.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "oaidl.h"

namespace bv::platform {

__extension__ typedef unsigned __int128 U128;
__extension__ typedef __int128 I128;

/// digits * 10^exponent. `more` says that further digits, not all 0, follow the ones that are kept.
struct DecimalNumber {
    bool negative = false;
    bool more = false;
    U128 digits = 0;
    long long exponent = 0;
};

/// |number| * 10^places, rounded half to even. No value when it needs more than 126 bits.
std::optional<U128> Rounded(const DecimalNumber& number, int places);

/// The nearest double; infinite when the number is too large.
double ToDouble(const DecimalNumber& number);

DecimalNumber FromCurrency(const CY& value);
/// No value for a scale above 28 or a sign byte other than 0 and 0x80.
std::optional<DecimalNumber> FromDecimal(const DECIMAL& value);
/// A finite number cut to so many significant digits; whole numbers are taken exactly.
DecimalNumber FromDouble(double value, int significant);

/// Scale 4, as many decimals as VT_CY has. False when out of range.
bool ToCurrency(const DecimalNumber& number, CY* result);
/// The smallest scale that holds the number, or up to 28 decimals of it. False when 96 bits are too few.
bool ToDecimal(const DecimalNumber& number, DECIMAL* result);

/// All digits, no exponent, no zeros at the end of the fraction.
std::string ToText(const DecimalNumber& number);

/// A number as people write it: blanks around it, a sign before or after it or parentheses, "$", thousands
/// separators, an exponent; or "&H1F" and "&O17", which set *bits: the digits are then a bit pattern.
/// S_OK, DISP_E_TYPEMISMATCH for another text, DISP_E_OVERFLOW for more than 64 bits.
HRESULT ParseNumber(std::wstring_view text, DecimalNumber* number, bool* bits);

/// The separators that the process's locale (LC_NUMERIC of the environment) has, read once.
struct Separators {
    wchar_t decimal;
    wchar_t thousands;
};
const Separators& NumberSeparators();

/// True for what may stand around a number or a date: space, tab, line end, the no-break
/// and typographic spaces.
bool IsBlank(wchar_t c);

}  // namespace bv::platform
