// The notification thread of a store: polls the event log, matches events to connections and
// calls their sinks outside every lock.
#include "notifier.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include "store_database.h"

namespace orvella::platform::mapi::store {
namespace {

// How often the log is read for changes committed by other processes.
constexpr auto kPollInterval = std::chrono::milliseconds(100);
// Events read per pass; a longer backlog is read in further passes at once.
constexpr std::size_t kBatch = 512;

struct Connection {
    ObjectId filter = 0;
    EntryKind filter_kind = EntryKind::Store;
    ULONG mask = 0;
    std::int64_t after = 0;  // the newest event committed before the connection was made
    ComPtr<IMAPIAdviseSink> sink;

    bool Wants(const StoreEvent& event) const {
        if (!(mask & event.type) || event.seq <= after) return false;
        if (filter == 0 || event.object == filter) return true;
        return filter_kind == EntryKind::Folder &&
               (event.parent == filter || event.old_parent == filter);
    }
};

// The notifications of one batch for one connection, with the entry ids they point to.
class NotificationBatch {
public:
    explicit NotificationBatch(const GUID& store) : store_(store) {}

    void Add(const StoreEvent& event) {
        NOTIFICATION n = {};
        n.ulEventType = event.type;
        if (event.type == fnevNewMail) {
            auto& mail = n.info.newmail;
            Id(EntryKind::Message, event.object, mail.cbEntryID, mail.lpEntryID);
            Id(EntryKind::Folder, event.parent, mail.cbParentID, mail.lpParentID);
            mail.lpszMessageClass = const_cast<char*>(event.message_class.c_str());
            mail.ulMessageFlags = event.message_flags;
        } else {
            auto& obj = n.info.obj;
            obj.ulObjType = event.kind == EntryKind::Folder ? MAPI_FOLDER : MAPI_MESSAGE;
            Id(event.kind, event.object, obj.cbEntryID, obj.lpEntryID);
            Id(EntryKind::Folder, event.parent, obj.cbParentID, obj.lpParentID);
            if (event.old_object) Id(event.kind, event.old_object, obj.cbOldID, obj.lpOldID);
            if (event.old_parent) {
                Id(EntryKind::Folder, event.old_parent, obj.cbOldParentID, obj.lpOldParentID);
            }
        }
        notifications_.push_back(n);
    }

    bool empty() const { return notifications_.empty(); }
    ULONG size() const { return static_cast<ULONG>(notifications_.size()); }
    NOTIFICATION* data() { return notifications_.data(); }

private:
    void Id(EntryKind kind, ObjectId object, ULONG& cb, LPENTRYID& id) {
        ids_.push_back(MakeEntryId({store_, kind, object}));
        cb = kEntryIdSize;
        id = reinterpret_cast<LPENTRYID>(ids_.back().data());
    }

    GUID store_;
    std::deque<EntryIdBytes> ids_;  // a deque: pointers into it stay valid as it grows
    std::vector<NOTIFICATION> notifications_;
};

}  // namespace

struct Notifier::State {
    std::mutex mutex;
    std::condition_variable changed;  // woken, stopped, or a callback finished
    std::map<ULONG, Connection> connections;
    ULONG next_connection = 1;
    ULONG running = 0;  // the connection whose sink is being called
    bool stop = false;
    bool woken = false;
    std::weak_ptr<StoreDatabase> store;
    std::int64_t last_seq = 0;  // read and written by the thread only, once it runs
    std::thread thread;
};

Notifier::Notifier() : state_(std::make_shared<State>()) {}

Notifier::~Notifier() {
    std::unique_lock lock(state_->mutex);
    state_->stop = true;
    state_->changed.notify_all();
    if (!state_->thread.joinable()) return;
    // The thread may itself release the last reference to the store, and so run this.
    if (state_->thread.get_id() == std::this_thread::get_id()) {
        state_->thread.detach();
        return;
    }
    lock.unlock();
    state_->thread.join();
}

ULONG Notifier::Advise(const std::shared_ptr<StoreDatabase>& store, ObjectId filter,
                       EntryKind filter_kind, ULONG mask, ComPtr<IMAPIAdviseSink> sink) {
    // Read before taking our lock: saves take the store's lock and then ours.
    const std::int64_t newest = store->LastEventSeq();
    std::lock_guard lock(state_->mutex);
    const ULONG connection = state_->next_connection++;
    state_->connections[connection] = {filter, filter_kind, mask, newest, std::move(sink)};
    if (!state_->thread.joinable()) {
        state_->store = store;
        state_->last_seq = newest;
        state_->thread = std::thread(Run, state_);
    }
    return connection;
}

bool Notifier::Unadvise(ULONG connection) {
    std::unique_lock lock(state_->mutex);
    if (!state_->connections.erase(connection)) return false;
    if (state_->thread.get_id() != std::this_thread::get_id()) {
        state_->changed.wait(lock, [&] { return state_->running != connection; });
    }
    return true;
}

void Notifier::Wake() {
    std::lock_guard lock(state_->mutex);
    state_->woken = true;
    state_->changed.notify_all();
}

void Notifier::Run(std::shared_ptr<State> state) {
    while (true) {
        {
            std::unique_lock lock(state->mutex);
            state->changed.wait_for(lock, kPollInterval,
                                    [&] { return state->stop || state->woken; });
            if (state->stop) return;
            state->woken = false;
            if (state->connections.empty()) continue;
        }
        std::shared_ptr<StoreDatabase> store = state->store.lock();
        if (!store) return;
        std::vector<StoreEvent> events;
        try {
            events = store->EventsAfter(state->last_seq, kBatch);
        } catch (const StoreFailure&) {
            continue;  // busy or unreadable for now: the next pass tries again
        }
        if (events.empty()) continue;
        state->last_seq = events.back().seq;

        std::vector<std::pair<ULONG, Connection>> connections;
        {
            std::lock_guard lock(state->mutex);
            connections.assign(state->connections.begin(), state->connections.end());
            if (events.size() == kBatch) state->woken = true;
        }
        for (auto& [id, connection] : connections) {
            NotificationBatch batch(store->uid());
            for (const StoreEvent& event : events) {
                if (connection.Wants(event)) batch.Add(event);
            }
            if (batch.empty()) continue;
            {
                std::lock_guard lock(state->mutex);
                if (!state->connections.count(id)) continue;  // withdrawn meanwhile
                state->running = id;
            }
            connection.sink->OnNotify(batch.size(), batch.data());
            std::lock_guard lock(state->mutex);
            state->running = 0;
            state->changed.notify_all();
        }
        // Releasing the store here may destroy it, and with it this notifier (see above).
        store.reset();
    }
}

}  // namespace orvella::platform::mapi::store
