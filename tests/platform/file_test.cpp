// Files and folders, in a folder of the test's own.
#include <windows.h>
//
#include <gtest/gtest.h>
#include <shlwapi.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "support/environment.h"
#include "support/files.h"
#include "support/names.h"

namespace {

namespace fs = std::filesystem;

class FileTest : public testing::Test {
protected:
    FileTest() { fs::create_directories(folder_); }
    ~FileTest() override { fs::remove_all(folder_); }

    std::string In(const std::string& name) const {
        char path[MAX_PATH] = {};
        folder_.string().copy(path, MAX_PATH - 1);
        EXPECT_TRUE(PathAppendA(path, name.c_str()));
        return path;
    }
    void Make(const std::string& name, const std::string& text) const {
        bv::test::WriteAll(folder_ / name, text);
    }
    std::string Contents(const std::string& name) const { return bv::test::ReadAll(folder_ / name); }
    /// The names that a mask finds, sorted.
    std::vector<std::string> Found(const std::string& mask) const {
        WIN32_FIND_DATAW entry;
        std::vector<std::string> names;
        const HANDLE find = FindFirstFileW(bv::test::WideName(In(mask)).c_str(), &entry);
        if (find == INVALID_HANDLE_VALUE) return names;
        do names.push_back(bv::test::Utf8Name(bv::test::PathOf(entry.cFileName)));
        while (FindNextFileW(find, &entry));
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NO_MORE_FILES));
        EXPECT_TRUE(FindClose(find));
        std::sort(names.begin(), names.end());
        return names;
    }

    const fs::path folder_ = bv::test::TempFolder() / "files";
};

HANDLE Open(const std::string& path, DWORD access, DWORD how) {
    return CreateFileA(path.c_str(), access, FILE_SHARE_READ, nullptr, how, FILE_ATTRIBUTE_NORMAL, nullptr);
}

/// The last error of an attempt to open; 0 when it worked.
DWORD OpenError(const std::string& path, DWORD access, DWORD how) {
    const HANDLE file = Open(path, access, how);
    if (file == INVALID_HANDLE_VALUE) return GetLastError();
    CloseHandle(file);
    return 0;
}

TEST_F(FileTest, BytesComeBackAsTheyWereWritten) {
    const std::string bytes("\0\r\n\x1A\xFF text", 10);
    HANDLE file = Open(In("a.idx"), GENERIC_WRITE, CREATE_ALWAYS);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    DWORD done = 0;
    EXPECT_TRUE(WriteFile(file, bytes.data(), 4, &done, nullptr));
    EXPECT_EQ(done, 4u);
    EXPECT_TRUE(WriteFile(file, bytes.data() + 4, 6, &done, nullptr));
    EXPECT_TRUE(CloseHandle(file));
    EXPECT_EQ(Contents("a.idx"), bytes);

    file = Open(In("a.idx"), GENERIC_READ, OPEN_EXISTING);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    LARGE_INTEGER size;
    EXPECT_TRUE(GetFileSizeEx(file, &size));
    EXPECT_EQ(size.QuadPart, 10);
    char read[32];
    EXPECT_TRUE(ReadFile(file, read, 6, &done, nullptr));
    EXPECT_EQ(done, 6u);
    EXPECT_TRUE(ReadFile(file, read + 6, 26, &done, nullptr));
    EXPECT_EQ(std::string(read, 6 + done), bytes);
    EXPECT_TRUE(ReadFile(file, read, 32, &done, nullptr));  // the end is no failure
    EXPECT_EQ(done, 0u);
    EXPECT_FALSE(WriteFile(file, read, 1, &done, nullptr));
    CloseHandle(file);
}

TEST_F(FileTest, OpeningFollowsTheAskedWay) {
    Make("old", "content");
    fs::create_directory(folder_ / "dir");
    EXPECT_EQ(OpenError(In("none"), GENERIC_READ, OPEN_EXISTING), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(OpenError(In("no\\file"), GENERIC_READ, OPEN_EXISTING),
              static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
    EXPECT_EQ(OpenError(In("dir"), GENERIC_READ, OPEN_EXISTING), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_EQ(OpenError(In("dir"), GENERIC_WRITE, CREATE_ALWAYS), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_EQ(OpenError(In("old"), GENERIC_WRITE, CREATE_NEW), static_cast<DWORD>(ERROR_FILE_EXISTS));
    EXPECT_EQ(OpenError(In("old"), GENERIC_READ, 77), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(OpenError(In("old"), GENERIC_READ | GENERIC_WRITE, OPEN_ALWAYS), 0u);
    EXPECT_EQ(Contents("old"), "content");
    EXPECT_EQ(OpenError(In("old"), GENERIC_WRITE, CREATE_ALWAYS), 0u);
    EXPECT_EQ(Contents("old"), "");
    EXPECT_EQ(OpenError(In("new"), GENERIC_WRITE, CREATE_NEW), 0u);
    EXPECT_TRUE(PathFileExistsA(In("new").c_str()));
    LARGE_INTEGER size;
    EXPECT_FALSE(GetFileSizeEx(INVALID_HANDLE_VALUE, &size));
}

TEST_F(FileTest, NamesOfEveryScriptWorkBothWays) {
    const wchar_t* name = L"\x416\x4E00 \xE9.avi";
    wchar_t path[MAX_PATH] = {};
    const std::wstring folder = bv::test::WideName(folder_);
    folder.copy(path, MAX_PATH - 1);
    ASSERT_TRUE(PathAppendW(path, name));
    HANDLE file = CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    CloseHandle(file);

    wchar_t mask[MAX_PATH] = {};
    folder.copy(mask, MAX_PATH - 1);
    ASSERT_TRUE(PathAppendW(mask, L"*.AVI"));
    WIN32_FIND_DATAW entry;
    const HANDLE find = FindFirstFileW(mask, &entry);
    ASSERT_NE(find, INVALID_HANDLE_VALUE);
    EXPECT_EQ(std::wstring(entry.cFileName), name);
    EXPECT_FALSE(FindNextFileW(find, &entry));
    FindClose(find);
    EXPECT_TRUE(DeleteFileW(path));
    EXPECT_FALSE(DeleteFileW(path));
}

/// As deep as a path may be, in letters that take three bytes each where paths are bytes.
TEST_F(FileTest, APathMayBeAsLongAsTheSystemsAre) {
    const auto wide = [](const fs::path& path) {
        const std::u16string text = path.u16string();
        return std::wstring(text.begin(), text.end());
    };
    const fs::path letters(std::u16string(40, u'\x4E00'));
    const std::wstring name = wide(letters) + L".avi";
    const std::size_t step = letters.native().size() + 1;
    fs::path folder = folder_;
    while (folder.native().size() + 2 * step < MAX_PATH - 12) folder /= letters;
    ASSERT_GT(folder.native().size() + 3 * step, std::size_t{MAX_PATH} - 12)
        << "the folder for tests is too long";
    fs::create_directories(folder);
    fs::path media = folder / letters;
    bv::test::WriteAll(media += ".avi", "12345");

    wchar_t path[MAX_PATH] = {};
    wide(folder).copy(path, MAX_PATH - 1);
    ASSERT_TRUE(PathAppendW(path, name.c_str()));
    HANDLE file = CreateFileW(path, GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    LARGE_INTEGER size = {};
    EXPECT_TRUE(GetFileSizeEx(file, &size));
    EXPECT_EQ(size.QuadPart, 5);
    CloseHandle(file);
    EXPECT_TRUE(PathRemoveFileSpecW(path));
    EXPECT_EQ(std::wstring(path), wide(folder));
    ASSERT_TRUE(PathAppendW(path, L"*.*"));
    WIN32_FIND_DATAW entry;
    const HANDLE find = FindFirstFileW(path, &entry);
    ASSERT_NE(find, INVALID_HANDLE_VALUE);
    while (entry.cFileName[0] == L'.' && FindNextFileW(find, &entry)) {
    }
    EXPECT_EQ(std::wstring(entry.cFileName), name);
    FindClose(find);
    fs::remove_all(folder_ / letters);
}

TEST_F(FileTest, MasksFindEntriesWithTheirSizes) {
    Make("a.avi", "12345");
    Make("B.AVI", "");
    Make("noext", "1");
    fs::create_directory(folder_ / "sub");
    using Names = std::vector<std::string>;
    EXPECT_EQ(Found("*.*"), (Names{".", "..", "B.AVI", "a.avi", "noext", "sub"}));
    EXPECT_EQ(Found("*"), Found("*.*"));
    EXPECT_EQ(Found("*.avi"), (Names{"B.AVI", "a.avi"}));
    EXPECT_EQ(Found("?.avi"), (Names{"B.AVI", "a.avi"}));
    EXPECT_EQ(Found("n*t"), (Names{"noext"}));
    EXPECT_EQ(Found("NOEXT"), (Names{"noext"}));
    EXPECT_EQ(Found("*x*x*"), Names{});
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(Found("none\\*.*"), Names{});
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));

    WIN32_FIND_DATAW entry;
    HANDLE find = FindFirstFileW(bv::test::WideName(In("a.avi")).c_str(), &entry);
    ASSERT_NE(find, INVALID_HANDLE_VALUE);
    EXPECT_EQ(entry.nFileSizeLow, 5u);
    EXPECT_EQ(entry.nFileSizeHigh, 0u);
    EXPECT_EQ(entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY, 0u);
    FindClose(find);
    find = FindFirstFileW(bv::test::WideName(In("sub")).c_str(), &entry);
    ASSERT_NE(find, INVALID_HANDLE_VALUE);
    EXPECT_EQ(entry.nFileSizeLow, 0u);
    EXPECT_NE(entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY, 0u);
    FindClose(find);
}

TEST_F(FileTest, DeletingAndAsking) {
    Make("a", "x");
    fs::create_directory(folder_ / "dir");
    EXPECT_TRUE(PathFileExistsA(In("dir").c_str()));
    EXPECT_TRUE(DeleteFileA(In("a").c_str()));
    EXPECT_FALSE(DeleteFileA(In("a").c_str()));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    EXPECT_FALSE(DeleteFileA(In("dir").c_str()));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_FALSE(PathFileExistsA(""));
}

}  // namespace
