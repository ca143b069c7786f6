// A small HTML-to-text pass: enough for reading and searching a body, not a renderer.
#include "html_text.h"

#include <glib.h>
#include <strings.h>

#include <array>
#include <cctype>
#include <cstdlib>

namespace orvella::host::mail {
namespace {

// The lower-case tag name at html[at] (just after '<' and an optional '/').
std::string TagName(std::string_view html, size_t at) {
    std::string name;
    while (at < html.size() && (std::isalnum(static_cast<unsigned char>(html[at])))) {
        name += static_cast<char>(std::tolower(static_cast<unsigned char>(html[at++])));
    }
    return name;
}

bool BreaksLine(const std::string& tag) {
    static constexpr std::array<const char*, 14> kBlocks = {
        "br", "p", "div", "tr", "li", "h1", "h2", "h3", "h4", "h5", "h6", "table", "ul", "ol"};
    for (const char* block : kBlocks) {
        if (tag == block) return true;
    }
    return false;
}

void AppendCodePoint(std::string& out, gunichar c) {
    char utf8[6];
    out.append(utf8, static_cast<size_t>(g_unichar_to_utf8(c, utf8)));
}

// Decodes the reference at html[at] == '&'; returns the characters consumed (0: not one).
size_t DecodeReference(std::string_view html, size_t at, std::string& out) {
    const size_t end = html.find(';', at);
    if (end == std::string_view::npos || end - at > 10) return 0;
    const std::string name(html.substr(at + 1, end - at - 1));
    if (!name.empty() && name[0] == '#') {
        const bool hex = name.size() > 1 && (name[1] == 'x' || name[1] == 'X');
        const long code = std::strtol(name.c_str() + (hex ? 2 : 1), nullptr, hex ? 16 : 10);
        if (code <= 0 || code > 0x10FFFF) return 0;
        AppendCodePoint(out, static_cast<gunichar>(code));
        return end - at + 1;
    }
    static constexpr std::array<std::pair<const char*, gunichar>, 8> kNamed = {{{"amp", '&'},
                                                                                {"lt", '<'},
                                                                                {"gt", '>'},
                                                                                {"quot", '"'},
                                                                                {"apos", '\''},
                                                                                {"nbsp", ' '},
                                                                                {"copy", 0xA9},
                                                                                {"euro", 0x20AC}}};
    for (const auto& [entity, code] : kNamed) {
        if (strcasecmp(name.c_str(), entity) == 0) {
            AppendCodePoint(out, code);
            return end - at + 1;
        }
    }
    return 0;
}

// Collapses spaces within lines and blank lines between them; trims the ends.
std::string Tidy(const std::string& raw) {
    std::string out;
    bool space = false;
    int newlines = 0;
    for (const char c : raw) {
        if (c == '\n') {
            space = false;
            ++newlines;
        } else if (c == ' ' || c == '\t' || c == '\r') {
            space = !out.empty() && newlines == 0;
        } else {
            if (newlines > 0 && !out.empty())
                out.append(newlines > 1 ? "\r\n\r\n" : "\r\n");
            else if (space)
                out += ' ';
            newlines = 0;
            space = false;
            out += c;
        }
    }
    return out;
}

}  // namespace

std::string HtmlToText(std::string_view html) {
    std::string raw;
    raw.reserve(html.size());
    size_t at = 0;
    while (at < html.size()) {
        const char c = html[at];
        if (c == '<') {
            const bool closing = at + 1 < html.size() && html[at + 1] == '/';
            const std::string tag = TagName(html, at + (closing ? 2 : 1));
            size_t end = html.find('>', at);
            if (end == std::string_view::npos) break;
            if (!closing && (tag == "script" || tag == "style")) {
                const size_t close = html.find("</", end);
                end = close == std::string_view::npos ? html.size() : html.find('>', close);
                if (end == std::string_view::npos) break;
            }
            if (BreaksLine(tag)) raw += '\n';
            at = end + 1;
        } else if (c == '&') {
            const size_t used = DecodeReference(html, at, raw);
            if (used == 0) raw += c;
            at += used == 0 ? 1 : used;
        } else {
            raw += (c == '\n' || c == '\r') ? ' ' : c;
            ++at;
        }
    }
    return Tidy(raw);
}

}  // namespace orvella::host::mail
