// Forked child processes and pipes for the store's durability tests.
#include "child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <exception>
#include <stdexcept>

namespace orvella::testing {

namespace {

void CloseFd(int& fd) {
    if (fd >= 0) close(fd);
    fd = -1;
}

}  // namespace

Pipe::Pipe() {
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) throw std::runtime_error("pipe2 failed");
    read_ = fds[0];
    write_ = fds[1];
}

Pipe::~Pipe() {
    CloseRead();
    CloseWrite();
}

void Pipe::CloseRead() {
    CloseFd(read_);
}

void Pipe::CloseWrite() {
    CloseFd(write_);
}

bool Pipe::Write(std::span<const std::byte> bytes) {
    ssize_t written;
    do {
        written = write(write_, bytes.data(), bytes.size());
    } while (written < 0 && errno == EINTR);
    return written == static_cast<ssize_t>(bytes.size());
}

bool Pipe::ReadUntil(std::chrono::steady_clock::time_point deadline, std::vector<std::byte>& out,
                     std::size_t enough) {
    while (out.size() < enough) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) return true;
        pollfd wait = {read_, POLLIN, 0};
        int ready = poll(&wait, 1, static_cast<int>(left.count()));
        if (ready < 0 && errno == EINTR) continue;
        if (ready <= 0) return ready == 0;
        std::byte chunk[4096];
        ssize_t got = read(read_, chunk, sizeof chunk);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        out.insert(out.end(), chunk, chunk + got);
    }
    return true;
}

void Pipe::ReadToEnd(std::vector<std::byte>& out) {
    for (;;) {
        std::byte chunk[4096];
        ssize_t got = read(read_, chunk, sizeof chunk);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return;
        out.insert(out.end(), chunk, chunk + got);
    }
}

void Pipe::WaitForByteOrEnd() {
    std::byte byte;
    while (read(read_, &byte, 1) < 0 && errno == EINTR) {
    }
}

ChildProcess::ChildProcess(const std::function<int()>& body) {
    const pid_t parent = getpid();
    // Buffered output would otherwise be written twice, once by each process.
    std::fflush(nullptr);
    pid_ = fork();
    if (pid_ < 0) throw std::runtime_error("fork failed");
    if (pid_ > 0) return;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(126);
    int code = 125;
    try {
        code = body();
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "child process failed: %s\n", failure.what());
    }
    std::fflush(nullptr);
    _exit(code);
}

ChildProcess::~ChildProcess() {
    if (reaped_) return;
    Kill();
    Wait();
}

void ChildProcess::Kill() {
    if (!reaped_) kill(pid_, SIGKILL);
}

int ChildProcess::Wait() {
    if (reaped_) return status_;
    while (waitpid(pid_, &status_, 0) < 0 && errno == EINTR) {
    }
    reaped_ = true;
    return status_;
}

std::string DescribeStatus(int status) {
    if (WIFEXITED(status)) return "exited with " + std::to_string(WEXITSTATUS(status));
    if (WIFSIGNALED(status)) return "killed by signal " + std::to_string(WTERMSIG(status));
    return "ended with status " + std::to_string(status);
}

}  // namespace orvella::testing
