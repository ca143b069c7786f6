// SQLite connections, statements and transactions for the store provider.
#include "sqlite_db.h"

#include <sqlite3.h>

#include "wal_batching_vfs.h"

namespace orvella::platform::mapi::store {

HRESULT HResultFromSqlite(int rc) {
    switch (rc & 0xFF) {
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB:
        case SQLITE_FORMAT:
            return MAPI_E_CORRUPT_STORE;
        case SQLITE_FULL:
        case SQLITE_IOERR:
        case SQLITE_CANTOPEN:
        case SQLITE_READONLY:
        case SQLITE_PERM:
            return MAPI_E_DISK_ERROR;
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return MAPI_E_BUSY;
        case SQLITE_NOMEM:
        case SQLITE_TOOBIG:
            return MAPI_E_NOT_ENOUGH_MEMORY;
        default:
            return MAPI_E_CALL_FAILED;
    }
}

Statement::Statement(const Database& db, std::string_view sql) : db_(db) {
    int rc = sqlite3_prepare_v3(db.handle(), sql.data(), static_cast<int>(sql.size()),
                                SQLITE_PREPARE_PERSISTENT, &statement_, nullptr);
    if (rc != SQLITE_OK) db.Fail(rc, "preparing a query");
}

Statement::~Statement() {
    sqlite3_finalize(statement_);
}

// A value that cannot be bound (too long, out of memory) fails the statement: run anyway, it
// would write NULL in its place.
Statement& Statement::Bound(int rc) {
    if (rc != SQLITE_OK) db_.Fail(rc, "binding a value");
    return *this;
}

Statement& Statement::Bind(int index, std::int64_t value) {
    return Bound(sqlite3_bind_int64(statement_, index, value));
}

Statement& Statement::Bind(int index, double value) {
    return Bound(sqlite3_bind_double(statement_, index, value));
}

Statement& Statement::BindText(int index, std::string_view text) {
    return Bound(sqlite3_bind_text64(statement_, index, text.data(), text.size(), SQLITE_TRANSIENT,
                                     SQLITE_UTF8));
}

Statement& Statement::BindBlob(int index, std::span<const std::uint8_t> bytes) {
    // A zero-length blob must stay a blob, not become NULL.
    static const std::uint8_t kEmpty = 0;
    return Bound(sqlite3_bind_blob64(statement_, index, bytes.empty() ? &kEmpty : bytes.data(),
                                     bytes.size(), SQLITE_TRANSIENT));
}

Statement& Statement::BindNull(int index) {
    return Bound(sqlite3_bind_null(statement_, index));
}

bool Statement::Step() {
    int rc = sqlite3_step(statement_);
    if (rc == SQLITE_ROW) return true;
    if (rc == SQLITE_DONE) return false;
    sqlite3_reset(statement_);
    db_.Fail(rc, "reading or writing");
}

void Statement::Run() {
    while (Step()) {
    }
    Reset();
}

void Statement::Reset() {
    sqlite3_reset(statement_);
    sqlite3_clear_bindings(statement_);
}

int Statement::ColumnType(int column) const {
    return sqlite3_column_type(statement_, column);
}
std::int64_t Statement::Int(int column) const {
    return sqlite3_column_int64(statement_, column);
}
double Statement::Real(int column) const {
    return sqlite3_column_double(statement_, column);
}
bool Statement::IsNull(int column) const {
    return ColumnType(column) == SQLITE_NULL;
}

std::string_view Statement::Text(int column) const {
    auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement_, column));
    return text ? std::string_view(text, sqlite3_column_bytes(statement_, column))
                : std::string_view();
}

std::span<const std::uint8_t> Statement::Blob(int column) const {
    auto* bytes = static_cast<const std::uint8_t*>(sqlite3_column_blob(statement_, column));
    return bytes ? std::span<const std::uint8_t>(
                       bytes, static_cast<size_t>(sqlite3_column_bytes(statement_, column)))
                 : std::span<const std::uint8_t>();
}

Database::Database(const std::filesystem::path& file, bool create) : file_(file) {
    int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | (create ? SQLITE_OPEN_CREATE : 0);
    int rc = sqlite3_open_v2(file.c_str(), &db_, flags, WalBatchingVfs());
    if (rc != SQLITE_OK) {
        int code = rc;
        sqlite3_close_v2(db_);
        db_ = nullptr;
        throw StoreFailure(HResultFromSqlite(code),
                           "cannot open " + file.string() + ": " + sqlite3_errstr(code));
    }
    sqlite3_extended_result_codes(db_, 1);
    // Another process writing the same store waits its turn instead of failing.
    sqlite3_busy_timeout(db_, 30000);
}

Database::~Database() {
    statements_.clear();
    sqlite3_close_v2(db_);
}

Statement& Database::Cached(std::string_view sql) {
    auto found = statements_.find(sql);
    if (found == statements_.end())
        found =
            statements_.emplace(std::string(sql), std::make_unique<Statement>(*this, sql)).first;
    found->second->Reset();
    return *found->second;
}

void Database::Exec(const char* sql) {
    char* message = nullptr;
    int rc = sqlite3_exec(db_, sql, nullptr, nullptr, &message);
    if (message) sqlite3_free(message);
    if (rc != SQLITE_OK) Fail(rc, "running a statement");
}

std::int64_t Database::LastInsertId() const {
    return sqlite3_last_insert_rowid(db_);
}
int Database::Changes() const {
    return sqlite3_changes(db_);
}

void Database::Fail(int rc, std::string_view what) const {
    HRESULT code = HResultFromSqlite(rc);
    std::string text = code == MAPI_E_CORRUPT_STORE
                           ? file_.string() + " is damaged or is not a message store"
                           : file_.string() + ": " + std::string(what) + " failed";
    text += " (" + std::string(sqlite3_errmsg(db_)) + ")";
    throw StoreFailure(code, text);
}

void Database::BeginBulk() {
    if (++bulk_depth_ > 1 || bulk_open_ || sqlite3_get_autocommit(db_) == 0) return;
    // The shared transaction starts now rather than at the first save, so that the reads before
    // it (a search, the objects opened to write) share it instead of taking a read lock each.
    // Busy: the first save tries again and reports the failure.
    try {
        OpenBulk();
    } catch (const StoreFailure&) {
    }
}

void Database::OpenBulk() {
    Cached("BEGIN IMMEDIATE").Run();
    bulk_open_ = true;
    ++bulk_transactions_;
}

void Database::EndBulk() {
    if (--bulk_depth_ > 0 || !bulk_open_) return;
    CommitBulk();
}

void Database::BulkWritten() {
    if (++bulk_writes_ < kBulkWrites) return;
    CommitBulk();
}

std::uint64_t Database::OpenBulkTransaction() const {
    // SQLite may have rolled back the transaction after a failure.
    return bulk_open_ && !sqlite3_get_autocommit(db_) ? bulk_transactions_ : 0;
}

void Database::AbandonBulk() {
    sqlite3_exec(db_, "ROLLBACK", nullptr, nullptr, nullptr);
    bulk_open_ = false;
    bulk_writes_ = 0;
    ++failed_bulk_commits_;
}

void Database::CommitBulk() {
    bulk_open_ = false;
    bulk_writes_ = 0;
    try {
        Cached("COMMIT").Run();
    } catch (const StoreFailure&) {
        ++failed_bulk_commits_;
        throw;
    }
}

Transaction::Transaction(Database& db, Nested nested)
    : db_(db), bulk_(db.bulk_depth_ > 0), savepoint_(bulk_ && nested == Nested::kSavepoint) {
    if (!bulk_) {
        db_.Cached("BEGIN IMMEDIATE").Run();
        return;
    }
    if (!db_.bulk_open_) db_.OpenBulk();
    if (savepoint_) {
        db_.Cached("SAVEPOINT bulk_write").Run();
    } else {
        changes_ = sqlite3_total_changes64(db_.handle());
    }
}

Transaction::~Transaction() {
    if (!open_) return;
    if (savepoint_) {
        sqlite3_exec(db_.handle(), "ROLLBACK TO bulk_write; RELEASE bulk_write", nullptr, nullptr,
                     nullptr);
    } else if (!bulk_) {
        sqlite3_exec(db_.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
    } else if (sqlite3_total_changes64(db_.handle()) != changes_ ||
               sqlite3_get_autocommit(db_.handle())) {
        // Failed after writing, or SQLite rolled the outer transaction back itself.
        db_.AbandonBulk();
    }
}

void Transaction::Commit() {
    if (savepoint_) {
        db_.Cached("RELEASE bulk_write").Run();
    } else if (!bulk_) {
        db_.Cached("COMMIT").Run();
    }
    open_ = false;
    if (bulk_) db_.BulkWritten();
}

ReadSnapshot::ReadSnapshot(Database& db)
    : db_(db), open_(sqlite3_get_autocommit(db.handle()) != 0) {
    if (open_) db_.Cached("BEGIN").Run();
}

ReadSnapshot::~ReadSnapshot() {
    // Ending a read-only transaction cannot lose anything; ROLLBACK also ends one that a failed
    // statement left behind. Prepared once: this runs for every object opened.
    if (!open_) return;
    try {
        db_.Cached("ROLLBACK").Run();
    } catch (const StoreFailure&) {
        sqlite3_exec(db_.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
    }
}

}  // namespace orvella::platform::mapi::store
