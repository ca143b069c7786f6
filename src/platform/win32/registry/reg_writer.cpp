// Writing keys and values in the version-5 .reg format, so that regedit on Windows or Wine reads
// them and every value comes back byte for byte.
#include <cstdio>

#include "reg_format.h"
#include "text_encoding.h"

namespace orvella::platform::registry {
namespace {

constexpr std::string_view kHeader = "Windows Registry Editor Version 5.00";
constexpr std::string_view kNewline = "\r\n";
// Hex data is wrapped once a line reaches this length, so that no line exceeds 80 characters.
constexpr size_t kWrapColumn = 76;

bool IsTextType(DWORD type) {
    return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ;
}

// A REG_SZ goes in quotes only when quoting loses nothing: one terminating NUL, no other NUL,
// no line break, valid UTF-8.
bool CanQuote(const StoredValue& value) {
    const std::string_view data = value.data;
    if (value.type != REG_SZ || data.empty() || data.back() != '\0') return false;
    const std::string_view text = data.substr(0, data.size() - 1);
    return text.find_first_of(std::string_view("\0\r\n", 3)) == std::string_view::npos &&
           IsValidUtf8(text);
}

std::string Quote(std::string_view text) {
    std::string out = "\"";
    for (const char c : text) {
        switch (c) {
            case '\\':
                out += "\\\\";
                break;
            case '"':
                out += "\\\"";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            default:
                out += c;
        }
    }
    return out + "\"";
}

// Appends "xx,xx,..." to `line`, breaking it with "\" and a two-space indent where it grows long.
void AppendHex(std::string& out, std::string line, std::string_view bytes) {
    char hex[4];
    for (size_t i = 0; i < bytes.size(); ++i) {
        std::snprintf(hex, sizeof hex, "%02x", static_cast<unsigned char>(bytes[i]));
        line += hex;
        if (i + 1 == bytes.size()) break;
        line += ',';
        if (line.size() >= kWrapColumn) {
            out += line;
            out += '\\';
            out += kNewline;
            line = "  ";
        }
    }
    out += line;
}

}  // namespace

RegFileWriter::RegFileWriter() : text_(kHeader) {
    text_ += kNewline;
}

void RegFileWriter::Key(std::string_view path) {
    text_ += kNewline;
    text_ += '[';
    text_ += path;
    text_ += ']';
    text_ += kNewline;
}

void RegFileWriter::Value(const StoredValue& value) {
    std::string line = value.name.empty() ? "@" : Quote(value.name);
    line += '=';
    if (CanQuote(value)) {
        text_ += line + Quote(std::string_view(value.data).substr(0, value.data.size() - 1));
    } else if (value.type == REG_DWORD && value.data.size() == 4) {
        const auto byte = [&](int i) {
            return static_cast<DWORD>(static_cast<unsigned char>(value.data[i]));
        };
        char number[16];
        std::snprintf(number, sizeof number, "%08x",
                      byte(0) | (byte(1) << 8) | (byte(2) << 16) | (byte(3) << 24));
        text_ += line + "dword:" + number;
    } else if (value.type == REG_BINARY) {
        AppendHex(text_, line + "hex:", value.data);
    } else {
        char type[24];
        std::snprintf(type, sizeof type, "hex(%x):", static_cast<unsigned>(value.type));
        const std::string bytes =
            IsTextType(value.type) ? Utf16ToLittleEndian(Utf8ToUtf16(value.data)) : value.data;
        AppendHex(text_, line + type, bytes);
    }
    text_ += kNewline;
}

std::string RegFileWriter::Finish() {
    text_ += kNewline;
    return "\xFF\xFE" + Utf16ToLittleEndian(Utf8ToUtf16(text_));
}

}  // namespace orvella::platform::registry
