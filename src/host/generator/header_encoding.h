// Header text as mail programs write it: RFC 2047 encoded words, quoted display names, folded
// lines, and the raw Latin-1 bytes that careless mailers put in headers.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvella::host::generator {

bool IsAscii(std::string_view text);
// The Latin-1 bytes of UTF-8 text; nothing when a character has no Latin-1 byte.
std::optional<std::string> ToLatin1(std::string_view utf8);
std::string Base64(std::string_view bytes);

enum class WordEncoding { Base64, Quoted };
// Non-ASCII UTF-8 text as RFC 2047 encoded words of at most 75 characters, split between
// characters; ASCII text comes back as it is.
std::string EncodedWords(std::string_view utf8, WordEncoding encoding);

// How a name goes into an address field or an unstructured field.
enum class HeaderText {
    Encoded,  // RFC 2047 when not ASCII
    Raw8Bit,  // Latin-1 bytes as they are, when the text has them; else encoded
};
// The text of an unstructured field such as Subject.
std::string UnstructuredText(std::string_view utf8, HeaderText how);
// "Name <address>", "\"Last, First\" <address>" or just the address when there is no name.
std::string Mailbox(std::string_view name, std::string_view address, HeaderText how);

// Appends "Name: value\n" folded at spaces outside quoted strings so that lines keep to 78
// characters where the words allow; unfolding gives `value` back.
void AppendField(std::string& out, std::string_view name, std::string_view value);

}  // namespace orvella::host::generator
