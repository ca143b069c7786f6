// The catch-up and rescoring runs of `orvella process`: a run goes through the add-in's own
// dialog, shown by the terminal front end, with its saves sharing commits.
#include "process_runs.h"

#include <chrono>
#include <vector>

#include "CMsgRescoreDialog.h"
#include "commands.h"
#include "store_objects.h"

namespace orvella::cli {
namespace {

// As many unprocessed messages as the catch-up processes inline; more go to a rescoring run.
constexpr std::size_t kInlineCatchUpLimit = 20;

// The run's saves share commits, as an import's do. What a run writes is derived: a crash loses
// at most the scores of the messages since the last shared commit, which lack their markers
// then, so that the next catch-up scores them again.
void RunDialog(COutlookContext& context, CMsgRescoreDialog& run, ProcessOutcome& outcome) {
    outcome.mode = "run";
    auto shared = platform::mapi::store::BeginBulkWriting(context.MailStore());
    run.DoModal();
    if (shared) shared->Finish();
    outcome.count = run.Count();
    outcome.processed = run.Handled();
    outcome.cancelled = run.Cancelled() && run.Handled() < run.Count();
}

double SecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

ProcessOutcome CatchUpInbox(COutlookContext& context, MsgProcessor& processor) {
    const auto start = std::chrono::steady_clock::now();
    ProcessOutcome outcome;
    outcome.scope = "unprocessed";
    std::vector<EntryId> entryIds;
    std::vector<std::string> subjects;
    context.GetUnprocessedInboxEIDs(entryIds, &subjects);
    if (entryIds.size() > kInlineCatchUpLimit) {
        CMsgRescoreDialog run(&processor);
        run.SetFlags(true, true, true);
        run.SetMessages(&entryIds, &subjects);
        RunDialog(context, run, outcome);
    } else {
        outcome.mode = "inline";
        outcome.count = entryIds.size();
        for (const EntryId& entryId : entryIds) {
            processor.ProcessMsg(entryId.cb(), entryId.get(), true, true, true, true);
            ++outcome.processed;
        }
    }
    outcome.seconds = SecondsSince(start);
    return outcome;
}

ProcessOutcome RescoreInbox(COutlookContext& context, MsgProcessor& processor,
                            const std::string& contactAddress) {
    const auto start = std::chrono::steady_clock::now();
    ProcessOutcome outcome;
    CMsgRescoreDialog run(&processor);
    if (contactAddress.empty()) {
        outcome.scope = "inbox";
    } else {
        outcome.scope = "contact";
        const EntryId contact = context.FindContactEIDByEmail(contactAddress);
        if (contact.empty())
            throw CommandError("no contact has the e-mail address " + contactAddress);
        run.SetContact(contact);
    }
    RunDialog(context, run, outcome);
    outcome.seconds = SecondsSince(start);
    return outcome;
}

}  // namespace orvella::cli
