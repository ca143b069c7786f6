// The one clock every "now" of the platform reads (GetSystemTimeAsFileTime, GetLocalTime, ...),
// and the test clock that replaces it so that time-dependent behaviour can be tested exactly.
#pragma once

#include <chrono>
#include <cstdint>
#include <ctime>

#include "windef.h"

namespace orvella::platform {

// A point in time counted as a FILETIME counts it: 100-nanosecond ticks since 1 January 1601 UTC.
using FileTimeTicks = std::uint64_t;

inline constexpr FileTimeTicks kTicksPerSecond = 10'000'000;
// 1 January 1970 00:00:00 UTC.
inline constexpr FileTimeTicks kUnixEpochTicks = 116'444'736'000'000'000;

// The current time: the test clock's while a ScopedTestClock is alive, else the system's
// real-time clock. Any thread may call it.
FileTimeTicks Now();
// Now() in whole seconds since 1970 (rounded down).
std::time_t NowAsTimeT();

FileTimeTicks TicksFromFileTime(const FILETIME& time);
FILETIME FileTimeFromTicks(FileTimeTicks ticks);

// Seconds since 1970 <-> ticks. TimeTFromTicks rounds down (towards the past); TicksFromTimeT
// expects a time not before 1601.
FileTimeTicks TicksFromTimeT(std::time_t seconds);
std::time_t TimeTFromTicks(FileTimeTicks ticks);

// Replaces the clock for the whole process while it lives: Now() returns the set time and moves
// only when Set or Advance is called. Destruction restores the clock that was in force before,
// so test clocks nest. Meant for tests; one at a time per thread of control, not shared between
// threads that create their own.
class ScopedTestClock {
public:
    explicit ScopedTestClock(FileTimeTicks now);
    ~ScopedTestClock();
    ScopedTestClock(const ScopedTestClock&) = delete;
    ScopedTestClock& operator=(const ScopedTestClock&) = delete;

    void Set(FileTimeTicks now);
    // Moves the clock on by the duration, in whole ticks (a negative one moves it back).
    void Advance(std::chrono::nanoseconds by);
    FileTimeTicks Now() const;

private:
    FileTimeTicks previous_;
};

}  // namespace orvella::platform
