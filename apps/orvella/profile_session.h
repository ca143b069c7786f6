// A MAPI session on the current profile for the commands that read the user's mail: logs on,
// lists and opens the profile's stores, resolves folder paths and entry ids given as text.
#pragma once

#include <string>
#include <vector>

#include "mapi_ptr.h"
#include "mapix.h"

namespace orvella::cli {

// Throws CommandError("<what>: MAPI_E_...") when `result` is a failure, with the object's own
// account of it from GetLastError when it gives one.
void CheckMapi(HRESULT result, const std::string& what, IMAPIProp* object = nullptr);

// Entry ids as text: uppercase hex, as the host's object model shows them. Parse accepts either
// case and throws CommandError for anything that is not hex.
std::string EntryIdText(const SBinary& entry_id);
std::vector<BYTE> ParseEntryIdText(const std::string& text);

class ProfileSession {
public:
    struct Store {
        std::string name;
        std::vector<BYTE> entry_id;
        bool is_default = false;
    };

    // Logs on to the profile named by --profile / $ORVELLA_PROFILE, else "Outlook". Throws
    // CommandError naming the profile when it does not exist.
    ProfileSession();
    ~ProfileSession();
    ProfileSession(const ProfileSession&) = delete;
    ProfileSession& operator=(const ProfileSession&) = delete;

    const std::vector<Store>& stores() const { return stores_; }
    // The store with this display name (without regard to case); the default store for "".
    const Store& FindStore(const std::string& name) const;
    platform::mapi::ComPtr<IMsgStore> OpenStore(const Store& store) const;

    // The folder at a path below the store's top of information store ("Inbox/Projects",
    // "/Inbox\\Projects" alike; "" is the top itself), or a folder entry id in hex.
    platform::mapi::ComPtr<IMAPIFolder> OpenFolder(IMsgStore* store,
                                                   const std::string& path_or_id) const;

    // Any object of the profile's stores by its entry id; `type` receives MAPI_FOLDER etc.
    platform::mapi::ComPtr<IMAPIProp> OpenEntry(const std::vector<BYTE>& entry_id,
                                                ULONG* type) const;

private:
    platform::mapi::ComPtr<IMAPISession> session_;
    std::vector<Store> stores_;
};

}  // namespace orvella::cli
