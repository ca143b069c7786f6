// RFC 2047 and RFC 5322 header writing for the generated mailbox.
#include "header_encoding.h"

#include <cstdint>

namespace orvella::host::generator {
namespace {

constexpr std::size_t kLineLimit = 78;
constexpr std::size_t kWordLimit = 75;  // an encoded word, "=?UTF-8?B?" to "?="
constexpr std::string_view kWordStart[] = {"=?UTF-8?B?", "=?UTF-8?Q?"};
constexpr char kHex[] = "0123456789ABCDEF";

// Bytes of the UTF-8 character that starts with `lead`.
std::size_t CharLength(unsigned char lead) {
    if (lead < 0x80) return 1;
    if (lead >= 0xF0) return 4;
    if (lead >= 0xE0) return 3;
    return 2;
}

bool PlainInQuotedWord(unsigned char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '!' ||
           c == '*' || c == '+' || c == '-' || c == '/';
}

void AppendQuotedWord(std::string& out, std::string_view chunk) {
    for (unsigned char c : chunk) {
        if (c == ' ') {
            out += '_';
        } else if (PlainInQuotedWord(c)) {
            out += static_cast<char>(c);
        } else {
            out += '=';
            out += kHex[c >> 4];
            out += kHex[c & 15];
        }
    }
}

std::size_t EncodedSize(std::string_view chunk, WordEncoding encoding) {
    if (encoding == WordEncoding::Base64) return (chunk.size() + 2) / 3 * 4;
    std::size_t size = 0;
    for (unsigned char c : chunk) size += c == ' ' || PlainInQuotedWord(c) ? 1 : 3;
    return size;
}

bool NeedsQuotes(std::string_view name) {
    for (char c : name) {
        if (std::string_view("()<>[]:;@\\,.\"").find(c) != std::string_view::npos) return true;
    }
    return false;
}

std::string Quoted(std::string_view name) {
    std::string out = "\"";
    for (char c : name) {
        if (c == '"' || c == '\\') out += '\\';
        out += c;
    }
    return out + "\"";
}

}  // namespace

bool IsAscii(std::string_view text) {
    for (unsigned char c : text) {
        if (c >= 0x80) return false;
    }
    return true;
}

std::optional<std::string> ToLatin1(std::string_view utf8) {
    std::string out;
    out.reserve(utf8.size());
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        const auto c = static_cast<unsigned char>(utf8[i]);
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else if ((c == 0xC2 || c == 0xC3) && i + 1 < utf8.size()) {
            const auto next = static_cast<unsigned char>(utf8[++i]);
            out += static_cast<char>(((c & 0x03) << 6) | (next & 0x3F));
        } else {
            return std::nullopt;
        }
    }
    return out;
}

std::string Base64(std::string_view bytes) {
    static constexpr char kAlphabet[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    out.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t left = bytes.size() - i;
        std::uint32_t group = static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i]))
                              << 16;
        if (left > 1)
            group |= static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i + 1])) << 8;
        if (left > 2) group |= static_cast<unsigned char>(bytes[i + 2]);
        out += kAlphabet[group >> 18];
        out += kAlphabet[(group >> 12) & 63];
        out += left > 1 ? kAlphabet[(group >> 6) & 63] : '=';
        out += left > 2 ? kAlphabet[group & 63] : '=';
    }
    return out;
}

std::string EncodedWords(std::string_view utf8, WordEncoding encoding) {
    if (IsAscii(utf8)) return std::string(utf8);
    const std::string_view start = kWordStart[encoding == WordEncoding::Base64 ? 0 : 1];
    const std::size_t room = kWordLimit - start.size() - 2;
    std::string out;
    std::size_t at = 0;
    while (at < utf8.size()) {
        // Whole characters only: a decoder joins adjacent words but not split characters.
        std::size_t end = at;
        while (end < utf8.size()) {
            const std::size_t next =
                std::min(utf8.size(), end + CharLength(static_cast<unsigned char>(utf8[end])));
            if (EncodedSize(utf8.substr(at, next - at), encoding) > room) break;
            end = next;
        }
        const std::string_view chunk = utf8.substr(at, end - at);
        if (!out.empty()) out += ' ';
        out += start;
        if (encoding == WordEncoding::Base64) {
            out += Base64(chunk);
        } else {
            AppendQuotedWord(out, chunk);
        }
        out += "?=";
        at = end;
    }
    return out;
}

std::string UnstructuredText(std::string_view utf8, HeaderText how) {
    if (how == HeaderText::Raw8Bit) {
        if (std::optional<std::string> latin1 = ToLatin1(utf8)) return *latin1;
    }
    return EncodedWords(utf8, WordEncoding::Base64);
}

std::string Mailbox(std::string_view name, std::string_view address, HeaderText how) {
    const std::string bracketed = "<" + std::string(address) + ">";
    if (name.empty()) return std::string(address);
    if (IsAscii(name)) {
        return (NeedsQuotes(name) ? Quoted(name) : std::string(name)) + " " + bracketed;
    }
    if (how == HeaderText::Raw8Bit) {
        if (std::optional<std::string> latin1 = ToLatin1(name)) {
            return Quoted(*latin1) + " " + bracketed;
        }
    }
    return EncodedWords(name, WordEncoding::Quoted) + " " + bracketed;
}

void AppendField(std::string& out, std::string_view name, std::string_view value) {
    out += name;
    out += ':';
    std::size_t column = name.size() + 1;
    std::size_t at = 0;
    bool first = true;
    while (at < value.size() || first) {
        // The next word: up to a space outside quotes.
        std::size_t end = at;
        bool quoted = false;
        while (end < value.size() && (quoted || value[end] != ' ')) {
            if (value[end] == '"') quoted = !quoted;
            if (value[end] == '\\' && end + 1 < value.size()) ++end;
            ++end;
        }
        const std::string_view word = value.substr(at, end - at);
        if (!first && column + 1 + word.size() > kLineLimit) {
            out += "\n";
            column = 0;
        }
        if (!word.empty() || !first) {
            out += ' ';
            out += word;
            column += 1 + word.size();
        }
        first = false;
        at = end + 1;
    }
    out += '\n';
}

}  // namespace orvella::host::generator
