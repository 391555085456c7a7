#include "support/registry.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace bv::test {
namespace {

std::string Shown(DWORD type, const std::vector<BYTE>& data) {
    if (type == REG_SZ) {
        const std::wstring text(reinterpret_cast<const wchar_t*>(data.data()), data.size() / sizeof(wchar_t));
        return Narrow(text.substr(0, text.find(L'\0')));
    }
    if (type == REG_DWORD && data.size() == 4) {
        DWORD number = 0;
        std::memcpy(&number, data.data(), 4);
        return '#' + std::to_string(number);
    }
    std::string text;
    for (const BYTE byte : data) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02X", byte);
        text += digits;
    }
    return text;
}

void SnapshotInto(std::string& out, HKEY key, const std::string& path) {
    std::vector<std::string> values;
    std::string own;
    for (DWORD i = 0;; ++i) {
        wchar_t name[256];
        DWORD length = 256, type = 0, size = 65536;
        std::vector<BYTE> data(size);
        if (RegEnumValueW(key, i, name, &length, nullptr, &type, data.data(), &size) != ERROR_SUCCESS) break;
        data.resize(size);
        if (length)
            values.push_back("  " + Narrow(std::wstring(name, length)) + " = " + Shown(type, data) + "\n");
        else
            own = " = " + Shown(type, data);
    }
    if (!path.empty()) out += path + own + "\n";
    std::sort(values.begin(), values.end());
    for (const std::string& value : values) out += value;
    std::vector<std::wstring> keys;
    for (DWORD i = 0;; ++i) {
        wchar_t name[256];
        DWORD length = 256;
        if (RegEnumKeyExW(key, i, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
        keys.emplace_back(name, length);
    }
    for (const std::wstring& name : keys) {
        HKEY below = nullptr;
        if (RegOpenKeyExW(key, name.c_str(), 0, KEY_READ, &below) != ERROR_SUCCESS) continue;
        SnapshotInto(out, below, (path.empty() ? "" : path + "\\") + Narrow(name));
        RegCloseKey(below);
    }
}

}  // namespace

std::string Snapshot(HKEY root, const std::wstring& path) {
    std::string out;
    HKEY key = nullptr;
    if (RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return out;
    SnapshotInto(out, key, "");
    RegCloseKey(key);
    return out;
}

std::wstring TextValue(HKEY root, const std::wstring& path, const wchar_t* name) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return {};
    wchar_t text[4096] = {};
    DWORD size = sizeof text - sizeof(wchar_t);
    const bool there =
        RegQueryValueExW(key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size) == ERROR_SUCCESS;
    RegCloseKey(key);
    return there ? text : L"";
}

bool KeyExists(HKEY root, const std::wstring& path) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return false;
    RegCloseKey(key);
    return true;
}

}  // namespace bv::test
