// The handle table, and the calls that work on a handle of any kind: CloseHandle and
// WaitForSingleObject.
#include "handle_table.h"

#include <cstdint>
#include <mutex>
#include <optional>
#include <unordered_map>

namespace orvella::platform::sync {
namespace {

struct OpenHandle {
    std::shared_ptr<KernelObject> object;
    DWORD access = 0;
};

class HandleTable {
public:
    HANDLE Add(OpenHandle entry) {
        std::lock_guard lock(mutex_);
        next_ += 4;
        open_.emplace(next_, std::move(entry));
        return reinterpret_cast<HANDLE>(next_);
    }

    std::optional<OpenHandle> Find(HANDLE handle) {
        std::lock_guard lock(mutex_);
        const auto it = open_.find(reinterpret_cast<std::uintptr_t>(handle));
        if (it == open_.end()) return std::nullopt;
        return it->second;
    }

    // The removed entry is destroyed by the caller, outside the table's lock.
    std::optional<OpenHandle> Remove(HANDLE handle) {
        std::lock_guard lock(mutex_);
        const auto it = open_.find(reinterpret_cast<std::uintptr_t>(handle));
        if (it == open_.end()) return std::nullopt;
        OpenHandle removed = std::move(it->second);
        open_.erase(it);
        return removed;
    }

private:
    std::mutex mutex_;
    std::unordered_map<std::uintptr_t, OpenHandle> open_;
    // A range of its own, so that a registry key or window handle is never mistaken for one.
    std::uintptr_t next_ = 0x4B000000;
};

HandleTable& Handles() {
    static HandleTable table;
    return table;
}

}  // namespace

HANDLE AddHandle(std::shared_ptr<KernelObject> object, DWORD access) {
    return Handles().Add(OpenHandle{std::move(object), access});
}

std::shared_ptr<KernelObject> ReferenceHandle(HANDLE handle, DWORD required, DWORD& error) {
    std::optional<OpenHandle> entry = Handles().Find(handle);
    if (!entry) {
        error = ERROR_INVALID_HANDLE;
        return nullptr;
    }
    if ((entry->access & required) != required) {
        error = ERROR_ACCESS_DENIED;
        return nullptr;
    }
    return std::move(entry->object);
}

}  // namespace orvella::platform::sync

using namespace orvella::platform::sync;

BOOL CloseHandle(HANDLE hObject) {
    if (!Handles().Remove(hObject)) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    return TRUE;
}

DWORD WaitForSingleObject(HANDLE hHandle, DWORD dwMilliseconds) {
    DWORD error = ERROR_SUCCESS;
    const std::shared_ptr<KernelObject> object = ReferenceHandle(hHandle, SYNCHRONIZE, error);
    if (!object) {
        SetLastError(error);
        return WAIT_FAILED;
    }
    return object->Wait(dwMilliseconds);
}
