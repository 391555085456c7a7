// VARIANT: life cycle and conversion. Every expected value here holds on both platforms.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "support/doubles.h"
#include "support/names.h"

namespace {

using bv::test::Fake;
using bv::test::Split;
using bv::test::Value;

Value Of(VARTYPE kind, LONGLONG bits = 0) {
    Value value;
    value.get().llVal = bits;
    value.get().vt = kind;
    return value;
}
Value Text(const std::wstring& text) { return bv::test::Str(text); }

template <typename... Args>
std::string Format(const char* format, Args... args) {
    char buffer[128];
    std::snprintf(buffer, sizeof buffer, format, args...);
    return buffer;
}

/// A value without its kind; a decimal as digits "e" minus its scale.
std::string Shown(const VARIANT& value) {
    switch (value.vt) {
        case VT_EMPTY:
            return "empty";
        case VT_NULL:
            return "null";
        case VT_I1:
            return Format("%d", static_cast<signed char>(value.cVal));
        case VT_UI1:
            return Format("%u", value.bVal);
        case VT_I2:
        case VT_BOOL:
            return Format("%d", value.iVal);
        case VT_UI2:
            return Format("%u", value.uiVal);
        case VT_I4:
        case VT_INT:
            return Format("%d", static_cast<int>(value.lVal));
        case VT_UI4:
        case VT_UINT:
            return Format("%u", static_cast<unsigned>(value.ulVal));
        case VT_I8:
        case VT_CY:
            return std::to_string(value.llVal);
        case VT_UI8:
            return std::to_string(value.ullVal);
        case VT_R4:
            return Format("%.7g", static_cast<double>(value.fltVal));
        case VT_R8:
        case VT_DATE:
            return Format("%.12g", value.dblVal);
        case VT_ERROR:
            return Format("0x%08X", static_cast<unsigned>(value.scode));
        case VT_DECIMAL: {
            const std::string high = value.decVal.Hi32 ? std::to_string(value.decVal.Hi32) + "*2^64+" : "";
            return (value.decVal.sign ? "-" : "") + high + std::to_string(value.decVal.Lo64) + "e-" +
                   std::to_string(value.decVal.scale);
        }
        case VT_BSTR: {
            std::string text;
            for (UINT i = 0; i < SysStringLen(value.bstrVal); ++i)
                text += static_cast<char>(value.bstrVal[i]);
            return text;
        }
        default:
            return Format("kind %u", value.vt);
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
std::string Converted(const Value& source, VARTYPE kind, USHORT flags = 0) {
    Value result;
    const HRESULT status = VariantChangeType(result.Put(), const_cast<VARIANT*>(&source.get()), flags, kind);
    if (FAILED(status)) return StatusName(status);
    EXPECT_EQ(result.kind(), kind);
    return Shown(result.get());
}

// --- Tables of conversions

constexpr struct {
    const char* name;
    VARTYPE kind;
} kKinds[] = {
#define KIND(name) \
    { #name, VT_##name }
    KIND(EMPTY), KIND(NULL), KIND(I1),   KIND(UI1),   KIND(I2),      KIND(UI2),  KIND(I4),
    KIND(UI4),   KIND(I8),   KIND(UI8),  KIND(INT),   KIND(UINT),    KIND(R4),   KIND(R8),
    KIND(CY),    KIND(DATE), KIND(BOOL), KIND(ERROR), KIND(DECIMAL), KIND(BSTR), KIND(DISPATCH),
#undef KIND
};

/// "KIND value": takes the kind off.
VARTYPE TakeKind(std::string& text) {
    const std::string name = text.substr(0, text.find(' '));
    text.erase(0, name.size() + 1);
    for (const auto& known : kKinds)
        if (name == known.name) return known.kind;
    ADD_FAILURE() << "no kind \"" << name << '"';
    return VT_EMPTY;
}

/// "KIND value", the value as Shown() has it.
Value Parsed(std::string text) {
    const VARTYPE kind = TakeKind(text);
    Value holder = Of(kind);
    VARIANT& value = holder.get();
    if (kind == VT_BSTR) return Text(std::wstring(text.begin(), text.end()));
    if (kind == VT_R4) {
        value.fltVal = std::strtof(text.c_str(), nullptr);
    } else if (kind == VT_R8 || kind == VT_DATE) {
        value.dblVal = std::strtod(text.c_str(), nullptr);
    } else if (kind == VT_DECIMAL) {
        const bool negative = text[0] == '-';
        char* rest = &text[negative];
        ULONG high = 0;
        if (char* const product = std::strstr(rest, "*2^64+")) {
            high = static_cast<ULONG>(std::strtoul(rest, nullptr, 10));
            rest = product + 6;
        }
        value.decVal.Lo64 = std::strtoull(rest, &rest, 10);
        value.decVal.Hi32 = high;
        value.decVal.scale = static_cast<BYTE>(std::atoi(rest + 2));
        value.decVal.sign = negative ? DECIMAL_NEG : 0;
        value.vt = VT_DECIMAL;  // it lies below the sign
    } else {
        value.llVal = static_cast<LONGLONG>(std::strtoull(text.c_str(), nullptr, 0));
    }
    return holder;
}

/// A value for each line, and what it gives: "KIND value: KIND result|KIND result".
void CheckValues(const char* table) {
    for (const std::string& line : Split(table, "\n")) {
        const size_t end = line.find(": ");
        const Value source = Parsed(line.substr(0, end));
        for (std::string& expected : Split(line.substr(end + 2), "|")) {
            const VARTYPE kind = TakeKind(expected);
            EXPECT_EQ(Converted(source, kind), expected) << "to kind " << kind << ", line " << line;
        }
    }
}
/// From one kind to another, values with the same result behind each other:
/// "value;value=result|value=result".
void CheckChanges(const char* from, VARTYPE to, const char* table) {
    for (const std::string& line : Split(table, "\n")) {
        for (const std::string& group : Split(line, "|")) {
            const size_t end = group.find('=');
            for (const std::string& value : Split(group.substr(0, end), ";"))
                EXPECT_EQ(Converted(Parsed(from + (' ' + value)), to), group.substr(end + 1))
                    << '"' << value << '"';
        }
    }
}

TEST(VariantLife, TextsAreDoubledAndObjectsCounted) {
    Value text = Text(std::wstring(L"a\0b", 3)), copy;
    for (VARIANT* source : {&text.get(), &copy.get()}) {  // from another, from itself
        ASSERT_EQ(VariantCopy(&copy.get(), source), S_OK);
        EXPECT_NE(copy.get().bstrVal, text.get().bstrVal);
        EXPECT_EQ(Shown(copy.get()), std::string("a\0b", 3));
    }
    Fake<IDispatch> object;
    Value held = bv::test::Obj(&object), other = Text(L"old");
    ASSERT_EQ(VariantCopy(&other.get(), &held.get()), S_OK);
    EXPECT_EQ(object.references(), 3u);
    ASSERT_EQ(VariantCopy(&other.get(), &text.get()), S_OK);
    EXPECT_EQ(object.references(), 2u);
    ASSERT_EQ(VariantClear(&held.get()), S_OK);
    EXPECT_EQ(held.kind(), VT_EMPTY);
    EXPECT_EQ(object.references(), 1u);

    Value no_text = Of(VT_BSTR);
    ASSERT_EQ(VariantCopy(&copy.get(), &no_text.get()), S_OK);
    EXPECT_EQ(copy.kind(), VT_BSTR);
    EXPECT_EQ(SysStringLen(copy.get().bstrVal), 0u);
}

TEST(VariantLife, WhatPointsElsewhereIsCopiedAsAPointerOrFollowed) {
    LONG number = 7;
    VARIANT inner, outer, deeper;
    for (VARIANT* value : {&inner, &outer, &deeper}) VariantInit(value);
    inner.vt = VT_BYREF | VT_I4;
    inner.plVal = &number;
    outer.vt = deeper.vt = VT_BYREF | VT_VARIANT;
    outer.pvarVal = &inner;
    deeper.pvarVal = &outer;

    Value copy;
    ASSERT_EQ(VariantCopy(&copy.get(), &inner), S_OK);
    EXPECT_EQ(copy.kind(), VT_BYREF | VT_I4);
    EXPECT_EQ(copy.get().plVal, &number);
    for (VARIANT* source : {&inner, &outer}) {
        ASSERT_EQ(VariantCopyInd(&copy.get(), source), S_OK);
        EXPECT_EQ(copy, bv::test::I4(7));
    }
    ASSERT_EQ(VariantChangeType(&copy.get(), &outer, 0, VT_BSTR), S_OK);
    EXPECT_EQ(copy, Text(L"7"));
    EXPECT_EQ(VariantCopyInd(&copy.get(), &deeper), E_INVALIDARG);
    ASSERT_EQ(VariantClear(&deeper), S_OK);
    EXPECT_EQ(outer.vt, VT_BYREF | VT_VARIANT);
    ASSERT_EQ(VariantCopyInd(&inner, &inner), S_OK);
    EXPECT_EQ(inner.vt, VT_I4);
}

TEST(VariantLife, KindsThatAreNoneAreRefused) {
    const Value number = bv::test::I4(1);
    for (const VARTYPE kind :
         {15, 24, 25, 30, 37, 65, 0x1003, 0x2000, 0x4000, 0x4001, 0x400F, 0x8003, 0xFFFF}) {
        SCOPED_TRACE(kind);
        VARIANT bad, target = number.get(), source = number.get();
        VariantInit(&bad);
        bad.vt = kind;
        EXPECT_EQ(VariantClear(&bad), DISP_E_BADVARTYPE);
        EXPECT_EQ(VariantCopy(&target, &bad), DISP_E_BADVARTYPE);
        EXPECT_EQ(VariantCopy(&bad, &source), DISP_E_BADVARTYPE);
        EXPECT_EQ(VariantChangeType(&target, &bad, 0, VT_I4), DISP_E_BADVARTYPE);
        EXPECT_EQ(Converted(number, kind), "bad kind");
        EXPECT_EQ(target.lVal, 1);
    }
    for (const int kind :
         {int{VT_RECORD}, VT_ARRAY | VT_I4, VT_BYREF | VT_I4, int{VT_VARIANT}, int{VT_ERROR}})
        EXPECT_EQ(Converted(number, static_cast<VARTYPE>(kind)), "mismatch") << kind;
}

TEST(VariantConversion, TargetMayBeTheSourceAndStaysAfterAFailure) {
    Value value = Text(L"17"), other = Text(L"no number");
    VARIANT* const place = &value.get();
    ASSERT_EQ(VariantChangeType(place, place, 0, VT_I4), S_OK);
    EXPECT_EQ(value, bv::test::I4(17));
    ASSERT_EQ(VariantChangeType(place, place, 0, VT_BSTR), S_OK);
    EXPECT_EQ(value, Text(L"17"));
    EXPECT_EQ(VariantChangeType(place, place, 0, VT_DATE), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(VariantChangeType(place, &other.get(), 0, VT_I4), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(value, Text(L"17"));
}

TEST(VariantConversion, ObjectsChangeIntoEachOther) {
    Fake<IDispatch> full;
    Fake<IUnknown> bare;
    Value dispatch = bv::test::Obj(&full), unknown = bv::test::Unk(&bare), result;
    ASSERT_EQ(VariantChangeType(&result.get(), &dispatch.get(), 0, VT_UNKNOWN), S_OK);
    EXPECT_EQ(full.references(), 3u);
    EXPECT_EQ(VariantChangeType(&result.get(), &unknown.get(), 0, VT_DISPATCH), E_NOINTERFACE);
    EXPECT_EQ(Converted(dispatch, VT_I4), "mismatch");
    EXPECT_EQ(Converted(unknown, VT_BSTR), "mismatch");
    EXPECT_EQ(Converted(dispatch, VT_EMPTY), "empty");
    dispatch = Of(VT_DISPATCH);
    ASSERT_EQ(VariantChangeType(&result.get(), &dispatch.get(), 0, VT_UNKNOWN), S_OK);
    EXPECT_EQ(result.object(), nullptr);
}

TEST(VariantConversion, KindsWithoutAValue) {
    CheckValues(
        R"(EMPTY : I4 0|R8 0|BOOL 0|BSTR |NULL null|DATE 0|CY 0|DECIMAL 0e-0|ERROR mismatch|DISPATCH mismatch
NULL : I4 mismatch|BSTR mismatch|EMPTY mismatch|NULL null
ERROR 0x80004005: ERROR 0x80004005|I4 mismatch|BSTR mismatch|EMPTY mismatch)");
    for (const auto& [kind, expected] :
         {std::pair(VT_I4, "mismatch"), {VT_BOOL, "mismatch"}, {VT_BSTR, ""}, {VT_EMPTY, "empty"}})
        EXPECT_EQ(Converted(Of(VT_BSTR), static_cast<VARTYPE>(kind)), expected) << kind;
}

TEST(VariantConversion, WholeNumbersKeepTheirValueOrOverflow) {
    // A kind of the same width takes the bits as they are.
    CheckValues(
        R"(I4 70000: I1 overflow|I2 overflow|UI2 overflow|I8 70000|UINT 70000|R4 70000|CY 700000000|DATE 70000
I4 70000: BSTR 70000|DECIMAL 70000e-0|BOOL -1
I4 -1: UI1 overflow|UI2 overflow|UI8 overflow|I1 -1|DECIMAL -1e-0|BSTR -1|UI4 4294967295|UINT 4294967295|INT -1
UI4 3000000000: I4 -1294967296|I8 3000000000|DATE overflow
I2 -5: UI2 65531|UI4 overflow
UI2 40000: I2 -25536|I4 40000|I1 overflow
I1 -3: UI1 253|UI2 overflow|I8 -3
UI1 200: I1 -56|I2 200|BSTR 200
I8 1099511627776: I4 overflow|UI4 overflow|R8 1.09951162778e+12
UI8 18446744073709551615: I8 -1|I4 overflow|CY overflow|BSTR 18446744073709551615|DECIMAL 18446744073709551615e-0)");
    CheckChanges("I4", VT_DATE, "2958465=2958465|2958466;-657435=overflow");
}

TEST(VariantConversion, TruthIsMinusOne) {
    CheckValues(R"(BOOL -1: I4 -1|UI1 255|UI8 18446744073709551615|R8 -1|CY -10000|BSTR -1
BOOL 0: I4 0|BSTR 0
CY 1: BOOL -1
BSTR True: I4 mismatch)");
    CheckChanges("R8", VT_BOOL, "0.25=-1|-0.0=0");
    CheckChanges("BSTR", VT_BOOL, "True;#TRUE#;-2=-1|FALSE;0.0=0|#true#; True;yes=mismatch");
    EXPECT_EQ(Converted(bv::test::Bool(true), VT_BSTR, VARIANT_ALPHABOOL), "True");
    EXPECT_EQ(Converted(bv::test::Bool(false), VT_BSTR, VARIANT_ALPHABOOL), "False");
}

TEST(VariantConversion, FractionsRoundHalfToEven) {
    const std::pair<const char*, const char*> halves[] = {{"0.5", "0"},   {"1.5", "2"},  {"2.5", "2"},
                                                          {"3.5", "4"},   {"-0.5", "0"}, {"-2.5", "-2"},
                                                          {"-3.5", "-4"}, {"0.6", "1"},  {"2.4999", "2"}};
    for (const auto& [number, rounded] : halves) {
        const std::string units = std::to_string(std::llround(std::strtod(number, nullptr) * 10000));
        for (const std::string& source :
             {std::string("R8 ") + number, std::string("R4 ") + number, std::string("BSTR ") + number,
              "CY " + units, "DECIMAL " + units + "e-4"})
            for (const VARTYPE kind : {VT_I2, VT_I4, VT_INT})
                EXPECT_EQ(Converted(Parsed(source), kind), rounded) << source;
    }
    CheckValues(R"(R8 127.5: I1 overflow|UI1 128
R8 -128.5: I1 -128
R8 255.5: UI1 overflow|I2 256
R8 2147483647.5: I4 overflow|UI4 2147483648
R8 1e20: I8 overflow|UI8 overflow|CY overflow
R8 inf: I4 overflow|R4 overflow|DECIMAL overflow|BSTR INF
R8 1e-300: R4 0|DECIMAL 0e-0
BSTR 18446744073709551615.4: UI8 18446744073709551615|I8 overflow)");
    CheckChanges("R8", VT_I2, "32767.5=overflow|-32768.5=-32768");
    CheckChanges("R8", VT_UI4, "-0.5=0|-0.6=overflow");
    CheckChanges("R8", VT_CY, "0.00025=3|0.00015=1|-3.14159=-31416|123456789012345=1234567890123450000");
    CheckValues(
        "R8 2147483647.4: I4 2147483647\nR8 3.5e38: R4 overflow\nBSTR 2.5000000000000000000001: I4 3");
}

TEST(VariantConversion, NumbersAsText) {
    CheckChanges("R8", VT_BSTR,
                 R"(0.1=0.1|0.33333333333333331=0.333333333333333|0.30000000000000004=0.3|-0.0=0
100000000000000=100000000000000|1e15=1E+15|1234567890123456=1.23456789012346E+15|-1e308=-1E+308|0.0001=0.0001
0.000015=1.5E-05)");
    CheckChanges("R4", VT_BSTR, "0.1=0.1|16777216=1.677722E+07|33.3=33.3|1234567.75=1234568");
    CheckChanges("CY", VT_BSTR, "12345=1.2345|-5000=-0.5|20000=2|-9223372036854775808=-922337203685477.5808");
    CheckValues(R"(R4 0.1: DECIMAL 1e-1
R8 123456.789: DECIMAL 123456789e-3
R8 1e29: DECIMAL overflow
CY 12345: DECIMAL 12345e-4
DECIMAL -1500e-3: BSTR -1.5|CY -15000|R8 -1.5
DECIMAL 1e-28: BSTR 0.0000000000000000000000000001|I4 0
DECIMAL 4294967295*2^64+18446744073709551615e-0: BSTR 79228162514264337593543950335|I8 overflow
DECIMAL 1e-29: I4 invalid|R8 invalid)");
}

TEST(VariantConversion, TextsAsPeopleWriteNumbers) {
    CheckChanges("BSTR", VT_R8,
                 R"( 12 =12|+5;5 +;$5;5 $;5.=5|- 5;5-;+-5;(5);( 5 );-(5);$-5=-5|($1,234.50)=-1234.5
1,000;1e3;1,0e2=1000|1,,00;100,=100|1,000.5,5=1000.55|.5;5e-1=0.5|-.5=-0.5|0001=1|1.5E+1; &O17 =15|(1e2)=-100
--5;-5-;(5;5);();-;.;,1;$;$$5;1.5.5;1 2;12abc; ;1e;1e+;e3;1 e3;1e 3;1e3.5;1d3;0x10;12%;nan;infinity=mismatch
1.8e308;1e99999=overflow|1e-400;0e99999=0|&H10=16|&h1f=31|&H80000000=-2147483648|&H;&HG;&o8;&17;&H 1=mismatch)");
    for (const wchar_t* text : {L"\t12\r\n", L"\x00A0\x31\x32", L"12\x2003"})
        EXPECT_EQ(Converted(Text(text), VT_R8), "12");
    for (const wchar_t* text : {L"", L"\x0661", L"\x20AC\x35"})
        EXPECT_EQ(Converted(Text(text), VT_R8), "mismatch");
    CheckValues(R"(BSTR &HFF: I1 -1|UI1 255|I2 255
BSTR &HFFFF: I1 overflow|I2 -1|I4 65535
BSTR &HFFFFFFFF: I2 overflow|I4 -1|I8 4294967295
BSTR &H10000000000000000: I8 overflow
BSTR 2147483648: I4 overflow|UI4 2147483648|CY 21474836480000
BSTR -1: UI4 overflow|UI1 overflow|I1 -1
BSTR 79228162514264337593543950335: DECIMAL 4294967295*2^64+18446744073709551615e-0
BSTR 79228162514264337593543950336: DECIMAL overflow
BSTR 1.50: DECIMAL 15e-1
BSTR 1e28: DECIMAL 542101086*2^64+4477988020393345024e-0
BSTR 1.23456: CY 12346|R4 1.23456)");
    EXPECT_EQ(Converted(Text(std::wstring(L"12\0\x33\x34", 5)), VT_I4), "12");
    EXPECT_EQ(Converted(Text(std::wstring(100000, L'0') + L"12"), VT_I4), "12");
    for (const VARTYPE kind : {VT_I4, VT_R8})
        EXPECT_EQ(Converted(Text(std::wstring(100000, L'9')), kind), "overflow");
}

TEST(VariantConversion, DatesAsText) {
    CheckChanges("DATE", VT_BSTR, R"(0=12:00:00 AM|0.75=6:00:00 PM|2=1/1/1900|36526.5=1/1/2000 12:00:00 PM
-1.25=12/29/1899 6:00:00 AM|45327.588298611=2/5/2024 2:07:09 PM|36526.9999999=1/2/2000 12:00:00 AM
2958465=12/31/9999|-657434.5=1/1/100 12:00:00 PM|2958466;-657435=invalid)");
    CheckValues("DATE 2: I4 2\nDATE 36526.5: CY 365265000\nDATE -1.25: R8 -1.25\nR8 1e300: DATE overflow");
}

TEST(VariantConversion, TextsAsPeopleWriteDates) {
    CheckChanges("BSTR", VT_DATE,
                 R"(1/2/2000; 1 / 2 / 2000 ;1-2-2000;2000-01-02;2000/1/2;1 2 2000;1,2,2000;1/2/00=36527
Jan 2, 2000;2 january 2000;2-JAN-00;2000 Jan 2;Sunday, January 2, 2000=36527|1/2/49=54425|1/2/50=18265
31/12/2000=36891|13/12/14=41622|14/13/12=41986|2000/13/1=36538|1/2000;Jan 2000=36526|1/1/100=-657434|2/29/2000=36585
3:04 PM=0.627777777778|3:04:05=0.127835648148|3 PM=0.625|12 AM=0|12pm=0.5|23.59=0.999305555556|12/29/1899 6:00=-1.25
1/2/2000 3:04;3:04 1/2/2000=36527.1277778|1/2/2000 15:04 PM=36527.6277778
2/29/2001;2/30/2000;0/2/2000;99/99/99;1/2/10000;20000102;36526;12;1//2/2000;1/2/2000x;1/2/3/4;-1/2/2000;24:00=mismatch
3:60;1:2:3:4;1:;3:04p;AM;Foo 2, 2000;/;2000-01-02T03:04:05;1.2.2000=mismatch)");
    EXPECT_EQ(Converted(Text(L""), VT_DATE), "mismatch");
}

TEST(VariantConversion, NumbersHaveTheSeparatorOfTheEnvironment) {
    const char* decimal = std::getenv("BV_TEST_DECIMAL");  // what its locale has, when it isn't "."
    const bool comma = decimal && *decimal == ',';
    CheckChanges("R8", VT_BSTR, comma ? "2.5=2,5" : "2.5=2.5");
    CheckChanges("CY", VT_BSTR, comma ? "-12345=-1,2345" : "-12345=-1.2345");
    CheckChanges("BSTR", VT_R8, comma ? "2,5=2.5" : "2,5=25");
    CheckChanges("BSTR", VT_DECIMAL, comma ? "1.000,5=10005e-1" : "1.000,5=10005e-4");
}

}  // namespace
