#include "tree/node_values.h"

namespace bv {

HRESULT ReadValue(IProperty* node, VARTYPE kind, Variant& value) {
    value.Clear();
    if (!node) return S_FALSE;
    Variant stored;
    const HRESULT status = node->get_Value(stored.Put());
    return status == S_OK ? value.ChangeFrom(stored, kind) : status;
}

std::optional<LONG> NumberOf(IProperty* node, VARTYPE kind) {
    Variant number;
    if (ReadValue(node, kind, number) != S_OK) return std::nullopt;
    return kind == VT_I2 ? number.iVal : number.lVal;
}

std::optional<Bstr> TextOf(IProperty* node) {
    Variant text;
    if (ReadValue(node, VT_BSTR, text) != S_OK) return std::nullopt;
    return text.DetachText();
}

}  // namespace bv
