// The process's clock: the real-time clock, or the test clock while one is set.
#include "clock.h"

#include <atomic>
#include <limits>

namespace orvella::platform {
namespace {

// Beyond every valid FILETIME, so it can mark "no test clock".
constexpr FileTimeTicks kRealClock = std::numeric_limits<FileTimeTicks>::max();
constexpr std::int64_t kEpochSeconds = static_cast<std::int64_t>(kUnixEpochTicks / kTicksPerSecond);

std::atomic<FileTimeTicks> g_testNow{kRealClock};

FileTimeTicks RealNow() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return TicksFromTimeT(now.tv_sec) + static_cast<FileTimeTicks>(now.tv_nsec / 100);
}

}  // namespace

FileTimeTicks Now() {
    const FileTimeTicks test = g_testNow.load(std::memory_order_acquire);
    return test == kRealClock ? RealNow() : test;
}

std::time_t NowAsTimeT() {
    return TimeTFromTicks(Now());
}

FileTimeTicks TicksFromFileTime(const FILETIME& time) {
    return (static_cast<FileTimeTicks>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
}

FILETIME FileTimeFromTicks(FileTimeTicks ticks) {
    return FILETIME{static_cast<DWORD>(ticks & 0xFFFFFFFFu), static_cast<DWORD>(ticks >> 32)};
}

FileTimeTicks TicksFromTimeT(std::time_t seconds) {
    return static_cast<FileTimeTicks>(static_cast<std::int64_t>(seconds) + kEpochSeconds) *
           kTicksPerSecond;
}

std::time_t TimeTFromTicks(FileTimeTicks ticks) {
    return static_cast<std::time_t>(static_cast<std::int64_t>(ticks / kTicksPerSecond) -
                                    kEpochSeconds);
}

ScopedTestClock::ScopedTestClock(FileTimeTicks now) : previous_(g_testNow.exchange(now)) {}

ScopedTestClock::~ScopedTestClock() {
    g_testNow.store(previous_, std::memory_order_release);
}

void ScopedTestClock::Set(FileTimeTicks now) {
    g_testNow.store(now, std::memory_order_release);
}

void ScopedTestClock::Advance(std::chrono::nanoseconds by) {
    g_testNow.fetch_add(static_cast<FileTimeTicks>(by.count() / 100), std::memory_order_acq_rel);
}

FileTimeTicks ScopedTestClock::Now() const {
    return g_testNow.load(std::memory_order_acquire);
}

}  // namespace orvella::platform
