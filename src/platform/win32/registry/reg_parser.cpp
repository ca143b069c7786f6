// Reading .reg files: encodings, the header, key lines, value lines and continued hex data, each
// checked so that a malformed or cut-short file is refused with the line at fault.
#include <algorithm>
#include <cctype>

#include "reg_file.h"
#include "reg_format.h"
#include "text_encoding.h"

namespace orvella::platform::registry {
namespace {

constexpr std::string_view kVersion5Header = "Windows Registry Editor Version 5.00";
constexpr std::string_view kVersion4Header = "REGEDIT4";

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

std::string_view TrimLeft(std::string_view s) {
    while (!s.empty() && IsBlank(s.front())) s.remove_prefix(1);
    return s;
}

std::string_view TrimRight(std::string_view s) {
    while (!s.empty() && IsBlank(s.back())) s.remove_suffix(1);
    return s;
}

std::string_view Trim(std::string_view s) {
    return TrimRight(TrimLeft(s));
}

int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

bool StartsWithNoCase(std::string_view s, std::string_view prefix) {
    if (s.size() < prefix.size()) return false;
    for (size_t i = 0; i < prefix.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(s[i])) != prefix[i]) return false;
    }
    return true;
}

class Parser {
public:
    Parser(std::string_view text, const std::string& source) : source_(source) {
        while (!text.empty()) {
            const size_t end = text.find('\n');
            std::string_view line = text.substr(0, end);
            if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
            lines_.push_back(line);
            if (end == std::string_view::npos) break;
            text.remove_prefix(end + 1);
        }
    }

    std::vector<RegFileChange> Run() {
        const std::string_view header = lines_.empty() ? "" : TrimRight(lines_[0]);
        if (header == kVersion5Header) {
            utf16Text_ = true;
        } else if (header != kVersion4Header) {
            Fail(1, "not a registry file: the first line must be \"" +
                        std::string(kVersion5Header) + "\" or \"REGEDIT4\"");
        }
        for (index_ = 1; index_ < lines_.size(); ++index_) {
            const std::string_view line = TrimLeft(lines_[index_]);
            if (line.empty() || line.front() == ';') continue;
            if (line.front() == '[') {
                KeyLine(TrimRight(line));
            } else if (line.front() == '"' || line.front() == '@') {
                if (!inKey_) Fail(LineNumber(), "a value line must follow a [KEY] line");
                ValueLine(line);
            } else {
                Fail(LineNumber(), "unexpected text; expected [KEY], \"name\"=data or @=data");
            }
        }
        return std::move(changes_);
    }

    [[noreturn]] void Fail(size_t line, const std::string& what) const {
        throw RegistryError(ERROR_INVALID_DATA, source_ + ":" + std::to_string(line) + ": " + what);
    }

private:
    int LineNumber() const { return static_cast<int>(index_ + 1); }

    void KeyLine(std::string_view line) {
        if (line.back() != ']') Fail(LineNumber(), "the key line has no closing ]");
        std::string_view inner = line.substr(1, line.size() - 2);
        RegFileChange change;
        change.kind = RegFileChange::kOpenKey;
        change.line = LineNumber();
        if (!inner.empty() && inner.front() == '-') {
            change.kind = RegFileChange::kDeleteKey;
            inner.remove_prefix(1);
        }
        RegistryKeyPath parsed;
        try {
            parsed = ParseRegistryKeyPath(inner);
        } catch (const RegistryError& e) {
            Fail(LineNumber(), e.what());
        }
        change.root = *PredefinedRoot(parsed.root);
        SplitKeyPath(parsed.subKey, change.path);
        if (change.kind == RegFileChange::kDeleteKey && change.path.empty()) {
            Fail(LineNumber(), "a root key cannot be deleted");
        }
        inKey_ = change.kind == RegFileChange::kOpenKey;
        changes_.push_back(std::move(change));
    }

    void ValueLine(std::string_view line) {
        RegFileChange change;
        change.line = LineNumber();
        size_t pos = 0;
        if (line.front() == '@') {
            pos = 1;
        } else {
            change.name = Quoted(line, pos);
        }
        std::string_view rest = TrimLeft(line.substr(pos));
        if (rest.empty() || rest.front() != '=')
            Fail(LineNumber(), "expected = after the value name");
        rest = Trim(rest.substr(1));
        change.kind = RegFileChange::kSetValue;
        if (rest == "-") {
            change.kind = RegFileChange::kDeleteValue;
        } else if (!rest.empty() && rest.front() == '"') {
            size_t end = 0;
            change.type = REG_SZ;
            change.data = Quoted(rest, end);
            change.data += '\0';
            if (!Trim(rest.substr(end)).empty())
                Fail(LineNumber(), "unexpected text after the string");
        } else if (StartsWithNoCase(rest, "dword:")) {
            change.type = REG_DWORD;
            const DWORD number = HexNumber(Trim(rest.substr(6)), "dword:");
            for (int shift = 0; shift < 32; shift += 8)
                change.data += static_cast<char>(number >> shift);
        } else if (StartsWithNoCase(rest, "hex:")) {
            change.type = REG_BINARY;
            change.data = HexBytes(rest.substr(4));
        } else if (StartsWithNoCase(rest, "hex(")) {
            const size_t close = rest.find("):");
            if (close == std::string_view::npos)
                Fail(LineNumber(), "expected hex(TYPE): before the data");
            change.type = HexNumber(rest.substr(4, close - 4), "hex(TYPE)");
            const int first = LineNumber();
            change.data = HexBytes(rest.substr(close + 2));
            if (utf16Text_ && (change.type == REG_SZ || change.type == REG_EXPAND_SZ ||
                               change.type == REG_MULTI_SZ)) {
                if (change.data.size() % 2 != 0) {
                    Fail(first, "the UTF-16 text of a hex(" + std::to_string(change.type) +
                                    ") value has an odd number of bytes");
                }
                change.data = Utf16ToUtf8(LittleEndianToUtf16(change.data));
            }
        } else {
            Fail(LineNumber(),
                 "unrecognised data; expected \"string\", dword:, hex:, hex(TYPE): or -");
        }
        changes_.push_back(std::move(change));
    }

    // The quoted string at line[pos], with \\ \" \n \r unescaped; pos moves past it.
    std::string Quoted(std::string_view line, size_t& pos) {
        std::string out;
        for (++pos; pos < line.size(); ++pos) {
            const char c = line[pos];
            if (c == '"') {
                ++pos;
                return out;
            }
            if (c != '\\') {
                out += c;
                continue;
            }
            if (++pos == line.size()) break;
            switch (line[pos]) {
                case '\\':
                    out += '\\';
                    break;
                case '"':
                    out += '"';
                    break;
                case 'n':
                    out += '\n';
                    break;
                case 'r':
                    out += '\r';
                    break;
                default:
                    Fail(LineNumber(), std::string("unknown escape \\") + line[pos] +
                                           " in a string (write a backslash as \\\\)");
            }
        }
        Fail(LineNumber(), "the string has no closing quote");
    }

    DWORD HexNumber(std::string_view digits, const char* what) {
        if (digits.empty() || digits.size() > 8) {
            Fail(LineNumber(), std::string(what) + " needs 1 to 8 hex digits");
        }
        DWORD number = 0;
        for (const char c : digits) {
            const int digit = HexDigit(c);
            if (digit < 0) Fail(LineNumber(), std::string(what) + " needs 1 to 8 hex digits");
            number = (number << 4) | static_cast<DWORD>(digit);
        }
        return number;
    }

    // Comma-separated two-digit hex bytes; a line ending in '\' continues on the next line.
    std::string HexBytes(std::string_view text) {
        std::string bytes;
        while (true) {
            text = Trim(text);
            const bool continued = !text.empty() && text.back() == '\\';
            if (continued) text.remove_suffix(1);
            size_t pos = 0;
            while (true) {
                while (pos < text.size() && IsBlank(text[pos])) ++pos;
                if (pos == text.size()) break;
                const int high = HexDigit(text[pos]);
                const int low = pos + 1 < text.size() ? HexDigit(text[pos + 1]) : -1;
                if (high < 0 || low < 0 ||
                    (pos + 2 < text.size() && HexDigit(text[pos + 2]) >= 0)) {
                    Fail(LineNumber(),
                         "expected hex bytes written as two digits each, separated by commas");
                }
                bytes += static_cast<char>(high * 16 + low);
                pos += 2;
                while (pos < text.size() && IsBlank(text[pos])) ++pos;
                if (pos == text.size()) break;
                if (text[pos] != ',') Fail(LineNumber(), "expected a comma between hex bytes");
                ++pos;
            }
            if (!continued) return bytes;
            if (++index_ == lines_.size()) {
                Fail(index_, "the file ends inside hex data continued with \\ (is it cut short?)");
            }
            text = lines_[index_];
        }
    }

    std::string source_;
    std::vector<std::string_view> lines_;
    std::vector<RegFileChange> changes_;
    size_t index_ = 0;
    bool utf16Text_ = false;
    bool inKey_ = false;
};

// The file as 8-bit text, whatever its encoding.
std::string DecodeText(std::string_view bytes, const std::string& source) {
    if (bytes.starts_with("\xFE\xFF")) {
        throw RegistryError(ERROR_INVALID_DATA,
                            source +
                                ":1: UTF-16 big-endian text is not supported; save the file "
                                "as UTF-16LE or UTF-8");
    }
    const bool bom = bytes.starts_with("\xFF\xFE");
    if (bom || (bytes.size() >= 2 && bytes[0] != '\0' && bytes[1] == '\0')) {
        if (bom) bytes.remove_prefix(2);
        const size_t whole = bytes.size() - bytes.size() % 2;
        std::string text = Utf16ToUtf8(LittleEndianToUtf16(bytes.substr(0, whole)));
        if (whole != bytes.size()) {
            const size_t line = 1 + std::count(text.begin(), text.end(), '\n');
            throw RegistryError(
                ERROR_INVALID_DATA,
                source + ":" + std::to_string(line) +
                    ": the UTF-16 text ends in half a character (is it cut short?)");
        }
        return text;
    }
    if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
    return std::string(bytes);
}

}  // namespace

std::vector<RegFileChange> ParseRegFile(std::string_view bytes, const std::string& source) {
    const std::string text = DecodeText(bytes, source);
    return Parser(text, source).Run();
}

}  // namespace orvella::platform::registry
