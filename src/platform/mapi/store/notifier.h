// Store notifications: a notification thread per open store that reads the store's event log
// and calls the advise sinks registered on it. Because the log is in the store file, changes
// saved by another process are notified as well as this process's own.
#pragma once

#include <cstdint>
#include <memory>

#include "entry_id.h"
#include "mapi_ptr.h"
#include "mapidefs.h"

namespace orvella::platform::mapi::store {

class StoreDatabase;

// Contract: callable from any thread. Sinks are called on the notifier's own thread, never
// inside the call that made the change and never under a store lock, with the events of each
// connection in the order their changes were committed. A change committed in this process is
// delivered at once; one committed by another process within the poll interval (100 ms).
class Notifier {
public:
    Notifier();
    // Stops the thread; no sink is called afterwards.
    ~Notifier();
    Notifier(const Notifier&) = delete;
    Notifier& operator=(const Notifier&) = delete;

    // Registers `sink` for the events in `mask` about the whole store (filter 0) or about one
    // object: the object itself, or for a folder also what happens inside it. Events committed
    // before the call are not delivered. Returns the connection number (never 0).
    ULONG Advise(const std::shared_ptr<StoreDatabase>& store, ObjectId filter,
                 EntryKind filter_kind, ULONG mask, ComPtr<IMAPIAdviseSink> sink);
    // Ends a connection. Returns only when no callback of it runs or will run (except when
    // called from inside that callback). False for an unknown connection.
    bool Unadvise(ULONG connection);
    // Tells the thread that this process committed changes.
    void Wake();

private:
    struct State;
    static void Run(std::shared_ptr<State> state);
    std::shared_ptr<State> state_;
};

}  // namespace orvella::platform::mapi::store
