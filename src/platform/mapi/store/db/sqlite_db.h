// The store's one door to SQLite: a connection with cached statements, transactions, and the
// translation of SQLite failures into MAPI's result codes (the only place that translates them).
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>

#include "mapicode.h"

struct sqlite3;
struct sqlite3_stmt;

namespace orvella::platform::mapi::store {

// A failure inside the provider: the MAPI code a caller gets and a text for GetLastError that
// names the store file when the file is at fault. Thrown inside the provider only; every
// interface method catches it and returns the code.
class StoreFailure : public std::runtime_error {
public:
    StoreFailure(HRESULT code, const std::string& message)
        : std::runtime_error(message), code_(code) {}
    HRESULT code() const { return code_; }

private:
    HRESULT code_;
};

// SQLite's result code as MAPI reports it: corruption and foreign files as MAPI_E_CORRUPT_STORE,
// a full disk as MAPI_E_DISK_ERROR, a lock held too long as MAPI_E_BUSY, memory as
// MAPI_E_NOT_ENOUGH_MEMORY, anything else as MAPI_E_CALL_FAILED.
HRESULT HResultFromSqlite(int rc);

class Database;

// One prepared statement. Bind indexes start at 1, column indexes at 0.
class Statement {
public:
    Statement(const Database& db, std::string_view sql);
    ~Statement();
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    Statement& Bind(int index, std::int64_t value);
    Statement& Bind(int index, double value);
    Statement& BindText(int index, std::string_view text);
    Statement& BindBlob(int index, std::span<const std::uint8_t> bytes);
    Statement& BindNull(int index);

    // Advances to the next row: true when there is one, false when done. Throws StoreFailure.
    bool Step();
    // Runs a statement that returns no rows.
    void Run();
    // Clears bindings and rewinds, ready for the next use.
    void Reset();

    int ColumnType(int column) const;  // SQLITE_INTEGER, SQLITE_FLOAT, SQLITE_TEXT ...
    std::int64_t Int(int column) const;
    double Real(int column) const;
    std::string_view Text(int column) const;
    std::span<const std::uint8_t> Blob(int column) const;
    bool IsNull(int column) const;

private:
    Statement& Bound(int rc);

    const Database& db_;
    sqlite3_stmt* statement_ = nullptr;
};

// One connection to one database file, used by one thread at a time (callers lock).
class Database {
public:
    // Opens (and with `create`, creates) the file. Throws StoreFailure naming the file.
    Database(const std::filesystem::path& file, bool create);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    // A cached statement for this SQL text, reset and ready to bind. Valid until the
    // connection closes; not re-entrant: finish with one use before asking for it again.
    Statement& Cached(std::string_view sql);
    // Runs one or more statements without results.
    void Exec(const char* sql);
    std::int64_t LastInsertId() const;
    int Changes() const;
    const std::filesystem::path& file() const { return file_; }
    sqlite3* handle() const { return db_; }

    // Raises a failure of this connection, naming the file.
    [[noreturn]] void Fail(int rc, std::string_view what) const;

    // Bulk writing, for importers: between BeginBulk and the matching EndBulk (they nest), each
    // Transaction is a savepoint inside one outer transaction, which the outermost BeginBulk
    // opens (so that reads share it too), committed after kBulkWrites transactions and at the
    // last EndBulk. Each transaction still applies whole or not at all; a crash loses the
    // writes of the open outer transaction. Callers lock as for any use.
    static constexpr int kBulkWrites = 256;
    void BeginBulk();
    void EndBulk();
    // Whether writes share commits now. Between its shared commits the connection is always in
    // a write transaction, yet what it reads there is what will be committed.
    bool InBulk() const { return bulk_depth_ > 0; }
    // Counts the shared commits that failed (or were rolled back whole), after which what was
    // read since the last one may never have been committed.
    std::uint64_t FailedBulkCommits() const { return failed_bulk_commits_; }
    // The number of the shared write transaction open now, 0 when none is. While one is open
    // this connection holds the write lock: no other connection commits.
    std::uint64_t OpenBulkTransaction() const;

private:
    friend class Transaction;
    // Opens the outer transaction of bulk writing.
    void OpenBulk();
    // Rolls back the open outer transaction of bulk writing, counted as a failed shared commit.
    void AbandonBulk();
    // Commits the outer transaction when enough writes have joined it.
    void BulkWritten();
    void CommitBulk();

    int bulk_depth_ = 0;
    int bulk_writes_ = 0;  // in the open outer transaction
    bool bulk_open_ = false;
    std::uint64_t bulk_transactions_ = 0;  // shared write transactions opened
    std::uint64_t failed_bulk_commits_ = 0;
    std::filesystem::path file_;
    sqlite3* db_ = nullptr;
    // Found by the text as given, without copying it: statements run many times per save.
    struct SqlHash : std::hash<std::string_view> {
        using is_transparent = void;
    };
    std::unordered_map<std::string, std::unique_ptr<Statement>, SqlHash, std::equal_to<>>
        statements_;
};

// BEGIN IMMEDIATE ... COMMIT: the writer lock is taken up front, so a transaction never fails
// half-way for another writer (the connection waits for it). Rolls back unless committed.
class Transaction {
public:
    // During bulk writing a transaction is a savepoint, so that its failure undoes only itself,
    // at the price of a copy of every page it changes. A writer that makes all its checks before
    // its first write may share the outer transaction's fate instead: no savepoint, and should
    // it fail after writing (the file failing: full, unreadable), the whole outer transaction
    // rolls back, as a crash would have lost it.
    enum class Nested { kSavepoint, kSharedFate };
    explicit Transaction(Database& db, Nested nested = Nested::kSavepoint);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    void Commit();

private:
    Database& db_;
    bool open_ = true;
    bool bulk_ = false;         // inside a bulk write
    bool savepoint_ = false;    // inside a bulk write, as a savepoint
    std::int64_t changes_ = 0;  // the connection's rows changed before, sharing the outer fate
};

// BEGIN ... COMMIT around a series of reads: one consistent view of the file, and the file's
// read lock taken once instead of once per statement. Inside an open transaction it does
// nothing, so reads may nest.
class ReadSnapshot {
public:
    explicit ReadSnapshot(Database& db);
    ~ReadSnapshot();
    ReadSnapshot(const ReadSnapshot&) = delete;
    ReadSnapshot& operator=(const ReadSnapshot&) = delete;

private:
    Database& db_;
    bool open_;
};

}  // namespace orvella::platform::mapi::store
