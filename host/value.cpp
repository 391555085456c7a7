#include <bvschema/host/value.h>

namespace bv::inline host {

std::wstring Value::AsText() const {
    Value text;
    if (object() || FAILED(ChangeTo(VT_BSTR, &text)) || !text.variant_.bstrVal) return {};
    return std::wstring(text.variant_.bstrVal, SysStringLen(text.variant_.bstrVal));
}

std::optional<std::int64_t> Value::number() const {
    Value number;
    if (empty() || object() || FAILED(ChangeTo(VT_I8, &number))) return {};
    return number.variant_.llVal;
}

Scalar Value::scalar() const {
    if (IUnknown* const held = object()) return Ref<IUnknown>(held);
    Value plain;
    switch (kind()) {
        case VT_EMPTY:
        case VT_NULL:
        case VT_DISPATCH:
        case VT_UNKNOWN:
            return {};
        case VT_BOOL:
            return variant_.boolVal != VARIANT_FALSE;
        case VT_BSTR:
            return text();
        default:
            if (IsWhole(kind()) && SUCCEEDED(ChangeTo(VT_I8, &plain)))
                return std::int64_t(plain.variant_.llVal);
            if (SUCCEEDED(ChangeTo(VT_R8, &plain))) return plain.variant_.dblVal;
            return text();
    }
}

bool Value::operator==(const Value& other) const {
    if (kind() != other.kind()) return false;
    switch (kind()) {
        case VT_EMPTY:
        case VT_NULL:
            return true;
        case VT_DISPATCH:
        case VT_UNKNOWN:
            return variant_.punkVal == other.variant_.punkVal;
        case VT_I4:
            return variant_.lVal == other.variant_.lVal;
        case VT_BSTR: {
            const auto view = [](BSTR text) {
                return std::wstring_view(text ? text : L"", SysStringLen(text));
            };
            return view(variant_.bstrVal) == view(other.variant_.bstrVal);
        }
        default:
            return scalar() == other.scalar();
    }
}

std::string KindName(VARTYPE kind) {
    switch (kind) {
        case VT_EMPTY:
            return "nothing";
        case VT_I2:
            return "16-bit number";
        case VT_I4:
            return "32-bit number";
        case VT_R4:
        case VT_R8:
            return "decimal number";
        case VT_BSTR:
            return "text";
        case VT_BOOL:
            return "yes or no";
        case VT_UI1:
            return "byte";
        case VT_DISPATCH:
        case VT_UNKNOWN:
            return "object";
        default:
            return "kind " + std::to_string(kind);
    }
}

}  // namespace bv::inline host
