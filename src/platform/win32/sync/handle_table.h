// The process's table of open HANDLEs: each names a kernel object with the access rights it was
// opened with. Thread-safe; handle values are never reused.
#pragma once

#include <memory>

#include "kernel_object.h"

namespace orvella::platform::sync {

HANDLE AddHandle(std::shared_ptr<KernelObject> object, DWORD access);

// The object behind an open handle that carries every right in `required`; nullptr with
// ERROR_INVALID_HANDLE or ERROR_ACCESS_DENIED in `error` otherwise. The caller's reference keeps
// the object alive even if another thread closes the handle meanwhile.
std::shared_ptr<KernelObject> ReferenceHandle(HANDLE handle, DWORD required, DWORD& error);

// The handle's object as T, or nullptr with ERROR_INVALID_HANDLE when it names another kind.
template <typename T>
std::shared_ptr<T> ReferenceHandleAs(HANDLE handle, DWORD required, DWORD& error) {
    std::shared_ptr<KernelObject> object = ReferenceHandle(handle, required, error);
    if (!object) return nullptr;
    std::shared_ptr<T> typed = std::dynamic_pointer_cast<T>(std::move(object));
    if (!typed) error = ERROR_INVALID_HANDLE;
    return typed;
}

}  // namespace orvella::platform::sync
