// Formatting of log records.
#include "ExceptionRecord.h"

#include <ctime>

#include "TextFormat.h"
#include "winbase.h"

namespace orvella::diag {
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

const char* LevelName(int level) {
    switch (level) {
        case EXCEPTION_INFO:
            return "INFO: (";
        case EXCEPTION_WARNING:
            return "WARNING: (";
        case EXCEPTION_SEVERE_ERROR:
            return "SEVERE_ERROR: (";
        default:
            return "ERROR: (";
    }
}

std::string ExceptionHeader(const IException& exception) {
    std::string header = LevelName(exception.GetLevel());
    header += exception.GetType();
    header += ", ";
    header += exception.GetFile() ? exception.GetFile() : "file not specified";
    header += ", ";
    header += exception.GetLine() != 0 ? std::to_string(exception.GetLine())
                                       : std::string("line # not specified");
    header += ")\n";
    return header;
}

std::string LocalTimeText() {
    SYSTEMTIME now = {};
    GetLocalTime(&now);
    std::tm parts = {};
    parts.tm_year = now.wYear - 1900;
    parts.tm_mon = now.wMonth - 1;
    parts.tm_mday = now.wDay;
    parts.tm_hour = now.wHour;
    parts.tm_min = now.wMinute;
    parts.tm_sec = now.wSecond;
    parts.tm_wday = now.wDayOfWeek;
    parts.tm_yday = DayOfYear(now);
    parts.tm_isdst = -1;
    char text[256];
    const size_t length = std::strftime(text, sizeof text, "%c", &parts);
    return std::string(text, length);
}

std::string ExceptionRecord(const IException& exception, const std::string& time,
                            const std::string& header) {
    std::string record = time + "\n" + header;
    if (const char* message = exception.GetMessage()) record += std::string(message) + "\n";
    if (const char* details = exception.GetDetails()) record += std::string(details) + "\n";
    if (exception.GetCode() != 0)
        record += Formatted("HRESULT = %x\n", static_cast<unsigned>(exception.GetCode()));
    record += "\n";
    return record;
}

}  // namespace orvella::diag
