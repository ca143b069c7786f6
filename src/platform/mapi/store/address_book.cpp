// The address book's objects: the root container, the directory and "Contacts" containers,
// and the directory's mail users.
#include "address_book.h"

#include <cstring>

#include "ab_entry_id.h"
#include "directory.h"
#include "directory_rows.h"
#include "mapi_table.h"
#include "mapitags.h"
#include "mapiutil.h"
#include "memory_row_source.h"

namespace orvella::platform::mapi::store {
namespace {

std::vector<std::uint8_t> IdBytes(const AbEntryIdParts& parts) {
    const EntryIdBytes id = MakeAbEntryId(parts);
    return {id.begin(), id.end()};
}

// The values of a container; `depth` adds PR_DEPTH, as hierarchy rows carry it.
void AddContainerValues(AbEntryKind kind, PropValueBuilder& values, bool depth = false) {
    const char* name = kind == AbEntryKind::Directory  ? kDirectoryContainerName
                       : kind == AbEntryKind::Contacts ? kContactsContainerName
                                                       : "";
    const ULONG flags = kind == AbEntryKind::Root ? AB_SUBCONTAINERS | AB_UNMODIFIABLE
                                                  : AB_RECIPIENTS | AB_UNMODIFIABLE;
    values.Binary(PR_ENTRYID, IdBytes({kind, 0}))
        .Binary(PR_RECORD_KEY, IdBytes({kind, 0}))
        .String(PR_DISPLAY_NAME_A, name)
        .Long(PR_OBJECT_TYPE, MAPI_ABCONT)
        .Long(PR_DISPLAY_TYPE, kind == AbEntryKind::Directory ? DT_GLOBAL : DT_NOT_SPECIFIC)
        .Long(PR_CONTAINER_FLAGS, flags);
    if (depth) values.Long(PR_DEPTH, 0);
}

std::vector<AbEntryKind> Containers(bool has_directory) {
    if (has_directory) return {AbEntryKind::Directory, AbEntryKind::Contacts};
    return {AbEntryKind::Contacts};
}

PropValueBuilder ContainerValues(AbEntryKind kind) {
    PropValueBuilder values;
    AddContainerValues(kind, values);
    return values;
}

class MailUser final : public ComObject<IMailUser> {
public:
    explicit MailUser(std::span<const SPropValue> values) : props_(values) {}
    ORVELLA_FIXED_MAPIPROP(props_)

protected:
    bool Supports(REFIID riid) const override {
        return AnyOf(riid, {&IID_IMailUser, &IID_IMAPIProp});
    }

private:
    FixedProperties props_;
};

class AbContainer final : public ComObject<IABContainer> {
public:
    AbContainer(std::string profile, AbEntryKind kind, bool has_directory)
        : profile_(std::move(profile)),
          kind_(kind),
          has_directory_(has_directory),
          props_(ContainerValues(kind).values()) {}

    ORVELLA_FIXED_MAPIPROP(props_)

    HRESULT GetContentsTable(ULONG flags, LPMAPITABLE* table) override;
    HRESULT GetHierarchyTable(ULONG flags, LPMAPITABLE* table) override;
    HRESULT OpenEntry(ULONG cb, LPENTRYID entry_id, LPCIID, ULONG, ULONG* type,
                      LPUNKNOWN* out) override {
        return OpenAddressBookEntry(profile_, cb, entry_id, type, out);
    }
    HRESULT SetSearchCriteria(LPSRestriction, LPENTRYLIST, ULONG) override {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT GetSearchCriteria(ULONG, LPSRestriction*, LPENTRYLIST*, ULONG*) override {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT CreateEntry(ULONG, LPENTRYID, ULONG, LPMAPIPROP*) override { return MAPI_E_NO_ACCESS; }
    HRESULT CopyEntries(LPENTRYLIST, ULONG_PTR, LPMAPIPROGRESS, ULONG) override {
        return MAPI_E_NO_ACCESS;
    }
    HRESULT DeleteEntries(LPENTRYLIST, ULONG) override { return MAPI_E_NO_ACCESS; }
    HRESULT ResolveNames(LPSPropTagArray, ULONG, LPADRLIST, LPFlagList) override {
        return MAPI_E_NO_SUPPORT;
    }

protected:
    bool Supports(REFIID riid) const override {
        return AnyOf(riid, {&IID_IABContainer, &IID_IMAPIContainer, &IID_IMAPIProp});
    }

private:
    std::string profile_;
    AbEntryKind kind_;
    bool has_directory_;
    FixedProperties props_;
};

template <class Source>
HRESULT ReturnTable(std::shared_ptr<Source> source, LPMAPITABLE* table) {
    auto opened = OpenTable(std::move(source));
    if (!opened) return MAPI_E_NOT_ENOUGH_MEMORY;
    *table = opened.Detach();
    return S_OK;
}

HRESULT AbContainer::GetContentsTable(ULONG flags, LPMAPITABLE* table) {
    if (!table) return MAPI_E_INVALID_PARAMETER;
    *table = nullptr;
    if (flags & MAPI_UNICODE) return MAPI_E_BAD_CHARWIDTH;
    if (kind_ == AbEntryKind::Root) return MAPI_E_NO_SUPPORT;
    return Guarded(props_.last_error(), [&]() -> HRESULT {
        std::vector<DirectoryEntry> entries;
        if (kind_ == AbEntryKind::Directory) entries = DirectoryEntries(profile_);
        return ReturnTable(std::make_shared<DirectoryRowSource>(std::move(entries)), table);
    });
}

HRESULT AbContainer::GetHierarchyTable(ULONG flags, LPMAPITABLE* table) {
    if (!table) return MAPI_E_INVALID_PARAMETER;
    *table = nullptr;
    if (flags & MAPI_UNICODE) return MAPI_E_BAD_CHARWIDTH;
    if (kind_ != AbEntryKind::Root) return MAPI_E_NO_SUPPORT;
    return Guarded(props_.last_error(), [&]() -> HRESULT {
        auto source = std::make_shared<MemoryRowSource>(
            std::vector<ULONG>{PR_ENTRYID, PR_DISPLAY_NAME_A, PR_OBJECT_TYPE, PR_DISPLAY_TYPE,
                               PR_CONTAINER_FLAGS, PR_DEPTH, PR_INSTANCE_KEY});
        for (AbEntryKind kind : Containers(has_directory_)) {
            PropValueBuilder values;
            AddContainerValues(kind, values, true);
            source->AddRow(values.values());
        }
        return ReturnTable(std::move(source), table);
    });
}

// A copy of an entry id as one MAPI buffer.
HRESULT ReturnEntryId(AbEntryKind kind, ULONG* cb, LPENTRYID* entry_id) {
    if (!cb || !entry_id) return MAPI_E_INVALID_PARAMETER;
    const EntryIdBytes id = MakeAbEntryId({kind, 0});
    void* copy = nullptr;
    if (FAILED(MAPIAllocateBuffer(kEntryIdSize, &copy))) return MAPI_E_NOT_ENOUGH_MEMORY;
    std::memcpy(copy, id.data(), kEntryIdSize);
    *cb = kEntryIdSize;
    *entry_id = static_cast<LPENTRYID>(copy);
    return S_OK;
}

}  // namespace

HRESULT OpenAddressBookEntry(const std::string& profile, ULONG cb, const ENTRYID* entry_id,
                             ULONG* type, LPUNKNOWN* out) {
    if (!out) return MAPI_E_INVALID_PARAMETER;
    *out = nullptr;
    std::optional<AbEntryIdParts> parts = cb == 0 || !entry_id
                                              ? std::optional<AbEntryIdParts>(AbEntryIdParts{})
                                              : ParseAbEntryId(cb, entry_id);
    if (!parts) return MAPI_E_UNKNOWN_ENTRYID;
    try {
        const bool has_directory = ProfileHasDirectory(profile);
        if (parts->kind == AbEntryKind::MailUser) {
            for (const DirectoryEntry& entry : DirectoryEntries(profile)) {
                if (entry.id != parts->object) continue;
                PropValueBuilder values;
                AddEntryValues(entry, values);
                if (type) *type = MAPI_MAILUSER;
                return ReturnObject(MakeCom<MailUser>(values.values()), out);
            }
            return MAPI_E_NOT_FOUND;
        }
        if (parts->kind == AbEntryKind::Directory && !has_directory) return MAPI_E_UNKNOWN_ENTRYID;
        if (type) *type = MAPI_ABCONT;
        return ReturnObject(MakeCom<AbContainer>(profile, parts->kind, has_directory), out);
    } catch (const StoreFailure& failure) {
        return failure.code();
    } catch (const std::bad_alloc&) {
        return MAPI_E_NOT_ENOUGH_MEMORY;
    }
}

AddressBook::AddressBook(std::string profile)
    : profile_(std::move(profile)),
      has_directory_(ProfileHasDirectory(profile_)),
      props_(PropValueBuilder().Long(PR_OBJECT_TYPE, MAPI_ADDRBOOK).values()) {}

HRESULT AddressBook::CompareEntryIDs(ULONG cb1, LPENTRYID id1, ULONG cb2, LPENTRYID id2, ULONG,
                                     ULONG* result) {
    if (!result) return MAPI_E_INVALID_PARAMETER;
    const auto same = SameAbEntry(cb1, id1, cb2, id2);
    if (!same) return MAPI_E_UNKNOWN_ENTRYID;
    *result = *same;
    return S_OK;
}

HRESULT AddressBook::GetPAB(ULONG* cb, LPENTRYID* entry_id) {
    return ReturnEntryId(AbEntryKind::Contacts, cb, entry_id);
}

HRESULT AddressBook::GetDefaultDir(ULONG* cb, LPENTRYID* entry_id) {
    return ReturnEntryId(has_directory_ ? AbEntryKind::Directory : AbEntryKind::Contacts, cb,
                         entry_id);
}

HRESULT AddressBook::GetSearchPath(ULONG, LPSRowSet* rows) {
    if (!rows) return MAPI_E_INVALID_PARAMETER;
    *rows = nullptr;
    auto root = MakeCom<AbContainer>(profile_, AbEntryKind::Root, has_directory_);
    ComPtr<IMAPITable> table;
    if (HRESULT hr = root->GetHierarchyTable(0, &table); FAILED(hr)) return hr;
    SizedSPropTagArray(2, columns) = {2, {PR_ENTRYID, PR_DISPLAY_NAME_A}};
    return HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns), nullptr,
                          nullptr, 0, rows);
}

}  // namespace orvella::platform::mapi::store
