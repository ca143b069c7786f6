// Finding or joining a named mutex, keyed by the identity of its file.
#include "named_mutexes.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <map>
#include <mutex>
#include <stdexcept>
#include <utility>

#include "mutex_name.h"
#include "posix_errors.h"

namespace orvella::platform::sync {
namespace {

// Keyed by device and inode, not path: a home removed and made again at the same path holds
// new files, never the old mutexes.
using FileKey = std::pair<dev_t, ino_t>;

std::mutex g_mutex;
std::map<FileKey, std::weak_ptr<MutexObject>> g_open;

void ForgetClosed() {
    for (auto it = g_open.begin(); it != g_open.end();) {
        it = it->second.expired() ? g_open.erase(it) : std::next(it);
    }
}

}  // namespace

std::shared_ptr<MutexObject> OpenNamedMutex(std::string_view name, Disposition disposition,
                                            bool initialOwner, bool& existed, DWORD& error) {
    const bool create = disposition == Disposition::kCreateOrOpen;
    std::filesystem::path directory;
    try {
        directory = MutexDirectory();
    } catch (const std::runtime_error&) {
        error = ERROR_PATH_NOT_FOUND;  // no usable home
        return nullptr;
    }
    if (create) {
        std::error_code failure;
        std::filesystem::create_directories(directory, failure);
        if (failure) {
            error = Win32ErrorFromPosix(failure.value(), PosixCall::kFile);
            return nullptr;
        }
    }
    const std::filesystem::path file = directory / MutexFileName(name);

    std::lock_guard lock(g_mutex);
    UniqueFd fd(open(file.c_str(), O_RDWR | O_CLOEXEC | (create ? O_CREAT : 0), 0600));
    struct stat identity {};
    if (!fd || fstat(fd.get(), &identity) != 0) {
        error = Win32ErrorFromPosix(errno, PosixCall::kFile);
        return nullptr;
    }
    const FileKey key{identity.st_dev, identity.st_ino};
    if (const auto it = g_open.find(key); it != g_open.end()) {
        if (std::shared_ptr<MutexObject> mutex = it->second.lock()) {
            existed = true;
            return mutex;
        }
    }
    std::optional<JoinedMutex> joined =
        JoinMutexFile(std::move(fd), disposition, initialOwner, error);
    if (!joined) return nullptr;
    auto mutex = std::make_shared<MutexObject>(std::move(joined->memory));
    if (joined->ownedByCaller) mutex->AdoptOwnership();
    existed = joined->existed;
    ForgetClosed();
    g_open[key] = mutex;
    return mutex;
}

}  // namespace orvella::platform::sync
