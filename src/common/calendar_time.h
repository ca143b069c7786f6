// A Windows calendar time (SYSTEMTIME) as the C library's broken-down time, for strftime and
// mktime, which give the add-in's date texts their locale.
#pragma once

#include <ctime>

#include "winbase.h"

// Every field of time, the day of the year included; tm_isdst is -1 (let mktime decide).
std::tm CalendarTimeParts(const SYSTEMTIME& time);
