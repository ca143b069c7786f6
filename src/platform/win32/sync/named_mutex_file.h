// The file behind a named mutex and how a process joins it. Byte 0 of the file is the creation
// guard (write-locked briefly by whoever joins); byte 1 is the presence lock, read-locked by every
// process that has the mutex open. Both are open-file-description locks, so they fall away when
// the process dies: a mutex whose users are all gone is found free of readers and made afresh.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>

#include "mutex_memory.h"

namespace orvella::platform::sync {

enum class Disposition { kCreateOrOpen, kOpenExisting };

struct JoinedMutex {
    std::unique_ptr<MutexMemory> memory;
    bool existed = false;        // another process had it open
    bool ownedByCaller = false;  // created with initial ownership for the calling thread
};

// Joins the mutex whose file is open as `fd`. With kOpenExisting a mutex no other process has
// open is reported as ERROR_FILE_NOT_FOUND; with kCreateOrOpen such a mutex is made afresh (and
// locked for the calling thread when initialOwner is set). Blocks only while another process is
// joining the same mutex. nothing with the Win32 error on failure.
std::optional<JoinedMutex> JoinMutexFile(UniqueFd fd, Disposition disposition, bool initialOwner,
                                         DWORD& error);

}  // namespace orvella::platform::sync
