// The registry: keys, values, enumeration, narrow and wide, several threads.
#include <gtest/gtest.h>

#include <cstring>
#include <thread>

#include "support/registry.h"

namespace bv::test {
namespace {

constexpr wchar_t kPath[] = L"Software\\BVRegistryTest";

class Registry : public testing::Test {
protected:
    LONG Open(const wchar_t* path, HKEY* result) {
        return RegOpenKeyExW(key, path, 0, KEY_ALL_ACCESS, result);
    }
    LONG Make(const wchar_t* path, DWORD* how = nullptr) {
        HKEY made = nullptr;
        const LONG status = RegCreateKeyExW(key, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &made, how);
        if (made) RegCloseKey(made);
        return status;
    }
    LONG Put(const wchar_t* name, DWORD type, const void* data, DWORD size) {
        return RegSetValueExW(key, name, 0, type, static_cast<const BYTE*>(data), size);
    }
    std::wstring SubkeyAt(DWORD index) {
        wchar_t name[256];
        DWORD length = 256;
        const LONG status = RegEnumKeyExW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr);
        return status == ERROR_SUCCESS ? std::wstring(name, length) : L"?" + std::to_wstring(status);
    }

    TestKey key{HKEY_CURRENT_USER, kPath};
};

TEST_F(Registry, KeysAreFoundWithoutCaseAndKeepTheirFirstSpelling) {
    DWORD how = 0;
    EXPECT_EQ(Make(L"Aa\\Bb", &how), ERROR_SUCCESS);
    EXPECT_EQ(how, DWORD(REG_CREATED_NEW_KEY));
    EXPECT_EQ(Make(L"AA\\bB\\", &how), ERROR_SUCCESS);
    EXPECT_EQ(how, DWORD(REG_OPENED_EXISTING_KEY));
    EXPECT_EQ(SubkeyAt(0), L"Aa");
    EXPECT_EQ(SubkeyAt(1), L"?259");
    EXPECT_EQ(Make(L"\x3C3"), ERROR_SUCCESS);
    EXPECT_EQ(Make(L"\x3A3", &how), ERROR_SUCCESS);
    EXPECT_EQ(how, DWORD(REG_OPENED_EXISTING_KEY)) << "sigma";
    EXPECT_EQ(Make(L"\x3C2", &how), ERROR_SUCCESS);
    EXPECT_EQ(how, DWORD(REG_CREATED_NEW_KEY)) << "a final sigma is a letter of its own, as in comparisons";

    HKEY found = nullptr;
    EXPECT_EQ(Open(L"aa\\cc", &found), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(RegOpenKeyExA(key, "aa", 0, KEY_READ, &found), ERROR_SUCCESS);
    EXPECT_EQ(RegCloseKey(found), ERROR_SUCCESS);
    EXPECT_EQ(Open(nullptr, &found), ERROR_SUCCESS) << "the key once more";
    EXPECT_NE(found, HKEY(key));
    RegCloseKey(found);
    EXPECT_NE(Make(std::wstring(300, L'n').c_str()), ERROR_SUCCESS);
    EXPECT_EQ(Make(std::wstring(255, L'n').c_str()), ERROR_SUCCESS);
    char name[4] = {};
    DWORD length = sizeof name;
    EXPECT_EQ(RegEnumKeyExA(key, 1, name, &length, nullptr, nullptr, nullptr, nullptr), ERROR_MORE_DATA);
}

TEST_F(Registry, SubkeysComeInAlphabeticalOrderWithoutCase) {
    for (const wchar_t* name : {L"b", L"C", L"a", L"\u00e9", L"\u00c8", L"{3}", L"B1"})
        ASSERT_EQ(Make(name), ERROR_SUCCESS);
    std::wstring order;
    for (DWORD i = 0; i < 7; ++i) order += SubkeyAt(i) + L" ";
    EXPECT_EQ(order, L"a b B1 C {3} \u00c8 \u00e9 ");

    DWORD subkeys = 0, longest = 0, values = 0, longest_name = 0, longest_value = 0;
    ASSERT_EQ(Put(L"name", REG_BINARY, "12345", 5), ERROR_SUCCESS);
    EXPECT_EQ(RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &subkeys, &longest, nullptr, &values,
                               &longest_name, &longest_value, nullptr, nullptr),
              ERROR_SUCCESS);
    EXPECT_EQ(subkeys, 7u);
    EXPECT_EQ(longest, 3u);
    EXPECT_EQ(values, 1u);
    EXPECT_EQ(longest_name, 4u);
    EXPECT_EQ(longest_value, 5u);
}

TEST_F(Registry, AKeyWithSubkeysIsDeletedAsATreeOnly) {
    ASSERT_EQ(Make(L"tree\\a\\b"), ERROR_SUCCESS);
    HKEY below = nullptr;
    ASSERT_EQ(Open(L"tree\\a\\b", &below), ERROR_SUCCESS);
    EXPECT_EQ(RegDeleteKeyW(key, L"tree"), ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegDeleteKeyA(key, "nothing"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(RegDeleteKeyW(key, L"tree\\a\\b"), ERROR_SUCCESS);
    ASSERT_EQ(Make(L"tree\\a\\b"), ERROR_SUCCESS);
    DWORD type = 0;
    EXPECT_EQ(RegQueryValueExA(below, "x", nullptr, &type, nullptr, nullptr), ERROR_KEY_DELETED)
        << "another key of that name is not the one that was opened";
    RegCloseKey(below);

    EXPECT_EQ(RegDeleteTreeA(key, "tree"), ERROR_SUCCESS);
    EXPECT_EQ(Open(L"tree", &below), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(RegDeleteTreeW(key, L"tree"), ERROR_FILE_NOT_FOUND);
    ASSERT_EQ(Make(L"other"), ERROR_SUCCESS);
    ASSERT_EQ(Put(L"v", REG_DWORD, "1234", 4), ERROR_SUCCESS);
    EXPECT_EQ(RegDeleteTreeW(key, nullptr), ERROR_SUCCESS) << "what is in the key, not the key";
    EXPECT_EQ(SubkeyAt(0), L"?259");
    EXPECT_EQ(RegDeleteValueW(key, L"v"), ERROR_FILE_NOT_FOUND);
}

TEST_F(Registry, ValuesAreReadInTheirKindAndSize) {
    const DWORD number = 0x12345678;
    ASSERT_EQ(Put(L"Number", REG_DWORD, &number, 4), ERROR_SUCCESS);
    ASSERT_EQ(Put(L"Bytes", REG_BINARY, "\0\xff\x80", 3), ERROR_SUCCESS);
    ASSERT_EQ(RegSetValueExA(key, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>("default"), 8),
              ERROR_SUCCESS);
    ASSERT_EQ(Put(L"List", REG_MULTI_SZ, L"a\0b\0", 5 * sizeof(wchar_t)), ERROR_SUCCESS);

    BYTE data[64];
    DWORD type = 0;
    DWORD size = sizeof data;
    EXPECT_EQ(RegQueryValueExA(key, "NUMBER", nullptr, &type, data, &size), ERROR_SUCCESS);
    EXPECT_EQ(type, DWORD(REG_DWORD));
    EXPECT_EQ(std::memcmp(data, &number, 4), 0);
    size = sizeof data;
    EXPECT_EQ(RegQueryValueExW(key, L"bytes", nullptr, &type, data, &size), ERROR_SUCCESS);
    EXPECT_EQ(type, DWORD(REG_BINARY));
    EXPECT_EQ(size, 3u);
    EXPECT_EQ(std::memcmp(data, "\0\xff\x80", 3), 0);
    size = sizeof data;
    EXPECT_EQ(RegQueryValueExA(key, "list", nullptr, &type, data, &size), ERROR_SUCCESS);
    EXPECT_EQ(type, DWORD(REG_MULTI_SZ));
    EXPECT_EQ(size, 5u);
    EXPECT_EQ(std::memcmp(data, "a\0b\0", 5), 0);

    size = sizeof data;
    EXPECT_EQ(RegQueryValueExW(key, nullptr, nullptr, &type, data, &size), ERROR_SUCCESS);
    EXPECT_EQ(size, 8 * sizeof(wchar_t));
    EXPECT_EQ(std::memcmp(data, L"default", size), 0) << "written narrow, read wide";
    size = 7;
    EXPECT_EQ(RegQueryValueExA(key, "", nullptr, nullptr, data, &size), ERROR_MORE_DATA);
    EXPECT_EQ(size, 8u);
    size = 0;
    EXPECT_EQ(RegQueryValueExA(key, "", nullptr, nullptr, nullptr, &size), ERROR_SUCCESS);
    EXPECT_EQ(size, 8u);
    EXPECT_EQ(RegQueryValueExA(key, "none", nullptr, &type, nullptr, nullptr), ERROR_FILE_NOT_FOUND);

    EXPECT_EQ(Put(L"NUMBER", REG_SZ, L"now a text", 11 * sizeof(wchar_t)), ERROR_SUCCESS);
    wchar_t name[16];
    bool seen = false;
    for (DWORD index = 0, length = 16;
         RegEnumValueW(key, index, name, &length, nullptr, &type, nullptr, nullptr) == 0;
         ++index, length = 16) {
        if (std::wstring(name, length) != L"Number") continue;
        seen = true;
        EXPECT_EQ(type, DWORD(REG_SZ));
    }
    EXPECT_TRUE(seen) << "a value keeps the spelling of its first writing";
    ASSERT_EQ(RegSetValueExA(key, "t", 0, REG_SZ, reinterpret_cast<const BYTE*>("text"), 4), ERROR_SUCCESS);
    EXPECT_EQ(RegQueryValueExA(key, "t", nullptr, nullptr, nullptr, &size), ERROR_SUCCESS);
    EXPECT_EQ(size, 5u) << "a text is ended for a caller who leaves that out";
    EXPECT_EQ(RegDeleteValueA(key, "number"), ERROR_SUCCESS);
    EXPECT_EQ(RegDeleteValueA(key, "number"), ERROR_FILE_NOT_FOUND);
}

TEST_F(Registry, WrongHandlesAreRefused) {
    HKEY closed = nullptr;
    ASSERT_EQ(Open(L"", &closed), ERROR_SUCCESS);
    RegCloseKey(closed);
    HKEY result = nullptr;
    EXPECT_EQ(RegOpenKeyExA(closed, "x", 0, KEY_READ, &result), ERROR_INVALID_HANDLE);
    EXPECT_EQ(RegOpenKeyExA(nullptr, "x", 0, KEY_READ, &result), ERROR_INVALID_HANDLE);
    EXPECT_EQ(RegSetValueExA(closed, "x", 0, REG_SZ, nullptr, 0), ERROR_INVALID_HANDLE);
    EXPECT_EQ(RegCloseKey(closed), ERROR_INVALID_HANDLE);
    EXPECT_EQ(RegCloseKey(HKEY_CLASSES_ROOT), ERROR_SUCCESS);
}

TEST_F(Registry, ThreadsWriteAtOnce) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([this, t] {
            for (int i = 0; i < 25; ++i)
                EXPECT_EQ(Make((L"k" + std::to_wstring(i) + L"\\t" + std::to_wstring(t)).c_str()),
                          ERROR_SUCCESS);
        });
    }
    for (std::thread& thread : threads) thread.join();
    DWORD subkeys = 0;
    EXPECT_EQ(RegQueryInfoKeyA(key, nullptr, nullptr, nullptr, &subkeys, nullptr, nullptr, nullptr, nullptr,
                               nullptr, nullptr, nullptr),
              ERROR_SUCCESS);
    EXPECT_EQ(subkeys, 25u);
}

}  // namespace
}  // namespace bv::test
