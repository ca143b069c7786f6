// The text of one log record: the header that names a failure's level, type and place, and the
// record around it with the local time, message, details and code.
#pragma once

#include <string>

#include "IException.h"

namespace orvella::diag {

// "INFO: (", "WARNING: (", "SEVERE_ERROR: (", and "ERROR: (" for any other level.
const char* LevelName(int level);

// "ERROR: (MAPI, MsgProcessor, 175)\n"; "file not specified" and "line # not specified" stand
// in for a missing module or a line of 0. Two reports of the same place have equal headers.
std::string ExceptionHeader(const IException& exception);

// The local time now (GetLocalTime) as the C library's "%c" shows it in the current LC_TIME
// locale.
std::string LocalTimeText();

// Time, "\n", header, then the message, the details and "HRESULT = %x" (each only when present,
// each ending in "\n"), then an empty line.
std::string ExceptionRecord(const IException& exception, const std::string& time,
                            const std::string& header);

}  // namespace orvella::diag
