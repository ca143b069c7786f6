// The orvella program run through popen, its output and exit status collected.
#include "run_orvella.h"

#include <sys/wait.h>

#include <array>
#include <cstdio>

namespace orvella::testing {

CommandResult Orvella(const TempHome& home, const std::string& args) {
    const std::string command =
        std::string(ORVELLA_BINARY) + " --home '" + home.path().string() + "' " + args + " 2>&1";
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

}  // namespace orvella::testing
