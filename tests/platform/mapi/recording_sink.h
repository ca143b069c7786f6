// An advise sink that records every notification it is given, for tests to wait on.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "com_object.h"
#include "mapidefs.h"

namespace orvella::testing {

using Bytes = std::vector<BYTE>;

struct Seen {
    ULONG type = 0;
    ULONG object_type = 0;
    Bytes id, parent, old_id, old_parent;
    std::string message_class;
    std::thread::id thread;
};

inline Bytes CopyEntryId(ULONG cb, LPENTRYID id) {
    const auto* bytes = reinterpret_cast<const BYTE*>(id);
    return id ? Bytes(bytes, bytes + cb) : Bytes();
}

// Records every notification it is given; a test waits for the count it expects.
class RecordingSink final : public platform::mapi::store::ComObject<IMAPIAdviseSink> {
public:
    ULONG OnNotify(ULONG count, LPNOTIFICATION notifications) override {
        std::lock_guard lock(mutex_);
        for (ULONG i = 0; i < count; ++i) {
            const NOTIFICATION& n = notifications[i];
            Seen seen{n.ulEventType};
            seen.thread = std::this_thread::get_id();
            if (n.ulEventType == fnevNewMail) {
                seen.id = CopyEntryId(n.info.newmail.cbEntryID, n.info.newmail.lpEntryID);
                seen.parent = CopyEntryId(n.info.newmail.cbParentID, n.info.newmail.lpParentID);
                seen.message_class = n.info.newmail.lpszMessageClass;
            } else {
                seen.object_type = n.info.obj.ulObjType;
                seen.id = CopyEntryId(n.info.obj.cbEntryID, n.info.obj.lpEntryID);
                seen.parent = CopyEntryId(n.info.obj.cbParentID, n.info.obj.lpParentID);
                seen.old_id = CopyEntryId(n.info.obj.cbOldID, n.info.obj.lpOldID);
                seen.old_parent = CopyEntryId(n.info.obj.cbOldParentID, n.info.obj.lpOldParentID);
            }
            seen_.push_back(std::move(seen));
        }
        arrived_.notify_all();
        if (hold_) std::this_thread::sleep_for(std::chrono::milliseconds(20));
        return 0;
    }

    // The notifications once `count` have arrived; fewer when they do not arrive in 10 s, a
    // bound on a broken notifier, not a measure of speed.
    std::vector<Seen> WaitFor(size_t count) {
        std::unique_lock lock(mutex_);
        arrived_.wait_for(lock, std::chrono::seconds(10), [&] { return seen_.size() >= count; });
        return seen_;
    }

    size_t count() {
        std::lock_guard lock(mutex_);
        return seen_.size();
    }

    void SlowDown() { hold_ = true; }

private:
    bool Supports(REFIID) const override { return false; }

    std::mutex mutex_;
    std::condition_variable arrived_;
    std::vector<Seen> seen_;
    std::atomic<bool> hold_ = false;
};

}  // namespace orvella::testing
