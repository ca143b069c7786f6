// Registry text: 8-bit names and strings (UTF-8 bytes) against the UTF-16 of .reg files, and the
// case folding under which names compare.
#pragma once

#include <string>
#include <string_view>

namespace orvella::platform::registry {

// True when `bytes` is well-formed UTF-8 (no overlong forms, surrogates or code points past
// U+10FFFF).
bool IsValidUtf8(std::string_view bytes);

// Converts 8-bit text to UTF-16. Every byte that is not part of a well-formed UTF-8 sequence
// becomes the lone surrogate U+DC00 + byte (U+DC80..U+DCFF), so any byte string survives the
// trip to UTF-16 and back unchanged.
std::u16string Utf8ToUtf16(std::string_view bytes);

// The inverse of Utf8ToUtf16: a lone surrogate U+DC80..U+DCFF becomes its byte again; any other
// lone surrogate (which only text from elsewhere holds) is written in its three-byte form.
std::string Utf16ToUtf8(std::u16string_view text);

// UTF-16 code units as little-endian bytes, and back (`bytes` must have an even size).
std::string Utf16ToLittleEndian(std::u16string_view text);
std::u16string LittleEndianToUtf16(std::string_view bytes);

// The key under which a name compares: each character in upper case (Unicode simple mapping),
// bytes that are not UTF-8 as they are.
std::string FoldCase(std::string_view name);

}  // namespace orvella::platform::registry
