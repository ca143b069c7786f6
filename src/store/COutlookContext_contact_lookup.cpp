// Finding contacts: by e-mail address across the contact folder list, by a typed name, and the
// contact of a message's sender; their permanent entry ids and e-mail addresses.
#include <cstring>

#include "COutlookContext.h"
#include "mapiutil.h"
#include "store_failures.h"

using namespace store_failures;
using orvella::platform::mapi::MapiBuffer;
using orvella::platform::mapi::RowSetPtr;

namespace {

// The e-mail fields a contact is found by, in the order they are tested.
constexpr ContactProp kAddressFields[] = {CP_EMAIL1_ADDRESS,      CP_EMAIL2_ADDRESS,
                                          CP_EMAIL3_ADDRESS,      CP_EMAIL1_DISPLAY_NAME,
                                          CP_EMAIL2_DISPLAY_NAME, CP_EMAIL3_DISPLAY_NAME};
constexpr size_t kFieldCount = std::size(kAddressFields);

// The characters that separate the words of a name.
constexpr char kNameSeparators[] = " ,.:;()[]{}'`\"";

}  // namespace

EntryId COutlookContext::GetContactEIDByEmail(IMAPIFolder* folder, const std::string& address) {
    if (address.empty()) return {};
    ComPtr<IMAPITable> table;
    CheckMapi(folder->GetContentsTable(0, &table), folder,
              "GetContactEIDByEmail::Failed GetContentsTable");
    SizedSPropTagArray(2, columns) = {2, {PR_ENTRYID, PR_SUBJECT_A}};
    CheckMapi(table->SetColumns(reinterpret_cast<LPSPropTagArray>(&columns), 0), table.Get(),
              "GetContactEIDByEmail: SetColumns failed");

    SPropValue values[kFieldCount] = {};
    SRestriction fields[kFieldCount] = {};
    for (size_t i = 0; i < kFieldCount; ++i) {
        values[i].ulPropTag = contactTags_[kAddressFields[i]];
        values[i].Value.lpszA = const_cast<LPSTR>(address.c_str());
        fields[i].rt = RES_PROPERTY;
        fields[i].res.resProperty = {RELOP_EQ, values[i].ulPropTag, &values[i]};
    }
    SRestriction anyField = {};
    anyField.rt = RES_OR;
    anyField.res.resOr = {kFieldCount, fields};

    HRESULT hr = table->SeekRow(BOOKMARK_BEGINNING, 0, nullptr);
    if (hr != MAPI_E_NOT_FOUND) CheckMapi(hr, table.Get(), "GetContactEIDByEmail: SeekRow failed");
    hr = table->FindRow(&anyField, BOOKMARK_BEGINNING, 0);
    if (hr == MAPI_E_NOT_FOUND) return {};
    CheckMapi(hr, table.Get(), "GetContactEIDByEmail: FindRow failed");
    RowSetPtr row;
    CheckMapi(table->QueryRows(1, 0, &row), table.Get(), "GetContactEIDByEmail: QueryRows failed");
    if (row->cRows == 0 || row->aRow[0].lpProps[0].ulPropTag != PR_ENTRYID) return {};
    return GetPermanentEID(EntryId(row->aRow[0].lpProps[0].Value.bin));
}

EntryId COutlookContext::FindContactEIDByEmail(const std::string& address) {
    for (const EntryId& folderId : contactFolderEIDs_) {
        ComPtr<IMAPIFolder> folder = GetFolder(mailStore_.Get(), folderId, false);
        EntryId found = GetContactEIDByEmail(folder.Get(), address);
        if (!found.empty()) return found;
    }
    return {};
}

HRESULT COutlookContext::GetContactRecordByEmail(ComPtr<IMessage>& contact,
                                                 const std::string& address) {
    EntryId found = FindContactEIDByEmail(address);
    if (found.empty()) return E_FAIL;
    contact =
        OpenMailItem(found, MAPI_MODIFY, "GetContactRecordByEmail: failed to open contactRecord");
    return S_OK;
}

EntryId COutlookContext::GetPermanentEID(const EntryId& entryId) {
    if (entryId.empty()) return {};
    ComPtr<IMessage> item = OpenMailItem(entryId, 0, "GetPermanentEID: OpenEntry failed");
    MapiBuffer<SPropValue> permanent;
    CheckMapi(HrGetOneProp(item.Get(), PR_ENTRYID, &permanent), item.Get(),
              "GetPermanentEID: OpenEntry failed");
    return EntryId(permanent->Value.bin);
}

ComPtr<IDispatch> COutlookContext::GetContactEIDFromMessage(IMessage* message) {
    MapiBuffer<SPropValue> sender;
    HRESULT hr = HrGetOneProp(message, PR_SENDER_EMAIL_ADDRESS_A, &sender);
    if (hr == MAPI_E_NOT_FOUND) return nullptr;
    if (FAILED(hr))
        throw orvella::diag::MAPIException(
            hr, message,
            "GetContactEIDFromMessage:unable to retrieve PR_SENDER_EMAIL_ADDRESS from message", 1,
            kModule, __LINE__);
    EntryId contactId = FindContactEIDByEmail(sender->Value.lpszA ? sender->Value.lpszA : "");
    if (contactId.empty()) return nullptr;
    ComPtr<IDispatch> item;
    CheckOutlook(nameSpace_->GetItemFromID(contactId.ToHex(), VariantMissing(), &item),
                 "GetContactEIDFromMessage: unable to get contact item");
    return item;
}

std::vector<std::string> COutlookContext::GetContactEmails(const EntryId& contactId) {
    ComPtr<IMessage> contact =
        OpenMailItem(contactId, 0, "GetContactEmails: failed to open contactRecord");
    SizedSPropTagArray(3, tags) = {
        3,
        {contactTags_[CP_EMAIL1_ADDRESS], contactTags_[CP_EMAIL2_ADDRESS],
         contactTags_[CP_EMAIL3_ADDRESS]}};
    ULONG count = 0;
    MapiBuffer<SPropValue> values;
    HRESULT hr = contact->GetProps(reinterpret_cast<LPSPropTagArray>(&tags), 0, &count, &values);
    CheckMapi(hr, contact.Get(), "GetContactEmails: failed to GetProps");
    std::vector<std::string> emails(3);
    for (ULONG i = 0; i < count && i < 3; ++i)
        if (PROP_TYPE(values.Get()[i].ulPropTag) == PT_STRING8 && values.Get()[i].Value.lpszA)
            emails[i] = values.Get()[i].Value.lpszA;
    return emails;
}

void COutlookContext::FuzzySearchContactsByName(IMAPIFolder* folder, const std::string& name,
                                                std::vector<EntryId>& entryIds,
                                                std::vector<std::string>& displayNames) {
    std::string words = name.substr(0, name.find('@'));
    std::vector<std::string> tokens;
    for (size_t start = 0; start < words.size();) {
        size_t end = words.find_first_of(kNameSeparators, start);
        if (end == std::string::npos) end = words.size();
        if (end > start) tokens.push_back(words.substr(start, end - start));
        start = end + 1;
    }
    if (tokens.empty()) return;

    ComPtr<IMAPITable> table;
    CheckMapi(folder->GetContentsTable(0, &table), folder,
              "FuzzySearchContactsByName:GetContentsTable failed");
    SizedSPropTagArray(2, columns) = {2, {PR_ENTRYID, PR_DISPLAY_NAME_A}};
    CheckMapi(table->SetColumns(reinterpret_cast<LPSPropTagArray>(&columns), 0), table.Get(),
              "FuzzySearchContactsByName: SetColumns failed");
    std::vector<SPropValue> values(tokens.size());
    std::vector<SRestriction> contains(tokens.size());
    for (size_t i = 0; i < tokens.size(); ++i) {
        values[i].ulPropTag = PR_DISPLAY_NAME_A;
        values[i].Value.lpszA = tokens[i].data();
        contains[i].rt = RES_CONTENT;
        contains[i].res.resContent = {FL_SUBSTRING | FL_IGNORECASE | FL_IGNORENONSPACE | FL_LOOSE,
                                      PR_DISPLAY_NAME_A, &values[i]};
    }
    SRestriction anyToken = {};
    anyToken.rt = RES_OR;
    anyToken.res.resOr = {static_cast<ULONG>(contains.size()), contains.data()};

    HRESULT hr = table->SeekRow(BOOKMARK_BEGINNING, 0, nullptr);
    if (hr != MAPI_E_NOT_FOUND)
        CheckMapi(hr, table.Get(), "FuzzySearchContactsByName: SeekRow failed");
    for (;;) {
        hr = table->FindRow(&anyToken, BOOKMARK_CURRENT, 0);
        if (hr == MAPI_E_NOT_FOUND) return;
        CheckMapi(hr, table.Get(), "FuzzySearchContactsByName: FindRow failed");
        RowSetPtr row;
        CheckMapi(table->QueryRows(1, 0, &row), table.Get(),
                  "FuzzySearchContactsByName: QueryRows failed");
        if (row->cRows == 0) return;
        const SPropValue* props = row->aRow[0].lpProps;
        if (props[0].ulPropTag != PR_ENTRYID || props[1].ulPropTag != PR_DISPLAY_NAME_A) continue;
        EntryId permanent = GetPermanentEID(EntryId(props[0].Value.bin));
        if (permanent.empty()) continue;
        entryIds.push_back(std::move(permanent));
        displayNames.emplace_back(props[1].Value.lpszA);
    }
}

void COutlookContext::FuzzySearchAllContactFolders(const std::string& name,
                                                   std::vector<EntryId>& entryIds,
                                                   std::vector<std::string>& displayNames) {
    for (const EntryId& folderId : contactFolderEIDs_) {
        ComPtr<IMAPIFolder> folder = GetFolder(mailStore_.Get(), folderId, false);
        FuzzySearchContactsByName(folder.Get(), name, entryIds, displayNames);
    }
}
