// Operations on paths as text. Paths with a drive or a backslash give the same everywhere; what begins with
// "/" is a path of its own kind on one platform only.
#include <windows.h>
//
#include <gtest/gtest.h>
#include <shlwapi.h>

#include <cstring>
#include <string>
#include <vector>

#include "support/names.h"

namespace {

using bv::test::Split;

/// True where "/" begins an absolute path.
bool SlashIsRoot() { return !PathIsRelativeA("/x"); }

struct Buffer {
    explicit Buffer(const std::string& text) { std::memcpy(chars, text.c_str(), text.size() + 1); }
    char chars[2 * MAX_PATH] = {};
};

/// What a call leaves in a buffer, or "-" for FALSE.
template <typename Call>
std::string After(const std::string& path, Call call) {
    Buffer buffer(path);
    return call(buffer.chars) ? buffer.chars : "-";
}

/// The same call for narrow and wide text, which must agree.
template <typename CallA, typename CallW>
std::string After(const std::string& path, CallA call_a, CallW call_w) {
    const std::string narrow = After(path, call_a);
    wchar_t wide[2 * MAX_PATH] = {};
    for (std::size_t i = 0; i < path.size(); ++i) wide[i] = path[i];
    EXPECT_EQ(call_w(wide) ? std::wstring(wide) : L"-", std::wstring(narrow.begin(), narrow.end())) << path;
    return narrow;
}

std::string Canonical(const std::string& path) {
    return After("", [&](char* buffer) { return PathCanonicalizeA(buffer, path.c_str()); });
}

std::string Appended(const std::string& path, const std::string& more) {
    const std::wstring wide_more(more.begin(), more.end());
    return After(
        path, [&](char* buffer) { return PathAppendA(buffer, more.c_str()); },
        [&](wchar_t* buffer) { return PathAppendW(buffer, wide_more.c_str()); });
}

std::string Folder(const std::string& path) { return After(path, PathRemoveFileSpecA, PathRemoveFileSpecW); }

std::string WithSeparator(const std::string& path) { return After(path, PathAddBackslashA); }

std::string WithExtension(const std::string& path, const std::string& extension) {
    return After(path, [&](char* buffer) { return PathAddExtensionA(buffer, extension.c_str()); });
}

std::string WithoutExtension(const std::string& path) {
    return After(path, [](char* buffer) { return PathRemoveExtensionA(buffer), 1; });
}

/// Runs `check` over the rows of a table, "a = b = c", a "|" between two rows of a line.
template <class Check>
void Each(const char* table, Check check) {
    for (const std::string& line : Split(table, "\n"))
        for (const std::string& row : Split(line, " | ")) {
            SCOPED_TRACE(row);
            check(Split(row, " = "));
        }
}

TEST(Path, ComesApart) {
    // A path, its folder ("-": nothing to cut), its bare form without the extension, its name.
    const auto check = [](const std::vector<std::string>& row) {
        EXPECT_EQ(Folder(row[0]), row[1]);
        EXPECT_EQ(WithoutExtension(row[0]), row[2]);
        EXPECT_EQ(row[0].c_str() + row[2].size(), PathFindExtensionA(row[0].c_str()));
        EXPECT_EQ(PathFindFileNameA(row[0].c_str()), row[3]);
        const bool relative = std::string("/\\").find(row[0][0]) == std::string::npos && row[0][1] != ':';
        EXPECT_EQ(PathIsRelativeA(row[0].c_str()) != 0, relative);
        const bool ends = row[0].back() == (row[0][0] == '/' ? '/' : '\\');
        EXPECT_EQ(WithSeparator(row[0]), row[0] + (ends ? "" : row[0][0] == '/' ? "/" : "\\"));
    };
    Each(R"(C:\a\b.txt = C:\a = C:\a\b = b.txt | C:\a.b\c = C:\a.b = C:\a.b\c = c | C:\a\ = C:\a = C:\a\ = a\
C:\a = C:\ = C:\a = a | C:\ = - = C:\ = C:\ | C: = - = C: = C: | C:a = C: = C:a = a | \a = \ = \a = a | \ = - = \ = \
\\srv\share\a.b = \\srv\share = \\srv\share\a = a.b | \\srv = \\ = \\srv = srv | \\?\C:\a = \\?\C:\ = \\?\C:\a = a
a\b = a = a\b = b | clip.test.avi =  = clip.test = clip.test.avi | .a =  =  = .a | a.b c =  = a.b c = a.b c | a. =  = a = a.)",
         check);
    EXPECT_TRUE(PathIsRelativeA(""));
    EXPECT_EQ(Folder(""), "-");
    EXPECT_EQ(WithSeparator(""), "");
    if (!SlashIsRoot()) return;
    Each(
        R"(/a/b.txt = /a = /a/b = b.txt | /a = / = /a = a | / = - = / = / | /a/ = /a = /a/ = a/ | /a\b.c = / = /a\b = a\b.c
/a.b/c = /a.b = /a.b/c = c | /a:b = / = /a:b = a:b | /a//b = /a = /a//b = b)",
        check);
}

TEST(Path, LosesItsDots) {
    const auto check = [](const std::vector<std::string>& row) { EXPECT_EQ(Canonical(row[0]), row[1]); };
    Each(
        R"(C:\in\sub\..\out = C:\in\out | C:\a\.\b = C:\a\b | C:\a\.. = C:\ | C:\..\b = C:\b | C:\a\b\..\..\..\c = C:\c
C:\a\..\ = C:\ | C:\a\\..\b = C:\a\b | C:\a\b\c\..\ = C:\a\b\ | C: = C:\ | C:\a\\b = C:\a\\b | \\s\h\..\x = \\s\x
\..\a = \a | ..\a = ..\a | a\..\b = \b | a\b\.. = a | .\a = a | .. = .. | . = . | a..b\c = a..b\c | a\.b = a\.b
 = \ | C:\a/../b = C:\a/../b | a/../b = a/../b)",
        check);
    Each(
        SlashIsRoot()
            ? R"(/a/../b = /b | /a/./b = /a/b | /.. = / | /a/b/../ = /a/ | //a///b = /a/b | /a\..\b = /a\..\b | /a/. = /a)"
            : "/a/../b = /a/../b",
        check);
}

TEST(Path, IsJoined) {
    const auto check = [](const std::vector<std::string>& row) {
        EXPECT_EQ(Appended(row[0], row[1]), row[2]);
    };
    Each(
        R"(C:\a = b = C:\a\b | C:\a\ = b = C:\a\b | C:\a = \b = C:\a\b | C:\a = \\b = \\b | C:\a = D:\b = D:\b
C:\a = D:b = D:b | C:\a =  = C:\a |  = \b = b |  =  = \ | C:\in\ = sub\..\out = C:\in\out | C:\a = ..\..\..\c = C:\c
C:\a = b\ = C:\a\b\ | C: = b = C:\b | a = b = a\b | .. = b = ..\b | \\s\h = b = \\s\h\b | C:\a = b/c = C:\a\b/c | C:\a = \ = C:\a)",
        check);
    Each(SlashIsRoot()
             ? R"(/a = b = /a/b | /a/ = b = /a/b | /in/ = sub\..\out = /in/out | /in = sub/../out = /in/out
/a = \b = /a/b | /a = ../../..\c = /c | /a\b = c = /a\b/c | /a = /b = /b | /a = C:\b = C:\b | C:\a = /b = /b | /a = b\ = /a/b/)"
             : R"(C:\a = /b = C:\a\/b)",
         check);
}

TEST(Path, TakesAnExtensionOnce) {
    EXPECT_EQ(WithExtension("C:\\a.b\\c", ".avi"), "C:\\a.b\\c.avi");
    EXPECT_EQ(WithExtension("a b", ".avi"), "a b.avi");
    EXPECT_EQ(WithExtension("a", ""), "a");
    EXPECT_EQ(WithExtension("a.x", ".avi"), "-");
    EXPECT_EQ(WithExtension("a.", ".avi"), "-");
    EXPECT_EQ(WithExtension(".a", ".avi"), "-");
}

TEST(Path, NeverOutgrowsItsBuffer) {
    const std::size_t full = MAX_PATH;
    for (const std::size_t length : {std::size_t{100}, full - 7, full - 6, full - 5, full - 4, full - 3,
                                     full - 2, full - 1, full, full + 40, full + 240}) {
        SCOPED_TRACE(length);
        const std::string name(length, 'n');
        const std::string joined = "C:\\x\\" + name;
        Buffer append("C:\\x"), canonical("#"), extension(name);
        EXPECT_EQ(PathAppendA(append.chars, name.c_str()) != 0, joined.size() < MAX_PATH);
        EXPECT_EQ(std::string(append.chars), joined.size() < MAX_PATH ? joined : "");
        EXPECT_EQ(PathCanonicalizeA(canonical.chars, name.c_str()) != 0, length < MAX_PATH);
        EXPECT_EQ(std::string(canonical.chars), length < MAX_PATH ? name : "");
        EXPECT_EQ(PathAddExtensionA(extension.chars, ".x") != 0, length + 2 < MAX_PATH);
        if (length == MAX_PATH - 1) continue;  // where platforms disagree about room for one more
        Buffer separator(name);
        EXPECT_EQ(PathAddBackslashA(separator.chars) != nullptr, length < MAX_PATH);
    }
    Buffer path("q");
    const std::string dots = std::string(12 * full, '.') + "\\" + std::string(12 * full, '\\');
    EXPECT_FALSE(PathAppendA(path.chars, dots.c_str()));
}

}  // namespace
