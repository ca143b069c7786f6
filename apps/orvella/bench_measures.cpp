// One mailbox measured end to end, through the paths a person's commands take: the generator or
// a corpus mailbox, the normal import, the add-in's processing runs and its new-mail handling.
#include "bench_measures.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <vector>

#include "COutlookContext.h"
#include "MsgProcessor.h"
#include "commands.h"
#include "import_folders.h"
#include "mail_import.h"
#include "mailbox_generator.h"
#include "mailbox_owner.h"
#include "mapiutil.h"
#include "outlook_host.h"
#include "process_runs.h"
#include "profile_session.h"
#include "scripted_commands.h"

namespace orvella::cli {
namespace {

namespace fs = std::filesystem;
namespace mail = host::mail;
using Clock = std::chrono::steady_clock;
using platform::mapi::ComPtr;

// New mail delivered for the latency figures, at most; fewer when the Inbox has fewer files.
constexpr std::size_t kNewMessages = 500;
// Inbox senders looked up among the contacts.
constexpr LONG kLookups = 500;
constexpr int kUnprocessedQueries = 5;

double MillisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// The value below which the fraction p of the sorted samples lie.
double Percentile(std::vector<double> samples, double p) {
    if (samples.empty()) return 0;
    std::sort(samples.begin(), samples.end());
    const auto index = static_cast<std::size_t>(p * static_cast<double>(samples.size()));
    return samples[std::min(samples.size() - 1, index)];
}

void Progress(const BenchMailbox& mailbox, const char* step) {
    std::fprintf(stderr, "%s: %s\n", mailbox.name.c_str(), step);
}

void Check(HRESULT hr, const char* what) {
    if (FAILED(hr)) throw CommandError(std::string("benchmark: ") + what + " failed");
}

// The peak resident set of this process so far, in kB (VmHWM), or 0 when unknown.
long PeakResidentKb() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind("VmHWM:", 0) == 0) return std::stol(line.substr(6));
    return 0;
}

// Up to `count` files of the Inbox directory, evenly spread over its files in name order.
std::vector<fs::path> SampleInboxFiles(const fs::path& inbox, std::size_t count) {
    std::vector<fs::path> files;
    std::error_code error;
    for (fs::recursive_directory_iterator it(inbox, error), end; !error && it != end;
         it.increment(error))
        if (it->is_regular_file(error)) files.push_back(it->path());
    std::sort(files.begin(), files.end());
    if (files.size() <= count) return files;
    std::vector<fs::path> sample;
    for (std::size_t i = 0; i < count; ++i) sample.push_back(files[i * files.size() / count]);
    return sample;
}

// The owner's identity and, for a generated mailbox, its contacts; returns the mail's directory.
fs::path SetUpOwner(const BenchMailbox& mailbox, const fs::path& home, std::string& owner) {
    if (mailbox.directory.empty()) {
        Progress(mailbox, "generating mail");
        const fs::path directory = home / "generated-mail";
        const host::generator::GeneratedMailbox generated =
            host::generator::GenerateMailbox({mailbox.messages, mailbox.seed}, directory);
        owner = generated.own_addresses.front();
        RunQuietly(InitCommand(generated));
        for (const host::generator::GeneratedContact& contact : generated.contacts)
            RunQuietly(ContactCommand(contact));
        return directory;
    }
    owner = mail::GuessOwnerAddress(mailbox.directory);
    if (owner.empty())
        throw CommandError("no sent mail in " + mailbox.directory.string() + " names its owner");
    RunQuietly({"init", "--address", owner});
    return mailbox.directory;
}

void Import(const BenchMailbox& mailbox, const fs::path& directory, const std::string& owner,
            BenchFigures& figures) {
    Progress(mailbox, "importing");
    mail::ImportOptions options;
    options.tree = true;
    options.own_address = owner;
    ProfileSession session;
    ComPtr<IMsgStore> store = session.OpenStore(session.FindStore(""));
    const auto start = Clock::now();
    mail::ImportReport report;
    try {
        report = mail::ImportMail(store.Get(), {directory}, options);
    } catch (const mail::ImportFailure& failure) {
        throw CommandError(failure.what());
    }
    const double ms = MillisecondsSince(start);
    figures.imported = report.Imported();
    figures.importPerSecond = ms > 0 ? static_cast<double>(figures.imported) * 1e3 / ms : 0;
    for (const mail::FolderCount& folder : report.folders)
        if (folder.folder == "Inbox") figures.inbox = folder.imported;
}

// The Inbox's contents table with one column, in its natural order: the order of saving.
ComPtr<IMAPITable> InboxTable(COutlookContext& context, ULONG column) {
    ComPtr<IMAPITable> table;
    Check(context.GetInboxFolder()->GetContentsTable(0, &table), "GetContentsTable");
    SizedSPropTagArray(1, columns) = {1, {column}};
    Check(table->SetColumns(reinterpret_cast<LPSPropTagArray>(&columns), 0), "SetColumns");
    return table;
}

// The entry id of the message saved last into the Inbox.
EntryId NewestInboxMessage(COutlookContext& context) {
    ComPtr<IMAPITable> table = InboxTable(context, PR_ENTRYID);
    Check(table->SeekRow(BOOKMARK_END, -1, nullptr), "SeekRow");
    LPSRowSet rows = nullptr;
    Check(table->QueryRows(1, 0, &rows), "QueryRows");
    platform::mapi::RowSetPtr owned(rows);
    if (rows->cRows != 1 || rows->aRow[0].lpProps[0].ulPropTag != PR_ENTRYID)
        throw CommandError("benchmark: the delivered message is not in the Inbox");
    return EntryId(rows->aRow[0].lpProps[0].Value.bin);
}

void MeasureQueries(COutlookContext& context, BenchFigures& figures) {
    std::vector<double> times;
    for (int i = 0; i < kUnprocessedQueries; ++i) {
        std::vector<EntryId> entryIds;
        std::vector<std::string> subjects;
        const auto start = Clock::now();
        context.GetUnprocessedInboxEIDs(entryIds, &subjects);
        times.push_back(MillisecondsSince(start));
    }
    figures.unprocessedQueryMs = Percentile(times, 0.5);
}

void MeasureContactLookups(COutlookContext& context, BenchFigures& figures) {
    ComPtr<IMAPITable> table = InboxTable(context, PR_SENDER_EMAIL_ADDRESS_A);
    LPSRowSet rows = nullptr;
    Check(table->QueryRows(kLookups, 0, &rows), "QueryRows");
    platform::mapi::RowSetPtr owned(rows);
    std::vector<double> times;
    for (ULONG r = 0; r < rows->cRows; ++r) {
        const SPropValue& sender = rows->aRow[r].lpProps[0];
        if (sender.ulPropTag != PR_SENDER_EMAIL_ADDRESS_A) continue;
        const auto start = Clock::now();
        const EntryId contact = context.FindContactEIDByEmail(sender.Value.lpszA);
        times.push_back(MillisecondsSince(start));
        if (!contact.empty()) ++figures.contactsFound;
    }
    figures.contactLookups = times.size();
    figures.contactLookupP50Ms = Percentile(times, 0.5);
    figures.contactLookupP99Ms = Percentile(times, 0.99);
}

// New mail: files of the Inbox delivered again, one at a time, each processed as the add-in
// processes new mail. Only the processing is timed, not the delivery.
void MeasureNewMail(COutlookContext& context, MsgProcessor& processor,
                    const std::vector<fs::path>& files, const std::string& owner,
                    BenchFigures& figures) {
    mail::ImportOptions options;
    options.as_new_mail = true;
    options.own_address = owner;
    std::vector<double> times;
    for (const fs::path& file : files) {
        if (mail::ImportMail(context.MailStore(), {file}, options).Imported() != 1) continue;
        const EntryId entryId = NewestInboxMessage(context);
        const auto start = Clock::now();
        processor.ProcessMsg(entryId.cb(), entryId.get(), true, true, true, true);
        times.push_back(MillisecondsSince(start));
    }
    figures.newMessages = times.size();
    figures.newMessageP50Ms = Percentile(times, 0.5);
    figures.newMessageP99Ms = Percentile(times, 0.99);
}

}  // namespace

nlohmann::json FiguresJson(const BenchFigures& f) {
    return {{"mailbox", f.mailbox},
            {"imported", f.imported},
            {"importPerSecond", f.importPerSecond},
            {"inbox", f.inbox},
            {"firstProcessingPerSecond", f.firstProcessingPerSecond},
            {"rescoringPerSecond", f.rescoringPerSecond},
            {"unprocessedQueryMs", f.unprocessedQueryMs},
            {"newMessages", f.newMessages},
            {"newMessageP50Ms", f.newMessageP50Ms},
            {"newMessageP99Ms", f.newMessageP99Ms},
            {"contactLookups", f.contactLookups},
            {"contactsFound", f.contactsFound},
            {"contactLookupP50Ms", f.contactLookupP50Ms},
            {"contactLookupP99Ms", f.contactLookupP99Ms},
            {"peakResidentKb", f.peakResidentKb}};
}

BenchFigures FiguresFromJson(const nlohmann::json& json) {
    BenchFigures f;
    f.mailbox = json.at("mailbox").get<std::string>();
    json.at("imported").get_to(f.imported);
    json.at("importPerSecond").get_to(f.importPerSecond);
    json.at("inbox").get_to(f.inbox);
    json.at("firstProcessingPerSecond").get_to(f.firstProcessingPerSecond);
    json.at("rescoringPerSecond").get_to(f.rescoringPerSecond);
    json.at("unprocessedQueryMs").get_to(f.unprocessedQueryMs);
    json.at("newMessages").get_to(f.newMessages);
    json.at("newMessageP50Ms").get_to(f.newMessageP50Ms);
    json.at("newMessageP99Ms").get_to(f.newMessageP99Ms);
    json.at("contactLookups").get_to(f.contactLookups);
    json.at("contactsFound").get_to(f.contactsFound);
    json.at("contactLookupP50Ms").get_to(f.contactLookupP50Ms);
    json.at("contactLookupP99Ms").get_to(f.contactLookupP99Ms);
    json.at("peakResidentKb").get_to(f.peakResidentKb);
    return f;
}

BenchFigures MeasureMailbox(const BenchMailbox& mailbox, const fs::path& home) {
    UseHome(FreshHome(home.string(), ""));
    BenchFigures figures;
    figures.mailbox = mailbox.name;
    std::string owner;
    const fs::path directory = SetUpOwner(mailbox, home, owner);
    Import(mailbox, directory, owner, figures);
    const std::vector<fs::path> newMail = SampleInboxFiles(directory / "inbox", kNewMessages);

    WithStoreSession(true, [&](OutlookHost&, COutlookContext& context) {
        MsgProcessor processor(&context);
        Progress(mailbox, "processing the Inbox");
        figures.firstProcessingPerSecond = CatchUpInbox(context, processor).PerSecond();
        Progress(mailbox, "rescoring the Inbox");
        figures.rescoringPerSecond = RescoreInbox(context, processor, "").PerSecond();
        MeasureQueries(context, figures);
        MeasureContactLookups(context, figures);
        Progress(mailbox, "delivering new mail");
        MeasureNewMail(context, processor, newMail, owner, figures);
    });
    figures.peakResidentKb = PeakResidentKb();
    return figures;
}

}  // namespace orvella::cli
