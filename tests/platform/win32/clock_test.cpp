// The settable clock behind every "now" of the platform.
#include <gtest/gtest.h>

#include <chrono>
#include <ctime>

#include "clock.h"
#include "time_test_util.h"
#include "winbase.h"

using orvella::platform::FileTimeTicks;
using orvella::platform::ScopedTestClock;
using orvella::platform::TicksFromFileTime;

namespace {

FileTimeTicks SystemTimeNow() {
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    return TicksFromFileTime(now);
}

TEST(TestClock, DrivesTheSystemTimeAndMovesOnlyWhenTold) {
    ScopedTestClock clock(127552752002500000ULL);  // 2005-03-14 12:00:00.250 UTC
    EXPECT_EQ(SystemTimeNow(), 127552752002500000ULL);
    EXPECT_EQ(SystemTimeNow(), 127552752002500000ULL);
    EXPECT_EQ(orvella::platform::NowAsTimeT(), 1110801600);
    SYSTEMTIME utc{};
    GetSystemTime(&utc);
    EXPECT_EQ(utc, (SYSTEMTIME{2005, 3, 1, 14, 12, 0, 0, 250}));

    clock.Advance(std::chrono::minutes(90));
    EXPECT_EQ(SystemTimeNow(), 127552806002500000ULL);
    clock.Advance(std::chrono::hours(-1));
    EXPECT_EQ(SystemTimeNow(), 127552770002500000ULL);
    clock.Set(116444736000000000ULL);
    EXPECT_EQ(SystemTimeNow(), 116444736000000000ULL);
    EXPECT_EQ(clock.Now(), 116444736000000000ULL);
}

TEST(TestClock, NestedClocksRestoreTheOuterOne) {
    ScopedTestClock outer(127552752000000000ULL);
    {
        ScopedTestClock inner(116444736000000000ULL);
        EXPECT_EQ(SystemTimeNow(), 116444736000000000ULL);
    }
    EXPECT_EQ(SystemTimeNow(), 127552752000000000ULL);
}

TEST(TestClock, WithoutItTheRealClockRuns) {
    { ScopedTestClock clock(0); }
    // std::time may read a coarser clock that lags the precise one; compare like with like.
    auto seconds = [] {
        return std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    };
    const std::time_t before = seconds();
    const std::time_t now = orvella::platform::NowAsTimeT();
    const std::time_t after = seconds();
    EXPECT_LE(before, now);
    EXPECT_LE(now, after);
    EXPECT_GT(SystemTimeNow(), 133485408000000000ULL);  // after 2024-01-01
}

}  // namespace
