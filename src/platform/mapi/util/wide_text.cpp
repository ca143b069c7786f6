// Conversion between wide strings and UTF-8.
#include <cstddef>
#include <cstdint>

#include "mapi_wide_text.h"

namespace orvella::platform::mapi {

std::string WideToUtf8(const WCHAR* text) {
    std::string out;
    for (; *text; ++text) {
        auto c = static_cast<std::uint32_t>(*text);
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else if (c < 0x800) {
            out += static_cast<char>(0xC0 | (c >> 6));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            out += static_cast<char>(0xE0 | (c >> 12));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | (c >> 18));
            out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return out;
}

std::wstring Utf8ToWide(const std::string& text) {
    std::wstring out;
    for (std::size_t i = 0; i < text.size();) {
        auto b = static_cast<unsigned char>(text[i]);
        int extra = b >= 0xF0 ? 3 : b >= 0xE0 ? 2 : b >= 0xC0 ? 1 : 0;
        std::uint32_t c = extra ? b & (0x3F >> extra) : b;
        for (int k = 1; k <= extra && i + k < text.size(); ++k)
            c = (c << 6) | (static_cast<unsigned char>(text[i + k]) & 0x3F);
        out += static_cast<wchar_t>(c);
        i += extra + 1;
    }
    return out;
}

}  // namespace orvella::platform::mapi
