#include "com/late_binding.h"

#include <memory>
#include <vector>

#include "com/object.h"
#include "com/variant.h"

namespace bv {
namespace {

constexpr size_t kMaxInterfaces = 32;  // dual ones of the server; the library describes 17

/// An operation whose arguments need a look before the system passes them on.
struct GuardedOperation {
    MEMBERID id;
    WORD kinds;
    UINT parameters;          // how many it has
    std::vector<UINT> bytes;  // the places of parameters that point to bytes; another argument says how many
    bool variants;            // takes a VARIANT by value
};

struct Described {
    IID iid = {};
    ComPtr<ITypeInfo> type;
    std::vector<GuardedOperation> guarded;
};

CRITICAL_SECTION type_lock;
Described* described[kMaxInterfaces];

/// Holds the lock that the loading of type information is under.
class TypeLock {
public:
    TypeLock() { EnterCriticalSection(&type_lock); }
    TypeLock(const TypeLock&) = delete;
    ~TypeLock() { LeaveCriticalSection(&type_lock); }
};

void FindGuarded(ITypeInfo* type, std::vector<GuardedOperation>& found) {
    FUNCDESC* function = nullptr;
    for (UINT i = 0; SUCCEEDED(type->GetFuncDesc(i, &function)); ++i) {
        GuardedOperation operation = {
            function->memid, WORD(function->invkind), UINT(function->cParams), {}, false};
        for (int place = 0; place < function->cParams; ++place) {
            const TYPEDESC& kind = function->lprgelemdescParam[place].tdesc;
            if (kind.vt == VT_VARIANT) operation.variants = true;
            if (kind.vt == VT_PTR && kind.lptdesc->vt == VT_UI1) operation.bytes.push_back(UINT(place));
        }
        if (!operation.bytes.empty() || operation.variants) found.push_back(std::move(operation));
        type->ReleaseFuncDesc(function);
    }
}

HRESULT Load(REFIID iid, LCID locale, Described& result) {
    ComPtr<ITypeLib> library;
    RETURN_IF_FAILED(LoadRegTypeLib(kTypeLibrary, 1, 0, locale, library.Put()));
    RETURN_IF_FAILED(library->GetTypeInfoOfGuid(iid, result.type.Put()));
    result.iid = iid;
    FindGuarded(result.type.get(), result.guarded);
    return S_OK;
}

/// What is known of an interface, loaded when it is asked for the first time and kept until the module stops.
/// The status of the library when that can't be; the next call tries again.
HRESULT Describe(REFIID iid, LCID locale, const Described*& result) try {
    TypeLock lock;
    for (Described*& place : described) {
        if (!place) {
            auto loaded = std::make_unique<Described>();
            RETURN_IF_FAILED(Load(iid, locale, *loaded));
            place = loaded.release();
        }
        result = place;
        if (place->iid == iid) return S_OK;
    }
    return E_UNEXPECTED;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

/// The arguments of a call as the system is to pass them.
class Arguments {
public:
    explicit Arguments(DISPPARAMS& given) : passed_(given) {}

    /// A node keeps the VARIANTs that it is given. What one of them refers to is the caller's and gone after
    /// the call: the operation gets a copy.
    HRESULT CopyReferences() {
        copies_.resize(passed_.cArgs);
        for (UINT i = 0; i < passed_.cArgs; ++i) {
            VARIANT& argument = passed_.rgvarg[i];
            const HRESULT status = V_VT(&argument) & VT_BYREF ? VariantCopyInd(copies_[i].Put(), &argument)
                                                              : VariantCopy(copies_[i].Put(), &argument);
            if (FAILED(status)) return status;
        }
        views_.reserve(passed_.cArgs);
        for (const Variant& copy : copies_) views_.push_back(copy);
        passed_.rgvarg = views_.data();
        return S_OK;
    }

    /// A value would be converted to one byte, whatever length goes with it:
    /// only the caller's own bytes are passed on.
    HRESULT CheckBytes(const std::vector<UINT>& places, UINT* bad) const {
        if (passed_.cNamedArgs > 0) return DISP_E_NONAMEDARGS;
        for (const UINT place : places) {
            if (place >= passed_.cArgs) continue;  // the system sees what is missing
            const UINT index = passed_.cArgs - 1 - place;
            const VARIANT& argument = passed_.rgvarg[index];
            if (V_VT(&argument) == (VT_BYREF | VT_UI1) && argument.pbVal) continue;
            if (bad) *bad = index;
            return DISP_E_TYPEMISMATCH;
        }
        return S_OK;
    }

    DISPPARAMS* get() { return &passed_; }

private:
    DISPPARAMS passed_;
    std::vector<Variant> copies_;
    std::vector<VARIANT> views_;
};

}  // namespace

HRESULT GetTypeInfoOf(REFIID iid, UINT index, LCID locale, ITypeInfo** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (index != 0) return DISP_E_BADINDEX;
    const Described* found = nullptr;
    RETURN_IF_FAILED(Describe(iid, locale, found));
    return found->type.CopyTo(out);
}

HRESULT GetIdsOfNamesOf(REFIID iid, LPOLESTR* names, UINT count, LCID locale, DISPID* ids) {
    if (!names || !ids || count == 0) return E_INVALIDARG;
    const Described* found = nullptr;
    RETURN_IF_FAILED(Describe(iid, locale, found));
    return found->type->GetIDsOfNames(names, count, ids);
}

HRESULT InvokeOn(IDispatch* object, REFIID iid, DISPID id, LCID locale, WORD flags, DISPPARAMS* parameters,
                 VARIANT* result, EXCEPINFO* exception, UINT* bad_argument) try {
    const Described* found = nullptr;
    RETURN_IF_FAILED(Describe(iid, locale, found));
    if (!parameters || (parameters->cArgs > 0 && !parameters->rgvarg)) return E_INVALIDARG;
    Arguments arguments(*parameters);
    for (const GuardedOperation& operation : found->guarded) {
        if (operation.id != id || !(operation.kinds & flags)) continue;
        // Some systems pass over what is too much; here it would be taken for what it isn't.
        if (parameters->cArgs > operation.parameters) return DISP_E_BADPARAMCOUNT;
        if (operation.variants) RETURN_IF_FAILED(arguments.CopyReferences());
        if (!operation.bytes.empty()) RETURN_IF_FAILED(arguments.CheckBytes(operation.bytes, bad_argument));
        break;
    }

    // The error object that the thread has now says nothing of this call;
    // it comes back unless the call leaves another.
    ComPtr<IErrorInfo> before;
    std::ignore = GetErrorInfo(0, before.Put());
    const HRESULT status =
        found->type->Invoke(object, id, flags, arguments.get(), result, exception, bad_argument);
    if (before && status != DISP_E_EXCEPTION) {
        ComPtr<IErrorInfo> after;
        if (GetErrorInfo(0, after.Put()) == S_OK) before = after;
        std::ignore = SetErrorInfo(0, before.get());
    }
    return status;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

void StartTypeInfo() { InitializeCriticalSection(&type_lock); }

void StopTypeInfo() {
    for (Described*& place : described) delete std::exchange(place, nullptr);
    DeleteCriticalSection(&type_lock);
}

}  // namespace bv
