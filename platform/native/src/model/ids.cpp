// Ids and their texts, task memory.
#include <objbase.h>
#include <sys/random.h>
#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <mutex>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "registry/registry_state.h"

using bv::platform::RegistryState;

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
/// False: the registry can't be read.
bool ClassesText(const std::wstring& path, std::wstring& text) {
    text.clear();
    HKEY key = nullptr;
    LONG status = RegOpenKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, KEY_READ, &key);
    if (status != ERROR_SUCCESS) return status == ERROR_FILE_NOT_FOUND;
    DWORD type = 0;
    wchar_t buffer[128];  // enough for all but a few
    DWORD size = sizeof buffer;
    status = RegQueryValueExW(key, nullptr, nullptr, &type, reinterpret_cast<LPBYTE>(buffer), &size);
    if (status == ERROR_SUCCESS && type == REG_SZ) text.assign(buffer, size / sizeof(wchar_t));
    if (status == ERROR_MORE_DATA && type == REG_SZ) {
        text.resize(size / sizeof(wchar_t));
        status =
            RegQueryValueExW(key, nullptr, nullptr, nullptr, reinterpret_cast<LPBYTE>(text.data()), &size);
        if (status != ERROR_SUCCESS) text.clear();
    }
    RegCloseKey(key);
    text.resize(std::min(text.size(), text.find(L'\0')));
    return status == ERROR_SUCCESS || status == ERROR_FILE_NOT_FOUND || status == ERROR_KEY_DELETED ||
           status == ERROR_MORE_DATA;
}

/// The programs' names of classes, as long as the registry is as it was when they were read: a refusal asks
/// for one, and may come for each value that a person types.
class KnownNames {
public:
    bool Find(std::uint64_t state, REFCLSID class_id, LPOLESTR* result, HRESULT& status) {
        std::lock_guard lock(mutex_);
        if (state == 0 || state != state_) return false;
        for (const auto& [id, name] : names_)
            if (id == class_id) {
                status = CopyText(name, result);
                return true;
            }
        return false;
    }
    /// state: before it was read.
    void Add(std::uint64_t state, REFCLSID class_id, const std::wstring& name) {
        if (state == 0 || state != RegistryState()) return;
        std::lock_guard lock(mutex_);
        if (state != state_ || names_.size() == kMost) names_.clear();
        state_ = state;
        names_.emplace_back(class_id, name);
    }

    static KnownNames& Get() {
        static auto& names = *new KnownNames;  // serves modules to their end
        return names;
    }

private:
    static constexpr size_t kMost = 16;
    std::mutex mutex_;
    std::uint64_t state_ = 0;
    std::vector<std::pair<CLSID, std::wstring>> names_;
};

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
    const std::uint64_t state = RegistryState();
    HRESULT status = S_OK;
    if (KnownNames::Get().Find(state, class_id, result, status)) return status;
    wchar_t id[kFormSize];
    StringFromGUID2(class_id, id, kFormSize);
    std::wstring name;
    if (!ClassesText(std::wstring(L"CLSID\\") + id + L"\\ProgID", name)) return REGDB_E_READREGDB;
    if (name.empty()) return REGDB_E_CLASSNOTREG;
    KnownNames::Get().Add(state, class_id, name);
    return CopyText(name, result);
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT CLSIDFromProgID(LPCOLESTR name, LPCLSID result) try {
    if (!name || !result) return E_INVALIDARG;
    *result = CLSID_NULL;
    std::wstring id;
    if (!ClassesText(std::wstring(name) + L"\\CLSID", id)) return REGDB_E_READREGDB;
    return id.empty() ? CO_E_CLASSSTRING : CLSIDFromString(id.c_str(), result);
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

LPVOID CoTaskMemAlloc(SIZE_T size) { return std::malloc(size ? size : 1); }

void CoTaskMemFree(LPVOID block) { std::free(block); }
}
