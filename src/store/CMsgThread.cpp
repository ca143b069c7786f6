// The in-memory thread: reference counting and the score counters.
#include "CMsgThread.h"

MsgThreadPtr CMsgThread::Create(Fields fields) {
    MsgThreadPtr thread;
    thread.Attach(new CMsgThread(std::move(fields)));
    return thread;
}

ULONG CMsgThread::AddRef() {
    return references_.fetch_add(1, std::memory_order_relaxed) + 1;
}

ULONG CMsgThread::Release() {
    ULONG left = references_.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) delete this;
    return left;
}

void CMsgThread::AddScore(LONG s) {
    ++fields_.messagesReceived;
    fields_.totalScore += s;
}

void CMsgThread::AdjustScore(LONG delta) {
    fields_.totalScore += fields_.messagesReceived * delta;
}

LONG CMsgThread::GetThreadScore() const {
    if (fields_.messagesReceived == 0) return 0;
    return fields_.totalScore / fields_.messagesReceived;
}

void CMsgThread::ResetScore() {
    fields_.messagesReceived = 0;
    fields_.totalScore = 0;
}

void CMsgThread::IncrementReplyCounter() {
    ++fields_.replyCounter;
}
