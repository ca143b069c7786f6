// Reading a form configuration file (.cfg): the INI-style description of a form that
// InstallForm registers.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>

#include "guiddef.h"

namespace orvella::platform::forms {

// What the [Description] section says about a form. Only MessageClass is required; an entry
// the file leaves out stays empty. The [Platforms] and [Platform.*] sections (form server
// binaries) and every other section are read over and ignored.
struct FormDescription {
    std::string message_class;                // MessageClass
    std::optional<std::string> display_name;  // DisplayName
    std::optional<std::string> version;       // Version
    std::optional<std::string> locale;        // Locale (checked for presence only, not kept)
    std::optional<std::string> category;      // Category
    std::optional<std::string> subcategory;   // Subcategory
    std::optional<std::string> contact;       // Contact
    std::optional<bool> hidden;               // Hidden: 0 or 1
    std::optional<GUID> clsid;                // CLSID: {xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}
};

// A file that cannot be read or does not describe a form. what() is
// "<path>: <problem>", the text InstallForm hands to GetLastError.
class FormConfigError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Reads the file at `path`. Section and entry names compare without regard to case; blank lines
// and lines starting with ';' are skipped; values are trimmed. Throws FormConfigError when the
// file cannot be opened, a line is neither a section, an entry nor a comment, the [Description]
// section or its MessageClass is missing, the message class is malformed (empty, or a dot at
// either end), Hidden is not 0 or 1, or CLSID is not a braced GUID.
FormDescription ReadFormConfig(const std::string& path);

}  // namespace orvella::platform::forms
