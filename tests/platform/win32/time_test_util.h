// Helpers of the time tests: SYSTEMTIME comparison and printing, and a time zone set for one
// scope.
#pragma once

#include <cstdlib>
#include <optional>
#include <ostream>
#include <string>

#include "windef.h"

inline bool operator==(const SYSTEMTIME& a, const SYSTEMTIME& b) {
    return a.wYear == b.wYear && a.wMonth == b.wMonth && a.wDayOfWeek == b.wDayOfWeek &&
           a.wDay == b.wDay && a.wHour == b.wHour && a.wMinute == b.wMinute &&
           a.wSecond == b.wSecond && a.wMilliseconds == b.wMilliseconds;
}

inline void PrintTo(const SYSTEMTIME& t, std::ostream* out) {
    *out << t.wYear << '-' << t.wMonth << '-' << t.wDay << " (weekday " << t.wDayOfWeek << ") "
         << t.wHour << ':' << t.wMinute << ':' << t.wSecond << '.' << t.wMilliseconds;
}

namespace orvella::testing {

// Sets $TZ for the scope and restores it afterwards. It deliberately does not call tzset: the
// time functions must notice the change by themselves.
class ScopedTimeZone {
public:
    explicit ScopedTimeZone(const char* zone) {
        if (const char* old = std::getenv("TZ")) previous_ = old;
        setenv("TZ", zone, 1);
    }
    ~ScopedTimeZone() {
        if (previous_) {
            setenv("TZ", previous_->c_str(), 1);
        } else {
            unsetenv("TZ");
        }
    }
    ScopedTimeZone(const ScopedTimeZone&) = delete;
    ScopedTimeZone& operator=(const ScopedTimeZone&) = delete;

private:
    std::optional<std::string> previous_;
};

}  // namespace orvella::testing
