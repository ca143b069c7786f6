// The registry's keys and values in one SQLite database per Orvella home, shared by every process
// that uses the home: the registry's persistence and the one place that speaks SQL.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "winreg.h"

struct sqlite3;
struct sqlite3_stmt;

namespace orvella::platform::registry {

using KeyId = std::int64_t;
inline constexpr KeyId kNoKey = 0;
// The two stored roots; HKEY_CLASSES_ROOT is a view over both (registry_view.h).
inline constexpr KeyId kCurrentUserKey = 1;
inline constexpr KeyId kLocalMachineKey = 2;

// A failure of the database: the registry result code for API callers and a message, naming the
// database file, for people.
class StoreError : public std::runtime_error {
public:
    StoreError(LONG code, const std::string& message) : std::runtime_error(message), code_(code) {}
    LONG code() const { return code_; }

private:
    LONG code_;
};

struct StoredValue {
    std::string name;
    DWORD type = REG_NONE;
    std::string data;
};

struct StoredKey {
    KeyId id = kNoKey;
    std::string name;
};

// What RegQueryInfoKeyA reports of one stored key (lengths in bytes).
struct KeyCounts {
    DWORD subkeys = 0;
    DWORD maxSubkeyName = 0;
    DWORD values = 0;
    DWORD maxValueName = 0;
    DWORD maxValueData = 0;
};

// One registry database. Key ids are never reused, so an id held by a handle either names its
// key or a deleted one. All methods may be called from any thread; the store serialises them.
class RegistryStore {
    struct OpenToken {
        explicit OpenToken() = default;
    };

public:
    // Use Open or ForCurrentHome.
    RegistryStore(OpenToken, std::filesystem::path file);

    // Opens the database `file`, creating it when missing. Throws StoreError: ERROR_BADDB when
    // the file is corrupt, truncated or not a registry database (it is then left untouched),
    // ERROR_CANTOPEN when it cannot be opened.
    static std::shared_ptr<RegistryStore> Open(const std::filesystem::path& file);

    // The store of the current Orvella home ("registry.db" there), reopened when the home
    // changes. Throws StoreError as Open, and ERROR_CANTOPEN when the home cannot be made.
    static std::shared_ptr<RegistryStore> ForCurrentHome();

    ~RegistryStore();
    RegistryStore(const RegistryStore&) = delete;
    RegistryStore& operator=(const RegistryStore&) = delete;

    const std::filesystem::path& file() const { return file_; }

    // One registry call: holds the store's lock and one SQLite transaction. A write transaction
    // takes the database's write lock at once (waiting for other processes up to a timeout) and
    // is durable once Commit returns; whatever is not committed is rolled back. Every method
    // throws StoreError on a database failure.
    class Transaction {
    public:
        enum Kind { kRead, kWrite };
        Transaction(RegistryStore& store, Kind kind);
        ~Transaction();
        Transaction(const Transaction&) = delete;
        Transaction& operator=(const Transaction&) = delete;

        void Commit();

        bool KeyExists(KeyId key);
        std::string KeyName(KeyId key);
        std::optional<KeyId> FindSubkey(KeyId parent, std::string_view name);
        KeyId AddSubkey(KeyId parent, std::string_view name);
        // Subkeys in order of their folded names.
        std::vector<StoredKey> Subkeys(KeyId parent);
        std::optional<StoredKey> SubkeyAt(KeyId parent, DWORD index);
        bool HasSubkeys(KeyId key);
        // Deletes the key with everything below it.
        void DeleteKey(KeyId key);
        // Deletes the key's values and subkeys, keeping the key.
        void ClearKey(KeyId key);
        // Last write time as FILETIME ticks (100 ns since 1601).
        std::uint64_t WriteTime(KeyId key);
        KeyCounts Counts(KeyId key);

        std::optional<StoredValue> FindValue(KeyId key, std::string_view name);
        // Values in the order they were first set.
        std::vector<StoredValue> Values(KeyId key);
        std::optional<StoredValue> ValueAt(KeyId key, DWORD index);
        void SetValue(KeyId key, std::string_view name, DWORD type, std::string_view data);
        bool DeleteValue(KeyId key, std::string_view name);

    private:
        void Touch(KeyId key);

        RegistryStore& store_;
        std::unique_lock<std::mutex> lock_;
        bool open_ = false;
    };

private:
    class Statement;
    friend class Transaction;

    void Initialize();
    sqlite3_stmt* Prepare(const char* sql);
    void Execute(const char* sql);
    // The first column of the first row of a one-row query.
    std::int64_t PragmaNumber(const char* sql);
    [[noreturn]] void Fail(int rc, std::string_view doing) const;

    std::filesystem::path file_;
    sqlite3* db_ = nullptr;
    std::mutex mutex_;
    std::vector<std::pair<const char*, sqlite3_stmt*>> statements_;
};

}  // namespace orvella::platform::registry
