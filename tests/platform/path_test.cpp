// Operations on paths as text. Paths with a drive or a backslash give the same everywhere; what begins with
// "/" is a path of its own kind on one platform only, and its rows say what each gives.
#include <windows.h>
//
#include <gtest/gtest.h>
#include <shlwapi.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

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

/// One path taken apart.
struct Parts {
    const char* path;
    bool relative;
    const char* folder;     // "-": nothing to cut
    const char* separated;  // ending in a separator
    const char* bare;       // without its extension
    const char* name;
};

void Check(const Parts& parts) {
    SCOPED_TRACE(parts.path);
    EXPECT_EQ(PathIsRelativeA(parts.path) != 0, parts.relative);
    EXPECT_EQ(Folder(parts.path), parts.folder);
    EXPECT_EQ(WithSeparator(parts.path), parts.separated);
    EXPECT_EQ(WithoutExtension(parts.path), parts.bare);
    EXPECT_STREQ(PathFindFileNameA(parts.path), parts.name);
    EXPECT_EQ(parts.path + std::strlen(parts.bare), PathFindExtensionA(parts.path));
}

TEST(Path, ComesApart) {
    const Parts rows[] = {
        {"C:\\a\\b.txt", false, "C:\\a", "C:\\a\\b.txt\\", "C:\\a\\b", "b.txt"},
        {"C:\\a.b\\c", false, "C:\\a.b", "C:\\a.b\\c\\", "C:\\a.b\\c", "c"},
        {"C:\\a\\", false, "C:\\a", "C:\\a\\", "C:\\a\\", "a\\"},
        {"C:\\a", false, "C:\\", "C:\\a\\", "C:\\a", "a"},
        {"C:\\", false, "-", "C:\\", "C:\\", "C:\\"},
        {"C:", false, "-", "C:\\", "C:", "C:"},
        {"C:a", false, "C:", "C:a\\", "C:a", "a"},
        {"\\a", false, "\\", "\\a\\", "\\a", "a"},
        {"\\", false, "-", "\\", "\\", "\\"},
        {"\\\\srv\\share\\a.b", false, "\\\\srv\\share", "\\\\srv\\share\\a.b\\", "\\\\srv\\share\\a", "a.b"},
        {"\\\\srv", false, "\\\\", "\\\\srv\\", "\\\\srv", "srv"},
        {"\\\\?\\C:\\a", false, "\\\\?\\C:\\", "\\\\?\\C:\\a\\", "\\\\?\\C:\\a", "a"},
        {"a\\b", true, "a", "a\\b\\", "a\\b", "b"},
        {"clip.test.avi", true, "", "clip.test.avi\\", "clip.test", "clip.test.avi"},
        {"a/b.c", true, "", "a/b.c\\", "a/b", "b.c"},
        {".a", true, "", ".a\\", "", ".a"},
        {"a.b c", true, "", "a.b c\\", "a.b c", "a.b c"},
        {"a.", true, "", "a.\\", "a", "a."},
        {"", true, "-", "", "", ""}};
    for (const Parts& row : rows) {
        if (*row.path) {
            Check(row);
        } else {
            EXPECT_TRUE(PathIsRelativeA(""));
            EXPECT_EQ(Folder(""), "-");
            EXPECT_EQ(WithSeparator(""), "");
        }
    }
    struct Split {
        Parts with_root, without;
    };
    const Split splits[] = {
        {{"/a/b.txt", false, "/a", "/a/b.txt/", "/a/b", "b.txt"},
         {"/a/b.txt", true, "", "/a/b.txt\\", "/a/b", "b.txt"}},
        {{"/a", false, "/", "/a/", "/a", "a"}, {"/a", true, "", "/a\\", "/a", "a"}},
        {{"/", false, "-", "/", "/", "/"}, {"/", true, "", "/\\", "/", "/"}},
        {{"/a/", false, "/a", "/a/", "/a/", "a/"}, {"/a/", true, "", "/a/\\", "/a/", "a/"}},
        {{"/a\\b.c", false, "/", "/a\\b.c/", "/a\\b", "a\\b.c"},
         {"/a\\b.c", true, "/a", "/a\\b.c\\", "/a\\b", "b.c"}},
        {{"/a.b/c", false, "/a.b", "/a.b/c/", "/a.b/c", "c"}, {"/a.b/c", true, "", "/a.b/c\\", "/a", "c"}},
        {{"/a:b", false, "/", "/a:b/", "/a:b", "a:b"}, {"/a:b", true, "/a:", "/a:b\\", "/a:b", "b"}},
        {{"/a//b", false, "/a", "/a//b/", "/a//b", "b"}, {"/a//b", true, "", "/a//b\\", "/a//b", "b"}}};
    for (const Split& split : splits) Check(SlashIsRoot() ? split.with_root : split.without);
}

struct Dots {
    const char* path;
    const char* canonical;
};
void Check(const Dots& row) { EXPECT_EQ(Canonical(row.path), row.canonical) << row.path; }

TEST(Path, LosesItsDots) {
    const Dots rows[] = {{"C:\\in\\sub\\..\\out", "C:\\in\\out"},
                         {"C:\\a\\.\\b", "C:\\a\\b"},
                         {"C:\\a\\..", "C:\\"},
                         {"C:\\..\\b", "C:\\b"},
                         {"C:\\a\\b\\..\\..\\..\\c", "C:\\c"},
                         {"C:\\a\\..\\", "C:\\"},
                         {"C:\\a\\b\\..", "C:\\a"},
                         {"C:\\a\\\\..\\b", "C:\\a\\b"},
                         {"C:\\a\\b\\c\\..\\", "C:\\a\\b\\"},
                         {"C:", "C:\\"},
                         {"C:\\a\\", "C:\\a\\"},
                         {"C:\\a\\\\b", "C:\\a\\\\b"},
                         {"\\\\s\\h\\a\\..\\x", "\\\\s\\h\\x"},
                         {"\\\\s\\h\\..\\x", "\\\\s\\x"},
                         {"\\\\s\\..\\x", "\\\\s\\x"},
                         {"\\..\\a", "\\a"},
                         {"..\\a", "..\\a"},
                         {"a\\..\\b", "\\b"},
                         {"a\\b\\..", "a"},
                         {".\\a", "a"},
                         {"..", ".."},
                         {".", "."},
                         {"...", "..."},
                         {"a..b\\c", "a..b\\c"},
                         {"a\\.b", "a\\.b"},
                         {"", "\\"},
                         {"C:\\a/../b", "C:\\a/../b"},
                         {"a/../b", "a/../b"}};
    for (const Dots& row : rows) Check(row);
    if (!SlashIsRoot()) return Check(Dots{"/a/../b", "/a/../b"});
    const Dots slash_rows[] = {{"/a/../b", "/b"},
                               {"/a/./b", "/a/b"},
                               {"/..", "/"},
                               {"/a/..", "/"},
                               {"/a/b/../", "/a/"},
                               {"//a///b", "/a/b"},
                               {"/a\\..\\b", "/a\\..\\b"},
                               {"/", "/"},
                               {"/../../a", "/a"},
                               {"/a/.", "/a"},
                               {"/a/..b", "/a/..b"}};
    for (const Dots& row : slash_rows) Check(row);
}

struct Join {
    const char* path;
    const char* more;
    const char* joined;
};
void Check(const Join& row) {
    EXPECT_EQ(Appended(row.path, row.more), row.joined) << row.path << " + " << row.more;
}

TEST(Path, IsJoined) {
    const Join rows[] = {{"C:\\a", "b", "C:\\a\\b"},
                         {"C:\\a\\", "b", "C:\\a\\b"},
                         {"C:\\a", "\\b", "C:\\a\\b"},
                         {"C:\\a", "\\\\b", "\\\\b"},
                         {"C:\\a", "D:\\b", "D:\\b"},
                         {"C:\\a", "D:b", "D:b"},
                         {"C:\\a", "", "C:\\a"},
                         {"C:\\a\\", "", "C:\\a\\"},
                         {"", "b", "b"},
                         {"", "\\b", "b"},
                         {"", "C:\\b", "C:\\b"},
                         {"", "", "\\"},
                         {"C:\\a", "..\\b", "C:\\b"},
                         {"C:\\in\\", "sub\\..\\out", "C:\\in\\out"},
                         {"C:\\a", "..\\..\\..\\c", "C:\\c"},
                         {"C:\\a", "..", "C:\\"},
                         {"C:\\a", "b\\", "C:\\a\\b\\"},
                         {"C:", "b", "C:\\b"},
                         {"a", "b", "a\\b"},
                         {"..", "b", "..\\b"},
                         {"\\\\s\\h", "b", "\\\\s\\h\\b"},
                         {"\\", "b", "\\b"},
                         {"C:\\a", "b/c", "C:\\a\\b/c"},
                         {"C:\\a", "\\", "C:\\a"}};
    for (const Join& row : rows) Check(row);
    if (!SlashIsRoot()) return Check(Join{"C:\\a", "/b", "C:\\a\\/b"});
    const Join slash_rows[] = {{"/a", "b", "/a/b"},
                               {"/a/", "b", "/a/b"},
                               {"/", "b", "/b"},
                               {"/in/", "sub\\..\\out", "/in/out"},
                               {"/in", "sub/../out", "/in/out"},
                               {"/a", "\\b", "/a/b"},
                               {"/a", "../../..\\c", "/c"},
                               {"/a", "", "/a"},
                               {"/a\\b", "c", "/a\\b/c"},
                               {"/a", "/b", "/b"},
                               {"/a", "C:\\b", "C:\\b"},
                               {"/a", "\\\\s\\h", "\\\\s\\h"},
                               {"C:\\a", "/b", "/b"},
                               {"", "/b", "/b"},
                               {"/a", "b\\", "/a/b/"},
                               {"/a", "*.*", "/a/*.*"}};
    for (const Join& row : slash_rows) Check(row);
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
