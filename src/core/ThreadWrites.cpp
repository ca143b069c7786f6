// Thread writes of processing, at once or deferred to the end of a run.
#include "ThreadWrites.h"

#include "BaseException.h"
#include "COutlookContext.h"
#include "store_failures.h"

ThreadWrites::Pending& ThreadWrites::PendingFor(CMsgThread* thread) {
    Pending& pending = (*pending_)[thread->GetThreadID()];
    if (!pending.thread) pending.thread = MsgThreadPtr(thread);
    return pending;
}

void ThreadWrites::AddScore(CMsgThread* thread, LONG score) {
    {
        std::lock_guard lock(lock_);
        if (pending_) {
            thread->AddScore(score);
            PendingFor(thread).record = true;
            return;
        }
    }
    context_->UpdateThreadScore(thread, score);
}

void ThreadWrites::ShowAverage(CMsgThread* thread, EntryId processedMessage) {
    {
        std::lock_guard lock(lock_);
        if (pending_) {
            PendingFor(thread).shownBy = std::move(processedMessage);
            return;
        }
    }
    context_->UpdateInboxMsgThreadScores(thread, processedMessage);
}

void ThreadWrites::Defer() {
    std::lock_guard lock(lock_);
    if (!pending_) pending_.emplace();
}

void ThreadWrites::Flush() {
    std::map<LONG, Pending> pending;
    {
        std::lock_guard lock(lock_);
        if (!pending_) return;
        pending = std::move(*pending_);
        pending_.reset();
    }
    std::map<LONG, std::pair<CMsgThread*, EntryId>> averages;
    for (auto& [id, writes] : pending) {
        try {
            if (writes.record) context_->SaveThreadScore(writes.thread.Get());
        } catch (const orvella::diag::BaseException& failure) {
            store_failures::ReportFailure(failure);
        }
        if (writes.shownBy) averages.emplace(id, std::pair(writes.thread.Get(), *writes.shownBy));
    }
    // A run touches most threads: one pass over the Inbox beats a search per thread.
    if (!averages.empty()) context_->UpdateInboxMsgThreadScores(averages);
}
