// Civil-calendar conversions after the well-known days-from-civil algorithm (proleptic
// Gregorian, exact for every date a mailbox can hold).
#include "mail_time.h"

#include <cstdio>

#include "random_stream.h"

namespace orvella::host::generator {
namespace {

constexpr const char* kDayNames[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr const char* kMonthNames[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                       "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

std::int64_t FloorDiv(std::int64_t a, std::int64_t b) {
    return a / b - ((a % b != 0) && ((a < 0) != (b < 0)) ? 1 : 0);
}

}  // namespace

std::int64_t DaysFromCivil(CivilDate date) {
    const std::int64_t y = date.year - (date.month <= 2 ? 1 : 0);
    const std::int64_t era = FloorDiv(y, 400);
    const std::int64_t year_of_era = y - era * 400;
    const std::int64_t month = date.month;
    const std::int64_t day_of_year = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + date.day - 1;
    const std::int64_t day_of_era =
        year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year;
    return era * 146097 + day_of_era - 719468;
}

CivilDate CivilFromDays(std::int64_t days) {
    days += 719468;
    const std::int64_t era = FloorDiv(days, 146097);
    const std::int64_t day_of_era = days - era * 146097;
    const std::int64_t year_of_era =
        (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
    const std::int64_t day_of_year =
        day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
    const std::int64_t mp = (5 * day_of_year + 2) / 153;
    const int day = static_cast<int>(day_of_year - (153 * mp + 2) / 5 + 1);
    const int month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
    const int year = static_cast<int>(year_of_era + era * 400 + (month <= 2 ? 1 : 0));
    return {year, month, day};
}

int WeekdayOf(std::int64_t days) {
    return static_cast<int>(((days + 4) % 7 + 7) % 7);  // 1970-01-01 was a Thursday
}

std::string FormatMailDate(std::int64_t unix_seconds, int zone_minutes) {
    const std::int64_t local = unix_seconds + std::int64_t{zone_minutes} * 60;
    const std::int64_t days = FloorDiv(local, 86400);
    const std::int64_t seconds = local - days * 86400;
    const CivilDate date = CivilFromDays(days);
    const int zone = zone_minutes < 0 ? -zone_minutes : zone_minutes;
    char text[64];
    std::snprintf(text, sizeof text, "%s, %d %s %d %02d:%02d:%02d %c%02d%02d",
                  kDayNames[WeekdayOf(days)], date.day, kMonthNames[date.month - 1], date.year,
                  static_cast<int>(seconds / 3600), static_cast<int>(seconds / 60 % 60),
                  static_cast<int>(seconds % 60), zone_minutes < 0 ? '-' : '+', zone / 60,
                  zone % 60);
    return text;
}

std::string CompactUtc(std::int64_t unix_seconds) {
    const std::int64_t days = FloorDiv(unix_seconds, 86400);
    const std::int64_t seconds = unix_seconds - days * 86400;
    const CivilDate date = CivilFromDays(days);
    char text[32];
    std::snprintf(text, sizeof text, "%04d%02d%02d%02d%02d%02d", date.year, date.month, date.day,
                  static_cast<int>(seconds / 3600), static_cast<int>(seconds / 60 % 60),
                  static_cast<int>(seconds % 60));
    return text;
}

std::int64_t EndTimeFor(std::uint32_t seed) {
    const std::uint32_t mix = DeriveSeed(seed, 0x454E44);  // "END"
    std::int64_t day = DaysFromCivil({2023, 3, 1}) + mix % 1000;
    while (WeekdayOf(day) == 0 || WeekdayOf(day) == 6) --day;
    return day * 86400 + 17 * 3600 + (mix >> 20) % 7200;
}

}  // namespace orvella::host::generator
