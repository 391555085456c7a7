// Reading the registry.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <bvschema/bvschema.h>

namespace host {

/// A key, open for reading.
class Key {
public:
    Key(HKEY parent, const std::wstring& path) {
        error_ = RegOpenKeyExW(parent, path.c_str(), 0, KEY_READ, &key_);
    }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;
    ~Key() {
        if (error_ == ERROR_SUCCESS) RegCloseKey(key_);
    }
    explicit operator bool() const { return error_ == ERROR_SUCCESS; }
    HKEY get() const { return key_; }
    LONG error() const { return error_; }

    std::vector<std::wstring> Subkeys() const {
        std::vector<std::wstring> names;
        wchar_t name[256];
        DWORD length = 256;
        for (DWORD i = 0;
             RegEnumKeyExW(key_, i, name, &length, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
             ++i, length = 256)
            names.emplace_back(name, length);
        return names;
    }
    /// The text or number of a value; null is the default value. Nothing when there is none.
    std::optional<std::wstring> Value(const wchar_t* name) const {
        wchar_t text[1024] = {};
        DWORD type = 0, size = sizeof text - sizeof *text;
        if (RegQueryValueExW(key_, name, nullptr, &type, reinterpret_cast<BYTE*>(text), &size) !=
            ERROR_SUCCESS)
            return {};
        if (type == REG_SZ || type == REG_EXPAND_SZ) return std::wstring(text);
        DWORD number = 0;
        if (type != REG_DWORD) return L"(" + std::to_wstring(size) + L" bytes)";
        size = sizeof number;
        RegQueryValueExW(key_, name, nullptr, nullptr, reinterpret_cast<BYTE*>(&number), &size);
        return std::to_wstring(number);
    }
    std::vector<std::wstring> ValueNames() const {
        std::vector<std::wstring> names;
        wchar_t name[256];
        DWORD length = 256;
        for (DWORD i = 0;
             RegEnumValueW(key_, i, name, &length, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
             ++i, length = 256)
            if (length > 0) names.emplace_back(name, length);
        return names;
    }

private:
    HKEY key_ = nullptr;
    LONG error_;
};

inline std::wstring DefaultOf(HKEY parent, const std::wstring& path) {
    const Key key(parent, path);
    return key ? key.Value(nullptr).value_or(L"") : std::wstring();
}

inline std::wstring GuidText(REFGUID id) {
    wchar_t text[40];
    StringFromGUID2(id, text, 40);
    return text;
}

}  // namespace host
