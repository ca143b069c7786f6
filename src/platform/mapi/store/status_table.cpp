// The status table's rows, built from the profile's stores and its directory.
#include "status_table.h"

#include <optional>

#include "ab_entry_id.h"
#include "directory.h"
#include "directory_rows.h"
#include "mapi_table.h"
#include "mapitags.h"
#include "memory_row_source.h"

namespace orvella::platform::mapi::store {
namespace {

const char* ProviderName(StoreKind kind) {
    switch (kind) {
        case StoreKind::Exchange:
            return "Exchange-like Mailbox";
        case StoreKind::Public:
            return "Public Folders";
        case StoreKind::Http:
            return "HTTP Mail Folders";
        default:
            return "Personal Folders";
    }
}

class StatusRows {
public:
    explicit StatusRows(std::optional<DirectoryEntry> user)
        : user_(std::move(user)),
          source_(std::make_shared<MemoryRowSource>(std::vector<ULONG>{
              PR_ROWID, PR_DISPLAY_NAME_A, PR_PROVIDER_DISPLAY_A, PR_RESOURCE_TYPE,
              PR_RESOURCE_FLAGS, PR_STATUS_CODE, PR_IDENTITY_ENTRYID, PR_IDENTITY_DISPLAY_A})) {}

    void Add(ULONG type, const std::string& name, const std::string& provider, ULONG flags,
             bool identity) {
        PropValueBuilder values;
        values.Long(PR_ROWID, next_row_++)
            .Long(PR_OBJECT_TYPE, MAPI_STATUS)
            .Long(PR_RESOURCE_TYPE, type)
            .String(PR_DISPLAY_NAME_A, name)
            .String(PR_PROVIDER_DISPLAY_A, provider)
            .Long(PR_RESOURCE_FLAGS, flags)
            .Long(PR_RESOURCE_METHODS, 0)
            .Long(PR_STATUS_CODE, STATUS_AVAILABLE)
            .String(PR_STATUS_STRING_A, "Available");
        if (identity && user_) {
            const EntryIdBytes id = MakeAbEntryId({AbEntryKind::MailUser, user_->id});
            values.Binary(PR_IDENTITY_ENTRYID, {id.begin(), id.end()})
                .String(PR_IDENTITY_DISPLAY_A, user_->display_name)
                .Binary(PR_IDENTITY_SEARCH_KEY, EntrySearchKey(*user_));
        }
        source_->AddRow(values.values());
    }

    bool has_user() const { return user_.has_value(); }
    const std::shared_ptr<MemoryRowSource>& source() const { return source_; }

private:
    std::optional<DirectoryEntry> user_;
    std::shared_ptr<MemoryRowSource> source_;
    ULONG next_row_ = 0;
};

}  // namespace

HRESULT OpenStatusTable(const std::string& profile, const std::vector<ProfileStore>& stores,
                        LPMAPITABLE* table) {
    if (!table) return MAPI_E_INVALID_PARAMETER;
    *table = nullptr;
    std::optional<DirectoryEntry> user;
    for (DirectoryEntry& entry : DirectoryEntries(profile))
        if (entry.is_user) user = std::move(entry);
    const bool has_directory = ProfileHasDirectory(profile);

    StatusRows rows(std::move(user));
    rows.Add(MAPI_SUBSYSTEM, "MAPI Subsystem", "MAPI Subsystem",
             rows.has_user() ? 0 : STATUS_NO_PRIMARY_IDENTITY, true);
    rows.Add(MAPI_AB, "MAPI Address Book", "MAPI Address Book", 0, false);
    if (has_directory)
        rows.Add(MAPI_AB_PROVIDER, "Exchange-like Directory", "Exchange-like Directory", 0, false);
    for (const ProfileStore& store : stores)
        rows.Add(MAPI_STORE_PROVIDER, store.display_name, ProviderName(store.kind),
                 store.is_default ? STATUS_DEFAULT_STORE : 0, false);
    if (has_directory)
        rows.Add(MAPI_TRANSPORT_PROVIDER, "Exchange-like Transport", "Exchange-like Transport",
                 STATUS_DEFAULT_OUTBOUND | (rows.has_user() ? STATUS_PRIMARY_IDENTITY : 0), true);

    auto opened = OpenTable(rows.source());
    if (!opened) return MAPI_E_NOT_ENOUGH_MEMORY;
    *table = opened.Detach();
    return S_OK;
}

}  // namespace orvella::platform::mapi::store
