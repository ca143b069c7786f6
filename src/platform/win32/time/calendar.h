// Calendar arithmetic on FILETIME ticks: the proleptic Gregorian calendar Windows uses from
// 1601 on, independent of any time zone.
#pragma once

#include <optional>

#include "clock.h"
#include "windef.h"

namespace orvella::platform::wintime {

// The largest tick count FILETIME conversions accept (the signed 64-bit range).
inline constexpr FileTimeTicks kMaxTicks = 0x7FFF'FFFF'FFFF'FFFF;

// The broken-down time of ticks, day of week included; nothing for ticks above kMaxTicks.
std::optional<SYSTEMTIME> SystemTimeFromTicks(FileTimeTicks ticks);

// The ticks of a calendar time (wDayOfWeek ignored); nothing when a field is out of range or
// the year lies outside 1601..30827.
std::optional<FileTimeTicks> TicksFromSystemTime(const SYSTEMTIME& time);

int DaysInMonth(int year, int month);

}  // namespace orvella::platform::wintime
