// Checkpoints of a WAL database on a thread of their own: the committed pages are copied back
// into the database file through a connection of the checkpointer's own, so that no commit
// waits while they are (SQLite would otherwise copy them inside every thousandth commit). Only
// when the WAL has grown long does a commit finish a checkpoint, so that the WAL starts over.
#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

#include "sqlite_db.h"

namespace orvella::platform::mapi::store {

class Checkpointer {
public:
    // WAL pages after which a checkpoint is due (SQLite's own automatic threshold).
    static constexpr int kDueFrames = 1000;
    // WAL pages after which the writer completes a checkpoint itself, so that the WAL restarts.
    static constexpr int kRestartFrames = 8 * kDueFrames;

    // Takes over the checkpoints of `served` (which must outlive it): from now on its commits
    // only tell the checkpointer how long the WAL has grown. Throws StoreFailure when the
    // checkpointer's connection cannot be opened.
    explicit Checkpointer(Database& served);
    // Stops the thread and gives `served` its automatic checkpoints back.
    ~Checkpointer();
    Checkpointer(const Checkpointer&) = delete;
    Checkpointer& operator=(const Checkpointer&) = delete;

    // How many checkpoints the thread has run, for tests.
    int Runs();

private:
    static int OnCommit(void* self, sqlite3* db, const char* schema, int frames);
    void Work();

    Database& served_;
    Database own_;
    std::mutex mutex_;
    std::condition_variable wake_;
    bool due_ = false;       // guarded by mutex_
    bool stopping_ = false;  // guarded by mutex_
    int runs_ = 0;           // guarded by mutex_
    std::thread thread_;
};

}  // namespace orvella::platform::mapi::store
