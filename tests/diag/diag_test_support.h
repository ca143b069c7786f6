// What the diagnostics tests share: a fresh home with the product's registry key, a fixed
// clock, time zone and locale, reading the log, and the error dialog's caption.
#pragma once

#include <gtest/gtest.h>

#include <clocale>
#include <filesystem>
#include <memory>
#include <string>

#include "clock.h"
#include "temp_home.h"
#include "time_test_util.h"
#include "windef.h"

namespace orvella::testing {

inline constexpr const char* kErrorDialogCaption = "Orvella Unexpected Condition";

// Thursday 7 March 2024, 14:05:09 UTC.
inline constexpr platform::FileTimeTicks kReportTime =
    platform::kUnixEpochTicks + 1709820309ull * platform::kTicksPerSecond;
// kReportTime as "%c" shows it in the C locale, in UTC.
inline constexpr const char* kReportTimeText = "Thu Mar  7 14:05:09 2024";

// Values of HKEY_CURRENT_USER\Software\Orvella\Vintor, created with the key when missing.
void SetProductDword(const char* name, DWORD value);
void SetProductString(const char* name, const std::string& value);

// The whole file; empty when it does not exist.
std::string ReadWholeFile(const std::filesystem::path& path);

// Sets LC_TIME for the scope and restores the previous locale afterwards.
class ScopedTimeLocale {
public:
    explicit ScopedTimeLocale(const char* locale);
    ~ScopedTimeLocale();
    ScopedTimeLocale(const ScopedTimeLocale&) = delete;
    ScopedTimeLocale& operator=(const ScopedTimeLocale&) = delete;

private:
    std::string previous_;
};

// UTC, the C locale and the clock at kReportTime, for the scope.
struct FixedReportTime {
    ScopedTimeZone zone{"UTC0"};
    ScopedTimeLocale locale{"C"};
    platform::ScopedTestClock clock{kReportTime};
};

// A fresh home at a fixed time. Reporters are built by each test after it has written the
// registry values it wants.
class ReporterTest : public ::testing::Test {
protected:
    std::filesystem::path DefaultLog() const { return home_.path() / "Orvella.log"; }

    TempHome home_;
    FixedReportTime time_;
};

}  // namespace orvella::testing
