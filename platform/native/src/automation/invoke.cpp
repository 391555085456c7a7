// Calling operations whose form is known only while the program runs.
#include <ffi.h>

#include <array>
#include <new>

#include "automation/typelib_data.h"
#include "oleauto.h"

namespace bv::platform {
namespace {

using namespace typelib;

// --- The machine's side: values by kind, on the stack or in registers

/// A VARIANT by value is three words in memory, which the caller puts on the stack.
ffi_type* VariantType() {
    static ffi_type* words[] = {&ffi_type_uint64, &ffi_type_uint64, &ffi_type_uint64, nullptr};
    static ffi_type type = [] {
        ffi_type made = {};
        made.type = FFI_TYPE_STRUCT;
        made.elements = words;
        return made;
    }();
    static_assert(sizeof(VARIANT) == 3 * sizeof(std::uint64_t));
    return &type;
}

/// Null for a kind that no argument has.
ffi_type* MachineType(VARTYPE kind) {
    if (kind & VT_BYREF) return &ffi_type_pointer;
    switch (kind) {
        case VT_I1:
            return &ffi_type_sint8;
        case VT_UI1:
            return &ffi_type_uint8;
        case VT_I2:
        case VT_BOOL:
            return &ffi_type_sint16;
        case VT_UI2:
            return &ffi_type_uint16;
        case VT_I4:
        case VT_INT:
        case VT_ERROR:
        case VT_HRESULT:
            return &ffi_type_sint32;
        case VT_UI4:
        case VT_UINT:
            return &ffi_type_uint32;
        case VT_I8:
        case VT_CY:
            return &ffi_type_sint64;
        case VT_UI8:
            return &ffi_type_uint64;
        case VT_R4:
            return &ffi_type_float;
        case VT_R8:
        case VT_DATE:
            return &ffi_type_double;
        case VT_BSTR:
        case VT_DISPATCH:
        case VT_UNKNOWN:
        case VT_PTR:
            return &ffi_type_pointer;
        case VT_VARIANT:
            return VariantType();
        default:
            return nullptr;
    }
}

struct Argument {
    ffi_type* type;
    void* value;  // where it lies
};

/// Calls the operation at that offset. result: room for 8 bytes, which integers fill.
HRESULT CallSlot(void* object, ULONG_PTR offset, ffi_type* result_type,
                 const std::vector<Argument>& arguments, void* result) {
    std::vector<ffi_type*> types = {&ffi_type_pointer};
    std::vector<void*> values = {&object};
    for (const Argument& argument : arguments) {
        types.push_back(argument.type);
        values.push_back(argument.value);
    }
    ffi_cif call;
    if (ffi_prep_cif(&call, FFI_DEFAULT_ABI, static_cast<unsigned>(types.size()), result_type,
                     types.data()) != FFI_OK)
        return DISP_E_BADVARTYPE;
    const auto* const table = *static_cast<const unsigned char* const*>(object);
    void (*operation)() = nullptr;
    std::memcpy(&operation, table + offset, sizeof operation);
    ffi_call(&call, operation, result, values.data());
    return S_OK;
}

// --- Automation's side

/// What a parameter is for a caller that has VARIANTs alone.
struct Form {
    VARTYPE vt = VT_EMPTY;
    bool by_reference = false;
    // An object is asked for it; the standard ones have a kind of their own.
    const TypeData* interface = nullptr;
};

VARTYPE PlainKind(VARTYPE kind) {
    if (kind == VT_INT) return VT_I4;
    if (kind == VT_UINT) return VT_UI4;
    if (kind == VT_HRESULT) return VT_ERROR;
    return kind;
}

bool IsDispatch(const TypeLibraryData& library, const TypeData& interface) {
    const TypeLibraryData* owner = &library;
    for (const TypeData* type = &interface;;) {
        if (owner->IsStandard(*type, kIDispatch)) return true;
        if (type->base == kNoType) return false;
        const std::uint16_t base = type->base;
        type = &owner->Type(base);
        owner = &owner->LibraryOf(base);
    }
}

/// False for records and for pointers that no VARIANT stands for.
bool FormOf(const TypeLibraryData& library, const TypeShape& shape, Form* form) {
    if (shape.vt == VT_VOID || shape.vt == VT_CARRAY || shape.vt == VT_USERDEFINED) return false;
    if (shape.vt != VT_PTR) {
        form->vt = PlainKind(shape.vt);
        return true;
    }
    const TypeShape& target = shape.inner.front();
    if (target.vt == VT_USERDEFINED) {  // an object
        const TypeData& type = library.Type(target.type);
        if (type.kind != TKIND_INTERFACE) return false;
        form->interface = &type;
        form->vt = IsDispatch(library.LibraryOf(target.type), type) ? VT_DISPATCH : VT_UNKNOWN;
        return true;
    }
    if (!FormOf(library, target, form) || form->by_reference) return false;
    form->by_reference = true;
    // A pointer to bytes is as long as another argument says; a pointer to one is all that is known here.
    return target.vt != VT_PTR || form->interface;
}

bool IsMissing(const VARIANT& value) { return value.vt == VT_ERROR && value.scode == DISP_E_PARAMNOTFOUND; }

/// One argument on its way: where its value lies, and what happens to it after the call.
struct Passed {
    Form form;
    VARIANT own = {};              // its value, when it isn't the caller's
    void* value = nullptr;         // what the operation gets lies here
    void* reference = nullptr;     // that value, when it is a pointer
    VARIANT* give_back = nullptr;  // a VARIANT of the caller's that takes the result
    bool owned = false;

    Passed() = default;
    Passed(const Passed&) = delete;
    ~Passed() {
        if (owned) VariantClear(&own);
    }
};

HRESULT StatusOfConversion(HRESULT status) {
    const bool told = status == DISP_E_OVERFLOW || status == DISP_E_BADVARTYPE || status == E_OUTOFMEMORY;
    return SUCCEEDED(status) || told ? status : DISP_E_TYPEMISMATCH;
}

/// An object as the interface that a parameter wants. Null is an object of every interface.
HRESULT AskFor(const Form& form, VARIANTARG* argument, VARIANT* result) {
    VARIANT source;
    VariantInit(&source);
    const HRESULT status = VariantCopyInd(&source, argument);
    if (FAILED(status)) return StatusOfConversion(status);
    HRESULT asked = S_OK;
    if (source.vt != VT_DISPATCH && source.vt != VT_UNKNOWN) {
        asked = DISP_E_TYPEMISMATCH;
    } else {
        result->vt = form.vt;
        result->punkVal = nullptr;
        // Nodes don't answer IDispatch, though what a VARIANT holds of them is one.
        const bool as_it_is = !form.interface && (form.vt == VT_UNKNOWN || source.vt == VT_DISPATCH);
        if (as_it_is) {
            std::swap(result->punkVal, source.punkVal);
        } else if (source.punkVal) {
            void* found = nullptr;
            if (FAILED(source.punkVal->QueryInterface(form.interface ? form.interface->id : IID_IDispatch,
                                                      &found)) ||
                !found)
                asked = DISP_E_TYPEMISMATCH;
            else
                result->punkVal = static_cast<IUnknown*>(found);
        }
    }
    VariantClear(&source);
    return asked;
}

HRESULT Convert(const Form& form, VARIANTARG* argument, VARIANT* result) {
    if (form.vt == VT_DISPATCH || form.vt == VT_UNKNOWN) return AskFor(form, argument, result);
    if (form.vt == VT_VARIANT) return StatusOfConversion(VariantCopyInd(result, argument));
    return StatusOfConversion(VariantChangeType(result, argument, 0, form.vt));
}

/// The value in a VARIANT, as it is passed.
void* ValueOf(VARIANT& holder, VARTYPE vt) {
    return vt == VT_VARIANT ? static_cast<void*>(&holder) : &holder.llVal;
}

HRESULT PassByReference(const TypeParameter& parameter, VARIANTARG* argument, Passed& passed) {
    const VARTYPE vt = passed.form.vt;
    passed.value = &passed.reference;
    if (argument && (argument->vt & VT_BYREF)) {
        if (!argument->byref) return DISP_E_TYPEMISMATCH;
        if (PlainKind(argument->vt & static_cast<VARTYPE>(~VT_BYREF)) == vt &&
            !(passed.form.interface && parameter.Is(PARAMFLAG_FIN))) {
            passed.reference = argument->byref;  // the caller's own place
            return S_OK;
        }
        if (argument->vt != (VT_BYREF | VT_VARIANT)) return DISP_E_TYPEMISMATCH;
        if (argument->pvarVal->vt & VT_BYREF) return DISP_E_TYPEMISMATCH;
        if (parameter.Is(PARAMFLAG_FOUT)) passed.give_back = argument->pvarVal;
    }
    passed.owned = true;
    VariantInit(&passed.own);
    if (argument && !IsMissing(*argument) && (parameter.Is(PARAMFLAG_FIN) || !parameter.Is(PARAMFLAG_FOUT))) {
        const HRESULT status = Convert(passed.form, argument, &passed.own);
        if (FAILED(status)) return status;
    } else if (vt != VT_VARIANT) {
        passed.own.vt = vt;
    }
    passed.reference = ValueOf(passed.own, vt);
    return S_OK;
}

/// argument: null for the operation's own result.
HRESULT Pass(const TypeParameter& parameter, VARIANTARG* argument, Passed& passed) {
    if (passed.form.by_reference) return PassByReference(parameter, argument, passed);
    if (passed.form.vt == VT_VARIANT) {  // whole, with what it refers to
        passed.value = argument;
        return S_OK;
    }
    if (IsMissing(*argument)) return DISP_E_PARAMNOTOPTIONAL;
    passed.owned = true;
    VariantInit(&passed.own);
    const HRESULT status = Convert(passed.form, argument, &passed.own);
    passed.value = ValueOf(passed.own, passed.form.vt);
    return status;
}

/// Moves what an operation gave out of its place.
void Give(Passed& passed, VARIANT* target) {
    const VARTYPE vt = passed.form.vt;
    if (vt == VT_VARIANT && (passed.own.vt & VT_BYREF)) {
        VARIANT copy;
        VariantInit(&copy);
        if (SUCCEEDED(VariantCopyInd(&copy, &passed.own))) *target = copy;
    } else {
        *target = passed.own;
    }
    VariantInit(&passed.own);
}

/// Which argument belongs to which parameter: its place in rgvarg, or -1.
HRESULT Assign(const TypeOperation& operation, const DISPPARAMS& arguments, std::vector<int>* places,
               UINT* bad) {
    const std::size_t count = operation.parameters.size() - (operation.HasResult() ? 1 : 0);
    places->assign(operation.parameters.size(), -1);
    if (operation.IsPut() &&
        (arguments.cNamedArgs == 0 || arguments.rgdispidNamedArgs[0] != DISPID_PROPERTYPUT))
        return DISP_E_PARAMNOTFOUND;
    for (UINT i = 0; i < arguments.cNamedArgs; ++i) {
        const DISPID id = arguments.rgdispidNamedArgs[i];
        const bool is_value = id == DISPID_PROPERTYPUT && operation.IsPut();
        const std::size_t parameter = is_value ? count - 1 : static_cast<std::size_t>(id);
        if ((id < 0 && !is_value) || parameter >= count || (*places)[parameter] >= 0) {
            *bad = i;
            return DISP_E_PARAMNOTFOUND;
        }
        (*places)[parameter] = static_cast<int>(i);
    }
    std::size_t parameter = 0;
    for (UINT i = arguments.cArgs; i-- > arguments.cNamedArgs;) {
        while (parameter < count && (*places)[parameter] >= 0) ++parameter;
        if (parameter >= count) return DISP_E_BADPARAMCOUNT;
        (*places)[parameter] = static_cast<int>(i);
    }
    for (std::size_t i = 0; i < count; ++i)
        if ((*places)[i] < 0 && !operation.parameters[i].Is(PARAMFLAG_FOPT)) return DISP_E_BADPARAMCOUNT;
    return S_OK;
}

/// The operation failed: its status, and what the thread's error object tells, which is taken.
HRESULT Explain(HRESULT status, EXCEPINFO* exception) {
    if (!exception) return DISP_E_EXCEPTION;
    *exception = {};
    exception->scode = status;
    IErrorInfo* info = nullptr;
    if (GetErrorInfo(0, &info) == S_OK) {
        info->GetSource(&exception->bstrSource);
        info->GetDescription(&exception->bstrDescription);
        info->GetHelpFile(&exception->bstrHelpFile);
        info->GetHelpContext(&exception->dwHelpContext);
        info->Release();
    }
    return DISP_E_EXCEPTION;
}

HRESULT InvokeWith(const InvokeTarget& target, void* object, const DISPPARAMS& arguments, VARIANT* result,
                   EXCEPINFO* exception, UINT* bad) {
    const TypeOperation& operation = target.operation;
    const std::size_t count = operation.parameters.size();
    if (operation.result.vt != VT_HRESULT) return DISP_E_BADVARTYPE;

    std::vector<Passed> passed(count);
    for (std::size_t i = 0; i < count; ++i)
        if (!FormOf(target.library, operation.parameters[i].shape, &passed[i].form)) return DISP_E_BADVARTYPE;
    std::vector<int> places;
    HRESULT status = Assign(operation, arguments, &places, bad);
    if (FAILED(status)) return status;

    VARIANT missing;
    VariantInit(&missing);
    missing.vt = VT_ERROR;
    missing.scode = DISP_E_PARAMNOTFOUND;
    std::vector<Argument> values;
    for (std::size_t i = 0; i < count; ++i) {
        const TypeParameter& parameter = operation.parameters[i];
        VARIANTARG* argument = places[i] >= 0 ? &arguments.rgvarg[places[i]] : &missing;
        if (parameter.Is(PARAMFLAG_FRETVAL)) argument = nullptr;
        status = Pass(parameter, argument, passed[i]);
        if (FAILED(status)) {
            *bad = static_cast<UINT>(places[i]);
            return status;
        }
        const VARTYPE vt = passed[i].form.vt;
        ffi_type* const type = passed[i].form.by_reference ? &ffi_type_pointer : MachineType(vt);
        if (!type) return DISP_E_BADVARTYPE;
        values.push_back({type, passed[i].value});
    }

    ffi_arg returned = 0;
    status = CallSlot(object, operation.slot * sizeof(void*), &ffi_type_sint32, values, &returned);
    if (FAILED(status)) return status;
    status = static_cast<HRESULT>(returned);
    if (FAILED(status)) return Explain(status, exception);

    for (Passed& argument : passed) {
        if (!argument.give_back) continue;
        VARIANT before = *argument.give_back;
        Give(argument, argument.give_back);
        VariantClear(&before);
    }
    if (operation.HasResult() && result) Give(passed.back(), result);
    return S_OK;
}

}  // namespace

HRESULT InvokeOperation(const InvokeTarget& target, void* object, const DISPPARAMS& arguments,
                        VARIANT* result, EXCEPINFO* exception, UINT* bad_argument) try {
    if (result) VariantInit(result);
    UINT bad = static_cast<UINT>(-1);
    const HRESULT status = InvokeWith(target, object, arguments, result, exception, &bad);
    if (bad_argument && bad != static_cast<UINT>(-1)) *bad_argument = bad;
    return status;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

}  // namespace bv::platform

using namespace bv::platform;

extern "C" HRESULT DispCallFunc(void* object, ULONG_PTR offset, CALLCONV convention, VARTYPE result_kind,
                                UINT count, VARTYPE* kinds, VARIANTARG** arguments, VARIANT* result) try {
    if (convention != CC_STDCALL && convention != CC_CDECL) return DISP_E_BADCALLEE;
    if (!object || (count > 0 && (!kinds || !arguments))) return E_INVALIDARG;
    std::vector<Argument> values;
    for (UINT i = 0; i < count; ++i) {
        ffi_type* const type = MachineType(kinds[i]);
        if (!type) return DISP_E_BADVARTYPE;
        values.push_back(
            {type, kinds[i] == VT_VARIANT ? static_cast<void*>(arguments[i]) : &arguments[i]->llVal});
    }
    const bool nothing = result_kind == VT_EMPTY || result_kind == VT_VOID;
    ffi_type* const type = nothing ? &ffi_type_void : MachineType(result_kind);
    if (!type || result_kind == VT_VARIANT) return DISP_E_BADVARTYPE;
    VARIANT given;
    VariantInit(&given);
    const HRESULT status = CallSlot(object, offset, type, values, &given.llVal);
    if (SUCCEEDED(status) && result) {
        given.vt = nothing ? VARTYPE{VT_EMPTY} : result_kind == VT_HRESULT ? VARTYPE{VT_ERROR} : result_kind;
        *result = given;
    }
    return status;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}
