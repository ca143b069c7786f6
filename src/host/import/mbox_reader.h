// Messages of an mbox file: split at "From " lines, quoting undone.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace orvella::host::mail {

// Whether the bytes open as an mbox does, with a "From " envelope line.
bool IsMbox(std::string_view content);

struct MboxMessage {
    std::string text;   // the message without its envelope line, ">From " lines unquoted
    bool read = false;  // its Status header holds R
};

// Calls `each` for every message in order. A "From " line starts a message at the start of the
// file or after an empty line (mboxrd and mboxo alike); one level of '>' is taken off lines
// that read ">From ", ">>From " and so on.
void ForEachMboxMessage(std::string_view content, const std::function<void(MboxMessage)>& each);

}  // namespace orvella::host::mail
