// Formatting of log records.
#include "ExceptionRecord.h"

#include <ctime>

#include "TextFormat.h"
#include "calendar_time.h"
#include "winbase.h"

namespace orvella::diag {

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
    const std::tm parts = CalendarTimeParts(now);
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
