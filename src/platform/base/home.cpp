// Resolution of the Orvella home directory.
#include "home.h"

#include <cstdlib>
#include <mutex>
#include <stdexcept>

namespace orvella::platform {
namespace {

std::mutex g_mutex;
std::filesystem::path g_override;

std::filesystem::path FromEnvironment() {
    if (const char* home = std::getenv("ORVELLA_HOME"); home && *home) return home;
    if (const char* xdg = std::getenv("XDG_DATA_HOME"); xdg && *xdg)
        return std::filesystem::path(xdg) / "orvella";
    if (const char* user = std::getenv("HOME"); user && *user)
        return std::filesystem::path(user) / ".local/share/orvella";
    throw std::runtime_error("cannot find the Orvella home: set ORVELLA_HOME or HOME");
}

}  // namespace

std::filesystem::path HomeDirectory() {
    std::filesystem::path home;
    {
        std::lock_guard lock(g_mutex);
        home = g_override.empty() ? FromEnvironment() : g_override;
    }
    std::error_code ec;
    std::filesystem::create_directories(home, ec);
    if (ec) throw std::runtime_error("cannot create the Orvella home " + home.string() + ": " + ec.message());
    return home;
}

void SetHomeDirectory(const std::filesystem::path& home) {
    std::lock_guard lock(g_mutex);
    g_override = home;
}

}  // namespace orvella::platform
