// UTF-8 and UTF-16 conversions that keep every byte, and the case folding of registry names.
#include "text_encoding.h"

#include <locale.h>
#include <wctype.h>

#include <stdexcept>

namespace orvella::platform::registry {
namespace {

constexpr char16_t kEscapeBase = 0xDC00;  // lone surrogates U+DC80..U+DCFF carry stray bytes

// Length of the well-formed UTF-8 sequence at the start of `s` and its code point; 0 when the
// first byte does not start one.
size_t DecodeUtf8(std::string_view s, char32_t& cp) {
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(s[i]); };
    const unsigned char b0 = byte(0);
    if (b0 < 0x80) {
        cp = b0;
        return 1;
    }
    size_t len;
    char32_t min;
    if (b0 >= 0xC2 && b0 <= 0xDF) {
        len = 2, min = 0x80, cp = b0 & 0x1F;
    } else if (b0 >= 0xE0 && b0 <= 0xEF) {
        len = 3, min = 0x800, cp = b0 & 0x0F;
    } else if (b0 >= 0xF0 && b0 <= 0xF4) {
        len = 4, min = 0x10000, cp = b0 & 0x07;
    } else {
        return 0;
    }
    if (s.size() < len) return 0;
    for (size_t i = 1; i < len; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return 0;
        cp = (cp << 6) | (byte(i) & 0x3F);
    }
    if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return 0;
    return len;
}

// Appends `cp` in UTF-8; surrogates are written in their three-byte form too.
void EncodeUtf8(char32_t cp, std::string& out) {
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

// The C.UTF-8 locale's case tables, which cover all of Unicode whatever the process's locale.
locale_t CaseLocale() {
    static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", locale_t{});
    return locale;
}

char32_t UpperCase(char32_t cp) {
    if (cp < 0x80) return (cp >= 'a' && cp <= 'z') ? cp - ('a' - 'A') : cp;
    const locale_t locale = CaseLocale();
    return locale ? static_cast<char32_t>(towupper_l(static_cast<wint_t>(cp), locale)) : cp;
}

// Calls character(cp) for each well-formed UTF-8 sequence of `bytes` and stray(byte) for each
// byte outside one, in order.
template <typename Character, typename Stray>
void ForEachCharacter(std::string_view bytes, Character character, Stray stray) {
    char32_t cp;
    for (size_t i = 0; i < bytes.size();) {
        const size_t len = DecodeUtf8(bytes.substr(i), cp);
        if (len == 0) {
            stray(bytes[i++]);
        } else {
            character(cp);
            i += len;
        }
    }
}

}  // namespace

bool IsValidUtf8(std::string_view bytes) {
    bool valid = true;
    ForEachCharacter(
        bytes, [](char32_t) {}, [&](char) { valid = false; });
    return valid;
}

std::u16string Utf8ToUtf16(std::string_view bytes) {
    std::u16string out;
    out.reserve(bytes.size());
    ForEachCharacter(
        bytes,
        [&](char32_t cp) {
            if (cp < 0x10000) {
                out += static_cast<char16_t>(cp);
                return;
            }
            cp -= 0x10000;
            out += static_cast<char16_t>(0xD800 + (cp >> 10));
            out += static_cast<char16_t>(0xDC00 + (cp & 0x3FF));
        },
        [&](char stray) {
            out += static_cast<char16_t>(kEscapeBase + static_cast<unsigned char>(stray));
        });
    return out;
}

std::string Utf16ToUtf8(std::u16string_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i];
        if (unit >= 0xD800 && unit <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
            text[i + 1] <= 0xDFFF) {
            EncodeUtf8(0x10000 + ((unit - 0xD800) << 10) + (text[i + 1] - 0xDC00), out);
            ++i;
        } else if (unit >= kEscapeBase + 0x80 && unit <= kEscapeBase + 0xFF) {
            out += static_cast<char>(unit - kEscapeBase);
        } else {
            EncodeUtf8(unit, out);
        }
    }
    return out;
}

std::string Utf16ToLittleEndian(std::u16string_view text) {
    std::string out;
    out.reserve(text.size() * 2);
    for (const char16_t unit : text) {
        out += static_cast<char>(unit & 0xFF);
        out += static_cast<char>(unit >> 8);
    }
    return out;
}

std::u16string LittleEndianToUtf16(std::string_view bytes) {
    if (bytes.size() % 2 != 0) throw std::invalid_argument("UTF-16 text of odd length");
    std::u16string out;
    out.reserve(bytes.size() / 2);
    for (size_t i = 0; i < bytes.size(); i += 2) {
        out += static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                     (static_cast<unsigned char>(bytes[i + 1]) << 8));
    }
    return out;
}

std::string FoldCase(std::string_view name) {
    std::string out;
    out.reserve(name.size());
    ForEachCharacter(
        name, [&](char32_t cp) { EncodeUtf8(UpperCase(cp), out); },
        [&](char stray) { out += stray; });
    return out;
}

}  // namespace orvella::platform::registry
