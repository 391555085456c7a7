#include "registry/database.h"

#include <windows.h>

#include <cstdlib>
#include <filesystem>
#include <utility>

#include "text/text.h"

namespace bv::platform {
namespace {

constexpr int kPatience = 10000;  // ms to wait for another process

constexpr char kSchema[] = R"(
    CREATE TABLE IF NOT EXISTS keys(
        id INTEGER PRIMARY KEY AUTOINCREMENT,
        parent INTEGER NOT NULL,
        name TEXT NOT NULL,
        folded TEXT NOT NULL,
        UNIQUE(parent, folded));
    CREATE TABLE IF NOT EXISTS entries(
        id INTEGER PRIMARY KEY,
        key INTEGER NOT NULL,
        name TEXT NOT NULL,
        folded TEXT NOT NULL,
        type INTEGER NOT NULL,
        data BLOB NOT NULL,
        UNIQUE(key, folded));
    INSERT OR IGNORE INTO keys(id, parent, name, folded) VALUES
        (1, 0, 'HKEY_LOCAL_MACHINE', 'HKEY_LOCAL_MACHINE'),
        (2, 0, 'HKEY_CURRENT_USER', 'HKEY_CURRENT_USER'),
        (3, 0, 'HKEY_USERS', 'HKEY_USERS'),
        (4, 0, 'HKEY_CURRENT_CONFIG', 'HKEY_CURRENT_CONFIG'),
        (5, 1, 'Software', 'SOFTWARE'),
        (6, 5, 'Classes', 'CLASSES'),
        (99, 0, 'last of the reserved', 'LAST OF THE RESERVED');  -- no key gets an id that a deleted one had
)";

/// The key with all below it; a damaged file in which a key lies below itself ends the walk too.
constexpr char kDeleteEntriesBelow[] =
    "WITH RECURSIVE below(id) AS (SELECT ?1 UNION SELECT keys.id FROM keys JOIN below ON keys.parent = "
    "below.id) "
    "DELETE FROM entries WHERE key IN below";
constexpr char kDeleteKeysBelow[] =
    "WITH RECURSIVE below(id) AS (SELECT ?1 UNION SELECT keys.id FROM keys JOIN below ON keys.parent = "
    "below.id) "
    "DELETE FROM keys WHERE id IN below AND id <> ?1 AND id > 99";

std::filesystem::path DatabasePath() {
    static const std::filesystem::path path = [] {
        const auto variable = [](const char* name) {
            const char* value = std::getenv(name);
            return std::filesystem::path(value ? value : "");
        };
        if (auto named = variable("BV_REGISTRY"); !named.empty()) return named;
        auto folder = variable("XDG_DATA_HOME");
        if (!folder.is_absolute()) folder = variable("HOME") / ".local" / "share";
        return folder / "bvschema" / "registry.db";
    }();
    return path;
}

LONG ErrorOf(int status) {
    switch (status & 0xFF) {
        case SQLITE_PERM:
        case SQLITE_AUTH:
        case SQLITE_READONLY:
        case SQLITE_CANTOPEN:
            return ERROR_ACCESS_DENIED;
        case SQLITE_NOMEM:
        case SQLITE_TOOBIG:
            return ERROR_OUTOFMEMORY;
        case SQLITE_FULL:
            return ERROR_DISK_FULL;
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB:
        case SQLITE_ERROR:  // the tables aren't the ones that the statements are written for
        case SQLITE_CONSTRAINT:
            return ERROR_REGISTRY_CORRUPT;
        default:
            return ERROR_REGISTRY_IO_FAILED;
    }
}

}  // namespace

/// One run of a statement. Arguments are bound as they are given, ?1 first.
class Database::Query {
public:
    template <class... Arguments>
    Query(Database& database, const char* sql, const Arguments&... arguments)
        : database_(database), statement_(database.Prepared(sql)) {
        int place = 0;
        (Bind(++place, arguments), ...);
    }
    ~Query() {
        sqlite3_reset(statement_);
        sqlite3_clear_bindings(statement_);
    }
    Query(const Query&) = delete;
    Query& operator=(const Query&) = delete;

    /// Goes to the next row; false after the last.
    bool Next() {
        const int status = sqlite3_step(statement_);
        if (status != SQLITE_DONE && status != SQLITE_ROW) database_.Check(status);
        return status == SQLITE_ROW;
    }
    long long Number(int column) { return sqlite3_column_int64(statement_, column); }
    std::string Bytes(int column) {
        const void* bytes = sqlite3_column_blob(statement_, column);
        const int size = sqlite3_column_bytes(statement_, column);
        return bytes ? std::string(static_cast<const char*>(bytes), static_cast<size_t>(size))
                     : std::string();
    }
    Value AsValue() { return {Bytes(0), static_cast<DWORD>(Number(1)), Bytes(2)}; }

private:
    struct Blob {
        std::string_view bytes;
    };
    friend class Database;

    // Bound texts and bytes stay with the caller, who keeps them until the query is done.
    void Bind(int place, long long number) { database_.Check(sqlite3_bind_int64(statement_, place, number)); }
    void Bind(int place, std::string_view text) {
        database_.Check(sqlite3_bind_text64(statement_, place, text.empty() ? "" : text.data(), text.size(),
                                            SQLITE_STATIC, SQLITE_UTF8));
    }
    void Bind(int place, Blob blob) {
        database_.Check(sqlite3_bind_blob64(statement_, place, blob.bytes.empty() ? "" : blob.bytes.data(),
                                            blob.bytes.size(), SQLITE_STATIC));
    }

    Database& database_;
    sqlite3_stmt* statement_;
};

void Database::Open() {
    if (db_) return;
    std::error_code ignored;  // opening tells whether the folder is there
    std::filesystem::create_directories(DatabasePath().parent_path(), ignored);
    try {
        Check(sqlite3_open_v2(DatabasePath().c_str(), &db_,
                              SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr));
        sqlite3_busy_timeout(db_, kPatience);
        // With a log, readers and a writer don't wait for each other, and a commit doesn't wait for the disk.
        // A file that can't have one, or is just getting one from another process, serves as it is.
        sqlite3_exec(db_, "PRAGMA journal_mode = WAL", nullptr, nullptr, nullptr);
        Run("PRAGMA synchronous = NORMAL");
        Run("PRAGMA trusted_schema = OFF");
        if (Query(*this, "SELECT 1 FROM sqlite_master WHERE name = 'entries'").Next()) return;
        Transaction transaction(*this, Transaction::kWrite);
        Run(kSchema);
        transaction.Commit();
    } catch (const DatabaseError&) {
        Close();
        throw;
    }
}

void Database::Close() {
    for (const auto& [sql, statement] : statements_) sqlite3_finalize(statement);
    statements_.clear();
    sqlite3_close_v2(std::exchange(db_, nullptr));
}

void Database::Check(int status) {
    if (status != SQLITE_OK) throw DatabaseError{ErrorOf(status)};
}

void Database::Run(const char* sql) { Check(sqlite3_exec(db_, sql, nullptr, nullptr, nullptr)); }

sqlite3_stmt* Database::Prepared(const char* sql) {
    for (const auto& [known, statement] : statements_)
        if (known == sql) return statement;
    sqlite3_stmt* statement = nullptr;
    Check(sqlite3_prepare_v3(db_, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr));
    statements_.emplace_back(sql, statement);
    return statement;
}

Database::Transaction::Transaction(Database& database, Kind kind) : database_(database) {
    Query(database_, kind == kWrite ? "BEGIN IMMEDIATE" : "BEGIN").Next();
}

Database::Transaction::~Transaction() {
    if (open_)
        sqlite3_exec(database_.db_, "ROLLBACK", nullptr, nullptr,
                     nullptr);  // fails when the failure has done so
}

void Database::Transaction::Commit() {
    Query(database_, "COMMIT").Next();
    open_ = false;
}

bool Database::Exists(KeyId key) { return Query(*this, "SELECT 1 FROM keys WHERE id = ?", key).Next(); }

std::optional<KeyId> Database::Subkey(KeyId parent, std::string_view name) {
    const std::string folded = Fold(name);
    Query query(*this, "SELECT id FROM keys WHERE parent = ? AND folded = ?", parent,
                std::string_view(folded));
    return query.Next() ? std::optional<KeyId>(query.Number(0)) : std::nullopt;
}

KeyId Database::AddSubkey(KeyId parent, std::string_view name) {
    const std::string folded = Fold(name);
    Query(*this, "INSERT INTO keys(parent, name, folded) VALUES(?, ?, ?)", parent, name,
          std::string_view(folded))
        .Next();
    return sqlite3_last_insert_rowid(db_);
}

std::optional<std::string> Database::SubkeyAt(KeyId parent, DWORD index) {
    Query query(*this, "SELECT name FROM keys WHERE parent = ? ORDER BY folded LIMIT 1 OFFSET ?", parent,
                static_cast<long long>(index));
    return query.Next() ? std::optional<std::string>(query.Bytes(0)) : std::nullopt;
}

std::vector<std::string> Database::Subkeys(KeyId parent) {
    std::vector<std::string> names;
    Query query(*this, "SELECT name FROM keys WHERE parent = ? ORDER BY folded", parent);
    while (query.Next()) names.push_back(query.Bytes(0));
    return names;
}

void Database::DeleteKey(KeyId key) {
    Query(*this, "DELETE FROM entries WHERE key = ?", key).Next();
    Query(*this, "DELETE FROM keys WHERE id = ?", key).Next();
}

void Database::EmptyKey(KeyId key) {
    Query(*this, kDeleteEntriesBelow, key).Next();
    Query(*this, kDeleteKeysBelow, key).Next();
}

std::optional<Value> Database::Find(KeyId key, std::string_view name) {
    const std::string folded = Fold(name);
    Query query(*this, "SELECT name, type, data FROM entries WHERE key = ? AND folded = ?", key,
                std::string_view(folded));
    return query.Next() ? std::optional<Value>(query.AsValue()) : std::nullopt;
}

std::optional<Value> Database::ValueAt(KeyId key, DWORD index) {
    Query query(*this, "SELECT name, type, data FROM entries WHERE key = ? ORDER BY id LIMIT 1 OFFSET ?", key,
                static_cast<long long>(index));
    return query.Next() ? std::optional<Value>(query.AsValue()) : std::nullopt;
}

std::vector<Value> Database::Values(KeyId key) {
    std::vector<Value> values;
    Query query(*this, "SELECT name, type, data FROM entries WHERE key = ? ORDER BY id", key);
    while (query.Next()) values.push_back(query.AsValue());
    return values;
}

void Database::SetValue(KeyId key, const Value& value) {
    const std::string folded = Fold(value.name);
    Query(*this,
          "INSERT INTO entries(key, name, folded, type, data) VALUES(?, ?, ?, ?, ?) "
          "ON CONFLICT(key, folded) DO UPDATE SET type = excluded.type, data = excluded.data",
          key, std::string_view(value.name), std::string_view(folded), static_cast<long long>(value.type),
          Query::Blob{value.data})
        .Next();
}

bool Database::DeleteValue(KeyId key, std::string_view name) {
    const std::string folded = Fold(name);
    Query(*this, "DELETE FROM entries WHERE key = ? AND folded = ?", key, std::string_view(folded)).Next();
    return sqlite3_changes(db_) > 0;
}

}  // namespace bv::platform
