// Helpers of the mutex tests: running a call on another thread, and a thread that holds a mutex
// until it is told to let go.
#pragma once

#include <future>
#include <thread>
#include <utility>

#include "winbase.h"

namespace orvella::testing {

// Runs `call` on a new thread and returns its result once the thread has ended.
template <typename Call>
auto OnOtherThread(Call call) {
    return std::async(std::launch::async, std::move(call)).get();
}

// WaitForSingleObject(mutex, milliseconds) on another thread, which releases the mutex again
// before it ends if the wait acquired it.
inline DWORD WaitFromOtherThread(HANDLE mutex, DWORD milliseconds) {
    return OnOtherThread([=] {
        const DWORD result = WaitForSingleObject(mutex, milliseconds);
        if (result == WAIT_OBJECT_0 || result == WAIT_ABANDONED) ReleaseMutex(mutex);
        return result;
    });
}

// A thread that waits for the mutex without time-out and holds it until LetGo.
class Holder {
public:
    explicit Holder(HANDLE mutex)
        : thread_([this, mutex] {
              const DWORD result = WaitForSingleObject(mutex, INFINITE);
              acquired_.set_value(result);
              letGo_.get_future().wait();
              if (result == WAIT_OBJECT_0 || result == WAIT_ABANDONED) ReleaseMutex(mutex);
          }) {}
    ~Holder() { LetGo(); }
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;

    // The holder's wait result, once it has it.
    DWORD Acquired() { return acquiredResult_.get(); }

    // Releases the mutex and ends the thread.
    void LetGo() {
        if (!thread_.joinable()) return;
        letGo_.set_value();
        thread_.join();
    }

private:
    std::promise<DWORD> acquired_;
    std::shared_future<DWORD> acquiredResult_ = acquired_.get_future().share();
    std::promise<void> letGo_;
    std::thread thread_;
};

}  // namespace orvella::testing
