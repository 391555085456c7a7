#include "registry/database.h"

#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <utility>

#include "text/text.h"

namespace bv::platform {
namespace {

constexpr int kPatience = 10000;  // ms to wait for another process
constexpr int kSmallPatience = 1000;
constexpr std::chrono::seconds kImpatience{2};

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
    size_t Size(int column) { return static_cast<size_t>(sqlite3_column_bytes(statement_, column)); }
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
    CheckPatience();
    std::error_code ignored;  // opening tells whether the folder is there
    std::filesystem::create_directories(DatabasePath().parent_path(), ignored);
    try {
        Check(sqlite3_open_v2(DatabasePath().c_str(), &db_,
                              SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr));
        // With a log, readers and a writer don't wait for each other, and a commit doesn't wait for the disk.
        // A file that can't have one, or is just getting one from another process, serves as it is.
        sqlite3_busy_timeout(db_, kSmallPatience);
        sqlite3_exec(db_, "PRAGMA journal_mode = WAL", nullptr, nullptr, nullptr);
        sqlite3_busy_timeout(db_, kPatience);
        Run("PRAGMA synchronous = NORMAL");
        Check(sqlite3_db_config(db_, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr));
        if (!Query(*this, "SELECT 1 FROM sqlite_master WHERE name = 'entries'").Next()) {
            Step step(*this);
            Run(kSchema);
            step.Commit();
        }
        FindStamp();
    } catch (const DatabaseError&) {
        Close();
        throw;
    }
}

void Database::Close() {
    log_index_ = nullptr;
    keep_mirror_ = false;
    mirror_.Clear();
    for (const auto& [sql, statement] : statements_) sqlite3_finalize(statement);
    statements_.clear();
    sqlite3_close_v2(std::exchange(db_, nullptr));
}

void Database::Check(int status) {
    if (status == SQLITE_OK) return;
    const int kind = status & 0xFF;
    if (kind == SQLITE_BUSY || kind == SQLITE_PROTOCOL)
        impatient_until_ = std::chrono::steady_clock::now() + kImpatience;
    throw DatabaseError{ErrorOf(status), kind != SQLITE_NOMEM && kind != SQLITE_CONSTRAINT};
}

void Database::CheckPatience() const {
    if (impatient_until_ != std::chrono::steady_clock::time_point() &&
        std::chrono::steady_clock::now() < impatient_until_)
        throw DatabaseError{ErrorOf(SQLITE_BUSY)};
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

// --- Steps of writing ---------------------------------------------------------------------------------

Database::Step::Step(Database& database) : database_(database), inner_(database.changing_) {
    if (!inner_) database_.CheckPatience();
    Query(database_, inner_ ? "SAVEPOINT step" : "BEGIN IMMEDIATE").Next();
}

Database::Step::~Step() {
    // Fails when the failure has done so.
    if (open_)
        sqlite3_exec(database_.db_, inner_ ? "ROLLBACK TO step; RELEASE step" : "ROLLBACK", nullptr, nullptr,
                     nullptr);
}

void Database::Step::Commit() {
    Query(database_, inner_ ? "RELEASE step" : "COMMIT").Next();
    open_ = false;
}

void Database::BeginChange() {
    Open();
    CheckPatience();
    Query(*this, "BEGIN IMMEDIATE").Next();
    changing_ = true;
}

void Database::CommitChange() {
    if (spoilt_ != ERROR_SUCCESS) throw DatabaseError{spoilt_};
    Query(*this, "COMMIT").Next();
    changing_ = false;
}

void Database::Spoil(LONG error) {
    if (spoilt_ == ERROR_SUCCESS) spoilt_ = error;
}

// --- Reading ------------------------------------------------------------------------------------------

/// To be called when the file has been read, which makes SQLite open its log.
void Database::FindStamp() {
    Query mode(*this, "PRAGMA journal_mode");
    if (!mode.Next() || mode.Bytes(0) != "wal") return;
    sqlite3_file* file = nullptr;
    if (sqlite3_file_control(db_, "main", SQLITE_FCNTL_FILE_POINTER, &file) != SQLITE_OK || !file ||
        !file->pMethods || file->pMethods->iVersion < 2)
        return;
    constexpr int kPage = 32768;  // the unit in which the index is mapped
    void volatile* page = nullptr;
    if (file->pMethods->xShmMap(file, 0, kPage, 0, &page) == SQLITE_OK)
        log_index_ = static_cast<const volatile std::uint32_t*>(page);
}

bool Database::IsUnchanged() const {
    return log_index_ && std::equal(mirror_stamp_.begin(), mirror_stamp_.end(), log_index_);
}

void Database::BeginRead() {
    if (!keep_mirror_ || !IsUnchanged() || mirror_.IsFull()) {
        mirror_.Clear();
        ++mirror_number_;
        keep_mirror_ = log_index_ != nullptr;
        if (log_index_) std::copy_n(log_index_, mirror_stamp_.size(), mirror_stamp_.begin());
    }
    used_mirror_ = !mirror_.IsEmpty();
    reading_ = true;
}

/// To be called before the file is read: it stands still for this call, or CheckStill tells that it hasn't.
void Database::NeedSnapshot() {
    if (log_index_ && !disturbed_)
        CheckPatience();
    else
        NeedTransaction();
}

/// From here to the end of the call the file stands still for us.
void Database::NeedTransaction() {
    if (snapshot_) return;
    CheckPatience();
    Query(*this, "BEGIN").Next();
    snapshot_ = true;
    Query(*this, "SELECT 1 FROM keys WHERE id = 1").Next();  // the first reading takes it
    if (IsUnchanged()) return;
    if (used_mirror_) throw Changed{};
    keep_mirror_ = false;  // it will hold what stands here, which the stamp doesn't tell
}

/// To be called when something has been read: what is kept all comes from one state of the file.
void Database::CheckStill() const {
    if (!snapshot_ && !IsUnchanged()) throw Changed{};
}

void Database::EndRead() {
    if (snapshot_) Query(*this, "COMMIT").Next();
    reading_ = snapshot_ = false;
}

void Database::AbandonRead() {
    if (snapshot_) sqlite3_exec(db_, "ROLLBACK", nullptr, nullptr, nullptr);
    reading_ = snapshot_ = keep_mirror_ = false;
}

/// All subkeys; null when the file is to be asked for the one that is needed.
const Mirror::List<Mirror::Subkey>* Database::SubkeysOf(KeyId key) {
    if (!reading_) return nullptr;
    auto& list = mirror_[key].subkeys;
    if (list.state == list.kUnread) {
        NeedSnapshot();
        Query query(*this, "SELECT id, name, folded FROM keys WHERE parent = ? ORDER BY folded LIMIT ?", key,
                    static_cast<long long>(Mirror::kMostItems + 1));
        std::vector<Mirror::Subkey> items;
        while (query.Next()) {
            items.push_back({query.Bytes(2), query.Bytes(1), query.Number(0)});
            mirror_.Count(sizeof items.back() + query.Size(1) + query.Size(2));
        }
        CheckStill();
        const bool whole = items.size() <= Mirror::kMostItems;
        if (whole) list.items = std::move(items);
        list.state = whole ? list.kRead : list.kTooLong;
    }
    if (list.state == list.kTooLong) NeedTransaction();
    return list.state == list.kRead ? &list : nullptr;
}

/// All values, likewise.
const Mirror::List<Mirror::Entry>* Database::EntriesOf(KeyId key) {
    if (!reading_) return nullptr;
    auto& list = mirror_[key].entries;
    if (list.state == list.kUnread) {
        NeedSnapshot();
        // Put in order here: a sorter of SQLite's costs more than all the rest.
        Query query(*this, "SELECT name, type, data, folded, id FROM entries WHERE key = ? LIMIT ?", key,
                    static_cast<long long>(Mirror::kMostItems + 1));
        std::vector<Mirror::Entry> items;
        bool whole = true;
        while (whole && query.Next()) {
            const size_t size = query.Size(0) + query.Size(2) + query.Size(3);
            whole = items.size() < Mirror::kMostItems && size <= Mirror::kLongestItem;
            if (!whole) break;
            items.push_back({query.Bytes(3), query.AsValue(), query.Number(4)});
            mirror_.Count(sizeof items.back() + size);
        }
        CheckStill();
        std::sort(items.begin(), items.end(),
                  [](const Mirror::Entry& a, const Mirror::Entry& b) { return a.id < b.id; });
        if (whole) list.items = std::move(items);
        list.state = whole ? list.kRead : list.kTooLong;
    }
    if (list.state == list.kTooLong) NeedTransaction();
    return list.state == list.kRead ? &list : nullptr;
}

bool Database::Exists(KeyId key) {
    if (reading_) {
        std::optional<bool>& exists = mirror_[key].exists;
        if (exists) return *exists;
        NeedSnapshot();
        const bool found = Query(*this, "SELECT 1 FROM keys WHERE id = ?", key).Next();
        CheckStill();
        return *(exists = found);
    }
    return Query(*this, "SELECT 1 FROM keys WHERE id = ?", key).Next();
}

std::optional<KeyId> Database::Subkey(KeyId parent, std::string_view name) {
    const std::string folded = Fold(name);
    const auto ask = [&] {
        Query query(*this, "SELECT id FROM keys WHERE parent = ? AND folded = ?", parent,
                    std::string_view(folded));
        return query.Next() ? std::optional<KeyId>(query.Number(0)) : std::nullopt;
    };
    if (!reading_) return ask();
    const auto known = [this](const Mirror::Subkey& key) -> std::optional<KeyId> {
        if (key.id == 0) return std::nullopt;
        mirror_[key.id].exists = true;
        return key.id;
    };
    Mirror::Key& above = mirror_[parent];
    if (above.subkeys.state == above.subkeys.kUnread) {
        for (const Mirror::Subkey& key : above.asked)
            if (key.folded == folded) return known(key);
        if (above.asked.size() < Mirror::kMostAsked) {
            NeedSnapshot();
            const KeyId found = ask().value_or(0);
            CheckStill();
            above.asked.push_back({folded, {}, found});
            return known(above.asked.back());
        }
    }
    const auto* subkeys = SubkeysOf(parent);
    if (!subkeys) return ask();
    const auto before = [](const Mirror::Subkey& key, const std::string& wanted) {
        return key.folded < wanted;
    };
    const auto found = std::lower_bound(subkeys->items.begin(), subkeys->items.end(), folded, before);
    if (found == subkeys->items.end() || found->folded != folded) return std::nullopt;
    return known(*found);
}

KeyId Database::AddSubkey(KeyId parent, std::string_view name) {
    const std::string folded = Fold(name);
    Query(*this, "INSERT INTO keys(parent, name, folded) VALUES(?, ?, ?)", parent, name,
          std::string_view(folded))
        .Next();
    return sqlite3_last_insert_rowid(db_);
}

std::optional<std::string> Database::SubkeyAt(KeyId parent, DWORD index) {
    if (const auto* subkeys = SubkeysOf(parent))
        return index < subkeys->items.size() ? std::optional(subkeys->items[index].name) : std::nullopt;
    Query query(*this, "SELECT name FROM keys WHERE parent = ? ORDER BY folded LIMIT 1 OFFSET ?", parent,
                static_cast<long long>(index));
    return query.Next() ? std::optional<std::string>(query.Bytes(0)) : std::nullopt;
}

std::vector<std::string> Database::Subkeys(KeyId parent) {
    std::vector<std::string> names;
    if (const auto* subkeys = SubkeysOf(parent)) {
        for (const Mirror::Subkey& subkey : subkeys->items) names.push_back(subkey.name);
        return names;
    }
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
    if (const auto* entries = EntriesOf(key)) {
        for (const Mirror::Entry& entry : entries->items)
            if (entry.folded == folded) return entry.value;
        return std::nullopt;
    }
    Query query(*this, "SELECT name, type, data FROM entries WHERE key = ? AND folded = ?", key,
                std::string_view(folded));
    return query.Next() ? std::optional<Value>(query.AsValue()) : std::nullopt;
}

std::optional<Value> Database::ValueAt(KeyId key, DWORD index) {
    if (const auto* entries = EntriesOf(key))
        return index < entries->items.size() ? std::optional(entries->items[index].value) : std::nullopt;
    Query query(*this, "SELECT name, type, data FROM entries WHERE key = ? ORDER BY id LIMIT 1 OFFSET ?", key,
                static_cast<long long>(index));
    return query.Next() ? std::optional<Value>(query.AsValue()) : std::nullopt;
}

std::vector<Value> Database::Values(KeyId key) {
    std::vector<Value> values;
    if (const auto* entries = EntriesOf(key)) {
        for (const Mirror::Entry& entry : entries->items) values.push_back(entry.value);
        return values;
    }
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
