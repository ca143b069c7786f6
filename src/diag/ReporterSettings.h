// What the exception reporter reads from the registry: where to log, which levels to log and
// show, and where support mail goes.
#pragma once

#include <string>

#include "IException.h"
#include "windef.h"

namespace orvella::diag {

struct ReporterSettings {
    std::string logPath;
    int logThreshold = EXCEPTION_WARNING;
    int notifyThreshold = EXCEPTION_ERROR;
    std::string supportAddress = "support@orvella.com";
};

// A stored threshold as a level: 0 INFO, 1 WARNING, 2 and 3 ERROR, 4 SEVERE_ERROR, anything
// else ERROR.
int LevelFromSetting(DWORD stored);

// Reads HKEY_CURRENT_USER\Software\Orvella\Vintor: "HomeDir" (REG_SZ; the log goes to
// HomeDir + "/Logs/Orvella.log"), "ExceptionLogThreshold" and "ExceptionNotifyThreshold"
// (REG_DWORD) and "SupportAddress" (REG_SZ). Anything missing, of another type or unreadable
// keeps its default; the default log is "Orvella.log" in the Orvella home. Creates nothing in
// the registry and never throws.
ReporterSettings ReadReporterSettings() noexcept;

}  // namespace orvella::diag
