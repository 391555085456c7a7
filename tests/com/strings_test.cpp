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

TEST_F(MessagesTest, ATextThatDoesntFitBecomesEmptyOrIsCut) {
    for (const wchar_t* text : {L"12345678", L"123456\xE9"}) {  // 8 bytes, where two make the last letter
        SCOPED_TRACE(int(text[6]));
        const NarrowBuffer<8> whole{std::wstring_view(text)};
        EXPECT_EQ(whole.size(), std::strlen(whole.c_str()));
        EXPECT_GE(whole.size(), 7u);
        const NarrowBuffer<6> small{std::wstring_view(text)};
        EXPECT_TRUE(small.empty());
        EXPECT_STREQ(small.c_str(), "");
        EXPECT_EQ((NarrowBuffer<6>(text, Fit::kCut).View()), "123456");
        EXPECT_GE((NarrowBuffer<7>(text, Fit::kCut).size()), 6u);
    }
    EXPECT_EQ(NarrowText(std::wstring(513, L'x')).size(), 0u);
    EXPECT_EQ(NarrowText(std::wstring(512, L'x')).size(), 512u);
    EXPECT_EQ(NarrowText(std::wstring(L"a\0b", 3)).View(), "a");
    EXPECT_EQ(ToNarrow(Value(I4(12)).get())->View(), "12");
    EXPECT_FALSE(ToNarrow(Value(Str(std::wstring(513, L'x'))).get()));
    NarrowBuffer<4> path;
    EXPECT_TRUE(path.Append("abc"));
    EXPECT_FALSE(path.Append("de"));
    EXPECT_EQ(path.View(), "abc");
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
