// Local time: GetLocalTime and the local <-> UTC FILETIME conversions, which use the bias in
// force now, as Windows does.
#include "calendar.h"
#include "local_zone.h"
#include "winbase.h"

using namespace orvella::platform;
using namespace orvella::platform::wintime;

namespace {

BOOL ShiftFileTime(const FILETIME* in, LPFILETIME out, std::int64_t seconds) {
    if (!in || !out) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    const std::optional<FileTimeTicks> shifted = ShiftTicks(TicksFromFileTime(*in), seconds);
    if (!shifted) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    *out = FileTimeFromTicks(*shifted);
    return TRUE;
}

}  // namespace

void GetLocalTime(LPSYSTEMTIME lpSystemTime) {
    if (!lpSystemTime) return;
    const FileTimeTicks local = ShiftTicks(Now(), CurrentUtcOffsetSeconds()).value_or(0);
    *lpSystemTime = SystemTimeFromTicks(local).value_or(SYSTEMTIME{});
}

BOOL FileTimeToLocalFileTime(const FILETIME* lpFileTime, LPFILETIME lpLocalFileTime) {
    return ShiftFileTime(lpFileTime, lpLocalFileTime, CurrentUtcOffsetSeconds());
}

BOOL LocalFileTimeToFileTime(const FILETIME* lpLocalFileTime, LPFILETIME lpFileTime) {
    return ShiftFileTime(lpLocalFileTime, lpFileTime, -CurrentUtcOffsetSeconds());
}
