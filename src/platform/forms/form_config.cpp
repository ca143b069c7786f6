// The .cfg reader: sections and entries of the INI layout, the [Description] entries checked.
#include "form_config.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <map>

#include "ascii_case.h"
#include "hex.h"

using orvella::platform::AsciiLower;

namespace orvella::platform::forms {
namespace {

std::string Trim(const std::string& text) {
    auto space = [](unsigned char c) { return std::isspace(c) != 0; };
    auto begin = std::find_if_not(text.begin(), text.end(), space);
    auto end = std::find_if_not(text.rbegin(), text.rend(), space).base();
    return begin < end ? std::string(begin, end) : std::string();
}

// Entries by lower-case name, per lower-case section name; a repeated entry keeps the last.
using Sections = std::map<std::string, std::map<std::string, std::string>>;

[[noreturn]] void Fail(const std::string& path, const std::string& problem) {
    throw FormConfigError(path + ": " + problem);
}

Sections ReadSections(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) Fail(path, "the form configuration file cannot be opened");
    Sections sections;
    std::map<std::string, std::string>* current = nullptr;
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        std::string text = Trim(line);
        if (text.empty() || text.front() == ';') continue;
        if (text.front() == '[' && text.back() == ']') {
            current = &sections[AsciiLower(Trim(text.substr(1, text.size() - 2)))];
            continue;
        }
        auto equals = text.find('=');
        if (equals == std::string::npos || equals == 0 || !current)
            Fail(path, "line " + std::to_string(number) + " is neither a section nor an entry");
        (*current)[AsciiLower(Trim(text.substr(0, equals)))] = Trim(text.substr(equals + 1));
    }
    if (in.bad()) Fail(path, "the form configuration file cannot be read");
    return sections;
}

std::optional<std::string> Entry(const std::map<std::string, std::string>& section,
                                 const char* name) {
    auto found = section.find(name);
    if (found == section.end()) return std::nullopt;
    return found->second;
}

// "{00020D31-0000-0000-C000-000000000046}": the first three groups are the numbers Data1..3,
// the last two the eight bytes of Data4 in order.
std::optional<GUID> ParseGuid(const std::string& text) {
    static constexpr std::size_t kGroups[] = {8, 4, 4, 4, 12};
    if (text.size() != 38 || text.front() != '{' || text.back() != '}') return std::nullopt;
    std::string digits;
    std::size_t at = 1;
    for (std::size_t i = 0; i < std::size(kGroups); ++i) {
        if (i > 0 && text[at++] != '-') return std::nullopt;
        digits += text.substr(at, kGroups[i]);
        at += kGroups[i];
    }
    auto bytes = HexDecode(digits);
    if (!bytes) return std::nullopt;
    const auto& b = *bytes;
    GUID guid = {};
    guid.Data1 = (DWORD{b[0]} << 24) | (DWORD{b[1]} << 16) | (DWORD{b[2]} << 8) | b[3];
    guid.Data2 = static_cast<WORD>((b[4] << 8) | b[5]);
    guid.Data3 = static_cast<WORD>((b[6] << 8) | b[7]);
    std::copy(b.begin() + 8, b.end(), guid.Data4);
    return guid;
}

}  // namespace

FormDescription ReadFormConfig(const std::string& path) {
    Sections sections = ReadSections(path);
    auto description = sections.find("description");
    if (description == sections.end()) Fail(path, "there is no [Description] section");
    const auto& entries = description->second;

    FormDescription form;
    auto message_class = Entry(entries, "messageclass");
    if (!message_class) Fail(path, "there is no MessageClass in the [Description] section");
    if (message_class->empty() || message_class->front() == '.' || message_class->back() == '.')
        Fail(path, "MessageClass \"" + *message_class + "\" is not a message class");
    form.message_class = *message_class;
    form.display_name = Entry(entries, "displayname");
    form.version = Entry(entries, "version");
    form.locale = Entry(entries, "locale");
    form.category = Entry(entries, "category");
    form.subcategory = Entry(entries, "subcategory");
    form.contact = Entry(entries, "contact");
    if (auto hidden = Entry(entries, "hidden")) {
        if (*hidden != "0" && *hidden != "1")
            Fail(path, "Hidden is \"" + *hidden + "\", not 0 or 1");
        form.hidden = *hidden == "1";
    }
    if (auto clsid = Entry(entries, "clsid")) {
        form.clsid = ParseGuid(*clsid);
        if (!form.clsid) Fail(path, "CLSID \"" + *clsid + "\" is not a GUID");
    }
    return form;
}

}  // namespace orvella::platform::forms
