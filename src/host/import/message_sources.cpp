// Finding mail files on disk and deciding their folders.
#include "message_sources.h"

#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>

#include "mbox_reader.h"

namespace orvella::host::mail {
namespace {

namespace fs = std::filesystem;

bool IsMaildir(const fs::path& dir) {
    std::error_code error;
    return fs::is_directory(dir / "cur", error) || fs::is_directory(dir / "new", error);
}

// Name order with digit runs compared by value.
bool NaturalLess(const std::string& a, const std::string& b) {
    size_t i = 0, j = 0;
    while (i < a.size() && j < b.size()) {
        if (std::isdigit(static_cast<unsigned char>(a[i])) &&
            std::isdigit(static_cast<unsigned char>(b[j]))) {
            size_t end_a = i, end_b = j;
            while (end_a < a.size() && std::isdigit(static_cast<unsigned char>(a[end_a]))) ++end_a;
            while (end_b < b.size() && std::isdigit(static_cast<unsigned char>(b[end_b]))) ++end_b;
            const std::string_view run_a = std::string_view(a).substr(i, end_a - i);
            const std::string_view run_b = std::string_view(b).substr(j, end_b - j);
            const std::string_view digits_a =
                run_a.substr(std::min(run_a.find_first_not_of('0'), run_a.size()));
            const std::string_view digits_b =
                run_b.substr(std::min(run_b.find_first_not_of('0'), run_b.size()));
            if (digits_a.size() != digits_b.size()) return digits_a.size() < digits_b.size();
            if (digits_a != digits_b) return digits_a < digits_b;
            i = end_a;
            j = end_b;
        } else {
            if (a[i] != b[j]) return a[i] < b[j];
            ++i;
            ++j;
        }
    }
    return a.size() - i < b.size() - j;
}

// The folder a directory directly below the import's root stands for.
std::string TopFolderName(const std::string& directory) {
    struct Standard {
        const char* directory;
        const char* folder;
    };
    static constexpr Standard kStandard[] = {
        {"inbox", "Inbox"},           {"notes_inbox", "Inbox"},
        {"sent", "Sent Items"},       {"_sent_mail", "Sent Items"},
        {"sent_items", "Sent Items"}, {"deleted_items", "Deleted Items"},
    };
    for (const Standard& standard : kStandard) {
        if (strcasecmp(directory.c_str(), standard.directory) == 0) return standard.folder;
    }
    return directory;
}

// The entries of a directory, sorted: files first as a list, then subdirectories.
struct Listing {
    std::vector<fs::path> files;
    std::vector<fs::path> directories;
};

Listing List(const fs::path& dir, std::vector<SkippedFile>& skipped) {
    Listing listing;
    std::error_code error;
    fs::directory_iterator it(dir, error);
    if (error) {
        skipped.push_back({dir.string(), "cannot be read: " + error.message()});
        return listing;
    }
    for (const fs::directory_entry& entry : it) {
        const std::string name = entry.path().filename().string();
        if (name.empty() || name[0] == '.') continue;
        if (entry.is_directory(error)) {
            listing.directories.push_back(entry.path());
        } else if (entry.is_regular_file(error)) {
            listing.files.push_back(entry.path());
        }
    }
    auto by_name = [](const fs::path& a, const fs::path& b) {
        return NaturalLess(a.filename().string(), b.filename().string());
    };
    std::sort(listing.files.begin(), listing.files.end(), by_name);
    std::sort(listing.directories.begin(), listing.directories.end(), by_name);
    return listing;
}

void AddFile(const fs::path& file, const FolderPath& folder, bool maildir,
             std::vector<PlannedFile>& files) {
    PlannedFile planned{file, folder, false, 0, 0};
    struct stat info = {};
    if (stat(file.c_str(), &info) == 0) {
        planned.mtime = info.st_mtime;
        planned.size = static_cast<std::uintmax_t>(info.st_size);
    }
    if (maildir) {
        // Maildir info: "<unique>:2,<flags>" (some systems write '!' for ':').
        const std::string name = file.filename().string();
        size_t info_at = name.rfind(":2,");
        if (info_at == std::string::npos) info_at = name.rfind("!2,");
        planned.read =
            info_at != std::string::npos && name.find('S', info_at + 3) != std::string::npos;
    }
    files.push_back(std::move(planned));
}

void PlanDirectory(const fs::path& dir, const FolderPath& folder, bool tree, bool top,
                   std::vector<PlannedFile>& files, std::vector<SkippedFile>& skipped) {
    const bool maildir = IsMaildir(dir);
    if (maildir) {
        for (const char* part : {"cur", "new"}) {
            std::error_code error;
            if (!fs::is_directory(dir / part, error)) continue;
            for (const fs::path& file : List(dir / part, skipped).files)
                AddFile(file, folder, true, files);
        }
    }
    Listing listing = List(dir, skipped);
    for (const fs::path& file : listing.files) AddFile(file, folder, false, files);
    for (const fs::path& sub : listing.directories) {
        const std::string name = sub.filename().string();
        if (maildir && (name == "cur" || name == "new" || name == "tmp")) continue;
        FolderPath below = folder;
        if (tree) below.push_back(top ? TopFolderName(name) : name);
        PlanDirectory(sub, below, tree, false, files, skipped);
    }
}

}  // namespace

SourceKind DetectSource(const fs::path& path) {
    std::error_code error;
    if (fs::is_directory(path, error)) {
        return IsMaildir(path) ? SourceKind::Maildir : SourceKind::Directory;
    }
    if (!fs::is_regular_file(path, error)) return SourceKind::Missing;
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return SourceKind::Missing;
    char head[5] = {};
    const ssize_t got = read(fd, head, sizeof head);
    close(fd);
    if (got < 0) return SourceKind::Missing;
    return IsMbox(std::string_view(head, static_cast<size_t>(got))) ? SourceKind::Mbox
                                                                    : SourceKind::Message;
}

const char* SourceKindName(SourceKind kind) {
    switch (kind) {
        case SourceKind::Maildir:
            return "maildir";
        case SourceKind::Directory:
            return "directory";
        case SourceKind::Mbox:
            return "mbox";
        case SourceKind::Message:
            return "message";
        case SourceKind::Missing:
            break;
    }
    return "missing";
}

void PlanSource(const fs::path& path, bool tree, std::vector<PlannedFile>& files,
                std::vector<SkippedFile>& skipped) {
    switch (DetectSource(path)) {
        case SourceKind::Maildir:
        case SourceKind::Directory:
            PlanDirectory(path, {}, tree, true, files, skipped);
            return;
        case SourceKind::Mbox:
        case SourceKind::Message:
            AddFile(path, {}, false, files);
            return;
        case SourceKind::Missing:
            skipped.push_back({path.string(), "no such file or directory"});
            return;
    }
}

bool ReadFileBytes(const fs::path& path, std::string& bytes, std::string& error) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        error = std::strerror(errno);
        return false;
    }
    struct stat info = {};
    bytes.clear();
    if (fstat(fd, &info) == 0 && info.st_size > 0) bytes.reserve(static_cast<size_t>(info.st_size));
    char buffer[65536];
    while (true) {
        const ssize_t got = read(fd, buffer, sizeof buffer);
        if (got < 0) {
            if (errno == EINTR) continue;
            error = std::strerror(errno);
            close(fd);
            return false;
        }
        if (got == 0) break;
        bytes.append(buffer, static_cast<size_t>(got));
    }
    close(fd);
    return true;
}

}  // namespace orvella::host::mail
