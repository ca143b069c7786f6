// Mapping and unmapping the memory of a mutex.
#include "mutex_memory.h"

#include <sys/mman.h>

#include <cerrno>

#include "posix_errors.h"

namespace orvella::platform::sync {
namespace {

MutexBlock* Map(int fd, DWORD& error) {
    const int flags = fd < 0 ? MAP_PRIVATE | MAP_ANONYMOUS : MAP_SHARED;
    void* address = mmap(nullptr, MutexMemory::kFileSize, PROT_READ | PROT_WRITE, flags, fd, 0);
    if (address == MAP_FAILED) {
        error = Win32ErrorFromPosix(errno, PosixCall::kFile);
        return nullptr;
    }
    return static_cast<MutexBlock*>(address);
}

}  // namespace

std::unique_ptr<MutexMemory> MutexMemory::Anonymous(DWORD& error) {
    MutexBlock* block = Map(-1, error);
    if (!block) return nullptr;
    auto memory = std::make_unique<MutexMemory>(Key{}, block, UniqueFd());
    if (const int rc = InitialiseMutexBlock(*block, false); rc != 0) {
        error = Win32ErrorFromPosix(rc, PosixCall::kMutex);
        return nullptr;
    }
    return memory;
}

std::unique_ptr<MutexMemory> MutexMemory::MapFile(UniqueFd fd, DWORD& error) {
    MutexBlock* block = Map(fd.get(), error);
    if (!block) return nullptr;
    return std::make_unique<MutexMemory>(Key{}, block, std::move(fd));
}

MutexMemory::~MutexMemory() {
    munmap(block_, kFileSize);
}

}  // namespace orvella::platform::sync
