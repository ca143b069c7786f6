// The orvella program run through popen, its output and exit status collected.
#include "run_orvella.h"

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <sstream>

namespace orvella::testing {

namespace {

CommandResult Output(const std::string& command) {
    FILE* pipe = popen(command.c_str(), "r");
    CommandResult run{-1, {}};
    if (!pipe) return run;
    std::array<char, 4096> buffer{};
    size_t n;
    while ((n = fread(buffer.data(), 1, buffer.size(), pipe)) > 0)
        run.output.append(buffer.data(), n);
    const int raw = pclose(pipe);
    run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    return run;
}

}  // namespace

CommandResult Orvella(const TempHome& home, const std::string& args) {
    return Orvella(home.path(), args);
}

CommandResult Orvella(const std::filesystem::path& home, const std::string& args) {
    return Output(std::string(ORVELLA_BINARY) + " --home " + ShellWord(home.string()) + " " + args +
                  " 2>&1");
}

std::string ShellWord(const std::string& word) {
    std::string quoted = "'";
    for (char c : word) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

std::vector<std::string> ShellWords(const std::string& line) {
    std::istringstream printed(Output("printf '%s\\n' " + line).output);
    std::vector<std::string> words;
    for (std::string word; std::getline(printed, word);) words.push_back(word);
    return words;
}

}  // namespace orvella::testing
