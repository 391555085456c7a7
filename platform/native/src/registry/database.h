// The registry's keys and values in their database file, below the calls and their forms of text. All names
// and texts are UTF-8. Not locked: the caller sees to it that one thread at a time is inside.
#pragma once

#include <sqlite3.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "windef.h"

namespace bv::platform {

using KeyId = long long;

/// Keys that are always there and can't be deleted.
enum RootKey : KeyId {
    kLocalMachine = 1,
    kCurrentUser = 2,
    kUsers = 3,
    kCurrentConfig = 4,
    kSoftware = 5,     // below kLocalMachine
    kClassesRoot = 6,  // below kSoftware
    kLastRoot = 99,
};

struct Value {
    std::string name;
    DWORD type = 0;
    std::string data;
};

/// A failure of the database on its way out of a call: a system error code.
struct DatabaseError {
    LONG code;
};

class Database {
public:
    ~Database() { Close(); }

    /// Opens the file, which is made with its folders when it isn't there, unless it is open. Throws
    /// DatabaseError, as all below do.
    void Open();
    void Close();

    /// From here to Commit() other processes see nothing; without it, nothing has happened.
    class Transaction {
    public:
        enum Kind { kRead, kWrite };
        Transaction(Database& database, Kind kind);
        ~Transaction();
        void Commit();

    private:
        Database& database_;
        bool open_ = true;
    };

    bool Exists(KeyId key);
    std::optional<KeyId> Subkey(KeyId parent, std::string_view name);
    KeyId AddSubkey(KeyId parent, std::string_view name);
    /// The name of the subkey at that place in alphabetical order.
    std::optional<std::string> SubkeyAt(KeyId parent, DWORD index);
    std::vector<std::string> Subkeys(KeyId parent);
    void DeleteKey(KeyId key);
    /// Deletes what is below the key and its values; the key stays.
    void EmptyKey(KeyId key);

    std::optional<Value> Find(KeyId key, std::string_view name);
    std::optional<Value> ValueAt(KeyId key, DWORD index);
    std::vector<Value> Values(KeyId key);
    void SetValue(KeyId key, const Value& value);
    bool DeleteValue(KeyId key, std::string_view name);

private:
    class Query;

    void Check(int status);
    void Run(const char* sql);
    sqlite3_stmt* Prepared(const char* sql);

    sqlite3* db_ = nullptr;
    /// Statements by the address of their text, which is a literal.
    std::vector<std::pair<const char*, sqlite3_stmt*>> statements_;
};

}  // namespace bv::platform
