// Dates of mail headers as the store keeps times: FILETIME, UTC.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "mapidefs.h"

namespace orvella::host::mail {

// Seconds since 1970 (UTC) as a FILETIME (100 ns since 1601).
FILETIME FileTimeFromUnix(std::int64_t seconds);

// An RFC 5322 date ("Fri, 7 Dec 2001 10:06:42 -0800 (PST)"); nullopt when it cannot be read.
std::optional<std::int64_t> ParseMailDate(std::string_view text);

// The date of a Received header: the text after its last ';'.
std::optional<std::int64_t> ParseReceivedDate(std::string_view received);

}  // namespace orvella::host::mail
