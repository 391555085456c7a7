// The registry calls: handles, and the narrow and wide forms of names and texts, over the database.
#include <bvschema/registry_change.h>
#include <windows.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <new>
#include <unordered_map>
#include <utility>

#include "registry/database.h"
#include "registry/registry_state.h"
#include "text/text.h"

using namespace bv::platform;

namespace {

constexpr size_t kLongestKeyName = 255;
constexpr size_t kLongestValueName = 16383;

/// What all threads share. It never ends, since modules write to it until theirs; the file is closed with the
/// process, or opened once more.
struct Registry {
    std::mutex mutex;  // of the database
    Database database;

    static Registry& Get() {
        static auto& registry = *new Registry;
        return registry;
    }
};

/// The keys that are open. Never waits for the file.
struct Handles {
    std::mutex mutex;
    std::unordered_map<ULONG_PTR, KeyId> keys;
    ULONG_PTR last = 0;

    static Handles& Get() {
        static auto& handles = *new Handles;
        return handles;
    }
};

/// One thread's change, on a connection of its own.
struct Change {
    Database database;
    int depth = 1;
};
thread_local Change* this_change __attribute__((tls_model("initial-exec"))) = nullptr;

__attribute__((destructor)) void CloseFile() {
    std::lock_guard lock(Registry::Get().mutex);
    Registry::Get().database.Close();
}

/// Runs a part of a call; what it throws becomes its status.
template <class Body>
LONG Guarded(Body body) {
    try {
        return body();
    } catch (const DatabaseError& error) {
        return error.code;
    } catch (const std::bad_alloc&) {
        return ERROR_OUTOFMEMORY;
    }
}

/// Runs a call's body, which gives its status, on the database that is this thread's now.
template <class Body>
LONG Call(Body body) {
    return Guarded([&]() -> LONG {
        if (this_change) return body(this_change->database);
        Registry& registry = Registry::Get();
        std::lock_guard lock(registry.mutex);
        registry.database.Open();
        try {
            return body(registry.database);
        } catch (const DatabaseError& error) {
            if (error.reopen) registry.database.Close();
            throw;
        }
    });
}
template <class Body>
LONG Read(Body body) {
    return Call([&](Database& database) { return database.Read([&] { return body(database); }); });
}
template <class Body>
LONG Write(Body body) {
    return Call([&](Database& database) { return database.Write([&] { return body(database); }); });
}

#define RETURN_IF_ERROR(expression)                                                   \
    do {                                                                              \
        if (const LONG error_ = (expression); error_ != ERROR_SUCCESS) return error_; \
    } while (false)

LONG KeyOf(Database& database, HKEY handle, KeyId& key) {
    const std::pair<HKEY, KeyId> roots[] = {{HKEY_CLASSES_ROOT, kClassesRoot},
                                            {HKEY_CURRENT_USER, kCurrentUser},
                                            {HKEY_LOCAL_MACHINE, kLocalMachine},
                                            {HKEY_USERS, kUsers},
                                            {HKEY_CURRENT_CONFIG, kCurrentConfig}};
    for (const auto& [root, id] : roots)
        if (handle == root) {
            key = id;
            return ERROR_SUCCESS;
        }
    {
        Handles& handles = Handles::Get();
        std::lock_guard lock(handles.mutex);
        const auto found = handles.keys.find(reinterpret_cast<ULONG_PTR>(handle));
        if (found == handles.keys.end()) return ERROR_INVALID_HANDLE;
        key = found->second;
    }
    return database.Exists(key) ? ERROR_SUCCESS : ERROR_KEY_DELETED;
}

HKEY NewHandle(KeyId key) {
    Handles& handles = Handles::Get();
    std::lock_guard lock(handles.mutex);
    handles.last += 4;
    handles.keys.emplace(handles.last, key);
    return reinterpret_cast<HKEY>(handles.last);
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
LONG CopyValue(const Value& value, LPDWORD type, LPBYTE data, LPDWORD size) {
    if (data && !size) return ERROR_INVALID_PARAMETER;
    if (type) *type = value.type;
    if (!size) return ERROR_SUCCESS;
    const std::string bytes = DataOut<Char>(value);
    const DWORD room = *size;
    *size = static_cast<DWORD>(bytes.size());
    if (!data) return ERROR_SUCCESS;
    if (room < bytes.size()) return ERROR_MORE_DATA;
    std::copy(bytes.begin(), bytes.end(), data);
    return ERROR_SUCCESS;
}

/// Gives a name. *length: in: characters in the buffer, out: in the name.
template <class Char>
LONG CopyName(std::string_view name, Char* buffer, LPDWORD length) {
    if (!buffer || !length) return ERROR_INVALID_PARAMETER;
    const std::basic_string<Char> text = Form<Char>::Out(name);
    if (*length <= text.size()) return ERROR_MORE_DATA;
    std::copy_n(text.c_str(), text.size() + 1, buffer);
    *length = static_cast<DWORD>(text.size());
    return ERROR_SUCCESS;
}

// --- Paths of keys ------------------------------------------------------------------------------------

/// Takes the first name off a path, empty at the end. A backslash too many counts for nothing.
std::string_view NextName(std::string_view& path) {
    path.remove_prefix(std::min(path.find_first_not_of('\\'), path.size()));
    const std::string_view name = path.substr(0, path.find('\\'));
    path.remove_prefix(name.size());
    return name;
}

/// ERROR_FILE_NOT_FOUND when there is no such key.
LONG Walk(Database& database, HKEY handle, std::string_view path, KeyId& key) {
    RETURN_IF_ERROR(KeyOf(database, handle, key));
    for (std::string_view name = NextName(path); !name.empty(); name = NextName(path)) {
        const std::optional<KeyId> next = database.Subkey(key, name);
        if (!next) return ERROR_FILE_NOT_FOUND;
        key = *next;
    }
    return ERROR_SUCCESS;
}

// --- The calls, for either form -----------------------------------------------------------------------

/// Runs `call`, which fills in the handle; none is left after a failure.
template <class Call>
LONG Giving(PHKEY result, Call call) {
    *result = nullptr;
    const LONG status = call();
    if (status != ERROR_SUCCESS && *result) RegCloseKey(std::exchange(*result, nullptr));
    return status;
}

template <class Char>
LONG Open(HKEY handle, const Char* path, PHKEY result) {
    if (!result) return ERROR_INVALID_PARAMETER;
    return Giving(result, [&] {
        return Read([&](Database& database) -> LONG {
            KeyId key = 0;
            RETURN_IF_ERROR(Walk(database, handle, NameIn(path), key));
            *result = NewHandle(key);
            return ERROR_SUCCESS;
        });
    });
}

/// Makes what is missing of the path.
template <class Char>
LONG Make(Database& database, HKEY handle, const Char* path, PHKEY result, DWORD& how) {
    KeyId key = 0;
    RETURN_IF_ERROR(KeyOf(database, handle, key));
    const std::string names = NameIn(path);
    std::string_view rest = names;
    for (std::string_view name = NextName(rest); !name.empty(); name = NextName(rest)) {
        if (ToWide(name).size() > kLongestKeyName) return ERROR_INVALID_PARAMETER;
        const std::optional<KeyId> next = database.Subkey(key, name);
        how = next ? REG_OPENED_EXISTING_KEY : REG_CREATED_NEW_KEY;
        key = next ? *next : database.AddSubkey(key, name);
    }
    *result = NewHandle(key);
    return ERROR_SUCCESS;
}

template <class Char>
LONG Create(HKEY handle, const Char* path, PHKEY result, LPDWORD disposition) {
    if (!result || !path) return ERROR_INVALID_PARAMETER;
    DWORD how = REG_OPENED_EXISTING_KEY;
    LONG status = Open(handle, path, result);  // most creations find the key there
    if (status == ERROR_FILE_NOT_FOUND)
        status = Giving(result, [&] {
            return Write([&](Database& database) { return Make(database, handle, path, result, how); });
        });
    if (status == ERROR_SUCCESS && disposition) *disposition = how;
    return status;
}

template <class Char>
LONG DeleteKey(HKEY handle, const Char* path) {
    if (!path) return ERROR_INVALID_PARAMETER;
    return Write([&](Database& database) -> LONG {
        KeyId key = 0;
        RETURN_IF_ERROR(Walk(database, handle, NameIn(path), key));
        if (key <= kLastRoot || database.SubkeyAt(key, 0)) return ERROR_ACCESS_DENIED;
        database.DeleteKey(key);
        return ERROR_SUCCESS;
    });
}

template <class Char>
LONG DeleteTree(HKEY handle, const Char* path) {
    return Write([&](Database& database) -> LONG {
        const std::string names = NameIn(path);
        KeyId key = 0;
        RETURN_IF_ERROR(Walk(database, handle, names, key));
        if (!names.empty() && key <= kLastRoot) return ERROR_ACCESS_DENIED;
        database.EmptyKey(key);
        if (!names.empty()) database.DeleteKey(key);
        return ERROR_SUCCESS;
    });
}

template <class Char>
LONG DeleteValue(HKEY handle, const Char* name) {
    return Write([&](Database& database) -> LONG {
        KeyId key = 0;
        RETURN_IF_ERROR(KeyOf(database, handle, key));
        return database.DeleteValue(key, NameIn(name)) ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
    });
}

template <class Char>
LONG SetValue(HKEY handle, const Char* name, DWORD type, const BYTE* data, DWORD size) {
    if (!data && size > 0) return ERROR_INVALID_PARAMETER;
    return Write([&](Database& database) -> LONG {
        const Value value = {NameIn(name), type, DataIn<Char>(type, data, data ? size : 0)};
        if (ToWide(value.name).size() > kLongestValueName) return ERROR_INVALID_PARAMETER;
        KeyId key = 0;
        RETURN_IF_ERROR(KeyOf(database, handle, key));
        database.SetValue(key, value);
        return ERROR_SUCCESS;
    });
}

template <class Char>
LONG QueryValue(HKEY handle, const Char* name, LPDWORD type, LPBYTE data, LPDWORD size) {
    return Read([&](Database& database) -> LONG {
        KeyId key = 0;
        RETURN_IF_ERROR(KeyOf(database, handle, key));
        const std::optional<Value> value = database.Find(key, NameIn(name));
        return value ? CopyValue<Char>(*value, type, data, size) : ERROR_FILE_NOT_FOUND;
    });
}

template <class Char>
LONG EnumKey(HKEY handle, DWORD index, Char* name, LPDWORD length, PFILETIME written) {
    return Read([&](Database& database) -> LONG {
        KeyId key = 0;
        RETURN_IF_ERROR(KeyOf(database, handle, key));
        const std::optional<std::string> found = database.SubkeyAt(key, index);
        if (!found) return ERROR_NO_MORE_ITEMS;
        RETURN_IF_ERROR(CopyName(*found, name, length));
        if (written) *written = {};
        return ERROR_SUCCESS;
    });
}

template <class Char>
LONG EnumValue(HKEY handle, DWORD index, Char* name, LPDWORD length, LPDWORD type, LPBYTE data,
               LPDWORD size) {
    return Read([&](Database& database) -> LONG {
        KeyId key = 0;
        RETURN_IF_ERROR(KeyOf(database, handle, key));
        const std::optional<Value> found = database.ValueAt(key, index);
        if (!found) return ERROR_NO_MORE_ITEMS;
        RETURN_IF_ERROR(CopyName(found->name, name, length));
        return CopyValue<Char>(*found, type, data, size);
    });
}

template <class Char>
LONG QueryInfo(HKEY handle, LPDWORD subkeys, LPDWORD longest_subkey, LPDWORD longest_class, LPDWORD values,
               LPDWORD longest_name, LPDWORD longest_value, LPDWORD security_size, PFILETIME written) {
    return Read([&](Database& database) -> LONG {
        KeyId key = 0;
        RETURN_IF_ERROR(KeyOf(database, handle, key));
        const std::vector<std::string> names = database.Subkeys(key);
        const std::vector<Value> entries = database.Values(key);
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
        return ERROR_SUCCESS;
    });
}

}  // namespace

std::uint64_t bv::platform::RegistryState() {
    if (this_change) return 0;
    Registry& registry = Registry::Get();
    std::lock_guard lock(registry.mutex);
    return registry.database.State();
}

extern "C" {

LONG BvBeginRegistryChange() {
    if (this_change) return ++this_change->depth, ERROR_SUCCESS;
    return Guarded([]() -> LONG {
        auto change = std::make_unique<Change>();
        change->database.BeginChange();
        this_change = change.release();
        return ERROR_SUCCESS;
    });
}

LONG BvEndRegistryChange(BOOL keep) {
    if (!this_change) return ERROR_INVALID_HANDLE;
    if (!keep) this_change->database.Spoil(ERROR_CANCELLED);
    if (--this_change->depth > 0) return ERROR_SUCCESS;
    std::unique_ptr<Change> change(std::exchange(this_change, nullptr));
    bool reopen = change->database.WantsReopening();
    const LONG status = keep ? Guarded([&]() -> LONG {
        try {
            return change->database.CommitChange(), ERROR_SUCCESS;
        } catch (const DatabaseError& error) {
            reopen = reopen || error.reopen;
            throw;
        }
    })
                             : ERROR_SUCCESS;
    change.reset();  // takes back what is open
    if (reopen) {
        Registry& registry = Registry::Get();
        std::lock_guard lock(registry.mutex);
        registry.database.Close();
    }
    return status;
}

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
    Handles& handles = Handles::Get();
    std::lock_guard lock(handles.mutex);
    return handles.keys.erase(reinterpret_cast<ULONG_PTR>(key)) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
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
