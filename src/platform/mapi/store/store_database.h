// One message store file: its objects (the store, folders, messages), their properties and
// recipients, named-property ids, and the indexes that answer equality searches. Shared by every
// session of the process that opens the file; another process may use the file at the same time.
#pragma once

#include <cstdint>
#include <deque>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "db/checkpointer.h"
#include "db/sqlite_db.h"
#include "entry_id.h"
#include "mapi_ptr.h"
#include "mapidefs.h"
#include "notifier.h"

namespace orvella::platform::mapi::store {

// The store's own object, which carries the store's properties.
inline constexpr ObjectId kStoreObject = 1;

// Where a store keeps the entry id of its receive folder (a provider-private property).
inline constexpr ULONG kReceiveFolderTag = PROP_TAG(PT_BINARY, 0x67F0);

struct ObjectInfo {
    ObjectId id = 0;
    EntryKind kind = EntryKind::Message;
    ObjectId parent = 0;
    bool associated = false;
    std::int64_t change = 0;  // grows with every save of the object
};

// The saved properties of one object by property id, each value its own MAPI buffer.
using PropertyMap = std::map<ULONG, MapiBuffer<SPropValue>>;

// What one SaveChanges writes, in one transaction.
struct SaveRequest {
    ObjectId id = 0;  // 0: a new object
    EntryKind kind = EntryKind::Message;
    ObjectId parent = 0;
    bool associated = false;
    std::int64_t expected_change = 0;  // the change the caller loaded; ignored with force
    bool force = false;
    std::vector<const SPropValue*> set;  // values to write
    std::vector<ULONG> removed;          // exact tags to remove (deleted, or retyped)
    // The caller never read the saved values: a set value also removes a saved one of its
    // property id under another type.
    bool retype_unread = false;
    std::optional<std::vector<std::uint8_t>> recipients;  // encoded rows, when they changed
};

// One committed change, as the event log records it for notifications.
struct StoreEvent {
    std::int64_t seq = 0;  // commit order
    ULONG type = 0;        // one fnev... bit
    EntryKind kind = EntryKind::Message;
    ObjectId object = 0;
    ObjectId parent = 0;
    ObjectId old_object = 0;    // copies: the original; moves: the object itself
    ObjectId old_parent = 0;    // moves and copies
    std::string message_class;  // new mail
    ULONG message_flags = 0;    // new mail
};

struct NamedProperty {
    GUID guid = {};
    ULONG kind = MNID_ID;  // MNID_ID or MNID_STRING
    LONG lid = 0;
    std::string name;  // UTF-8
};

// Contract: every method may be called from any thread (calls are serialised) and throws
// StoreFailure on failure (MAPI_E_CORRUPT_STORE naming the file when it is damaged).
class StoreDatabase {
public:
    // The open store of `file` in this process, opened when needed. A file that is not a store,
    // or a damaged one, fails with MAPI_E_CORRUPT_STORE and is left as it was.
    static std::shared_ptr<StoreDatabase> Open(const std::filesystem::path& file);

    // Creates a new store file with its uid and the store object's properties. Fails with
    // MAPI_E_COLLISION when the file exists.
    static void Create(const std::filesystem::path& file, const GUID& uid,
                       std::span<const SPropValue> store_properties);

    explicit StoreDatabase(const std::filesystem::path& file);
    ~StoreDatabase();

    const GUID& uid() const { return uid_; }
    const std::filesystem::path& file() const { return db_.file(); }

    std::optional<ObjectInfo> Find(ObjectId id);
    // All saved properties of an object; empty when it is gone.
    PropertyMap LoadProperties(ObjectId id);
    // The tags of the values saved for an object, without reading the values.
    // The encoded recipient rows of a message (empty when it has none).
    std::vector<std::uint8_t> LoadRecipients(ObjectId id);

    // Writes a save; returns the object's id and its new change number. MAPI_E_OBJECT_DELETED
    // when the object (or, for a new one, its folder) is gone, MAPI_E_OBJECT_CHANGED when
    // another save came first and the request is not forced.
    std::pair<ObjectId, std::int64_t> Save(const SaveRequest& request);

    // Children of a folder, in creation order.
    std::vector<ObjectId> Children(ObjectId folder, EntryKind kind, bool associated);
    std::int64_t CountChildren(ObjectId folder, EntryKind kind, bool associated);
    // The child folder of `parent` whose PR_DISPLAY_NAME_A equals `name` without regard to case.
    std::optional<ObjectId> FindChildFolder(ObjectId parent, std::string_view name);

    // Deletes objects and everything below them; returns how many of `ids` existed.
    std::size_t Delete(std::span<const ObjectId> ids);
    // Moves objects under `parent`; returns how many existed.
    std::size_t Move(std::span<const ObjectId> ids, ObjectId parent);
    // Copies messages (properties and recipients) under `parent`; returns the new ids.
    std::vector<ObjectId> CopyMessages(std::span<const ObjectId> ids, ObjectId parent);

    // A count that changes whenever an object joins or leaves the folder.
    std::int64_t MembershipVersion(ObjectId folder);
    // The ids of a folder's messages (the associated ones or the others) in id order, as one
    // snapshot. Kept from one call to the next while the folder's membership count stands and
    // what was read is committed (see Cacheable), so that tables opened again and again on a
    // large folder (a lookup per message) read its ids once.
    std::shared_ptr<const std::vector<ObjectId>> MessageIds(ObjectId folder, bool associated);
    // The ids of every object holding a value of tag (not its multi-valued form), in id order.
    // Kept while nothing in the store changes (its event log stands still) and what was read is
    // committed, so that repeated searches for what lacks a property read once.
    std::shared_ptr<const std::vector<ObjectId>> Holders(ULONG tag);
    // A count that changes whenever any folder is created, deleted, moved or saved.
    std::int64_t HierarchyVersion();

    // Where the store's values stand, so that what a search by some values found can be kept
    // while nothing it depends on changes: commits of other connections (SQLite's data
    // version), objects created, deleted, moved or copied here, and values written here. Read
    // it inside the read snapshot of the search it stamps.
    struct ValuesStamp {
        std::int64_t others = 0;
        std::int64_t structure = 0;
        std::int64_t writes = 0;
        bool operator==(const ValuesStamp&) const = default;
    };
    ValuesStamp Stamp();
    // Whether a search by the values of `tags`, restricted to objects from `from` on, may find
    // something else now than at `then`.
    bool ChangedSince(const ValuesStamp& then, std::span<const ULONG> tags, ObjectId from);

    // Named properties: the id for a name (0 when unknown and not created) and the name of an
    // id. Ids start at 0x8000 and never change.
    ULONG IdFromName(const NamedProperty& name, bool create);
    std::optional<NamedProperty> NameFromId(ULONG id);

    // Makes sure an equality index exists for values of `tag` (which must be single-valued and
    // of a type the index can compare). False when it cannot have one.
    bool EnsureValueIndex(ULONG tag);
    // Whether values of `tag` have an equality index already (EnsureValueIndex then writes
    // nothing).
    bool HasValueIndex(ULONG tag);
    // Whether some object holds a value with exactly this tag (used to know whether a
    // multi-valued form of a property exists at all).
    bool TagInUse(ULONG tag);

    // Runs `work` with the connection, under the store's lock and in one read snapshot, for
    // queries that live next to the code that needs them (tables).
    template <class Work>
    auto WithDatabase(Work&& work) {
        std::lock_guard lock(mutex_);
        ReadSnapshot snapshot(db_);
        return work(db_);
    }

    // While alive, the process's writes to the store share commits (see Database::BeginBulk):
    // for importers, whose thousands of saves would otherwise each pay for a commit. Other
    // processes' writers wait for the shared commits, which come at least every
    // Database::kBulkWrites saves.
    class BulkWriting {
    public:
        explicit BulkWriting(std::shared_ptr<StoreDatabase> store);
        // Commits what is pending; throws StoreFailure when that fails.
        void Finish();
        // Commits what is pending unless finished; a failure then loses the pending saves, as
        // a crash would.
        ~BulkWriting();
        BulkWriting(const BulkWriting&) = delete;
        BulkWriting& operator=(const BulkWriting&) = delete;

    private:
        std::shared_ptr<StoreDatabase> store_;
        bool finished_ = false;
    };

    // While alive, this thread's reads of the store see one snapshot and take the file's read
    // lock once (opening an object reads it with several statements). Other threads wait.
    class Snapshot {
    public:
        explicit Snapshot(StoreDatabase& store) : lock_(store.mutex_), snapshot_(store.db_) {}

    private:
        std::unique_lock<std::recursive_mutex> lock_;
        ReadSnapshot snapshot_;
    };

    // Integrity check of the file; the problems found, empty when sound. Damage that stops the
    // check part-way is one more problem, not a failure.
    std::vector<std::string> Check();

    // The event log: every save, deletion, move and copy, in commit order, by this process or
    // another. A save of a new message into the receive folder is also new mail. The log keeps
    // the newest kEventsKept events.
    static constexpr std::int64_t kEventsKept = 100'000;
    // The most events a cached folder's ids follow before they are read again.
    static constexpr std::int64_t kEventsFollowed = 1'000;
    std::int64_t LastEventSeq();
    std::vector<StoreEvent> EventsAfter(std::int64_t seq, std::size_t limit);
    Notifier& notifier() { return *notifier_; }

private:
    void LoadSchemaState();
    // The following run under the lock, inside the caller's transaction where they write.
    std::optional<ObjectInfo> FindLocked(ObjectId id);
    void TouchMembership(ObjectId folder);
    void TouchHierarchy();
    void WriteValues(ObjectId id, std::span<const SPropValue* const> values);
    void NoteTags(std::span<const SPropValue* const> values);
    // The saved tags of `id` that a value set under another type of the same id replaces.
    std::vector<ULONG> RetypedTags(ObjectId id, std::span<const SPropValue* const> set);
    void RecordEvent(const StoreEvent& event);
    void RecordSave(const SaveRequest& request, ObjectId id, ObjectId parent);
    std::optional<ObjectId> ReceiveFolderLocked();
    void UpgradeSchema(std::int64_t from);
    // The sequence number of the newest event recorded, 0 for none.
    std::int64_t LastEvent();
    // Whether what is read now may be kept for later: it is committed, or will be with the
    // shared commit under way. Forgets what was kept when a shared commit failed.
    bool Cacheable();
    std::uint64_t failed_bulk_commits_seen_ = 0;
    // This process's writes, for ValuesStamp, counted before they run, so that one rolled back
    // counts too: objects created, deleted, moved or copied; values written, the newest
    // kWritesKept of them with their tag and object.
    static constexpr std::size_t kWritesKept = 4096;
    struct ValueWrite {
        std::int64_t seq;
        ULONG tag;
        ObjectId object;
    };
    std::int64_t structure_writes_ = 0;
    std::int64_t value_writes_ = 0;
    std::deque<ValueWrite> recent_writes_;
    void CountWrites(const SaveRequest& request, std::span<const ULONG> removed);

    std::recursive_mutex mutex_;  // recursive: a Snapshot holds it around other methods
    struct KnownMessageIds {
        std::int64_t members = -1;  // the folder's membership count they were read at
        std::int64_t events = 0;    // the last event recorded then
        // Changed in place only while nobody else holds it.
        std::shared_ptr<std::vector<ObjectId>> ids;
    };
    std::map<std::pair<ObjectId, bool>, KnownMessageIds> message_ids_;
    // Known ids brought up to date through the event log; null when the log no longer holds
    // every event since they were read.
    std::shared_ptr<std::vector<ObjectId>> FollowMembership(ObjectId folder, bool associated,
                                                            const KnownMessageIds& known);
    struct KnownHolders {
        std::int64_t events = -1;  // the last event recorded when they were read
        std::shared_ptr<const std::vector<ObjectId>> ids;
    };
    std::map<ULONG, KnownHolders> holders_;
    Database db_;
    std::unique_ptr<Checkpointer> checkpointer_;  // before db_ closes, it stops
    GUID uid_ = {};
    std::set<ULONG> indexed_tags_;
    std::set<ULONG> known_tags_;  // tags recorded in the tags table
    // The data version (other connections' commits) at which known_tags_ held every tag there.
    std::int64_t known_tags_version_ = -1;
    // Adds the tags table's tags to known_tags_, as of the data version now.
    void LoadKnownTags();
    // SQLite's data version: other connections' commits. Read once per shared write transaction,
    // as no other connection commits during one.
    std::int64_t DataVersion();
    std::int64_t data_version_ = 0;
    std::uint64_t data_version_read_in_ = 0;  // the shared write transaction it was read in
    // Folders' membership counts read inside the open shared write transaction, until this
    // process changes what some folder holds.
    struct KnownMembers {
        std::uint64_t transaction = 0;
        std::int64_t structure = 0;  // structure_writes_ then
        std::int64_t members = 0;
    };
    std::map<ObjectId, KnownMembers> known_members_;
    std::int64_t events_recorded_ = 0;
    // Last: destroyed first, so that its thread stops before the connection closes.
    std::unique_ptr<Notifier> notifier_ = std::make_unique<Notifier>();
};

}  // namespace orvella::platform::mapi::store
