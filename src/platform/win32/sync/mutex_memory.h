// The memory that holds one mutex's MutexBlock: an anonymous private mapping for an unnamed
// mutex, or a shared mapping of a named mutex's file together with the file's descriptor (whose
// locks announce this process as a user of the mutex).
#pragma once

#include <memory>

#include "mutex_block.h"
#include "unique_fd.h"

namespace orvella::platform::sync {

class MutexMemory {
    struct Key {
        explicit Key() = default;
    };

public:
    // A fresh, free block for a mutex of this process; nullptr with the Win32 error.
    static std::unique_ptr<MutexMemory> Anonymous(DWORD& error);
    // The block in the file open as `fd`, which must be at least kFileSize long; the memory keeps
    // the descriptor. nullptr with the Win32 error.
    static std::unique_ptr<MutexMemory> MapFile(UniqueFd fd, DWORD& error);

    static constexpr size_t kFileSize = sizeof(MutexBlock);

    // Takes over a mapping of kFileSize bytes; only the factories above make one.
    MutexMemory(Key, MutexBlock* block, UniqueFd fd) : block_(block), fd_(std::move(fd)) {}
    ~MutexMemory();
    MutexMemory(const MutexMemory&) = delete;
    MutexMemory& operator=(const MutexMemory&) = delete;

    MutexBlock& Block() const { return *block_; }
    int Fd() const { return fd_.get(); }

private:
    MutexBlock* block_;
    UniqueFd fd_;
};

}  // namespace orvella::platform::sync
