// The store's event log: what each write records for notifications, and reading it back.
#include <cstring>

#include "mapitags.h"
#include "store_database.h"

namespace orvella::platform::mapi::store {
namespace {

// Pruning runs once per this many recorded events, keeping the log near kEventsKept rows.
constexpr std::int64_t kPruneEvery = 4096;

const SPropValue* Written(const SaveRequest& request, ULONG tag) {
    for (const SPropValue* value : request.set) {
        if (value->ulPropTag == tag) return value;
    }
    return nullptr;
}

}  // namespace

void StoreDatabase::RecordEvent(const StoreEvent& event) {
    Statement& insert = db_.Cached(
        "INSERT INTO events(type, kind, obj, parent, old_obj, old_parent, class, flags) "
        "VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8)");
    insert.Bind(1, std::int64_t{event.type})
        .Bind(2, std::int64_t{static_cast<int>(event.kind)})
        .Bind(3, event.object)
        .Bind(4, event.parent)
        .Bind(5, event.old_object)
        .Bind(6, event.old_parent);
    if (event.type == fnevNewMail) {
        insert.BindText(7, event.message_class).Bind(8, std::int64_t{event.message_flags});
    }
    insert.Run();
    if (++events_recorded_ % kPruneEvery == 0) {
        db_.Cached("DELETE FROM events WHERE seq <= ?1")
            .Bind(1, db_.LastInsertId() - kEventsKept)
            .Run();
    }
}

// A new object is created (and, for a normal message saved into the receive folder, new
// mail); a saved one is modified.
void StoreDatabase::RecordSave(const SaveRequest& request, ObjectId id, ObjectId parent) {
    if (request.id != 0) {
        RecordEvent({0, fnevObjectModified, request.kind, id, parent});
        return;
    }
    RecordEvent({0, fnevObjectCreated, request.kind, id, parent});
    if (request.kind != EntryKind::Message || request.associated ||
        ReceiveFolderLocked() != parent) {
        return;
    }
    StoreEvent mail{0, fnevNewMail, EntryKind::Message, id, parent};
    if (const SPropValue* value = Written(request, PR_MESSAGE_CLASS_A)) {
        mail.message_class = value->Value.lpszA;
    }
    if (const SPropValue* value = Written(request, PR_MESSAGE_FLAGS)) {
        mail.message_flags = value->Value.ul;
    }
    RecordEvent(mail);
}

std::optional<ObjectId> StoreDatabase::ReceiveFolderLocked() {
    Statement& read = db_.Cached("SELECT val FROM props WHERE obj = ?1 AND tag = ?2")
                          .Bind(1, kStoreObject)
                          .Bind(2, std::int64_t{kReceiveFolderTag});
    std::optional<ObjectId> folder;
    if (read.Step()) {
        const auto bytes = read.Blob(0);
        if (auto parts = ParseEntryId(static_cast<ULONG>(bytes.size()),
                                      reinterpret_cast<const ENTRYID*>(bytes.data()))) {
            folder = parts->object;
        }
    }
    read.Reset();
    return folder;
}

std::int64_t StoreDatabase::LastEventSeq() {
    std::lock_guard lock(mutex_);
    Statement& read = db_.Cached("SELECT max(seq) FROM events");
    const std::int64_t seq = read.Step() ? read.Int(0) : 0;
    read.Reset();
    return seq;
}

std::vector<StoreEvent> StoreDatabase::EventsAfter(std::int64_t seq, std::size_t limit) {
    std::lock_guard lock(mutex_);
    Statement& read =
        db_.Cached(
               "SELECT seq, type, kind, obj, parent, old_obj, old_parent, class, flags "
               "FROM events WHERE seq > ?1 ORDER BY seq LIMIT ?2")
            .Bind(1, seq)
            .Bind(2, static_cast<std::int64_t>(limit));
    std::vector<StoreEvent> events;
    while (read.Step()) {
        events.push_back({read.Int(0), static_cast<ULONG>(read.Int(1)),
                          static_cast<EntryKind>(read.Int(2)), read.Int(3), read.Int(4),
                          read.Int(5), read.Int(6), std::string(read.Text(7)),
                          static_cast<ULONG>(read.Int(8))});
    }
    return events;
}

}  // namespace orvella::platform::mapi::store
