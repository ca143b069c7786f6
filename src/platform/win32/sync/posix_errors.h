// The one translation of errno values and pthread result codes into Win32 error codes for the
// handle, mutex and thread calls.
#pragma once

#include "winbase.h"

namespace orvella::platform::sync {

// What the failed call worked on, where one errno value means different things.
enum class PosixCall {
    kFile,   // opening, locking, sizing or mapping a file, making a directory
    kMutex,  // a pthread mutex operation
};

DWORD Win32ErrorFromPosix(int code, PosixCall call);

}  // namespace orvella::platform::sync
