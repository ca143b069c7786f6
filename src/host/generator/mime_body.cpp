// Plain text, HTML and MIME framing for generated messages.
#include "mime_body.h"

#include <optional>

#include "header_encoding.h"

namespace orvella::host::generator {
namespace {

constexpr std::size_t kWrapColumn = 72;
constexpr std::size_t kQuotedPrintableLine = 76;
constexpr char kHex[] = "0123456789ABCDEF";

void AppendWrapped(std::string& out, std::string_view line) {
    std::size_t column = 0;
    std::size_t at = 0;
    while (at < line.size()) {
        std::size_t end = line.find(' ', at);
        if (end == std::string_view::npos) end = line.size();
        const std::string_view word = line.substr(at, end - at);
        if (column > 0 && column + 1 + word.size() > kWrapColumn) {
            out += '\n';
            column = 0;
        } else if (column > 0) {
            out += ' ';
            ++column;
        }
        out += word;
        column += word.size();
        at = end + 1;
    }
    out += '\n';
}

std::string Escaped(std::string_view text) {
    std::string out;
    for (char c : text) {
        switch (c) {
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '&':
                out += "&amp;";
                break;
            case '"':
                out += "&quot;";
                break;
            case '\n':
                out += "<br>\n";
                break;
            default:
                out += c;
        }
    }
    return out;
}

void AppendParagraphs(std::string& out, const std::vector<std::string>& paragraphs) {
    for (const std::string& paragraph : paragraphs) out += "<p>" + Escaped(paragraph) + "</p>\n";
}

const char* CharsetOf(std::string_view text) {
    return IsAscii(text) ? "us-ascii" : "utf-8";
}

// The part's fields and encoded content (without the blank line between them).
struct EncodedPart {
    std::string fields;
    std::string content;
};

EncodedPart Encode(std::string_view subtype, const std::string& text, bool quoted_printable) {
    EncodedPart part;
    part.fields =
        "Content-Type: text/" + std::string(subtype) + "; charset=\"" + CharsetOf(text) + "\"\n";
    if (IsAscii(text)) {
        part.fields += "Content-Transfer-Encoding: 7bit\n";
        part.content = text;
    } else if (quoted_printable) {
        part.fields += "Content-Transfer-Encoding: quoted-printable\n";
        part.content = QuotedPrintable(text);
    } else {
        part.fields += "Content-Transfer-Encoding: 8bit\n";
        part.content = text;
    }
    return part;
}

}  // namespace

std::string PlainText(const std::vector<std::string>& paragraphs) {
    std::string out;
    for (const std::string& paragraph : paragraphs) {
        if (!out.empty()) out += '\n';
        std::size_t at = 0;
        while (at <= paragraph.size()) {
            std::size_t end = paragraph.find('\n', at);
            if (end == std::string::npos) end = paragraph.size();
            AppendWrapped(out, std::string_view(paragraph).substr(at, end - at));
            at = end + 1;
        }
    }
    return out;
}

std::string QuotedLines(std::string_view text) {
    std::string out;
    std::size_t at = 0;
    while (at < text.size()) {
        std::size_t end = text.find('\n', at);
        if (end == std::string_view::npos) end = text.size();
        const std::string_view line = text.substr(at, end - at);
        out += line.empty() ? ">" : "> ";
        out += line;
        out += '\n';
        at = end + 1;
    }
    return out;
}

std::string HtmlText(const std::vector<std::string>& paragraphs, std::string_view attribution,
                     const std::vector<std::string>& quoted) {
    std::string out =
        "<html>\n<head><meta http-equiv=\"Content-Type\" content=\"text/html; "
        "charset=utf-8\"></head>\n<body>\n";
    AppendParagraphs(out, paragraphs);
    if (!quoted.empty()) {
        out += "<div>" + Escaped(attribution) + "</div>\n";
        out +=
            "<blockquote style=\"margin:0 0 0 .8ex;border-left:1px solid #ccc;"
            "padding-left:1ex\">\n";
        AppendParagraphs(out, quoted);
        out += "</blockquote>\n";
    }
    return out + "</body>\n</html>\n";
}

std::string QuotedPrintable(std::string_view bytes) {
    std::string out;
    std::size_t column = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const auto c = static_cast<unsigned char>(bytes[i]);
        if (c == '\n') {
            out += '\n';
            column = 0;
            continue;
        }
        const bool line_end = i + 1 == bytes.size() || bytes[i + 1] == '\n';
        const bool literal =
            (c >= 33 && c <= 126 && c != '=') || ((c == ' ' || c == '\t') && !line_end);
        const std::size_t width = literal ? 1 : 3;
        if (column + width > kQuotedPrintableLine - 1) {  // room for the soft break's "="
            out += "=\n";
            column = 0;
        }
        if (literal) {
            out += static_cast<char>(c);
        } else {
            out += '=';
            out += kHex[c >> 4];
            out += kHex[c & 15];
        }
        column += width;
    }
    return out;
}

void AppendMimeBody(std::string& out, const std::string& plain, const std::string& html,
                    const BodyStyle& style, std::string_view boundary) {
    out += "MIME-Version: 1.0\n";
    if (style.latin1_undeclared) {
        const std::optional<std::string> latin1 = ToLatin1(plain);
        out += "Content-Type: text/plain\nContent-Transfer-Encoding: 8bit\n\n";
        out += latin1 ? *latin1 : plain;
        return;
    }
    const EncodedPart text = Encode("plain", plain, style.quoted_printable);
    if (!style.alternative) {
        out += text.fields + "\n" + text.content;
        return;
    }
    const EncodedPart rich = Encode("html", html, true);
    const std::string delimiter = "--" + std::string(boundary);
    out += "Content-Type: multipart/alternative;\n boundary=\"" + std::string(boundary) + "\"\n\n";
    out += "This is a multi-part message in MIME format.\n\n";
    out += delimiter + "\n" + text.fields + "\n" + text.content + "\n";
    out += delimiter + "\n" + rich.fields + "\n" + rich.content + "\n";
    out += delimiter + "--\n";
}

}  // namespace orvella::host::generator
