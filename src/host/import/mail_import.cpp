// The import run: plan the files, convert them on a worker thread, write them on this one.
#include "mail_import.h"

#include "store_objects.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <optional>
#include <thread>

#include "import_folders.h"
#include "mbox_reader.h"
#include "mime_conversion.h"
#include "store_writer.h"

namespace orvella::host::mail {
namespace {

// One message (or one failure to read) on its way from the reader to the writer.
struct Converted {
    std::optional<ImportedMail> mail;
    const FolderPath* folder = nullptr;
    std::string origin;   // the file, or "file#N" for a message of an mbox
    std::string problem;  // why there is no mail
    std::uintmax_t bytes_done = 0;
};

// A bounded hand-over between the reading thread and the writing thread.
class Pipe {
public:
    // False when the writer has given up: the reader should stop.
    bool Push(Converted item) {
        std::unique_lock lock(mutex_);
        room_.wait(lock, [&] { return items_.size() < kCapacity || closed_; });
        if (closed_) return false;
        items_.push_back(std::move(item));
        ready_.notify_one();
        return true;
    }
    // The next item; nullopt when the reader has finished and everything was taken.
    std::optional<Converted> Pop() {
        std::unique_lock lock(mutex_);
        ready_.wait(lock, [&] { return !items_.empty() || done_; });
        if (items_.empty()) return std::nullopt;
        Converted item = std::move(items_.front());
        items_.pop_front();
        room_.notify_one();
        return item;
    }
    void Finish(std::exception_ptr failure = nullptr) {
        std::lock_guard lock(mutex_);
        done_ = true;
        failure_ = failure;
        ready_.notify_all();
    }
    // The writer gives up: the reader stops at its next push.
    void Close() {
        std::lock_guard lock(mutex_);
        closed_ = true;
        room_.notify_all();
    }
    std::exception_ptr failure() {
        std::lock_guard lock(mutex_);
        return failure_;
    }

private:
    static constexpr std::size_t kCapacity = 256;
    std::mutex mutex_;
    std::condition_variable ready_, room_;
    std::deque<Converted> items_;
    bool done_ = false;
    bool closed_ = false;
    std::exception_ptr failure_;
};

void ReadFiles(const std::vector<PlannedFile>& files, const ImportOptions& options, Pipe& pipe) {
    std::uintmax_t done = 0;
    std::string bytes, error;
    for (const PlannedFile& file : files) {
        const std::string origin = file.path.string();
        SourceContext context{file.read, file.mtime, options.own_address};
        if (!ReadFileBytes(file.path, bytes, error)) {
            done += file.size;
            if (!pipe.Push({std::nullopt, &file.folder, origin, "cannot be read: " + error, done}))
                return;
            continue;
        }
        if (IsMbox(bytes)) {
            std::size_t number = 0;
            std::uintmax_t at = done;
            bool stopped = false;
            ForEachMboxMessage(bytes, [&](MboxMessage message) {
                if (stopped) return;
                ++number;
                at += message.text.size();
                SourceContext own = context;
                own.read = message.read;
                Converted item{ConvertMessage(std::move(message.text), own),
                               &file.folder,
                               origin + "#" + std::to_string(number),
                               {},
                               std::min(at, done + file.size)};
                if (!item.mail) item.problem = "not a mail message";
                stopped = !pipe.Push(std::move(item));
            });
            if (stopped) return;
            done += file.size;
            continue;
        }
        done += file.size;
        const bool empty = bytes.empty();
        Converted item{ConvertMessage(std::move(bytes), context), &file.folder, origin, {}, done};
        if (!item.mail) item.problem = empty ? "empty file" : "not a mail message";
        if (!pipe.Push(std::move(item))) return;
        bytes = std::string();
    }
}

FolderCount& CountFor(ImportReport& report, const std::string& folder) {
    for (FolderCount& count : report.folders) {
        if (count.folder == folder) return count;
    }
    report.folders.push_back({folder, 0, 0});
    return report.folders.back();
}

}  // namespace

std::size_t ImportReport::Imported() const {
    std::size_t total = 0;
    for (const FolderCount& count : folders) total += count.imported;
    return total;
}

ImportReport ImportMail(IMsgStore* store, const std::vector<std::filesystem::path>& paths,
                        const ImportOptions& options, const ImportProgress& progress) {
    ImportReport report;
    std::vector<PlannedFile> files;
    for (const std::filesystem::path& path : paths) {
        PlanSource(path, options.tree && !options.as_new_mail, files, report.skipped);
    }
    std::uintmax_t total = 0;
    for (const PlannedFile& file : files) total += file.size;

    ImportFolders folders(store);
    StoreWriter writer(store);
    // Saves share commits: each message is still saved whole or not at all, and one import that
    // dies loses at most the last few hundred, which importing again with --dedupe restores.
    auto bulk = platform::mapi::store::BeginBulkWriting(store);
    Pipe pipe;
    std::thread reader([&] {
        try {
            ReadFiles(files, options, pipe);
            pipe.Finish();
        } catch (...) {
            pipe.Finish(std::current_exception());
        }
    });
    std::size_t messages = 0;
    try {
        while (std::optional<Converted> item = pipe.Pop()) {
            ++messages;
            if (!item->mail) {
                report.skipped.push_back({item->origin, item->problem});
            } else {
                const bool own_folder = !item->folder->empty();
                const FolderPath& path = own_folder ? *item->folder : options.folder;
                IMAPIFolder* folder =
                    options.as_new_mail ? folders.ReceiveFolder() : folders.Folder(path);
                FolderCount& count =
                    CountFor(report, options.as_new_mail ? "Inbox" : ImportFolders::PathText(path));
                if (options.as_new_mail) item->mail->read = false;
                if (options.dedupe && !item->mail->message_id.empty() &&
                    writer.HoldsMessageId(folder, item->mail->message_id)) {
                    ++count.duplicates;
                } else {
                    writer.Save(folder, *item->mail);
                    ++count.imported;
                }
            }
            if (progress) progress(item->bytes_done, total, messages);
        }
    } catch (...) {
        pipe.Close();
        while (pipe.Pop()) {
        }
        reader.join();
        throw;
    }
    reader.join();
    if (bulk) bulk->Finish();
    if (std::exception_ptr failure = pipe.failure()) std::rethrow_exception(failure);
    return report;
}

}  // namespace orvella::host::mail
