// VARIANT: life cycle and conversion. Every expected value here holds on both platforms.
#include <windows.h>
//
#include <gtest/gtest.h>
#include <oleauto.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

namespace {

/// Owns a VARIANT; a test gives it an object or a text.
class Value {
public:
    Value() { VariantInit(&value_); }
    explicit Value(VARTYPE kind, LONGLONG bits = 0) : Value() {
        value_.llVal = bits;
        value_.vt = kind;
    }
    ~Value() { VariantClear(&value_); }
    Value(Value&& other) noexcept : value_(other.value_) { other.value_.vt = VT_EMPTY; }

    operator VARIANT*() { return &value_; }
    VARIANT* operator->() { return &value_; }
    std::string Shown() const;

private:
    VARIANT value_;
};

Value R8(double number, VARTYPE kind = VT_R8) {
    Value value(kind);
    value->dblVal = number;
    return value;
}

Value R4(float number) {
    Value value(VT_R4);
    value->fltVal = number;
    return value;
}

Value Text(const std::wstring& text) {
    Value value(VT_BSTR);
    value->bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    return value;
}

Value Dec(bool negative, BYTE scale, ULONGLONG low, ULONG high = 0) {
    Value value;
    value->decVal.sign = negative ? DECIMAL_NEG : 0;
    value->decVal.scale = scale;
    value->decVal.Lo64 = low;
    value->decVal.Hi32 = high;
    value->vt = VT_DECIMAL;
    return value;
}

template <typename... Args>
std::string Format(const char* format, Args... args) {
    char buffer[128];
    std::snprintf(buffer, sizeof buffer, format, args...);
    return buffer;
}

/// A value without its kind; a decimal as digits "e" minus its scale.
std::string Value::Shown() const {
    switch (value_.vt) {
        case VT_EMPTY:
            return "empty";
        case VT_NULL:
            return "null";
        case VT_I1:
            return Format("%d", static_cast<signed char>(value_.cVal));
        case VT_UI1:
            return Format("%u", value_.bVal);
        case VT_I2:
        case VT_BOOL:
            return Format("%d", value_.iVal);
        case VT_UI2:
            return Format("%u", value_.uiVal);
        case VT_I4:
        case VT_INT:
            return Format("%d", static_cast<int>(value_.lVal));
        case VT_UI4:
        case VT_UINT:
            return Format("%u", static_cast<unsigned>(value_.ulVal));
        case VT_I8:
        case VT_CY:
            return std::to_string(value_.llVal);
        case VT_UI8:
            return std::to_string(value_.ullVal);
        case VT_R4:
            return Format("%.7g", static_cast<double>(value_.fltVal));
        case VT_R8:
        case VT_DATE:
            return Format("%.12g", value_.dblVal);
        case VT_ERROR:
            return Format("0x%08X", static_cast<unsigned>(value_.scode));
        case VT_DECIMAL: {
            const std::string high = value_.decVal.Hi32 ? std::to_string(value_.decVal.Hi32) + "*2^64+" : "";
            return (value_.decVal.sign ? "-" : "") + high + std::to_string(value_.decVal.Lo64) + "e-" +
                   std::to_string(value_.decVal.scale);
        }
        case VT_BSTR: {
            std::string text;
            for (UINT i = 0; i < SysStringLen(value_.bstrVal); ++i)
                text += static_cast<char>(value_.bstrVal[i]);
            return text;
        }
        default:
            return Format("kind %u", value_.vt);
    }
}

std::string StatusName(HRESULT status) {
    switch (status) {
        case DISP_E_TYPEMISMATCH:
            return "mismatch";
        case DISP_E_OVERFLOW:
            return "overflow";
        case DISP_E_BADVARTYPE:
            return "bad kind";
        case E_INVALIDARG:
            return "invalid";
        default:
            return Format("0x%08X", static_cast<unsigned>(status));
    }
}

/// What a conversion gives: the value, or the status in words.
std::string Converted(VARIANT* source, VARTYPE kind, USHORT flags = 0) {
    Value result;
    const HRESULT status = VariantChangeType(result, source, flags, kind);
    if (FAILED(status)) return StatusName(status);
    EXPECT_EQ(result->vt, kind);
    return result.Shown();
}

struct Row {
    Value source;
    std::vector<std::pair<VARTYPE, const char*>> expected;
};

void Check(std::vector<Row>& rows) {
    for (Row& row : rows) {
        for (const auto& [kind, expected] : row.expected) {
            EXPECT_EQ(Converted(row.source, kind), expected)
                << "from " << row.source->vt << " \"" << row.source.Shown() << "\" to " << kind;
        }
    }
}

template <typename... Rows>
std::vector<Row> Table(Rows&&... rows) {
    std::vector<Row> table;
    (table.push_back(std::move(rows)), ...);
    return table;
}

/// Counts its references; answers IUnknown and, if so made, IDispatch.
class Counted : public IDispatch {
public:
    explicit Counted(bool dispatch) : dispatch_(dispatch) {}
    STDMETHODIMP QueryInterface(REFIID iid, void** result) override {
        const bool answered = IsEqualIID(iid, IID_IUnknown) || (dispatch_ && IsEqualIID(iid, IID_IDispatch));
        *result = answered ? this : nullptr;
        if (!answered) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references; }
    STDMETHODIMP_(ULONG) Release() override { return --references; }
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
        return E_NOTIMPL;
    }

    ULONG references = 1;

private:
    bool dispatch_;
};

TEST(VariantLife, TextsAreDoubledAndObjectsCounted) {
    Value text = Text(std::wstring(L"a\0b", 3));
    Value copy;
    ASSERT_EQ(VariantCopy(copy, text), S_OK);
    EXPECT_NE(copy->bstrVal, text->bstrVal);
    EXPECT_EQ(copy.Shown(), std::string("a\0b", 3));
    EXPECT_EQ(VariantCopy(copy, copy), S_OK);
    EXPECT_EQ(copy.Shown(), std::string("a\0b", 3));

    Counted object(true);
    {
        Value held(VT_DISPATCH), other = Text(L"old");
        held->pdispVal = &object;
        object.AddRef();
        ASSERT_EQ(VariantCopy(other, held), S_OK);
        EXPECT_EQ(object.references, 3u);
        ASSERT_EQ(VariantCopy(other, text), S_OK);
        EXPECT_EQ(object.references, 2u);
        ASSERT_EQ(VariantClear(held), S_OK);
        EXPECT_EQ(held->vt, VT_EMPTY);
        EXPECT_EQ(object.references, 1u);
    }
    Value no_text(VT_BSTR);
    ASSERT_EQ(VariantCopy(copy, no_text), S_OK);
    EXPECT_EQ(copy->vt, VT_BSTR);
    EXPECT_EQ(SysStringLen(copy->bstrVal), 0u);
}

TEST(VariantLife, WhatPointsElsewhereIsCopiedAsAPointerOrFollowed) {
    LONG number = 7;
    Value inner(VT_BYREF | VT_I4);
    inner->plVal = &number;
    Value outer(VT_BYREF | VT_VARIANT);
    outer->pvarVal = inner;

    Value copy;
    ASSERT_EQ(VariantCopy(copy, inner), S_OK);
    EXPECT_EQ(copy->vt, VT_BYREF | VT_I4);
    EXPECT_EQ(copy->plVal, &number);
    ASSERT_EQ(VariantCopyInd(copy, inner), S_OK);
    EXPECT_EQ(copy.Shown(), "7");
    ASSERT_EQ(VariantCopyInd(copy, outer), S_OK);
    EXPECT_EQ(copy->vt, VT_I4);
    EXPECT_EQ(Converted(outer, VT_BSTR), "7");
    ASSERT_EQ(VariantCopyInd(inner, inner), S_OK);
    EXPECT_EQ(inner->vt, VT_I4);

    Value deeper(VT_BYREF | VT_VARIANT);
    deeper->pvarVal = outer;
    EXPECT_EQ(VariantCopyInd(copy, deeper), E_INVALIDARG);
    ASSERT_EQ(VariantClear(deeper), S_OK);
    EXPECT_EQ(outer->vt, VT_BYREF | VT_VARIANT);
}

TEST(VariantLife, KindsThatAreNoneAreRefused) {
    for (const VARTYPE kind :
         {15, 24, 25, 30, 37, 65, 0x1003, 0x2000, 0x4000, 0x4001, 0x400F, 0x8003, 0xFFFF}) {
        SCOPED_TRACE(kind);
        Value bad(kind), target(VT_I4, 5), number(VT_I4, 1);
        EXPECT_EQ(VariantClear(bad), DISP_E_BADVARTYPE);
        EXPECT_EQ(VariantCopy(target, bad), DISP_E_BADVARTYPE);
        EXPECT_EQ(VariantCopy(bad, number), DISP_E_BADVARTYPE);
        EXPECT_EQ(Converted(bad, VT_I4), "bad kind");
        EXPECT_EQ(Converted(number, kind), "bad kind");
        EXPECT_EQ(target.Shown(), "5");
    }
    for (const int kind :
         {int{VT_RECORD}, VT_ARRAY | VT_I4, VT_BYREF | VT_I4, int{VT_VARIANT}, int{VT_ERROR}}) {
        Value number(VT_I4, 1);
        EXPECT_EQ(Converted(number, static_cast<VARTYPE>(kind)), "mismatch") << kind;
    }
}

TEST(VariantConversion, TargetMayBeTheSourceAndStaysAfterAFailure) {
    Value value = Text(L"17");
    ASSERT_EQ(VariantChangeType(value, value, 0, VT_I4), S_OK);
    EXPECT_EQ(value->vt, VT_I4);
    EXPECT_EQ(value.Shown(), "17");
    ASSERT_EQ(VariantChangeType(value, value, 0, VT_BSTR), S_OK);
    EXPECT_EQ(value.Shown(), "17");
    EXPECT_EQ(VariantChangeType(value, value, 0, VT_DATE), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(value.Shown(), "17");

    Value other = Text(L"no number");
    EXPECT_EQ(VariantChangeType(value, other, 0, VT_I4), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(value.Shown(), "17");
}

TEST(VariantConversion, ObjectsChangeIntoEachOther) {
    Counted full(true), bare(false);
    {
        Value dispatch(VT_DISPATCH), unknown(VT_UNKNOWN), result;
        dispatch->pdispVal = &full;
        unknown->punkVal = &bare;
        full.AddRef();
        bare.AddRef();
        ASSERT_EQ(VariantChangeType(result, dispatch, 0, VT_UNKNOWN), S_OK);
        EXPECT_EQ(full.references, 3u);
        EXPECT_EQ(VariantChangeType(result, unknown, 0, VT_DISPATCH), E_NOINTERFACE);
        EXPECT_EQ(Converted(dispatch, VT_I4), "mismatch");
        EXPECT_EQ(Converted(unknown, VT_BSTR), "mismatch");
        EXPECT_EQ(Converted(dispatch, VT_EMPTY), "empty");
    }
    EXPECT_EQ(full.references, 1u);
    EXPECT_EQ(bare.references, 1u);
    Value none(VT_DISPATCH), result;
    ASSERT_EQ(VariantChangeType(result, none, 0, VT_UNKNOWN), S_OK);
    EXPECT_EQ(result->punkVal, nullptr);
}

TEST(VariantConversion, KindsWithoutAValue) {
    auto rows = Table(
        Row{Value(),
            {{VT_I4, "0"},
             {VT_R8, "0"},
             {VT_BOOL, "0"},
             {VT_BSTR, ""},
             {VT_NULL, "null"},
             {VT_DATE, "0"},
             {VT_CY, "0"},
             {VT_DECIMAL, "0e-0"},
             {VT_ERROR, "mismatch"},
             {VT_DISPATCH, "mismatch"}}},
        Row{Value(VT_NULL),
            {{VT_I4, "mismatch"}, {VT_BSTR, "mismatch"}, {VT_EMPTY, "mismatch"}, {VT_NULL, "null"}}},
        Row{Value(VT_ERROR, 0x80004005),
            {{VT_ERROR, "0x80004005"}, {VT_I4, "mismatch"}, {VT_BSTR, "mismatch"}, {VT_EMPTY, "mismatch"}}},
        Row{Value(VT_BSTR),
            {{VT_I4, "mismatch"}, {VT_BOOL, "mismatch"}, {VT_BSTR, ""}, {VT_EMPTY, "empty"}}});
    Check(rows);
}

TEST(VariantConversion, WholeNumbersKeepTheirValueOrOverflow) {
    auto rows =
        Table(Row{Value(VT_I4, 70000),
                  {{VT_I1, "overflow"},
                   {VT_I2, "overflow"},
                   {VT_UI2, "overflow"},
                   {VT_I8, "70000"},
                   {VT_UINT, "70000"},
                   {VT_R4, "70000"},
                   {VT_CY, "700000000"},
                   {VT_BSTR, "70000"},
                   {VT_DECIMAL, "70000e-0"},
                   {VT_BOOL, "-1"},
                   {VT_DATE, "70000"}}},
              Row{Value(VT_I4, -1),
                  {{VT_UI1, "overflow"},
                   {VT_UI2, "overflow"},
                   {VT_UI8, "overflow"},
                   {VT_I1, "-1"},
                   {VT_DECIMAL, "-1e-0"},
                   {VT_BSTR, "-1"}}},
              // A kind of the same width takes the bits as they are.
              Row{Value(VT_I4, -1), {{VT_UI4, "4294967295"}, {VT_UINT, "4294967295"}, {VT_INT, "-1"}}},
              Row{Value(VT_UI4, 3000000000),
                  {{VT_I4, "-1294967296"}, {VT_I8, "3000000000"}, {VT_DATE, "overflow"}}},
              Row{Value(VT_I2, -5), {{VT_UI2, "65531"}, {VT_UI4, "overflow"}}},
              Row{Value(VT_UI2, 40000), {{VT_I2, "-25536"}, {VT_I4, "40000"}, {VT_I1, "overflow"}}},
              Row{Value(VT_I1, -3), {{VT_UI1, "253"}, {VT_UI2, "overflow"}, {VT_I8, "-3"}}},
              Row{Value(VT_UI1, 200), {{VT_I1, "-56"}, {VT_I2, "200"}, {VT_BSTR, "200"}}},
              Row{Value(VT_I8, 1LL << 40),
                  {{VT_I4, "overflow"}, {VT_UI4, "overflow"}, {VT_R8, "1.09951162778e+12"}}},
              Row{Value(VT_UI8, -1),
                  {{VT_I8, "-1"},
                   {VT_I4, "overflow"},
                   {VT_CY, "overflow"},
                   {VT_BSTR, "18446744073709551615"},
                   {VT_DECIMAL, "18446744073709551615e-0"}}},
              Row{Value(VT_I4, 2958465), {{VT_DATE, "2958465"}}},
              Row{Value(VT_I4, 2958466), {{VT_DATE, "overflow"}}},
              Row{Value(VT_I4, -657435), {{VT_DATE, "overflow"}}});
    Check(rows);
}

TEST(VariantConversion, TruthIsMinusOne) {
    auto rows = Table(
        Row{Value(VT_BOOL, -1),
            {{VT_I4, "-1"},
             {VT_UI1, "255"},
             {VT_UI8, "18446744073709551615"},
             {VT_R8, "-1"},
             {VT_CY, "-10000"},
             {VT_BSTR, "-1"}}},
        Row{Value(VT_BOOL, 0), {{VT_I4, "0"}, {VT_BSTR, "0"}}}, Row{R8(0.25), {{VT_BOOL, "-1"}}},
        Row{R8(-0.0), {{VT_BOOL, "0"}}}, Row{Value(VT_CY, 1), {{VT_BOOL, "-1"}}},
        Row{Text(L"True"), {{VT_BOOL, "-1"}, {VT_I4, "mismatch"}}}, Row{Text(L"FALSE"), {{VT_BOOL, "0"}}},
        Row{Text(L"#TRUE#"), {{VT_BOOL, "-1"}}}, Row{Text(L"#true#"), {{VT_BOOL, "mismatch"}}},
        Row{Text(L" True"), {{VT_BOOL, "mismatch"}}}, Row{Text(L"yes"), {{VT_BOOL, "mismatch"}}},
        Row{Text(L"0.0"), {{VT_BOOL, "0"}}}, Row{Text(L"-2"), {{VT_BOOL, "-1"}}});
    Check(rows);
    Value yes(VT_BOOL, -1), no(VT_BOOL, 0);
    EXPECT_EQ(Converted(yes, VT_BSTR, VARIANT_ALPHABOOL), "True");
    EXPECT_EQ(Converted(no, VT_BSTR, VARIANT_ALPHABOOL), "False");
}

TEST(VariantConversion, FractionsRoundHalfToEven) {
    struct Half {
        double number;
        const char* rounded;
    };
    for (const Half& half : {Half{0.5, "0"},
                             {1.5, "2"},
                             {2.5, "2"},
                             {3.5, "4"},
                             {-0.5, "0"},
                             {-2.5, "-2"},
                             {-3.5, "-4"},
                             {0.6, "1"},
                             {2.4999, "2"}}) {
        SCOPED_TRACE(half.number);
        Value real = R8(half.number), real4 = R4(static_cast<float>(half.number));
        Value currency(VT_CY, std::llround(half.number * 10000));
        Value decimal =
            Dec(half.number < 0, 4, static_cast<ULONGLONG>(std::llround(std::fabs(half.number) * 10000)));
        wchar_t digits[32];
        std::swprintf(digits, 32, L"%g", half.number);
        Value text = Text(digits);
        for (Value* source : {&real, &real4, &currency, &decimal, &text}) {
            for (const VARTYPE kind : {VT_I2, VT_I4, VT_INT})
                EXPECT_EQ(Converted(*source, kind), half.rounded);
        }
    }
    auto rows = Table(
        Row{R8(127.5), {{VT_I1, "overflow"}, {VT_UI1, "128"}}}, Row{R8(-128.5), {{VT_I1, "-128"}}},
        Row{R8(255.5), {{VT_UI1, "overflow"}, {VT_I2, "256"}}}, Row{R8(32767.5), {{VT_I2, "overflow"}}},
        Row{R8(-32768.5), {{VT_I2, "-32768"}}}, Row{R8(2147483647.4), {{VT_I4, "2147483647"}}},
        Row{R8(2147483647.5), {{VT_I4, "overflow"}, {VT_UI4, "2147483648"}}}, Row{R8(-0.5), {{VT_UI4, "0"}}},
        Row{R8(-0.6), {{VT_UI4, "overflow"}}},
        Row{R8(1e20), {{VT_I8, "overflow"}, {VT_UI8, "overflow"}, {VT_CY, "overflow"}}},
        Row{R8(std::numeric_limits<double>::infinity()),
            {{VT_I4, "overflow"}, {VT_R4, "overflow"}, {VT_DECIMAL, "overflow"}, {VT_BSTR, "INF"}}},
        Row{R8(3.5e38), {{VT_R4, "overflow"}}}, Row{R8(1e-300), {{VT_R4, "0"}, {VT_DECIMAL, "0e-0"}}},
        Row{Text(L"2.5000000000000000000001"), {{VT_I4, "3"}}},
        Row{Text(L"18446744073709551615.4"), {{VT_UI8, "18446744073709551615"}, {VT_I8, "overflow"}}},
        Row{R8(0.00025), {{VT_CY, "3"}}}, Row{R8(0.00015), {{VT_CY, "1"}}},
        Row{R8(-3.14159), {{VT_CY, "-31416"}}}, Row{R8(123456789012345.0), {{VT_CY, "1234567890123450000"}}});
    Check(rows);
}

TEST(VariantConversion, NumbersAsText) {
    auto rows = Table(
        Row{R8(0.1), {{VT_BSTR, "0.1"}}}, Row{R8(1.0 / 3), {{VT_BSTR, "0.333333333333333"}}},
        Row{R8(0.1 + 0.2), {{VT_BSTR, "0.3"}}}, Row{R8(-0.0), {{VT_BSTR, "0"}}},
        Row{R8(100000000000000), {{VT_BSTR, "100000000000000"}}}, Row{R8(1e15), {{VT_BSTR, "1E+15"}}},
        Row{R8(1234567890123456), {{VT_BSTR, "1.23456789012346E+15"}}},
        Row{R8(-1e308), {{VT_BSTR, "-1E+308"}}}, Row{R8(0.0001), {{VT_BSTR, "0.0001"}}},
        Row{R8(0.000015), {{VT_BSTR, "1.5E-05"}}}, Row{R4(0.1f), {{VT_BSTR, "0.1"}, {VT_DECIMAL, "1e-1"}}},
        Row{R4(16777216), {{VT_BSTR, "1.677722E+07"}}}, Row{R4(33.3f), {{VT_BSTR, "33.3"}}},
        Row{R4(1234567.75f), {{VT_BSTR, "1234568"}}},
        Row{Value(VT_CY, 12345), {{VT_BSTR, "1.2345"}, {VT_DECIMAL, "12345e-4"}}},
        Row{Value(VT_CY, -5000), {{VT_BSTR, "-0.5"}}}, Row{Value(VT_CY, 20000), {{VT_BSTR, "2"}}},
        Row{Value(VT_CY, std::numeric_limits<LONGLONG>::min()), {{VT_BSTR, "-922337203685477.5808"}}},
        Row{Dec(true, 3, 1500), {{VT_BSTR, "-1.5"}, {VT_CY, "-15000"}, {VT_R8, "-1.5"}}},
        Row{Dec(false, 28, 1), {{VT_BSTR, "0.0000000000000000000000000001"}, {VT_I4, "0"}}},
        Row{Dec(false, 0, ~0ull, ~0u), {{VT_BSTR, "79228162514264337593543950335"}, {VT_I8, "overflow"}}},
        Row{Dec(false, 29, 1), {{VT_I4, "invalid"}, {VT_R8, "invalid"}}},
        Row{R8(123456.789), {{VT_DECIMAL, "123456789e-3"}}}, Row{R8(1e29), {{VT_DECIMAL, "overflow"}}});
    Check(rows);
}

TEST(VariantConversion, TextsAsPeopleWriteNumbers) {
    struct Case {
        const wchar_t* text;
        const char* number;
    };
    const Case cases[] = {{L" 12 ", "12"},
                          {L"\t12\r\n", "12"},
                          {L"\x00A0"
                           L"12",
                           "12"},
                          {L"+5", "5"},
                          {L"- 5", "-5"},
                          {L"5-", "-5"},
                          {L"5 +", "5"},
                          {L"+-5", "-5"},
                          {L"(5)", "-5"},
                          {L"( 5 )", "-5"},
                          {L"-(5)", "-5"},
                          {L"$5", "5"},
                          {L"5 $", "5"},
                          {L"$-5", "-5"},
                          {L"($1,234.50)", "-1234.5"},
                          {L"1,000", "1000"},
                          {L"1,,00", "100"},
                          {L"100,", "100"},
                          {L"1,000.5,5", "1000.55"},
                          {L".5", "0.5"},
                          {L"5.", "5"},
                          {L"-.5", "-0.5"},
                          {L"0001", "1"},
                          {L"1e3", "1000"},
                          {L"1.5E+1", "15"},
                          {L"5e-1", "0.5"},
                          {L"(1e2)", "-100"},
                          {L"1,0e2", "1000"},
                          {L"12\x2003", "12"},
                          {L"--5", "mismatch"},
                          {L"-5-", "mismatch"},
                          {L"(5", "mismatch"},
                          {L"5)", "mismatch"},
                          {L"()", "mismatch"},
                          {L"-", "mismatch"},
                          {L".", "mismatch"},
                          {L",1", "mismatch"},
                          {L"$", "mismatch"},
                          {L"$$5", "mismatch"},
                          {L"1.5.5", "mismatch"},
                          {L"1 2", "mismatch"},
                          {L"12abc", "mismatch"},
                          {L"", "mismatch"},
                          {L" ", "mismatch"},
                          {L"1e", "mismatch"},
                          {L"1e+", "mismatch"},
                          {L"e3", "mismatch"},
                          {L"1 e3", "mismatch"},
                          {L"1e 3", "mismatch"},
                          {L"1e3.5", "mismatch"},
                          {L"1d3", "mismatch"},
                          {L"0x10", "mismatch"},
                          {L"12%", "mismatch"},
                          {L"\x0661", "mismatch"},
                          {L"\x20AC"
                           L"5",
                           "mismatch"},
                          {L"nan", "mismatch"},
                          {L"infinity", "mismatch"},
                          {L"1.8e308", "overflow"},
                          {L"1e99999", "overflow"},
                          {L"1e-400", "0"},
                          {L"0e99999", "0"},
                          {L"&H10", "16"},
                          {L"&h1f", "31"},
                          {L" &O17 ", "15"},
                          {L"&H80000000", "-2147483648"},
                          {L"&H", "mismatch"},
                          {L"&HG", "mismatch"},
                          {L"&o8", "mismatch"},
                          {L"&17", "mismatch"},
                          {L"&H 1", "mismatch"}};
    for (const Case& c : cases) {
        Value text = Text(c.text);
        EXPECT_EQ(Converted(text, VT_R8), c.number) << text.Shown();
    }
    auto rows = Table(
        Row{Text(L"&HFF"), {{VT_I1, "-1"}, {VT_UI1, "255"}, {VT_I2, "255"}}},
        Row{Text(L"&HFFFF"), {{VT_I1, "overflow"}, {VT_I2, "-1"}, {VT_I4, "65535"}}},
        Row{Text(L"&HFFFFFFFF"), {{VT_I2, "overflow"}, {VT_I4, "-1"}, {VT_I8, "4294967295"}}},
        Row{Text(L"&H10000000000000000"), {{VT_I8, "overflow"}}},
        Row{Text(std::wstring(L"12\0"
                              L"34",
                              5)),
            {{VT_I4, "12"}}},
        Row{Text(L"2147483648"), {{VT_I4, "overflow"}, {VT_UI4, "2147483648"}, {VT_CY, "21474836480000"}}},
        Row{Text(L"-1"), {{VT_UI4, "overflow"}, {VT_UI1, "overflow"}, {VT_I1, "-1"}}},
        Row{Text(L"79228162514264337593543950335"),
            {{VT_DECIMAL, "4294967295*2^64+18446744073709551615e-0"}}},
        Row{Text(L"79228162514264337593543950336"), {{VT_DECIMAL, "overflow"}}},
        Row{Text(L"1.50"), {{VT_DECIMAL, "15e-1"}}},
        Row{Text(L"1e28"), {{VT_DECIMAL, "542101086*2^64+4477988020393345024e-0"}}},
        Row{Text(L"1.23456"), {{VT_CY, "12346"}, {VT_R4, "1.23456"}}},
        Row{Text(std::wstring(100000, L'0') + L"12"), {{VT_I4, "12"}}},
        Row{Text(std::wstring(100000, L'9')), {{VT_I4, "overflow"}, {VT_R8, "overflow"}}});
    Check(rows);
}

TEST(VariantConversion, DatesAsText) {
    auto rows = Table(
        Row{R8(0, VT_DATE), {{VT_BSTR, "12:00:00 AM"}}}, Row{R8(0.75, VT_DATE), {{VT_BSTR, "6:00:00 PM"}}},
        Row{R8(2, VT_DATE), {{VT_BSTR, "1/1/1900"}, {VT_I4, "2"}}},
        Row{R8(36526.5, VT_DATE), {{VT_BSTR, "1/1/2000 12:00:00 PM"}, {VT_CY, "365265000"}}},
        Row{R8(-1.25, VT_DATE), {{VT_BSTR, "12/29/1899 6:00:00 AM"}, {VT_R8, "-1.25"}}},
        Row{R8(45327.588298611, VT_DATE), {{VT_BSTR, "2/5/2024 2:07:09 PM"}}},
        Row{R8(36526.9999999, VT_DATE), {{VT_BSTR, "1/2/2000 12:00:00 AM"}}},
        Row{R8(2958465, VT_DATE), {{VT_BSTR, "12/31/9999"}}},
        Row{R8(2958466, VT_DATE), {{VT_BSTR, "invalid"}}},
        Row{R8(-657434.5, VT_DATE), {{VT_BSTR, "1/1/100 12:00:00 PM"}}},
        Row{R8(-657435, VT_DATE), {{VT_BSTR, "invalid"}}}, Row{R8(1e300), {{VT_DATE, "overflow"}}});
    Check(rows);
}

TEST(VariantConversion, TextsAsPeopleWriteDates) {
    struct Case {
        const wchar_t* text;
        const char* date;
    };
    const Case cases[] = {{L"1/2/2000", "36527"},
                          {L" 1 / 2 / 2000 ", "36527"},
                          {L"1-2-2000", "36527"},
                          {L"2000-01-02", "36527"},
                          {L"2000/1/2", "36527"},
                          {L"1 2 2000", "36527"},
                          {L"1,2,2000", "36527"},
                          {L"1/2/00", "36527"},
                          {L"1/2/49", "54425"},
                          {L"1/2/50", "18265"},
                          {L"31/12/2000", "36891"},
                          {L"13/12/14", "41622"},
                          {L"14/13/12", "41986"},
                          {L"2000/13/1", "36538"},
                          {L"1/2000", "36526"},
                          {L"1/1/100", "-657434"},
                          {L"Jan 2, 2000", "36527"},
                          {L"2 january 2000", "36527"},
                          {L"2-JAN-00", "36527"},
                          {L"2000 Jan 2", "36527"},
                          {L"Jan 2000", "36526"},
                          {L"Sunday, January 2, 2000", "36527"},
                          {L"2/29/2000", "36585"},
                          {L"3:04 PM", "0.627777777778"},
                          {L"3:04:05", "0.127835648148"},
                          {L"3 PM", "0.625"},
                          {L"12 AM", "0"},
                          {L"12pm", "0.5"},
                          {L"23.59", "0.999305555556"},
                          {L"1/2/2000 3:04", "36527.1277778"},
                          {L"3:04 1/2/2000", "36527.1277778"},
                          {L"12/29/1899 6:00", "-1.25"},
                          {L"1/2/2000 15:04 PM", "36527.6277778"},
                          {L"2/29/2001", "mismatch"},
                          {L"2/30/2000", "mismatch"},
                          {L"0/2/2000", "mismatch"},
                          {L"99/99/99", "mismatch"},
                          {L"1/2/10000", "mismatch"},
                          {L"20000102", "mismatch"},
                          {L"36526", "mismatch"},
                          {L"12", "mismatch"},
                          {L"1//2/2000", "mismatch"},
                          {L"1/2/2000x", "mismatch"},
                          {L"1/2/3/4", "mismatch"},
                          {L"-1/2/2000", "mismatch"},
                          {L"24:00", "mismatch"},
                          {L"3:60", "mismatch"},
                          {L"1:2:3:4", "mismatch"},
                          {L"1:", "mismatch"},
                          {L"3:04p", "mismatch"},
                          {L"AM", "mismatch"},
                          {L"Foo 2, 2000", "mismatch"},
                          {L"", "mismatch"},
                          {L"/", "mismatch"},
                          {L"2000-01-02T03:04:05", "mismatch"},
                          {L"1.2.2000", "mismatch"}};
    for (const Case& c : cases) {
        Value text = Text(c.text);
        EXPECT_EQ(Converted(text, VT_DATE), c.date) << text.Shown();
    }
}

TEST(VariantConversion, NumbersHaveTheSeparatorOfTheEnvironment) {
    const char* decimal = std::getenv("BV_TEST_DECIMAL");  // what its locale has, when it isn't "."
    const bool comma = decimal && *decimal == ',';
    auto rows = Table(Row{R8(2.5), {{VT_BSTR, comma ? "2,5" : "2.5"}}},
                      Row{Value(VT_CY, -12345), {{VT_BSTR, comma ? "-1,2345" : "-1.2345"}}},
                      Row{Text(L"2,5"), {{VT_R8, comma ? "2.5" : "25"}}},
                      Row{Text(L"1.000,5"), {{VT_DECIMAL, comma ? "10005e-1" : "10005e-4"}}});
    Check(rows);
}

}  // namespace
