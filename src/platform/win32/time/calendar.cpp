// Conversions between day counts and civil dates (after H. Hinnant's days_from_civil).
#include "calendar.h"

#include <cstdint>

namespace orvella::platform::wintime {
namespace {

constexpr std::int64_t kSecondsPerDay = 86'400;
constexpr std::int64_t kTicksPerMillisecond = 10'000;
// Days from 1 March of year 0, where the era arithmetic starts, to 1 January 1601.
constexpr std::int64_t kDaysTo1601 = 584'694;

bool IsLeapYear(int year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

// Days since 1 January 1601 of a civil date (the years handled are all positive).
std::int64_t DaysFrom1601(std::int64_t year, unsigned month, unsigned day) {
    year -= month <= 2 ? 1 : 0;
    const std::int64_t era = year / 400;
    const std::int64_t yearOfEra = year - era * 400;
    const std::int64_t dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146'097 + dayOfEra - kDaysTo1601;
}

void CivilFromDays(std::int64_t daysFrom1601, SYSTEMTIME& out) {
    const std::int64_t shifted = daysFrom1601 + kDaysTo1601;
    const std::int64_t era = shifted / 146'097;
    const std::int64_t dayOfEra = shifted - era * 146'097;
    const std::int64_t yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36'524 - dayOfEra / 146'096) / 365;
    const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::int64_t monthIndex = (5 * dayOfYear + 2) / 153;
    const std::int64_t month = monthIndex < 10 ? monthIndex + 3 : monthIndex - 9;
    out.wYear = static_cast<WORD>(yearOfEra + era * 400 + (month <= 2 ? 1 : 0));
    out.wMonth = static_cast<WORD>(month);
    out.wDay = static_cast<WORD>(dayOfYear - (153 * monthIndex + 2) / 5 + 1);
    out.wDayOfWeek = static_cast<WORD>((daysFrom1601 + 1) % 7);  // 1 January 1601 was a Monday
}

}  // namespace

int DaysInMonth(int year, int month) {
    static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && IsLeapYear(year) ? 29 : kDays[month - 1];
}

std::optional<SYSTEMTIME> SystemTimeFromTicks(FileTimeTicks ticks) {
    if (ticks > kMaxTicks) return std::nullopt;
    const auto all = static_cast<std::int64_t>(ticks);
    const std::int64_t milliseconds = all / kTicksPerMillisecond;
    const std::int64_t seconds = milliseconds / 1000;
    const std::int64_t secondOfDay = seconds % kSecondsPerDay;
    SYSTEMTIME out{};
    CivilFromDays(seconds / kSecondsPerDay, out);
    out.wHour = static_cast<WORD>(secondOfDay / 3600);
    out.wMinute = static_cast<WORD>(secondOfDay % 3600 / 60);
    out.wSecond = static_cast<WORD>(secondOfDay % 60);
    out.wMilliseconds = static_cast<WORD>(milliseconds % 1000);
    return out;
}

std::optional<FileTimeTicks> TicksFromSystemTime(const SYSTEMTIME& time) {
    if (time.wYear < 1601 || time.wYear > 30827 || time.wMonth < 1 || time.wMonth > 12 ||
        time.wDay < 1 || time.wDay > DaysInMonth(time.wYear, time.wMonth) || time.wHour > 23 ||
        time.wMinute > 59 || time.wSecond > 59 || time.wMilliseconds > 999) {
        return std::nullopt;
    }
    const std::int64_t days = DaysFrom1601(time.wYear, time.wMonth, time.wDay);
    const std::int64_t seconds =
        days * kSecondsPerDay + time.wHour * 3600 + time.wMinute * 60 + time.wSecond;
    return static_cast<FileTimeTicks>((seconds * 1000 + time.wMilliseconds) * kTicksPerMillisecond);
}

}  // namespace orvella::platform::wintime
