// The handle table, and the calls that work on a handle of any kind: CloseHandle and
// WaitForSingleObject.
#include "handle_table.h"

#include <optional>

#include "common/handle_table.h"

namespace orvella::platform::sync {
namespace {

struct OpenHandle {
    std::shared_ptr<KernelObject> object;
    DWORD access = 0;
};

// A range of its own, so that a registry key or window handle is never mistaken for one.
HandleTable<HANDLE, OpenHandle>& Handles() {
    static HandleTable<HANDLE, OpenHandle> table(0x4B000000);
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
