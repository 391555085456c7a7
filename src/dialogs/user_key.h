// A key of the current user's registry, where the dialogs keep what a person chose last.
#pragma once

#include <bvschema/platform.h>

#include <optional>
#include <string>
#include <tuple>

namespace bv {

/// Opened for reading and writing, and made when it isn't there. A key that can't be had reads as one without
/// values, and keeps nothing.
class UserKey {
public:
    static constexpr DWORD kMaxText = 255;  // bytes

    explicit UserKey(const char* path) {
        if (RegCreateKeyExA(HKEY_CURRENT_USER, path, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS,
                            nullptr, &key_, nullptr) != ERROR_SUCCESS)
            key_ = nullptr;
    }
    UserKey(const UserKey&) = delete;
    UserKey& operator=(const UserKey&) = delete;
    ~UserKey() {
        if (key_) RegCloseKey(key_);
    }

    /// Empty when there is none, or a longer one.
    std::string Text(const char* name) const {
        char text[kMaxText + 1];
        DWORD kind = 0, size = kMaxText;
        if (!key_ ||
            RegQueryValueExA(key_, name, nullptr, &kind, reinterpret_cast<BYTE*>(text), &size) !=
                ERROR_SUCCESS ||
            kind != REG_SZ)
            return {};
        text[size] = 0;
        return text;
    }
    /// Without a terminator in its length. A longer text is not kept.
    void PutText(const char* name, const std::string& text) const {
        if (key_ && text.size() <= kMaxText) Put(name, REG_SZ, text.data(), DWORD(text.size()));
    }
    /// No value when there is none of four bytes.
    std::optional<DWORD> Number(const char* name) const {
        DWORD number = 0, size = sizeof number;
        if (!key_ ||
            RegQueryValueExA(key_, name, nullptr, nullptr, reinterpret_cast<BYTE*>(&number), &size) !=
                ERROR_SUCCESS ||
            size != sizeof number)
            return {};
        return number;
    }
    void PutNumber(const char* name, DWORD number) const {
        if (key_) Put(name, REG_DWORD, &number, sizeof number);
    }

private:
    void Put(const char* name, DWORD kind, const void* data, DWORD size) const {
        std::ignore = RegSetValueExA(key_, name, 0, kind, static_cast<const BYTE*>(data),
                                     size);  // a convenience, no more
    }
    HKEY key_ = nullptr;
};

}  // namespace bv
