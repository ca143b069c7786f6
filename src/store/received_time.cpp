// Day and week keys and headings of a received time. The calendar arithmetic runs on the C
// library's local time (mktime decides on daylight saving for the date), the texts on its
// locale, so both follow TZ and LC_TIME.
#include <cstdio>
#include <ctime>

#include "calendar_time.h"
#include "store_schema.h"
#include "winbase.h"

namespace {

constexpr long long kSecondsPerDay = 86400;

// The received time as calendar seconds and its local breakdown. Any failing conversion
// counts as the time 0.
struct LocalReceived {
    time_t t = 0;
    std::tm local = {};
};

LocalReceived ToLocal(FILETIME received) {
    LocalReceived result;
    FILETIME localFileTime;
    SYSTEMTIME st;
    if (FileTimeToLocalFileTime(&received, &localFileTime) &&
        FileTimeToSystemTime(&localFileTime, &st)) {
        std::tm fields = CalendarTimeParts(st);
        time_t t = std::mktime(&fields);
        if (t != static_cast<time_t>(-1)) result.t = t;
    }
    localtime_r(&result.t, &result.local);
    return result;
}

// Local midnight of a date; mday may run outside the month (mktime normalises it).
time_t LocalMidnight(int year, int month, int mday, std::tm* normalised = nullptr) {
    std::tm fields = {};
    fields.tm_year = year;
    fields.tm_mon = month;
    fields.tm_mday = mday;
    fields.tm_isdst = -1;
    time_t t = std::mktime(&fields);
    if (normalised) *normalised = fields;
    return t;
}

// Days back from a date to the Monday of its week (weeks run Monday to Sunday).
int DaysSinceMonday(const std::tm& date) {
    return date.tm_wday == 0 ? 6 : date.tm_wday - 1;
}

bool DaylightNow() {
    TIME_ZONE_INFORMATION zone;
    return GetTimeZoneInformation(&zone) == TIME_ZONE_ID_DAYLIGHT;
}

std::string Format(const char* format, const std::tm& date) {
    char text[128];
    size_t n = std::strftime(text, sizeof text, format, &date);
    return std::string(text, n);
}

}  // namespace

LONG DayKey(FILETIME received) {
    const std::tm& d = ToLocal(received).local;
    return (d.tm_year + 1900) * 10000 + (d.tm_mon + 1) * 100 + d.tm_mday;
}

LONG WeekKey(FILETIME received) {
    static const time_t base = LocalMidnight(70, 0, 5);  // Monday 5 January 1970
    long long d = static_cast<long long>(ToLocal(received).t) - base;
    if (DaylightNow()) d += 3600;
    return static_cast<LONG>((d / kSecondsPerDay) / 7);
}

std::string DisplayDay(FILETIME received) {
    const std::tm& d = ToLocal(received).local;
    char text[200];
    // The long local date: weekday and month by name, in the locale's language.
    std::snprintf(text, sizeof text, "%4.4d/%2.2d/%2.2d - %s", d.tm_year + 1900, d.tm_mon + 1,
                  d.tm_mday, Format("%A, %B %d, %Y", d).c_str());
    return text;
}

std::string DisplayWeek(FILETIME received) {
    const std::tm& d = ToLocal(received).local;
    std::tm monday;
    time_t mondayStart =
        LocalMidnight(d.tm_year, d.tm_mon, d.tm_mday - DaysSinceMonday(d), &monday);
    std::tm jan1;
    LocalMidnight(d.tm_year, 0, 1, &jan1);
    time_t first = LocalMidnight(d.tm_year, 0, 1 - DaysSinceMonday(jan1));
    long long n = static_cast<long long>(mondayStart) - first;
    if (monday.tm_isdst > 0) n += 3600;
    long long week = (n / kSecondsPerDay) / 7;
    char text[200];
    std::snprintf(text, sizeof text, "%4.4d Week %2.2lld - %s", d.tm_year + 1900, week,
                  Format("%x", monday).c_str());
    return text;
}
