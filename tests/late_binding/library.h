// What the tests of the type library share.
#pragma once

#include <bvschema/bvschema.h>

#include <string>
#include <vector>

#include "support/node.h"

namespace bv::test {

inline Ref<ITypeLib> RegisteredLibrary() {
    Ref<ITypeLib> library;
    EXPECT_EQ(LoadRegTypeLib(kTypeLibrary, 1, 0, 0, library.Put()), S_OK);
    return library;
}

/// The dispatch side of a dual interface.
template <class I>
Ref<ITypeInfo> TypeOf(const Ref<ITypeLib>& library) {
    Ref<ITypeInfo> type;
    if (library) {
        EXPECT_EQ(library->GetTypeInfoOfGuid(kIid<I>, type.Put()), S_OK);
    }
    return type;
}

/// What a late-bound call gave.
struct Outcome {
    HRESULT status = E_UNEXPECTED;
    Value result;
    HRESULT scode = S_OK;  // of the exception
    std::wstring source, text;
    UINT bad = kUnset;

    static constexpr UINT kUnset = 99;
};

/// A call as a script makes it; arguments in the order in which they are written.
struct LateCall {
    DISPID id = 0;
    WORD flags = DISPATCH_METHOD;
    std::vector<Value> arguments;  // not named
    std::vector<std::pair<DISPID, Value>> named;
    bool wants_result = true;
    bool wants_exception = true;

    /// Invokes through something that has an Invoke of this form.
    template <class Invoke>
    Outcome Make(Invoke invoke) {
        std::vector<VARIANT> values;
        std::vector<DISPID> ids;
        for (const auto& [name, value] : named) {
            ids.push_back(name);
            values.push_back(value.get());
        }
        for (auto argument = arguments.rbegin(); argument != arguments.rend(); ++argument)
            values.push_back(argument->get());
        DISPPARAMS parameters = {values.data(), ids.data(), UINT(values.size()), UINT(ids.size())};
        EXCEPINFO exception = {};
        Outcome outcome;
        outcome.status = invoke(id, flags, &parameters, wants_result ? outcome.result.Put() : nullptr,
                                wants_exception ? &exception : nullptr, &outcome.bad);
        outcome.scode = exception.scode;
        outcome.source = Take(exception.bstrSource);
        outcome.text = Take(exception.bstrDescription);
        SysFreeString(exception.bstrHelpFile);
        return outcome;
    }
    Outcome On(ITypeInfo* type, void* object) {
        return Make([&](DISPID member, WORD kind, DISPPARAMS* parameters, VARIANT* result,
                        EXCEPINFO* exception, UINT* bad) {
            return type->Invoke(object, member, kind, parameters, result, exception, bad);
        });
    }
    Outcome On(IDispatch* object) {
        return Make([&](DISPID member, WORD kind, DISPPARAMS* parameters, VARIANT* result,
                        EXCEPINFO* exception, UINT* bad) {
            return object->Invoke(member, IID_NULL, 0, kind, parameters, result, exception, bad);
        });
    }
};
inline LateCall Method(DISPID id, std::vector<Value> arguments = {}) {
    return {id, DISPATCH_METHOD, std::move(arguments), {}};
}
inline LateCall Get(DISPID id, std::vector<Value> arguments = {}) {
    return {id, DISPATCH_PROPERTYGET, std::move(arguments), {}};
}
inline LateCall Put(DISPID id, Value value, std::vector<Value> arguments = {}) {
    return {id, DISPATCH_PROPERTYPUT, std::move(arguments), {{DISPID_PROPERTYPUT, std::move(value)}}};
}

/// A value of any kind, such as a reference to the test's own variable. It owns nothing.
inline Value Raw(VARTYPE kind, void* pointer) {
    Value value;
    V_VT(&value.get()) = kind;
    value.get().byref = pointer;
    return value;
}
inline Value Missing() {
    Value value;
    V_VT(&value.get()) = VT_ERROR;
    value.get().scode = DISP_E_PARAMNOTFOUND;
    return value;
}
inline Value Null() {
    Value value;
    V_VT(&value.get()) = VT_NULL;
    return value;
}

}  // namespace bv::test
