// Runs the orvella program as a user runs it, against a test's temporary home.
#pragma once

#include <string>

#include "temp_home.h"

namespace orvella::testing {

struct CommandResult {
    int status;
    std::string output;  // standard output and standard error together
};

// `orvella --home <home> <args>` through the shell; args are shell words, quoted by the caller.
CommandResult Orvella(const TempHome& home, const std::string& args);

}  // namespace orvella::testing
