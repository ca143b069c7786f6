// Key paths as text: the root's long or short name, then the subkey path.
#include <array>

#include "reg_file.h"
#include "registry_view.h"
#include "text_encoding.h"

namespace orvella::platform {
namespace {

struct RootAlias {
    std::string_view name;
    registry::Root root;
};

constexpr std::array<RootAlias, 6> kRootAliases{{
    {"HKEY_CURRENT_USER", registry::Root::kCurrentUser},
    {"HKCU", registry::Root::kCurrentUser},
    {"HKEY_LOCAL_MACHINE", registry::Root::kLocalMachine},
    {"HKLM", registry::Root::kLocalMachine},
    {"HKEY_CLASSES_ROOT", registry::Root::kClassesRoot},
    {"HKCR", registry::Root::kClassesRoot},
}};

}  // namespace

std::string RegistryKeyPath::ToString() const {
    const std::optional<registry::Root> known = registry::PredefinedRoot(root);
    std::string text(known ? registry::RootName(*known) : "?");
    if (!subKey.empty()) text += "\\" + subKey;
    return text;
}

RegistryKeyPath ParseRegistryKeyPath(std::string_view text) {
    const size_t split = std::min(text.find('\\'), text.size());
    const std::string rootName = registry::FoldCase(text.substr(0, split));
    for (const RootAlias& alias : kRootAliases) {
        if (rootName != alias.name) continue;
        std::string_view rest = text.substr(std::min(split + 1, text.size()));
        registry::KeyPath path;
        if (registry::SplitKeyPath(rest, path) != ERROR_SUCCESS) {
            throw RegistryError(ERROR_INVALID_PARAMETER,
                                "malformed key path \"" + std::string(text) +
                                    "\": key names are 1 to 255 bytes without line breaks, "
                                    "separated by single backslashes");
        }
        if (!rest.empty() && rest.back() == '\\') rest.remove_suffix(1);
        return RegistryKeyPath{registry::PredefinedHandle(alias.root), std::string(rest)};
    }
    throw RegistryError(ERROR_INVALID_PARAMETER,
                        "unknown registry root in \"" + std::string(text) +
                            "\": use HKEY_CURRENT_USER (HKCU), HKEY_LOCAL_MACHINE (HKLM) or "
                            "HKEY_CLASSES_ROOT (HKCR)");
}

}  // namespace orvella::platform
