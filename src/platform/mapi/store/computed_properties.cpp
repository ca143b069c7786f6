// The values every stored object computes rather than stores.
#include <cstring>

#include "mapitags.h"
#include "mapix.h"
#include "store_objects.h"

namespace orvella::platform::mapi::store {
namespace {

ULONG ObjectType(EntryKind kind) {
    switch (kind) {
        case EntryKind::Store:
            return MAPI_STORE;
        case EntryKind::Folder:
            return MAPI_FOLDER;
        default:
            return MAPI_MESSAGE;
    }
}

EntryIdParts PartsOf(const StoreDatabase& store, EntryKind kind, ObjectId id) {
    EntryIdParts parts;
    parts.store = store.uid();
    parts.kind = kind;
    parts.object = kind == EntryKind::Store ? 0 : id;
    return parts;
}

}  // namespace

const std::vector<ULONG>& CommonComputedTags() {
    static const std::vector<ULONG> tags = {PR_ENTRYID,          PR_RECORD_KEY,
                                            PR_PARENT_ENTRYID,   PR_STORE_ENTRYID,
                                            PR_STORE_RECORD_KEY, PR_OBJECT_TYPE};
    return tags;
}

bool ComputeCommon(const StoreDatabase& store, const ObjectInfo& info, ULONG tag, void* parent,
                   SPropValue& out) {
    switch (tag) {
        case PR_ENTRYID:
        case PR_RECORD_KEY:
            return info.id &&
                   SUCCEEDED(EntryIdValue(PartsOf(store, info.kind, info.id), tag, parent, out));
        case PR_PARENT_ENTRYID: {
            if (info.kind == EntryKind::Store) return false;
            // The root folder is its own parent, as in every MAPI store.
            bool root = info.parent == kStoreObject;
            return SUCCEEDED(EntryIdValue(
                PartsOf(store, EntryKind::Folder, root ? info.id : info.parent), tag, parent, out));
        }
        case PR_STORE_ENTRYID:
            return SUCCEEDED(EntryIdValue(PartsOf(store, EntryKind::Store, 0), tag, parent, out));
        case PR_STORE_RECORD_KEY: {
            void* bytes = nullptr;
            if (FAILED(MAPIAllocateMore(sizeof(GUID), parent, &bytes))) return false;
            std::memcpy(bytes, &store.uid(), sizeof(GUID));
            out.ulPropTag = tag;
            out.Value.bin.cb = sizeof(GUID);
            out.Value.bin.lpb = static_cast<LPBYTE>(bytes);
            return true;
        }
        case PR_OBJECT_TYPE:
            out.ulPropTag = tag;
            out.Value.l = static_cast<LONG>(ObjectType(info.kind));
            return true;
        default:
            return false;
    }
}

}  // namespace orvella::platform::mapi::store
