// GetTimeZoneInformation: the local zone's biases and this year's daylight-saving rules, found by
// searching the year for the zone's transitions.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <utility>

#include "calendar.h"
#include "local_zone.h"
#include "winbase.h"

using namespace orvella::platform;
using namespace orvella::platform::wintime;

namespace {

// Shorter than any daylight-saving period a zone has used, so no pair of transitions is missed.
constexpr std::time_t kSearchStep = 7 * 86'400;

struct Transition {
    std::time_t at = 0;  // the first second in the new state
    std::tm before{};
    std::tm after{};
};

bool IsDaylight(std::time_t moment) {
    return LocalCalendar(moment).tm_isdst > 0;
}

// The first second after `from` whose daylight state differs from from's, given that `to` is in
// the other state.
std::time_t FindChange(std::time_t from, std::time_t to) {
    const bool initial = IsDaylight(from);
    while (to - from > 1) {
        const std::time_t middle = from + (to - from) / 2;
        (IsDaylight(middle) == initial ? from : to) = middle;
    }
    return to;
}

std::time_t StartOfYearUtc(int year) {
    const SYSTEMTIME start{static_cast<WORD>(year), 1, 0, 1, 0, 0, 0, 0};
    return TimeTFromTicks(TicksFromSystemTime(start).value_or(0));
}

// The year's first change into daylight time and first change back, where there are any.
void FindTransitions(int year, std::optional<Transition>& toDaylight,
                     std::optional<Transition>& toStandard) {
    const std::time_t end = StartOfYearUtc(year + 1);
    bool daylightAtFrom = IsDaylight(StartOfYearUtc(year));
    for (std::time_t from = StartOfYearUtc(year); from < end; from += kSearchStep) {
        const std::time_t to = std::min(from + kSearchStep, end);
        const bool daylightAtTo = IsDaylight(to);
        if (daylightAtTo == std::exchange(daylightAtFrom, daylightAtTo)) continue;
        Transition found;
        found.at = FindChange(from, to);
        found.before = LocalCalendar(found.at - 1);
        found.after = LocalCalendar(found.at);
        std::optional<Transition>& slot = found.after.tm_isdst > 0 ? toDaylight : toStandard;
        if (!slot) slot = found;
    }
}

// A transition as Windows states a yearly rule: month, weekday, its week in the month (5 for the
// last) and the local wall-clock time at which it happens, read on the clock before the change.
SYSTEMTIME RuleOf(const Transition& change) {
    const FileTimeTicks wallClock =
        ShiftTicks(TicksFromTimeT(change.at), change.before.tm_gmtoff).value_or(0);
    SYSTEMTIME rule = SystemTimeFromTicks(wallClock).value_or(SYSTEMTIME{});
    const bool lastInMonth = rule.wDay + 7 > DaysInMonth(rule.wYear, rule.wMonth);
    rule.wDay = lastInMonth ? 5 : static_cast<WORD>((rule.wDay - 1) / 7 + 1);
    rule.wYear = 0;
    rule.wMilliseconds = 0;
    return rule;
}

void CopyName(WCHAR (&target)[32], const char* abbreviation) {
    std::fill(std::begin(target), std::end(target), WCHAR{0});
    if (!abbreviation) return;
    const size_t length = std::min(std::strlen(abbreviation), std::size(target) - 1);
    std::copy(abbreviation, abbreviation + length, target);
}

LONG MinutesWestOf(const std::tm& local) {
    return static_cast<LONG>(-local.tm_gmtoff / 60);
}

// The zone's biases, names and rules for the year of `now`; hasDaylight tells whether the zone
// changes to daylight time (or back) in that year.
TIME_ZONE_INFORMATION ComputeRules(const std::tm& now, bool& hasDaylight) {
    TIME_ZONE_INFORMATION info{};
    std::optional<Transition> toDaylight;
    std::optional<Transition> toStandard;
    FindTransitions(now.tm_year + 1900, toDaylight, toStandard);
    hasDaylight = toDaylight || toStandard;
    if (!hasDaylight) {
        info.Bias = MinutesWestOf(now);
        CopyName(info.StandardName, now.tm_zone);
        CopyName(info.DaylightName, now.tm_zone);
        return info;
    }
    const std::tm& standard = toDaylight ? toDaylight->before : toStandard->after;
    const std::tm& daylight = toDaylight ? toDaylight->after : toStandard->before;
    info.Bias = MinutesWestOf(standard);
    info.DaylightBias = MinutesWestOf(daylight) - info.Bias;
    CopyName(info.StandardName, standard.tm_zone);
    CopyName(info.DaylightName, daylight.tm_zone);
    if (toStandard) info.StandardDate = RuleOf(*toStandard);
    if (toDaylight) info.DaylightDate = RuleOf(*toDaylight);
    return info;
}

// Searching a year takes a few hundred local-time conversions, and the daylight state is asked
// for every message, so the rules of the last zone and year asked for are kept.
struct CachedRules {
    std::string key;
    TIME_ZONE_INFORMATION info{};
    bool hasDaylight = false;
};

std::mutex g_cacheMutex;
CachedRules g_cache;

// Tells zones and years apart: $TZ, and the abbreviations tzset found (which change when the
// system's zone file does), with the year.
std::string ZoneYearKey(const std::tm& now) {
    const char* zone = std::getenv("TZ");
    return std::string(zone ? zone : "(system)") + '\n' + tzname[0] + '\n' + tzname[1] + '\n' +
           std::to_string(now.tm_year);
}

}  // namespace

DWORD GetTimeZoneInformation(LPTIME_ZONE_INFORMATION lpTimeZoneInformation) {
    if (!lpTimeZoneInformation) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return TIME_ZONE_ID_INVALID;
    }
    const std::tm now = LocalCalendar(NowAsTimeT());
    std::string key = ZoneYearKey(now);
    bool hasDaylight = false;
    {
        std::lock_guard lock(g_cacheMutex);
        if (g_cache.key != key) {
            g_cache.info = ComputeRules(now, g_cache.hasDaylight);
            g_cache.key = std::move(key);
        }
        *lpTimeZoneInformation = g_cache.info;
        hasDaylight = g_cache.hasDaylight;
    }
    if (!hasDaylight) return TIME_ZONE_ID_UNKNOWN;
    return now.tm_isdst > 0 ? TIME_ZONE_ID_DAYLIGHT : TIME_ZONE_ID_STANDARD;
}
