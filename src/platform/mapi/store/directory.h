// The directory of an Exchange-like profile (its "Global Address List"): the people of the
// organisation, kept in the profile's own database beside its list of stores.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace orvella::platform::mapi::store {

// One person of the directory. Proxy addresses carry their type ("SMTP:" for the primary SMTP
// address, "smtp:" for secondary ones, "X500:" ...); the first is always "SMTP:" + smtp.
struct DirectoryEntry {
    std::int64_t id = 0;  // stable for the life of the entry; never reused
    std::string display_name;
    std::string alias;  // the mailbox name (PR_ACCOUNT), unique without regard to case
    std::string smtp;   // the primary SMTP address, unique without regard to case
    std::vector<std::string> proxies;
    bool is_user = false;  // the profile's own user (the session's identity)
};

// What `orvella directory add` and profile creation give.
struct DirectoryEntrySetup {
    std::string display_name;
    std::string address;               // primary SMTP address
    std::string alias;                 // empty: the address's local part
    std::vector<std::string> proxies;  // without a type prefix they are taken as "smtp:"
};

// The native ("EX") address of a directory entry:
// "/o=Orvella/ou=Exchange Administrative Group/cn=Recipients/cn=<alias>".
std::string NativeAddress(const std::string& alias);

// Whether the profile holds a directory: it does when one of its stores is an Exchange-like
// mailbox. Throws StoreFailure(MAPI_E_NOT_FOUND) when there is no such profile.
bool ProfileHasDirectory(const std::string& profile);

// The directory's entries in the order they were added; empty for a profile without one.
// Upgrades a profile database written before directories existed (which is then writable).
// Throws StoreFailure: MAPI_E_NOT_FOUND for no such profile, MAPI_E_VERSION for a database
// written by a newer Orvella, SQLite failures as HResultFromSqlite.
std::vector<DirectoryEntry> DirectoryEntries(const std::string& profile);

// Adds an entry and returns it. Throws StoreFailure: MAPI_E_NO_SUPPORT when the profile has no
// directory, MAPI_E_INVALID_PARAMETER for an empty name, an address without "@" or an empty
// alias or proxy, MAPI_E_COLLISION when the address or alias is taken, MAPI_E_NOT_FOUND for no
// such profile. `is_user` marks the profile's own user; a profile has at most one (a second
// is MAPI_E_COLLISION).
DirectoryEntry AddDirectoryEntry(const std::string& profile, const DirectoryEntrySetup& setup,
                                 bool is_user = false);

// Removes the entry whose primary SMTP address is `address` (without regard to case). Throws
// StoreFailure: MAPI_E_NOT_FOUND when there is none, MAPI_E_NO_ACCESS for the profile's own
// user, MAPI_E_NO_SUPPORT when the profile has no directory.
void RemoveDirectoryEntry(const std::string& profile, const std::string& address);

}  // namespace orvella::platform::mapi::store
