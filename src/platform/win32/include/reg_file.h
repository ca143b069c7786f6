// The registry for people and tools: key paths as text, failures as exceptions with readable
// messages, and export and import in the .reg text format that Windows and Wine regedit use.
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

#include "winreg.h"

namespace orvella::platform {

// A registry failure: the registry result code and a message fit to show to a person.
class RegistryError : public std::runtime_error {
public:
    RegistryError(LONG code, const std::string& message)
        : std::runtime_error(message), code_(code) {}
    LONG code() const { return code_; }

private:
    LONG code_;
};

// A key path as text: "ROOT\sub\key", ROOT being HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE,
// HKEY_CLASSES_ROOT or HKCU, HKLM, HKCR (any case). One trailing '\' is ignored.
struct RegistryKeyPath {
    HKEY root = nullptr;
    std::string subKey;  // "" for the root itself
    // The path with the root's long name: "HKEY_CURRENT_USER\sub\key".
    std::string ToString() const;
};

// Throws RegistryError (ERROR_INVALID_PARAMETER) for an unknown root or a malformed path.
RegistryKeyPath ParseRegistryKeyPath(std::string_view text);

// A sentence describing `code`: the message of the calling thread's last failure of a registry
// call when it failed with this code (a damaged database is named there), else a general text.
std::string DescribeRegistryError(LONG code);

// Writes the whole registry (HKEY_CURRENT_USER, then HKEY_LOCAL_MACHINE; HKEY_CLASSES_ROOT is only
// a view of those) or one key with everything below it to `file`: "Windows Registry Editor
// Version 5.00", UTF-16LE with a byte-order mark and CRLF line ends, as regedit writes it. Every
// value comes back byte for byte on import: strings are written quoted only when they are
// NUL-terminated UTF-8 without other NULs or line breaks, else as hex(1)/hex(2)/hex(7) with their
// text in UTF-16LE; bytes that are not UTF-8 travel as the lone surrogates U+DC80..U+DCFF (also in
// names). A REG_DWORD of 4 bytes is written as dword:, of any other size as hex(4):. Value names
// escape '\' and '"', and LF and CR as \n and \r. One consistent snapshot, written to a temporary
// file that then replaces `file`.
// Throws RegistryError: ERROR_FILE_NOT_FOUND when the key does not exist, a database failure's
// code, ERROR_CANTWRITE when the file cannot be written.
void ExportRegistry(const std::filesystem::path& file, std::string_view keyPath = {});

// Applies a .reg file ("Windows Registry Editor Version 5.00" or "REGEDIT4"): UTF-16LE with a
// byte-order mark, or UTF-8 with or without one. Keys are created as needed, "[-KEY]" deletes a
// key with everything below it, "name"=- and @=- delete a value; hex data may continue over
// lines ending in '\'; lines starting with ';' are comments. The whole file is read and checked
// first and then applied in one transaction: on any error nothing changes.
// Throws RegistryError: ERROR_INVALID_DATA with "FILE:LINE: what is wrong" for a malformed or
// truncated file, ERROR_FILE_NOT_FOUND when it cannot be read, a database failure's code.
void ImportRegistry(const std::filesystem::path& file);

}  // namespace orvella::platform
