// The registry, as a test looks at it and changes it.
#pragma once

#include <string>
#include <vector>

#include <bvschema/platform.h>

#include "support/node.h"

namespace bv::test {

/// All that stands below a key, a line each: "path" or "path = default value", then "  name = value" for the
/// named values. Numbers are #decimal, bytes are hexadecimal. Empty when there is no such key, or nothing in
/// it.
std::string Snapshot(HKEY root, const std::wstring& path);

/// A text value, empty when there is none. A null name is the default value.
std::wstring TextValue(HKEY root, const std::wstring& path, const wchar_t* name = nullptr);

bool KeyExists(HKEY root, const std::wstring& path);

inline std::wstring TextOf(const GUID& id) {
    wchar_t text[39] = {};
    StringFromGUID2(id, text, 39);
    return text;
}

/// A key with its values as a test writes them, and all below it, deleted at the end.
class TestKey {
public:
    TestKey(HKEY root, const std::wstring& path) : root_(root), path_(path) {
        RegCreateKeyExW(root, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key_, nullptr);
    }
    ~TestKey() {
        RegCloseKey(key_);
        RegDeleteTreeW(root_, path_.c_str());
    }
    TestKey(const TestKey&) = delete;
    TestKey& operator=(const TestKey&) = delete;

    operator HKEY() const { return key_; }

    /// Writes a text into a subkey (empty: this key), making it. A null name is the default value.
    void Put(const std::wstring& subkey, const wchar_t* name, const std::wstring& text) const {
        HKEY target = nullptr;
        RegCreateKeyExW(key_, subkey.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &target, nullptr);
        RegSetValueExW(target, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                       DWORD((text.size() + 1) * sizeof(wchar_t)));
        RegCloseKey(target);
    }

private:
    HKEY root_;
    std::wstring path_;
    HKEY key_ = nullptr;
};

/// A class registered to be served by the file.
class TestClass : public TestKey {
public:
    TestClass(const CLSID& id, const std::wstring& module)
        : TestKey(HKEY_CLASSES_ROOT, L"CLSID\\" + TextOf(id)) {
        Put(L"InprocServer32", nullptr, module);
        Put(L"InprocServer32", L"ThreadingModel", L"both");
    }
};

}  // namespace bv::test
