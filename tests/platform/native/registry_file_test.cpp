// The registry's file: made with its folders, shared by processes, refused when it is something else.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <thread>

#include <bvschema/registry_change.h>

#include "platform/probe.h"
#include "support/environment.h"

#include <bvschema/platform.h>

namespace bv::test {
namespace {

/// What the shell command gives, with `client` naming the client program.
int Shell(const std::string& command) {
    const int status =
        std::system(("client='" + (BinFolder() / "registry_client").string() + "'; " + command).c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string File(const char* name) { return "BV_REGISTRY='" + (TempFolder() / name).string() + "' "; }

TEST(RegistryFile, IsMadeWithItsFolders) {
    EXPECT_EQ(Shell(File("new/folder/r.db") + "$client a 1"), 0);
    EXPECT_TRUE(std::filesystem::exists(TempFolder() / "new/folder/r.db"));
    const std::string data = "unset BV_REGISTRY; XDG_DATA_HOME='" + (TempFolder() / "data").string() + "' ";
    EXPECT_EQ(Shell(data + "$client a 1"), 0);
    EXPECT_TRUE(std::filesystem::exists(TempFolder() / "data/bvschema/registry.db"));
}

TEST(RegistryFile, ServesProcessesAtOnce) {
    EXPECT_EQ(Shell("export " + File("shared.db") +
                    "; $client a 50 & p=$!; $client b 50 & q=$!; $client a 50 && wait $p && wait $q"),
              0);
    EXPECT_EQ(Shell(File("shared.db") + "$client b 50"), 0);
}

LONG Status(const std::string& path) {
    HKEY key = nullptr;
    const LONG status = RegOpenKeyExA(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, &key);
    if (key) RegCloseKey(key);
    return status;
}
LONG StatusOnAnotherThread(const std::string& path) {
    LONG status = -1;
    std::thread([&] { status = Status(path); }).join();
    return status;
}
LONG Make(const std::string& path) {
    HKEY key = nullptr;
    const LONG status = RegCreateKeyExA(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS,
                                        nullptr, &key, nullptr);
    if (key) RegCloseKey(key);
    return status;
}

TEST(RegistryFile, WhatAnotherProcessWritesIsThereAtTheNextCall) {
    const TestKey folder(HKEY_CURRENT_USER, L"Software\\Client");
    const std::string key = "Software\\Client\\other\\0";
    for (int round = 0; round < 3; ++round) {
        for (int again = 0; again < 2; ++again) EXPECT_EQ(Status(key), ERROR_FILE_NOT_FOUND);
        ASSERT_EQ(Shell("$client other 1"), 0);
        for (int again = 0; again < 2; ++again) EXPECT_EQ(Status(key), ERROR_SUCCESS);
        char text[64] = "";
        DWORD size = sizeof text;
        HKEY open = nullptr;
        ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, key.c_str(), 0, KEY_READ, &open), ERROR_SUCCESS);
        EXPECT_EQ(RegQueryValueExA(open, "", nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size),
                  ERROR_SUCCESS);
        EXPECT_EQ(text, key);
        ASSERT_EQ(RegDeleteTreeA(HKEY_CURRENT_USER, "Software\\Client\\other"), ERROR_SUCCESS);
        EXPECT_EQ(RegQueryValueExA(open, "", nullptr, nullptr, nullptr, &size), ERROR_KEY_DELETED);
        RegCloseKey(open);
    }
}

TEST(RegistryFile, ListsTooLongToBeKeptAreReadAllTheSame) {
    const TestKey folder(HKEY_CURRENT_USER, L"Software\\Client");
    ASSERT_EQ(Shell("$client many 1100"), 0);
    folder.Put(L"", L"long", std::wstring(5000, L'x'));
    DWORD subkeys = 0, size = 0;
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "Software\\Client\\many", 0, KEY_READ, &key), ERROR_SUCCESS);
    for (int again = 0; again < 2; ++again) {
        char name[16];
        DWORD length = sizeof name;
        EXPECT_EQ(RegQueryInfoKeyA(key, nullptr, nullptr, nullptr, &subkeys, nullptr, nullptr, nullptr,
                                   nullptr, nullptr, nullptr, nullptr),
                  ERROR_SUCCESS);
        EXPECT_EQ(subkeys, 1100u);
        EXPECT_EQ(RegEnumKeyExA(key, 1099, name, &length, nullptr, nullptr, nullptr, nullptr), ERROR_SUCCESS);
        EXPECT_STREQ(name, "999");
        EXPECT_EQ(Status("Software\\Client\\many\\777"), ERROR_SUCCESS);
        EXPECT_EQ(Status("Software\\Client\\many\\7777"), ERROR_FILE_NOT_FOUND);
        EXPECT_EQ(RegQueryValueExA(folder, "long", nullptr, nullptr, nullptr, &size), ERROR_SUCCESS);
        EXPECT_EQ(size, 5001u);
    }
    RegCloseKey(key);
}

TEST(RegistryFile, AChangeIsDoneWholeOrNotAtAll) {
    const TestKey folder(HKEY_CURRENT_USER, L"Software\\Change");
    const std::string a = "Software\\Change\\a", b = "Software\\Change\\b\\c";
    ASSERT_EQ(BvBeginRegistryChange(), ERROR_SUCCESS);
    EXPECT_EQ(Make(a), ERROR_SUCCESS);
    EXPECT_EQ(Make("Software\\Change\\new\\" + std::string(256, 'n')), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(Status("Software\\Change\\new"), ERROR_FILE_NOT_FOUND) << "a call is a step in it";
    EXPECT_EQ(Status(a), ERROR_SUCCESS);
    EXPECT_EQ(StatusOnAnotherThread(a), ERROR_FILE_NOT_FOUND);
    ASSERT_EQ(BvBeginRegistryChange(), ERROR_SUCCESS);
    EXPECT_EQ(Make(b), ERROR_SUCCESS);
    EXPECT_EQ(BvEndRegistryChange(TRUE), ERROR_SUCCESS);
    EXPECT_EQ(StatusOnAnotherThread(b), ERROR_FILE_NOT_FOUND) << "the outer one goes on";
    EXPECT_EQ(BvEndRegistryChange(TRUE), ERROR_SUCCESS);
    EXPECT_EQ(StatusOnAnotherThread(a), ERROR_SUCCESS);
    EXPECT_EQ(Status(b), ERROR_SUCCESS);

    ASSERT_EQ(BvBeginRegistryChange(), ERROR_SUCCESS);
    EXPECT_EQ(RegDeleteTreeA(HKEY_CURRENT_USER, a.c_str()), ERROR_SUCCESS);
    ASSERT_EQ(BvBeginRegistryChange(), ERROR_SUCCESS);
    EXPECT_EQ(BvEndRegistryChange(FALSE), ERROR_SUCCESS);
    EXPECT_NE(Make("Software\\Change\\d"), ERROR_SUCCESS) << "taken back, with what it lies in";
    EXPECT_NE(BvEndRegistryChange(TRUE), ERROR_SUCCESS);
    EXPECT_EQ(Status(a), ERROR_SUCCESS);
    EXPECT_EQ(Status("Software\\Change\\d"), ERROR_FILE_NOT_FOUND);
    EXPECT_NE(BvEndRegistryChange(TRUE), ERROR_SUCCESS) << "there is none";

    EXPECT_EQ(Shell("$client killed -50"), 128 + SIGKILL) << "in the middle of a change";
    EXPECT_EQ(Status("Software\\Client\\killed"), ERROR_FILE_NOT_FOUND);
}

TEST(RegistryFile, WhatIsNoRegistryIsRefusedAndLeftAlone) {
    const std::string text(5000, 'x');
    std::ofstream(TempFolder() / "text.db") << text;
    EXPECT_EQ(Shell(File("text.db") + "$client a 1"), 255) << "ERROR_REGISTRY_CORRUPT";
    EXPECT_EQ(std::filesystem::file_size(TempFolder() / "text.db"), text.size());
    std::filesystem::create_directory(TempFolder() / "folder.db");
    EXPECT_EQ(Shell(File("folder.db") + "$client a 1"), ERROR_ACCESS_DENIED);
    EXPECT_EQ(Shell("BV_REGISTRY=/proc/none/r.db $client a 1"), ERROR_ACCESS_DENIED);

    // A registry with its middle overwritten: any status, but no end by a signal.
    ASSERT_EQ(Shell(File("torn.db") + "$client a 200"), 0);
    std::fstream file(TempFolder() / "torn.db", std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(3000);
    for (int i = 0; i < 20000; ++i) file.put(char(i * 37));
    file.close();
    for (const char* name : {"a", "b"}) {
        const int status = Shell(File("torn.db") + "$client " + name + " 200");
        EXPECT_TRUE(status < 128 || status == 255) << status;  // a shell adds 128 to a signal
    }
}

}  // namespace
}  // namespace bv::test
