// The late-bound side of the dual interfaces.
#include "com/object.h"

namespace bv {

HRESULT GetTypeInfoOf(REFIID, UINT, LCID, ITypeInfo**) { return TYPE_E_LIBNOTREGISTERED; }

HRESULT GetIdsOfNamesOf(REFIID, LPOLESTR*, UINT, LCID, DISPID*) { return TYPE_E_LIBNOTREGISTERED; }

HRESULT InvokeOn(IDispatch*, REFIID, DISPID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) {
    return TYPE_E_LIBNOTREGISTERED;
}

}  // namespace bv
