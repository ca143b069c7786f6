// Plain text from an HTML body, for messages that carry no text/plain part.
#pragma once

#include <string>
#include <string_view>

namespace orvella::host::mail {

// The text a reader sees: tags dropped, script and style content dropped, line breaks for
// <br> and block ends, character references decoded, runs of spaces collapsed, blank lines
// collapsed to one. Input and output are UTF-8.
std::string HtmlToText(std::string_view html);

}  // namespace orvella::host::mail
