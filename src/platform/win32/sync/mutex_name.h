// Where a named mutex lives: <home>/mutex/<the name made safe as a file name>.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace orvella::platform::sync {

// The name as a file name: letters, digits, '-', '_' and inner '.' stay; every other byte
// becomes %XX. Distinct names give distinct file names; very long ones are shortened and
// completed by a hash of the whole name.
std::string MutexFileName(std::string_view name);

// The directory of the named mutexes of the current home (not created here).
std::filesystem::path MutexDirectory();

}  // namespace orvella::platform::sync
