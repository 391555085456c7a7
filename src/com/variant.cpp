#include "com/variant.h"

#include <cstring>

namespace bv {

bool SameValue(const VARIANT& a, const VARIANT& b) {
    if (&a == &b) return true;
    if (a.vt != b.vt) return false;
    switch (a.vt) {
        case VT_EMPTY:
        case VT_NULL:
            return true;
        case VT_I2:
        case VT_BOOL:
            return a.iVal == b.iVal;
        case VT_I4:
        case VT_ERROR:
            return a.lVal == b.lVal;
        case VT_DISPATCH:
        case VT_UNKNOWN:
            return a.punkVal == b.punkVal;
        case VT_R4:
            return a.fltVal == b.fltVal;
        case VT_R8:
            return a.dblVal == b.dblVal;
        case VT_UI1:
            return a.bVal == b.bVal;
        case VT_BSTR: {
            const UINT bytes = SysStringByteLen(a.bstrVal);
            return bytes == SysStringByteLen(b.bstrVal) &&
                   (bytes == 0 || std::memcmp(a.bstrVal, b.bstrVal, bytes) == 0);
        }
        default:
            return false;
    }
}

bool SameValue(const VARIANT& a, const Literal& b) {
    if (a.vt != b.kind) return false;
    switch (a.vt) {
        case VT_I2:
            return a.iVal == b.number;
        case VT_I4:
            return a.lVal == b.number;
        case VT_BSTR:
            return View(a.bstrVal) == b.text;
        default:
            return a.vt == VT_EMPTY;
    }
}

}  // namespace bv
