// Message bodies as mail programs send them: wrapped plain text, quoted replies, an HTML
// alternative, quoted-printable, and the MIME fields that describe them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orvella::host::generator {

// Paragraphs as plain text: lines wrapped at 72 columns, a blank line between paragraphs.
std::string PlainText(const std::vector<std::string>& paragraphs);
// Each line of `text` behind "> ", as replies quote.
std::string QuotedLines(std::string_view text);
// An HTML document of the paragraphs, then `attribution` and the quoted paragraphs (if any)
// in a block quote.
std::string HtmlText(const std::vector<std::string>& paragraphs, std::string_view attribution,
                     const std::vector<std::string>& quoted);
// Quoted-printable with lines of at most 76 characters.
std::string QuotedPrintable(std::string_view bytes);

struct BodyStyle {
    bool alternative = false;        // multipart/alternative with the HTML after the plain text
    bool quoted_printable = false;   // for a plain part that is not ASCII
    bool latin1_undeclared = false;  // Latin-1 bytes without a charset, as careless mailers send
};

// Appends MIME-Version, the content fields, the blank line and the body. `plain` and `html`
// are UTF-8; `boundary` must not occur in them.
void AppendMimeBody(std::string& out, const std::string& plain, const std::string& html,
                    const BodyStyle& style, std::string_view boundary);

}  // namespace orvella::host::generator
