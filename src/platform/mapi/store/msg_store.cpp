// IMsgStore over a store file: entry ids, receive folders and the store's own properties.
#include <cstring>

#include "mapi_shared_commit.h"
#include "mapitags.h"
#include "mapix.h"
#include "store_objects.h"

namespace orvella::platform::mapi::store {
MsgStore::MsgStore(std::shared_ptr<StoreDatabase> store, bool writable)
    : props_(store, *store->Find(kStoreObject), writable, *this) {}

const std::vector<ULONG>& MsgStore::ComputedTags() const {
    return CommonComputedTags();
}

bool MsgStore::Compute(ULONG tag, void* parent, SPropValue& out) {
    return ComputeCommon(props_.store(), props_.info(), tag, parent, out);
}

HRESULT MsgStore::CompareEntryIDs(ULONG cb1, LPENTRYID id1, ULONG cb2, LPENTRYID id2, ULONG,
                                  ULONG* result) {
    if (!result) return MAPI_E_INVALID_PARAMETER;
    auto same = SameEntry(cb1, id1, cb2, id2);
    if (!same) return MAPI_E_UNKNOWN_ENTRYID;
    *result = *same;
    return S_OK;
}

HRESULT MsgStore::OpenEntry(ULONG cb, LPENTRYID entry_id, LPCIID iface, ULONG flags, ULONG* type,
                            LPUNKNOWN* out) {
    return Guarded(props_.last_error(), [&] {
        return OpenStoreEntry(props_.store_ptr(), cb, entry_id, iface, flags, type, out);
    });
}

// Notifications for the whole store (no entry id) or one folder or message of it.
HRESULT MsgStore::Advise(ULONG cb, LPENTRYID entry_id, ULONG mask, LPMAPIADVISESINK sink,
                         ULONG_PTR* connection) {
    if (!sink || !connection || mask == 0) return MAPI_E_INVALID_PARAMETER;
    ObjectId filter = 0;
    EntryKind filter_kind = EntryKind::Store;
    if (cb != 0 || entry_id) {
        auto parts = ParseEntryId(cb, entry_id);
        if (!parts || std::memcmp(&parts->store, &props_.store().uid(), sizeof(GUID)) != 0)
            return MAPI_E_INVALID_ENTRYID;
        if (parts->kind != EntryKind::Store) {
            filter = parts->object;
            filter_kind = parts->kind;
        }
    }
    return Guarded(props_.last_error(), [&] {
        *connection = props_.store().notifier().Advise(props_.store_ptr(), filter, filter_kind,
                                                       mask, ComPtr<IMAPIAdviseSink>(sink));
        return S_OK;
    });
}

HRESULT MsgStore::Unadvise(ULONG_PTR connection) {
    if (connection == 0 || connection > 0xFFFFFFFFu) return MAPI_E_INVALID_PARAMETER;
    return props_.store().notifier().Unadvise(static_cast<ULONG>(connection)) ? S_OK
                                                                              : MAPI_E_NOT_FOUND;
}

HRESULT MsgStore::SetReceiveFolder(LPTSTR, ULONG, ULONG cb, LPENTRYID entry_id) {
    auto parts = ParseEntryId(cb, entry_id);
    if (!parts || parts->kind != EntryKind::Folder) return MAPI_E_INVALID_ENTRYID;
    return Guarded(props_.last_error(), [&] {
        ObjectProperties writer(props_.store_ptr(), *props_.store().Find(kStoreObject), true,
                                *this);
        SPropValue value = {};
        value.ulPropTag = kReceiveFolderTag;
        value.Value.bin.cb = cb;
        value.Value.bin.lpb = reinterpret_cast<LPBYTE>(entry_id);
        writer.Put(value);
        return writer.SaveChanges(FORCE_SAVE);
    });
}

HRESULT MsgStore::GetReceiveFolder(LPTSTR, ULONG, ULONG* cb, LPENTRYID* entry_id,
                                   LPTSTR* explicit_class) {
    if (!cb || !entry_id) return MAPI_E_INVALID_PARAMETER;
    *cb = 0;
    *entry_id = nullptr;
    if (explicit_class) *explicit_class = nullptr;
    return Guarded(props_.last_error(), [&]() -> HRESULT {
        // Read fresh: another session may have changed it.
        PropertyMap saved = props_.store().LoadProperties(kStoreObject);
        auto found = saved.find(PROP_ID(kReceiveFolderTag));
        if (found == saved.end()) return MAPI_E_NOT_FOUND;
        const SBinary& bin = found->second->Value.bin;
        void* copy = nullptr;
        if (FAILED(MAPIAllocateBuffer(bin.cb, &copy))) return MAPI_E_NOT_ENOUGH_MEMORY;
        std::memcpy(copy, bin.lpb, bin.cb);
        *cb = bin.cb;
        *entry_id = static_cast<LPENTRYID>(copy);
        return S_OK;
    });
}

std::unique_ptr<StoreDatabase::BulkWriting> BeginBulkWriting(IMsgStore* store) {
    auto* ours = dynamic_cast<MsgStore*>(store);
    if (!ours) return nullptr;
    return std::make_unique<StoreDatabase::BulkWriting>(ours->database());
}

}  // namespace orvella::platform::mapi::store

namespace orvella::platform::mapi {
namespace {

class StoreSharedCommit final : public SharedCommitScope {
public:
    explicit StoreSharedCommit(IMsgStore* store) : bulk_(store::BeginBulkWriting(store)) {}

private:
    std::unique_ptr<store::StoreDatabase::BulkWriting> bulk_;  // null: another provider's store
};

}  // namespace

std::unique_ptr<SharedCommitScope> BeginSharedCommit(IMsgStore* store) {
    return std::make_unique<StoreSharedCommit>(store);
}

}  // namespace orvella::platform::mapi

namespace orvella::platform::mapi::store {

namespace {

// Hands out the opened object when it answers to the interface asked for (any, when none).
template <class T>
HRESULT ReturnEntry(const ComPtr<T>& object, LPCIID iface, LPUNKNOWN* out) {
    if (iface) {
        ComPtr<IUnknown> asked;
        if (FAILED(object.As(*iface, asked))) return MAPI_E_INTERFACE_NOT_SUPPORTED;
    }
    return ReturnObject(object, out);
}

}  // namespace

HRESULT OpenStoreEntry(const std::shared_ptr<StoreDatabase>& store, ULONG cb,
                       const ENTRYID* entry_id, LPCIID iface, ULONG flags, ULONG* type,
                       LPUNKNOWN* out) {
    if (!out) return MAPI_E_INVALID_PARAMETER;
    *out = nullptr;
    // One statement finds the object: its values are read at their first use.
    ObjectId id = 0;
    if (!entry_id || cb == 0) {
        auto roots = store->Children(kStoreObject, EntryKind::Folder, false);
        if (roots.empty()) return MAPI_E_NOT_FOUND;
        id = roots.front();
    } else {
        auto parts = ParseEntryId(cb, entry_id);
        if (!parts || std::memcmp(&parts->store, &store->uid(), sizeof(GUID)) != 0)
            return MAPI_E_INVALID_ENTRYID;
        if (parts->kind == EntryKind::Store) {
            if (type) *type = MAPI_STORE;
            return ReturnEntry(MakeCom<MsgStore>(store, (flags & MAPI_MODIFY) != 0), iface, out);
        }
        id = parts->object;
    }
    auto info = store->Find(id);
    if (!info) return MAPI_E_NOT_FOUND;
    const bool writable = (flags & (MAPI_MODIFY | MAPI_BEST_ACCESS)) != 0;
    if (info->kind == EntryKind::Folder) {
        if (type) *type = MAPI_FOLDER;
        return ReturnEntry(MakeCom<Folder>(store, *info, writable), iface, out);
    }
    if (type) *type = MAPI_MESSAGE;
    return ReturnEntry(MakeCom<Message>(store, *info, writable), iface, out);
}

}  // namespace orvella::platform::mapi::store
