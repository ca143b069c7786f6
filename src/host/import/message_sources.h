// Where mail comes from: a Maildir, a directory of one-message files, an mbox or an .eml file,
// and the list of files an import reads, with the folder each one goes to.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace orvella::host::mail {

enum class SourceKind {
    Maildir,    // a directory with cur/ and new/
    Directory,  // a directory of files holding one message each (or mbox files)
    Mbox,       // a file of messages each opened by a "From " line
    Message,    // a file holding one message (.eml, or "1." in a directory)
    Missing,    // nothing there, or nothing readable
};

// What `path` holds, from its layout and, for a file, its first bytes.
SourceKind DetectSource(const std::filesystem::path& path);
const char* SourceKindName(SourceKind kind);

// The folder a file's mail goes to: empty for the import's own target folder (--folder), else
// the folder path below the top of the store ("Inbox", "Sent Items", "projects/2001").
using FolderPath = std::vector<std::string>;

struct PlannedFile {
    std::filesystem::path path;
    FolderPath folder;
    bool read = false;       // a Maildir file whose name carries the S flag
    std::int64_t mtime = 0;  // seconds since 1970
    std::uintmax_t size = 0;
};

// A file not imported, with the reason a person reads.
struct SkippedFile {
    std::string path;
    std::string reason;
};

// Adds the files under `path` to `files`, in name order (numbers by value: "2." before "10.").
// With `tree`, each directory below `path` names a folder: inbox and notes_inbox give "Inbox";
// sent, _sent_mail and sent_items give "Sent Items"; deleted_items gives "Deleted Items"; any
// other directory a folder of its own name, nested as the directories are. Maildir's cur/ and
// new/ belong to the directory that holds them; tmp/ and hidden files are passed over. A path
// that does not exist or cannot be read is added to `skipped`.
void PlanSource(const std::filesystem::path& path, bool tree, std::vector<PlannedFile>& files,
                std::vector<SkippedFile>& skipped);

// The bytes of a file; false (and `error` set) when it cannot be read.
bool ReadFileBytes(const std::filesystem::path& path, std::string& bytes, std::string& error);

}  // namespace orvella::host::mail
