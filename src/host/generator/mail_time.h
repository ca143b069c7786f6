// Calendar arithmetic for generated mail: dates as RFC 5322 writes them, without the clock or
// the C library's time zone database, so the same seed gives the same dates anywhere.
#pragma once

#include <cstdint>
#include <string>

namespace orvella::host::generator {

struct CivilDate {
    int year;
    int month;  // 1-12
    int day;    // 1-31
};

// Days since 1970-01-01 and back.
std::int64_t DaysFromCivil(CivilDate date);
CivilDate CivilFromDays(std::int64_t days);
// 0 for Sunday to 6 for Saturday.
int WeekdayOf(std::int64_t days);

// "Tue, 5 Mar 2024 14:03:09 -0500": `unix_seconds` seen at `zone_minutes` east of UTC.
std::string FormatMailDate(std::int64_t unix_seconds, int zone_minutes);
// "20240305190309": the UTC time as digits, the first part of a Message-ID.
std::string CompactUtc(std::int64_t unix_seconds);

// The moment the newest generated mail is sent: a working day's evening between March 2023
// and the end of 2025, chosen by the seed.
std::int64_t EndTimeFor(std::uint32_t seed);

}  // namespace orvella::host::generator
