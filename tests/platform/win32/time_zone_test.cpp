// Local time under the zone $TZ names: conversions with the bias in force now, the local clock,
// and the zone's daylight-saving state and rules.
#include <gtest/gtest.h>

#include <string>

#include "clock.h"
#include "time_test_util.h"
#include "winbase.h"

using orvella::platform::FileTimeFromTicks;
using orvella::platform::FileTimeTicks;
using orvella::platform::ScopedTestClock;
using orvella::platform::TicksFromFileTime;
using orvella::testing::ScopedTimeZone;

namespace {

// Moments "now" is set to.
constexpr FileTimeTicks kWinter2005 = 127502640000000000ULL;    // 2005-01-15 12:00 UTC
constexpr FileTimeTicks kSummer2005 = 127646928000000000ULL;    // 2005-07-01 12:00 UTC
constexpr FileTimeTicks kDecember2005 = 127779120000000000ULL;  // 2005-12-01 12:00 UTC
constexpr FileTimeTicks kSummer2024 = 133643088000000000ULL;    // 2024-07-01 12:00 UTC
// 2005-03-14 12:00 UTC, the time converted.
constexpr FileTimeTicks kMarch14Noon = 127552752000000000ULL;

TEST(LocalFileTime, ConversionUsesTheBiasInForceNowNotTheBiasOfTheDate) {
    struct Case {
        const char* zone;
        FileTimeTicks now;
        FileTimeTicks local;  // of kMarch14Noon
    };
    const Case cases[] = {
        {"UTC", kSummer2005, 127552752000000000ULL},               // 12:00
        {"America/New_York", kWinter2005, 127552572000000000ULL},  // 07:00
        {"America/New_York", kSummer2005, 127552608000000000ULL},  // 08:00
        {"Europe/Berlin", kWinter2005, 127552788000000000ULL},     // 13:00
        {"Europe/Berlin", kSummer2005, 127552824000000000ULL},     // 14:00
    };
    for (const Case& c : cases) {
        ScopedTimeZone zone(c.zone);
        ScopedTestClock clock(c.now);
        const FILETIME utc = FileTimeFromTicks(kMarch14Noon);
        FILETIME local{};
        ASSERT_TRUE(FileTimeToLocalFileTime(&utc, &local)) << c.zone << ' ' << c.now;
        EXPECT_EQ(TicksFromFileTime(local), c.local) << c.zone << ' ' << c.now;
        FILETIME back{};
        ASSERT_TRUE(LocalFileTimeToFileTime(&local, &back)) << c.zone << ' ' << c.now;
        EXPECT_EQ(TicksFromFileTime(back), kMarch14Noon) << c.zone << ' ' << c.now;
    }
}

TEST(LocalFileTime, ResultsOutsideTheFileTimeRangeAreRejected) {
    struct Case {
        const char* zone;
        FileTimeTicks ticks;
        bool toLocal;
    };
    const Case cases[] = {
        {"America/New_York", 0ULL, true},
        {"Europe/Berlin", 0x7FFFFFFFFFFFFFFFULL, true},
        {"Europe/Berlin", 0ULL, false},
        {"UTC", 0x8000000000000000ULL, true},
    };
    for (const Case& c : cases) {
        ScopedTimeZone zone(c.zone);
        ScopedTestClock clock(kWinter2005);
        const FILETIME in = FileTimeFromTicks(c.ticks);
        FILETIME out{};
        SetLastError(ERROR_SUCCESS);
        EXPECT_FALSE(c.toLocal ? FileTimeToLocalFileTime(&in, &out)
                               : LocalFileTimeToFileTime(&in, &out))
            << c.zone << ' ' << c.ticks;
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    }
}

TEST(LocalFileTime, LocalTimeIsTheTestClockInTheLocalZone) {
    struct Case {
        const char* zone;
        FileTimeTicks now;
        SYSTEMTIME local;
    };
    const Case cases[] = {
        {"Europe/Berlin", 127552752002500000ULL, {2005, 3, 1, 14, 13, 0, 0, 250}},
        {"America/New_York", 127552752002500000ULL, {2005, 3, 1, 14, 7, 0, 0, 250}},
        {"America/New_York", 127502640000000000ULL, {2005, 1, 6, 15, 7, 0, 0, 0}},
        {"Australia/Sydney", 127646928000000000ULL, {2005, 7, 5, 1, 22, 0, 0, 0}},
        {"Pacific/Auckland", 127779120000000000ULL, {2005, 12, 5, 2, 1, 0, 0, 0}},
    };
    for (const Case& c : cases) {
        ScopedTimeZone zone(c.zone);
        ScopedTestClock clock(c.now);
        SYSTEMTIME local{};
        GetLocalTime(&local);
        EXPECT_EQ(local, c.local) << c.zone << ' ' << c.now;
    }
}

// A transition rule as {month, weekday, week (5 = last), hour, minute}.
struct Rule {
    WORD month, weekday, week, hour, minute;
};

// What a zone reports for one year, whatever the moment in it.
struct ZoneYear {
    LONG bias;
    LONG daylightBias;
    Rule standardDate;
    Rule daylightDate;
    const char* standardName;
    const char* daylightName;
};

const ZoneYear kUtc{0, 0, {}, {}, "UTC", "UTC"};
const ZoneYear kTokyo{-540, 0, {}, {}, "JST", "JST"};
const ZoneYear kNewYork2005{300, -60, {10, 0, 5, 2, 0}, {4, 0, 1, 2, 0}, "EST", "EDT"};
const ZoneYear kNewYork2024{300, -60, {11, 0, 1, 2, 0}, {3, 0, 2, 2, 0}, "EST", "EDT"};
const ZoneYear kBerlin2005{-60, -60, {10, 0, 5, 3, 0}, {3, 0, 5, 2, 0}, "CET", "CEST"};
const ZoneYear kSydney2005{-600, -60, {3, 0, 5, 3, 0}, {10, 0, 5, 2, 0}, "AEST", "AEDT"};

std::string Narrow(const WCHAR* text) {
    std::string out;
    for (; *text; ++text) out += static_cast<char>(*text);
    return out;
}

void ExpectRule(const SYSTEMTIME& got, const Rule& want, const std::string& where) {
    EXPECT_EQ(got.wYear, 0) << where;
    EXPECT_EQ(got.wMonth, want.month) << where;
    EXPECT_EQ(got.wDayOfWeek, want.weekday) << where;
    EXPECT_EQ(got.wDay, want.week) << where;
    EXPECT_EQ(got.wHour, want.hour) << where;
    EXPECT_EQ(got.wMinute, want.minute) << where;
}

TEST(TimeZoneInformation, ReportsTheDaylightStateNowAndThisYearsRules) {
    struct Case {
        const char* zone;
        FileTimeTicks now;
        DWORD state;
        const ZoneYear& expected;
    };
    const Case cases[] = {
        {"UTC", kSummer2005, TIME_ZONE_ID_UNKNOWN, kUtc},
        {"Asia/Tokyo", kSummer2005, TIME_ZONE_ID_UNKNOWN, kTokyo},
        {"America/New_York", kSummer2005, TIME_ZONE_ID_DAYLIGHT, kNewYork2005},
        {"America/New_York", kWinter2005, TIME_ZONE_ID_STANDARD, kNewYork2005},
        {"America/New_York", kSummer2024, TIME_ZONE_ID_DAYLIGHT, kNewYork2024},
        {"Europe/Berlin", kSummer2005, TIME_ZONE_ID_DAYLIGHT, kBerlin2005},
        {"Europe/Berlin", kDecember2005, TIME_ZONE_ID_STANDARD, kBerlin2005},
        {"Australia/Sydney", kWinter2005, TIME_ZONE_ID_DAYLIGHT, kSydney2005},
        {"Australia/Sydney", kSummer2005, TIME_ZONE_ID_STANDARD, kSydney2005},
    };
    for (const Case& c : cases) {
        const ZoneYear& want = c.expected;
        ScopedTimeZone zone(c.zone);
        ScopedTestClock clock(c.now);
        TIME_ZONE_INFORMATION info{};
        const std::string where = std::string(c.zone) + " at " + std::to_string(c.now);
        EXPECT_EQ(GetTimeZoneInformation(&info), c.state) << where;
        EXPECT_EQ(info.Bias, want.bias) << where;
        EXPECT_EQ(info.StandardBias, 0) << where;
        EXPECT_EQ(info.DaylightBias, want.daylightBias) << where;
        ExpectRule(info.StandardDate, want.standardDate, where);
        ExpectRule(info.DaylightDate, want.daylightDate, where);
        EXPECT_EQ(Narrow(info.StandardName), want.standardName) << where;
        EXPECT_EQ(Narrow(info.DaylightName), want.daylightName) << where;
    }
}

TEST(TimeZoneInformation, WithoutAStructureIsInvalid) {
    SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(GetTimeZoneInformation(nullptr), TIME_ZONE_ID_INVALID);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

}  // namespace
