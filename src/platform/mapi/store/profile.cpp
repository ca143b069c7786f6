// Profiles on disk: <home>/profiles/<name>/profile.db lists the stores; each store is a file in
// <home>/profiles/<name>/stores.
#include "profile.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <random>

#include "db/sqlite_db.h"
#include "home.h"
#include "mapitags.h"
#include "store_database.h"
#include "store_layout.h"

namespace orvella::platform::mapi::store {
namespace {

const char* const kProfileSchema =
    "CREATE TABLE IF NOT EXISTS stores(uid BLOB PRIMARY KEY, name TEXT NOT NULL,"
    " file TEXT NOT NULL, kind INTEGER NOT NULL, is_default INTEGER NOT NULL)";

GUID NewUid() {
    std::random_device random;
    GUID uid;
    auto* bytes = reinterpret_cast<std::uint8_t*>(&uid);
    for (std::size_t i = 0; i < sizeof uid; ++i) bytes[i] = static_cast<std::uint8_t>(random());
    return uid;
}

std::string Hex(const GUID& uid) {
    static const char* digits = "0123456789abcdef";
    std::string hex;
    auto* bytes = reinterpret_cast<const std::uint8_t*>(&uid);
    for (std::size_t i = 0; i < sizeof uid; ++i) {
        hex += digits[bytes[i] >> 4];
        hex += digits[bytes[i] & 15];
    }
    return hex;
}

bool ValidName(const std::string& name) {
    return !name.empty() && name.size() <= 64 && name != "." && name != ".." &&
           name.find_first_of("/\\") == std::string::npos && name.find('\0') == std::string::npos;
}

}  // namespace

std::string DefaultProfileName() {
    const char* chosen = std::getenv("ORVELLA_PROFILE");
    return chosen && *chosen ? chosen : "Outlook";
}

std::filesystem::path ProfileDirectory(const std::string& name) {
    return platform::HomeDirectory() / "profiles" / name;
}

bool ProfileExists(const std::string& name) {
    return ValidName(name) && std::filesystem::exists(ProfileDirectory(name) / "profile.db");
}

std::vector<std::string> ListProfiles() {
    std::vector<std::string> names;
    std::error_code ec;
    for (const auto& entry :
         std::filesystem::directory_iterator(platform::HomeDirectory() / "profiles", ec))
        if (std::filesystem::exists(entry.path() / "profile.db"))
            names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

void CreateProfile(const std::string& name, std::span<const StoreSetup> stores) {
    if (!ValidName(name))
        throw StoreFailure(MAPI_E_INVALID_PARAMETER, "\"" + name + "\" cannot name a profile");
    std::size_t defaults = 0;
    for (const StoreSetup& setup : stores) defaults += setup.is_default;
    if (defaults != 1)
        throw StoreFailure(MAPI_E_INVALID_PARAMETER, "a profile needs exactly one default store");
    if (ProfileExists(name))
        throw StoreFailure(MAPI_E_COLLISION, "the profile \"" + name + "\" already exists");
    const std::filesystem::path directory = ProfileDirectory(name);
    std::filesystem::create_directories(directory / "stores");
    // The store files first: the profile only lists stores that exist.
    std::vector<ProfileStore> made;
    for (const StoreSetup& setup : stores) {
        ProfileStore store;
        store.uid = NewUid();
        store.display_name = setup.display_name;
        store.file = directory / "stores" / (Hex(store.uid) + ".store");
        store.kind = setup.kind;
        store.is_default = setup.is_default;
        CreateStoreFile(store.file, store.uid, setup);
        made.push_back(store);
    }
    const std::filesystem::path list = directory / "profile.db.new";
    std::filesystem::remove(list);
    {
        Database db(list, true);
        Transaction transaction(db);
        db.Exec(kProfileSchema);
        for (const ProfileStore& store : made) {
            db.Cached(
                  "INSERT INTO stores(uid, name, file, kind, is_default) VALUES(?1,?2,?3,?4,?5)")
                .BindBlob(1, {reinterpret_cast<const std::uint8_t*>(&store.uid), sizeof(GUID)})
                .BindText(2, store.display_name)
                .BindText(3, store.file.filename().string())
                .Bind(4, std::int64_t{static_cast<int>(store.kind)})
                .Bind(5, std::int64_t{store.is_default})
                .Run();
        }
        transaction.Commit();
    }
    // The profile appears whole or not at all.
    std::filesystem::rename(list, directory / "profile.db");
}

std::vector<ProfileStore> ProfileStores(const std::string& name) {
    if (!ProfileExists(name))
        throw StoreFailure(MAPI_E_NOT_FOUND, "there is no profile named \"" + name + "\"");
    const std::filesystem::path directory = ProfileDirectory(name);
    Database db(directory / "profile.db", false);
    std::vector<ProfileStore> stores;
    Statement& read =
        db.Cached("SELECT uid, name, file, kind, is_default FROM stores ORDER BY rowid");
    while (read.Step()) {
        ProfileStore store;
        if (read.Blob(0).size() != sizeof(GUID))
            throw StoreFailure(MAPI_E_CORRUPT_STORE,
                               (directory / "profile.db").string() + " lists a damaged store");
        std::memcpy(&store.uid, read.Blob(0).data(), sizeof(GUID));
        store.display_name = std::string(read.Text(1));
        store.file = directory / "stores" / std::string(read.Text(2));
        store.kind = static_cast<StoreKind>(read.Int(3));
        store.is_default = read.Int(4) != 0;
        stores.push_back(store);
    }
    return stores;
}

StoreKind ParseStoreKind(const std::string& text) {
    for (StoreKind kind : {StoreKind::Personal, StoreKind::Exchange, StoreKind::Imap,
                           StoreKind::Http, StoreKind::Public})
        if (text == StoreKindName(kind)) return kind;
    throw StoreFailure(MAPI_E_INVALID_PARAMETER, "unknown store kind \"" + text + "\"");
}

const char* StoreKindName(StoreKind kind) {
    switch (kind) {
        case StoreKind::Exchange:
            return "exchange";
        case StoreKind::Imap:
            return "imap";
        case StoreKind::Http:
            return "http";
        case StoreKind::Public:
            return "public";
        default:
            return "pst";
    }
}

}  // namespace orvella::platform::mapi::store
