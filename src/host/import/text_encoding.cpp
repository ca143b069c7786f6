// Charset conversion through GLib's iconv, with the fallbacks real mail needs.
#include "text_encoding.h"

#include <glib.h>
#include <strings.h>

#include <cctype>

namespace orvella::host::mail {
namespace {

bool IsUtf8Name(const char* charset) {
    return strcasecmp(charset, "utf-8") == 0 || strcasecmp(charset, "utf8") == 0;
}

bool IsAsciiName(const char* charset) {
    return strcasecmp(charset, "us-ascii") == 0 || strcasecmp(charset, "ascii") == 0 ||
           strcasecmp(charset, "ANSI_X3.4-1968") == 0;
}

bool Convert(std::string_view bytes, const char* from, std::string& out) {
    gsize written = 0;
    GError* error = nullptr;
    gchar* converted = g_convert(bytes.data(), static_cast<gssize>(bytes.size()), "UTF-8", from,
                                 nullptr, &written, &error);
    if (!converted) {
        g_clear_error(&error);
        return false;
    }
    out.assign(converted, written);
    g_free(converted);
    return true;
}

}  // namespace

std::string ToUtf8(std::string_view bytes, const char* charset) {
    const bool valid = g_utf8_validate(bytes.data(), static_cast<gssize>(bytes.size()), nullptr);
    // ASCII and UTF-8 need no conversion when the bytes are what they claim.
    if (valid && (!charset || !*charset || IsUtf8Name(charset) || IsAsciiName(charset))) {
        return std::string(bytes);
    }
    std::string out;
    if (charset && *charset && !IsUtf8Name(charset) && !IsAsciiName(charset) &&
        Convert(bytes, charset, out)) {
        return out;
    }
    if (valid) return std::string(bytes);
    if (Convert(bytes, "WINDOWS-1252", out)) return out;
    Convert(bytes, "ISO-8859-1", out);  // every byte is a character in ISO-8859-1
    return out;
}

std::string TrimmedText(std::string_view text) {
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front())))
        text.remove_prefix(1);
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back())))
        text.remove_suffix(1);
    return std::string(text);
}

}  // namespace orvella::host::mail
