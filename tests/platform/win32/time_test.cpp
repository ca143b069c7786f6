// FILETIME and SYSTEMTIME conversions and comparisons, independent of the time zone.
#include <gtest/gtest.h>

#include "clock.h"
#include "time_test_util.h"
#include "winbase.h"

using orvella::platform::FileTimeFromTicks;
using orvella::platform::FileTimeTicks;
using orvella::platform::TicksFromFileTime;

namespace {

struct Instant {
    FileTimeTicks ticks;
    SYSTEMTIME time;
    bool hasInverse;  // whether SystemTimeToFileTime gives the ticks back exactly
};

// {year, month, weekday, day, hour, minute, second, milliseconds}
const Instant kInstants[] = {
    {0ULL, {1601, 1, 1, 1, 0, 0, 0, 0}, true},
    {116444736000000000ULL, {1970, 1, 4, 1, 0, 0, 0, 0}, true},
    {127552752000000000ULL, {2005, 3, 1, 14, 12, 0, 0, 0}, true},
    {127552319999990000ULL, {2005, 3, 0, 13, 23, 59, 59, 999}, true},
    {125963423999990000ULL, {2000, 2, 2, 29, 23, 59, 59, 999}, true},
    {94405824000000000ULL, {1900, 3, 4, 1, 0, 0, 0, 0}, true},
    {133801631990000000ULL, {2024, 12, 2, 31, 23, 59, 59, 0}, true},
    {9223149887999990000ULL, {30827, 12, 5, 31, 23, 59, 59, 999}, true},
    // Below a millisecond is cut off; the last FILETIME lies in a year SYSTEMTIME cannot go back
    // from.
    {127552752000009999ULL, {2005, 3, 1, 14, 12, 0, 0, 0}, false},
    {0x7FFFFFFFFFFFFFFFULL, {30828, 9, 4, 14, 2, 48, 5, 477}, false},
};

TEST(FileTimeConversion, FileTimeBreaksDownIntoItsCalendarTime) {
    for (const Instant& instant : kInstants) {
        const FILETIME fileTime = FileTimeFromTicks(instant.ticks);
        SYSTEMTIME time{};
        ASSERT_TRUE(FileTimeToSystemTime(&fileTime, &time)) << instant.ticks;
        EXPECT_EQ(time, instant.time) << instant.ticks;
    }
}

TEST(FileTimeConversion, CalendarTimeGivesTheFileTimeBackIgnoringTheWeekday) {
    for (const Instant& instant : kInstants) {
        if (!instant.hasInverse) continue;
        SYSTEMTIME time = instant.time;
        time.wDayOfWeek = 6;  // wrong on purpose
        FILETIME fileTime{};
        ASSERT_TRUE(SystemTimeToFileTime(&time, &fileTime)) << instant.ticks;
        EXPECT_EQ(TicksFromFileTime(fileTime), instant.ticks);
    }
}

TEST(FileTimeConversion, InvalidCalendarTimesAreRejected) {
    const SYSTEMTIME invalid[] = {
        {2005, 13, 0, 1, 0, 0, 0, 0},     {2005, 0, 0, 1, 0, 0, 0, 0},
        {2005, 3, 0, 0, 0, 0, 0, 0},      {2005, 4, 0, 31, 0, 0, 0, 0},
        {2005, 2, 0, 29, 0, 0, 0, 0},     {1900, 2, 0, 29, 0, 0, 0, 0},
        {2005, 3, 0, 14, 24, 0, 0, 0},    {2005, 3, 0, 14, 12, 60, 0, 0},
        {2005, 3, 0, 14, 12, 0, 60, 0},   {2005, 3, 0, 14, 12, 0, 0, 1000},
        {1600, 12, 0, 31, 23, 59, 59, 0}, {30828, 1, 0, 1, 0, 0, 0, 0},
    };
    for (const SYSTEMTIME& time : invalid) {
        FILETIME fileTime{0x1234, 0x5678};
        SetLastError(ERROR_SUCCESS);
        EXPECT_FALSE(SystemTimeToFileTime(&time, &fileTime)) << ::testing::PrintToString(time);
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
        EXPECT_EQ(fileTime.dwLowDateTime, 0x1234u);
        EXPECT_EQ(fileTime.dwHighDateTime, 0x5678u);
    }
}

TEST(FileTimeConversion, FileTimesFromTwoToTheSixtyThirdOnAreRejected) {
    for (const FileTimeTicks ticks : {0x8000000000000000ULL, 0xFFFFFFFFFFFFFFFFULL}) {
        const FILETIME fileTime = FileTimeFromTicks(ticks);
        SYSTEMTIME time{};
        SetLastError(ERROR_SUCCESS);
        EXPECT_FALSE(FileTimeToSystemTime(&fileTime, &time)) << ticks;
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    }
}

TEST(FileTimeConversion, CompareFileTimeOrdersByTheWholeValue) {
    struct Case {
        FILETIME first;
        FILETIME second;
        LONG expected;
    };
    const Case cases[] = {
        {{5, 1}, {5, 1}, 0},
        {{4, 1}, {5, 1}, -1},
        {{5, 1}, {4, 1}, 1},
        {{0xFFFFFFFF, 0}, {0, 1}, -1},
        {{0, 0x80000000}, {0xFFFFFFFF, 0x7FFFFFFF}, 1},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(CompareFileTime(&c.first, &c.second), c.expected)
            << c.first.dwHighDateTime << ':' << c.first.dwLowDateTime << " vs "
            << c.second.dwHighDateTime << ':' << c.second.dwLowDateTime;
    }
}

TEST(FileTimeConversion, SecondsSince1970MapToTicksAndBackRoundingDown) {
    struct Case {
        std::time_t seconds;
        FileTimeTicks ticks;
    };
    const Case exact[] = {
        {0, 116444736000000000ULL},
        {1110801600, 127552752000000000ULL},
        {-1, 116444735990000000ULL},
        {-11644473600, 0ULL},
    };
    for (const Case& c : exact) {
        EXPECT_EQ(orvella::platform::TicksFromTimeT(c.seconds), c.ticks) << c.seconds;
        EXPECT_EQ(orvella::platform::TimeTFromTicks(c.ticks), c.seconds) << c.ticks;
    }
    EXPECT_EQ(orvella::platform::TimeTFromTicks(116444735995000000ULL), -1);
    EXPECT_EQ(orvella::platform::TimeTFromTicks(116444736009999999ULL), 0);
}

}  // namespace
