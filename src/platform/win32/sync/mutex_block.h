// The lock behind a mutex handle: a robust, recursive pthread mutex, process-shared when it lives
// in a mapped file. Robust, so that the death of its owner thread or process hands it on.
#pragma once

#include <pthread.h>

#include <cstdint>

#include "winbase.h"

namespace orvella::platform::sync {

struct MutexBlock {
    std::uint32_t magic;
    std::uint32_t layout;  // sizeof(pthread_mutex_t): a build with another layout never shares it
    pthread_mutex_t mutex;
};

// Makes a free mutex in `block`; returns 0 or the pthread code.
int InitialiseMutexBlock(MutexBlock& block, bool processShared);

// Whether InitialiseMutexBlock has set up `block` with this build's layout.
bool IsInitialisedMutexBlock(const MutexBlock& block);

// Acquires the mutex for the calling thread (once more, if it owns it already) within
// `milliseconds` (0 polls, INFINITE waits for good). Returns WAIT_OBJECT_0; WAIT_ABANDONED when
// the owner died holding it (the lock is made consistent and the caller owns it); WAIT_TIMEOUT;
// or WAIT_FAILED with the pthread code in `error`.
DWORD LockMutexBlock(MutexBlock& block, DWORD milliseconds, int& error);

// Gives up one acquisition; returns 0, or EPERM when the calling thread does not own it.
int UnlockMutexBlock(MutexBlock& block);

}  // namespace orvella::platform::sync
