// The registry database: schema, integrity check on opening, transactions, and the one
// translation of SQLite result codes into registry result codes.
#include "registry_store.h"

#include <sqlite3.h>

#include <chrono>
#include <unordered_map>

#include "home.h"
#include "text_encoding.h"

namespace orvella::platform::registry {
namespace {

constexpr int kBusyTimeoutMs = 30000;
constexpr int kApplicationId = 0x4F525247;  // "ORRG": marks the file as an Orvella registry
constexpr int kSchemaVersion = 1;
constexpr std::uint64_t kUnixEpochAsFileTime = 116444736000000000ULL;

// The one translator from SQLite's result codes to the registry's.
LONG RegistryCodeFor(int rc) {
    switch (rc & 0xFF) {
        case SQLITE_OK:
        case SQLITE_ROW:
        case SQLITE_DONE:
            return ERROR_SUCCESS;
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB:
        case SQLITE_FORMAT:
        case SQLITE_SCHEMA:
        case SQLITE_MISMATCH:
            return ERROR_BADDB;
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return ERROR_TIMEOUT;
        case SQLITE_NOMEM:
            return ERROR_NOT_ENOUGH_MEMORY;
        case SQLITE_READONLY:
        case SQLITE_PERM:
        case SQLITE_AUTH:
            return ERROR_ACCESS_DENIED;
        case SQLITE_CANTOPEN:
            return ERROR_CANTOPEN;
        case SQLITE_FULL:
            return ERROR_CANTWRITE;
        default:
            return ERROR_REGISTRY_IO_FAILED;
    }
}

std::uint64_t FileTimeNow() {
    const auto since = std::chrono::system_clock::now().time_since_epoch();
    return kUnixEpochAsFileTime +
           std::chrono::duration_cast<
               std::chrono::duration<std::uint64_t, std::ratio<1, 10000000>>>(since)
               .count();
}

constexpr char kCreateSchema[] = R"sql(
CREATE TABLE key(
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  parent INTEGER,
  name BLOB NOT NULL,
  fold BLOB NOT NULL,
  written INTEGER NOT NULL);
CREATE UNIQUE INDEX key_by_name ON key(parent, fold);
CREATE TABLE value(
  id INTEGER PRIMARY KEY,
  key INTEGER NOT NULL,
  name BLOB NOT NULL,
  fold BLOB NOT NULL,
  type INTEGER NOT NULL,
  data BLOB NOT NULL);
CREATE UNIQUE INDEX value_by_name ON value(key, fold);
CREATE INDEX value_by_key ON value(key);
)sql";

constexpr char kBegin[] = "BEGIN";
constexpr char kBeginWrite[] = "BEGIN IMMEDIATE";
constexpr char kCommit[] = "COMMIT";
constexpr char kRollback[] = "ROLLBACK";
constexpr char kAddRoot[] =
    "INSERT INTO key(id, parent, name, fold, written) VALUES(?1, NULL, ?2, ?2, ?3)";
constexpr char kKeyExists[] = "SELECT 1 FROM key WHERE id = ?1";
constexpr char kKeyName[] = "SELECT name FROM key WHERE id = ?1";
constexpr char kKeyParent[] = "SELECT parent FROM key WHERE id = ?1";
constexpr char kKeyWritten[] = "SELECT written FROM key WHERE id = ?1";
constexpr char kFindSubkey[] = "SELECT id FROM key WHERE parent = ?1 AND fold = ?2";
constexpr char kAddSubkey[] = "INSERT INTO key(parent, name, fold, written) VALUES(?1, ?2, ?3, ?4)";
constexpr char kSubkeys[] = "SELECT id, name FROM key WHERE parent = ?1 ORDER BY fold";
constexpr char kSubkeyAt[] =
    "SELECT id, name FROM key WHERE parent = ?1 ORDER BY fold LIMIT 1 OFFSET ?2";
constexpr char kHasSubkeys[] = "SELECT 1 FROM key WHERE parent = ?1 LIMIT 1";
constexpr char kTouch[] = "UPDATE key SET written = ?2 WHERE id = ?1";
constexpr char kSubkeyCounts[] =
    "SELECT count(*), coalesce(max(length(name)), 0) FROM key WHERE parent = ?1";
constexpr char kValueCounts[] =
    "SELECT count(*), coalesce(max(length(name)), 0), coalesce(max(length(data)), 0) "
    "FROM value WHERE key = ?1";
constexpr char kDeleteTreeValues[] =
    "WITH RECURSIVE tree(id) AS (SELECT ?1 UNION ALL "
    "SELECT key.id FROM key JOIN tree ON key.parent = tree.id) "
    "DELETE FROM value WHERE key IN (SELECT id FROM tree)";
constexpr char kDeleteTreeKeys[] =
    "WITH RECURSIVE tree(id) AS (SELECT ?1 UNION ALL "
    "SELECT key.id FROM key JOIN tree ON key.parent = tree.id) "
    "DELETE FROM key WHERE id IN (SELECT id FROM tree)";
constexpr char kDeleteValuesOfKey[] = "DELETE FROM value WHERE key = ?1";
constexpr char kFindValue[] = "SELECT name, type, data FROM value WHERE key = ?1 AND fold = ?2";
constexpr char kValues[] = "SELECT name, type, data FROM value WHERE key = ?1 ORDER BY id";
constexpr char kValueAt[] =
    "SELECT name, type, data FROM value WHERE key = ?1 ORDER BY id LIMIT 1 OFFSET ?2";
constexpr char kSetValue[] =
    "INSERT INTO value(key, name, fold, type, data) VALUES(?1, ?2, ?3, ?4, ?5) "
    "ON CONFLICT(key, fold) DO UPDATE SET type = excluded.type, data = excluded.data";
constexpr char kDeleteValue[] = "DELETE FROM value WHERE key = ?1 AND fold = ?2";

}  // namespace

// A cached prepared statement in use: bound, stepped, and reset when it goes out of scope.
class RegistryStore::Statement {
public:
    Statement(RegistryStore& store, const char* sql) : store_(store), stmt_(store.Prepare(sql)) {}
    ~Statement() {
        sqlite3_reset(stmt_);
        sqlite3_clear_bindings(stmt_);
    }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    Statement& Bind(int index, std::int64_t number) {
        Check(sqlite3_bind_int64(stmt_, index, number));
        return *this;
    }
    // The bytes must stay alive until the statement is done.
    Statement& Bind(int index, std::string_view bytes) {
        Check(sqlite3_bind_blob64(stmt_, index, bytes.empty() ? "" : bytes.data(), bytes.size(),
                                  SQLITE_STATIC));
        return *this;
    }
    // True when a row is ready.
    bool Step() {
        const int rc = sqlite3_step(stmt_);
        if (rc == SQLITE_ROW) return true;
        if (rc == SQLITE_DONE) return false;
        store_.Fail(rc, sqlite3_sql(stmt_));
    }
    std::int64_t Int(int column) { return sqlite3_column_int64(stmt_, column); }
    std::string Bytes(int column) {
        const void* data = sqlite3_column_blob(stmt_, column);
        const int size = sqlite3_column_bytes(stmt_, column);
        return data ? std::string(static_cast<const char*>(data), size) : std::string();
    }
    std::string Text(int column) {
        const unsigned char* text = sqlite3_column_text(stmt_, column);
        return text ? reinterpret_cast<const char*>(text) : "";
    }

private:
    void Check(int rc) {
        if (rc != SQLITE_OK) store_.Fail(rc, sqlite3_sql(stmt_));
    }

    RegistryStore& store_;
    sqlite3_stmt* stmt_;
};

RegistryStore::RegistryStore(OpenToken, std::filesystem::path file) : file_(std::move(file)) {}

RegistryStore::~RegistryStore() {
    for (auto& [sql, stmt] : statements_) sqlite3_finalize(stmt);
    sqlite3_close(db_);
}

std::shared_ptr<RegistryStore> RegistryStore::Open(const std::filesystem::path& file) {
    auto store = std::make_shared<RegistryStore>(OpenToken{}, file);
    store->Initialize();
    return store;
}

std::shared_ptr<RegistryStore> RegistryStore::ForCurrentHome() {
    std::filesystem::path home;
    try {
        home = HomeDirectory();
    } catch (const std::exception& e) {
        throw StoreError(ERROR_CANTOPEN, e.what());
    }
    static std::mutex mutex;
    static std::filesystem::path openHome;
    static std::shared_ptr<RegistryStore> open;
    std::lock_guard lock(mutex);
    if (!open || openHome != home) {
        open = Open(home / "registry.db");
        openHome = home;
    }
    return open;
}

void RegistryStore::Initialize() {
    const int rc =
        sqlite3_open_v2(file_.c_str(), &db_,
                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
    if (rc != SQLITE_OK) Fail(rc, "open the database");
    sqlite3_extended_result_codes(db_, 1);
    sqlite3_busy_timeout(db_, kBusyTimeoutMs);

    // Check before anything could write: a damaged file must stay exactly as it is.
    {
        Statement check(*this, "PRAGMA quick_check(1)");
        if (check.Step() && check.Text(0) != "ok") {
            throw StoreError(ERROR_BADDB, "the registry database " + file_.string() +
                                              " is damaged (" + check.Text(0) +
                                              "); it was left as it is: restore it from a "
                                              "backup or move it away to start afresh");
        }
    }
    const bool fresh = PragmaNumber("SELECT count(*) FROM sqlite_schema") == 0;
    if (!fresh && (PragmaNumber("PRAGMA application_id") != kApplicationId ||
                   PragmaNumber("PRAGMA user_version") > kSchemaVersion)) {
        throw StoreError(ERROR_BADDB, "the registry database " + file_.string() +
                                          " is not a registry database of this version of "
                                          "Orvella; it was left as it is");
    }
    Execute("PRAGMA journal_mode=WAL");
    Execute("PRAGMA synchronous=FULL");
    if (!fresh) return;

    // Another process may be creating the schema at the same moment: decide under the lock.
    Execute(kBeginWrite);
    try {
        if (PragmaNumber("SELECT count(*) FROM sqlite_schema") == 0) {
            Execute(kCreateSchema);
            Execute(("PRAGMA application_id = " + std::to_string(kApplicationId)).c_str());
            Execute(("PRAGMA user_version = " + std::to_string(kSchemaVersion)).c_str());
            const std::int64_t now = static_cast<std::int64_t>(FileTimeNow());
            Statement(*this, kAddRoot)
                .Bind(1, kCurrentUserKey)
                .Bind(2, "HKEY_CURRENT_USER")
                .Bind(3, now)
                .Step();
            Statement(*this, kAddRoot)
                .Bind(1, kLocalMachineKey)
                .Bind(2, "HKEY_LOCAL_MACHINE")
                .Bind(3, now)
                .Step();
        }
        Execute(kCommit);
    } catch (...) {
        sqlite3_exec(db_, kRollback, nullptr, nullptr, nullptr);
        throw;
    }
}

sqlite3_stmt* RegistryStore::Prepare(const char* sql) {
    for (auto& [text, stmt] : statements_) {
        if (text == sql) return stmt;
    }
    sqlite3_stmt* stmt = nullptr;
    const int rc = sqlite3_prepare_v3(db_, sql, -1, SQLITE_PREPARE_PERSISTENT, &stmt, nullptr);
    if (rc != SQLITE_OK) Fail(rc, sql);
    statements_.emplace_back(sql, stmt);
    return stmt;
}

std::int64_t RegistryStore::PragmaNumber(const char* sql) {
    Statement statement(*this, sql);
    statement.Step();
    return statement.Int(0);
}

void RegistryStore::Execute(const char* sql) {
    const int rc = sqlite3_exec(db_, sql, nullptr, nullptr, nullptr);
    if (rc != SQLITE_OK) Fail(rc, sql);
}

void RegistryStore::Fail(int rc, std::string_view doing) const {
    const std::string detail = db_ ? sqlite3_errmsg(db_) : sqlite3_errstr(rc);
    const LONG code = RegistryCodeFor(rc);
    if (code == ERROR_BADDB) {
        throw StoreError(code, "the registry database " + file_.string() +
                                   " is damaged or is not a database (" + detail +
                                   "); it was left as it is: restore it from a backup or move "
                                   "it away to start afresh");
    }
    throw StoreError(code, "registry database " + file_.string() + ": " + detail + " (" +
                               std::string(doing) + ")");
}

// ---- Transaction ----

RegistryStore::Transaction::Transaction(RegistryStore& store, Kind kind)
    : store_(store), lock_(store.mutex_) {
    Statement(store_, kind == kWrite ? kBeginWrite : kBegin).Step();
    open_ = true;
}

RegistryStore::Transaction::~Transaction() {
    if (!open_) return;
    try {
        Statement(store_, kRollback).Step();
    } catch (...) {
        // A destructor cannot report; SQLite rolls back when the connection closes.
    }
}

void RegistryStore::Transaction::Commit() {
    Statement(store_, kCommit).Step();
    open_ = false;
}

bool RegistryStore::Transaction::KeyExists(KeyId key) {
    return Statement(store_, kKeyExists).Bind(1, key).Step();
}

std::string RegistryStore::Transaction::KeyName(KeyId key) {
    Statement s(store_, kKeyName);
    return s.Bind(1, key).Step() ? s.Bytes(0) : std::string();
}

std::optional<KeyId> RegistryStore::Transaction::FindSubkey(KeyId parent, std::string_view name) {
    const std::string fold = FoldCase(name);
    Statement s(store_, kFindSubkey);
    if (!s.Bind(1, parent).Bind(2, fold).Step()) return std::nullopt;
    return s.Int(0);
}

KeyId RegistryStore::Transaction::AddSubkey(KeyId parent, std::string_view name) {
    const std::string fold = FoldCase(name);
    Statement(store_, kAddSubkey)
        .Bind(1, parent)
        .Bind(2, name)
        .Bind(3, fold)
        .Bind(4, static_cast<std::int64_t>(FileTimeNow()))
        .Step();
    const KeyId id = sqlite3_last_insert_rowid(store_.db_);
    Touch(parent);
    return id;
}

std::vector<StoredKey> RegistryStore::Transaction::Subkeys(KeyId parent) {
    std::vector<StoredKey> keys;
    Statement s(store_, kSubkeys);
    s.Bind(1, parent);
    while (s.Step()) keys.push_back({s.Int(0), s.Bytes(1)});
    return keys;
}

std::optional<StoredKey> RegistryStore::Transaction::SubkeyAt(KeyId parent, DWORD index) {
    Statement s(store_, kSubkeyAt);
    if (!s.Bind(1, parent).Bind(2, static_cast<std::int64_t>(index)).Step()) return std::nullopt;
    return StoredKey{s.Int(0), s.Bytes(1)};
}

bool RegistryStore::Transaction::HasSubkeys(KeyId key) {
    return Statement(store_, kHasSubkeys).Bind(1, key).Step();
}

void RegistryStore::Transaction::DeleteKey(KeyId key) {
    std::optional<KeyId> parent;
    {
        Statement s(store_, kKeyParent);
        if (s.Bind(1, key).Step()) parent = s.Int(0);
    }
    Statement(store_, kDeleteTreeValues).Bind(1, key).Step();
    Statement(store_, kDeleteTreeKeys).Bind(1, key).Step();
    if (parent) Touch(*parent);
}

void RegistryStore::Transaction::ClearKey(KeyId key) {
    for (const StoredKey& subkey : Subkeys(key)) {
        Statement(store_, kDeleteTreeValues).Bind(1, subkey.id).Step();
        Statement(store_, kDeleteTreeKeys).Bind(1, subkey.id).Step();
    }
    Statement(store_, kDeleteValuesOfKey).Bind(1, key).Step();
    Touch(key);
}

std::uint64_t RegistryStore::Transaction::WriteTime(KeyId key) {
    Statement s(store_, kKeyWritten);
    return s.Bind(1, key).Step() ? static_cast<std::uint64_t>(s.Int(0)) : 0;
}

KeyCounts RegistryStore::Transaction::Counts(KeyId key) {
    KeyCounts counts;
    Statement subkeys(store_, kSubkeyCounts);
    subkeys.Bind(1, key).Step();
    counts.subkeys = static_cast<DWORD>(subkeys.Int(0));
    counts.maxSubkeyName = static_cast<DWORD>(subkeys.Int(1));
    Statement values(store_, kValueCounts);
    values.Bind(1, key).Step();
    counts.values = static_cast<DWORD>(values.Int(0));
    counts.maxValueName = static_cast<DWORD>(values.Int(1));
    counts.maxValueData = static_cast<DWORD>(values.Int(2));
    return counts;
}

std::optional<StoredValue> RegistryStore::Transaction::FindValue(KeyId key, std::string_view name) {
    const std::string fold = FoldCase(name);
    Statement s(store_, kFindValue);
    if (!s.Bind(1, key).Bind(2, fold).Step()) return std::nullopt;
    return StoredValue{s.Bytes(0), static_cast<DWORD>(s.Int(1)), s.Bytes(2)};
}

std::vector<StoredValue> RegistryStore::Transaction::Values(KeyId key) {
    std::vector<StoredValue> values;
    Statement s(store_, kValues);
    s.Bind(1, key);
    while (s.Step()) values.push_back({s.Bytes(0), static_cast<DWORD>(s.Int(1)), s.Bytes(2)});
    return values;
}

std::optional<StoredValue> RegistryStore::Transaction::ValueAt(KeyId key, DWORD index) {
    Statement s(store_, kValueAt);
    if (!s.Bind(1, key).Bind(2, static_cast<std::int64_t>(index)).Step()) return std::nullopt;
    return StoredValue{s.Bytes(0), static_cast<DWORD>(s.Int(1)), s.Bytes(2)};
}

void RegistryStore::Transaction::SetValue(KeyId key, std::string_view name, DWORD type,
                                          std::string_view data) {
    const std::string fold = FoldCase(name);
    Statement(store_, kSetValue)
        .Bind(1, key)
        .Bind(2, name)
        .Bind(3, fold)
        .Bind(4, static_cast<std::int64_t>(type))
        .Bind(5, data)
        .Step();
    Touch(key);
}

bool RegistryStore::Transaction::DeleteValue(KeyId key, std::string_view name) {
    const std::string fold = FoldCase(name);
    Statement(store_, kDeleteValue).Bind(1, key).Bind(2, fold).Step();
    const bool deleted = sqlite3_changes(store_.db_) > 0;
    if (deleted) Touch(key);
    return deleted;
}

void RegistryStore::Transaction::Touch(KeyId key) {
    Statement(store_, kTouch).Bind(1, key).Bind(2, static_cast<std::int64_t>(FileTimeNow())).Step();
}

}  // namespace orvella::platform::registry
