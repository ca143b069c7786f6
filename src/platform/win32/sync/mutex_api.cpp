// CreateMutexA, OpenMutexA and ReleaseMutex over the process's handle table.
#include <new>

#include "handle_table.h"
#include "named_mutexes.h"

using namespace orvella::platform::sync;

namespace {

std::shared_ptr<MutexObject> CreateUnnamed(bool initialOwner, DWORD& error) {
    std::unique_ptr<MutexMemory> memory = MutexMemory::Anonymous(error);
    if (!memory) return nullptr;
    auto mutex = std::make_shared<MutexObject>(std::move(memory));
    if (initialOwner) mutex->Wait(0);  // nobody else can know it yet, so this cannot fail
    return mutex;
}

HANDLE Opened(const std::shared_ptr<MutexObject>& mutex, DWORD access, DWORD error) {
    if (!mutex) {
        SetLastError(error);
        return nullptr;
    }
    return AddHandle(mutex, access);
}

}  // namespace

HANDLE CreateMutexA(LPSECURITY_ATTRIBUTES, BOOL bInitialOwner, LPCSTR lpName) {
    try {
        DWORD error = ERROR_SUCCESS;
        bool existed = false;
        const std::shared_ptr<MutexObject> mutex =
            lpName && *lpName ? OpenNamedMutex(lpName, Disposition::kCreateOrOpen,
                                               bInitialOwner != FALSE, existed, error)
                              : CreateUnnamed(bInitialOwner != FALSE, error);
        HANDLE handle = Opened(mutex, MUTEX_ALL_ACCESS, error);
        if (handle) SetLastError(existed ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
        return handle;
    } catch (const std::bad_alloc&) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
}

HANDLE OpenMutexA(DWORD dwDesiredAccess, BOOL, LPCSTR lpName) {
    if (!lpName) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    if (!*lpName) {
        SetLastError(ERROR_FILE_NOT_FOUND);
        return nullptr;
    }
    try {
        DWORD error = ERROR_SUCCESS;
        bool existed = false;
        const std::shared_ptr<MutexObject> mutex =
            OpenNamedMutex(lpName, Disposition::kOpenExisting, false, existed, error);
        return Opened(mutex, dwDesiredAccess, error);
    } catch (const std::bad_alloc&) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
}

BOOL ReleaseMutex(HANDLE hMutex) {
    DWORD error = ERROR_SUCCESS;
    const std::shared_ptr<MutexObject> mutex = ReferenceHandleAs<MutexObject>(hMutex, 0, error);
    if (!mutex) {
        SetLastError(error);
        return FALSE;
    }
    return mutex->Release();
}
