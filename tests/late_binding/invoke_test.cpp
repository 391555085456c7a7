// Late-bound calls: what happens to arguments, results and failures on the way.
#include "late_binding/library.h"
#include "late_binding/recorder.h"

namespace bv::test {
namespace {

using testing::AnyOf;
using testing::Eq;

class InvokeTest : public testing::Test {
protected:
    Ref<ITypeLib> library = RegisteredLibrary();
    Ref<ITypeInfo> property_type = TypeOf<IProperty>(library), map_type = TypeOf<IMap>(library);
    Recorder<IProperty> property;
    Recorder<IMap> map;
};

TEST_F(InvokeTest, ConvertsWhatItPasses) {
    LONG number = 42;
    SHORT small = 43;
    Value inner = Str(L"44");
    struct Case {
        const char* what;
        Value value;
        HRESULT status;
        const char* passed;
    };
    const Case numbers[] = {
        {"the kind itself", I4(5), S_OK, "0x2 put_IsHide(5)"},
        {"a text", Str(L"12"), S_OK, "0x2 put_IsHide(12)"},
        {"half to even", R8(2.5), S_OK, "0x2 put_IsHide(2)"},
        {"a truth", Bool(true), S_OK, "0x2 put_IsHide(-1)"},
        {"nothing", Nothing(), S_OK, "0x2 put_IsHide(0)"},
        {"a reference", Raw(VT_BYREF | VT_I4, &number), S_OK, "0x2 put_IsHide(42)"},
        {"a reference of another kind", Raw(VT_BYREF | VT_I2, &small), S_OK, "0x2 put_IsHide(43)"},
        {"a reference to a VARIANT", Raw(VT_BYREF | VT_VARIANT, &inner), S_OK, "0x2 put_IsHide(44)"},
        {"another text", Str(L"xx"), DISP_E_TYPEMISMATCH, ""},
        {"too large", R8(1e20), DISP_E_OVERFLOW, ""},
        {"null", Null(), DISP_E_TYPEMISMATCH, ""},
        {"an object", Obj(map.get()), DISP_E_TYPEMISMATCH, ""},
    };
    for (const Case& c : numbers) {
        SCOPED_TRACE(c.what);
        property.record.last.clear();
        EXPECT_EQ(Put(2, c.value).On(property_type.get(), &property).status, c.status);
        EXPECT_EQ(property.record.last, c.passed);
    }
    EXPECT_EQ(Put(6, I4(12)).On(property_type.get(), &property).status, S_OK);
    EXPECT_EQ(property.record.last, "0x6 put_Description('12')");
    EXPECT_EQ(Put(0x7D2, I2(3)).On(property_type.get(), &property).status, S_OK);
    EXPECT_EQ(property.record.last, "0x7D2 put_Value(vt2 3)") << "a VARIANT goes as it is";
    EXPECT_EQ(Put(0x7D2, Missing()).On(property_type.get(), &property).status, S_OK);
    EXPECT_EQ(property.record.last, "0x7D2 put_Value(vt10 0x80020004)");
}

TEST_F(InvokeTest, AsksObjectsForTheInterfaceWanted) {
    struct Case {
        const char* what;
        Value parent;
        bool passed;
        const char* call;
    };
    IDispatch* node = property.get();
    IDispatch* foreign = map.get();
    const Case cases[] = {
        {"a node", Obj(property.get()), true, "0x1 get_Property('a', object, out)"},
        {"a node as VT_UNKNOWN", Unk(property.get()), true, "0x1 get_Property('a', object, out)"},
        {"a node by reference", Raw(VT_BYREF | VT_DISPATCH, &node), true,
         "0x1 get_Property('a', object, out)"},
        {"no object", Obj(nullptr), true, "0x1 get_Property('a', null, out)"},
        {"an object that is no node", Obj(map.get()), false, ""},
        {"that by reference", Raw(VT_BYREF | VT_DISPATCH, &foreign), false, ""},
        {"a number", I4(4), false, ""},
        {"zero", I4(0), false, ""},
        {"null", Null(), false, ""},
        {"left out", Missing(), false, ""},
    };
    const ULONG references = property.references();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        map.record.last.clear();
        EXPECT_EQ(SUCCEEDED(Get(1, {Str(L"a"), c.parent}).On(map_type.get(), &map).status), c.passed);
        EXPECT_EQ(map.record.last, c.call);
    }
    EXPECT_EQ(property.references(), references);
}

TEST_F(InvokeTest, PlacesNamedAndUnnamedArguments) {
    const Value name = Str(L"n"), value = I4(1);
    const auto call = [&](std::vector<Value> unnamed, std::vector<std::pair<DISPID, Value>> named) {
        property.record.last.clear();
        return LateCall{0x16, DISPATCH_METHOD, std::move(unnamed), std::move(named)}
            .On(property_type.get(), &property)
            .status;
    };
    for (const auto& [unnamed, named] :
         std::vector<std::pair<std::vector<Value>, std::vector<std::pair<DISPID, Value>>>>{
             {{name, value}, {}},
             {{}, {{0, name}, {1, value}}},
             {{}, {{1, value}, {0, name}}},
             {{name}, {{1, value}}}}) {
        EXPECT_EQ(call(unnamed, named), S_OK);
        EXPECT_EQ(property.record.last, "0x16 SetInfo('n', vt3 1)");
    }
    const auto refused = AnyOf(Eq(DISP_E_PARAMNOTFOUND), Eq(DISP_E_BADPARAMCOUNT),
                               Eq(DISP_E_PARAMNOTOPTIONAL), Eq(DISP_E_TYPEMISMATCH));
    EXPECT_THAT(call({name}, {}), refused) << "one is missing";
    EXPECT_THAT(call({}, {{1, value}}), refused);
    EXPECT_THAT(call({name}, {{7, value}}), refused) << "there is no such parameter";
    EXPECT_THAT(call({name}, {{-5, value}}), refused);
    EXPECT_THAT(call({}, {{1, value}, {1, name}}), refused) << "one twice";
    EXPECT_THAT(call({Missing(), value}, {}), refused) << "only an optional one may be left out";
    EXPECT_EQ(property.record.last, "");
    EXPECT_EQ(call({name, Missing()}, {}), S_OK) << "a VARIANT may hold that it is missing";

    // The value of a write is named so.
    EXPECT_EQ((LateCall{2, DISPATCH_PROPERTYPUT, {value}, {}}.On(property_type.get(), &property).status),
              DISP_E_PARAMNOTFOUND);
    EXPECT_EQ(Put(3, value, {Str(L"a"), Obj(nullptr)}).On(map_type.get(), &map).status, S_OK);
    EXPECT_EQ(map.record.last, "0x3 put_PropertyVal('a', null, vt3 1)");
    EXPECT_EQ(Put(3, value, {Str(L"a")}).On(map_type.get(), &map).status, DISP_E_BADPARAMCOUNT);
}

TEST_F(InvokeTest, FindsAnOperationByIdAndKind) {
    struct Case {
        DISPID id;
        WORD flags;
        HRESULT status;
    };
    const Case cases[] = {
        {0x7D1, DISPATCH_PROPERTYGET, S_OK},
        {0x7D1, DISPATCH_PROPERTYGET | DISPATCH_METHOD, S_OK},
        {0x7D1, DISPATCH_METHOD, DISP_E_MEMBERNOTFOUND},
        {7, DISPATCH_METHOD, S_OK},
        {7, DISPATCH_PROPERTYGET, DISP_E_MEMBERNOTFOUND},
        {0x1B, DISPATCH_PROPERTYGET, DISP_E_MEMBERNOTFOUND},  // can only be written
        {0x999, DISPATCH_METHOD, DISP_E_MEMBERNOTFOUND},
        {7, 0, DISP_E_MEMBERNOTFOUND},
        {0x60000001, DISPATCH_METHOD, DISP_E_MEMBERNOTFOUND},  // AddRef isn't for scripts
    };
    for (const Case& c : cases)
        EXPECT_EQ((LateCall{c.id, c.flags, {}, {}}.On(property_type.get(), &property).status), c.status)
            << c.id;
    EXPECT_EQ(property.references(), 1u);
}

TEST_F(InvokeTest, GivesResultsAndPassesReferences) {
    property.record.object = property.get();
    EXPECT_EQ(Get(0x7D1).On(property_type.get(), &property).result, Str(L"given"));
    EXPECT_EQ(Get(0x7D2).On(property_type.get(), &property).result, Str(L"given"));
    EXPECT_EQ(Get(0x1A).On(property_type.get(), &property).result, I4(77)) << "int is VT_I4";
    EXPECT_EQ(Method(8, {Str(L"a")}).On(property_type.get(), &property).result, Obj(property.get()));
    EXPECT_EQ(property.references(), 1u);
    LateCall unwanted = Method(8, {Str(L"a")});
    unwanted.wants_result = false;
    EXPECT_EQ(unwanted.On(property_type.get(), &property).status, S_OK);
    EXPECT_EQ(property.references(), 1u) << "a result that nobody wants is released";

    // Nothing found: what comes back is empty, and the call went well.
    property.record.status = S_FALSE;
    EXPECT_EQ(Get(0x7D2).On(property_type.get(), &property).status, S_OK);
    EXPECT_EQ(Get(0x7D2).On(property_type.get(), &property).result, Nothing());
    EXPECT_EQ(Method(8, {Str(L"a")}).On(property_type.get(), &property).result.object(), nullptr);

    Recorder<ICriticalSection> section;
    const Ref<ITypeInfo> section_type = TypeOf<ICriticalSection>(library);
    EXPECT_EQ(V_VT(&Get(4).On(section_type.get(), &section).result.get()), VT_I8)
        << "as wide as a window handle";
    Recorder<ITimelines> timelines;
    const Outcome duration = Get(0x18).On(TypeOf<ITimelines>(library).get(), &timelines);
    EXPECT_EQ(duration.result.kind(), VT_I8);
    EXPECT_EQ(duration.result.get().llVal, 1LL << 40);

    Recorder<IMediaObject> media;
    const Ref<ITypeInfo> media_type = TypeOf<IMediaObject>(library);
    LONG start = 42;
    EXPECT_EQ(Method(6, {Obj(nullptr), Raw(VT_BYREF | VT_I4, &start)}).On(media_type.get(), &media).status,
              S_OK);
    EXPECT_EQ(media.record.last, "0x6 Encoding(null, 42)");
    EXPECT_EQ(start, 43);
    EXPECT_EQ(Method(6, {Obj(nullptr), I4(3)}).On(media_type.get(), &media).status, S_OK);
    EXPECT_EQ(media.record.last, "0x6 Encoding(null, 3)") << "a value is passed by a place of its own";
}

TEST_F(InvokeTest, TellsWhyAnOperationFailed) {
    property.record.status = E_FAIL;
    Outcome outcome = Method(7).On(property_type.get(), &property);
    EXPECT_EQ(outcome.status, DISP_E_EXCEPTION);
    EXPECT_EQ(outcome.scode, E_FAIL);
    EXPECT_EQ(outcome.text, L"");

    property.record.raise = L"It can't be done.";
    outcome = Method(7).On(property_type.get(), &property);
    EXPECT_EQ(outcome.status, DISP_E_EXCEPTION);
    EXPECT_EQ(outcome.scode, E_FAIL);
    EXPECT_EQ(outcome.text, L"It can't be done.");
    EXPECT_EQ(outcome.source, L"a.double");
    EXPECT_EQ(TakeRefusal().text, L"") << "it is told once";

    LateCall unheard = Method(7);
    unheard.wants_exception = false;
    EXPECT_EQ(unheard.On(property_type.get(), &property).status, DISP_E_EXCEPTION);
    EXPECT_EQ(TakeRefusal().text, L"It can't be done.") << "it stays for who asks";

    property.record.raise.clear();
    property.record.status = DISP_E_MEMBERNOTFOUND;
    EXPECT_EQ(Method(7).On(property_type.get(), &property).scode, DISP_E_MEMBERNOTFOUND);
    property.record.status = E_NOTIMPL;
    EXPECT_EQ(Get(0x7D1).On(property_type.get(), &property).result.text(), L"");
}

TEST_F(InvokeTest, SaysWhichArgumentIsBad) {
    const Outcome outcome = Method(0x7D5, {I4(1), Str(L"x"), I4(1)}).On(property_type.get(), &property);
    EXPECT_EQ(outcome.status, DISP_E_TYPEMISMATCH);
    if (outcome.bad == Outcome::kUnset) GTEST_SKIP() << "this system doesn't tell";
    EXPECT_EQ(outcome.bad, 1u);
    EXPECT_EQ(Get(1, {Str(L"a"), Obj(map.get())}).On(map_type.get(), &map).bad, 0u);
    EXPECT_EQ(Get(1, {Obj(property.get()), Obj(property.get())}).On(map_type.get(), &map).bad, 1u);
}

/// Where this layer and others differ, this is what callers rely on.
TEST_F(InvokeTest, GivesBackThroughAVariant) {
    Recorder<IMediaObject> media;
    Value place = Str(L"10");
    const Outcome outcome = Method(6, {Obj(nullptr), Raw(VT_BYREF | VT_VARIANT, &place)})
                                .On(TypeOf<IMediaObject>(library).get(), &media);
    if (outcome.status == DISP_E_TYPEMISMATCH)
        GTEST_SKIP() << "this system passes no result through a VARIANT";
    EXPECT_EQ(media.record.last, "0x6 Encoding(null, 10)");
    EXPECT_EQ(place, I4(11));
    EXPECT_EQ(Method(0xE, {I4(1)}).On(TypeOf<IMediaObject>(library).get(), &media).status,
              DISP_E_BADPARAMCOUNT);
}

TEST_F(InvokeTest, FindsIdsByName) {
    struct Case {
        std::vector<const wchar_t*> names;
        HRESULT status;
        std::vector<DISPID> ids;
    };
    const Case cases[] = {
        {{L"PropertyVal"}, S_OK, {3}},
        {{L"PROPERTYVAL", L"name", L"pparent"}, S_OK, {3, 0, 1}},
        {{L"PropertyVal", L"nope", L"Name"}, DISP_E_UNKNOWNNAME, {3, -1, 0}},
        {{L"nope", L"Name"}, DISP_E_UNKNOWNNAME, {-1, -1}},
        {{L""}, DISP_E_UNKNOWNNAME, {-1}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(Narrow(c.names[0]));
        std::vector<DISPID> ids(c.names.size(), 999);
        EXPECT_EQ(
            map_type->GetIDsOfNames(const_cast<LPOLESTR*>(c.names.data()), UINT(c.names.size()), ids.data()),
            c.status);
        EXPECT_EQ(ids, c.ids);
    }
}

// --- The same through the server's own objects

class LateBoundTest : public JobTest {
protected:
    Outcome On(const Node& node, LateCall call) { return call.On(static_cast<IDispatch*>(node.get())); }
    DISPID IdOf(const Node& node, const wchar_t* name) {
        DISPID id = 0;
        EXPECT_EQ(node->GetIDsOfNames(IID_NULL, const_cast<LPOLESTR*>(&name), 1, 0, &id), S_OK);
        return id;
    }
};

TEST_F(LateBoundTest, DescribesItself) {
    UINT count = 0;
    EXPECT_EQ(root->GetTypeInfoCount(&count), S_OK);
    EXPECT_EQ(count, 1u);
    Ref<ITypeInfo> type;
    EXPECT_EQ(root->GetTypeInfo(1, 0, type.Put()), DISP_E_BADINDEX);
    EXPECT_EQ(root->GetTypeInfo(0, 0, nullptr), E_POINTER);
    ASSERT_EQ(root->GetTypeInfo(0, 0x409, type.Put()), S_OK);
    TYPEATTR* attributes = nullptr;
    ASSERT_EQ(type->GetTypeAttr(&attributes), S_OK);
    EXPECT_EQ(attributes->guid, kIid<IProperty>);
    type->ReleaseTypeAttr(attributes);
    Ref<ITypeInfo> again;
    EXPECT_EQ(root->GetTypeInfo(0, 0, again.Put()), S_OK);
    EXPECT_EQ(type.get(), again.get()) << "loaded once";
    EXPECT_EQ(IdOf(root, L"findproperty"), 8);
}

TEST_F(LateBoundTest, ReadsWritesAndFinds) {
    const Outcome found = On(root, Method(8, {Str(L"SplitLength")}));
    ASSERT_EQ(found.status, S_OK);
    ASSERT_EQ(found.result.kind(), VT_DISPATCH);
    IDispatch* const length = found.result.get().pdispVal;
    ASSERT_TRUE(length);
    EXPECT_EQ(Put(0x7D2, I4(7)).On(length).status, S_OK);
    EXPECT_EQ(Get(0x7D2).On(length).result, I4(7));
    EXPECT_EQ(On(root, Method(8, {Str(L"NoSuchNode")})).result.object(), nullptr);

    // A node as an argument: it doesn't answer IDispatch, and is one all the same.
    const Ref<IMap> map = media.map();
    const Outcome of_map = Get(1, {Str(L"SplitLength"), Obj(root.get())}).On(map.get());
    EXPECT_EQ(of_map.status, S_OK);
    EXPECT_EQ(of_map.result.object(), static_cast<IUnknown*>(length));
    EXPECT_EQ(Put(3, I4(8), {Str(L"SplitLength"), Obj(root.get())}).On(map.get()).status, S_OK);
    EXPECT_EQ((*this)[L"SplitLength"].Value(), I4(8));
}

TEST_F(LateBoundTest, ARefusalReachesTheCaller) {
    const Node length = (*this)[L"SplitLength"];
    const Outcome outcome = On(length, Put(0x7D2, I4(-1)));
    EXPECT_EQ(outcome.status, DISP_E_EXCEPTION);
    EXPECT_EQ(outcome.scode, E_FAIL);
    EXPECT_EQ(outcome.text, L"This value cannot be negative.");
    EXPECT_EQ(outcome.source, L"BVSchema.Property.1");

    // What an earlier call left in the error object belongs to that call.
    EXPECT_EQ(length.Put(I4(-1)), E_FAIL);
    const Outcome other = On(length, Method(7));
    EXPECT_EQ(other.scode, E_NOTIMPL);
    EXPECT_EQ(other.text, L"");
    EXPECT_EQ(TakeRefusal().text, L"") << "and ends with one that fails";
    EXPECT_EQ(length.Put(I4(-1)), E_FAIL);
    EXPECT_EQ(On(length, Get(0x7D1)).status, S_OK);
    EXPECT_EQ(TakeRefusal().text, L"This value cannot be negative.")
        << "a call that went well doesn't take it";
}

TEST_F(LateBoundTest, TakesBytesFromThoseWhoHaveThem) {
    BYTE bytes[] = {1, 2, 3, 4};
    const Value place = Raw(VT_BYREF | VT_UI1, bytes);
    ASSERT_EQ(On(root, Method(0x7D5, {I4(9), I4(4), place})).status, S_OK);
    int kind = 0;
    LONG length = 0;
    BYTE* kept = nullptr;
    ASSERT_EQ(root->GetData(&kind, &length, &kept), S_OK);
    EXPECT_EQ(kind, 9);
    ASSERT_EQ(length, 4);
    EXPECT_EQ(kept[3], 4);
    // One byte would be made of each of these, and the length believed.
    for (const Value& value : {I4(3), UI1(3), Str(L"3"), Missing(), Nothing()}) {
        const Outcome outcome = On(root, Method(0x7D5, {I4(9), I4(1 << 20), value}));
        EXPECT_EQ(outcome.status, DISP_E_TYPEMISMATCH);
        EXPECT_EQ(outcome.bad, 0u);
    }
    // Far more than the operation has.
    std::vector<Value> many(40, place);
    EXPECT_EQ(On(root, Method(0x7D5, many)).status, DISP_E_BADPARAMCOUNT);
    many[34] = I4(3);
    EXPECT_EQ(On(root, Method(0x7D5, many)).status, DISP_E_BADPARAMCOUNT);
    EXPECT_EQ((LateCall{0x7D5, DISPATCH_METHOD, {}, {{2, I4(1)}, {1, I4(100)}, {0, I4(1)}}}
                   .On(static_cast<IDispatch*>(root.get()))
                   .status),
              DISP_E_NONAMEDARGS);
}

}  // namespace
}  // namespace bv::test
