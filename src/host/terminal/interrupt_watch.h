// Ctrl-C as a person's request to cancel: while armed, the first SIGINT is handed to a callback
// on a thread of its own instead of ending the process.
#pragma once

#include <functional>
#include <mutex>
#include <thread>

namespace orvella::host::terminal {

// One may exist per process (it owns the SIGINT disposition while armed); constructing a second
// throws std::logic_error.
//
// While armed, the first SIGINT calls onInterrupt on the watch's thread (never in the signal
// handler). When onInterrupt returns false (there was nothing to cancel), and for every further
// SIGINT until the next Arm, the signal is delivered as if the watch did not exist: with the
// disposition the process had before arming (by default, the process ends by SIGINT). Disarmed,
// the watch leaves SIGINT alone. Arm and Disarm nest; any thread but the watch's may call them.
class InterruptWatch {
public:
    explicit InterruptWatch(std::function<bool()> onInterrupt);
    // Disarms and stops the thread; onInterrupt is not called after it returns.
    ~InterruptWatch();
    InterruptWatch(const InterruptWatch&) = delete;
    InterruptWatch& operator=(const InterruptWatch&) = delete;

    void Arm();
    void Disarm();

private:
    void Watch();
    void PassOn();

    std::function<bool()> onInterrupt_;
    std::mutex mutex_;  // the arming count and the installed handler
    int armed_ = 0;
    std::thread thread_;
};

}  // namespace orvella::host::terminal
