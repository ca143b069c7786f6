// The counting job both mutex test processes run: a number in a file raised by a read and a
// separate write, so only the mutex keeps concurrent counters from losing increments.
#pragma once

#include <sched.h>

#include <filesystem>
#include <fstream>

#include "winbase.h"

namespace orvella::testing {

// Adds one to the number in `file` `times` times, each under `mutex`; false when a wait or a
// release fails.
inline bool CountUnderMutex(HANDLE mutex, const std::filesystem::path& file, int times) {
    for (int i = 0; i < times; ++i) {
        if (WaitForSingleObject(mutex, INFINITE) != WAIT_OBJECT_0) return false;
        long value = 0;
        std::ifstream(file) >> value;
        sched_yield();  // invites another counter in, were the mutex not keeping it out
        std::ofstream(file, std::ios::trunc) << value + 1;
        if (!ReleaseMutex(mutex)) return false;
    }
    return true;
}

}  // namespace orvella::testing
