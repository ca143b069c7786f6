// The base of every object a HANDLE can name (mutexes now; threads and events can join them):
// each says what waiting on it means.
#pragma once

#include "winbase.h"

namespace orvella::platform::sync {

class KernelObject {
public:
    virtual ~KernelObject() = default;

    // Waits as WaitForSingleObject documents; sets the last error when it returns WAIT_FAILED.
    // Called on the waiting thread, possibly on several threads at once.
    virtual DWORD Wait(DWORD milliseconds) = 0;
};

}  // namespace orvella::platform::sync
