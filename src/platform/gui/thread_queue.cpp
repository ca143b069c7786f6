// Each thread's message queue and the modal loop that drains it.
#include "thread_queue.h"

#include <algorithm>

namespace orvella::platform::gui::detail {

std::shared_ptr<ThreadQueue> ThreadQueue::Current() {
    thread_local std::shared_ptr<ThreadQueue> queue = std::make_shared<ThreadQueue>();
    return queue;
}

void ThreadQueue::AddDialog(HWND dialog) {
    std::lock_guard lock(mutex_);
    dialogs_.push_back(dialog);
}

void ThreadQueue::RemoveDialog(HWND dialog) {
    std::vector<std::shared_ptr<Task>> orphans;
    {
        std::lock_guard lock(mutex_);
        std::erase(dialogs_, dialog);
        if (dialogs_.empty()) {
            orphans = TakeTasks();
            posted_.clear();
        }
    }
    for (const auto& task : orphans) Run(*task);
}

HWND ThreadQueue::ActiveDialog() const {
    std::lock_guard lock(mutex_);
    return dialogs_.empty() ? nullptr : dialogs_.back();
}

std::vector<std::shared_ptr<ThreadQueue::Task>> ThreadQueue::TakeTasks() {
    std::vector<std::shared_ptr<Task>> taken(tasks_.begin(), tasks_.end());
    tasks_.clear();
    return taken;
}

void ThreadQueue::Post(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
    {
        std::lock_guard lock(mutex_);
        posted_.push_back({hwnd, message, wParam, lParam});
    }
    wake_.notify_all();
}

bool ThreadQueue::Invoke(const std::function<void()>& work) {
    if (IsCurrent()) {
        work();
        return true;
    }
    auto task = std::make_shared<Task>();
    task->work = &work;
    task->waiter = Current();
    {
        std::lock_guard lock(mutex_);
        if (dialogs_.empty()) return false;
        tasks_.push_back(task);
    }
    wake_.notify_all();
    task->waiter->WaitFor(*task);
    if (task->error) std::rethrow_exception(task->error);
    return true;
}

void ThreadQueue::Run(Task& task) {
    try {
        (*task.work)();
    } catch (...) {
        task.error = std::current_exception();
    }
    ThreadQueue& waiter = *task.waiter;
    {
        std::lock_guard lock(waiter.mutex_);
        task.done = true;
    }
    waiter.wake_.notify_all();
}

void ThreadQueue::WaitFor(const Task& task) {
    std::unique_lock lock(mutex_);
    while (!task.done) {
        if (tasks_.empty()) {
            wake_.wait(lock);
            continue;
        }
        std::shared_ptr<Task> incoming = tasks_.front();
        tasks_.pop_front();
        lock.unlock();
        Run(*incoming);
        lock.lock();
    }
}

void ThreadQueue::SetTimer(HWND hwnd, UINT_PTR id, UINT elapse, TIMERPROC proc) {
    const auto interval = std::chrono::milliseconds(elapse);
    {
        std::lock_guard lock(mutex_);
        timers_[{hwnd, id}] = {interval, std::chrono::steady_clock::now() + interval, proc};
    }
    wake_.notify_all();
}

bool ThreadQueue::KillTimer(HWND hwnd, UINT_PTR id) {
    std::lock_guard lock(mutex_);
    return timers_.erase({hwnd, id}) > 0;
}

void ThreadQueue::KillTimers(HWND hwnd) {
    std::lock_guard lock(mutex_);
    std::erase_if(timers_, [hwnd](const auto& entry) { return entry.first.first == hwnd; });
}

void ThreadQueue::Wake() {
    { std::lock_guard lock(mutex_); }
    wake_.notify_all();
}

void ThreadQueue::RunUntil(const std::function<bool()>& done, bool untilIdle) {
    std::unique_lock lock(mutex_);
    while (!done()) {
        if (!tasks_.empty()) {
            std::shared_ptr<Task> task = tasks_.front();
            tasks_.pop_front();
            lock.unlock();
            Run(*task);
            lock.lock();
            continue;
        }
        if (!posted_.empty()) {
            const Posted message = posted_.front();
            posted_.pop_front();
            lock.unlock();
            if (message.hwnd)
                DeliverPosted(message.hwnd, message.message, message.wParam, message.lParam);
            lock.lock();
            continue;
        }
        if (untilIdle) return;
        auto next = std::min_element(
            timers_.begin(), timers_.end(),
            [](const auto& a, const auto& b) { return a.second.due < b.second.due; });
        if (next == timers_.end()) {
            wake_.wait(lock);
            continue;
        }
        const auto now = std::chrono::steady_clock::now();
        if (next->second.due > now) {
            wake_.wait_until(lock, next->second.due);
            continue;
        }
        next->second.due = now + next->second.interval;
        const TimerKey key = next->first;
        const TIMERPROC proc = next->second.proc;
        lock.unlock();
        DeliverTimer(key.first, key.second, proc);
        lock.lock();
    }
}

}  // namespace orvella::platform::gui::detail
