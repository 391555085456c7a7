// Texts of the string table, the text conversions, the error object.
#include <cstring>

#include "com/refusal.h"

#include "support/doubles.h"

namespace bv::test {
namespace {

/// This program carries the string table too.
class MessagesTest : public testing::Test {
protected:
    MessagesTest() { SetModuleInstance(GetModuleHandleW(nullptr)); }
    ~MessagesTest() { SetModuleInstance(nullptr); }
};

TEST_F(MessagesTest, TextsOfTheTable) {
    char text[kTextLimit];
    const std::string negative = "This value cannot be negative.";
    EXPECT_EQ(LoadMessage(ModuleInstance(), 40, text), int(negative.size()));
    EXPECT_EQ(text, negative);
    wchar_t wide[kTextLimit];
    EXPECT_EQ(LoadMessageW(ModuleInstance(), 40, wide), int(negative.size()));
    for (const int id : {0, -1, -40, 2, 34, 1259, 0xFFFF, 0x10028, 0x7FFFFFFF}) {
        SCOPED_TRACE(id);
        text[0] = 'x';
        wide[0] = L'x';
        EXPECT_EQ(LoadMessage(ModuleInstance(), id, text), 0);
        EXPECT_EQ(text[0], 0);
        EXPECT_EQ(LoadMessageW(ModuleInstance(), id, wide), 0);
        EXPECT_EQ(wide[0], 0);
    }
}

TEST_F(MessagesTest, ATextThatDoesntFitBecomesEmpty) {
    for (const bool ascii : {true, false}) {
        char narrow[12] = "zzzzzzzzzzz";
        const wchar_t* const text =
            ascii ? L"12345678" : L"123456\xE9";  // 8 bytes, where two make the last letter
        const int length = ToNarrow(narrow, text, 9);
        EXPECT_EQ(length, int(std::strlen(narrow)));
        EXPECT_GE(length, 7);
        EXPECT_EQ(ToNarrow(narrow, text, length), 0) << "no room for the end";
        EXPECT_EQ(narrow[0], 0);
        EXPECT_EQ(narrow[10], 'z');
    }
    char narrow[513];
    EXPECT_EQ(ToNarrow(narrow, std::wstring(600, L'x').c_str(), 512), 0);
    EXPECT_EQ(ToNarrow(narrow, std::wstring(511, L'x').c_str(), 512), 511);
    EXPECT_EQ(ToNarrow(narrow, nullptr, 512), 0);
    wchar_t wide[9] = L"zzzzzzzz";
    EXPECT_EQ(ToWide("1234567", wide, 8), 7);
    EXPECT_EQ(ToWide("12345678", wide, 8), 0);
    EXPECT_EQ(wide[0], 0);
    EXPECT_EQ(wide[8], 0);
    EXPECT_EQ(ToWide(nullptr, wide, 8), 0);
}

TEST_F(MessagesTest, ARefusalLeavesItsTextWithTheThread) {
    SetErrorInfo(0, nullptr);
    EXPECT_EQ(RaiseMessage(clsid::PropertyOutput, 40), E_FAIL);
    Refusal refusal = TakeRefusal();
    EXPECT_EQ(refusal.text, L"This value cannot be negative.");
    EXPECT_EQ(refusal.source, L"BVSchema.Property.1");
    EXPECT_EQ(refusal.iid, GUID{});
    EXPECT_EQ(TakeRefusal().text, L"") << "it was taken";

    RaiseMessage(clsid::Map, 40);
    EXPECT_EQ(RaiseError(kNoClass, "second", kIid<IProperty>, E_ABORT), E_ABORT);
    refusal = TakeRefusal();
    EXPECT_EQ(refusal.text, L"second") << "it replaced the first";
    EXPECT_EQ(refusal.source, L"");
    EXPECT_EQ(refusal.iid, kIid<IProperty>);
    EXPECT_EQ(RaiseError(clsid::Map, nullptr, GUID{}, 0), DISP_E_EXCEPTION);
    EXPECT_EQ(TakeRefusal().source, L"BVSchema.Map.1");
    EXPECT_EQ(RaiseMessage(clsid::Map, 9), E_FAIL) << "an id that isn't in the table";
    EXPECT_EQ(TakeRefusal().text, L"");
}

}  // namespace
}  // namespace bv::test
