// Folder and entry-id helpers: opening folders by entry id or by path, parent and ancestor
// tests, messages and the Outlook items that wrap them, the folder lists of the choosers.
#include <cstring>

#include "COutlookContext.h"
#include "mapiutil.h"
#include "store_failures.h"

using namespace store_failures;
using orvella::platform::mapi::MapiBuffer;
using orvella::platform::mapi::RowSetPtr;

namespace {

bool SameNameIgnoringCase(const char* a, const std::string& b) {
    return strcasecmp(a, b.c_str()) == 0;
}

EntryId EntryIdProp(IMAPIProp* object, ULONG tag, const char* failure) {
    MapiBuffer<SPropValue> value;
    CheckMapi(HrGetOneProp(object, tag, &value), object, failure);
    return EntryId(value->Value.bin);
}

// The hierarchy table of folder with display names and entry ids, all rows.
RowSetPtr ChildFolders(IMAPIFolder* folder, const char* tableFailure, const char* rowsFailure) {
    ComPtr<IMAPITable> table;
    CheckMapi(folder->GetHierarchyTable(0, &table), folder, tableFailure);
    SizedSPropTagArray(2, columns) = {2, {PR_DISPLAY_NAME_A, PR_ENTRYID}};
    RowSetPtr rows;
    CheckMapi(HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns), nullptr,
                             nullptr, 0, &rows),
              table.Get(), rowsFailure);
    return rows;
}

}  // namespace

ComPtr<IMAPIFolder> COutlookContext::GetFolder(IMsgStore* store, const EntryId& entryId,
                                               bool modify) {
    if (entryId.empty()) FailProgram("GetFolder received invalid entry id");
    ComPtr<IMAPIFolder> folder;
    ULONG type = 0;
    CheckMapi(store->OpenEntry(entryId.cb(), entryId.get(), nullptr, modify ? MAPI_MODIFY : 0,
                               &type, folder.PutUnknown()),
              store, "Could not open folder");
    return folder;
}

ComPtr<IMAPIFolder> COutlookContext::GetInboxFolder(bool modify) {
    return GetFolder(mailStore_.Get(), inboxEID_, modify);
}

ComPtr<IMAPIFolder> COutlookContext::GetThreadFolder(bool modify) {
    return GetFolder(mailStore_.Get(), threadFolderEID_, modify);
}

ComPtr<IMAPIFolder> COutlookContext::GetContactsFolder(bool modify) {
    return GetFolder(mailStore_.Get(), contactsEID_, modify);
}

ComPtr<IMAPIFolder> COutlookContext::GetFolder(IMAPIFolder* parent, const std::string& path) {
    std::string rest = NormalizeFolderPath(path);
    ComPtr<IMAPIFolder> folder(parent);
    while (!rest.empty()) {
        size_t slash = rest.find('/');
        std::string name = rest.substr(0, slash);
        rest = slash == std::string::npos ? "" : rest.substr(slash + 1);
        RowSetPtr rows = ChildFolders(folder.Get(), "GetFolder: GetHierarchyTable failed",
                                      "GetFolder: HrQueryAllRows failed");
        ComPtr<IMAPIFolder> child;
        for (ULONG i = 0; i < rows->cRows && !child; ++i) {
            const SPropValue* props = rows->aRow[i].lpProps;
            if (props[0].ulPropTag != PR_DISPLAY_NAME_A || props[1].ulPropTag != PR_ENTRYID ||
                !SameNameIgnoringCase(props[0].Value.lpszA, name))
                continue;
            ULONG type = 0;
            CheckMapi(folder->OpenEntry(props[1].Value.bin.cb,
                                        reinterpret_cast<LPENTRYID>(props[1].Value.bin.lpb),
                                        nullptr, MAPI_MODIFY, &type, child.PutUnknown()),
                      folder.Get(), "Could not open folder");
        }
        if (!child) return nullptr;
        folder = child;
    }
    return folder;
}

EntryId COutlookContext::GetSubtreeEID(IMsgStore* store) {
    return EntryIdProp(store, PR_IPM_SUBTREE_ENTRYID, "GetSubtreeEID: failed getprop of subtree");
}

EntryId COutlookContext::GetEID(IMAPIProp* object) {
    return EntryIdProp(object, PR_ENTRYID, "GetEID:failed");
}

EntryId COutlookContext::GetParentEID(const EntryId& entryId) {
    ComPtr<IMAPIProp> item;
    ULONG type = 0;
    CheckMapi(
        mailStore_->OpenEntry(entryId.cb(), entryId.get(), nullptr, 0, &type, item.PutUnknown()),
        mailStore_.Get(), "GetParentEID: failed OpenEntry");
    return EntryIdProp(item.Get(), PR_PARENT_ENTRYID,
                       "GetParentEID: Couldn't get prop PR_PARENT_ENTRYID");
}

bool COutlookContext::IsSameEID(const EntryId& a, const EntryId& b) {
    ULONG result = FALSE;
    CheckMapi(mailStore_->CompareEntryIDs(a.cb(), a.get(), b.cb(), b.get(), 0, &result),
              mailStore_.Get(), "IsSameEID: failed CompareEntryIDs");
    return result != FALSE;
}

bool COutlookContext::IsInboxMessage(IMessage* message) {
    EntryId parent = EntryIdProp(message, PR_PARENT_ENTRYID,
                                 "IsInboxMessage: couldn't open prop PR_PARENT_ENTRYID");
    return IsSameEID(parent, inboxEID_);
}

bool COutlookContext::IsChildOfFolder(const EntryId& folderId, const EntryId& ancestorId) {
    ComPtr<IMAPIFolder> folder;
    EntryId current = folderId;
    ULONG type = 0;
    CheckMapi(
        mailStore_->OpenEntry(current.cb(), current.get(), nullptr, 0, &type, folder.PutUnknown()),
        mailStore_.Get(), "IsChildOfFolder::OpenEntry failed on ParentEID");
    for (;;) {
        EntryId parent = EntryIdProp(folder.Get(), PR_PARENT_ENTRYID,
                                     "IsChildOfFolder::HrGetOneProp PR_PARENTID failed");
        ULONG same = FALSE;
        CheckMapi(mailStore_->CompareEntryIDs(parent.cb(), parent.get(), ancestorId.cb(),
                                              ancestorId.get(), 0, &same),
                  mailStore_.Get(), "IsChildOfFolder::CompareEntryIDs failed");
        if (same) return true;
        current = EntryIdProp(folder.Get(), PR_ENTRYID,
                              "IsChildOfFolder::HrGetOneProp PR_ENTRYID failed");
        CheckMapi(mailStore_->CompareEntryIDs(parent.cb(), parent.get(), current.cb(),
                                              current.get(), 0, &same),
                  mailStore_.Get(), "IsChildOfFolder::CompareEntryIDs failed");
        if (same) return false;  // the top of the store: its own parent
        CheckMapi(mailStore_->OpenEntry(parent.cb(), parent.get(), nullptr, 0, &type,
                                        folder.PutUnknown()),
                  mailStore_.Get(), "IsChildOfFolder::OpenEntry failed on ParentEID");
    }
}

ComPtr<IMessage> COutlookContext::GetMAPIMessage(const EntryId& entryId) {
    ComPtr<IMessage> message;
    ULONG type = 0;
    HRESULT hr = mailStore_->OpenEntry(entryId.cb(), entryId.get(), &IID_IMessage, MAPI_MODIFY,
                                       &type, message.PutUnknown());
    if (FAILED(hr)) {
        if (entryId.empty())
            throw orvella::diag::MAPIException(hr, "GetMAPIMessage:OpenEntry failed", "cb=0", 2,
                                               kModule, __LINE__);
        CheckMapi(hr, mailStore_.Get(), "GetMAPIMessage:OpenEntry failed");
    }
    return message;
}

std::string COutlookContext::GetMAPIStringProperty(IMAPIProp* object, ULONG tag) {
    MapiBuffer<SPropValue> value;
    HRESULT hr = HrGetOneProp(object, tag, &value);
    if (hr == MAPI_E_NOT_FOUND) return "";
    CheckMapi(hr, object, "GetMAPIStringProperty:failed");
    return value->Value.lpszA ? value->Value.lpszA : "";
}

namespace {

// Calls read with the item as an Item when it is one; false when it is not.
template <class Item, class Read>
bool ReadAs(IDispatch* item, const IID& iid, const char* kind, Read& read) {
    void* raw = nullptr;
    if (FAILED(item->QueryInterface(iid, &raw))) return false;
    ComPtr<Item> typed;
    typed.Attach(static_cast<Item*>(raw));
    read(typed.Get(), kind);
    return true;
}

// The Outlook item kinds that wrap a message, tried in this order; false for any other item.
template <class Read>
bool ReadAsMessageItem(IDispatch* item, Read read) {
    return ReadAs<_MailItem>(item, IID__MailItem, "mail item", read) ||
           ReadAs<_MeetingItem>(item, IID__MeetingItem, "meeting item", read) ||
           ReadAs<_TaskRequestItem>(item, IID__TaskRequestItem, "task request item", read) ||
           ReadAs<_TaskRequestAcceptItem>(item, IID__TaskRequestAcceptItem,
                                          "task request accept item", read) ||
           ReadAs<_TaskRequestDeclineItem>(item, IID__TaskRequestDeclineItem,
                                           "task request decline item", read) ||
           ReadAs<_TaskRequestUpdateItem>(item, IID__TaskRequestUpdateItem,
                                          "task request update item", read);
}

}  // namespace

ComPtr<IMessage> COutlookContext::GetIMessageFromOutlookObject(IDispatch* item) {
    ComPtr<IMessage> message;
    ReadAsMessageItem(item, [&](auto* typed, const char* kind) {
        ComPtr<IUnknown> object;
        HRESULT hr = typed->get_MAPIOBJECT(&object);
        if (SUCCEEDED(hr)) hr = object.As(IID_IMessage, message);
        CheckOutlook(
            hr, std::string("GetIMessageFromOutlookObject: Unable to get MAPIOBJECT on ") + kind);
    });
    return message;
}

EntryId COutlookContext::GetEntryIDFromOutlookObject(IDispatch* item) {
    EntryId entryId;
    ReadAsMessageItem(item, [&](auto* typed, const char* kind) {
        std::string hex;
        CheckOutlook(typed->get_EntryID(&hex),
                     std::string("GetEntryIDFromOutlookObject: Unable to get EntryID on ") + kind);
        entryId = EntryId::FromHex(hex);
    });
    return entryId;
}

bool COutlookContext::IsHandledMessage(IMsgStore* store, const EntryId& entryId) {
    ComPtr<IMessage> message;
    ULONG type = 0;
    HRESULT hr = store->OpenEntry(entryId.cb(), entryId.get(), &IID_IMessage, 0, &type,
                                  message.PutUnknown());
    if (hr == MAPI_E_NOT_FOUND || hr == MAPI_E_INVALID_ENTRYID) return false;
    if (FAILED(hr))
        throw orvella::diag::MAPIException(hr, store, "IsHandledMessage: Unable to open message", 0,
                                           kModule, __LINE__);
    return IsHandledMessage(message.Get());
}

bool COutlookContext::IsHandledMessage(IMessage* message) {
    MapiBuffer<SPropValue> value;
    CheckMapi(HrGetOneProp(message, PR_MESSAGE_CLASS_A, &value), message,
              "IsHandledMessage: failed to get prop PR_MESSAGE_CLASS");
    const char* messageClass = value->Value.lpszA;
    for (const char* handled : {"IPM.Note", "IPM.Schedule", "IPM.Task"})
        if (std::strstr(messageClass, handled)) return true;
    return false;
}

namespace {

void AddFolderTree(IMAPIFolder* folder, const std::string& path, FolderGroup& group) {
    RowSetPtr rows = ChildFolders(folder, "GetFolderHierarchyEIDs: GetHierarchyTable failed",
                                  "GetFolderHierarchyEIDs: HrQueryAllRows failed");
    for (ULONG i = 0; i < rows->cRows; ++i) {
        const SPropValue* props = rows->aRow[i].lpProps;
        if (props[0].ulPropTag != PR_DISPLAY_NAME_A || props[1].ulPropTag != PR_ENTRYID) continue;
        std::string childPath = path + "/" + props[0].Value.lpszA;
        group.paths.push_back(childPath);
        group.entryIds.emplace_back(props[1].Value.bin);
        ComPtr<IMAPIFolder> child;
        ULONG type = 0;
        CheckMapi(folder->OpenEntry(props[1].Value.bin.cb,
                                    reinterpret_cast<LPENTRYID>(props[1].Value.bin.lpb), nullptr, 0,
                                    &type, child.PutUnknown()),
                  folder, "GetFolderHierarchyEIDs: failed opening folder");
        AddFolderTree(child.Get(), childPath, group);
    }
}

}  // namespace

void COutlookContext::GetFolderHierarchyEIDs(std::vector<FolderGroup>& groups) {
    ComPtr<IMAPITable> stores;
    CheckMapi(session_->GetMsgStoresTable(0, &stores), session_.Get(),
              "GetFolderHierarchyEIDs:GetMSgStoresTable failed");
    SizedSPropTagArray(2, columns) = {2, {PR_ENTRYID, PR_DISPLAY_NAME_A}};
    RowSetPtr rows;
    CheckMapi(HrQueryAllRows(stores.Get(), reinterpret_cast<LPSPropTagArray>(&columns), nullptr,
                             nullptr, 0, &rows),
              stores.Get(), "GetFolderHierarchyEIDs:HrQueryAllRows failed on stores table");
    for (ULONG i = 0; i < rows->cRows; ++i) {
        const SPropValue* props = rows->aRow[i].lpProps;
        if (props[0].ulPropTag != PR_ENTRYID) continue;
        ComPtr<IMsgStore> store;
        CheckMapi(session_->OpenMsgStore(0, props[0].Value.bin.cb,
                                         reinterpret_cast<LPENTRYID>(props[0].Value.bin.lpb),
                                         nullptr, MAPI_BEST_ACCESS, &store),
                  session_.Get(), "GetFolderHierarchyEIDs: OpenMsgStore failed");
        // Stores that carry this property are left out of the choosers.
        MapiBuffer<SPropValue> marker;
        HRESULT hr = HrGetOneProp(store.Get(), PROP_TAG(PT_BINARY, 0x6631), &marker);
        if (hr != MAPI_E_NOT_FOUND && hr != E_ACCESSDENIED) continue;
        FolderGroup group;
        group.storeName = props[1].ulPropTag == PR_DISPLAY_NAME_A ? props[1].Value.lpszA : "";
        ComPtr<IMAPIFolder> subtree = GetFolder(store.Get(), GetSubtreeEID(store.Get()), false);
        AddFolderTree(subtree.Get(), "", group);
        groups.push_back(std::move(group));
    }
}
