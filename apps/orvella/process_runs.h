// The add-in's processing as `orvella process` starts it: the start-up catch-up of unprocessed
// Inbox messages and rescoring runs, each timed. The benchmark suite runs the same.
#pragma once

#include <cstddef>
#include <string>

#include "COutlookContext.h"
#include "MsgProcessor.h"

namespace orvella::cli {

struct ProcessOutcome {
    std::string scope;  // "unprocessed", "inbox", "contact"
    std::string mode;   // "inline", "run"
    std::size_t count = 0;
    std::size_t processed = 0;
    bool cancelled = false;
    double seconds = 0;
    double PerSecond() const { return seconds > 0 ? static_cast<double>(processed) / seconds : 0; }
};

// The start-up catch-up: 20 unprocessed messages or fewer inline, as new mail is processed;
// more in a rescoring run.
ProcessOutcome CatchUpInbox(COutlookContext& context, MsgProcessor& processor);

// A rescoring run over the whole Inbox, or over the Inbox messages of the contact with this
// address when it is not empty. Throws CommandError when no contact has the address.
ProcessOutcome RescoreInbox(COutlookContext& context, MsgProcessor& processor,
                            const std::string& contactAddress);

}  // namespace orvella::cli
