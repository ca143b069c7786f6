// The directory's table in profile.db, and the upgrade that adds it to older profile files.
#include "directory.h"

#include <strings.h>

#include <memory>

#include "db/sqlite_db.h"
#include "profile.h"

namespace orvella::platform::mapi::store {
namespace {

// profile.db versions (PRAGMA user_version): 0 lists stores only, 1 adds the directory.
constexpr std::int64_t kProfileSchemaVersion = 1;

const char* const kDirectorySchema =
    "CREATE TABLE IF NOT EXISTS directory(id INTEGER PRIMARY KEY AUTOINCREMENT,"
    " display_name TEXT NOT NULL, alias TEXT NOT NULL COLLATE NOCASE UNIQUE,"
    " smtp TEXT NOT NULL COLLATE NOCASE UNIQUE, proxies TEXT NOT NULL,"
    " is_user INTEGER NOT NULL DEFAULT 0)";

std::int64_t SchemaVersion(Database& db) {
    Statement& read = db.Cached("PRAGMA user_version");
    return read.Step() ? read.Int(0) : 0;
}

// Opens the profile's database at the current schema version, upgrading an older file in one
// transaction (another process upgrading at the same time waits, then finds nothing to do).
std::unique_ptr<Database> OpenProfileDatabase(const std::string& profile) {
    if (!ProfileExists(profile))
        throw StoreFailure(MAPI_E_NOT_FOUND, "there is no profile named \"" + profile + "\"");
    auto db = std::make_unique<Database>(ProfileDirectory(profile) / "profile.db", false);
    if (SchemaVersion(*db) == kProfileSchemaVersion) return db;
    Transaction transaction(*db);
    const std::int64_t version = SchemaVersion(*db);
    if (version > kProfileSchemaVersion)
        throw StoreFailure(MAPI_E_VERSION,
                           db->file().string() + " was written by a newer version of Orvella");
    if (version < 1) db->Exec(kDirectorySchema);
    db->Exec("PRAGMA user_version = 1");
    transaction.Commit();
    return db;
}

std::string JoinLines(const std::vector<std::string>& lines) {
    std::string joined;
    for (const std::string& line : lines) joined += (joined.empty() ? "" : "\n") + line;
    return joined;
}

std::vector<std::string> SplitLines(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        lines.emplace_back(text.substr(0, end));
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    }
    return lines;
}

bool SameText(const std::string& a, const std::string& b) {
    return strcasecmp(a.c_str(), b.c_str()) == 0;
}

void Require(bool condition, const std::string& problem) {
    if (!condition) throw StoreFailure(MAPI_E_INVALID_PARAMETER, problem);
}

void RequireDirectory(const std::string& profile) {
    if (!ProfileHasDirectory(profile))
        throw StoreFailure(MAPI_E_NO_SUPPORT, "the profile \"" + profile +
                                                  "\" has no directory (it has no Exchange-like "
                                                  "mailbox)");
}

// The entry as it will be stored: alias from the address when none is given, the primary
// proxy first, typeless proxies taken as secondary SMTP addresses, duplicates dropped.
DirectoryEntry Prepare(const DirectoryEntrySetup& setup, bool is_user) {
    Require(!setup.display_name.empty(), "a directory entry needs a name");
    const std::size_t at = setup.address.find('@');
    Require(at != std::string::npos && at > 0 && at + 1 < setup.address.size() &&
                setup.address.find_first_of(" \n") == std::string::npos,
            "\"" + setup.address + "\" is not an e-mail address");
    DirectoryEntry entry;
    entry.display_name = setup.display_name;
    entry.smtp = setup.address;
    entry.alias = setup.alias.empty() ? setup.address.substr(0, at) : setup.alias;
    Require(entry.alias.find_first_of("/\n") == std::string::npos,
            "\"" + entry.alias + "\" cannot be an alias");
    entry.is_user = is_user;
    entry.proxies.push_back("SMTP:" + setup.address);
    for (const std::string& given : setup.proxies) {
        Require(!given.empty() && given.find('\n') == std::string::npos,
                "\"" + given + "\" is not a proxy address");
        const std::string proxy = given.find(':') == std::string::npos ? "smtp:" + given : given;
        bool known = false;
        for (const std::string& existing : entry.proxies) known |= SameText(existing, proxy);
        if (!known) entry.proxies.push_back(proxy);
    }
    return entry;
}

}  // namespace

std::string NativeAddress(const std::string& alias) {
    return "/o=Orvella/ou=Exchange Administrative Group/cn=Recipients/cn=" + alias;
}

bool ProfileHasDirectory(const std::string& profile) {
    for (const ProfileStore& store : ProfileStores(profile))
        if (store.kind == StoreKind::Exchange) return true;
    return false;
}

std::vector<DirectoryEntry> DirectoryEntries(const std::string& profile) {
    auto db = OpenProfileDatabase(profile);
    std::vector<DirectoryEntry> entries;
    if (!ProfileHasDirectory(profile)) return entries;
    Statement& read = db->Cached(
        "SELECT id, display_name, alias, smtp, proxies, is_user FROM directory ORDER BY id");
    while (read.Step()) {
        DirectoryEntry entry;
        entry.id = read.Int(0);
        entry.display_name = std::string(read.Text(1));
        entry.alias = std::string(read.Text(2));
        entry.smtp = std::string(read.Text(3));
        entry.proxies = SplitLines(read.Text(4));
        entry.is_user = read.Int(5) != 0;
        entries.push_back(std::move(entry));
    }
    return entries;
}

DirectoryEntry AddDirectoryEntry(const std::string& profile, const DirectoryEntrySetup& setup,
                                 bool is_user) {
    auto db = OpenProfileDatabase(profile);
    RequireDirectory(profile);
    DirectoryEntry entry = Prepare(setup, is_user);
    Transaction transaction(*db);
    Statement& clash = db->Cached(
        "SELECT smtp = ?1 COLLATE NOCASE, alias = ?2 COLLATE NOCASE, is_user FROM directory"
        " WHERE smtp = ?1 COLLATE NOCASE OR alias = ?2 COLLATE NOCASE OR (is_user AND ?3)");
    clash.BindText(1, entry.smtp).BindText(2, entry.alias).Bind(3, std::int64_t{is_user});
    if (clash.Step()) {
        const std::string what = clash.Int(0)   ? "the address \"" + entry.smtp + "\""
                                 : clash.Int(1) ? "the alias \"" + entry.alias + "\""
                                                : std::string("the profile's own user");
        throw StoreFailure(MAPI_E_COLLISION, "the directory already has " + what);
    }
    db->Cached(
          "INSERT INTO directory(display_name, alias, smtp, proxies, is_user)"
          " VALUES(?1,?2,?3,?4,?5)")
        .BindText(1, entry.display_name)
        .BindText(2, entry.alias)
        .BindText(3, entry.smtp)
        .BindText(4, JoinLines(entry.proxies))
        .Bind(5, std::int64_t{is_user})
        .Run();
    entry.id = db->LastInsertId();
    transaction.Commit();
    return entry;
}

void RemoveDirectoryEntry(const std::string& profile, const std::string& address) {
    auto db = OpenProfileDatabase(profile);
    RequireDirectory(profile);
    Transaction transaction(*db);
    Statement& find =
        db->Cached("SELECT id, is_user FROM directory WHERE smtp = ?1 COLLATE NOCASE");
    find.BindText(1, address);
    if (!find.Step())
        throw StoreFailure(MAPI_E_NOT_FOUND, "the directory has no entry \"" + address + "\"");
    if (find.Int(1) != 0)
        throw StoreFailure(MAPI_E_NO_ACCESS,
                           "\"" + address + "\" is the profile's own user and stays");
    const std::int64_t id = find.Int(0);
    find.Reset();
    db->Cached("DELETE FROM directory WHERE id = ?1").Bind(1, id).Run();
    transaction.Commit();
}

}  // namespace orvella::platform::mapi::store
