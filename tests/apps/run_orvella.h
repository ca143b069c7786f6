// Runs the orvella program as a user runs it, against a test's temporary home.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "temp_home.h"

namespace orvella::testing {

struct CommandResult {
    int status;
    std::string output;  // standard output and standard error together
};

// `orvella --home <home> <args>` through the shell; args are shell words, quoted by the caller.
CommandResult Orvella(const TempHome& home, const std::string& args);
CommandResult Orvella(const std::filesystem::path& home, const std::string& args);

// One shell word that the shell reads back as `word`, whatever it holds.
std::string ShellWord(const std::string& word);

// The words a shell makes of `line` (none of them may hold a line break).
std::vector<std::string> ShellWords(const std::string& line);

}  // namespace orvella::testing
