// CMsgRescoreDialog: the Inbox rescoring run. A small modal dialog shows progress while a worker
// thread takes a list of Inbox messages through the message processor (or through one rule),
// and Cancel asks the worker to stop after the message it is on.
#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "COutlookContext.h"
#include "dialog.h"
#include "mapidefs.h"

class MsgProcessor;

// Controls of the "Processing Inbox" dialog.
enum : int {
    IDC_RESCORE_PROGRESS = 232,  // progress bar: the index of the current message
    IDC_RESCORE_HEADING = 235,
    IDC_RESCORE_TEXT = 236,  // "processing 5 of 50: <subject>", then "processed 50 of 50"
};

// The rule list of a run that applies one AutoAssign rule to the Inbox, called as
// CMsgAnalyzeManager::RunJobs is: with each message opened for modification and no property
// array (null, count 0).
using RescoreRuleList = std::function<int(IMessage* message, LPSPropValue properties, ULONG count)>;

// Run configurations (set after construction, before DoModal):
// - a list of entry ids (and display names) given: those messages, with the flags;
// - a contact given: the Inbox messages from the contact's addresses, their threads' totals
//   reset first; by default scored only;
// - a rule given: every Inbox message through the rule, the flags unused;
// - nothing given: the whole Inbox with its threads' totals reset, with the flags (by default
//   scored only).
// The session's store notifications are withdrawn for the run and advised again after it (when
// they were advised before), so the run's own writes do not come back as notifications and new
// mail waits for the next catch-up.
//
// DoModal runs the dialog on the calling thread and returns 1 once the worker has ended it. The
// worker is a MAPI thread of its own; every message goes through MsgProcessor::ProcessMsg, which
// serialises with all other processing. A failure to obtain the list is reported through the
// exception reporter and ends the run before any message is handled; failures while processing
// one message are the processor's and do not stop the run. The destructor waits for the worker
// to finish.
class CMsgRescoreDialog : public orvella::platform::gui::CDialog {
public:
    // processor is not owned and outlives the dialog; the session is the processor's.
    explicit CMsgRescoreDialog(MsgProcessor* processor);
    ~CMsgRescoreDialog() override;

    // The ProcessMsg flags (defaults: false, true, false). Run-rules-if-new is always set.
    void SetFlags(bool skipIfProcessed, bool score, bool runRules);
    // Not owned; both must outlive the run. displayNames may be null or shorter than entryIds.
    void SetMessages(const std::vector<EntryId>* entryIds,
                     const std::vector<std::string>* displayNames);
    void SetContact(const EntryId& contactId);
    void SetRule(RescoreRuleList rules);

    // After the run: how many messages it was given and how many it handled before it ended or
    // was cancelled.
    size_t Count() const { return count_; }
    size_t Handled() const { return handled_; }
    bool Cancelled() const { return cancel_; }

protected:
    BOOL OnInitDialog() override;
    void OnCommand(UINT id, UINT notifyCode, HWND control) override;

private:
    struct WorkerEnd;
    static void WorkerThread(void* dialog);
    void Run();
    // The run's own list when none was given.
    void QueryMessages(std::vector<EntryId>& entryIds, std::vector<std::string>& displayNames);
    void Handle(const EntryId& entryId);
    void ShowProgress(size_t index, size_t count, const std::vector<std::string>* displayNames);

    MsgProcessor* processor_;
    COutlookContext* session_;
    std::atomic<bool> cancel_{false};
    bool skipIfProcessed_ = false;
    bool runRules_ = false;
    bool score_ = true;
    const std::vector<EntryId>* entryIds_ = nullptr;
    const std::vector<std::string>* displayNames_ = nullptr;
    EntryId contact_;
    RescoreRuleList rules_;
    std::atomic<size_t> count_{0};
    std::atomic<size_t> handled_{0};
    std::shared_ptr<WorkerEnd> workerEnd_;
};
