// The registry calls: handles, and the narrow and wide forms of names and texts, over the database.
#include <windows.h>

#include <algorithm>
#include <mutex>
#include <new>
#include <unordered_map>
#include <utility>

#include "registry/database.h"
#include "text/text.h"

using namespace bv::platform;

namespace {

constexpr size_t kLongestKeyName = 255;
constexpr size_t kLongestValueName = 16383;

struct Registry {
    std::mutex mutex;
    Database database;
    std::unordered_map<ULONG_PTR, KeyId> handles;
    ULONG_PTR last_handle = 0;

    /// Never ends, since modules write to it until theirs; the file is closed with the process, or opened
    /// once more.
    static Registry& Get() {
        static auto& registry = *new Registry;
        return registry;
    }
};

__attribute__((destructor)) void CloseFile() {
    std::lock_guard lock(Registry::Get().mutex);
    Registry::Get().database.Close();
}

/// A failure of the call on its way out: a system error code.
struct Refused {
    LONG code;
};

/// Runs one call: locked, the database open, failures made status codes.
template <class Body>
LONG Call(Database::Transaction::Kind kind, Body body) {
    try {
        Registry& registry = Registry::Get();
        std::lock_guard lock(registry.mutex);
        registry.database.Open();
        Database::Transaction transaction(registry.database, kind);
        body(registry);
        transaction.Commit();
        return ERROR_SUCCESS;
    } catch (const Refused& refused) {
        return refused.code;
    } catch (const DatabaseError& error) {
        return error.code;
    } catch (const std::bad_alloc&) {
        return ERROR_OUTOFMEMORY;
    }
}
constexpr auto kRead = Database::Transaction::kRead;
constexpr auto kWrite = Database::Transaction::kWrite;

KeyId KeyOf(Registry& registry, HKEY handle) {
    if (handle == HKEY_CLASSES_ROOT) return kClassesRoot;
    if (handle == HKEY_CURRENT_USER) return kCurrentUser;
    if (handle == HKEY_LOCAL_MACHINE) return kLocalMachine;
    if (handle == HKEY_USERS) return kUsers;
    if (handle == HKEY_CURRENT_CONFIG) return kCurrentConfig;
    const auto found = registry.handles.find(reinterpret_cast<ULONG_PTR>(handle));
    if (found == registry.handles.end()) throw Refused{ERROR_INVALID_HANDLE};
    if (!registry.database.Exists(found->second)) throw Refused{ERROR_KEY_DELETED};
    return found->second;
}

HKEY NewHandle(Registry& registry, KeyId key) {
    registry.last_handle += 4;
    registry.handles.emplace(registry.last_handle, key);
    return reinterpret_cast<HKEY>(registry.last_handle);
}

// --- Forms of text ------------------------------------------------------------------------------------

/// Everything that depends on whether a call is narrow or wide.
template <class Char>
struct Form;
template <>
struct Form<char> {
    static std::string In(std::string_view text) { return NarrowToUtf8(text); }
    static std::string Out(std::string_view text) { return Utf8ToNarrow(text); }
};
template <>
struct Form<wchar_t> {
    static std::string In(std::wstring_view text) { return ToUtf8(text); }
    static std::wstring Out(std::string_view text) { return ToWide(text); }
};

template <class Char>
std::string NameIn(const Char* name) {
    return name ? Form<Char>::In(name) : std::string();
}

bool IsText(DWORD type) { return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ; }

/// The content to store: texts as UTF-8, and ended by a NUL if the caller has left it out.
template <class Char>
std::string DataIn(DWORD type, const BYTE* data, DWORD size) {
    if (!IsText(type)) return {reinterpret_cast<const char*>(data), size};
    std::basic_string<Char> text(size / sizeof(Char), Char());
    if (!text.empty()) std::memcpy(text.data(), data, text.size() * sizeof(Char));
    if (!text.empty() && text.back() != 0) text += Char();
    return Form<Char>::In(text);
}

/// The bytes that a caller gets.
template <class Char>
std::string DataOut(const Value& value) {
    if (!IsText(value.type)) return value.data;
    const std::basic_string<Char> text = Form<Char>::Out(value.data);
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(Char)};
}

/// Gives type and content by the rules of RegQueryValueEx.
template <class Char>
void CopyValue(const Value& value, LPDWORD type, LPBYTE data, LPDWORD size) {
    if (data && !size) throw Refused{ERROR_INVALID_PARAMETER};
    if (type) *type = value.type;
    if (!size) return;
    const std::string bytes = DataOut<Char>(value);
    const DWORD room = *size;
    *size = static_cast<DWORD>(bytes.size());
    if (!data) return;
    if (room < bytes.size()) throw Refused{ERROR_MORE_DATA};
    std::copy(bytes.begin(), bytes.end(), data);
}

/// Gives a name. *length: in: characters in the buffer, out: in the name.
template <class Char>
void CopyName(std::string_view name, Char* buffer, LPDWORD length) {
    if (!buffer || !length) throw Refused{ERROR_INVALID_PARAMETER};
    const std::basic_string<Char> text = Form<Char>::Out(name);
    if (*length <= text.size()) throw Refused{ERROR_MORE_DATA};
    std::copy_n(text.c_str(), text.size() + 1, buffer);
    *length = static_cast<DWORD>(text.size());
}

// --- Paths of keys ------------------------------------------------------------------------------------

/// The names in a path; a backslash too many counts for nothing.
std::vector<std::string> NamesIn(std::string_view path) {
    std::vector<std::string> names;
    while (!path.empty()) {
        const size_t end = std::min(path.find('\\'), path.size());
        if (end > 0) names.emplace_back(path.substr(0, end));
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return names;
}

std::optional<KeyId> Walk(Registry& registry, HKEY handle, const std::vector<std::string>& names) {
    KeyId key = KeyOf(registry, handle);
    for (const std::string& name : names) {
        const std::optional<KeyId> next = registry.database.Subkey(key, name);
        if (!next) return std::nullopt;
        key = *next;
    }
    return key;
}

KeyId Existing(Registry& registry, HKEY handle, const std::string& path) {
    const std::optional<KeyId> key = Walk(registry, handle, NamesIn(path));
    if (!key) throw Refused{ERROR_FILE_NOT_FOUND};
    return *key;
}

// --- The calls, for either form -----------------------------------------------------------------------

template <class Char>
LONG Open(HKEY handle, const Char* path, PHKEY result) {
    if (!result) return ERROR_INVALID_PARAMETER;
    *result = nullptr;
    return Call(kRead, [&](Registry& registry) {
        *result = NewHandle(registry, Existing(registry, handle, NameIn(path)));
    });
}

template <class Char>
LONG Create(HKEY handle, const Char* path, PHKEY result, LPDWORD disposition) {
    if (!result || !path) return ERROR_INVALID_PARAMETER;
    *result = nullptr;
    std::optional<KeyId> key;
    const auto give = [&](Registry& registry, DWORD how) {
        *result = NewHandle(registry, *key);
        if (disposition) *disposition = how;
    };
    const LONG status = Call(kRead, [&](Registry& registry) {  // most creations find the key there
        key = Walk(registry, handle, NamesIn(NameIn(path)));
        if (key) give(registry, REG_OPENED_EXISTING_KEY);
    });
    if (status != ERROR_SUCCESS || key) return status;
    const LONG written = Call(kWrite, [&](Registry& registry) {
        bool made = false;
        key = KeyOf(registry, handle);
        for (const std::string& name : NamesIn(NameIn(path))) {
            if (ToWide(name).size() > kLongestKeyName) throw Refused{ERROR_INVALID_PARAMETER};
            const std::optional<KeyId> next = registry.database.Subkey(*key, name);
            made = !next;
            key = next ? *next : registry.database.AddSubkey(*key, name);
        }
        give(registry, made ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY);
    });
    if (written != ERROR_SUCCESS && *result) RegCloseKey(std::exchange(*result, nullptr));
    return written;
}

template <class Char>
LONG DeleteKey(HKEY handle, const Char* path) {
    if (!path) return ERROR_INVALID_PARAMETER;
    return Call(kWrite, [&](Registry& registry) {
        const KeyId key = Existing(registry, handle, NameIn(path));
        if (key <= kLastRoot || registry.database.SubkeyAt(key, 0)) throw Refused{ERROR_ACCESS_DENIED};
        registry.database.DeleteKey(key);
    });
}

template <class Char>
LONG DeleteTree(HKEY handle, const Char* path) {
    const std::string names = NameIn(path);
    return Call(kWrite, [&](Registry& registry) {
        const KeyId key = Existing(registry, handle, names);
        if (!names.empty() && key <= kLastRoot) throw Refused{ERROR_ACCESS_DENIED};
        registry.database.EmptyKey(key);
        if (!names.empty()) registry.database.DeleteKey(key);
    });
}

template <class Char>
LONG DeleteValue(HKEY handle, const Char* name) {
    return Call(kWrite, [&](Registry& registry) {
        if (!registry.database.DeleteValue(KeyOf(registry, handle), NameIn(name)))
            throw Refused{ERROR_FILE_NOT_FOUND};
    });
}

template <class Char>
LONG SetValue(HKEY handle, const Char* name, DWORD type, const BYTE* data, DWORD size) {
    if (!data && size > 0) return ERROR_INVALID_PARAMETER;
    return Call(kWrite, [&](Registry& registry) {
        Value value = {NameIn(name), type, DataIn<Char>(type, data, data ? size : 0)};
        if (ToWide(value.name).size() > kLongestValueName) throw Refused{ERROR_INVALID_PARAMETER};
        registry.database.SetValue(KeyOf(registry, handle), value);
    });
}

template <class Char>
LONG QueryValue(HKEY handle, const Char* name, LPDWORD type, LPBYTE data, LPDWORD size) {
    return Call(kRead, [&](Registry& registry) {
        const std::optional<Value> value = registry.database.Find(KeyOf(registry, handle), NameIn(name));
        if (!value) throw Refused{ERROR_FILE_NOT_FOUND};
        CopyValue<Char>(*value, type, data, size);
    });
}

template <class Char>
LONG EnumKey(HKEY handle, DWORD index, Char* name, LPDWORD length, PFILETIME written) {
    return Call(kRead, [&](Registry& registry) {
        const std::optional<std::string> found = registry.database.SubkeyAt(KeyOf(registry, handle), index);
        if (!found) throw Refused{ERROR_NO_MORE_ITEMS};
        CopyName(*found, name, length);
        if (written) *written = {};
    });
}

template <class Char>
LONG EnumValue(HKEY handle, DWORD index, Char* name, LPDWORD length, LPDWORD type, LPBYTE data,
               LPDWORD size) {
    return Call(kRead, [&](Registry& registry) {
        const std::optional<Value> found = registry.database.ValueAt(KeyOf(registry, handle), index);
        if (!found) throw Refused{ERROR_NO_MORE_ITEMS};
        CopyName(found->name, name, length);
        CopyValue<Char>(*found, type, data, size);
    });
}

template <class Char>
LONG QueryInfo(HKEY handle, LPDWORD subkeys, LPDWORD longest_subkey, LPDWORD longest_class, LPDWORD values,
               LPDWORD longest_name, LPDWORD longest_value, LPDWORD security_size, PFILETIME written) {
    return Call(kRead, [&](Registry& registry) {
        const KeyId key = KeyOf(registry, handle);
        const std::vector<std::string> names = registry.database.Subkeys(key);
        const std::vector<Value> entries = registry.database.Values(key);
        const auto longest = [](const auto& items, auto size) {
            size_t result = 0;
            for (const auto& item : items) result = std::max(result, size(item));
            return result;
        };
        const auto name_size = [](const std::string& name) { return Form<Char>::Out(name).size(); };
        const auto give = [](LPDWORD target, size_t number) {
            if (target) *target = static_cast<DWORD>(number);
        };
        give(subkeys, names.size());
        give(longest_subkey, longest(names, name_size));
        give(longest_class, 0);
        give(values, entries.size());
        give(longest_name, longest(entries, [&](const Value& value) { return name_size(value.name); }));
        give(longest_value, longest(entries, [](const Value& value) { return DataOut<Char>(value).size(); }));
        give(security_size, 0);
        if (written) *written = {};
    });
}

}  // namespace

extern "C" {

LONG RegOpenKeyExA(HKEY key, LPCSTR path, DWORD, REGSAM, PHKEY result) { return Open(key, path, result); }
LONG RegOpenKeyExW(HKEY key, LPCWSTR path, DWORD, REGSAM, PHKEY result) { return Open(key, path, result); }

LONG RegCreateKeyExA(HKEY key, LPCSTR path, DWORD, LPSTR, DWORD, REGSAM, LPSECURITY_ATTRIBUTES, PHKEY result,
                     LPDWORD disposition) {
    return Create(key, path, result, disposition);
}
LONG RegCreateKeyExW(HKEY key, LPCWSTR path, DWORD, LPWSTR, DWORD, REGSAM, LPSECURITY_ATTRIBUTES,
                     PHKEY result, LPDWORD disposition) {
    return Create(key, path, result, disposition);
}

LONG RegCloseKey(HKEY key) {
    if (reinterpret_cast<ULONG_PTR>(key) >= reinterpret_cast<ULONG_PTR>(HKEY_CLASSES_ROOT))
        return ERROR_SUCCESS;
    Registry& registry = Registry::Get();
    std::lock_guard lock(registry.mutex);
    return registry.handles.erase(reinterpret_cast<ULONG_PTR>(key)) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

LONG RegDeleteKeyA(HKEY key, LPCSTR path) { return DeleteKey(key, path); }
LONG RegDeleteKeyW(HKEY key, LPCWSTR path) { return DeleteKey(key, path); }
LONG RegDeleteTreeA(HKEY key, LPCSTR path) { return DeleteTree(key, path); }
LONG RegDeleteTreeW(HKEY key, LPCWSTR path) { return DeleteTree(key, path); }
LONG RegDeleteValueA(HKEY key, LPCSTR name) { return DeleteValue(key, name); }
LONG RegDeleteValueW(HKEY key, LPCWSTR name) { return DeleteValue(key, name); }

LONG RegSetValueExA(HKEY key, LPCSTR name, DWORD, DWORD type, const BYTE* data, DWORD size) {
    return SetValue(key, name, type, data, size);
}
LONG RegSetValueExW(HKEY key, LPCWSTR name, DWORD, DWORD type, const BYTE* data, DWORD size) {
    return SetValue(key, name, type, data, size);
}
LONG RegQueryValueExA(HKEY key, LPCSTR name, LPDWORD, LPDWORD type, LPBYTE data, LPDWORD size) {
    return QueryValue(key, name, type, data, size);
}
LONG RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD, LPDWORD type, LPBYTE data, LPDWORD size) {
    return QueryValue(key, name, type, data, size);
}

LONG RegEnumKeyExA(HKEY key, DWORD index, LPSTR name, LPDWORD length, LPDWORD, LPSTR, LPDWORD,
                   PFILETIME written) {
    return EnumKey(key, index, name, length, written);
}
LONG RegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, LPDWORD length, LPDWORD, LPWSTR, LPDWORD,
                   PFILETIME written) {
    return EnumKey(key, index, name, length, written);
}
LONG RegEnumValueA(HKEY key, DWORD index, LPSTR name, LPDWORD length, LPDWORD, LPDWORD type, LPBYTE data,
                   LPDWORD size) {
    return EnumValue(key, index, name, length, type, data, size);
}
LONG RegEnumValueW(HKEY key, DWORD index, LPWSTR name, LPDWORD length, LPDWORD, LPDWORD type, LPBYTE data,
                   LPDWORD size) {
    return EnumValue(key, index, name, length, type, data, size);
}

LONG RegQueryInfoKeyA(HKEY key, LPSTR, LPDWORD class_length, LPDWORD, LPDWORD subkeys, LPDWORD longest_subkey,
                      LPDWORD longest_class, LPDWORD values, LPDWORD longest_value_name,
                      LPDWORD longest_value, LPDWORD security_size, PFILETIME written) {
    if (class_length) *class_length = 0;
    return QueryInfo<char>(key, subkeys, longest_subkey, longest_class, values, longest_value_name,
                           longest_value, security_size, written);
}
LONG RegQueryInfoKeyW(HKEY key, LPWSTR, LPDWORD class_length, LPDWORD, LPDWORD subkeys,
                      LPDWORD longest_subkey, LPDWORD longest_class, LPDWORD values,
                      LPDWORD longest_value_name, LPDWORD longest_value, LPDWORD security_size,
                      PFILETIME written) {
    if (class_length) *class_length = 0;
    return QueryInfo<wchar_t>(key, subkeys, longest_subkey, longest_class, values, longest_value_name,
                              longest_value, security_size, written);
}
}
