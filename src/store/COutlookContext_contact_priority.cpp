// Contact priority on Outlook contact items: reading it, the user's choice and the contact
// analysis writing it, the do-not-overwrite mark, and the count of the user's replies.
#include "COutlookContext.h"
#include "mapiutil.h"
#include "store_failures.h"

using namespace store_failures;
using orvella::platform::mapi::MapiBuffer;
using orvella::platform::mapi::RowSetPtr;

namespace {

SPropValue LongProp(ULONG tag, LONG value) {
    SPropValue prop = {};
    prop.ulPropTag = tag;
    prop.Value.l = value;
    return prop;
}

}  // namespace

ComPtr<IMessage> COutlookContext::OpenMailItem(const EntryId& entryId, ULONG flags,
                                               const char* failure) {
    ComPtr<IMessage> item;
    ULONG type = 0;
    CheckMapi(mailStore_->OpenEntry(entryId.cb(), entryId.get(), nullptr, flags, &type,
                                    item.PutUnknown()),
              mailStore_.Get(), failure);
    return item;
}

LONG COutlookContext::GetContactPriority(IMAPIProp* contact) {
    MapiBuffer<SPropValue> value;
    HRESULT hr = HrGetOneProp(contact, itemsTags_[IP_CONTACT_PRIORITY], &value);
    if (hr == MAPI_E_NOT_FOUND) return CPL_NORMAL;
    CheckMapi(hr, contact, "GetContactPriority: failed to get property");
    return value->Value.l;
}

void COutlookContext::SetContactPriority(IMAPIProp* contact, LONG priority) {
    SPropValue values[2] = {LongProp(itemsTags_[IP_CONTACT_PRIORITY], priority), {}};
    values[1].ulPropTag = itemsTags_[IP_DO_NOT_OVERWRITE];
    values[1].Value.b = TRUE;
    MapiBuffer<SPropProblemArray> problems;
    CheckMapi(contact->SetProps(2, values, &problems), contact,
              "SetContactPriority::Failed SetProps");
    contact->SaveChanges(KEEP_OPEN_READWRITE);
}

void COutlookContext::SetContactPriority(IMAPIProp* contact, LONG priority, LONG score,
                                         bool doNotOverwrite) {
    SPropValue values[3] = {LongProp(itemsTags_[IP_CONTACT_PRIORITY], priority),
                            LongProp(itemsTags_[IP_CONTACT_SCORE], score),
                            {}};
    values[2].ulPropTag = itemsTags_[IP_DO_NOT_OVERWRITE];
    values[2].Value.b = TRUE;
    ULONG count = score < 0 ? 1 : doNotOverwrite ? 3 : 2;
    MapiBuffer<SPropProblemArray> problems;
    CheckMapi(contact->SetProps(count, values, &problems), contact,
              "SetContactPriority::Failed SetProps");
    contact->SaveChanges(KEEP_OPEN_READWRITE);
}

void COutlookContext::SetContactPriority(const EntryId& contactId, LONG priority, LONG score,
                                         bool doNotOverwrite) {
    if (contactId.empty()) FailProgram("SetContactPriority::Bad EID");
    ComPtr<IMessage> contact =
        OpenMailItem(contactId, MAPI_MODIFY, "SetContactPriority::Failed OpenEntry");
    SetContactPriority(contact.Get(), priority, score, doNotOverwrite);
}

bool COutlookContext::GetMessageOverwriteFlag(IMAPIProp* contact) {
    MapiBuffer<SPropValue> value;
    HRESULT hr = HrGetOneProp(contact, itemsTags_[IP_DO_NOT_OVERWRITE], &value);
    if (hr == MAPI_E_NOT_FOUND) return true;
    CheckMapi(hr, contact, "GetMessageOverwriteFlag: failed to get prop");
    return !value->Value.b;
}

bool COutlookContext::GetMessageOverwriteFlag(const EntryId& contactId) {
    ComPtr<IMessage> contact =
        OpenMailItem(contactId, 0, "GetMessageOverwriteFlag: failed OpenEntry");
    return GetMessageOverwriteFlag(contact.Get());
}

void COutlookContext::DeleteItemsFromFolder(const EntryId& folderId,
                                            const std::vector<EntryId>& entryIds) {
    ComPtr<IMAPIFolder> folder;
    ULONG type = 0;
    CheckMapi(mailStore_->OpenEntry(folderId.cb(), folderId.get(), nullptr, MAPI_MODIFY, &type,
                                    folder.PutUnknown()),
              mailStore_.Get(), "DeleteItemsFromFolder: failed OpenEntry");
    std::vector<SBinary> bins;
    bins.reserve(entryIds.size());
    for (const EntryId& id : entryIds)
        bins.push_back({id.cb(), reinterpret_cast<LPBYTE>(id.get())});
    ENTRYLIST list = {static_cast<ULONG>(bins.size()), bins.data()};
    CheckMapi(folder->DeleteMessages(&list, 0, nullptr, 0), folder.Get(),
              "DeleteItemsFromFolder::Couldn't delete items");
}

void COutlookContext::IncrementContactReplyCounter(IMessage* message) {
    ComPtr<IMAPITable> recipients;
    CheckMapi(message->GetRecipientTable(0, &recipients), message,
              "IncrementContactReplyCounter: failed get RecipientTable");
    SizedSPropTagArray(1, columns) = {1, {PR_EMAIL_ADDRESS_A}};
    RowSetPtr rows;
    CheckMapi(HrQueryAllRows(recipients.Get(), reinterpret_cast<LPSPropTagArray>(&columns), nullptr,
                             nullptr, 0, &rows),
              recipients.Get(), "IncrementContactReplyCounter: QueryAllRows failed");
    const ULONG counterTag = itemsTags_[IP_CONTACT_REPLY_COUNTER];
    for (ULONG i = 0; i < rows->cRows; ++i) {
        const SPropValue& address = rows->aRow[i].lpProps[0];
        if (address.ulPropTag != PR_EMAIL_ADDRESS_A || !address.Value.lpszA ||
            !*address.Value.lpszA)
            continue;
        ComPtr<IMessage> contact;
        if (GetContactRecordByEmail(contact, address.Value.lpszA) != S_OK) continue;
        MapiBuffer<SPropValue> counter;
        HRESULT hr = HrGetOneProp(contact.Get(), counterTag, &counter);
        LONG replies = 0;
        if (hr != MAPI_E_NOT_FOUND) {
            CheckMapi(hr, contact.Get(),
                      "IncrementContactReplyCounter: failed getting prop reply counter");
            replies = counter->Value.l;
        }
        SPropValue next = LongProp(counterTag, replies + 1);
        CheckMapi(HrSetOneProp(contact.Get(), &next), contact.Get(),
                  "IncrementContactReplyCounter: SetProp failed on contact record");
        CheckMapi(contact->SaveChanges(0), contact.Get(),
                  "IncrementContactReplyCounter: SaveChanges failed on contact record");
    }
}
