#include <bvschema/host/result.h>

#include <cstdio>

namespace bv::inline host {
namespace {

const char* Meaning(HRESULT status) {
    switch (status) {
        case E_OUTOFMEMORY:
            return "out of memory";
        case E_NOTIMPL:
            return "not available";
        case E_NOINTERFACE:
            return "the object has no such interface";
        case E_INVALIDARG:
            return "not there";
        case E_FAIL:
            return "it failed";
        case REGDB_E_READREGDB:
            return "the registry can't be read";
        case REGDB_E_CLASSNOTREG:
            return "the class isn't registered";
        case CLASS_E_CLASSNOTAVAILABLE:
            return "the module doesn't have this class";
        case DISP_E_TYPEMISMATCH:
            return "a value of another kind is needed";
        case DISP_E_OVERFLOW:
            return "the number is too large";
        case DISP_E_BADPARAMCOUNT:
        case DISP_E_PARAMNOTFOUND:
        case DISP_E_PARAMNOTOPTIONAL:
            return "another number of arguments is needed";
        case DISP_E_BADVARTYPE:
            return "it takes or gives what no script has a value for";
        case DISP_E_MEMBERNOTFOUND:
            return "it can't be used in this way";
        case TYPE_E_LIBNOTREGISTERED:
            return "the type library isn't registered; \"bvhost register\" registers it";
        default:
            break;
    }
    if (status == HRESULT_FROM_WIN32(ERROR_REGISTRY_CORRUPT)) return "it is damaged";
    if (status == HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)) return "the file isn't there";
    if (status == HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND)) return "the module can't be loaded";
    if (status == HRESULT_FROM_WIN32(ERROR_PROC_NOT_FOUND)) return "this is no component module";
    if (status == HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED)) return "access is denied";
    if (status == HRESULT_FROM_WIN32(ERROR_INVALID_NAME))
        return "the system's code page can't spell its path";
    if (status == HRESULT_FROM_WIN32(ERROR_BAD_EXE_FORMAT)) return "this is no module for this program";
    return nullptr;
}

}  // namespace

void ForgetErrors() { SetErrorInfo(0, nullptr); }

std::string Reason(HRESULT status) {
    Ref<IErrorInfo> error;
    TextResult description;
    if (GetErrorInfo(0, error.Put()) == S_OK && SUCCEEDED(error->GetDescription(description.Put()))) {
        const std::string text = OneLine(description.Utf8());
        if (!text.empty()) return text;
    }
    if (const char* meaning = Meaning(status)) return meaning;
    char code[32];
    std::snprintf(code, sizeof code, "error 0x%08X", unsigned(status));
    return code;
}

void ThrowCantCreate(const char* what, HRESULT status) {
    std::string text = std::string("can't create ") + what + ": " + Reason(status);
    if (status == REGDB_E_CLASSNOTREG) text += "; \"bvhost register\" registers it";
    throw Error(status, text);
}

}  // namespace bv::inline host
