// orvella process: the add-in's start-up catch-up of unprocessed Inbox messages, and rescoring
// runs over the whole Inbox or one contact's Inbox messages, with their throughput.
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "commands.h"
#include "outlook_host.h"
#include "process_runs.h"
#include "prop_text.h"
#include "winbase.h"

namespace orvella::cli {
namespace {

struct ProcessOptions {
    bool all = false;
    std::string contact;
    bool json = false;
};

void PrintSummary(const ProcessOutcome& outcome) {
    const char* what = outcome.scope == "unprocessed" ? "unprocessed Inbox messages"
                       : outcome.scope == "contact"   ? "Inbox messages from the contact"
                                                      : "Inbox messages";
    std::printf("%s %zu of %zu %s %s (%.3f s, %.0f messages/s)\n",
                outcome.cancelled ? "cancelled after" : "processed", outcome.processed,
                outcome.count, what, outcome.mode == "inline" ? "inline" : "in a rescoring run",
                outcome.seconds, outcome.PerSecond());
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
    ProcessOutcome outcome;
    CommandLock oneAtATime;
    WithStoreSession(true, [&](OutlookHost&, COutlookContext& context) {
        MsgProcessor processor(&context);
        outcome = options.all || !options.contact.empty()
                      ? RescoreInbox(context, processor, options.contact)
                      : CatchUpInbox(context, processor);
    });
    if (!options.json) return PrintSummary(outcome);
    PrintJson({{"scope", outcome.scope},
               {"mode", outcome.mode},
               {"count", outcome.count},
               {"processed", outcome.processed},
               {"cancelled", outcome.cancelled},
               {"seconds", outcome.seconds},
               {"messagesPerSecond", outcome.PerSecond()}});
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
