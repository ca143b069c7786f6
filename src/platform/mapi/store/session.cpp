// The MAPI session over a profile.
#include "session.h"

#include <cstring>

#include "ab_entry_id.h"
#include "address_book.h"
#include "mapi_table.h"
#include "mapitags.h"
#include "memory_row_source.h"
#include "status_table.h"
#include "store_objects.h"

namespace orvella::platform::mapi::store {

Session::Session(std::string profile, std::vector<ProfileStore> stores)
    : profile_(std::move(profile)), stores_(std::move(stores)), opened_(stores_.size()) {}

std::shared_ptr<StoreDatabase> Session::StoreFor(const GUID& uid) {
    for (std::size_t i = 0; i < stores_.size(); ++i) {
        if (std::memcmp(&stores_[i].uid, &uid, sizeof(GUID)) != 0) continue;
        if (!opened_[i]) opened_[i] = StoreDatabase::Open(stores_[i].file);
        return opened_[i];
    }
    return nullptr;
}

HRESULT Session::GetMsgStoresTable(ULONG, LPMAPITABLE* table) {
    if (!table) return MAPI_E_INVALID_PARAMETER;
    std::lock_guard lock(mutex_);
    return Guarded(last_error_, [&]() -> HRESULT {
        auto source = std::make_shared<MemoryRowSource>(std::vector<ULONG>{
            PR_ENTRYID, PR_DISPLAY_NAME_A, PR_DEFAULT_STORE, PR_MDB_PROVIDER, PR_RESOURCE_FLAGS});
        for (const ProfileStore& entry : stores_) {
            PropertyMap saved = StoreFor(entry.uid)->LoadProperties(kStoreObject);
            EntryIdBytes eid = MakeEntryId({entry.uid, EntryKind::Store, 0});
            std::vector<SPropValue> row(5);
            row[0].ulPropTag = PR_ENTRYID;
            row[0].Value.bin = {kEntryIdSize, eid.data()};
            row[1].ulPropTag = PR_DISPLAY_NAME_A;
            row[1].Value.lpszA = const_cast<char*>(entry.display_name.c_str());
            row[2].ulPropTag = PR_DEFAULT_STORE;
            row[2].Value.b = entry.is_default;
            row[3].ulPropTag = PR_RESOURCE_FLAGS;
            row[3].Value.l = entry.is_default ? STATUS_DEFAULT_STORE : 0;
            auto provider = saved.find(PROP_ID(PR_MDB_PROVIDER));
            if (provider != saved.end())
                row[4] = *provider->second;
            else
                row.pop_back();
            source->AddRow(row);
        }
        auto opened = OpenTable(source);
        if (!opened) return MAPI_E_CALL_FAILED;
        *table = opened.Detach();
        return S_OK;
    });
}

HRESULT Session::OpenMsgStore(ULONG_PTR, ULONG cb, LPENTRYID entry_id, LPCIID, ULONG flags,
                              LPMDB* out) {
    if (!out) return MAPI_E_INVALID_PARAMETER;
    *out = nullptr;
    auto parts = ParseEntryId(cb, entry_id);
    if (!parts || parts->kind != EntryKind::Store) return MAPI_E_INVALID_ENTRYID;
    std::lock_guard lock(mutex_);
    return Guarded(last_error_, [&]() -> HRESULT {
        auto store = StoreFor(parts->store);
        if (!store) return MAPI_E_NOT_FOUND;
        const bool writable = (flags & (MDB_WRITE | MAPI_BEST_ACCESS | MAPI_MODIFY)) != 0;
        return ReturnObject(MakeCom<MsgStore>(store, writable), out);
    });
}

HRESULT Session::OpenAddressBook(ULONG_PTR, LPCIID, ULONG, LPADRBOOK* book) {
    if (!book) return MAPI_E_INVALID_PARAMETER;
    *book = nullptr;
    std::lock_guard lock(mutex_);
    return Guarded(last_error_,
                   [&]() -> HRESULT { return ReturnObject(MakeCom<AddressBook>(profile_), book); });
}

HRESULT Session::GetStatusTable(ULONG flags, LPMAPITABLE* table) {
    if (!table) return MAPI_E_INVALID_PARAMETER;
    *table = nullptr;
    if (flags & MAPI_UNICODE) return MAPI_E_BAD_CHARWIDTH;
    std::lock_guard lock(mutex_);
    return Guarded(last_error_, [&] { return OpenStatusTable(profile_, stores_, table); });
}

HRESULT Session::OpenEntry(ULONG cb, LPENTRYID entry_id, LPCIID iface, ULONG flags, ULONG* type,
                           LPUNKNOWN* out) {
    if (!out) return MAPI_E_INVALID_PARAMETER;
    *out = nullptr;
    if (ParseAbEntryId(cb, entry_id))
        return OpenAddressBookEntry(profile_, cb, entry_id, type, out);
    auto parts = ParseEntryId(cb, entry_id);
    if (!parts) return MAPI_E_INVALID_ENTRYID;
    std::lock_guard lock(mutex_);
    return Guarded(last_error_, [&]() -> HRESULT {
        // An entry of a store this profile does not have: its provider is not open here.
        auto store = StoreFor(parts->store);
        if (!store) return MAPI_E_UNKNOWN_ENTRYID;
        return OpenStoreEntry(store, cb, entry_id, iface, flags, type, out);
    });
}

HRESULT Session::CompareEntryIDs(ULONG cb1, LPENTRYID id1, ULONG cb2, LPENTRYID id2, ULONG,
                                 ULONG* result) {
    if (!result) return MAPI_E_INVALID_PARAMETER;
    auto same = SameAbEntry(cb1, id1, cb2, id2);
    if (!same) same = SameEntry(cb1, id1, cb2, id2);
    if (!same) return MAPI_E_UNKNOWN_ENTRYID;
    *result = *same;
    return S_OK;
}

}  // namespace orvella::platform::mapi::store
