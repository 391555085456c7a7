// Narrow and wide text. Where a character outside the 16-bit range counts as one or two is what the
// platforms differ in.
#include <windows.h>
//
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

constexpr UINT kLatin = 1252;
constexpr UINT kCyrillic = 1251;

/// A whole text to wide characters; "error N" for a failure.
std::wstring Wide(UINT page, const std::string& text, DWORD flags = 0) {
    std::wstring result(text.size() * 2, L'#');
    SetLastError(NO_ERROR);
    const int needed =
        MultiByteToWideChar(page, flags, text.data(), static_cast<int>(text.size()), nullptr, 0);
    const int length = MultiByteToWideChar(page, flags, text.data(), static_cast<int>(text.size()),
                                           result.data(), static_cast<int>(result.size()));
    EXPECT_EQ(needed, length);
    if (length == 0) return L"error " + std::to_wstring(GetLastError());
    return result.substr(0, static_cast<std::size_t>(length));
}

/// A whole text to narrow characters, "#" for what has none; "error N" for a failure.
std::string Narrow(UINT page, const std::wstring& text, bool* used = nullptr,
                   DWORD flags = WC_NO_BEST_FIT_CHARS) {
    std::string result(text.size() * 4, '\x7F');
    BOOL used_default = FALSE;
    SetLastError(NO_ERROR);
    const int length = WideCharToMultiByte(page, flags, text.data(), static_cast<int>(text.size()),
                                           result.data(), static_cast<int>(result.size()),
                                           used ? "#" : nullptr, used ? &used_default : nullptr);
    if (used) *used = used_default != FALSE;
    if (length == 0) return "error " + std::to_string(GetLastError());
    return result.substr(0, static_cast<std::size_t>(length));
}

TEST(CodePage, Utf8GoesBothWays) {
    for (const std::wstring& text :
         {std::wstring(L"plain"), std::wstring(L"\x20AC\x0416\xE4"), std::wstring(L"a\0b", 3),
          std::wstring(L"\U0001F600 beyond"), std::wstring(L"\x7FF\x800\xFFFF")}) {
        bool used = true;
        const std::string bytes = Narrow(CP_UTF8, text, nullptr, 0);
        EXPECT_EQ(Wide(CP_UTF8, bytes, MB_ERR_INVALID_CHARS), text);
        EXPECT_EQ(Narrow(CP_UTF8, text, &used), bytes);
        EXPECT_FALSE(used);
    }
    EXPECT_EQ(Narrow(CP_UTF8, L"\x20AC\U0001F600", nullptr, 0), "\xE2\x82\xAC\xF0\x9F\x98\x80");
}

TEST(CodePage, BytesThatMeanNothingAreReplacedOrRefused) {
    struct Case {
        const char* bytes;
        const wchar_t* text;
    };
    const Case cases[] = {{"a\xFF"
                           "b",
                           L"a\xFFFD"
                           L"b"},
                          {"a\xE2\x82", L"a\xFFFD"},
                          {"\xE2\x82"
                           "a",
                           L"\xFFFD"
                           L"a"},
                          {"\xC0\x80", L"\xFFFD\xFFFD"},
                          {"\x80", L"\xFFFD"},
                          {"\xC3\xC3\xA4", L"\xFFFD\xE4"},
                          {"\xF0\x9F\x98", L"\xFFFD"}};
    for (const Case& c : cases) {
        EXPECT_EQ(Wide(CP_UTF8, c.bytes), c.text) << c.bytes;
        EXPECT_EQ(Wide(CP_UTF8, c.bytes, MB_ERR_INVALID_CHARS), L"error 1113") << c.bytes;
    }
    for (const char* bytes : {"\xED\xA0\x80", "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80", "\xE0\x80\x80"}) {
        EXPECT_EQ(Wide(CP_UTF8, bytes).find_first_not_of(L'\xFFFD'), std::wstring::npos);
        EXPECT_EQ(Wide(CP_UTF8, bytes, MB_ERR_INVALID_CHARS), L"error 1113");
    }
    EXPECT_EQ(Narrow(CP_UTF8, {L'a', wchar_t(0xD800), L'b'}, nullptr, 0),
              "a\xEF\xBF\xBD"
              "b");
    EXPECT_EQ(Narrow(CP_UTF8, {wchar_t(0xDC00)}, nullptr, WC_ERR_INVALID_CHARS), "error 1113");
}

TEST(CodePage, EightBitPagesUseTheDefaultCharacter) {
    bool used = false;
    EXPECT_EQ(Wide(kLatin, "\x80\x81\xE9"), L"\x20AC\x81\xE9");
    EXPECT_EQ(Wide(kCyrillic, "\xC0\x98"), L"\x0410\x98");
    EXPECT_EQ(Narrow(kLatin, L"caf\xE9 \x20AC", &used), "caf\xE9 \x80");
    EXPECT_FALSE(used);
    EXPECT_EQ(Narrow(kLatin, L"\x416x\x416", &used), "#x#");
    EXPECT_TRUE(used);
    EXPECT_EQ(Narrow(kLatin, L"\x0101\x2260", &used), "##");  // nothing that merely looks alike
    EXPECT_EQ(Narrow(kCyrillic, L"\x416\xE4", &used), "\xC6#");
    EXPECT_EQ(Narrow(kLatin, L"\x416"), "?");
    const std::wstring all(3000, L'\xE9');  // more than one piece of work
    EXPECT_EQ(Narrow(kLatin, all, &used), std::string(3000, '\xE9'));
    EXPECT_EQ(Wide(kLatin, std::string(3000, '\xE9')), all);
}

TEST(CodePage, LengthsAndFailures) {
    const struct {
        UINT page;
        int size, room, result;  // below 0: the error
    } cases[] = {{CP_UTF8, -1, 0, 4},
                 {CP_UTF8, -1, 4, 4},
                 {CP_UTF8, -1, 3, -ERROR_INSUFFICIENT_BUFFER},
                 {kLatin, -1, 3, -ERROR_INSUFFICIENT_BUFFER},
                 {CP_UTF8, 0, 8, -ERROR_INVALID_PARAMETER},
                 {99999, 3, 8, -ERROR_INVALID_PARAMETER}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.page << ' ' << c.size << ' ' << c.room);
        const auto check = [&](int result) {
            EXPECT_EQ(result ? result : -static_cast<int>(GetLastError()), c.result);
        };
        wchar_t wide[8] = {};
        char narrow[8] = {};
        check(MultiByteToWideChar(c.page, 0, "abc", c.size, c.room ? wide : nullptr, c.room));
        check(WideCharToMultiByte(c.page, 0, L"abc", c.size, c.room ? narrow : nullptr, c.room, nullptr,
                                  nullptr));
        if (c.room && c.result > 0) {
            EXPECT_STREQ(wide, L"abc");
            EXPECT_STREQ(narrow, "abc");
        }
    }
}

TEST(CodePage, TheNarrowPageIsTheOneThatItsNumberNames) {
    const char* page = std::getenv("BV_CODEPAGE");
    EXPECT_EQ(std::to_string(GetACP()), page ? page : std::to_string(GetACP()));
    const std::wstring text = L"\x416\xE9";
    bool used = false;
    EXPECT_EQ(Narrow(CP_ACP, text, &used), Narrow(GetACP(), text, &used));
    EXPECT_EQ(Wide(CP_ACP, "\xC6"), Wide(GetACP(), "\xC6"));
}

TEST(Comparison, GoesCharacterByCharacter) {
    struct Case {
        const wchar_t* a;
        const wchar_t* b;
        int exact;
        int without_case;
    };
    const Case cases[] = {{L"abc", L"ABC", CSTR_GREATER_THAN, CSTR_EQUAL},
                          {L"a", L"B", CSTR_GREATER_THAN, CSTR_LESS_THAN},
                          {L"", L"a", CSTR_LESS_THAN, CSTR_LESS_THAN},
                          {L"ab", L"a", CSTR_GREATER_THAN, CSTR_GREATER_THAN},
                          {L"\x436", L"\x416", CSTR_GREATER_THAN, CSTR_EQUAL},
                          {L"\xFF", L"\x178", CSTR_LESS_THAN, CSTR_EQUAL},
                          {L"_", L"a", CSTR_LESS_THAN, CSTR_GREATER_THAN},  // compared as "A"
                          {L"\xDF", L"SS", CSTR_GREATER_THAN, CSTR_GREATER_THAN},
                          {L"i", L"\x130", CSTR_LESS_THAN, CSTR_LESS_THAN},
                          {L"\x131", L"I", CSTR_GREATER_THAN, CSTR_GREATER_THAN},
                          {L"\x17F", L"S", CSTR_GREATER_THAN, CSTR_GREATER_THAN},
                          {L"\x3C2", L"\x3A3", CSTR_GREATER_THAN, CSTR_GREATER_THAN}};
    for (const Case& c : cases) {
        EXPECT_EQ(CompareStringOrdinal(c.a, -1, c.b, -1, FALSE), c.exact);
        EXPECT_EQ(CompareStringOrdinal(c.a, -1, c.b, -1, TRUE), c.without_case);
    }
    EXPECT_EQ(CompareStringOrdinal(L"abc", 2, L"AB", -1, TRUE), CSTR_EQUAL);
    EXPECT_EQ(CompareStringOrdinal(nullptr, 0, L"a", 1, TRUE), 0);
    EXPECT_EQ(lstrcmpiA("abc", "ABC"), 0);
    EXPECT_LT(lstrcmpiA("a", "B"), 0);
    EXPECT_LT(lstrcmpiA(nullptr, "a"), 0);
    EXPECT_EQ(lstrcmpiA(nullptr, nullptr), 0);
}

}  // namespace
