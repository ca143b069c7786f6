// orvella process: the add-in's start-up catch-up of unprocessed Inbox messages, and rescoring
// runs over the whole Inbox or one contact's Inbox messages, with their throughput.
#include <chrono>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "CMsgRescoreDialog.h"
#include "COutlookContext.h"
#include "MsgProcessor.h"
#include "commands.h"
#include "outlook_host.h"
#include "prop_text.h"
#include "store_objects.h"
#include "winbase.h"

namespace orvella::cli {
namespace {

// As many unprocessed messages as the catch-up processes inline; more go to a rescoring run.
constexpr size_t kInlineCatchUpLimit = 20;

struct ProcessOptions {
    bool all = false;
    std::string contact;
    bool json = false;
};

struct Outcome {
    std::string scope;  // "unprocessed", "inbox", "contact"
    std::string mode;   // "inline", "run"
    size_t count = 0;
    size_t processed = 0;
    bool cancelled = false;
    double seconds = 0;
};

// The run's saves share commits, as an import's do. What a run writes is derived: a crash loses
// at most the scores of the messages since the last shared commit, which lack their markers
// then, so that the next catch-up scores them again.
void RunDialog(COutlookContext& context, CMsgRescoreDialog& run, Outcome& outcome) {
    outcome.mode = "run";
    auto shared = platform::mapi::store::BeginBulkWriting(context.MailStore());
    run.DoModal();
    if (shared) shared->Finish();
    outcome.count = run.Count();
    outcome.processed = run.Handled();
    outcome.cancelled = run.Cancelled() && run.Handled() < run.Count();
}

// The start-up catch-up: 20 or fewer inline, as new mail is processed; more in a run.
void CatchUp(COutlookContext& context, MsgProcessor& processor, Outcome& outcome) {
    outcome.scope = "unprocessed";
    std::vector<EntryId> entryIds;
    std::vector<std::string> subjects;
    context.GetUnprocessedInboxEIDs(entryIds, &subjects);
    if (entryIds.size() > kInlineCatchUpLimit) {
        CMsgRescoreDialog run(&processor);
        run.SetFlags(true, true, true);
        run.SetMessages(&entryIds, &subjects);
        RunDialog(context, run, outcome);
        return;
    }
    outcome.mode = "inline";
    outcome.count = entryIds.size();
    for (const EntryId& entryId : entryIds) {
        processor.ProcessMsg(entryId.cb(), entryId.get(), true, true, true, true);
        ++outcome.processed;
    }
}

void Rescore(COutlookContext& context, MsgProcessor& processor, const ProcessOptions& options,
             Outcome& outcome) {
    CMsgRescoreDialog run(&processor);
    if (options.contact.empty()) {
        outcome.scope = "inbox";
    } else {
        outcome.scope = "contact";
        const EntryId contact = context.FindContactEIDByEmail(options.contact);
        if (contact.empty())
            throw CommandError("no contact has the e-mail address " + options.contact);
        run.SetContact(contact);
    }
    RunDialog(context, run, outcome);
}

double PerSecond(const Outcome& outcome) {
    return outcome.seconds > 0 ? static_cast<double>(outcome.processed) / outcome.seconds : 0;
}

void PrintSummary(const Outcome& outcome) {
    const char* what = outcome.scope == "unprocessed" ? "unprocessed Inbox messages"
                       : outcome.scope == "contact"   ? "Inbox messages from the contact"
                                                      : "Inbox messages";
    std::printf("%s %zu of %zu %s %s (%.3f s, %.0f messages/s)\n",
                outcome.cancelled ? "cancelled after" : "processed", outcome.processed,
                outcome.count, what, outcome.mode == "inline" ? "inline" : "in a rescoring run",
                outcome.seconds, PerSecond(outcome));
}

// One `orvella process` at a time in the logon session. Each session keeps the thread records it
// loaded at its start in memory, so a second command running alongside would miss the threads
// the first creates and count their messages under threads of its own.
class CommandLock {
public:
    CommandLock() : mutex_(CreateMutexA(nullptr, FALSE, "OrvellaProcessCommandMutex")) {
        if (!mutex_ || WaitForSingleObject(mutex_, INFINITE) == WAIT_FAILED)
            throw CommandError("cannot take the lock of orvella process");
    }
    ~CommandLock() {
        ReleaseMutex(mutex_);
        CloseHandle(mutex_);
    }
    CommandLock(const CommandLock&) = delete;
    CommandLock& operator=(const CommandLock&) = delete;

private:
    HANDLE mutex_;
};

void Process(const ProcessOptions& options) {
    Outcome outcome;
    CommandLock oneAtATime;
    WithStoreSession(true, [&](OutlookHost&, COutlookContext& context) {
        MsgProcessor processor(&context);
        const auto start = std::chrono::steady_clock::now();
        if (options.all || !options.contact.empty()) {
            Rescore(context, processor, options, outcome);
        } else {
            CatchUp(context, processor, outcome);
        }
        outcome.seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    });
    if (!options.json) return PrintSummary(outcome);
    PrintJson({{"scope", outcome.scope},
               {"mode", outcome.mode},
               {"count", outcome.count},
               {"processed", outcome.processed},
               {"cancelled", outcome.cancelled},
               {"seconds", outcome.seconds},
               {"messagesPerSecond", PerSecond(outcome)}});
}

}  // namespace

void AddProcessCommands(CLI::App& app) {
    auto options = std::make_shared<ProcessOptions>();
    CLI::App* process = app.add_subcommand(
        "process",
        "Process the Inbox messages the add-in has not processed yet, as at Outlook's start (20 "
        "or fewer inline, more in a rescoring run), or rescore the whole Inbox or one contact's "
        "messages; Ctrl-C cancels a rescoring run after the current message");
    CLI::Option* all =
        process->add_flag("--all", options->all, "Rescore every Inbox message (scores only)");
    process
        ->add_option("--contact", options->contact,
                     "Rescore the Inbox messages from this contact's addresses, as after a "
                     "change of the contact's priority")
        ->excludes(all);
    process->add_flag("--json", options->json, "Print JSON");
    process->callback([options] { Process(*options); });
}

}  // namespace orvella::cli
