// Splitting mbox files.
#include "mbox_reader.h"

#include <strings.h>

namespace orvella::host::mail {
namespace {

bool IsQuotedFrom(std::string_view line) {
    size_t quotes = 0;
    while (quotes < line.size() && line[quotes] == '>') ++quotes;
    return quotes > 0 && line.substr(quotes, 5) == "From ";
}

// Whether the header block of `text` has a Status field holding R (seen).
bool MarkedRead(std::string_view text) {
    size_t at = 0;
    while (at < text.size()) {
        const size_t end = std::min(text.find('\n', at), text.size());
        std::string_view line = text.substr(at, end - at);
        at = end + 1;
        if (line.empty() || line == "\r") return false;
        if (line.size() > 7 && strncasecmp(line.data(), "Status:", 7) == 0) {
            return line.substr(7).find('R') != std::string_view::npos;
        }
    }
    return false;
}

}  // namespace

bool IsMbox(std::string_view content) {
    return content.substr(0, 5) == "From ";
}

void ForEachMboxMessage(std::string_view content, const std::function<void(MboxMessage)>& each) {
    MboxMessage current;
    bool open = false;
    bool after_blank = true;
    auto finish = [&] {
        if (!open) return;
        // The empty line before the next envelope belongs to the file, not the message.
        if (current.text.ends_with("\r\n\r\n"))
            current.text.resize(current.text.size() - 2);
        else if (current.text.ends_with("\n\n"))
            current.text.pop_back();
        current.read = MarkedRead(current.text);
        each(std::move(current));
        current = MboxMessage();
    };
    size_t at = 0;
    while (at < content.size()) {
        const size_t end = content.find('\n', at);
        const size_t next = end == std::string_view::npos ? content.size() : end + 1;
        const std::string_view line = content.substr(at, next - at);
        at = next;
        if (after_blank && line.starts_with("From ")) {
            finish();
            open = true;
            after_blank = false;
            continue;
        }
        after_blank = line == "\n" || line == "\r\n";
        if (!open) continue;
        current.text.append(IsQuotedFrom(line) ? line.substr(1) : line);
    }
    finish();
}

}  // namespace orvella::host::mail
