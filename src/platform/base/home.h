// The Orvella home directory: where the registry, named mutexes and profiles live on Linux.
// It plays the part of the Windows logon session: processes sharing a home share one registry
// and one set of named mutexes, while separate homes (as in parallel tests) never meet.
#pragma once

#include <filesystem>

namespace orvella::platform {

// The home in force: the one set by SetHomeDirectory, else $ORVELLA_HOME, else
// $XDG_DATA_HOME/orvella, else ~/.local/share/orvella. Created on first use.
// Throws std::runtime_error when it cannot be created.
std::filesystem::path HomeDirectory();

// Overrides the home for this process (the command line's --home, a test's temporary home).
// An empty path returns to the environment's choice. Call before anything opens the registry.
void SetHomeDirectory(const std::filesystem::path& home);

}  // namespace orvella::platform
