// The standard folders and store properties of a new store.
#include "store_layout.h"

#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "mapitags.h"
#include "store_database.h"
#include "store_objects.h"

namespace orvella::platform::mapi::store {
namespace {

using ProviderUid = std::array<BYTE, 16>;
// The provider identities other programs recognise stores by.
constexpr ProviderUid kPersonalProvider = {0x4E, 0x49, 0x54, 0x41, 0xF9, 0xBF, 0xB8, 0x01,
                                           0x00, 0xAA, 0x00, 0x37, 0xD9, 0x6E, 0x00, 0x00};
constexpr ProviderUid kExchangeProvider = {0x54, 0x94, 0xA1, 0xC0, 0x29, 0x7F, 0x10, 0x1B,
                                           0xA5, 0x87, 0x08, 0x00, 0x2B, 0x2A, 0x25, 0x17};
constexpr ProviderUid kPublicProvider = {0x78, 0xB2, 0xFA, 0x70, 0xAF, 0xF7, 0x11, 0xCD,
                                         0x9B, 0xC8, 0x00, 0xAA, 0x00, 0x2F, 0xC4, 0x5A};

// Property sets under which mail clients mark a personal folder file as holding an IMAP or an
// HTTP mail account.
constexpr GUID kAccountMarks = {
    0x29F3AB56, 0x554D, 0x11D0, {0xA9, 0x7C, 0x00, 0xA0, 0xC9, 0x11, 0xF5, 0x0A}};
constexpr GUID kImapMarks = {
    0x29F3AB55, 0x554D, 0x11D0, {0xA9, 0x7C, 0x00, 0xA0, 0xC9, 0x11, 0xF5, 0x0A}};
constexpr GUID kHttpMarks = {
    0x29F3AB60, 0x554D, 0x11D0, {0xA9, 0x7C, 0x00, 0xA0, 0xC9, 0x11, 0xF5, 0x0A}};

struct StandardFolder {
    const char* name;
    const char* container_class;
    ULONG inbox_pointer;  // the property on the Inbox that points at it, or 0
    ULONG store_pointer;  // the property on the store that points at it, or 0
};

constexpr StandardFolder kStandardFolders[] = {
    {"Inbox", "IPF.Note", 0, 0},
    {"Outbox", "IPF.Note", 0, PR_IPM_OUTBOX_ENTRYID},
    {"Sent Items", "IPF.Note", 0, PR_IPM_SENTMAIL_ENTRYID},
    {"Deleted Items", "IPF.Note", 0, PR_IPM_WASTEBASKET_ENTRYID},
    {"Drafts", "IPF.Note", PR_IPM_DRAFTS_ENTRYID, 0},
    {"Contacts", "IPF.Contact", PR_IPM_CONTACT_ENTRYID, 0},
    {"Calendar", "IPF.Appointment", PR_IPM_APPOINTMENT_ENTRYID, 0},
    {"Journal", "IPF.Journal", PR_IPM_JOURNAL_ENTRYID, 0},
    {"Notes", "IPF.StickyNote", PR_IPM_NOTE_ENTRYID, 0},
    {"Tasks", "IPF.Task", PR_IPM_TASK_ENTRYID, 0},
};

// Values that own their bytes until the save that writes them.
class Values {
public:
    void Long(ULONG tag, LONG value) { Add(tag).Value.l = value; }
    void Bool(ULONG tag, bool value) { Add(tag).Value.b = value; }
    void Text(ULONG tag, std::string text) {
        texts_.push_back(std::make_unique<std::string>(std::move(text)));
        Add(tag).Value.lpszA = texts_.back()->data();
    }
    void Binary(ULONG tag, const void* bytes, ULONG size) {
        auto copy = std::make_unique<std::vector<BYTE>>(static_cast<const BYTE*>(bytes),
                                                        static_cast<const BYTE*>(bytes) + size);
        Add(tag).Value.bin = {size, copy->data()};
        binaries_.push_back(std::move(copy));
    }
    void EntryId(ULONG tag, const GUID& store, ObjectId folder) {
        EntryIdBytes bytes = MakeEntryId({store, EntryKind::Folder, folder});
        Binary(tag, bytes.data(), kEntryIdSize);
    }
    SaveRequest Request(EntryKind kind, ObjectId id, ObjectId parent) const {
        SaveRequest request;
        request.kind = kind;
        request.id = id;
        request.parent = parent;
        request.force = true;
        for (const auto& value : values_) request.set.push_back(value.get());
        return request;
    }

private:
    SPropValue& Add(ULONG tag) {
        values_.push_back(std::make_unique<SPropValue>());
        values_.back()->ulPropTag = tag;
        return *values_.back();
    }
    std::vector<std::unique_ptr<SPropValue>> values_;
    std::vector<std::unique_ptr<std::string>> texts_;
    std::vector<std::unique_ptr<std::vector<BYTE>>> binaries_;
};

ObjectId MakeFolder(StoreDatabase& store, ObjectId parent, const char* name,
                    const char* container_class, LONG type) {
    Values values;
    values.Text(PR_DISPLAY_NAME_A, name);
    values.Long(PR_FOLDER_TYPE, type);
    if (container_class) values.Text(PR_CONTAINER_CLASS_A, container_class);
    return store.Save(values.Request(EntryKind::Folder, 0, parent)).first;
}

ULONG Named(StoreDatabase& store, const GUID& set, LONG id, ULONG type) {
    NamedProperty name;
    name.guid = set;
    name.kind = MNID_ID;
    name.lid = id;
    return PROP_TAG(type, store.IdFromName(name, true));
}

}  // namespace

void CreateStoreFile(const std::filesystem::path& file, const GUID& uid, const StoreSetup& setup) {
    StoreDatabase::Create(file, uid, {});
    auto store = StoreDatabase::Open(file);
    const ObjectId root = MakeFolder(*store, kStoreObject, "", nullptr, FOLDER_ROOT);
    const ObjectId subtree =
        MakeFolder(*store, root, "Top of Information Store", nullptr, FOLDER_GENERIC);
    Values inbox_pointers, store_values;
    ObjectId inbox = 0;
    for (const StandardFolder& standard : kStandardFolders) {
        ObjectId id =
            MakeFolder(*store, subtree, standard.name, standard.container_class, FOLDER_GENERIC);
        if (!inbox) inbox = id;
        if (standard.inbox_pointer) inbox_pointers.EntryId(standard.inbox_pointer, uid, id);
        if (standard.store_pointer) store_values.EntryId(standard.store_pointer, uid, id);
    }
    store->Save(inbox_pointers.Request(EntryKind::Folder, inbox, subtree));

    store_values.Text(PR_DISPLAY_NAME_A, setup.display_name);
    store_values.EntryId(PR_IPM_SUBTREE_ENTRYID, uid, subtree);
    store_values.EntryId(kReceiveFolderTag, uid, inbox);
    const ProviderUid& provider = setup.kind == StoreKind::Exchange ? kExchangeProvider
                                  : setup.kind == StoreKind::Public ? kPublicProvider
                                                                    : kPersonalProvider;
    store_values.Binary(PR_MDB_PROVIDER, provider.data(), provider.size());
    if (setup.offline) store_values.Bool(PR_STORE_OFFLINE, true);
    if (setup.kind == StoreKind::Imap || setup.kind == StoreKind::Http)
        store_values.Long(Named(*store, kAccountMarks, 0xA000, PT_LONG), 1);
    if (setup.kind == StoreKind::Imap) {
        store_values.Text(Named(*store, kImapMarks, 0xA070, PT_STRING8), setup.display_name);
        const BYTE account[4] = {1, 0, 0, 0};
        store_values.Binary(Named(*store, kImapMarks, 0xA072, PT_BINARY), account, 4);
    }
    if (setup.kind == StoreKind::Http)
        store_values.Text(Named(*store, kHttpMarks, 0xA100, PT_STRING8), setup.display_name);
    store->Save(store_values.Request(EntryKind::Store, kStoreObject, 0));
}

}  // namespace orvella::platform::mapi::store
