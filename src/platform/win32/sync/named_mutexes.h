// This process's named mutexes: one object, and so one mapping of the mutex's file, per mutex,
// however many handles refer to it. One mapping matters: the kernel finds an owned lock through
// the address it was locked at, so every thread here must use the same one.
#pragma once

#include <memory>
#include <string_view>

#include "mutex_object.h"
#include "named_mutex_file.h"

namespace orvella::platform::sync {

// The mutex called `name` in the current home, as JoinMutexFile documents; `existed` tells
// whether any process (this one included) had it open. nullptr with the Win32 error.
std::shared_ptr<MutexObject> OpenNamedMutex(std::string_view name, Disposition disposition,
                                            bool initialOwner, bool& existed, DWORD& error);

}  // namespace orvella::platform::sync
