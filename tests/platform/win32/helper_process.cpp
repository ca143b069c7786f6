// Running a helper process with pipes on its stdin and stdout.
#include "helper_process.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>

extern char** environ;

namespace orvella::testing {

HelperProcess::HelperProcess(const std::string& program,
                             const std::vector<std::string>& arguments) {
    int toChild[2];
    int fromChild[2];
    if (pipe2(toChild, O_CLOEXEC) != 0 || pipe2(fromChild, O_CLOEXEC) != 0) {
        throw std::runtime_error("pipe failed");
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, toChild[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, fromChild[1], STDOUT_FILENO);
    std::vector<char*> argv{const_cast<char*>(program.c_str())};
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    const int rc = posix_spawn(&pid_, program.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(toChild[0]);
    close(fromChild[1]);
    if (rc != 0) {
        close(toChild[1]);
        close(fromChild[0]);
        pid_ = -1;
        throw std::runtime_error("cannot start " + program);
    }
    input_ = fdopen(toChild[1], "w");
    output_ = fdopen(fromChild[0], "r");
}

HelperProcess::~HelperProcess() {
    if (pid_ > 0) kill(pid_, SIGKILL);
    Reap();
    if (input_) std::fclose(input_);
    if (output_) std::fclose(output_);
}

void HelperProcess::Send(const std::string& line) {
    std::fputs((line + "\n").c_str(), input_);
    std::fflush(input_);
}

std::string HelperProcess::ReadLine() {
    std::string line;
    for (int c = std::fgetc(output_); c != EOF && c != '\n'; c = std::fgetc(output_)) {
        line += static_cast<char>(c);
    }
    return line;
}

void HelperProcess::Kill() {
    if (pid_ > 0) kill(pid_, SIGKILL);
    Reap();
}

int HelperProcess::Finish() {
    if (input_) std::fclose(input_);
    input_ = nullptr;
    return Reap();
}

int HelperProcess::Reap() {
    if (pid_ <= 0) return -1;
    int status = 0;
    while (waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace orvella::testing
