// Robust recursive pthread mutexes with Win32 wait results; timed waits run on the monotonic
// clock so that a change of the system time neither shortens nor stretches them.
#include "mutex_block.h"

#include <cerrno>
#include <ctime>

namespace orvella::platform::sync {
namespace {

constexpr std::uint32_t kMagic = 0x4F4D5458;  // "OMTX"

timespec DeadlineAfter(DWORD milliseconds) {
    timespec deadline{};
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    deadline.tv_sec += milliseconds / 1000;
    deadline.tv_nsec += static_cast<long>(milliseconds % 1000) * 1'000'000;
    if (deadline.tv_nsec >= 1'000'000'000) {
        deadline.tv_sec += 1;
        deadline.tv_nsec -= 1'000'000'000;
    }
    return deadline;
}

int Acquire(pthread_mutex_t& mutex, DWORD milliseconds) {
    if (milliseconds == INFINITE) return pthread_mutex_lock(&mutex);
    if (milliseconds == 0) return pthread_mutex_trylock(&mutex);
    const timespec deadline = DeadlineAfter(milliseconds);
    return pthread_mutex_clocklock(&mutex, CLOCK_MONOTONIC, &deadline);
}

}  // namespace

int InitialiseMutexBlock(MutexBlock& block, bool processShared) {
    pthread_mutexattr_t attributes;
    int rc = pthread_mutexattr_init(&attributes);
    if (rc != 0) return rc;
    rc = pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    if (rc == 0) rc = pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    if (rc == 0) {
        rc = pthread_mutexattr_setpshared(
            &attributes, processShared ? PTHREAD_PROCESS_SHARED : PTHREAD_PROCESS_PRIVATE);
    }
    if (rc == 0) rc = pthread_mutex_init(&block.mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
    if (rc != 0) return rc;
    block.layout = sizeof(pthread_mutex_t);
    block.magic = kMagic;
    return 0;
}

bool IsInitialisedMutexBlock(const MutexBlock& block) {
    return block.magic == kMagic && block.layout == sizeof(pthread_mutex_t);
}

DWORD LockMutexBlock(MutexBlock& block, DWORD milliseconds, int& error) {
    error = Acquire(block.mutex, milliseconds);
    switch (error) {
        case 0:
            return WAIT_OBJECT_0;
        case EOWNERDEAD:
            // The caller holds it now; mark it usable again, or every later lock would fail.
            error = pthread_mutex_consistent(&block.mutex);
            return error == 0 ? WAIT_ABANDONED : WAIT_FAILED;
        case EBUSY:
        case ETIMEDOUT:
            error = 0;
            return WAIT_TIMEOUT;
        default:
            return WAIT_FAILED;
    }
}

int UnlockMutexBlock(MutexBlock& block) {
    return pthread_mutex_unlock(&block.mutex);
}

}  // namespace orvella::platform::sync
