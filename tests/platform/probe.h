// The test module and how tests announce it.
#pragma once

#include <filesystem>

#include <bvschema/platform.h>

#include "support/environment.h"
#include "support/names.h"

namespace bv::test {

inline constexpr CLSID kProbe = {
    0x5A1E0001, 0x21B4, 0x4C0B, {0x9A, 0x55, 0x10, 0x6E, 0x3B, 0x7C, 0x44, 0x01}};
inline constexpr CLSID kSecondProbe = {
    0x5A1E0002, 0x21B4, 0x4C0B, {0x9A, 0x55, 0x10, 0x6E, 0x3B, 0x7C, 0x44, 0x01}};
/// The probe's answer to a creation with an outer object.
inline constexpr HRESULT kOuterSeen = HRESULT(0x80040250);

inline std::filesystem::path ProbePath() {
    return BinFolder() / std::filesystem::path("BVProbe").replace_extension(PathOf(kModuleFile).extension());
}

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
