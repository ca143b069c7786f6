// The checkpointer's thread and the commit hook that wakes it.
#include "checkpointer.h"

#include <sqlite3.h>

namespace orvella::platform::mapi::store {

Checkpointer::Checkpointer(Database& served) : served_(served), own_(served.file(), false) {
    // A connection takes the file for WAL once it has read it; until then a checkpoint through
    // it would copy nothing.
    own_.Exec("SELECT count(*) FROM sqlite_master");
    thread_ = std::thread([this] { Work(); });
    // Replaces the served connection's automatic checkpoints.
    sqlite3_wal_hook(served_.handle(), &Checkpointer::OnCommit, this);
}

Checkpointer::~Checkpointer() {
    sqlite3_wal_autocheckpoint(served_.handle(), kDueFrames);
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_one();
    thread_.join();
}

int Checkpointer::Runs() {
    std::lock_guard lock(mutex_);
    return runs_;
}

int Checkpointer::OnCommit(void* self, sqlite3* db, const char*, int frames) {
    if (frames < kDueFrames) return SQLITE_OK;
    if (frames >= kRestartFrames) {
        // A writer starts the WAL over only when its transaction begins after a complete
        // checkpoint. Under steady writing each one begins while the thread is still copying,
        // and the log would grow without end, every read searching more of it. So now and then
        // the writer finishes the copy itself (the thread has copied most of it): its next
        // transaction starts the log from the beginning. Busy (the thread is copying): the next
        // commit tries again.
        sqlite3_wal_checkpoint_v2(db, "main", SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
        return SQLITE_OK;
    }
    auto* checkpointer = static_cast<Checkpointer*>(self);
    {
        std::lock_guard lock(checkpointer->mutex_);
        checkpointer->due_ = true;
    }
    checkpointer->wake_.notify_one();
    return SQLITE_OK;
}

void Checkpointer::Work() {
    std::unique_lock lock(mutex_);
    for (;;) {
        wake_.wait(lock, [this] { return due_ || stopping_; });
        if (stopping_) return;
        due_ = false;
        lock.unlock();
        // Passive: it copies what no reader still needs and waits for nobody. What it cannot
        // copy now (a reader's snapshot, another process's checkpoint) the next one will.
        sqlite3_wal_checkpoint_v2(own_.handle(), "main", SQLITE_CHECKPOINT_PASSIVE, nullptr,
                                  nullptr);
        lock.lock();
        ++runs_;
    }
}

}  // namespace orvella::platform::mapi::store
