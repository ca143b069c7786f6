// Mail dates through GMime's lenient date parser.
#include "mail_times.h"

#include <string>

#include "gmime_runtime.h"

namespace orvella::host::mail {

FILETIME FileTimeFromUnix(std::int64_t seconds) {
    constexpr std::int64_t kUnixEpochIn1601 = 11'644'473'600;
    const auto ticks = static_cast<std::uint64_t>((seconds + kUnixEpochIn1601) * 10'000'000);
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

std::optional<std::int64_t> ParseMailDate(std::string_view text) {
    ImportParserOptions();  // GMime initialised
    const std::string copy(text);
    GDateTime* date = g_mime_utils_header_decode_date(copy.c_str());
    if (!date) return std::nullopt;
    const std::int64_t seconds = g_date_time_to_unix(date);
    g_date_time_unref(date);
    // Times before 1601 have no FILETIME.
    if (seconds < -11'644'473'600) return std::nullopt;
    return seconds;
}

std::optional<std::int64_t> ParseReceivedDate(std::string_view received) {
    const size_t semicolon = received.rfind(';');
    if (semicolon == std::string_view::npos) return std::nullopt;
    return ParseMailDate(received.substr(semicolon + 1));
}

}  // namespace orvella::host::mail
