// MsgProcessor: the one place a message is taken through the add-in. It checks that the message
// is one the add-in handles and whether it was processed, attaches it to its thread, scores it,
// writes the results onto it, counts it and runs the AutoAssign rules over it.
#pragma once

#include <memory>

#include "ThreadWrites.h"
#include "mapidefs.h"
#include "windef.h"

class COutlookContext;
class CMsgScore;
class CMsgAnalyzeManager;
class IMsgScore;

// Every processing, in every process of the logon session, is serialised by the named mutex
// "VintorMsgProcessorMutex"; the mutex is re-entrant for the thread that holds it.
class MsgProcessor {
public:
    // context is not owned and outlives the processor. Creates the scorer (which loads its
    // weights), loads the rules and creates the mutex; a rule that fails to load raises
    // ProgramException.
    explicit MsgProcessor(COutlookContext* context);
    ~MsgProcessor();
    MsgProcessor(const MsgProcessor&) = delete;
    MsgProcessor& operator=(const MsgProcessor&) = delete;

    // Processes the message under the mutex (waiting without time-out). Failures are reported
    // through the exception reporter and never reach the caller. Returns 0.
    int ProcessMsg(ULONG cbEntryId, LPENTRYID entryId, bool skipIfProcessed, bool score,
                   bool runRules, bool runRulesIfNew);
    // True when the message still needs processing: it lacks one of the five markers.
    bool CheckIfProcessed(IMessage* message);
    // Loads the rule list again under the mutex.
    void ReloadRules();

    // For a run over many messages: from DeferThreadScores on, each thread's record and the
    // average shown on its other Inbox messages are written once per thread, by
    // ShowDeferredThreadScores (see ThreadWrites). ShowDeferredThreadScores takes the mutex.
    void DeferThreadScores();
    void ShowDeferredThreadScores();

    COutlookContext* Context() const { return context_; }
    IMsgScore* Scorer() const;

private:
    void ProcessMsgInternal(ULONG cbEntryId, LPENTRYID entryId, bool skipIfProcessed, bool score,
                            bool runRules, bool runRulesIfNew);

    COutlookContext* context_;
    std::unique_ptr<CMsgScore> scorer_;
    std::unique_ptr<CMsgAnalyzeManager> rules_;
    HANDLE mutex_ = nullptr;
    ThreadWrites threadWrites_{context_};
};
