// The local time zone as $TZ (else the system) defines it. $TZ is looked at on every call, so a
// change of it takes effect at once; the system's zone is read when $TZ last changed.
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>

#include "clock.h"

namespace orvella::platform::wintime {

// The local calendar time of a moment, with its daylight flag, offset and zone abbreviation.
std::tm LocalCalendar(std::time_t moment);

// Seconds by which local time is ahead of UTC now (negative west of Greenwich).
std::int64_t CurrentUtcOffsetSeconds();

// ticks moved by seconds; nothing when the result leaves the valid FILETIME range.
std::optional<FileTimeTicks> ShiftTicks(FileTimeTicks ticks, std::int64_t seconds);

}  // namespace orvella::platform::wintime
