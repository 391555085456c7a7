// The registry's keys and values in their database file, below the calls and their forms of text. All names
// and texts are UTF-8. Not locked: the caller sees to it that one thread at a time is inside.
#pragma once

#include <sqlite3.h>
#include <windows.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "registry/mirror.h"

namespace bv::platform {

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

/// A failure of the database on its way out of a call: a system error code.
struct DatabaseError {
    LONG code;
    /// The file or its locks have failed: what SQLite keeps of them in this process isn't to be relied upon.
    bool reopen = false;
};

class Database {
public:
    ~Database() { Close(); }

    /// Opens the file, which is made with its folders when it isn't there, unless it is open. Throws
    /// DatabaseError, as all below do.
    void Open();
    void Close();

    /// One call's reading: the body's status. What was read before is given again without asking the file, as
    /// long as nobody has changed it. The body may run twice, when another process does that in the middle.
    template <class Body>
    LONG Read(Body body) {
        if (changing_) return InChange(body);
        for (disturbed_ = false;; disturbed_ = true) {
            BeginRead();
            try {
                const LONG status = body();
                EndRead();
                return status;
            } catch (const Changed&) {
                AbandonRead();
            } catch (...) {
                AbandonRead();
                throw;
            }
        }
    }
    /// One call's writing: the body's status, and nothing of it when that isn't ERROR_SUCCESS.
    template <class Body>
    LONG Write(Body body) {
        const auto write = [&] {
            Step step(*this);
            const LONG status = body();
            if (status == ERROR_SUCCESS) step.Commit();
            return status;
        };
        return changing_ ? InChange(write) : write();
    }

    /// From here to CommitChange all calls together are one step, which others see whole or not at all; each
    /// call is still a step in it. Without CommitChange nothing has happened. When a call has failed, but for
    /// what it asks, there is nothing to commit, and all further calls fail alike.
    void BeginChange();
    void CommitChange();
    /// Makes the change fail.
    void Spoil(LONG error);
    /// Whether a change has failed in such a way that the file is to be opened anew.
    bool WantsReopening() const { return wants_reopening_; }

    /// Stands for what the registry holds: the same number again means that nothing has been changed. 0: that
    /// can't be told, or has not been read. Doesn't fail.
    std::uint64_t State() const { return keep_mirror_ && IsUnchanged() ? mirror_number_ : 0; }

    // A name is found without regard to case. A key or a value that isn't there is no failure.
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
    /// A step of writing, taken back at its end unless it is committed.
    class Step {
    public:
        explicit Step(Database& database);
        ~Step();
        Step(const Step&) = delete;
        Step& operator=(const Step&) = delete;
        void Commit();

    private:
        Database& database_;
        const bool inner_;  // of a change
        bool open_ = true;
    };
    /// Another process has changed what this call has read already.
    struct Changed {};

    template <class Body>
    LONG InChange(Body body) {
        if (spoilt_ != ERROR_SUCCESS) throw DatabaseError{spoilt_};
        try {
            return body();
        } catch (const DatabaseError& error) {
            Spoil(error.code);
            wants_reopening_ = wants_reopening_ || error.reopen;
            throw;
        } catch (const std::bad_alloc&) {
            Spoil(ERROR_OUTOFMEMORY);
            throw;
        }
    }
    void Check(int status);
    void CheckPatience() const;
    void Run(const char* sql);
    sqlite3_stmt* Prepared(const char* sql);

    void FindStamp();
    bool IsUnchanged() const;
    void BeginRead();
    void NeedSnapshot();
    void NeedTransaction();
    void CheckStill() const;
    void EndRead();
    void AbandonRead();
    const Mirror::List<Mirror::Subkey>* SubkeysOf(KeyId key);
    const Mirror::List<Mirror::Entry>* EntriesOf(KeyId key);

    sqlite3* db_ = nullptr;
    /// Statements by the address of their text, which is a literal.
    std::vector<std::pair<const char*, sqlite3_stmt*>> statements_;

    // SQLite's index of its log, which all processes share, begins with what the last commit has left: it is the
    // same only while there has been no other. Null: changes can't be told without asking the file.
    const volatile std::uint32_t* log_index_ = nullptr;
    Mirror mirror_;
    std::array<std::uint32_t, 12> mirror_stamp_ = {};  // the begin of the index when the mirror was filled
    bool keep_mirror_ = false;                         // ... which is known
    std::uint64_t mirror_number_ = 0;                  // moves on when it is emptied
    bool used_mirror_ = false;                         // this call has begun with something in it
    bool reading_ = false;                             // inside Read()
    bool disturbed_ = false;                           // ... for the second time: the file has been changed
    bool snapshot_ = false;                            // ... in a transaction

    bool changing_ = false;  // between BeginChange and CommitChange
    LONG spoilt_ = ERROR_SUCCESS;
    bool wants_reopening_ = false;
    // Who has waited in vain for the file isn't made to wait again at once.
    std::chrono::steady_clock::time_point impatient_until_ = {};
};

}  // namespace bv::platform
