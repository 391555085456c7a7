// What a node keeps: its value in the kind that was put, the checks round it, and what it keeps for the host.
#include "support/doubles.h"

namespace bv::test {
namespace {

class ValueTest : public testing::Test {
protected:
    NothingLeft no_leaks;
    Node simple = CreateNode(clsid::PropertySimple);
};

TEST_F(ValueTest, AGroupHasNoValue) {
    const Node group = CreateNode(clsid::PropertyOutput);
    Value value = I4(7);
    EXPECT_EQ(group.ValueType(), VT_EMPTY);
    EXPECT_EQ(group->get_Value(&value.get()), S_FALSE);
    EXPECT_EQ(value, I4(7));
    EXPECT_EQ(group.Put(I4(1)), E_NOTIMPL);
    EXPECT_EQ(group->get_Format(value.Put()), S_OK);
    EXPECT_EQ(group.PutFormat(I4(1)), E_NOTIMPL);
    // A simple node makes its store, and nothing is not the same as no store.
    EXPECT_EQ(simple->get_Value(value.Put()), S_FALSE);
    EXPECT_EQ(simple.Put(Nothing()), S_OK);
    EXPECT_EQ(simple->get_Value(value.Put()), S_OK);
    EXPECT_EQ(simple.ValueType(), VT_EMPTY);
}

TEST_F(ValueTest, StaysInTheKindThatWasPut) {
    const Node text = CreateNode(clsid::PropertySimplePath);
    ASSERT_EQ(text.ValueType(), VT_BSTR);
    for (const Value& value :
         {I4(1), I2(-3), UI1(200), R8(1.5), Bool(true), Str(L"a\0b"), Str(L""), Nothing()}) {
        ASSERT_EQ(text.Put(value), S_OK);
        EXPECT_EQ(text.Value(), value);
        EXPECT_EQ(text.Format(), value);
        EXPECT_EQ(text.ValueType(), value.kind());
    }
}

TEST_F(ValueTest, AReferenceIsStoredAsWhatItPointsTo) {
    LONG number = 5;
    VARIANT by_reference;
    VariantInit(&by_reference);
    by_reference.vt = VT_I4 | VT_BYREF;
    by_reference.plVal = &number;
    ASSERT_EQ(simple->put_Value(by_reference), S_OK);
    number = 6;  // the caller's, who may do with it what he likes
    EXPECT_EQ(simple.Value(), I4(5));
    Value inner = Str(L"7");
    by_reference.vt = VT_VARIANT | VT_BYREF;
    by_reference.pvarVal = &inner.get();
    ASSERT_EQ(simple->put_Value(by_reference), S_OK);
    inner = Nothing();
    EXPECT_EQ(simple.Value(), Str(L"7"));
}

TEST_F(ValueTest, RefusesNegativeNumbersOnlyWithTheBit) {
    const auto setup = simple.As<ISimpleInit>();
    ASSERT_EQ(simple.Put(I4(-5)), S_OK);
    ASSERT_EQ(setup->SetType(0x80000), S_OK);
    for (const Value& value : {I4(-1), I2(-1), R8(-0.6), Str(L"-5"), Bool(true)}) {
        ExpectRefused(simple, value, L"This value cannot be negative.");
        EXPECT_EQ(setup->put_Value(value.get()), E_FAIL);
    }
    ExpectRefused(simple, I4(-1), L"This value cannot be negative.");
    EXPECT_EQ(simple.PutFormat(I4(-1)), E_FAIL);
    // What isn't a number, or none that a VT_I4 can hold, passes.
    for (const Value& value : {R8(-0.4), Str(L"-"), Str(L"-99999999999"), R8(-1e10), Nothing()})
        EXPECT_EQ(simple.Put(value), S_OK);
}

TEST_F(ValueTest, AnAngleIsAFullTurnEitherWay) {
    const Node angle = CreateNode(clsid::PropertyTextOrientation);
    EXPECT_EQ(Dump(angle), Golden("angle.txt"));
    for (const Value& value : {I4(-360), I4(360), Str(L"90"), R8(360.4)}) {
        EXPECT_EQ(angle.Put(value), S_OK);
        EXPECT_EQ(angle.Value(), value);
    }
    for (const Value& value : {I4(-361), I4(361), R8(360.6)})
        ExpectRefused(angle, value, L"Invalid value. This property should be from -360 to 360 degree.");
    const struct {
        Value value;
        HRESULT status;
    } no_angles[] = {{Str(L"north"), DISP_E_TYPEMISMATCH}, {I4(40000), DISP_E_OVERFLOW}};
    for (const auto& c : no_angles) {
        EXPECT_EQ(angle.Put(c.value), c.status);
        EXPECT_EQ(angle.Value(), R8(360.4));
    }
}

TEST_F(ValueTest, DescriptionIsTheTextOrTheTablesWhichWins) {
    const Node angle = CreateNode(clsid::PropertyTextOrientation);
    ASSERT_EQ(angle->put_DescriptionID(98), S_OK);
    EXPECT_EQ(angle.Description(), L"Numeric value of split range.");
    ASSERT_EQ(angle->put_Description(Text(L"mine")), S_OK);
    EXPECT_EQ(angle.Description(), L"mine");
    // A simple node keeps the id, through either interface.
    ASSERT_EQ(simple->put_DescriptionID(98), S_OK);
    ASSERT_EQ(simple->put_Description(Text(L"mine")), S_OK);
    ASSERT_EQ(simple.As<ISimpleInit>()->put_Description(Text(L"mine")), S_OK);
    EXPECT_EQ(simple.Description(), L"Numeric value of split range.");
    for (const int no_id : {0, -98}) {
        ASSERT_EQ(simple.As<ISimpleInit>()->put_DescriptionID(no_id), S_OK);
        EXPECT_EQ(simple.Description(), L"mine");
    }
    for (const int unknown : {2, 9, 100000, 0x7FFFFFFF}) {
        ASSERT_EQ(simple->put_DescriptionID(unknown), S_OK);
        EXPECT_EQ(simple.Description(), L"");
    }
}

TEST_F(ValueTest, SetupGivesASimpleNodeItsChoicesAndExtension) {
    const auto setup = simple.As<ISimpleInit>();
    ASSERT_EQ(setup->AddItem(Text(L"A"), I4(1).get()), S_OK);
    ASSERT_EQ(setup->AddItem(Text(L"B"), I4(2).get()), S_OK);
    EXPECT_EQ(setup->SelectItem(1), S_OK);
    EXPECT_EQ(simple.Value(), I4(2));
    for (const LONG index : {-1, 2}) EXPECT_EQ(setup->SelectItem(index), E_INVALIDARG);

    ASSERT_EQ(setup->SetPathExtension(Text(L"C:\\a")), S_OK);
    EXPECT_EQ(simple.Extension().Value(), Str(L"C:\\a"));
    EXPECT_EQ(simple.Extension().Type(), 0x8009);
    CLSID unit = clsid::PropertyLenExt;
    ASSERT_EQ(setup->SetExtensionClass(&unit), S_OK);
    EXPECT_EQ(simple.Extension().Title(), L"LenExt");
    EXPECT_EQ(simple.Extension().Parent().get(), simple.get());
    unit = kNoClass;
    EXPECT_EQ(setup->SetExtensionClass(&unit), REGDB_E_CLASSNOTREG);
    EXPECT_EQ(simple.Extension().Title(), L"LenExt");
    // An entry that can't be made is none, with no complaint.
    EXPECT_EQ(setup->AddObject(&unit), S_OK);
    EXPECT_EQ(setup->AddObject2(Text(L"C"), &unit), S_OK);
    EXPECT_EQ(simple.Choices().size(), 2u);
}

/// Shows a stored number with a sign in front; refuses what it is told to.
class Converter : public Fake<IDispatch, IValueFormat> {
public:
    HRESULT status = S_OK;
    STDMETHODIMP ParseValue(VARIANT shown, VARIANT* stored) override {
        *stored = I4(shown.lVal - 100).get();
        return status;
    }
    STDMETHODIMP FormatValue(VARIANT* value) override {
        value->lVal += 100;
        return status;
    }
};

class ConverterNode : public ForeignNode {
public:
    ConverterNode() : ForeignNode(L"Unit") {}
    Converter converter;
    STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
        return iid == kIid<IValueFormat> ? converter.QueryInterface(iid, out)
                                         : ForeignNode::QueryInterface(iid, out);
    }
};

TEST_F(ValueTest, AnExtensionConvertsTheShownForm) {
    ConverterNode unit;
    CLSID cls = kNoClass;
    {
        const ClassDouble made(cls, unit.Maker());
        ASSERT_EQ(simple.As<ISimpleInit>()->SetExtensionClass(&cls), S_OK);
    }
    EXPECT_EQ(unit.parent, static_cast<IDispatch*>(simple.get()));
    ASSERT_EQ(simple.PutFormat(I4(105)), S_OK);
    EXPECT_EQ(simple.Value(), I4(5));
    EXPECT_EQ(simple.Format(), I4(105));
    unit.converter.status = E_ABORT;
    Value shown;
    EXPECT_EQ(simple->get_Format(shown.Put()), E_ABORT);
    EXPECT_EQ(simple.PutFormat(I4(107)), E_ABORT);
    EXPECT_EQ(simple.Value(), I4(5));
    simple.Release();
}

TEST_F(ValueTest, KeepsABlockOrAnObjectForTheHost) {
    int kind = -1;
    LONG length = -1;
    BYTE* data = reinterpret_cast<BYTE*>(&kind);
    ASSERT_EQ(simple->GetData(&kind, &length, &data), S_OK);
    EXPECT_EQ(kind, 0);
    EXPECT_EQ(length, 0);
    EXPECT_EQ(data, nullptr);
    Ref<IDispatch> object;
    EXPECT_EQ(simple->GetExData(object.Put()), E_FAIL);

    BYTE bytes[] = {1, 2, 3};
    ASSERT_EQ(simple->PutData(9, 3, bytes), S_OK);
    bytes[0] = 0;
    ASSERT_EQ(simple->GetData(&kind, &length, &data), S_OK);
    EXPECT_EQ(kind, 9);
    EXPECT_EQ(std::vector<BYTE>(data, data + length), (std::vector<BYTE>{1, 2, 3}));
    ASSERT_EQ(simple->PutData(4, 2, data + 1), S_OK);  // a part of what it has
    ASSERT_EQ(simple->GetData(&kind, &length, &data), S_OK);
    EXPECT_EQ(std::vector<BYTE>(data, data + length), (std::vector<BYTE>{2, 3}));
    for (const LONG bad : {LONG(-1), LONG(0x80000000)})
        EXPECT_EQ(simple->PutData(5, bad, bytes), E_INVALIDARG);
    ASSERT_EQ(simple->PutData(6, 0, nullptr), S_OK);
    ASSERT_EQ(simple->GetData(&kind, &length, &data), S_OK);
    EXPECT_EQ(kind, 6);
    EXPECT_EQ(length, 0);
    EXPECT_NE(data, nullptr) << "an empty block is a block";

    Fake<IDispatch> kept, other;
    ASSERT_EQ(simple->PutExData(&kept), S_OK);
    ASSERT_EQ(simple->GetData(&kind, &length, &data), S_OK);
    EXPECT_EQ(data, nullptr) << "the object took the block's place";
    ASSERT_EQ(simple->GetExData(object.Put()), S_OK);
    EXPECT_EQ(object.get(), &kept);
    object = {};
    ASSERT_EQ(simple->PutExData(&other), S_OK);
    EXPECT_EQ(kept.references(), 1u);
    ASSERT_EQ(simple->PutData(1, 3, bytes), S_OK);
    EXPECT_EQ(simple->GetExData(object.Put()), E_FAIL) << "and the block the object's";
    EXPECT_EQ(other.references(), 1u);
}

TEST_F(ValueTest, NullPlacesAreRefusedAndErrorsAreOfItsOwnInterface) {
    EXPECT_EQ(simple->get_Name(nullptr), E_POINTER);
    EXPECT_EQ(simple->get_Title(nullptr), E_POINTER);
    EXPECT_EQ(simple->get_Description(nullptr), E_POINTER);
    EXPECT_EQ(simple->put_DescriptionID(98), S_OK);
    EXPECT_EQ(simple->get_Description(nullptr), E_POINTER);
    EXPECT_EQ(simple->get_Value(nullptr), E_POINTER);
    EXPECT_EQ(simple->get_Format(nullptr), E_POINTER);
    EXPECT_EQ(simple->FindProperty(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(simple->get_Parent(nullptr), E_POINTER);
    EXPECT_EQ(simple->GetData(nullptr, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(simple->PutData(0, 1, nullptr), E_POINTER);
    const auto errors = simple.As<ISupportErrorInfo>();
    EXPECT_EQ(errors->InterfaceSupportsErrorInfo(kIid<IProperty>), S_OK);
    EXPECT_EQ(errors->InterfaceSupportsErrorInfo(kIid<ISettingsWriter>), S_FALSE);
}

}  // namespace
}  // namespace bv::test
