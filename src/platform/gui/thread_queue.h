// Each thread's message queue: messages sent from other threads, posted messages and timers,
// and the modal loop that delivers them to the thread's dialogs.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "winuser.h"

namespace orvella::platform::gui::detail {

class ThreadQueue {
public:
    // The calling thread's queue, made on first use.
    static std::shared_ptr<ThreadQueue> Current();

    bool IsCurrent() const { return std::this_thread::get_id() == thread_; }

    // The thread's open dialogs, innermost last. When the last one goes, work still waiting in
    // the queue is run (it finds its windows gone) so that no sender waits for ever.
    void AddDialog(HWND dialog);
    void RemoveDialog(HWND dialog);
    HWND ActiveDialog() const;

    void Post(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);

    // Runs work on this queue's thread and waits for it, running work sent to the caller's own
    // queue meanwhile; work's exception is rethrown here. Runs at once on the own thread. False,
    // without running work, when the thread has no open dialog to run it for.
    bool Invoke(const std::function<void()>& work);

    void SetTimer(HWND hwnd, UINT_PTR id, UINT elapse, TIMERPROC proc);
    bool KillTimer(HWND hwnd, UINT_PTR id);
    void KillTimers(HWND hwnd);

    // The modal loop: delivers sent work, then posted messages, then due timers, until done()
    // holds. done() is checked under the queue's lock; whoever makes it true calls Wake().
    // untilIdle also returns once no sent work or posted message is waiting.
    void RunUntil(const std::function<bool()>& done, bool untilIdle = false);
    void Wake();

private:
    struct Task {
        const std::function<void()>* work = nullptr;
        std::exception_ptr error;
        bool done = false;  // guarded by the waiter's lock
        std::shared_ptr<ThreadQueue> waiter;
    };
    struct Posted {
        HWND hwnd;
        UINT message;
        WPARAM wParam;
        LPARAM lParam;
    };
    struct Timer {
        std::chrono::milliseconds interval;
        std::chrono::steady_clock::time_point due;
        TIMERPROC proc;
    };
    using TimerKey = std::pair<HWND, UINT_PTR>;

    static void Run(Task& task);
    void WaitFor(const Task& task);
    std::vector<std::shared_ptr<Task>> TakeTasks();

    const std::thread::id thread_ = std::this_thread::get_id();
    mutable std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<std::shared_ptr<Task>> tasks_;
    std::deque<Posted> posted_;
    std::map<TimerKey, Timer> timers_;
    std::vector<HWND> dialogs_;
};

// What the loop takes from the queue, delivered on the owner thread (message_api.cpp).
void DeliverPosted(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);
void DeliverTimer(HWND hwnd, UINT_PTR id, TIMERPROC proc);

}  // namespace orvella::platform::gui::detail
