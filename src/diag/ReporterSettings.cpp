// Reading the exception reporter's settings from the product's registry key.
#include "ReporterSettings.h"

#include "home.h"
#include "registry_values.h"

namespace orvella::diag {
namespace {

const char kProductKey[] = "Software\\Orvella\\Vintor";

// On Windows the log defaults to "C:/Orvella.log"; here the Orvella home stands in for the
// root of drive C:, so that a user's log never lands outside their own home.
std::string DefaultLogPath() {
    try {
        return (platform::HomeDirectory() / "Orvella.log").string();
    } catch (...) {
        return "Orvella.log";
    }
}

}  // namespace

int LevelFromSetting(DWORD stored) {
    switch (stored) {
        case 0:
            return EXCEPTION_INFO;
        case 1:
            return EXCEPTION_WARNING;
        case 4:
            return EXCEPTION_SEVERE_ERROR;
        default:
            return EXCEPTION_ERROR;
    }
}

ReporterSettings ReadReporterSettings() noexcept {
    ReporterSettings settings;
    try {
        settings.logPath = DefaultLogPath();
        RegKey owner;
        if (RegOpenKeyExA(HKEY_CURRENT_USER, kProductKey, 0, KEY_READ, owner.put()) !=
            ERROR_SUCCESS)
            return settings;
        HKEY key = owner.get();
        if (auto home = ReadRegString(key, "HomeDir")) settings.logPath = *home + "/Logs/Orvella.log";
        if (auto stored = ReadRegDword(key, "ExceptionLogThreshold"))
            settings.logThreshold = LevelFromSetting(*stored);
        if (auto stored = ReadRegDword(key, "ExceptionNotifyThreshold"))
            settings.notifyThreshold = LevelFromSetting(*stored);
        if (auto address = ReadRegString(key, "SupportAddress")) settings.supportAddress = *address;
    } catch (...) {
        // Out of memory while reading: what was read so far stands.
    }
    return settings;
}

}  // namespace orvella::diag
