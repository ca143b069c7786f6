// Forked copies of a store test that write the store from another process, and the pipes they
// report through. Linux only, as the store's file locking is what these tests exercise.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace orvella::testing {

// A pipe between a test and its child processes. Both ends close on destruction.
class Pipe {
public:
    Pipe();
    ~Pipe();
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    void CloseRead();
    void CloseWrite();
    // Writes all of `bytes` with one write (atomic up to PIPE_BUF bytes); false when it failed.
    bool Write(std::span<const std::byte> bytes);
    // Appends what arrives until `deadline`, until `out` holds `enough` bytes, or until the end
    // of the pipe; false at the end (every writer closed its end).
    bool ReadUntil(std::chrono::steady_clock::time_point deadline, std::vector<std::byte>& out,
                   std::size_t enough = SIZE_MAX);
    // Appends everything until the end of the pipe.
    void ReadToEnd(std::vector<std::byte>& out);
    // Blocks until a byte arrives or the pipe ends (used as a start gate: the test closes its
    // writing end to release every waiting child at once).
    void WaitForByteOrEnd();

private:
    int read_ = -1;
    int write_ = -1;
};

// A forked copy of the test process that runs `body` and exits with its result, never returning
// into the test runner (so the child leaves the temporary home and the test's objects alone).
// The parent must hold no store open while forking: a store file is shared process-wide and its
// connection must not cross a fork. The child dies with the parent. The destructor kills and
// reaps a child that is still running.
class ChildProcess {
public:
    explicit ChildProcess(const std::function<int()>& body);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    void Kill();
    // Waits for the child to end (once; later calls repeat the answer); its wait status.
    int Wait();

private:
    pid_t pid_ = -1;
    bool reaped_ = false;
    int status_ = 0;
};

// "exited with 0", "killed by signal 9": how a child ended, for failure messages.
std::string DescribeStatus(int status);

}  // namespace orvella::testing
