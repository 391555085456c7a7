#include "com/refusal.h"

#include <bvschema/bvschema.h>

#include "com/com_ptr.h"
#include "com/narrow.h"

namespace bv {

HRESULT RaiseError(REFCLSID source, const char* text, REFIID iid, HRESULT status) {
    Bstr wide;
    if (text) wide = ToBstr(text);
    ComPtr<ICreateErrorInfo> error;
    if (SUCCEEDED(CreateErrorInfo(error.Put()))) {
        std::ignore = error->SetGUID(iid);
        LPOLESTR prog_id = nullptr;
        if (SUCCEEDED(ProgIDFromCLSID(source, &prog_id))) {
            std::ignore = error->SetSource(prog_id);
            CoTaskMemFree(prog_id);
        }
        std::ignore = error->SetDescription(wide.get());
        if (auto info = error.As<IErrorInfo>()) std::ignore = SetErrorInfo(0, info.get());
    }
    return status ? status : DISP_E_EXCEPTION;
}

HRESULT RaiseMessage(REFCLSID source, int id) {
    char text[kTextLimit];
    LoadMessage(ModuleInstance(), id, text);
    std::ignore = RaiseError(source, text, GUID_NULL, 0);
    return E_FAIL;
}

}  // namespace bv
