// A helper program run as a second process that the test talks to line by line over pipes.
#pragma once

#include <sys/types.h>

#include <cstdio>
#include <string>
#include <vector>

namespace orvella::testing {

class HelperProcess {
public:
    // Starts `program` with `arguments`; throws std::runtime_error when it cannot.
    HelperProcess(const std::string& program, const std::vector<std::string>& arguments);
    // Ends the input and waits for the process, killing it first if it is still running.
    ~HelperProcess();
    HelperProcess(const HelperProcess&) = delete;
    HelperProcess& operator=(const HelperProcess&) = delete;

    void Send(const std::string& line);
    // The next line the process wrote, without its newline; empty at the end of its output.
    std::string ReadLine();
    std::string Ask(const std::string& line) {
        Send(line);
        return ReadLine();
    }

    // Kills the process with SIGKILL and waits until it is gone.
    void Kill();
    // Ends its input and returns its exit status once it has exited (-1 if a signal ended it).
    int Finish();

private:
    int Reap();

    pid_t pid_ = -1;
    std::FILE* input_ = nullptr;
    std::FILE* output_ = nullptr;
};

}  // namespace orvella::testing
