// Each operation of each dual interface, called by its place in the table and by its description: both roads
// end in the operation that the C++ headers have.
#include <optional>
#include <typeinfo>

#include "late_binding/library.h"
#include "late_binding/recorder.h"
#include "support/doubles.h"

namespace bv::test {
namespace {

/// Answers every interface: what an argument needs here is to be an object.
class AnyObject final : public Fake<IDispatch> {
    bool TakeMore(REFIID, void** out) override {
        *out = unknown();
        return true;
    }
};

class RoadsTest : public testing::Test {
protected:
    static bool IsInterface(const Ref<ITypeInfo>& type, HREFTYPE reference) {
        Ref<ITypeInfo> target;
        TYPEATTR* attributes = nullptr;
        EXPECT_EQ(type->GetRefTypeInfo(reference, target.Put()), S_OK);
        EXPECT_EQ(target->GetTypeAttr(&attributes), S_OK);
        const bool is_interface = attributes->typekind == TKIND_DISPATCH;
        target->ReleaseTypeAttr(attributes);
        return is_interface;
    }
    /// Some value of a parameter's type. No value: a VARIANT can't hold one.
    std::optional<Value> Sample(const Ref<ITypeInfo>& type, const TYPEDESC& kind) {
        switch (kind.vt) {
            case VT_BSTR:
                return Str(L"text");
            case VT_DISPATCH:
            case VT_UNKNOWN:
                return Obj(&object);
            case VT_USERDEFINED:
                return std::nullopt;
            case VT_PTR:
                break;
            default:
                return I4(9);
        }
        const TYPEDESC& target = *kind.lptdesc;
        if (target.vt == VT_UI1) return Raw(VT_BYREF | VT_UI1, &byte);
        if (target.vt == VT_I4 || target.vt == VT_INT) return Raw(VT_BYREF | VT_I4, &number);
        if (target.vt == VT_UNKNOWN) return Raw(VT_BYREF | VT_UNKNOWN, &unknown);
        if (target.vt != VT_USERDEFINED) return std::nullopt;
        if (!IsInterface(type, target.hreftype)) return std::nullopt;
        return Obj(&object);
    }
    /// A result that a VARIANT can't hold: a record, a pointer to one.
    static bool IsPlain(const TYPEDESC& result, const Ref<ITypeInfo>& type) {
        if (result.vt == VT_USERDEFINED) return false;
        if (result.vt != VT_PTR) return true;
        if (result.lptdesc->vt != VT_USERDEFINED) return false;
        return IsInterface(type, result.lptdesc->hreftype);
    }

    template <class I>
    void Check(size_t operations, size_t late) {
        SCOPED_TRACE(typeid(I).name());
        Recorder<I> recorder;
        const Ref<ITypeInfo> type = TypeOf<I>(library);
        ASSERT_TRUE(type);
        TYPEATTR* attributes = nullptr;
        ASSERT_EQ(type->GetTypeAttr(&attributes), S_OK);
        EXPECT_EQ(attributes->typekind, TKIND_DISPATCH);
        EXPECT_TRUE(attributes->wTypeFlags & TYPEFLAG_FDUAL);
        const UINT count = attributes->cFuncs;
        type->ReleaseTypeAttr(attributes);

        size_t called_late = 0;
        for (UINT i = 0; i < count; ++i) {
            FUNCDESC* function = nullptr;
            ASSERT_EQ(type->GetFuncDesc(i, &function), S_OK);
            if (!(function->wFuncFlags & FUNCFLAG_FRESTRICTED))
                CheckOperation(type, recorder, *function, called_late);
            type->ReleaseFuncDesc(function);
        }
        EXPECT_EQ(recorder.record.called.size(), operations);
        EXPECT_EQ(called_late, late);
    }

    template <class I>
    void CheckOperation(const Ref<ITypeInfo>& type, Recorder<I>& recorder, const FUNCDESC& function,
                        size_t& called_late) {
        BSTR name = nullptr;
        UINT names = 0;
        ASSERT_EQ(type->GetNames(function.memid, &name, 1, &names), S_OK);
        DISPID id = 0;
        EXPECT_EQ(type->GetIDsOfNames(&name, 1, &id), S_OK);
        EXPECT_EQ(id, function.memid);
        std::ostringstream expected;
        expected << "0x" << std::hex << std::uppercase << function.memid << ' '
                 << (function.invkind == INVOKE_PROPERTYGET   ? "get_"
                     : function.invkind == INVOKE_PROPERTYPUT ? "put_"
                                                              : "")
                 << Narrow(Take(name)) << '(';
        SCOPED_TRACE(expected.str());

        // By the place in the table, with nothing but zeros.
        const bool has_result = function.elemdescFunc.tdesc.vt != VT_VOID;
        std::vector<Value> zeros;
        std::vector<VARTYPE> kinds;
        for (int k = 0; k < function.cParams; ++k)
            kinds.push_back(function.lprgelemdescParam[k].tdesc.vt == VT_VARIANT ? VT_VARIANT : VT_I8);
        if (has_result) kinds.push_back(VT_I8);
        zeros.resize(kinds.size());
        std::vector<VARIANTARG*> places;
        for (Value& zero : zeros) places.push_back(&zero.get());
        Value status;
        recorder.record.last.clear();
        ASSERT_EQ(DispCallFunc(recorder.get(), ULONG_PTR(function.oVft), CC_STDCALL, VT_ERROR,
                               UINT(kinds.size()), kinds.data(), places.data(), status.Put()),
                  S_OK);
        EXPECT_EQ(recorder.record.last.substr(0, expected.str().size()), expected.str());
        EXPECT_EQ(status.get().scode, S_OK);

        // By the description.
        LateCall call = {function.memid, WORD(function.invkind), {}, {}};
        bool callable = IsPlain(function.elemdescFunc.tdesc, type);
        for (int k = 0; k < function.cParams; ++k) {
            const auto sample = Sample(type, function.lprgelemdescParam[k].tdesc);
            callable = callable && sample;
            call.arguments.push_back(sample.value_or(I4(0)));
        }
        if (function.invkind == INVOKE_PROPERTYPUT) {
            call.named = {{DISPID_PROPERTYPUT, call.arguments.back()}};
            call.arguments.pop_back();
        }
        recorder.record.last.clear();
        const Outcome outcome = call.On(type.get(), recorder.get());
        if (callable) {
            EXPECT_EQ(outcome.status, S_OK);
            EXPECT_EQ(recorder.record.last.substr(0, expected.str().size()), expected.str());
            ++called_late;
        } else {
            EXPECT_TRUE(FAILED(outcome.status));
            EXPECT_EQ(recorder.record.last, "");
        }
    }

    Ref<ITypeLib> library = RegisteredLibrary();
    AnyObject object;
    BYTE byte = 0;
    LONG number = 0;
    IUnknown* unknown = &object;
};

TEST_F(RoadsTest, EndInTheOperationOfTheHeaders) {
    ASSERT_TRUE(library);
    Check<IBaseObj>(1, 1);
    Check<IProperty>(35, 33);  // GetData, ClassID: no VARIANT holds what they give
    Check<ICollection>(3, 3);
    Check<IEnumProperties>(11, 9);  // two take an id
    Check<IListOfValues>(10, 8);    // likewise
    Check<IListItem>(4, 4);
    Check<IMap>(6, 6);
    Check<IEnumObject>(6, 5);
    Check<ICriticalSection>(9, 9);
    Check<IMediaObject>(8, 8);
    Check<IMediaFiles>(8, 8);
    Check<ITimelines>(9, 9);
    Check<IDVDIndexData>(5, 3);
    Check<IBVMapper>(3, 1);
    Check<IBVFilterMapper>(1, 0);
    Check<IAMMediaType>(3, 1);
    Check<IMediaSelecter>(6, 6);
}

}  // namespace
}  // namespace bv::test
