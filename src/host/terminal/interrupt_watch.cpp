// The SIGINT handler of the interrupt watch: it only writes a byte to a pipe (or, for a Ctrl-C
// already handed on, restores the earlier disposition and raises again), which is all a signal
// handler may safely do; the watch's thread does the rest.
#include "interrupt_watch.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace orvella::host::terminal {
namespace {

constexpr char kInterrupted = 'i';
constexpr char kStop = 's';

static_assert(std::atomic<bool>::is_always_lock_free, "the handler needs a lock-free flag");

std::atomic<bool> g_exists{false};
int g_pipe[2] = {-1, -1};             // open for the watch's lifetime, before any handler can run
struct sigaction g_previous;          // the disposition before arming; written only while disarmed
std::atomic<bool> g_handedOn{false};  // a Ctrl-C went to the watch since the last Arm

extern "C" void OnInterrupt(int) {
    if (g_handedOn.exchange(true)) {
        // A second Ctrl-C: taken as the process would take it, once this handler returns.
        sigaction(SIGINT, &g_previous, nullptr);
        raise(SIGINT);
        return;
    }
    const int saved = errno;
    const char byte = kInterrupted;
    [[maybe_unused]] const ssize_t written = write(g_pipe[1], &byte, 1);
    errno = saved;
}

void InstallHandler() {
    struct sigaction action = {};
    action.sa_handler = OnInterrupt;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
}

}  // namespace

InterruptWatch::InterruptWatch(std::function<bool()> onInterrupt)
    : onInterrupt_(std::move(onInterrupt)) {
    if (g_exists.exchange(true)) throw std::logic_error("an interrupt watch exists already");
    if (pipe2(g_pipe, O_CLOEXEC) != 0) {
        const int error = errno;
        g_exists = false;
        throw std::system_error(error, std::generic_category(), "interrupt watch pipe");
    }
    thread_ = std::thread([this] { Watch(); });
}

InterruptWatch::~InterruptWatch() {
    {
        std::lock_guard lock(mutex_);
        if (armed_ > 0) sigaction(SIGINT, &g_previous, nullptr);
        armed_ = 0;
    }
    const char byte = kStop;
    while (write(g_pipe[1], &byte, 1) < 0 && errno == EINTR) {
    }
    thread_.join();
    close(g_pipe[0]);
    close(g_pipe[1]);
    g_pipe[0] = g_pipe[1] = -1;
    g_exists = false;
}

void InterruptWatch::Arm() {
    std::lock_guard lock(mutex_);
    if (armed_++ > 0) return;
    g_handedOn = false;
    sigaction(SIGINT, nullptr, &g_previous);
    InstallHandler();
}

void InterruptWatch::Disarm() {
    std::lock_guard lock(mutex_);
    if (armed_ == 0 || --armed_ > 0) return;
    sigaction(SIGINT, &g_previous, nullptr);
}

void InterruptWatch::Watch() {
    for (;;) {
        char byte = 0;
        const ssize_t got = read(g_pipe[0], &byte, 1);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0 || byte == kStop) return;
        if (!onInterrupt_()) PassOn();
    }
}

// Nothing took the Ctrl-C: deliver it with the disposition the process had before arming. When
// the process survives it (SIGINT ignored or handled elsewhere), the watch takes the next one.
void InterruptWatch::PassOn() {
    std::lock_guard lock(mutex_);
    if (armed_ > 0) sigaction(SIGINT, &g_previous, nullptr);
    raise(SIGINT);
    if (armed_ > 0) {
        g_handedOn = false;
        InstallHandler();
    }
}

}  // namespace orvella::host::terminal
