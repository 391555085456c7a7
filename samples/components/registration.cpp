#include "registration.h"

#include <string>

namespace sample {
namespace {

std::wstring IdText(REFGUID id) {
    wchar_t text[40];
    StringFromGUID2(id, text, 40);
    return text;
}

std::wstring ClassKey(REFGUID id) { return L"CLSID\\" + IdText(id); }

std::wstring Below(const std::wstring& key, REFGUID id) { return key + L'\\' + IdText(id); }

/// Writes a text below HKEY_CLASSES_ROOT; a null name is the key's default value.
HRESULT Write(const std::wstring& path, const wchar_t* name, const std::wstring& text) {
    HKEY key = nullptr;
    LONG error = RegCreateKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                 KEY_WRITE, nullptr, &key, nullptr);
    if (error == ERROR_SUCCESS) {
        error = RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                               DWORD((text.size() + 1) * sizeof(wchar_t)));
        RegCloseKey(key);
    }
    return HRESULT_FROM_WIN32(error);
}

void DeleteIfEmpty(const std::wstring& path) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return;
    DWORD subkeys = 1;
    RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &subkeys, nullptr, nullptr, nullptr, nullptr, nullptr,
                     nullptr, nullptr);
    RegCloseKey(key);
    if (subkeys == 0) RegDeleteKeyW(HKEY_CLASSES_ROOT, path.c_str());
}

}  // namespace

HRESULT RegisterClass(REFCLSID cls, const wchar_t* name, const wchar_t* module) {
    const std::wstring key = ClassKey(cls);
    const std::wstring server = key + L"\\InprocServer32";
    HRESULT status = Write(key, nullptr, name);
    if (SUCCEEDED(status)) status = Write(server, nullptr, module);
    if (SUCCEEDED(status)) status = Write(server, L"ThreadingModel", L"Both");
    return status;
}

void UnregisterClass(REFCLSID cls) { RegDeleteTreeW(HKEY_CLASSES_ROOT, ClassKey(cls).c_str()); }

HRESULT Announce(const Announcement& component) {
    const std::wstring key = Below(Below(ClassKey(bv::category::Root), component.category), component.cls);
    HRESULT status = Write(key, nullptr, component.name);
    // A reader gets the texts in the order of the keys' names.
    wchar_t number[] = L"0";
    for (const wchar_t* text : component.extra) {
        if (text && SUCCEEDED(status)) status = Write(key + L'\\' + number, nullptr, text);
        ++number[0];
    }
    return status;
}

HRESULT AnnounceFilter(REFCLSID cls, const wchar_t* name) {
    const std::wstring key = Below(ClassKey(bv::category::Filters) + L"\\Instance", cls);
    HRESULT status = Write(key, L"CLSID", IdText(cls));
    if (SUCCEEDED(status)) status = Write(key, L"FriendlyName", name);
    return status;
}

void WithdrawFilter(REFCLSID cls) {
    const std::wstring category = ClassKey(bv::category::Filters);
    RegDeleteTreeW(HKEY_CLASSES_ROOT, Below(category + L"\\Instance", cls).c_str());
    DeleteIfEmpty(category + L"\\Instance");
    DeleteIfEmpty(category);
}

void Withdraw(const Announcement& component) {
    const std::wstring root = ClassKey(bv::category::Root);
    const std::wstring category = Below(root, component.category);
    RegDeleteTreeW(HKEY_CLASSES_ROOT, Below(category, component.cls).c_str());
    DeleteIfEmpty(category);
    DeleteIfEmpty(root);
}

}  // namespace sample
