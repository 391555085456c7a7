// VARIANT: life cycle and conversion.
#include <charconv>
#include <cmath>
#include <new>

#include "automation/calendar.h"
#include "automation/decimal_number.h"
#include "oleauto.h"

using namespace bv::platform;

namespace {

constexpr VARTYPE kKindFlags = 0xF000;

bool IsValue(VARTYPE base) { return base <= VT_UINT && base != 15; }

/// A kind that a VARIANT may have.
bool IsKind(VARTYPE kind) {
    const VARTYPE base = kind & VT_TYPEMASK;
    const VARTYPE flags = kind & kKindFlags;
    if (flags & ~(VT_ARRAY | VT_BYREF)) return false;
    return (IsValue(base) || base == VT_RECORD) && (flags == 0 || base > VT_NULL);
}

/// A copy of the fields that counts no reference: what the value is, or what it points to.
HRESULT Resolve(const VARIANT& source, VARIANT* view) {
    if (!IsKind(source.vt)) return DISP_E_BADVARTYPE;
    if (!(source.vt & VT_BYREF)) {
        *view = source;
        return S_OK;
    }
    const VARTYPE kind = source.vt & ~VT_BYREF;
    if (!source.byref) return E_INVALIDARG;
    if (kind == VT_VARIANT) {
        if (source.pvarVal->vt == (VT_VARIANT | VT_BYREF)) return E_INVALIDARG;
        return Resolve(*source.pvarVal, view);
    }
    *view = {};
    if (kind & VT_ARRAY) {
        view->parray = *source.pparray;
    } else {
        switch (kind) {
            case VT_I1:
            case VT_UI1:
                view->bVal = *source.pbVal;
                break;
            case VT_I2:
            case VT_UI2:
            case VT_BOOL:
                view->iVal = *source.piVal;
                break;
            case VT_I8:
            case VT_UI8:
            case VT_CY:
            case VT_R8:
            case VT_DATE:
                std::memcpy(&view->llVal, source.byref, sizeof view->llVal);
                break;
            case VT_BSTR:
            case VT_DISPATCH:
            case VT_UNKNOWN:
                std::memcpy(&view->byref, source.byref, sizeof view->byref);
                break;
            case VT_DECIMAL:
                view->decVal = *source.pdecVal;
                break;
            case VT_RECORD:
                return E_INVALIDARG;
            default:
                std::memcpy(&view->lVal, source.byref, sizeof view->lVal);
                break;
        }
    }
    view->vt = kind;
    return S_OK;
}

/// Makes a copied set of fields a value of its own. Arrays and records can't be copied here.
HRESULT Own(VARIANT* value) {
    if (value->vt & VT_BYREF) return S_OK;
    if ((value->vt & VT_ARRAY) || value->vt == VT_RECORD) return value->byref ? DISP_E_BADVARTYPE : S_OK;
    if (value->vt == VT_BSTR) {
        value->bstrVal =
            SysAllocStringByteLen(reinterpret_cast<LPCSTR>(value->bstrVal), SysStringByteLen(value->bstrVal));
        return value->bstrVal ? S_OK : E_OUTOFMEMORY;
    }
    if ((value->vt == VT_DISPATCH || value->vt == VT_UNKNOWN) && value->punkVal) value->punkVal->AddRef();
    return S_OK;
}

/// Clears the target and gives it a value that is already its own; on failure that value goes.
HRESULT Replace(VARIANT* target, VARIANT* value) {
    const HRESULT cleared = VariantClear(target);
    if (FAILED(cleared)) {
        VariantClear(value);
        return cleared;
    }
    *target = *value;
    return S_OK;
}

/// A text of one to nine digits, which is the usual number in a file and the same in every locale.
bool PlainNumber(BSTR text, LONG* number) {
    const UINT length = SysStringLen(text);
    if (length == 0 || length > 9) return false;
    LONG value = 0;
    for (UINT i = 0; i < length; ++i) {
        if (text[i] < L'0' || text[i] > L'9') return false;
        value = value * 10 + LONG(text[i] - L'0');
    }
    *number = value;
    return true;
}

// --- Conversion: every source becomes one of three forms, every target is made from any of them.

struct Number {
    enum Form { kInteger, kReal, kExact } form = kInteger;
    I128 integer = 0;
    int width = 0;         // bytes of a whole-number kind; 0: none, no bit pattern
    bool truth = false;    // a VT_BOOL: taken as its 16 bits, whatever the target's range
    bool pattern = false;  // digits of a "&H" text: bits, to be read as the target is wide
    double real = 0;
    int significant = 15;  // digits of `real` that mean something
    DecimalNumber exact;
};

Number FromInteger(I128 value, int width) {
    Number number;
    number.integer = value;
    number.width = width;
    return number;
}

Number FromReal(double value, int significant) {
    Number number;
    number.form = Number::kReal;
    number.real = value;
    number.significant = significant;
    return number;
}

Number FromExact(const DecimalNumber& value) {
    Number number;
    number.form = Number::kExact;
    number.exact = value;
    return number;
}

std::wstring_view TextOf(const VARIANT& value) {
    if (!value.bstrVal) return {};
    const std::wstring_view text(value.bstrVal, SysStringLen(value.bstrVal));
    return text.substr(0, text.find(L'\0'));
}

HRESULT NumberFromText(const VARIANT& source, Number* number) {
    DecimalNumber exact;
    bool bits = false;
    const HRESULT status = ParseNumber(TextOf(source), &exact, &bits);
    if (FAILED(status)) return status;
    *number = FromExact(exact);
    if (bits) {
        number->form = Number::kInteger;
        number->integer = static_cast<I128>(exact.digits);
        number->pattern = true;
    }
    return S_OK;
}

HRESULT Load(const VARIANT& source, Number* number) {
    switch (source.vt) {
        case VT_EMPTY:
            *number = FromInteger(0, 0);
            return S_OK;
        case VT_I1:
            *number = FromInteger(static_cast<signed char>(source.cVal), 1);
            return S_OK;
        case VT_UI1:
            *number = FromInteger(source.bVal, 1);
            return S_OK;
        case VT_I2:
            *number = FromInteger(source.iVal, 2);
            return S_OK;
        case VT_UI2:
            *number = FromInteger(source.uiVal, 2);
            return S_OK;
        case VT_INT:
        case VT_I4:
            *number = FromInteger(source.lVal, 4);
            return S_OK;
        case VT_UINT:
        case VT_UI4:
            *number = FromInteger(source.ulVal, 4);
            return S_OK;
        case VT_I8:
            *number = FromInteger(source.llVal, 8);
            return S_OK;
        case VT_UI8:
            *number = FromInteger(source.ullVal, 8);
            return S_OK;
        case VT_BOOL:
            *number = FromInteger(source.boolVal, 0);
            number->truth = true;
            return S_OK;
        case VT_R4:
            *number = FromReal(source.fltVal, 7);
            return S_OK;
        case VT_R8:
        case VT_DATE:
            *number = FromReal(source.dblVal, 15);
            return S_OK;
        case VT_CY:
            *number = FromExact(FromCurrency(source.cyVal));
            return S_OK;
        case VT_DECIMAL: {
            const std::optional<DecimalNumber> exact = FromDecimal(source.decVal);
            if (!exact) return E_INVALIDARG;
            *number = FromExact(*exact);
            return S_OK;
        }
        case VT_BSTR:
            return NumberFromText(source, number);
        default:
            return DISP_E_TYPEMISMATCH;
    }
}

/// The number as a whole one, rounded half to even.
HRESULT ToInteger(const Number& number, I128* result) {
    if (number.form == Number::kInteger) {
        *result = number.integer;
        return S_OK;
    }
    if (number.form == Number::kReal) {
        if (!(std::fabs(number.real) < 0x1p65)) return DISP_E_OVERFLOW;
        *result = static_cast<I128>(std::nearbyint(number.real));
        return S_OK;
    }
    const std::optional<U128> size = Rounded(number.exact, 0);
    if (!size) return DISP_E_OVERFLOW;
    *result = number.exact.negative ? -static_cast<I128>(*size) : static_cast<I128>(*size);
    return S_OK;
}

/// Stores a whole number in so many bytes. The bit pattern of a kind of the same width fits
/// whatever its sign.
HRESULT StoreInteger(const Number& number, int width, bool is_signed, VARIANT* result) {
    I128 value = 0;
    const HRESULT status = ToInteger(number, &value);
    if (FAILED(status)) return status;
    const I128 limit = I128{1} << (8 * width);
    const I128 least = is_signed ? -limit / 2 : 0;
    const I128 most = (is_signed ? limit / 2 : limit) - 1;
    const bool as_bits = number.truth || number.width == width || (number.pattern && value < limit);
    if (!as_bits && (value < least || value > most)) return DISP_E_OVERFLOW;
    result->llVal = static_cast<LONGLONG>(value);
    return S_OK;
}

double ToReal(const Number& number) {
    if (number.form == Number::kReal) return number.real;
    if (number.form == Number::kExact) return ToDouble(number.exact);
    if (number.pattern && number.integer <= UINT32_MAX) return static_cast<std::int32_t>(number.integer);
    if (number.pattern) return static_cast<double>(static_cast<std::int64_t>(number.integer));
    return static_cast<double>(number.integer);
}

/// The number as decimal digits. No value for an infinity or what is no number.
std::optional<DecimalNumber> ToExact(const Number& number) {
    if (number.form == Number::kExact) return number.exact;
    if (number.form == Number::kReal) {
        if (!std::isfinite(number.real)) return std::nullopt;
        return FromDouble(number.real, number.significant);
    }
    const bool negative = number.integer < 0;
    const I128 size = negative ? -number.integer : number.integer;
    return DecimalNumber{negative, false, static_cast<U128>(size), 0};
}

/// All bits of the number count here: 0.00025 stands just above its decimal form and rounds up.
HRESULT StoreCurrency(const Number& number, VARIANT* result) {
    constexpr double kUnits = 10000;
    if (number.form != Number::kReal) {
        const std::optional<DecimalNumber> exact = ToExact(number);
        return ToCurrency(*exact, &result->cyVal) ? S_OK : DISP_E_OVERFLOW;
    }
    const double units = number.real * kUnits;
    if (!(units >= -0x1p63 && units < 0x1p63)) return DISP_E_OVERFLOW;
    const double lost = std::fma(number.real, kUnits, -units);
    const double rounded = std::nearbyint(units);
    const double rest = units - rounded;
    LONGLONG value = static_cast<LONGLONG>(rounded);
    if (std::fabs(units) >= 0x1p53) {  // whole ones were lost
        value += static_cast<LONGLONG>(std::nearbyint(lost));
    } else if (rest == 0.5 && lost > 0) {
        ++value;
    } else if (rest == -0.5 && lost < 0) {
        --value;
    }
    result->cyVal.int64 = value;
    return S_OK;
}

HRESULT StoreText(std::string_view text, VARIANT* result) {
    result->bstrVal = SysAllocStringLen(nullptr, static_cast<UINT>(text.size()));
    if (!result->bstrVal) return E_OUTOFMEMORY;
    for (std::size_t i = 0; i < text.size(); ++i) {
        result->bstrVal[i] = text[i] == '.' ? NumberSeparators().decimal : static_cast<wchar_t>(text[i]);
    }
    return S_OK;
}

std::string RealText(double value, int significant) {
    if (std::isnan(value)) return "NAN";
    if (std::isinf(value)) return value < 0 ? "-INF" : "INF";
    if (value == 0) return "0";
    char buffer[64];
    const auto [end, error] =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, significant);
    std::string text(buffer, end);
    if (const std::size_t exponent = text.find('e'); exponent != std::string::npos) text[exponent] = 'E';
    return text;
}

HRESULT StoreNumberText(const Number& number, VARIANT* result) {
    if (number.form == Number::kReal) return StoreText(RealText(number.real, number.significant), result);
    return StoreText(ToText(*ToExact(number)), result);
}

/// A decimal number that no double can hold.
bool TooLarge(const Number& number) {
    return number.form == Number::kExact && std::isinf(ToDouble(number.exact));
}

HRESULT Store(const Number& number, VARTYPE kind, VARIANT* result) {
    switch (kind) {
        case VT_I1:
            return StoreInteger(number, 1, true, result);
        case VT_UI1:
            return StoreInteger(number, 1, false, result);
        case VT_I2:
            return StoreInteger(number, 2, true, result);
        case VT_UI2:
            return StoreInteger(number, 2, false, result);
        case VT_INT:
        case VT_I4:
            return StoreInteger(number, 4, true, result);
        case VT_UINT:
        case VT_UI4:
            return StoreInteger(number, 4, false, result);
        case VT_I8:
            return StoreInteger(number, 8, true, result);
        case VT_UI8:
            return StoreInteger(number, 8, false, result);
        case VT_BOOL:
            result->boolVal = ToReal(number) != 0 ? VARIANT_TRUE : VARIANT_FALSE;
            return TooLarge(number) ? DISP_E_OVERFLOW : S_OK;
        case VT_CY:
            return StoreCurrency(number, result);
        case VT_BSTR:
            return StoreNumberText(number, result);
        case VT_R4: {
            const double value = ToReal(number);
            if (std::fabs(value) > static_cast<double>(__FLT_MAX__)) return DISP_E_OVERFLOW;
            result->fltVal = static_cast<float>(value);
            return S_OK;
        }
        case VT_R8:
            result->dblVal = ToReal(number);
            return TooLarge(number) ? DISP_E_OVERFLOW : S_OK;
        case VT_DATE:
            result->date = ToReal(number);
            return IsDate(result->date) ? S_OK : DISP_E_OVERFLOW;
        case VT_DECIMAL: {
            if (number.form == Number::kReal && std::isnan(number.real)) return DISP_E_BADVARTYPE;
            std::optional<DecimalNumber> exact = ToExact(number);
            if (number.truth)
                exact = DecimalNumber{false, false, number.integer != 0, 0};  // a truth has no sign
            DECIMAL value;
            if (!exact || !ToDecimal(*exact, &value)) return DISP_E_OVERFLOW;
            result->decVal = value;
            return S_OK;
        }
        default:
            return DISP_E_TYPEMISMATCH;
    }
}

bool SameText(std::wstring_view text, std::wstring_view lower) {
    if (text.size() != lower.size()) return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const wchar_t c = text[i] >= L'A' && text[i] <= L'Z' ? text[i] + (L'a' - L'A') : text[i];
        if (c != lower[i]) return false;
    }
    return true;
}

/// The words for the two truths; false when it is neither.
bool TruthFromText(std::wstring_view text, VARIANT_BOOL* truth) {
    const bool yes = SameText(text, L"true") || text == L"#TRUE#";
    *truth = yes ? VARIANT_TRUE : VARIANT_FALSE;
    return yes || SameText(text, L"false") || text == L"#FALSE#";
}

HRESULT QueryObject(IUnknown* object, VARTYPE kind, VARIANT* result) {
    const IID& iid = kind == VT_DISPATCH ? IID_IDispatch : IID_IUnknown;
    result->punkVal = nullptr;
    if (!object) return S_OK;
    void* found = nullptr;
    const HRESULT status = object->QueryInterface(iid, &found);
    if (FAILED(status) || !found) return FAILED(status) ? status : E_NOINTERFACE;
    result->byref = found;  // an IDispatch or IUnknown by its own pointer
    return S_OK;
}

/// Fills the value of `result`, whose kind the caller sets.
HRESULT Convert(const VARIANT& source, USHORT flags, VARTYPE kind, VARIANT* result) {
    const bool object = source.vt == VT_DISPATCH || source.vt == VT_UNKNOWN;
    if (kind == VT_EMPTY || kind == VT_NULL) {
        const bool never = source.vt == VT_ERROR || (source.vt & kKindFlags) || source.vt == VT_RECORD ||
                           (source.vt == VT_NULL && kind == VT_EMPTY);
        return never ? DISP_E_TYPEMISMATCH : S_OK;
    }
    if (kind == VT_DISPATCH || kind == VT_UNKNOWN) {
        return object ? QueryObject(source.punkVal, kind, result) : DISP_E_TYPEMISMATCH;
    }
    if (kind == VT_BSTR && source.vt == VT_EMPTY) return StoreText("", result);
    if (kind == VT_BSTR && source.vt == VT_BOOL && (flags & VARIANT_ALPHABOOL)) {
        return StoreText(source.boolVal ? "True" : "False", result);
    }
    if (kind == VT_BSTR && source.vt == VT_DATE) {
        std::string text;
        return DateToText(source.date, &text) ? StoreText(text, result) : E_INVALIDARG;
    }
    if (kind == VT_DATE && source.vt == VT_BSTR) {
        return TextToDate(TextOf(source), &result->date) ? S_OK : DISP_E_TYPEMISMATCH;
    }
    if (kind == VT_BOOL && source.vt == VT_BSTR && TruthFromText(TextOf(source), &result->boolVal))
        return S_OK;
    if (kind == VT_DECIMAL && source.vt == VT_CY) {  // keeps its four decimals
        const DecimalNumber exact = FromCurrency(source.cyVal);
        result->decVal = {};
        result->decVal.scale = 4;
        result->decVal.sign = exact.negative ? DECIMAL_NEG : 0;
        result->decVal.Lo64 = static_cast<ULONGLONG>(exact.digits);
        return S_OK;
    }
    Number number;
    const HRESULT status = Load(source, &number);
    return FAILED(status) ? status : Store(number, kind, result);
}

}  // namespace

void VariantInit(VARIANTARG* value) {
    if (value) *value = {};
}

HRESULT VariantClear(VARIANTARG* value) {
    if (!value) return E_INVALIDARG;
    if (!IsKind(value->vt)) return DISP_E_BADVARTYPE;
    const bool foreign = (value->vt & VT_ARRAY) || value->vt == VT_RECORD;
    if (foreign && !(value->vt & VT_BYREF) && value->byref) return DISP_E_BADVARTYPE;
    const VARIANT old = *value;
    value->vt = VT_EMPTY;  // first: an object that goes may look at this very value
    if (old.vt == VT_BSTR) SysFreeString(old.bstrVal);
    if ((old.vt == VT_DISPATCH || old.vt == VT_UNKNOWN) && old.punkVal) old.punkVal->Release();
    return S_OK;
}

HRESULT VariantCopy(VARIANTARG* target, VARIANTARG* source) {
    if (!target || !source) return E_INVALIDARG;
    if (target == source) return S_OK;
    if (!IsKind(source->vt)) return DISP_E_BADVARTYPE;
    VARIANT copy = *source;
    const HRESULT status = Own(&copy);
    return FAILED(status) ? status : Replace(target, &copy);
}

HRESULT VariantCopyInd(VARIANT* target, VARIANTARG* source) {
    if (!target || !source) return E_INVALIDARG;
    if (!(source->vt & VT_BYREF)) return VariantCopy(target, source);
    VARIANT copy;
    HRESULT status = Resolve(*source, &copy);
    if (SUCCEEDED(status)) status = Own(&copy);
    return FAILED(status) ? status : Replace(target, &copy);
}

HRESULT VariantChangeType(VARIANTARG* target, VARIANTARG* source, USHORT flags, VARTYPE kind) {
    if (!target || !source) return E_INVALIDARG;
    if (!IsKind(kind) || !IsKind(target->vt)) return DISP_E_BADVARTYPE;
    VARIANT view;
    HRESULT status = Resolve(*source, &view);
    if (FAILED(status)) return status;
    if (view.vt == kind) {
        if (target == source && !(source->vt & VT_BYREF)) return S_OK;
        status = Own(&view);
        return FAILED(status) ? status : Replace(target, &view);
    }
    if (kind & kKindFlags) return DISP_E_TYPEMISMATCH;
    VARIANT result = {};
    if (kind == VT_I4 && view.vt == VT_BSTR && PlainNumber(view.bstrVal, &result.lVal)) {
        result.vt = kind;
        return Replace(target, &result);
    }
    try {
        status = Convert(view, flags, kind, &result);
    } catch (const std::bad_alloc&) {
        status = E_OUTOFMEMORY;
    }
    if (FAILED(status)) return status;
    result.vt = kind;
    return Replace(target, &result);
}
