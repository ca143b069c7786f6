// orvella reg: read and change the registry from the command line, and move it in and out of .reg
// files. Works through the same Reg* functions the add-in calls.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "ascii_case.h"
#include "commands.h"
#include "hex.h"
#include "prop_text.h"
#include "reg_file.h"
#include "winreg.h"

namespace orvella::cli {
namespace {

using platform::RegistryKeyPath;

struct Value {
    std::string name;
    DWORD type = REG_NONE;
    std::string data;
};

[[noreturn]] void Fail(const std::string& what, LONG code) {
    throw CommandError(what + ": " + platform::DescribeRegistryError(code));
}

RegistryKeyPath ParseKey(const std::string& text) {
    try {
        return platform::ParseRegistryKeyPath(text);
    } catch (const platform::RegistryError& e) {
        throw CommandError(e.what());
    }
}

// "@" names the default value, as in .reg files.
std::string ValueName(const std::string& argument) {
    return argument == "@" ? "" : argument;
}

std::string ShownName(const std::string& name) {
    return name.empty() ? "@" : name;
}

// An open key, closed when it goes out of scope.
class OpenKey {
public:
    OpenKey(const RegistryKeyPath& path, REGSAM access, bool create) {
        const LONG rc = create ? RegCreateKeyExA(path.root, path.subKey.c_str(), 0, nullptr, 0,
                                                 access, nullptr, &key_, nullptr)
                               : RegOpenKeyExA(path.root, path.subKey.c_str(), 0, access, &key_);
        if (rc != ERROR_SUCCESS) Fail(path.ToString(), rc);
    }
    ~OpenKey() { RegCloseKey(key_); }
    OpenKey(const OpenKey&) = delete;
    OpenKey& operator=(const OpenKey&) = delete;
    HKEY get() const { return key_; }

private:
    HKEY key_ = nullptr;
};

std::optional<Value> QueryValue(HKEY key, const std::string& name) {
    Value value{name};
    DWORD size = 0;
    while (true) {
        const LONG rc = RegQueryValueExA(key, name.c_str(), nullptr, &value.type,
                                         reinterpret_cast<BYTE*>(value.data.data()), &size);
        if (rc == ERROR_FILE_NOT_FOUND) return std::nullopt;
        if (rc == ERROR_SUCCESS && size <= value.data.size()) break;
        if (rc != ERROR_SUCCESS && rc != ERROR_MORE_DATA) Fail("value " + ShownName(name), rc);
        value.data.resize(std::max<size_t>(size, 1));  // another process may grow it meanwhile
    }
    value.data.resize(size);
    return value;
}

std::vector<Value> ListValues(HKEY key) {
    std::vector<Value> values;
    for (DWORD index = 0;; ++index) {
        DWORD nameSize = 0, dataSize = 0;
        LONG rc = RegQueryInfoKeyA(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                   nullptr, &nameSize, &dataSize, nullptr, nullptr);
        if (rc != ERROR_SUCCESS) Fail("listing values", rc);
        std::string name(nameSize + 1, '\0');
        Value value;
        value.data.resize(dataSize);
        DWORD nameLength = nameSize + 1;
        rc = RegEnumValueA(key, index, name.data(), &nameLength, nullptr, &value.type,
                           reinterpret_cast<BYTE*>(value.data.data()), &dataSize);
        if (rc == ERROR_NO_MORE_ITEMS) return values;
        if (rc == ERROR_MORE_DATA) {  // changed by another process meanwhile: ask again
            --index;
            continue;
        }
        if (rc != ERROR_SUCCESS) Fail("listing values", rc);
        value.name.assign(name.data(), nameLength);
        value.data.resize(dataSize);
        values.push_back(std::move(value));
    }
}

std::vector<std::string> ListSubkeys(HKEY key) {
    std::vector<std::string> names;
    for (DWORD index = 0;; ++index) {
        char name[256];
        DWORD length = sizeof name;
        const LONG rc =
            RegEnumKeyExA(key, index, name, &length, nullptr, nullptr, nullptr, nullptr);
        if (rc == ERROR_NO_MORE_ITEMS) return names;
        if (rc != ERROR_SUCCESS) Fail("listing subkeys", rc);
        names.emplace_back(name, length);
    }
}

// ---- showing values ----

std::string TypeName(DWORD type) {
    static const char* const kNames[] = {"REG_NONE",
                                         "REG_SZ",
                                         "REG_EXPAND_SZ",
                                         "REG_BINARY",
                                         "REG_DWORD",
                                         "REG_DWORD_BIG_ENDIAN",
                                         "REG_LINK",
                                         "REG_MULTI_SZ",
                                         "REG_RESOURCE_LIST",
                                         "REG_FULL_RESOURCE_DESCRIPTOR",
                                         "REG_RESOURCE_REQUIREMENTS_LIST",
                                         "REG_QWORD"};
    if (type < std::size(kNames)) return kNames[type];
    char text[32];
    std::snprintf(text, sizeof text, "0x%x", static_cast<unsigned>(type));
    return text;
}

std::string Hex(std::string_view bytes) {
    std::string text;
    char byte[4];
    for (const char c : bytes) {
        std::snprintf(byte, sizeof byte, "%02x", static_cast<unsigned char>(c));
        if (!text.empty()) text += ' ';
        text += byte;
    }
    return text;
}

std::optional<unsigned long long> Number(const Value& value) {
    const size_t size = value.type == REG_DWORD ? 4 : value.type == REG_QWORD ? 8 : 0;
    if (size == 0 || value.data.size() != size) return std::nullopt;
    unsigned long long number = 0;
    for (size_t i = size; i-- > 0;)
        number = (number << 8) | static_cast<unsigned char>(value.data[i]);
    return number;
}

// A REG_SZ or REG_EXPAND_SZ that is one NUL-terminated string.
std::optional<std::string> String(const Value& value) {
    if (value.type != REG_SZ && value.type != REG_EXPAND_SZ) return std::nullopt;
    const std::string_view data = value.data;
    if (data.empty() || data.find('\0') != data.size() - 1) return std::nullopt;
    return std::string(data.substr(0, data.size() - 1));
}

// A REG_MULTI_SZ made of NUL-terminated strings and a final NUL.
std::optional<std::vector<std::string>> Strings(const Value& value) {
    if (value.type != REG_MULTI_SZ || value.data.empty() || value.data.back() != '\0') {
        return std::nullopt;
    }
    std::vector<std::string> items;
    std::string_view rest(value.data);
    while (!rest.empty() && rest.front() != '\0') {
        const size_t end = rest.find('\0');
        items.emplace_back(rest.substr(0, end));
        rest.remove_prefix(end + 1);
    }
    if (rest.size() > 1) return std::nullopt;  // something follows the list's end
    return items;
}

// The data as one line of text.
std::string Shown(const Value& value) {
    if (const auto number = Number(value)) return std::to_string(*number);
    if (const auto text = String(value)) return *text;
    if (const auto items = Strings(value)) {
        std::string joined;
        for (const std::string& item : *items) joined += (joined.empty() ? "" : "\\0") + item;
        return joined;
    }
    return Hex(value.data);
}

nlohmann::json ToJson(const Value& value) {
    nlohmann::json json{
        {"name", value.name}, {"type", TypeName(value.type)}, {"size", value.data.size()}};
    if (const auto number = Number(value)) {
        json["data"] = *number;
    } else if (const auto text = String(value)) {
        json["data"] = *text;
    } else if (const auto items = Strings(value)) {
        json["data"] = *items;
    } else {
        json["hex"] = Hex(value.data);
    }
    return json;
}

// ---- parsing data for set ----

DWORD ParseType(std::string type) {
    type = orvella::platform::AsciiLower(type);
    if (type.starts_with("reg_")) type.erase(0, 4);
    if (type == "sz") return REG_SZ;
    if (type == "expand_sz") return REG_EXPAND_SZ;
    if (type == "multi_sz") return REG_MULTI_SZ;
    if (type == "dword") return REG_DWORD;
    if (type == "qword") return REG_QWORD;
    if (type == "binary") return REG_BINARY;
    if (type == "none") return REG_NONE;
    throw CommandError("unknown type \"" + type +
                       "\": use sz, expand_sz, multi_sz, dword, qword, binary or none");
}

unsigned long long ParseNumber(const std::string& text, unsigned long long max) {
    const bool hex = text.starts_with("0x") || text.starts_with("0X");
    const std::string digits = hex ? text.substr(2) : text;
    unsigned long long number = 0;
    bool ok = !digits.empty();
    for (const char c : digits) {
        const int digit = std::isdigit(static_cast<unsigned char>(c)) ? c - '0'
                          : hex && std::isxdigit(static_cast<unsigned char>(c))
                              ? std::tolower(c) - 'a' + 10
                              : -1;
        const unsigned base = hex ? 16 : 10;
        if (digit < 0 || number > (max - digit) / base) {
            ok = false;
            break;
        }
        number = number * base + digit;
    }
    if (!ok) {
        throw CommandError("\"" + text + "\" is not a number from 0 to " + std::to_string(max) +
                           " (decimal, or hex with 0x)");
    }
    return number;
}

std::string ParseHexBytes(const std::vector<std::string>& arguments) {
    std::string digits;
    for (const std::string& argument : arguments) {
        for (const char c : argument) {
            if (c != ',' && c != ' ' && c != ':') digits += c;
        }
    }
    const auto bytes = platform::HexDecode(digits);
    if (!bytes) {
        const bool all_digits = std::all_of(digits.begin(), digits.end(), [](char c) {
            return std::isxdigit(static_cast<unsigned char>(c)) != 0;
        });
        throw CommandError(all_digits ? "binary data has an odd number of hex digits"
                                      : "binary data is hex bytes such as 01,ff,2a or 01ff2a");
    }
    return {bytes->begin(), bytes->end()};
}

std::string LittleEndian(unsigned long long number, size_t size) {
    std::string bytes;
    for (size_t i = 0; i < size; ++i) bytes += static_cast<char>((number >> (8 * i)) & 0xFF);
    return bytes;
}

std::string EncodeData(DWORD type, const std::vector<std::string>& data) {
    const auto single = [&]() -> const std::string& {
        if (data.size() != 1) throw CommandError("this type takes exactly one DATA argument");
        return data[0];
    };
    switch (type) {
        case REG_SZ:
        case REG_EXPAND_SZ:
            return single() + '\0';
        case REG_DWORD:
            return LittleEndian(ParseNumber(single(), 0xFFFFFFFFULL), 4);
        case REG_QWORD:
            return LittleEndian(ParseNumber(single(), ~0ULL), 8);
        case REG_MULTI_SZ: {
            std::string bytes;
            for (const std::string& item : data) {
                if (item.empty()) throw CommandError("multi_sz items cannot be empty");
                bytes += item + '\0';
            }
            return bytes + '\0';
        }
        default:
            return ParseHexBytes(data);
    }
}

// ---- the commands ----

struct Options {
    std::string key;
    std::string value;
    std::string type;
    std::vector<std::string> data;
    std::string file;
    bool json = false;
};

void Get(const Options& o) {
    const RegistryKeyPath path = ParseKey(o.key);
    OpenKey key(path, KEY_QUERY_VALUE, false);
    const std::string name = ValueName(o.value);
    const std::optional<Value> value = QueryValue(key.get(), name);
    if (!value) {
        throw CommandError(path.ToString() + ": no value " + ShownName(name));
    }
    if (o.json) {
        nlohmann::json json = ToJson(*value);
        json["key"] = path.ToString();
        PrintJson(json);
    } else if (const auto items = Strings(*value)) {
        for (const std::string& item : *items) std::puts(item.c_str());
    } else {
        std::puts(Shown(*value).c_str());
    }
}

void Set(const Options& o) {
    const RegistryKeyPath path = ParseKey(o.key);
    const DWORD type = ParseType(o.type);
    const std::string bytes = EncodeData(type, o.data);
    OpenKey key(path, KEY_SET_VALUE, true);
    const LONG rc = RegSetValueExA(key.get(), ValueName(o.value).c_str(), 0, type,
                                   reinterpret_cast<const BYTE*>(bytes.data()),
                                   static_cast<DWORD>(bytes.size()));
    if (rc != ERROR_SUCCESS) Fail(path.ToString() + " " + ShownName(ValueName(o.value)), rc);
}

void Delete(const Options& o, bool hasValue) {
    const RegistryKeyPath path = ParseKey(o.key);
    if (hasValue) {
        OpenKey key(path, KEY_SET_VALUE, false);
        const std::string name = ValueName(o.value);
        const LONG rc = RegDeleteValueA(key.get(), name.c_str());
        if (rc == ERROR_FILE_NOT_FOUND) {
            throw CommandError(path.ToString() + ": no value " + ShownName(name));
        }
        if (rc != ERROR_SUCCESS) Fail(path.ToString() + " " + ShownName(name), rc);
        return;
    }
    if (path.subKey.empty()) throw CommandError("a root key cannot be deleted");
    const LONG rc = RegDeleteTreeA(path.root, path.subKey.c_str());
    if (rc != ERROR_SUCCESS) Fail(path.ToString(), rc);
}

void List(const Options& o) {
    const RegistryKeyPath path = ParseKey(o.key);
    OpenKey key(path, KEY_READ, false);
    const std::vector<Value> values = ListValues(key.get());
    const std::vector<std::string> subkeys = ListSubkeys(key.get());
    if (o.json) {
        nlohmann::json json{
            {"key", path.ToString()}, {"values", nlohmann::json::array()}, {"subkeys", subkeys}};
        for (const Value& value : values) json["values"].push_back(ToJson(value));
        PrintJson(json);
        return;
    }
    std::puts(path.ToString().c_str());
    for (const Value& value : values) {
        std::printf("    %s    %s    %s\n", ShownName(value.name).c_str(),
                    TypeName(value.type).c_str(), Shown(value).c_str());
    }
    for (const std::string& subkey : subkeys) {
        std::printf("\n%s\\%s\n", path.ToString().c_str(), subkey.c_str());
    }
}

}  // namespace

void AddRegCommands(CLI::App& app) {
    CLI::App* reg = app.add_subcommand("reg", "Read and change the registry");
    reg->require_subcommand(1);
    const auto options = std::make_shared<Options>();
    const char* const keyHelp =
        "Key path: HKCU\\..., HKLM\\..., HKCR\\... (or the long root names)";
    const char* const valueHelp = "Value name; @ is the key's default value";

    CLI::App* get = reg->add_subcommand("get", "Show one value (the default value without VALUE)");
    get->add_option("key", options->key, keyHelp)->required();
    get->add_option("value", options->value, valueHelp);
    get->add_flag("--json", options->json, "Print JSON");
    get->callback([options] { Get(*options); });

    CLI::App* set = reg->add_subcommand(
        "set",
        "Set a value, creating the key as needed. TYPE: sz, expand_sz, multi_sz (each DATA "
        "argument one string), dword or qword (decimal, or hex with 0x), binary or none (hex "
        "bytes such as 01,ff or 01ff)");
    set->add_option("key", options->key, keyHelp)->required();
    set->add_option("name", options->value, valueHelp)->required();
    set->add_option("type", options->type, "Value type")->required();
    set->add_option("data", options->data, "The data")->expected(0, -1);
    set->callback([options] { Set(*options); });

    CLI::App* del = reg->add_subcommand(
        "delete", "Delete a value, or without VALUE the key with everything below it");
    del->add_option("key", options->key, keyHelp)->required();
    CLI::Option* deleteValue = del->add_option("value", options->value, valueHelp);
    del->callback([options, deleteValue] { Delete(*options, deleteValue->count() > 0); });

    CLI::App* list = reg->add_subcommand("list", "Show a key's values and subkeys");
    list->add_option("key", options->key, keyHelp)->required();
    list->add_flag("--json", options->json, "Print JSON");
    list->callback([options] { List(*options); });

    CLI::App* exp = reg->add_subcommand(
        "export", "Write the registry, or one key and everything below it, as a .reg file");
    exp->add_option("file", options->file, "The .reg file to write")->required();
    exp->add_option("key", options->key, keyHelp);
    exp->callback([options] {
        try {
            platform::ExportRegistry(options->file, options->key);
        } catch (const platform::RegistryError& e) {
            throw CommandError(e.what());
        }
    });

    CLI::App* imp = reg->add_subcommand(
        "import", "Apply a .reg file (all of it or, when anything is wrong, none of it)");
    imp->add_option("file", options->file, "The .reg file to read")->required();
    imp->callback([options] {
        try {
            platform::ImportRegistry(options->file);
        } catch (const platform::RegistryError& e) {
            throw CommandError(e.what());
        }
    });
}

}  // namespace orvella::cli
