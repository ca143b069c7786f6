// Escaping mutex names into file names.
#include "mutex_name.h"

#include <cstdint>
#include <cstdio>

#include "home.h"

namespace orvella::platform::sync {
namespace {

// Well below the 255 bytes a Linux file name may have.
constexpr size_t kMaxFileName = 200;
constexpr size_t kKeptPrefix = 180;

bool KeepsAsIs(char c, bool first) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '_' || (c == '.' && !first);
}

std::uint64_t Fnv1a(std::string_view text) {
    std::uint64_t hash = 0xcbf29ce484222325ULL;
    for (const char c : text) {
        hash ^= static_cast<unsigned char>(c);
        hash *= 0x100000001b3ULL;
    }
    return hash;
}

}  // namespace

std::string MutexFileName(std::string_view name) {
    std::string escaped;
    escaped.reserve(name.size());
    for (size_t i = 0; i < name.size(); ++i) {
        if (KeepsAsIs(name[i], i == 0)) {
            escaped += name[i];
            continue;
        }
        char code[4];
        std::snprintf(code, sizeof code, "%%%02X", static_cast<unsigned char>(name[i]));
        escaped += code;
    }
    if (escaped.size() <= kMaxFileName) return escaped;
    char hash[20];
    std::snprintf(hash, sizeof hash, "~%016llx", static_cast<unsigned long long>(Fnv1a(name)));
    return escaped.substr(0, kKeptPrefix) + hash;
}

std::filesystem::path MutexDirectory() {
    return HomeDirectory() / "mutex";
}

}  // namespace orvella::platform::sync
