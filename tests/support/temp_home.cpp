// A fresh Orvella home in a temporary directory for one test.
#include "temp_home.h"

#include <cstdlib>
#include <stdexcept>
#include <string>

#include "home.h"

namespace orvella::testing {

TempHome::TempHome() {
    std::string pattern = (std::filesystem::temp_directory_path() / "orvella-test-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed for " + pattern);
    path_ = pattern;
    platform::SetHomeDirectory(path_);
    setenv("ORVELLA_HOME", path_.c_str(), 1);
}

TempHome::~TempHome() {
    platform::SetHomeDirectory({});
    unsetenv("ORVELLA_HOME");
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
}

}  // namespace orvella::testing
