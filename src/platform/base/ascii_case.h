// Case folding of the ASCII letters alone, as mail addresses, header names and registry types
// compare: other bytes (UTF-8 sequences included) stay as they are, whatever the locale.
#pragma once

#include <string>
#include <string_view>

namespace orvella::platform {

std::string AsciiLower(std::string_view text);

}  // namespace orvella::platform
