// A fresh Orvella home in a temporary directory for one test; removed afterwards.
#pragma once

#include <filesystem>

namespace orvella::testing {

// Creates a unique directory under the system temporary directory, makes it the process's
// Orvella home (and $ORVELLA_HOME, so child processes share it), and removes it on destruction.
class TempHome {
public:
    TempHome();
    ~TempHome();
    TempHome(const TempHome&) = delete;
    TempHome& operator=(const TempHome&) = delete;

    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

}  // namespace orvella::testing
