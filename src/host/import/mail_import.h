// Importing mail files into a message store: the entry point of `orvella import` and
// `orvella deliver`.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "mapix.h"
#include "message_sources.h"

namespace orvella::host::mail {

struct ImportOptions {
    // Where mail goes (below the top of the store) unless `tree` gives a file a folder of its own.
    FolderPath folder = {"Inbox"};
    bool tree = false;
    // Skip a message whose Message-ID the target folder already holds.
    bool dedupe = false;
    // Deliver as new mail: into the store's receive folder, unread, whatever the source says.
    bool as_new_mail = false;
    // The profile's own address: the received-by address of mail whose headers name none.
    std::string own_address;
};

struct FolderCount {
    std::string folder;  // "Inbox", "Sent Items", "straw/2001"
    std::size_t imported = 0;
    std::size_t duplicates = 0;
};

struct ImportReport {
    std::vector<FolderCount> folders;  // in the order the import first wrote to them
    std::vector<SkippedFile> skipped;  // files (or mbox messages: "box.mbox#3") not imported
    std::size_t Imported() const;
};

// Called on the importing thread after each message: bytes read so far of all bytes to read,
// and the number of messages handled.
using ImportProgress =
    std::function<void(std::uintmax_t done, std::uintmax_t total, std::size_t messages)>;

// Imports every message under `paths` into `store`, each saved with one SaveChanges. Bad input
// never stops the import: files that are not mail or cannot be read are listed in the report
// and passed over. Files are read and converted on a worker thread while this thread writes;
// `store` is used from this thread only. Throws ImportFailure when the store itself fails (a
// folder cannot be created, a save is refused); what was saved before stays saved.
ImportReport ImportMail(IMsgStore* store, const std::vector<std::filesystem::path>& paths,
                        const ImportOptions& options, const ImportProgress& progress = {});

}  // namespace orvella::host::mail
