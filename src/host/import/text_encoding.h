// Text of any declared charset turned into the UTF-8 the store keeps.
#pragma once

#include <string>
#include <string_view>

namespace orvella::host::mail {

// `bytes` in `charset` (null or empty: unknown) as UTF-8. Never fails: bytes that are not
// valid in the declared charset (or an unknown charset) are read as UTF-8 when they are valid
// UTF-8, else as Windows-1252, else as ISO-8859-1, so that every import yields readable text.
std::string ToUtf8(std::string_view bytes, const char* charset);

// The text without white space (spaces, tabs, line ends) at either end.
std::string TrimmedText(std::string_view text);

}  // namespace orvella::host::mail
