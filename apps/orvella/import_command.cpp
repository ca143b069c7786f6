// orvella import and orvella deliver: mail files into the profile's store, as a person moving
// an old mailbox in, or a mail transport handing over new mail.
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "commands.h"
#include "import_folders.h"
#include "mail_import.h"
#include "profile_session.h"
#include "prop_text.h"

namespace orvella::cli {
namespace {

using nlohmann::json;
namespace mail = host::mail;

struct ImportArgs {
    std::vector<std::string> paths;
    std::string folder = "Inbox";
    std::string store;
    std::string own_address;
    bool tree = false;
    bool dedupe = false;
    bool json = false;
};

// A one-line bar on standard error, redrawn at most a hundred times.
class ProgressBar {
public:
    ProgressBar() : shown_(isatty(STDERR_FILENO) == 1) {}
    ~ProgressBar() {
        if (drawn_) std::fputs("\n", stderr);
    }
    void Update(std::uintmax_t done, std::uintmax_t total, std::size_t messages) {
        if (!shown_ || total == 0) return;
        const int percent = static_cast<int>(done * 100 / total);
        if (percent == last_ && messages % 1000 != 0) return;
        last_ = percent;
        drawn_ = true;
        constexpr int kWidth = 40;
        const std::string bar(static_cast<size_t>(percent * kWidth / 100), '#');
        std::fprintf(stderr, "\r[%-40s] %3d%%  %zu messages", bar.c_str(), percent, messages);
        std::fflush(stderr);
    }

private:
    bool shown_;
    bool drawn_ = false;
    int last_ = -1;
};

json ReportJson(const mail::ImportReport& report) {
    json folders = json::array();
    for (const mail::FolderCount& count : report.folders) {
        folders.push_back({{"folder", count.folder},
                           {"imported", count.imported},
                           {"duplicates", count.duplicates}});
    }
    json skipped = json::array();
    for (const mail::SkippedFile& file : report.skipped) {
        skipped.push_back({{"file", file.path}, {"reason", file.reason}});
    }
    return {{"imported", report.Imported()}, {"folders", folders}, {"skipped", skipped}};
}

void PrintReport(const mail::ImportReport& report) {
    for (const mail::FolderCount& count : report.folders) {
        std::printf("%-30s %8zu imported", count.folder.c_str(), count.imported);
        if (count.duplicates) std::printf(", %zu duplicates skipped", count.duplicates);
        std::printf("\n");
    }
    for (const mail::SkippedFile& file : report.skipped) {
        std::fprintf(stderr, "skipped %s: %s\n", file.path.c_str(), file.reason.c_str());
    }
    std::printf("%zu messages imported, %zu files skipped\n", report.Imported(),
                report.skipped.size());
}

void Run(const ImportArgs& args, bool as_new_mail) {
    mail::ImportOptions options;
    options.folder = mail::ImportFolders::ParsePath(args.folder);
    options.tree = args.tree;
    options.dedupe = args.dedupe;
    options.as_new_mail = as_new_mail;
    options.own_address = args.own_address;
    std::vector<std::filesystem::path> paths(args.paths.begin(), args.paths.end());
    mail::ImportReport report;
    {
        ProfileSession session;
        platform::mapi::ComPtr<IMsgStore> store = session.OpenStore(session.FindStore(args.store));
        ProgressBar bar;
        try {
            report = mail::ImportMail(
                store.Get(), paths, options,
                [&bar](std::uintmax_t done, std::uintmax_t total, std::size_t messages) {
                    bar.Update(done, total, messages);
                });
        } catch (const mail::ImportFailure& failure) {
            throw CommandError(failure.what());
        }
    }
    if (args.json) {
        PrintJson(ReportJson(report));
    } else {
        PrintReport(report);
    }
    if (!report.skipped.empty()) throw CLI::RuntimeError(1);
}

CLI::App* AddCommon(CLI::App* command, ImportArgs& args) {
    command->add_option("--store", args.store, "Store display name (default: the default store)");
    command->add_option("--own-address", args.own_address,
                        "Your own address: the received-by address of mail that names none");
    command->add_flag("--json", args.json,
                      "Print JSON: messages per folder and the skipped files with reasons");
    return command;
}

}  // namespace

void AddImportCommands(CLI::App& app) {
    auto import = std::make_shared<ImportArgs>();
    CLI::App* command = app.add_subcommand(
        "import",
        "Import mail: Maildirs, directories of message files, mbox files and .eml files.\n"
        "Exit status: 0 when every readable message was imported, 1 when files were skipped\n"
        "(not mail, unreadable: listed on standard error or in --json) or on failure.");
    command->add_option("PATH", import->paths, "Maildir, directory, mbox or message file")
        ->required();
    command->add_option("--folder", import->folder,
                        "Folder path below the top of the store (default: Inbox); created when "
                        "missing");
    command->add_flag("--tree", import->tree,
                      "Map sub-directories onto folders (inbox -> Inbox, sent -> Sent Items, "
                      "deleted_items -> Deleted Items, others by name)");
    command->add_flag("--dedupe", import->dedupe,
                      "Skip messages whose Message-ID the target folder already holds");
    AddCommon(command, *import);
    command->callback([import] { Run(*import, false); });

    auto deliver = std::make_shared<ImportArgs>();
    CLI::App* deliver_command = app.add_subcommand(
        "deliver",
        "Deliver messages to the Inbox as new, unread mail.\n"
        "Exit status: 0 when every message was delivered, 1 when files were skipped.");
    deliver_command->add_option("FILE", deliver->paths, "Message file (.eml) or mbox")->required();
    AddCommon(deliver_command, *deliver);
    deliver_command->callback([deliver] { Run(*deliver, true); });
}

}  // namespace orvella::cli
