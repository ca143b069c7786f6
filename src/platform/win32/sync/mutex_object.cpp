// Waiting on and releasing a mutex, with this process's record of its owner.
#include "mutex_object.h"

#include <unistd.h>

#include "posix_errors.h"

namespace orvella::platform::sync {
namespace {

// gettid() is a system call each time; the id of a thread never changes.
pid_t CurrentThreadId() {
    thread_local const pid_t id = gettid();
    return id;
}

}  // namespace

MutexObject::MutexObject(std::unique_ptr<MutexMemory> memory) : memory_(std::move(memory)) {}

DWORD MutexObject::Wait(DWORD milliseconds) {
    int error = 0;
    const DWORD result = LockMutexBlock(memory_->Block(), milliseconds, error);
    if (result == WAIT_OBJECT_0 || result == WAIT_ABANDONED) {
        NoteAcquired(result == WAIT_ABANDONED);
    } else if (result == WAIT_FAILED) {
        SetLastError(Win32ErrorFromPosix(error, PosixCall::kMutex));
    }
    return result;
}

BOOL MutexObject::Release() {
    std::shared_ptr<MutexObject> unpinned;  // dropped after the record's lock is let go
    std::lock_guard lock(ownerMutex_);
    // A thread not on record as owner cannot hold the lock: every acquisition comes through
    // here, and a thread of another process never is on this process's record.
    if (count_ == 0 || owner_ != CurrentThreadId()) {
        SetLastError(ERROR_NOT_OWNER);
        return FALSE;
    }
    // Can still fail when the recorded owner died and a new thread was given its id.
    if (const int rc = UnlockMutexBlock(memory_->Block()); rc != 0) {
        SetLastError(Win32ErrorFromPosix(rc, PosixCall::kMutex));
        return FALSE;
    }
    if (--count_ == 0) unpinned = std::move(pin_);
    return TRUE;
}

void MutexObject::AdoptOwnership() {
    NoteAcquired(false);
}

void MutexObject::NoteAcquired(bool abandoned) {
    const pid_t self = CurrentThreadId();
    std::lock_guard lock(ownerMutex_);
    // A record naming another thread belongs to a dead owner: the lock is exclusive.
    if (abandoned || count_ == 0 || owner_ != self) {
        owner_ = self;
        count_ = 0;
    }
    ++count_;
    if (!pin_) pin_ = shared_from_this();
}

}  // namespace orvella::platform::sync
