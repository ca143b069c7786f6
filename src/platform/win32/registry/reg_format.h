// The .reg text format on its own, apart from the database: a file parsed into the changes it
// asks for, and keys and values written as regedit writes them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "registry_store.h"
#include "registry_view.h"

namespace orvella::platform::registry {

// One line's request, in file order.
struct RegFileChange {
    enum Kind { kOpenKey, kDeleteKey, kSetValue, kDeleteValue };
    Kind kind = kOpenKey;
    int line = 0;
    Root root = Root::kCurrentUser;  // keys
    KeyPath path;                    // keys
    std::string name;                // values; "" is the default value
    DWORD type = REG_NONE;           // kSetValue
    std::string data;                // kSetValue, in the registry's 8-bit form
};

// Parses a whole .reg file (the formats and encodings ImportRegistry accepts). Every value line
// follows a key line. Throws orvella::platform::RegistryError (ERROR_INVALID_DATA) with
// "SOURCE:LINE: what is wrong" for anything malformed or cut short.
std::vector<RegFileChange> ParseRegFile(std::string_view bytes, const std::string& source);

// Builds a version-5 .reg file: the header, then each key followed by its values.
class RegFileWriter {
public:
    RegFileWriter();
    // `path` as the file shows it: "HKEY_CURRENT_USER\Software\Orvella".
    void Key(std::string_view path);
    void Value(const StoredValue& value);
    // The file's bytes: UTF-16LE with a byte-order mark.
    std::string Finish();

private:
    std::string text_;  // 8-bit, converted to UTF-16 at the end
};

}  // namespace orvella::platform::registry
