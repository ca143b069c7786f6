// The store folders an import writes to, found by path below the top of the store and created
// when missing.
#pragma once

#include <map>
#include <stdexcept>
#include <string>
#include <string_view>

#include "mapi_ptr.h"
#include "mapix.h"
#include "message_sources.h"

namespace orvella::host::mail {

// A store failure the import cannot go on from (the store is unusable, a folder cannot be made).
struct ImportFailure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Throws ImportFailure naming the operation and the MAPI result when `result` is a failure.
void CheckStore(HRESULT result, const std::string& what);

class ImportFolders {
public:
    // `store` stays referenced for the object's life; used from one thread.
    explicit ImportFolders(IMsgStore* store);

    // The store's receive folder for "IPM.Note" (the Inbox), where new mail arrives.
    IMAPIFolder* ReceiveFolder();
    // The folder at `path` below the top of the store; each missing folder on the way is
    // created (a generic mail folder). Names compare without regard to case. Throws
    // ImportFailure when the store refuses.
    IMAPIFolder* Folder(const FolderPath& path);

    // "Inbox/Projects" for a path.
    static std::string PathText(const FolderPath& path);
    // A folder path as people type it: "Inbox/Projects", "/Inbox\\Projects" and
    // " Inbox//Projects " alike; spaces inside a name ("Sent Items") are kept.
    static FolderPath ParsePath(std::string_view text);

private:
    platform::mapi::ComPtr<IMAPIFolder> OpenById(const SBinary& id, const std::string& what);
    platform::mapi::ComPtr<IMAPIFolder> Child(IMAPIFolder* parent, const std::string& name,
                                              const std::string& path);

    platform::mapi::ComPtr<IMsgStore> store_;
    platform::mapi::ComPtr<IMAPIFolder> top_;
    platform::mapi::ComPtr<IMAPIFolder> receive_;
    std::map<std::string, platform::mapi::ComPtr<IMAPIFolder>> by_path_;  // lower-case paths
};

}  // namespace orvella::host::mail
