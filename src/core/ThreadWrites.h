// What processing a message writes to its thread: the thread record's counters and the average
// shown on the thread's other Inbox messages. Written at once, or, during a run over many
// messages, once per thread at the end of the run.
#pragma once

#include <map>
#include <mutex>
#include <optional>

#include "CMsgThread.h"
#include "entry_id.h"

class COutlookContext;

// The processor calls it under its mutex; Defer may come from any thread.
class ThreadWrites {
public:
    explicit ThreadWrites(COutlookContext* context) : context_(context) {}

    // Adds a received message's score to the thread and saves its record (MAPIException when
    // that fails), or only adds it while deferred.
    void AddScore(CMsgThread* thread, LONG score);
    // Writes the thread's average onto its Inbox messages other than processedMessage (failures
    // are logged), or remembers to while deferred: the thread's last processed message carries
    // the average the others are then given.
    void ShowAverage(CMsgThread* thread, EntryId processedMessage);

    // From now on both wait for Flush. The end state is the same; a thread of n messages costs
    // one record save and n writes instead of n saves and n * n / 2 writes.
    void Defer();
    // Writes what waits, the threads' records before their messages, and stops deferring.
    // Failures are logged, thread by thread.
    void Flush();

private:
    struct Pending {
        MsgThreadPtr thread;
        bool record = false;
        std::optional<EntryId> shownBy;
    };
    Pending& PendingFor(CMsgThread* thread);

    COutlookContext* context_;
    std::mutex lock_;                                 // guards pending_
    std::optional<std::map<LONG, Pending>> pending_;  // by thread id, while deferred
};
