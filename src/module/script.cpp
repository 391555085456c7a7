#include "module/script.h"

#include <algorithm>
#include <charconv>
#include <vector>

#include "com/ascii.h"
#include "com/bstr.h"
#include "com/com_ptr.h"

namespace bv {
namespace {

constexpr size_t kMaxName = 31;      // of a replacement
constexpr size_t kMaxQuoted = 4094;  // bytes of a quoted token
constexpr int kMaxDepth = 64;        // of blocks

HKEY RootKey(std::string_view name) {
    struct Root {
        std::string_view brief;
        std::string_view full;
        HKEY key;
    };
    const Root roots[] = {{"HKCR", "HKEY_CLASSES_ROOT", HKEY_CLASSES_ROOT},
                          {"HKCU", "HKEY_CURRENT_USER", HKEY_CURRENT_USER},
                          {"HKLM", "HKEY_LOCAL_MACHINE", HKEY_LOCAL_MACHINE},
                          {"HKU", "HKEY_USERS", HKEY_USERS},
                          {"HKPD", "HKEY_PERFORMANCE_DATA", HKEY_PERFORMANCE_DATA},
                          {"HKDD", "HKEY_DYN_DATA", HKEY_DYN_DATA},
                          {"HKCC", "HKEY_CURRENT_CONFIG", HKEY_CURRENT_CONFIG}};
    for (const Root& root : roots)
        if (SameAscii(name, root.brief) || SameAscii(name, root.full)) return root.key;
    return nullptr;
}

/// An open registry key, closed at its end; the root keys are lent.
class Key {
public:
    explicit Key(HKEY lent = nullptr) : key_(lent), owned_(false) {}
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;
    ~Key() { Close(); }

    HKEY get() const { return key_; }
    bool Open(HKEY parent, const std::string& name, REGSAM access) {
        Close();
        owned_ = RegOpenKeyExA(parent, name.c_str(), 0, access, &key_) == ERROR_SUCCESS;
        return owned_;
    }
    bool Create(HKEY parent, const std::string& name) {
        Close();
        owned_ = RegCreateKeyExA(parent, name.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS,
                                 nullptr, &key_, nullptr) == ERROR_SUCCESS;
        return owned_;
    }
    void Close() {
        if (owned_) RegCloseKey(key_);
        key_ = nullptr;
        owned_ = false;
    }
    bool HasSubkeys() const {
        DWORD subkeys = 0;
        return RegQueryInfoKeyA(key_, nullptr, nullptr, nullptr, &subkeys, nullptr, nullptr, nullptr, nullptr,
                                nullptr, nullptr, nullptr) == ERROR_SUCCESS &&
               subkeys > 0;
    }
    bool HasNamedValues() const {
        char name[2];  // a longer name is reported as such, which is answer enough
        DWORD size = sizeof name;
        for (DWORD i = 0;; ++i, size = sizeof name) {
            const LSTATUS status = RegEnumValueA(key_, i, name, &size, nullptr, nullptr, nullptr, nullptr);
            if (status == ERROR_MORE_DATA || (status == ERROR_SUCCESS && size > 0)) return true;
            if (status != ERROR_SUCCESS) return false;
        }
    }

private:
    HKEY key_;
    bool owned_;
};

struct Token {
    std::string text;
    bool quoted = false;

    bool Is(std::string_view word) const { return !quoted && SameAscii(text, word); }
};

class Interpreter {
public:
    explicit Interpreter(std::string_view text) : text_(text) {}

    HRESULT Run(bool registering) {
        for (;;) {
            SkipBlanks();
            if (at_ >= text_.size()) return S_OK;
            Token token;
            RETURN_IF_FAILED(Next(token));
            HKEY const root = RootKey(token.text);
            if (!root) return DISP_E_EXCEPTION;
            RETURN_IF_FAILED(Next(token));
            if (!token.Is("{")) return DISP_E_EXCEPTION;
            const size_t start = at_;
            const HRESULT status = registering ? Register(root, 1) : Unregister(root, false, 1);
            if (FAILED(status) && registering) {
                at_ = start;
                std::ignore = Unregister(root, false, 1);
            }
            RETURN_IF_FAILED(status);
        }
    }

private:
    static bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }
    void SkipBlanks() {
        while (at_ < text_.size() && IsBlank(text_[at_])) ++at_;
    }

    HRESULT Next(Token& token) {
        token.text.clear();
        token.quoted = false;
        SkipBlanks();
        if (at_ >= text_.size()) return DISP_E_EXCEPTION;
        if (text_[at_] != '\'') {
            const size_t start = at_;
            while (at_ < text_.size() && !IsBlank(text_[at_])) ++at_;
            token.text = text_.substr(start, at_ - start);
            return S_OK;
        }
        token.quoted = true;
        for (++at_; at_ < text_.size(); ++at_) {
            if (text_[at_] == '\'') {
                ++at_;
                if (at_ >= text_.size() || text_[at_] != '\'') return S_OK;
            }
            if (token.text.size() == kMaxQuoted) return DISP_E_EXCEPTION;
            token.text += text_[at_];
        }
        return DISP_E_EXCEPTION;
    }
    /// Whether the next token is that one; it is taken then.
    bool Take(std::string_view word) {
        const size_t before = at_;
        Token token;
        if (SUCCEEDED(Next(token)) && token.Is(word)) return true;
        at_ = before;
        return false;
    }
    static HRESULT CheckKeyName(const Token& token) {
        // Without a name it would be the enclosing key itself, with all that isn't the script's.
        const bool bad = token.text.empty() || token.text.find('\\') != std::string::npos || token.Is("{") ||
                         token.Is("=");
        return bad ? DISP_E_EXCEPTION : S_OK;
    }

    HRESULT Register(HKEY key, int depth) {
        if (depth > kMaxDepth) return DISP_E_EXCEPTION;
        for (;;) {
            Token token;
            RETURN_IF_FAILED(Next(token));
            if (token.Is("}")) return S_OK;
            const bool only_delete = token.Is("Delete");
            if (only_delete || token.Is("ForceRemove")) {
                RETURN_IF_FAILED(Next(token));
                RETURN_IF_FAILED(CheckKeyName(token));
                if (!SameAscii(token.text, "CLSID") && !SameAscii(token.text, "TYPELIB"))
                    std::ignore = RegDeleteTreeA(key, token.text.c_str());
                if (only_delete) {
                    RETURN_IF_FAILED(SkipItem(depth));
                    continue;
                }
            } else if (token.Is("NoRemove")) {
                RETURN_IF_FAILED(Next(token));
            } else if (token.Is("Val")) {
                RETURN_IF_FAILED(Next(token));
                if (!Take("=")) return DISP_E_EXCEPTION;
                RETURN_IF_FAILED(WriteValue(key, token.text.c_str()));
                continue;
            }
            RETURN_IF_FAILED(CheckKeyName(token));
            Key subkey;
            if (!subkey.Open(key, token.text, KEY_ALL_ACCESS) && !subkey.Open(key, token.text, KEY_READ) &&
                !subkey.Create(key, token.text))
                return DISP_E_EXCEPTION;
            if (Take("=")) RETURN_IF_FAILED(WriteValue(subkey.get(), nullptr));
            if (Take("{")) RETURN_IF_FAILED(Register(subkey.get(), depth + 1));
        }
    }

    /// absent: the key isn't there, and what the block says is only read through. A fault ends the run, but
    /// the keys of the blocks that it lies in still go: a failed registration has made them.
    HRESULT Unregister(HKEY key, bool absent, int depth) {
        if (depth > kMaxDepth) return DISP_E_EXCEPTION;
        bool deleting = true;
        for (;;) {
            Token token;
            RETURN_IF_FAILED(Next(token));
            if (token.Is("}")) return S_OK;
            if (token.Is("Delete") || token.Is("ForceRemove")) {
                RETURN_IF_FAILED(Next(token));
            } else if (token.Is("NoRemove")) {
                deleting = false;
                RETURN_IF_FAILED(Next(token));
            } else if (token.Is("Val")) {
                RETURN_IF_FAILED(Next(token));
                if (!absent) std::ignore = RegDeleteValueA(key, token.text.c_str());
                RETURN_IF_FAILED(SkipAssignment());
                continue;
            }
            RETURN_IF_FAILED(CheckKeyName(token));
            Key subkey;
            if (absent || !subkey.Open(key, token.text, KEY_READ | KEY_SET_VALUE)) {
                if (absent || !subkey.Open(key, token.text, KEY_READ)) {
                    RETURN_IF_FAILED(SkipItem(depth));
                    continue;
                }
            }
            HRESULT status = S_OK;
            if (subkey.HasSubkeys() || subkey.HasNamedValues()) {
                RETURN_IF_FAILED(SkipAssignment());
                if (Take("{")) status = Unregister(subkey.get(), false, depth + 1);
                if (subkey.HasSubkeys()) {
                    RETURN_IF_FAILED(status);
                    continue;
                }
            }
            subkey.Close();
            if (deleting) std::ignore = RegDeleteKeyA(key, token.text.c_str());
            RETURN_IF_FAILED(status);
            RETURN_IF_FAILED(SkipItem(depth));
        }
    }

    HRESULT WriteValue(HKEY key, const char* name) {
        Token kind, value;
        RETURN_IF_FAILED(Next(kind));
        if (!kind.Is("s") && !kind.Is("d") && !kind.Is("b")) return DISP_E_EXCEPTION;
        RETURN_IF_FAILED(Next(value));
        const std::string& text = value.text;
        if (kind.Is("s")) {
            Write(key, name, REG_SZ, text.c_str(), text.size() + 1);
        } else if (kind.Is("d")) {
            DWORD number = 0;
            const auto parsed = std::from_chars(text.data(), text.data() + text.size(), number);
            if (parsed.ec == std::errc::result_out_of_range) number = ~DWORD(0);
            Write(key, name, REG_DWORD, &number, sizeof number);
        } else {
            if (text.size() % 2) return E_FAIL;
            std::vector<BYTE> bytes;
            for (size_t i = 0; i < text.size(); i += 2)
                bytes.push_back(BYTE(Digit(text[i]) << 4 | Digit(text[i + 1])));
            Write(key, name, REG_BINARY, bytes.data(), bytes.size());
        }
        return S_OK;
    }
    static void Write(HKEY key, const char* name, DWORD kind, const void* data, size_t size) {
        std::ignore = RegSetValueExA(key, name, 0, kind, static_cast<const BYTE*>(data), DWORD(size));
    }
    /// Any other character counts as 0.
    static int Digit(char c) { return std::max(HexDigit(c), 0); }

    HRESULT SkipAssignment() {
        if (!Take("=")) return S_OK;
        Token token;
        RETURN_IF_FAILED(Next(token));
        return Next(token);
    }
    /// What may follow a key: an assignment, a block.
    HRESULT SkipItem(int depth) {
        RETURN_IF_FAILED(SkipAssignment());
        return Take("{") ? Unregister(nullptr, true, depth + 1) : S_OK;
    }

    std::string_view text_;
    size_t at_ = 0;
};

}  // namespace

HRESULT Substitute(std::string_view text, std::span<const Replacement> replacements, std::string& result) {
    while (!text.empty()) {
        const size_t start = std::min(text.find('%'), text.size());
        result += text.substr(0, start);
        text.remove_prefix(start);
        if (text.empty()) break;
        text.remove_prefix(1);
        const size_t length = text.find('%');
        if (length == std::string_view::npos) return DISP_E_EXCEPTION;
        if (length > kMaxName) return E_FAIL;
        const std::string_view name = text.substr(0, length);
        text.remove_prefix(length + 1);
        if (name.empty()) {
            result += '%';
            continue;
        }
        const Replacement* found = nullptr;
        for (const Replacement& replacement : replacements)
            if (SameAscii(replacement.name, name)) found = &replacement;
        if (!found) return DISP_E_EXCEPTION;
        result += found->value;
    }
    return S_OK;
}

HRESULT RunScript(std::string_view text, std::span<const Replacement> replacements, bool registering) {
    std::string script;
    RETURN_IF_FAILED(Substitute(text.substr(0, text.find('\0')), replacements, script));
    return Interpreter(script).Run(registering);
}

}  // namespace bv
