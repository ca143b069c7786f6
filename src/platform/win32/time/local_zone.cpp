// The local time zone through tzset/localtime_r.
#include "local_zone.h"

#include <cstdlib>
#include <mutex>
#include <string>

#include "calendar.h"

namespace orvella::platform::wintime {

namespace {

// localtime_r reads $TZ only once per process, and tzset costs a look at the zone file each time
// $TZ is unset; so tzset runs only when $TZ differs from what it was at the last call.
void FollowZoneChanges() {
    static std::mutex mutex;
    static bool known = false;
    static std::optional<std::string> lastZone;
    const char* zone = std::getenv("TZ");
    std::lock_guard lock(mutex);
    if (known && (zone ? lastZone == zone : !lastZone)) return;
    tzset();
    known = true;
    lastZone = zone ? std::optional<std::string>(zone) : std::nullopt;
}

}  // namespace

std::tm LocalCalendar(std::time_t moment) {
    FollowZoneChanges();
    std::tm local{};
    if (!localtime_r(&moment, &local)) local = std::tm{};
    return local;
}

std::int64_t CurrentUtcOffsetSeconds() {
    return LocalCalendar(NowAsTimeT()).tm_gmtoff;
}

std::optional<FileTimeTicks> ShiftTicks(FileTimeTicks ticks, std::int64_t seconds) {
    if (ticks > kMaxTicks) return std::nullopt;
    const std::int64_t shift = seconds * static_cast<std::int64_t>(kTicksPerSecond);
    const auto signedTicks = static_cast<std::int64_t>(ticks);
    std::int64_t shifted = 0;
    if (__builtin_add_overflow(signedTicks, shift, &shifted) || shifted < 0) return std::nullopt;
    return static_cast<FileTimeTicks>(shifted);
}

}  // namespace orvella::platform::wintime
