// Ids and their texts, task memory.
#include <objbase.h>
#include <sys/random.h>
#include <windows.h>

#include <cstdlib>
#include <iterator>
#include <new>
#include <string>

namespace {

constexpr wchar_t kForm[] = L"{00000000-0000-0000-0000-000000000000}";
constexpr int kFormSize = static_cast<int>(std::size(kForm));  // with the NUL
// Where the two digits of each byte stand, in the order of the text.
constexpr int kPlaces[] = {1, 3, 5, 7, 10, 12, 15, 17, 20, 22, 25, 27, 29, 31, 33, 35};

/// The id's bytes in the order of the text: its first three fields begin with the high byte.
struct TextOrder {
    BYTE bytes[16];
};

TextOrder ToTextOrder(const GUID& id) {
    TextOrder result = {{static_cast<BYTE>(id.Data1 >> 24), static_cast<BYTE>(id.Data1 >> 16),
                         static_cast<BYTE>(id.Data1 >> 8), static_cast<BYTE>(id.Data1),
                         static_cast<BYTE>(id.Data2 >> 8), static_cast<BYTE>(id.Data2),
                         static_cast<BYTE>(id.Data3 >> 8), static_cast<BYTE>(id.Data3)}};
    std::memcpy(result.bytes + 8, id.Data4, sizeof id.Data4);
    return result;
}

GUID FromTextOrder(const TextOrder& text) {
    const BYTE* b = text.bytes;
    GUID id = {static_cast<std::uint32_t>(b[0]) << 24 | static_cast<std::uint32_t>(b[1]) << 16 |
                   static_cast<std::uint32_t>(b[2]) << 8 | b[3],
               static_cast<std::uint16_t>(b[4] << 8 | b[5]),
               static_cast<std::uint16_t>(b[6] << 8 | b[7]),
               {}};
    std::memcpy(id.Data4, b + 8, sizeof id.Data4);
    return id;
}

/// -1: no hexadecimal digit.
int DigitOf(wchar_t c) {
    if (c >= L'0' && c <= L'9') return c - L'0';
    if (c >= L'A' && c <= L'F') return c - L'A' + 10;
    if (c >= L'a' && c <= L'f') return c - L'a' + 10;
    return -1;
}

bool HasForm(LPCOLESTR text) {
    for (int i = 0; i < kFormSize; ++i) {
        const bool good = kForm[i] == L'0' ? DigitOf(text[i]) >= 0 : text[i] == kForm[i];
        if (!good) return false;  // a short text ends here, at its NUL
    }
    return true;
}

/// A copy in task memory.
HRESULT CopyText(const std::wstring& text, LPOLESTR* result) {
    const size_t size = (text.size() + 1) * sizeof(wchar_t);
    *result = static_cast<LPOLESTR>(CoTaskMemAlloc(size));
    if (!*result) return E_OUTOFMEMORY;
    std::memcpy(*result, text.c_str(), size);
    return S_OK;
}

/// The default value of a key below HKEY_CLASSES_ROOT; empty when there is none.
std::wstring ClassesText(const std::wstring& path) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return {};
    std::wstring text;
    DWORD type = 0;
    DWORD size = 0;
    if (RegQueryValueExW(key, nullptr, nullptr, &type, nullptr, &size) == ERROR_SUCCESS && type == REG_SZ) {
        text.resize(size / sizeof(wchar_t));
        if (RegQueryValueExW(key, nullptr, nullptr, nullptr, reinterpret_cast<LPBYTE>(text.data()), &size) !=
            ERROR_SUCCESS)
            text.clear();
    }
    RegCloseKey(key);
    return text.substr(0, text.find(L'\0'));
}

}  // namespace

extern "C" {

HRESULT CoCreateGuid(GUID* result) {
    if (!result) return E_INVALIDARG;
    TextOrder random = {};
    if (getrandom(random.bytes, sizeof random.bytes, 0) != sizeof random.bytes) return E_FAIL;
    random.bytes[6] = static_cast<BYTE>((random.bytes[6] & 0x0F) | 0x40);  // a random id of the common kind
    random.bytes[8] = static_cast<BYTE>((random.bytes[8] & 0x3F) | 0x80);
    *result = FromTextOrder(random);
    return S_OK;
}

HRESULT CLSIDFromString(LPCOLESTR text, LPCLSID result) {
    if (!result) return E_INVALIDARG;
    *result = CLSID_NULL;
    if (!text) return S_OK;
    if (!HasForm(text)) return CO_E_CLASSSTRING;
    TextOrder order = {};
    for (size_t i = 0; i < std::size(kPlaces); ++i)
        order.bytes[i] = static_cast<BYTE>(DigitOf(text[kPlaces[i]]) << 4 | DigitOf(text[kPlaces[i] + 1]));
    *result = FromTextOrder(order);
    return S_OK;
}

int StringFromGUID2(REFGUID id, LPOLESTR buffer, int size) {
    if (!buffer || size < kFormSize) return 0;
    constexpr wchar_t kDigits[] = L"0123456789ABCDEF";
    const TextOrder order = ToTextOrder(id);
    std::wmemcpy(buffer, kForm, kFormSize);
    for (size_t i = 0; i < std::size(kPlaces); ++i) {
        buffer[kPlaces[i]] = kDigits[order.bytes[i] >> 4];
        buffer[kPlaces[i] + 1] = kDigits[order.bytes[i] & 15];
    }
    return kFormSize;
}

HRESULT ProgIDFromCLSID(REFCLSID class_id, LPOLESTR* result) try {
    if (!result) return E_INVALIDARG;
    *result = nullptr;
    wchar_t id[kFormSize];
    StringFromGUID2(class_id, id, kFormSize);
    const std::wstring name = ClassesText(std::wstring(L"CLSID\\") + id + L"\\ProgID");
    return name.empty() ? REGDB_E_CLASSNOTREG : CopyText(name, result);
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT CLSIDFromProgID(LPCOLESTR name, LPCLSID result) try {
    if (!name || !result) return E_INVALIDARG;
    *result = CLSID_NULL;
    const std::wstring id = ClassesText(std::wstring(name) + L"\\CLSID");
    return id.empty() ? CO_E_CLASSSTRING : CLSIDFromString(id.c_str(), result);
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

LPVOID CoTaskMemAlloc(SIZE_T size) { return std::malloc(size ? size : 1); }

LPVOID CoTaskMemRealloc(LPVOID block, SIZE_T size) {
    if (!block) return CoTaskMemAlloc(size);
    if (size > 0) return std::realloc(block, size);
    std::free(block);
    return nullptr;
}

void CoTaskMemFree(LPVOID block) { std::free(block); }
}
