// Joining a named mutex's file under its creation guard.
#include "named_mutex_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "posix_errors.h"

namespace orvella::platform::sync {
namespace {

constexpr off_t kGuardByte = 0;
constexpr off_t kPresenceByte = 1;

// Sets (F_RDLCK, F_WRLCK) or clears (F_UNLCK) the lock on one byte; returns 0 or errno.
int LockByte(int fd, off_t byte, short type, bool wait) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = byte;
    lock.l_len = 1;
    while (fcntl(fd, wait ? F_OFD_SETLKW : F_OFD_SETLK, &lock) != 0) {
        if (errno != EINTR) return errno;
    }
    return 0;
}

}  // namespace

std::optional<JoinedMutex> JoinMutexFile(UniqueFd fd, Disposition disposition, bool initialOwner,
                                         DWORD& error) {
    // Every failure below closes the descriptor, which drops the guard and any presence lock.
    if (const int rc = LockByte(fd.get(), kGuardByte, F_WRLCK, true); rc != 0) {
        error = Win32ErrorFromPosix(rc, PosixCall::kFile);
        return std::nullopt;
    }
    JoinedMutex joined;
    // Under the guard nobody else holds a write lock on the presence byte, so a refused write
    // lock means readers: other processes that have the mutex open.
    const int alone = LockByte(fd.get(), kPresenceByte, F_WRLCK, false);
    if (alone != 0 && alone != EAGAIN && alone != EACCES) {
        error = Win32ErrorFromPosix(alone, PosixCall::kFile);
        return std::nullopt;
    }
    joined.existed = alone != 0;
    if (!joined.existed && disposition == Disposition::kOpenExisting) {
        error = ERROR_FILE_NOT_FOUND;
        return std::nullopt;
    }
    if (!joined.existed && ftruncate(fd.get(), MutexMemory::kFileSize) != 0) {
        error = Win32ErrorFromPosix(errno, PosixCall::kFile);
        return std::nullopt;
    }
    // Touching a mapping beyond the end of its file would raise SIGBUS.
    struct stat file {};
    if (fstat(fd.get(), &file) != 0 || file.st_size < static_cast<off_t>(MutexMemory::kFileSize)) {
        error = ERROR_INVALID_DATA;
        return std::nullopt;
    }
    joined.memory = MutexMemory::MapFile(std::move(fd), error);
    if (!joined.memory) return std::nullopt;
    MutexBlock& block = joined.memory->Block();
    if (joined.existed) {
        if (!IsInitialisedMutexBlock(block)) {
            error = ERROR_INVALID_DATA;
            return std::nullopt;
        }
    } else {
        if (const int rc = InitialiseMutexBlock(block, true); rc != 0) {
            error = Win32ErrorFromPosix(rc, PosixCall::kMutex);
            return std::nullopt;
        }
        // Taken before the guard opens, so no other process can get in first.
        int lockError = 0;
        joined.ownedByCaller = initialOwner && LockMutexBlock(block, 0, lockError) == WAIT_OBJECT_0;
    }
    // Turns our write lock into a read lock, or adds our read lock to the others'.
    if (const int rc = LockByte(joined.memory->Fd(), kPresenceByte, F_RDLCK, false); rc != 0) {
        if (joined.ownedByCaller) UnlockMutexBlock(block);
        error = Win32ErrorFromPosix(rc, PosixCall::kFile);
        return std::nullopt;
    }
    LockByte(joined.memory->Fd(), kGuardByte, F_UNLCK, false);
    return joined;
}

}  // namespace orvella::platform::sync
