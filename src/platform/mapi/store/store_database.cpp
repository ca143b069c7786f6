// The store file: schema, objects, properties, recipients, named properties and value indexes.
#include "store_database.h"

#include <algorithm>

#include <sqlite3.h>

#include <cstdio>
#include <cstring>
#include <unordered_map>

#include "db/value_codec.h"
#include "mapitags.h"

namespace orvella::platform::mapi::store {
namespace {

// "OVMS" in the file header tells our store files from any other SQLite database.
constexpr std::int64_t kApplicationId = 0x4F564D53;
constexpr std::int64_t kSchemaVersion = 2;
constexpr ULONG kFirstNamedId = 0x8000;
constexpr ULONG kLastNamedId = 0xFFFE;
// Equality indexes are created on demand for the properties tables are searched by; this many
// at most, so a caller searching everything cannot make every save slow.
constexpr std::size_t kMaxValueIndexes = 48;

// AUTOINCREMENT: an object id, and so an entry id, is never handed out again after its object
// was deleted, even when it was the newest.
const char* const kSchema = R"sql(
CREATE TABLE meta(key TEXT PRIMARY KEY, value);
CREATE TABLE objects(id INTEGER PRIMARY KEY AUTOINCREMENT, kind INTEGER NOT NULL,
                     parent INTEGER NOT NULL, assoc INTEGER NOT NULL, change INTEGER NOT NULL,
                     members INTEGER NOT NULL DEFAULT 0);
CREATE INDEX objects_by_parent ON objects(parent, kind, assoc);
CREATE TABLE props(obj INTEGER NOT NULL, tag INTEGER NOT NULL, val,
                   PRIMARY KEY(obj, tag)) WITHOUT ROWID;
CREATE TABLE recipients(msg INTEGER PRIMARY KEY, rows BLOB NOT NULL);
CREATE TABLE names(id INTEGER PRIMARY KEY, guid BLOB NOT NULL, kind INTEGER NOT NULL,
                   lid INTEGER NOT NULL, name TEXT NOT NULL, UNIQUE(guid, kind, lid, name));
CREATE TABLE tags(tag INTEGER PRIMARY KEY);
CREATE TABLE value_indexes(tag INTEGER PRIMARY KEY);
)sql";

// Added in version 2: the event log that notifications are read from. No AUTOINCREMENT (it
// would write one more page per save): pruning never removes the newest event, so a sequence
// number is never handed out twice.
const char* const kEventsSchema = R"sql(
CREATE TABLE events(seq INTEGER PRIMARY KEY, type INTEGER NOT NULL,
                    kind INTEGER NOT NULL, obj INTEGER NOT NULL, parent INTEGER NOT NULL,
                    old_obj INTEGER NOT NULL, old_parent INTEGER NOT NULL,
                    class TEXT, flags INTEGER);
)sql";

std::span<const std::uint8_t> GuidBytes(const GUID& guid) {
    return {reinterpret_cast<const std::uint8_t*>(&guid), sizeof(GUID)};
}

std::string IndexName(ULONG tag) {
    char name[32];
    std::snprintf(name, sizeof name, "value_%08X", tag);
    return name;
}

std::mutex& OpenStoresMutex() {
    static std::mutex mutex;
    return mutex;
}

std::unordered_map<std::string, std::weak_ptr<StoreDatabase>>& OpenStores() {
    static std::unordered_map<std::string, std::weak_ptr<StoreDatabase>> stores;
    return stores;
}

// Turns on the settings every connection to a store uses. WAL with synchronous=NORMAL: a commit
// survives the death of the process at once and a power failure after the next checkpoint. A
// 64 MB page cache holds the indexes and the recent messages of a 100,000-message Inbox: with
// half of it, processing new mail at that size takes half as long again.
void Configure(Database& db) {
    db.Exec(
        "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL; PRAGMA foreign_keys=OFF;"
        "PRAGMA cache_size=-65536;");
}

}  // namespace

std::shared_ptr<StoreDatabase> StoreDatabase::Open(const std::filesystem::path& file) {
    std::lock_guard lock(OpenStoresMutex());
    // The path as given first: resolving it to its canonical form costs several system calls.
    const std::string given = file.string();
    if (auto open = OpenStores()[given].lock()) return open;
    std::error_code ec;
    std::string key = std::filesystem::weakly_canonical(file, ec).string();
    if (ec) key = given;
    if (auto open = OpenStores()[key].lock()) {
        OpenStores()[given] = open;
        return open;
    }
    if (!std::filesystem::exists(file))
        throw StoreFailure(MAPI_E_NOT_FOUND, "the message store " + given + " is missing");
    auto store = std::make_shared<StoreDatabase>(file);
    OpenStores()[key] = store;
    OpenStores()[given] = store;
    return store;
}

StoreDatabase::StoreDatabase(const std::filesystem::path& file) : db_(file, false) {
    // Identify the file before anything writes to it (switching to WAL would).
    Statement& id = db_.Cached("PRAGMA application_id");
    std::int64_t application = id.Step() ? id.Int(0) : 0;
    id.Reset();
    if (application != kApplicationId)
        throw StoreFailure(MAPI_E_CORRUPT_STORE, file.string() + " is not a message store");
    Configure(db_);
    LoadSchemaState();
    checkpointer_ = std::make_unique<Checkpointer>(db_);
}

StoreDatabase::~StoreDatabase() = default;

void StoreDatabase::Create(const std::filesystem::path& file, const GUID& uid,
                           std::span<const SPropValue> store_properties) {
    if (std::filesystem::exists(file))
        throw StoreFailure(MAPI_E_COLLISION, file.string() + " already exists");
    std::filesystem::create_directories(file.parent_path());
    Database db(file, true);
    Configure(db);
    Transaction transaction(db);
    db.Exec(kSchema);
    db.Exec(kEventsSchema);
    db.Exec(("PRAGMA application_id=" + std::to_string(kApplicationId) +
             "; PRAGMA user_version=" + std::to_string(kSchemaVersion))
                .c_str());
    db.Cached("INSERT INTO meta(key, value) VALUES('uid', ?1)").BindBlob(1, GuidBytes(uid)).Run();
    db.Cached("INSERT INTO meta(key, value) VALUES('hierarchy', 0)").Run();
    db.Cached("INSERT INTO objects(id, kind, parent, assoc, change) VALUES(?1, ?2, 0, 0, 1)")
        .Bind(1, kStoreObject)
        .Bind(2, std::int64_t{static_cast<int>(EntryKind::Store)})
        .Run();
    for (const SPropValue& value : store_properties) {
        Statement& insert =
            db.Cached("INSERT OR REPLACE INTO props(obj, tag, val) VALUES(?1, ?2, ?3)");
        insert.Bind(1, kStoreObject).Bind(2, std::int64_t{value.ulPropTag});
        BindValue(insert, 3, value);
        insert.Run();
        db.Cached("INSERT OR IGNORE INTO tags(tag) VALUES(?1)")
            .Bind(1, std::int64_t{value.ulPropTag})
            .Run();
    }
    transaction.Commit();
}

void StoreDatabase::LoadSchemaState() {
    Statement& version = db_.Cached("PRAGMA user_version");
    std::int64_t schema = version.Step() ? version.Int(0) : 0;
    version.Reset();
    if (schema > 0 && schema < kSchemaVersion) {
        UpgradeSchema(schema);
        schema = kSchemaVersion;
    }
    if (schema != kSchemaVersion)
        throw StoreFailure(MAPI_E_VERSION,
                           db_.file().string() + " was written by another version of Orvella");
    Statement& uid = db_.Cached("SELECT value FROM meta WHERE key = 'uid'");
    if (!uid.Step() || uid.Blob(0).size() != sizeof(GUID))
        throw StoreFailure(MAPI_E_CORRUPT_STORE, db_.file().string() + " has no store identity");
    std::memcpy(&uid_, uid.Blob(0).data(), sizeof(GUID));
    uid.Reset();
    Statement& indexes = db_.Cached("SELECT tag FROM value_indexes");
    while (indexes.Step()) indexed_tags_.insert(static_cast<ULONG>(indexes.Int(0)));
    indexes.Reset();
    LoadKnownTags();
}

void StoreDatabase::LoadKnownTags() {
    Statement& tags = db_.Cached("SELECT tag FROM tags");
    while (tags.Step()) known_tags_.insert(static_cast<ULONG>(tags.Int(0)));
    known_tags_version_ = DataVersion();
}

StoreDatabase::BulkWriting::BulkWriting(std::shared_ptr<StoreDatabase> store)
    : store_(std::move(store)) {
    std::lock_guard lock(store_->mutex_);
    store_->db_.BeginBulk();
}

void StoreDatabase::BulkWriting::Finish() {
    std::lock_guard lock(store_->mutex_);
    finished_ = true;
    store_->db_.EndBulk();
    store_->notifier_->Wake();
}

StoreDatabase::BulkWriting::~BulkWriting() {
    if (finished_) return;
    try {
        Finish();
    } catch (const StoreFailure&) {
    }
}

// Brings a store written by an earlier version up to date, in one transaction.
void StoreDatabase::UpgradeSchema(std::int64_t from) {
    Transaction transaction(db_);
    if (from < 2) db_.Exec(kEventsSchema);
    db_.Exec(("PRAGMA user_version=" + std::to_string(kSchemaVersion)).c_str());
    transaction.Commit();
}

std::optional<ObjectInfo> StoreDatabase::Find(ObjectId id) {
    std::lock_guard lock(mutex_);
    return FindLocked(id);
}

std::optional<ObjectInfo> StoreDatabase::FindLocked(ObjectId id) {
    Statement& find =
        db_.Cached("SELECT kind, parent, assoc, change FROM objects WHERE id = ?1").Bind(1, id);
    if (!find.Step()) return std::nullopt;
    ObjectInfo info{id, static_cast<EntryKind>(find.Int(0)), find.Int(1), find.Int(2) != 0,
                    find.Int(3)};
    find.Reset();
    return info;
}

void StoreDatabase::TouchMembership(ObjectId folder) {
    db_.Cached("UPDATE objects SET members = members + 1 WHERE id = ?1").Bind(1, folder).Run();
}

void StoreDatabase::TouchHierarchy() {
    db_.Cached("UPDATE meta SET value = value + 1 WHERE key = 'hierarchy'").Run();
}

PropertyMap StoreDatabase::LoadProperties(ObjectId id) {
    std::lock_guard lock(mutex_);
    PropertyMap properties;
    Statement& read = db_.Cached("SELECT tag, val FROM props WHERE obj = ?1").Bind(1, id);
    while (read.Step()) {
        const ULONG tag = static_cast<ULONG>(read.Int(0));
        MapiBuffer<SPropValue> value;
        if (FAILED(MAPIAllocateBuffer(sizeof(SPropValue), reinterpret_cast<void**>(&value))))
            throw StoreFailure(MAPI_E_NOT_ENOUGH_MEMORY, "out of memory reading properties");
        if (FAILED(ReadValue(read, 1, tag, value.Get(), *value))) {
            read.Reset();
            throw StoreFailure(MAPI_E_CORRUPT_STORE,
                               db_.file().string() + " holds a damaged property value");
        }
        properties[PROP_ID(tag)] = std::move(value);
    }
    return properties;
}

std::vector<ULONG> StoreDatabase::RetypedTags(ObjectId id, std::span<const SPropValue* const> set) {
    // Only an id the store holds under another type can be retyped, and the tags table holds
    // every tag ever written: most saves need not read the object's tags at all.
    if (DataVersion() != known_tags_version_) LoadKnownTags();
    const bool any = std::any_of(set.begin(), set.end(), [&](const SPropValue* value) {
        const ULONG first = PROP_TAG(0, PROP_ID(value->ulPropTag));
        for (auto tag = known_tags_.lower_bound(first);
             tag != known_tags_.end() && PROP_ID(*tag) == PROP_ID(first); ++tag) {
            if (*tag != value->ulPropTag) return true;
        }
        return false;
    });
    if (!any) return {};
    Statement& read = db_.Cached("SELECT tag FROM props WHERE obj = ?1").Bind(1, id);
    std::vector<ULONG> retyped;
    while (read.Step()) {
        const ULONG tag = static_cast<ULONG>(read.Int(0));
        for (const SPropValue* value : set) {
            if (PROP_ID(value->ulPropTag) == PROP_ID(tag) && value->ulPropTag != tag)
                retyped.push_back(tag);
        }
    }
    return retyped;
}

std::vector<std::uint8_t> StoreDatabase::LoadRecipients(ObjectId id) {
    std::lock_guard lock(mutex_);
    Statement& read = db_.Cached("SELECT rows FROM recipients WHERE msg = ?1").Bind(1, id);
    std::vector<std::uint8_t> rows;
    if (read.Step()) {
        auto blob = read.Blob(0);
        rows.assign(blob.begin(), blob.end());
    }
    read.Reset();
    return rows;
}

// A statement writes several values: most of a statement's cost is running one at all.
void StoreDatabase::WriteValues(ObjectId id, std::span<const SPropValue* const> values) {
    constexpr std::size_t kPerStatement = 16;
    static const std::vector<std::string> kWrites = [] {
        std::vector<std::string> writes(kPerStatement + 1);
        std::string rows;
        for (std::size_t n = 1; n <= kPerStatement; ++n) {
            rows += (n > 1 ? ", (?1, ?" : "(?1, ?") + std::to_string(2 * n) + ", ?" +
                    std::to_string(2 * n + 1) + ")";
            writes[n] = "INSERT INTO props(obj, tag, val) VALUES" + rows +
                        " ON CONFLICT(obj, tag) DO UPDATE SET val = excluded.val";
        }
        return writes;
    }();
    for (std::size_t at = 0; at < values.size(); at += kPerStatement) {
        const std::size_t count = std::min(kPerStatement, values.size() - at);
        Statement& write = db_.Cached(kWrites[count]).Bind(1, id);
        for (std::size_t i = 0; i < count; ++i) {
            const int first = 2 * static_cast<int>(i) + 2;
            write.Bind(first, std::int64_t{values[at + i]->ulPropTag});
            BindValue(write, first + 1, *values[at + i]);
        }
        write.Run();
    }
}

void StoreDatabase::NoteTags(std::span<const SPropValue* const> values) {
    for (const SPropValue* value : values) {
        if (known_tags_.count(value->ulPropTag)) continue;
        db_.Cached("INSERT OR IGNORE INTO tags(tag) VALUES(?1)")
            .Bind(1, std::int64_t{value->ulPropTag})
            .Run();
    }
}

void StoreDatabase::CountWrites(const SaveRequest& request, std::span<const ULONG> removed) {
    if (request.id == 0) ++structure_writes_;
    auto note = [&](ULONG tag) {
        recent_writes_.push_back({++value_writes_, tag, request.id});
        if (recent_writes_.size() > kWritesKept) recent_writes_.pop_front();
    };
    for (const SPropValue* value : request.set) note(value->ulPropTag);
    for (ULONG tag : removed) note(tag);
}

std::int64_t StoreDatabase::DataVersion() {
    const std::uint64_t writing = db_.OpenBulkTransaction();
    if (writing && writing == data_version_read_in_) return data_version_;
    Statement& version = db_.Cached("PRAGMA data_version");
    data_version_ = version.Step() ? version.Int(0) : 0;
    version.Reset();
    data_version_read_in_ = writing;
    return data_version_;
}

StoreDatabase::ValuesStamp StoreDatabase::Stamp() {
    std::lock_guard lock(mutex_);
    const std::int64_t others = DataVersion();
    return {others, structure_writes_ + static_cast<std::int64_t>(db_.FailedBulkCommits()),
            value_writes_};
}

bool StoreDatabase::ChangedSince(const ValuesStamp& then, std::span<const ULONG> tags,
                                 ObjectId from) {
    const ValuesStamp now = Stamp();
    std::lock_guard lock(mutex_);
    if (now.others != then.others || now.structure != then.structure) return true;
    if (now.writes == then.writes) return false;
    // The writes since then must all still be known.
    if (recent_writes_.empty() || recent_writes_.front().seq > then.writes + 1) return true;
    for (auto write = recent_writes_.rbegin();
         write != recent_writes_.rend() && write->seq > then.writes; ++write) {
        if (write->object >= from && std::find(tags.begin(), tags.end(), write->tag) != tags.end())
            return true;
    }
    return false;
}

std::pair<ObjectId, std::int64_t> StoreDatabase::Save(const SaveRequest& request) {
    std::lock_guard lock(mutex_);
    // Every check below comes before the first write.
    Transaction transaction(db_, Transaction::Nested::kSharedFate);
    // Read inside the write: no read transaction of its own, and no save can come between.
    std::vector<ULONG> removed = request.removed;
    if (request.retype_unread && request.id != 0) {
        for (ULONG tag : RetypedTags(request.id, request.set)) removed.push_back(tag);
    }
    CountWrites(request, removed);
    ObjectId id = request.id;
    ObjectId parent = request.parent;  // a saved object's own, which a request need not know
    std::int64_t change = 1;
    if (id == 0) {
        Statement& parent =
            db_.Cached("SELECT kind FROM objects WHERE id = ?1").Bind(1, request.parent);
        bool parent_exists = parent.Step();
        parent.Reset();
        if (!parent_exists) throw StoreFailure(MAPI_E_OBJECT_DELETED, "the folder was deleted");
        db_.Cached("INSERT INTO objects(kind, parent, assoc, change) VALUES(?1, ?2, ?3, 1)")
            .Bind(1, std::int64_t{static_cast<int>(request.kind)})
            .Bind(2, request.parent)
            .Bind(3, std::int64_t{request.associated})
            .Run();
        id = db_.LastInsertId();
        TouchMembership(request.parent);
    } else {
        Statement& current =
            db_.Cached("SELECT change, parent FROM objects WHERE id = ?1").Bind(1, id);
        if (!current.Step()) throw StoreFailure(MAPI_E_OBJECT_DELETED, "the object was deleted");
        change = current.Int(0) + 1;
        parent = current.Int(1);
        current.Reset();
        if (!request.force && change - 1 != request.expected_change)
            throw StoreFailure(MAPI_E_OBJECT_CHANGED, "the object was changed by another save");
        db_.Cached("UPDATE objects SET change = ?2 WHERE id = ?1")
            .Bind(1, id)
            .Bind(2, change)
            .Run();
    }
    for (ULONG tag : removed) {
        db_.Cached("DELETE FROM props WHERE obj = ?1 AND tag = ?2")
            .Bind(1, id)
            .Bind(2, std::int64_t{tag})
            .Run();
    }
    WriteValues(id, request.set);
    NoteTags(request.set);
    if (request.recipients) {
        db_.Cached("INSERT OR REPLACE INTO recipients(msg, rows) VALUES(?1, ?2)")
            .Bind(1, id)
            .BindBlob(2, *request.recipients)
            .Run();
    }
    if (request.kind == EntryKind::Folder) TouchHierarchy();
    if (request.kind != EntryKind::Store) RecordSave(request, id, parent);
    transaction.Commit();
    for (const SPropValue* value : request.set) known_tags_.insert(value->ulPropTag);
    notifier_->Wake();
    return {id, change};
}

std::vector<ObjectId> StoreDatabase::Children(ObjectId folder, EntryKind kind, bool associated) {
    std::lock_guard lock(mutex_);
    Statement& list =
        db_.Cached(
               "SELECT id FROM objects WHERE parent = ?1 AND kind = ?2 AND assoc = ?3 ORDER BY id")
            .Bind(1, folder)
            .Bind(2, std::int64_t{static_cast<int>(kind)})
            .Bind(3, std::int64_t{associated});
    std::vector<ObjectId> ids;
    while (list.Step()) ids.push_back(list.Int(0));
    return ids;
}

std::int64_t StoreDatabase::CountChildren(ObjectId folder, EntryKind kind, bool associated) {
    std::lock_guard lock(mutex_);
    Statement& count =
        db_.Cached("SELECT count(*) FROM objects WHERE parent = ?1 AND kind = ?2 AND assoc = ?3")
            .Bind(1, folder)
            .Bind(2, std::int64_t{static_cast<int>(kind)})
            .Bind(3, std::int64_t{associated});
    std::int64_t n = count.Step() ? count.Int(0) : 0;
    count.Reset();
    return n;
}

std::optional<ObjectId> StoreDatabase::FindChildFolder(ObjectId parent, std::string_view name) {
    std::lock_guard lock(mutex_);
    Statement& find = db_.Cached(
        "SELECT o.id FROM objects o JOIN props p ON p.obj = o.id AND p.tag = " +
        std::to_string(PR_DISPLAY_NAME_A) +
        " WHERE o.parent = ?1 AND o.kind = 2 AND p.val = ?2 COLLATE NOCASE ORDER BY o.id LIMIT 1");
    find.Bind(1, parent).BindText(2, name);
    std::optional<ObjectId> id;
    if (find.Step()) id = find.Int(0);
    find.Reset();
    return id;
}

std::size_t StoreDatabase::Delete(std::span<const ObjectId> ids) {
    std::lock_guard lock(mutex_);
    ++structure_writes_;
    Transaction transaction(db_);
    std::size_t deleted = 0;
    bool folders = false;
    for (ObjectId id : ids) {
        auto info = FindLocked(id);
        if (!info || id == kStoreObject) continue;
        folders |= info->kind == EntryKind::Folder;
        // The object and everything below it.
        const char* const kBelow =
            "WITH RECURSIVE below(id) AS (SELECT ?1 UNION ALL "
            "SELECT o.id FROM objects o JOIN below b ON o.parent = b.id) ";
        db_.Cached(std::string(kBelow) + "DELETE FROM props WHERE obj IN (SELECT id FROM below)")
            .Bind(1, id)
            .Run();
        db_.Cached(std::string(kBelow) +
                   "DELETE FROM recipients WHERE msg IN (SELECT id FROM below)")
            .Bind(1, id)
            .Run();
        db_.Cached(std::string(kBelow) + "DELETE FROM objects WHERE id IN (SELECT id FROM below)")
            .Bind(1, id)
            .Run();
        TouchMembership(info->parent);
        RecordEvent({0, fnevObjectDeleted, info->kind, id, info->parent});
        ++deleted;
    }
    if (folders) TouchHierarchy();
    transaction.Commit();
    if (deleted) notifier_->Wake();
    return deleted;
}

std::size_t StoreDatabase::Move(std::span<const ObjectId> ids, ObjectId parent) {
    std::lock_guard lock(mutex_);
    ++structure_writes_;
    Transaction transaction(db_);
    std::size_t moved = 0;
    bool folders = false;
    for (ObjectId id : ids) {
        auto info = FindLocked(id);
        if (!info || id == kStoreObject) continue;
        folders |= info->kind == EntryKind::Folder;
        db_.Cached("UPDATE objects SET parent = ?2, change = change + 1 WHERE id = ?1")
            .Bind(1, id)
            .Bind(2, parent)
            .Run();
        TouchMembership(info->parent);
        TouchMembership(parent);
        RecordEvent({0, fnevObjectMoved, info->kind, id, parent, id, info->parent});
        ++moved;
    }
    if (folders) TouchHierarchy();
    transaction.Commit();
    if (moved) notifier_->Wake();
    return moved;
}

std::vector<ObjectId> StoreDatabase::CopyMessages(std::span<const ObjectId> ids, ObjectId parent) {
    std::lock_guard lock(mutex_);
    ++structure_writes_;
    Transaction transaction(db_);
    std::vector<ObjectId> copies;
    for (ObjectId id : ids) {
        auto info = FindLocked(id);
        if (!info || info->kind != EntryKind::Message) continue;
        db_.Cached("INSERT INTO objects(kind, parent, assoc, change) VALUES(3, ?1, ?2, 1)")
            .Bind(1, parent)
            .Bind(2, std::int64_t{info->associated})
            .Run();
        ObjectId copy = db_.LastInsertId();
        db_.Cached("INSERT INTO props(obj, tag, val) SELECT ?2, tag, val FROM props WHERE obj = ?1")
            .Bind(1, id)
            .Bind(2, copy)
            .Run();
        db_.Cached(
               "INSERT INTO recipients(msg, rows) SELECT ?2, rows FROM recipients WHERE msg = ?1")
            .Bind(1, id)
            .Bind(2, copy)
            .Run();
        copies.push_back(copy);
        RecordEvent({0, fnevObjectCopied, EntryKind::Message, copy, parent, id, info->parent});
    }
    if (!copies.empty()) TouchMembership(parent);
    transaction.Commit();
    if (!copies.empty()) notifier_->Wake();
    return copies;
}

std::int64_t StoreDatabase::MembershipVersion(ObjectId folder) {
    std::lock_guard lock(mutex_);
    const std::uint64_t writing = db_.OpenBulkTransaction();
    KnownMembers* known = writing ? &known_members_[folder] : nullptr;
    if (known && known->transaction == writing && known->structure == structure_writes_)
        return known->members;
    Statement& read = db_.Cached("SELECT members FROM objects WHERE id = ?1").Bind(1, folder);
    std::int64_t version = read.Step() ? read.Int(0) : -1;
    read.Reset();
    if (known) *known = {writing, structure_writes_, version};
    return version;
}

std::shared_ptr<const std::vector<ObjectId>> StoreDatabase::MessageIds(ObjectId folder,
                                                                       bool associated) {
    std::lock_guard lock(mutex_);
    ReadSnapshot snapshot(db_);
    // Counts seen outside a write of our own are committed ones, which only ever grow: the ids
    // read at a count are the ids at that count for good.
    const bool keep = Cacheable();
    const std::int64_t members = MembershipVersion(folder);
    const std::int64_t events = LastEvent();
    KnownMessageIds* known = keep ? &message_ids_[std::make_pair(folder, associated)] : nullptr;
    if (known && known->ids && known->members == members) return known->ids;
    std::shared_ptr<std::vector<ObjectId>> ids;
    // A few changes are followed through the log; after many, reading the ids is cheaper.
    if (known && known->ids && events - known->events <= kEventsFollowed) {
        try {
            ids = FollowMembership(folder, associated, *known);
        } catch (...) {
            known->ids.reset();  // it may have been left half followed
            throw;
        }
    }
    if (!ids) {
        auto read = std::make_shared<std::vector<ObjectId>>();
        Statement& query = db_.Cached(
            "SELECT id FROM objects WHERE parent = ?1 AND kind = 3 AND assoc = ?2 ORDER BY id");
        query.Bind(1, folder).Bind(2, std::int64_t{associated});
        while (query.Step()) read->push_back(query.Int(0));
        ids = std::move(read);
    }
    if (known) *known = {members, events, ids};
    return ids;
}

bool StoreDatabase::Cacheable() {
    if (db_.FailedBulkCommits() != failed_bulk_commits_seen_) {
        failed_bulk_commits_seen_ = db_.FailedBulkCommits();
        message_ids_.clear();
        holders_.clear();
    }
    // Tables read between shared commits, never inside a save of their own.
    return db_.InBulk() || sqlite3_txn_state(db_.handle(), "main") != SQLITE_TXN_WRITE;
}

std::int64_t StoreDatabase::LastEvent() {
    Statement& last = db_.Cached("SELECT max(seq) FROM events");
    const std::int64_t seq = last.Step() ? last.Int(0) : 0;
    last.Reset();
    return seq;
}

std::shared_ptr<std::vector<ObjectId>> StoreDatabase::FollowMembership(
    ObjectId folder, bool associated, const KnownMessageIds& known) {
    // Every join and leave is in the event log; once pruning took events the ids were read
    // after, they are read again.
    Statement& first = db_.Cached("SELECT min(seq) FROM events");
    const std::int64_t oldest = first.Step() ? first.Int(0) : 0;
    first.Reset();
    if (oldest == 0 || oldest > known.events + 1) return nullptr;
    // Tables hand the ids out only through this cache, under the lock: when it is their one
    // holder, nobody can take them while they change, and a large folder is not copied per
    // delivery.
    auto ids = known.ids.use_count() == 1 ? known.ids
                                          : std::make_shared<std::vector<ObjectId>>(*known.ids);
    auto join = [&](ObjectId id) {
        Statement& object = db_.Cached("SELECT assoc FROM objects WHERE id = ?1").Bind(1, id);
        const bool present = object.Step() && (object.Int(0) != 0) == associated;
        object.Reset();
        auto at = std::lower_bound(ids->begin(), ids->end(), id);
        if (present && (at == ids->end() || *at != id)) ids->insert(at, id);
    };
    auto leave = [&](ObjectId id) {
        auto at = std::lower_bound(ids->begin(), ids->end(), id);
        if (at != ids->end() && *at == id) ids->erase(at);
    };
    Statement& read = db_.Cached(
        "SELECT type, obj, parent, old_parent FROM events WHERE seq > ?1 AND kind = 3 AND "
        "(parent = ?2 OR old_parent = ?2) ORDER BY seq");
    read.Bind(1, known.events).Bind(2, folder);
    while (read.Step()) {
        const auto type = static_cast<ULONG>(read.Int(0));
        const ObjectId id = read.Int(1), parent = read.Int(2), old_parent = read.Int(3);
        if (type == fnevObjectCreated || type == fnevObjectCopied) {
            if (parent == folder) join(id);
        } else if (type == fnevObjectDeleted) {
            if (parent == folder) leave(id);
        } else if (type == fnevObjectMoved) {
            if (parent == folder) join(id);
            if (old_parent == folder && parent != folder) leave(id);
        }
    }
    read.Reset();
    return ids;
}

std::shared_ptr<const std::vector<ObjectId>> StoreDatabase::Holders(ULONG tag) {
    std::lock_guard lock(mutex_);
    ReadSnapshot snapshot(db_);
    const bool keep = Cacheable();
    // Every write records an event and pruning keeps the newest, so the last sequence number
    // moves whenever any value may have changed.
    const std::int64_t events = LastEvent();
    KnownHolders& known = holders_[tag];
    if (keep && known.ids && known.events == events) return known.ids;
    // The tag is written into the text so that its value index (a partial index) serves.
    Statement& query = db_.Cached("SELECT obj FROM props WHERE tag = " + std::to_string(tag));
    auto ids = std::make_shared<std::vector<ObjectId>>();
    while (query.Step()) ids->push_back(query.Int(0));
    std::sort(ids->begin(), ids->end());
    if (keep) known = {events, ids};
    return ids;
}

std::int64_t StoreDatabase::HierarchyVersion() {
    std::lock_guard lock(mutex_);
    Statement& read = db_.Cached("SELECT value FROM meta WHERE key = 'hierarchy'");
    std::int64_t version = read.Step() ? read.Int(0) : 0;
    read.Reset();
    return version;
}

ULONG StoreDatabase::IdFromName(const NamedProperty& name, bool create) {
    std::lock_guard lock(mutex_);
    auto find = [&]() -> ULONG {
        Statement& read = db_.Cached(
            "SELECT id FROM names WHERE guid = ?1 AND kind = ?2 AND lid = ?3 AND name = ?4");
        read.BindBlob(1, GuidBytes(name.guid))
            .Bind(2, std::int64_t{name.kind})
            .Bind(3, std::int64_t{name.kind == MNID_ID ? name.lid : 0})
            .BindText(4, name.kind == MNID_STRING ? name.name : std::string());
        ULONG id = read.Step() ? static_cast<ULONG>(read.Int(0)) : 0;
        read.Reset();
        return id;
    };
    if (ULONG id = find(); id || !create) return id;
    Transaction transaction(db_);
    // Another process may have created it since.
    if (ULONG id = find()) return id;
    Statement& next = db_.Cached("SELECT coalesce(max(id) + 1, ?1) FROM names")
                          .Bind(1, std::int64_t{kFirstNamedId});
    next.Step();
    std::int64_t id = next.Int(0);
    next.Reset();
    if (id > kLastNamedId)
        throw StoreFailure(MAPI_E_TOO_BIG, "the store has no named property ids left");
    db_.Cached("INSERT INTO names(id, guid, kind, lid, name) VALUES(?1, ?2, ?3, ?4, ?5)")
        .Bind(1, id)
        .BindBlob(2, GuidBytes(name.guid))
        .Bind(3, std::int64_t{name.kind})
        .Bind(4, std::int64_t{name.kind == MNID_ID ? name.lid : 0})
        .BindText(5, name.kind == MNID_STRING ? name.name : std::string())
        .Run();
    transaction.Commit();
    return static_cast<ULONG>(id);
}

std::optional<NamedProperty> StoreDatabase::NameFromId(ULONG id) {
    std::lock_guard lock(mutex_);
    Statement& read = db_.Cached("SELECT guid, kind, lid, name FROM names WHERE id = ?1")
                          .Bind(1, std::int64_t{id});
    if (!read.Step()) return std::nullopt;
    NamedProperty name;
    auto guid = read.Blob(0);
    if (guid.size() == sizeof(GUID)) std::memcpy(&name.guid, guid.data(), sizeof(GUID));
    name.kind = static_cast<ULONG>(read.Int(1));
    name.lid = static_cast<LONG>(read.Int(2));
    name.name = std::string(read.Text(3));
    read.Reset();
    return name;
}

bool StoreDatabase::EnsureValueIndex(ULONG tag) {
    if ((PROP_TYPE(tag) & MV_FLAG) || PROP_TYPE(tag) == PT_UNICODE ||
        !IsStorableType(PROP_TYPE(tag)))
        return false;
    std::lock_guard lock(mutex_);
    if (indexed_tags_.count(tag)) return true;
    if (indexed_tags_.size() >= kMaxValueIndexes) return false;
    Transaction transaction(db_);
    // The tag is a number we format, never a caller's text.
    db_.Exec(("CREATE INDEX IF NOT EXISTS " + IndexName(tag) +
              " ON props(val COLLATE NOCASE, obj) WHERE tag = " + std::to_string(tag))
                 .c_str());
    db_.Cached("INSERT OR IGNORE INTO value_indexes(tag) VALUES(?1)")
        .Bind(1, std::int64_t{tag})
        .Run();
    // Inside the transaction: on its own, the analysis would turn its read into a write and fail
    // at once, without waiting, whenever another process is writing.
    db_.Exec("PRAGMA optimize");
    transaction.Commit();
    indexed_tags_.insert(tag);
    return true;
}

bool StoreDatabase::HasValueIndex(ULONG tag) {
    std::lock_guard lock(mutex_);
    return indexed_tags_.count(tag) != 0;
}

bool StoreDatabase::TagInUse(ULONG tag) {
    std::lock_guard lock(mutex_);
    // Most tags asked about were never written (a multi-valued twin): no read for them either
    // while no other connection has committed.
    if (DataVersion() != known_tags_version_) LoadKnownTags();
    return known_tags_.count(tag) != 0;
}

std::vector<std::string> StoreDatabase::Check() {
    std::lock_guard lock(mutex_);
    std::vector<std::string> problems;
    auto count = [&](const char* sql, const char* what) {
        Statement& query = db_.Cached(sql);
        std::int64_t n = query.Step() ? query.Int(0) : 0;
        query.Reset();
        if (n) problems.push_back(std::to_string(n) + " " + what);
    };
    // Damage can stop the check part-way: what it found until then, and the damage that
    // stopped it, are the check's answer, not a failure of the check.
    try {
        Statement& check = db_.Cached("PRAGMA integrity_check");
        while (check.Step()) {
            std::string line(check.Text(0));
            if (line != "ok") problems.push_back(line);
        }
        count(
            "SELECT count(*) FROM objects o WHERE o.id <> 1 AND NOT EXISTS "
            "(SELECT 1 FROM objects p WHERE p.id = o.parent)",
            "objects whose folder is missing");
        count(
            "SELECT count(*) FROM (SELECT DISTINCT obj FROM props) p WHERE NOT EXISTS "
            "(SELECT 1 FROM objects o WHERE o.id = p.obj)",
            "property sets of missing objects");
        count("SELECT 1 - count(*) FROM objects WHERE id = 1 AND kind = 1", "missing store object");
    } catch (const StoreFailure& failure) {
        if (failure.code() != MAPI_E_CORRUPT_STORE) throw;
        problems.push_back(failure.what());
    }
    return problems;
}

}  // namespace orvella::platform::mapi::store
