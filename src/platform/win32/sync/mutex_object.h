// A mutex as a kernel object: the lock in its memory, plus this process's view of who owns it,
// which keeps the memory mapped while a thread here owns the lock.
#pragma once

#include <sys/types.h>

#include <memory>
#include <mutex>

#include "kernel_object.h"
#include "mutex_memory.h"

namespace orvella::platform::sync {

class MutexObject final : public KernelObject, public std::enable_shared_from_this<MutexObject> {
public:
    explicit MutexObject(std::unique_ptr<MutexMemory> memory);

    DWORD Wait(DWORD milliseconds) override;

    // Gives up one acquisition by the calling thread; FALSE with the last error set otherwise.
    BOOL Release();

    // Records that the calling thread owns the lock already (created initially owned).
    void AdoptOwnership();

private:
    void NoteAcquired(bool abandoned);

    std::unique_ptr<MutexMemory> memory_;
    // An owned lock sits on its owner thread's robust list, which the kernel walks when the
    // thread ends; its memory must stay mapped until it is released. So while a thread of this
    // process owns it, the object holds a reference to itself. If that thread dies owning it,
    // the reference stays until a thread of this process takes the abandoned lock and releases
    // it; if none ever does, the object lives as long as the process (a small, deliberate leak).
    std::mutex ownerMutex_;
    pid_t owner_ = 0;
    unsigned count_ = 0;
    std::shared_ptr<MutexObject> pin_;
};

}  // namespace orvella::platform::sync
