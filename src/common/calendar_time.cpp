// SYSTEMTIME to struct tm.
#include "calendar_time.h"

namespace {

bool IsLeapYear(int year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int DayOfYear(const SYSTEMTIME& time) {
    static const int kDaysBeforeMonth[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
    const int month = time.wMonth >= 1 && time.wMonth <= 12 ? time.wMonth : 1;
    const int leapDay = month > 2 && IsLeapYear(time.wYear) ? 1 : 0;
    return kDaysBeforeMonth[month - 1] + leapDay + time.wDay - 1;
}

}  // namespace

std::tm CalendarTimeParts(const SYSTEMTIME& time) {
    std::tm parts = {};
    parts.tm_year = time.wYear - 1900;
    parts.tm_mon = time.wMonth - 1;
    parts.tm_mday = time.wDay;
    parts.tm_hour = time.wHour;
    parts.tm_min = time.wMinute;
    parts.tm_sec = time.wSecond;
    parts.tm_wday = time.wDayOfWeek;
    parts.tm_yday = DayOfYear(time);
    parts.tm_isdst = -1;
    return parts;
}
