// The store's MAPI objects: the message store, its folders and its messages, all reading and
// writing one StoreDatabase.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "com_object.h"
#include "mapiprop.h"
#include "object_properties.h"

namespace orvella::platform::mapi::store {

// Opens the object an entry id names in `store`, as OpenEntry on a store or folder does:
// MAPI_E_INVALID_ENTRYID for bytes this provider didn't make or another store's id,
// MAPI_E_NOT_FOUND for an object that is gone, MAPI_E_INTERFACE_NOT_SUPPORTED when the object
// does not answer to iface (null: any). A null entry id opens the root folder.
// Bulk writing (StoreDatabase::BulkWriting) on the file behind `store` when it is one of this
// provider's stores; null for any other.
std::unique_ptr<StoreDatabase::BulkWriting> BeginBulkWriting(IMsgStore* store);

HRESULT OpenStoreEntry(const std::shared_ptr<StoreDatabase>& store, ULONG cb,
                       const ENTRYID* entry_id, LPCIID iface, ULONG flags, ULONG* type,
                       LPUNKNOWN* out);

// The IMAPIProp methods every store object forwards to its ObjectProperties.
#define ORVELLA_FORWARD_MAPIPROP(props)                                                           \
    HRESULT GetLastError(HRESULT, ULONG, LPMAPIERROR* e) override {                               \
        return props.last_error().Report(e);                                                      \
    }                                                                                             \
    HRESULT SaveChanges(ULONG f) override {                                                       \
        return props.SaveChanges(f);                                                              \
    }                                                                                             \
    HRESULT GetProps(LPSPropTagArray t, ULONG f, ULONG* c, LPSPropValue* v) override {            \
        return Guarded(props.last_error(), [&] { return props.GetProps(t, f, c, v); });           \
    }                                                                                             \
    HRESULT GetPropList(ULONG f, LPSPropTagArray* t) override {                                   \
        return Guarded(props.last_error(), [&] { return props.GetPropList(f, t); });              \
    }                                                                                             \
    HRESULT OpenProperty(ULONG t, LPCIID i, ULONG, ULONG f, LPUNKNOWN* u) override {              \
        return Guarded(props.last_error(), [&] { return props.OpenProperty(t, i, f, this, u); }); \
    }                                                                                             \
    HRESULT SetProps(ULONG c, LPSPropValue v, LPSPropProblemArray* p) override {                  \
        return props.SetProps(c, v, p);                                                           \
    }                                                                                             \
    HRESULT DeleteProps(LPSPropTagArray t, LPSPropProblemArray* p) override {                     \
        return props.DeleteProps(t, p);                                                           \
    }                                                                                             \
    HRESULT CopyProps(LPSPropTagArray t, ULONG_PTR, LPMAPIPROGRESS, LPCIID, LPVOID d, ULONG,      \
                      LPSPropProblemArray* p) override {                                          \
        return props.CopyValuesTo(t, nullptr, this, static_cast<IMAPIProp*>(d), p);               \
    }                                                                                             \
    HRESULT GetNamesFromIDs(LPSPropTagArray* t, LPGUID g, ULONG f, ULONG* c, LPMAPINAMEID** n)    \
        override {                                                                                \
        return props.GetNamesFromIDs(t, g, f, c, n);                                              \
    }                                                                                             \
    HRESULT GetIDsFromNames(ULONG c, LPMAPINAMEID* n, ULONG f, LPSPropTagArray* t) override {     \
        return props.GetIDsFromNames(c, n, f, t);                                                 \
    }

// CopyTo for objects whose copy is their property values alone (the store, folders).
#define ORVELLA_FORWARD_COPY_VALUES(props)                                                    \
    HRESULT CopyTo(ULONG, LPCIID, LPSPropTagArray exclude, ULONG_PTR, LPMAPIPROGRESS, LPCIID, \
                   LPVOID target, ULONG, LPSPropProblemArray* problems) override {            \
        return props.CopyValuesTo(nullptr, exclude, this, static_cast<IMAPIProp*>(target),    \
                                  problems);                                                  \
    }

class MsgStore final : public ComObject<IMsgStore>, private ObjectHooks {
public:
    MsgStore(std::shared_ptr<StoreDatabase> store, bool writable);

    ORVELLA_FORWARD_MAPIPROP(props_)
    ORVELLA_FORWARD_COPY_VALUES(props_)

    HRESULT Advise(ULONG cb, LPENTRYID entry_id, ULONG mask, LPMAPIADVISESINK sink,
                   ULONG_PTR* connection) override;
    HRESULT Unadvise(ULONG_PTR connection) override;
    HRESULT CompareEntryIDs(ULONG cb1, LPENTRYID id1, ULONG cb2, LPENTRYID id2, ULONG flags,
                            ULONG* result) override;
    HRESULT OpenEntry(ULONG cb, LPENTRYID entry_id, LPCIID iid, ULONG flags, ULONG* type,
                      LPUNKNOWN* out) override;
    HRESULT SetReceiveFolder(LPTSTR message_class, ULONG flags, ULONG cb,
                             LPENTRYID entry_id) override;
    HRESULT GetReceiveFolder(LPTSTR message_class, ULONG flags, ULONG* cb, LPENTRYID* entry_id,
                             LPTSTR* explicit_class) override;
    HRESULT GetReceiveFolderTable(ULONG, LPMAPITABLE*) override { return MAPI_E_NO_SUPPORT; }
    HRESULT StoreLogoff(ULONG*) override { return S_OK; }
    HRESULT AbortSubmit(ULONG, LPENTRYID, ULONG) override { return MAPI_E_NO_SUPPORT; }
    HRESULT GetOutgoingQueue(ULONG, LPMAPITABLE*) override { return MAPI_E_NO_SUPPORT; }
    HRESULT SetLockState(LPMESSAGE, ULONG) override { return MAPI_E_NO_SUPPORT; }
    HRESULT FinishedMsg(ULONG, ULONG, LPENTRYID) override { return MAPI_E_NO_SUPPORT; }
    HRESULT NotifyNewMail(LPNOTIFICATION) override { return MAPI_E_NO_SUPPORT; }

    const std::shared_ptr<StoreDatabase>& database() const { return props_.store_ptr(); }

protected:
    bool Supports(REFIID riid) const override {
        return AnyOf(riid, {&IID_IMsgStore, &IID_IMAPIProp});
    }

private:
    const std::vector<ULONG>& ComputedTags() const override;
    bool Compute(ULONG tag, void* parent, SPropValue& out) override;

    ObjectProperties props_;
};

class Folder final : public ComObject<IMAPIFolder>, private ObjectHooks {
public:
    // An existing folder (info.id != 0).
    Folder(std::shared_ptr<StoreDatabase> store, const ObjectInfo& info, bool writable);

    ORVELLA_FORWARD_MAPIPROP(props_)
    ORVELLA_FORWARD_COPY_VALUES(props_)

    HRESULT GetContentsTable(ULONG flags, LPMAPITABLE* table) override;
    HRESULT GetHierarchyTable(ULONG flags, LPMAPITABLE* table) override;
    HRESULT OpenEntry(ULONG cb, LPENTRYID entry_id, LPCIID iface, ULONG flags, ULONG* type,
                      LPUNKNOWN* out) override {
        return OpenStoreEntry(props_.store_ptr(), cb, entry_id, iface, flags, type, out);
    }
    HRESULT SetSearchCriteria(LPSRestriction, LPENTRYLIST, ULONG) override {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT GetSearchCriteria(ULONG, LPSRestriction*, LPENTRYLIST*, ULONG*) override {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT CreateMessage(LPCIID iid, ULONG flags, LPMESSAGE* message) override;
    HRESULT CopyMessages(LPENTRYLIST messages, LPCIID iid, LPVOID target, ULONG_PTR, LPMAPIPROGRESS,
                         ULONG flags) override;
    HRESULT DeleteMessages(LPENTRYLIST messages, ULONG_PTR, LPMAPIPROGRESS, ULONG flags) override;
    HRESULT CreateFolder(ULONG type, LPTSTR name, LPTSTR comment, LPCIID iid, ULONG flags,
                         LPMAPIFOLDER* folder) override;
    HRESULT CopyFolder(ULONG, LPENTRYID, LPCIID, LPVOID, LPTSTR, ULONG_PTR, LPMAPIPROGRESS,
                       ULONG) override {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT DeleteFolder(ULONG cb, LPENTRYID entry_id, ULONG_PTR, LPMAPIPROGRESS,
                         ULONG flags) override;
    HRESULT SetReadFlags(LPENTRYLIST, ULONG_PTR, LPMAPIPROGRESS, ULONG) override {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT GetMessageStatus(ULONG, LPENTRYID, ULONG, ULONG*) override { return MAPI_E_NO_SUPPORT; }
    HRESULT SetMessageStatus(ULONG, LPENTRYID, ULONG, ULONG, ULONG*) override {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT SaveContentsSort(LPSSortOrderSet, ULONG) override { return S_OK; }
    HRESULT EmptyFolder(ULONG_PTR, LPMAPIPROGRESS, ULONG flags) override;

protected:
    bool Supports(REFIID riid) const override {
        return AnyOf(riid, {&IID_IMAPIFolder, &IID_IMAPIContainer, &IID_IMAPIProp});
    }

private:
    const std::vector<ULONG>& ComputedTags() const override;
    bool Compute(ULONG tag, void* parent, SPropValue& out) override;
    // The ids of this store's objects in an entry list; others are left out.
    std::vector<ObjectId> ObjectsOf(LPENTRYLIST list, EntryKind kind) const;

    ObjectProperties props_;
};

class Message final : public ComObject<IMessage>, private ObjectHooks {
public:
    // An existing message, or (info.id == 0) a new one in folder info.parent.
    Message(std::shared_ptr<StoreDatabase> store, const ObjectInfo& info, bool writable);

    ORVELLA_FORWARD_MAPIPROP(props_)
    HRESULT CopyTo(ULONG, LPCIID, LPSPropTagArray exclude, ULONG_PTR, LPMAPIPROGRESS, LPCIID,
                   LPVOID target, ULONG, LPSPropProblemArray* problems) override;

    HRESULT GetAttachmentTable(ULONG, LPMAPITABLE*) override { return MAPI_E_NO_SUPPORT; }
    HRESULT OpenAttach(ULONG, LPCIID, ULONG, LPATTACH*) override { return MAPI_E_NO_SUPPORT; }
    HRESULT CreateAttach(LPCIID, ULONG, ULONG*, LPATTACH*) override { return MAPI_E_NO_SUPPORT; }
    HRESULT DeleteAttach(ULONG, ULONG_PTR, LPMAPIPROGRESS, ULONG) override {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT GetRecipientTable(ULONG flags, LPMAPITABLE* table) override;
    HRESULT ModifyRecipients(ULONG flags, LPADRLIST mods) override;
    HRESULT SubmitMessage(ULONG) override { return MAPI_E_NO_SUPPORT; }
    HRESULT SetReadFlag(ULONG flags) override;

protected:
    bool Supports(REFIID riid) const override {
        return AnyOf(riid, {&IID_IMessage, &IID_IMAPIProp});
    }

private:
    const std::vector<ULONG>& ComputedTags() const override;
    bool Compute(ULONG tag, void* parent, SPropValue& out) override;
    void PrepareSave(SaveRequest& request) override;
    void LoadRecipients();

    ObjectProperties props_;
    // Recipient rows by PR_ROWID, loaded on first use.
    struct Recipient {
        ULONG row_id;
        ULONG count;
        MapiBuffer<SPropValue> values;
    };
    std::optional<std::vector<Recipient>> recipients_;
    bool recipients_changed_ = false;
};

// Computed properties every stored object has: its entry id and record key, its parent's
// entry id, its store's entry id and record key, its object type.
const std::vector<ULONG>& CommonComputedTags();
bool ComputeCommon(const StoreDatabase& store, const ObjectInfo& info, ULONG tag, void* parent,
                   SPropValue& out);

}  // namespace orvella::platform::mapi::store
