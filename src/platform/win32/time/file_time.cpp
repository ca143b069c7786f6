// System time and the calendar conversions of FILETIME values.
#include "calendar.h"
#include "winbase.h"

using namespace orvella::platform;
using namespace orvella::platform::wintime;

void GetSystemTimeAsFileTime(LPFILETIME lpSystemTimeAsFileTime) {
    if (lpSystemTimeAsFileTime) *lpSystemTimeAsFileTime = FileTimeFromTicks(Now());
}

void GetSystemTime(LPSYSTEMTIME lpSystemTime) {
    if (lpSystemTime) *lpSystemTime = SystemTimeFromTicks(Now()).value_or(SYSTEMTIME{});
}

BOOL FileTimeToSystemTime(const FILETIME* lpFileTime, LPSYSTEMTIME lpSystemTime) {
    const std::optional<SYSTEMTIME> time =
        lpFileTime ? SystemTimeFromTicks(TicksFromFileTime(*lpFileTime)) : std::nullopt;
    if (!time || !lpSystemTime) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    *lpSystemTime = *time;
    return TRUE;
}

BOOL SystemTimeToFileTime(const SYSTEMTIME* lpSystemTime, LPFILETIME lpFileTime) {
    const std::optional<FileTimeTicks> ticks =
        lpSystemTime ? TicksFromSystemTime(*lpSystemTime) : std::nullopt;
    if (!ticks || !lpFileTime) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    *lpFileTime = FileTimeFromTicks(*ticks);
    return TRUE;
}

LONG CompareFileTime(const FILETIME* lpFileTime1, const FILETIME* lpFileTime2) {
    const FileTimeTicks first = TicksFromFileTime(*lpFileTime1);
    const FileTimeTicks second = TicksFromFileTime(*lpFileTime2);
    return first < second ? -1 : (first > second ? 1 : 0);
}
