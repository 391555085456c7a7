// A key of the registry, opened, and its short values.
#pragma once

#include <bvschema/platform.h>

#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

namespace bv {

/// Closed at its end. A key that couldn't be had has no values, and keeps none.
class RegistryKey {
public:
    static constexpr DWORD kMaxText = 255;  // bytes
    static constexpr DWORD kMaxName = 255;  // characters, the registry's own limit

    /// For reading. error: why there is none.
    static RegistryKey Open(HKEY parent, const char* path, LSTATUS* error = nullptr) {
        RegistryKey key;
        const LSTATUS status = RegOpenKeyExA(parent, path, 0, KEY_READ, &key.key_);
        if (status != ERROR_SUCCESS) key.key_ = nullptr;
        if (error) *error = status;
        return key;
    }
    /// For reading and writing, made when it isn't there.
    static RegistryKey Create(HKEY parent, const char* path) {
        RegistryKey key;
        if (RegCreateKeyExA(parent, path, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr,
                            &key.key_, nullptr) != ERROR_SUCCESS)
            key.key_ = nullptr;
        return key;
    }
    RegistryKey(RegistryKey&& other) noexcept : key_(std::exchange(other.key_, nullptr)) {}
    RegistryKey& operator=(RegistryKey&&) = delete;
    ~RegistryKey() {
        if (key_) RegCloseKey(key_);
    }

    explicit operator bool() const { return key_ != nullptr; }
    HKEY get() const { return key_; }

    /// None when there is no text of at most 255 bytes. name: null for the key's own value.
    std::optional<std::string> Text(const char* name) const {
        char text[kMaxText + 2];
        DWORD kind = 0, size = kMaxText + 1;  // with the zero that may be stored, or is added
        if (!key_ ||
            RegQueryValueExA(key_, name, nullptr, &kind, reinterpret_cast<BYTE*>(text), &size) !=
                ERROR_SUCCESS ||
            (kind != REG_SZ && kind != REG_EXPAND_SZ))
            return {};
        text[size] = 0;  // what is stored need not end in one
        std::string result(text);
        if (result.size() > kMaxText) return {};
        return result;
    }
    /// Without a terminator in its length. A longer text is not kept.
    void PutText(const char* name, std::string_view text) const {
        if (text.size() <= kMaxText) Put(name, REG_SZ, text.data(), DWORD(text.size()));
    }
    /// None when there is no value of four bytes.
    std::optional<DWORD> Number(const char* name) const {
        DWORD number = 0, size = sizeof number;
        if (!key_ ||
            RegQueryValueExA(key_, name, nullptr, nullptr, reinterpret_cast<BYTE*>(&number), &size) !=
                ERROR_SUCCESS ||
            size != sizeof number)
            return {};
        return number;
    }
    void PutNumber(const char* name, DWORD number) const { Put(name, REG_DWORD, &number, sizeof number); }

    /// Calls each(name) for the subkeys in the registry's order.
    template <class Each>
    void ForEachSubkey(Each each) const {
        char name[kMaxName + 1];
        for (DWORD i = 0; key_; ++i) {
            DWORD length = sizeof name;
            const LSTATUS status = RegEnumKeyExA(key_, i, name, &length, nullptr, nullptr, nullptr, nullptr);
            if (status == ERROR_MORE_DATA) continue;
            if (status != ERROR_SUCCESS) return;
            each(name);
        }
    }

private:
    RegistryKey() = default;
    void Put(const char* name, DWORD kind, const void* data, DWORD size) const {
        // What is kept is a convenience, no more.
        if (key_) std::ignore = RegSetValueExA(key_, name, 0, kind, static_cast<const BYTE*>(data), size);
    }

    HKEY key_ = nullptr;
};

}  // namespace bv
