// Profiles: named sets of message stores in the Orvella home, as MAPI profiles hold a user's
// mailbox, personal folder files and other accounts' stores.
#pragma once

#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "mapidefs.h"

namespace orvella::platform::mapi::store {

// What a store is like to the programs that look at it: the provider it names and the
// properties such stores carry.
enum class StoreKind {
    Personal,  // a personal folder file
    Exchange,  // an Exchange-like private mailbox
    Imap,      // personal folders holding an IMAP account's mail
    Http,      // personal folders holding an HTTP mail account's mail
    Public,    // public folders
};

struct StoreSetup {
    std::string display_name;
    StoreKind kind = StoreKind::Personal;
    bool is_default = false;
    bool offline = false;  // PR_STORE_OFFLINE
};

struct ProfileStore {
    GUID uid = {};
    std::string display_name;
    std::filesystem::path file;
    StoreKind kind = StoreKind::Personal;
    bool is_default = false;
};

// The profile MAPILogonEx uses for MAPI_USE_DEFAULT or no name: $ORVELLA_PROFILE, else
// "Outlook".
std::string DefaultProfileName();

// <home>/profiles/<name>.
std::filesystem::path ProfileDirectory(const std::string& name);

bool ProfileExists(const std::string& name);
std::vector<std::string> ListProfiles();

// Creates a profile with its stores (each a new store file with the standard folders). Throws
// StoreFailure: MAPI_E_COLLISION when the profile exists, MAPI_E_INVALID_PARAMETER for a name
// that cannot be a directory name or a list of stores without exactly one default.
void CreateProfile(const std::string& name, std::span<const StoreSetup> stores);

// The stores of a profile in the order they were added. Throws StoreFailure: MAPI_E_NOT_FOUND
// when there is no such profile, MAPI_E_CORRUPT_STORE naming the file when its list is damaged.
std::vector<ProfileStore> ProfileStores(const std::string& name);

StoreKind ParseStoreKind(const std::string& text);  // "pst", "exchange", "imap", "http", "public"
const char* StoreKindName(StoreKind kind);

}  // namespace orvella::platform::mapi::store
