// The contact folders of the session: the contact folder list every lookup walks, the setup
// marker of the add-in's folders, and the start-up step that lets the contact names resolve.
#include "COutlookContext.h"
#include "mapiutil.h"
#include "resource.h"
#include "store_failures.h"

using namespace store_failures;
using orvella::platform::mapi::MapiBuffer;
using orvella::platform::mapi::RowSetPtr;

void COutlookContext::LoadContactFolders() {
    ComPtr<IMAPIFolder> contacts;
    ULONG type = 0;
    if (contactsEID_.empty() ||
        FAILED(mailStore_->OpenEntry(contactsEID_.cb(), contactsEID_.get(), nullptr, 0, &type,
                                     contacts.PutUnknown())))
        FailProgram("LoadContactFolders: Unable to open contact folder");
    contactFolderEIDs_.clear();
    contactFolderEIDs_.push_back(contactsEID_);
    AddChildFolderEIDsToArray(contacts.Get());
}

void COutlookContext::AddChildFolderEIDsToArray(IMAPIFolder* folder) {
    ComPtr<IMAPITable> table;
    CheckMapi(folder->GetHierarchyTable(0, &table), folder,
              "AddChildFolderEIDsToArray: failed GetHierarchyTable");
    SizedSPropTagArray(3, columns) = {3, {PR_DEPTH, PR_DISPLAY_NAME_A, PR_ENTRYID}};
    RowSetPtr rows;
    CheckMapi(HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns), nullptr,
                             nullptr, 0, &rows),
              table.Get(), "AddChildFolderEIDsToArray: could not get rows for hierarchy table");
    for (ULONG i = 0; i < rows->cRows; ++i) {
        const SRow& row = rows->aRow[i];
        if (row.cValues != 3 || row.lpProps[0].ulPropTag != PR_DEPTH ||
            row.lpProps[1].ulPropTag != PR_DISPLAY_NAME_A ||
            row.lpProps[2].ulPropTag != PR_ENTRYID || row.lpProps[2].Value.bin.cb == 0)
            continue;
        EntryId child(row.lpProps[2].Value.bin);
        ComPtr<IMAPIFolder> opened;
        ULONG type = 0;
        CheckMapi(
            mailStore_->OpenEntry(child.cb(), child.get(), nullptr, 0, &type, opened.PutUnknown()),
            mailStore_.Get(), "AddChildFolderEIDsToArray: could not open child folder");
        contactFolderEIDs_.push_back(child);
        AddChildFolderEIDsToArray(opened.Get());
    }
}

int COutlookContext::IsFolderMarked(IMAPIFolder* folder) {
    ComPtr<IMAPITable> table;
    CheckMapi(folder->GetContentsTable(MAPI_ASSOCIATED, &table), folder,
              "MarkAppContactFolder: Failed GetContentsTable");
    SPropValue marker = {};
    marker.ulPropTag = PR_MESSAGE_CLASS_A;
    marker.Value.lpszA = const_cast<LPSTR>(kSetupRecordClass);
    SRestriction restriction = {};
    restriction.rt = RES_PROPERTY;
    restriction.res.resProperty = {RELOP_EQ, PR_MESSAGE_CLASS_A, &marker};
    try {
        HRESULT hr = table->FindRow(&restriction, BOOKMARK_BEGINNING, 0);
        if (hr == MAPI_E_NOT_FOUND) return 1;
        CheckMapi(hr, table.Get(), "MarkAppContactFolder: FindRow failed");
        return 0;
    } catch (const orvella::diag::BaseException& failure) {
        ReportFailure(failure);
        return 1;
    }
}

void COutlookContext::MarkAppContactFolder(IMAPIFolder* folder) {
    ComPtr<IMessage> marker;
    CheckMapi(folder->CreateMessage(nullptr, MAPI_ASSOCIATED, &marker), folder,
              "MarkAppContactFolder: Failed CreateMessage");
    SPropValue value = {};
    value.ulPropTag = PR_MESSAGE_CLASS_A;
    value.Value.lpszA = const_cast<LPSTR>(kSetupRecordClass);
    CheckMapi(HrSetOneProp(marker.Get(), &value), marker.Get(),
              "MarkAppContactFolder: Failed SetProp");
    CheckMapi(marker->SaveChanges(0), marker.Get(), "MarkAppContactFolder: Failed SaveChanges");
}

namespace {

// The add-in's contacts folder ("Orvella Contacts" below the default one), or null.
ComPtr<IMAPIFolder> AppContactFolder(COutlookContext& context) {
    return context.GetFolder(context.GetContactsFolder(true).Get(),
                             orvella::res::LoadResString(IDS_CONTACTS_FOLDER));
}

}  // namespace

void COutlookContext::MarkSetupFolders() {
    try {
        ComPtr<IMAPIFolder> inbox = GetInboxFolder(true);
        if (IsFolderMarked(inbox.Get()) == 1) MarkAppContactFolder(inbox.Get());
        if (ComPtr<IMAPIFolder> contacts = AppContactFolder(*this))
            if (IsFolderMarked(contacts.Get()) == 1) MarkAppContactFolder(contacts.Get());
    } catch (const orvella::diag::BaseException& failure) {
        ReportFailure(failure);
    }
}

int COutlookContext::IsSynchronizedSinceInstall() {
    return IsFolderMarked(GetInboxFolder().Get());
}

HRESULT COutlookContext::IsContactFolderAvailableOffline() {
    ComPtr<IMAPIFolder> folder = AppContactFolder(*this);
    if (!folder) return E_FAIL;
    // Only a folder the store can write to holds the records of a synchronised folder.
    ComPtr<IMessage> probe;
    HRESULT hr = folder->CreateMessage(nullptr, MAPI_ASSOCIATED, &probe);
    if (SUCCEEDED(hr)) hr = probe->SaveChanges(KEEP_OPEN_READWRITE);
    if (FAILED(hr)) return hr;
    MapiBuffer<SPropValue> entryId;
    hr = HrGetOneProp(probe.Get(), PR_ENTRYID, &entryId);
    if (FAILED(hr)) return hr;
    ENTRYLIST list = {1, &entryId->Value.bin};
    hr = folder->DeleteMessages(&list, 0, nullptr, 0);
    if (FAILED(hr)) return hr;
    return IsFolderMarked(folder.Get());
}

void COutlookContext::InitContactFolder() {
    try {
        ComPtr<MAPIFolder> folder;
        CheckOutlook(nameSpace_->GetDefaultFolder(Outlook::olFolderContacts, &folder),
                     "InitContactFolder: couldn't get default contact folder");
        ComPtr<_Items> items;
        CheckOutlook(folder->get_Items(&items), "InitContactFolder: couldn't get items");
        LONG count = 0;
        CheckOutlook(items->get_Count(&count), "InitContactFolder: couldn't get items count");
        if (count != 0 && !IsOffline()) return;

        // Outlook names its contact properties in a store when a contact is first saved there;
        // a record saved and deleted at once leaves the names behind and the folder as it was.
        ComPtr<IDispatch> added;
        HRESULT hr = items->Add(VariantLong(Outlook::olContactItem), &added);
        ComPtr<_ContactItem> contact;
        if (SUCCEEDED(hr)) hr = added.As(IID__ContactItem, contact);
        CheckOutlook(hr, "InitContactFolder: couldn't add temp contact item");
        const std::string name = "Orvella Temporary Record";
        const std::string address =
            "temporary.record@" + orvella::res::LoadResString(IDS_VENDOR_DOMAIN);
        hr = contact->put_FullName(name);
        if (SUCCEEDED(hr)) hr = contact->put_Email1Address(address);
        if (SUCCEEDED(hr)) hr = contact->put_FileAs(name);
        if (SUCCEEDED(hr)) hr = contact->Save();
        CheckOutlook(hr, "InitContactFolder: couldn't save temp contact item");
        std::string hex;
        CheckOutlook(contact->get_EntryID(&hex),
                     "InitContactFolder: couldn't get EntryID of temp contact item");
        contact.Reset();
        added.Reset();

        EntryId entryId = EntryId::FromHex(hex);
        SBinary bin = {entryId.cb(), reinterpret_cast<LPBYTE>(entryId.get())};
        ENTRYLIST list = {1, &bin};
        ComPtr<IMAPIFolder> contacts = GetContactsFolder(true);
        CheckMapi(contacts->DeleteMessages(&list, 0, nullptr, 0), contacts.Get(),
                  "InitContactFolder: couldn't delete temp contact item");
    } catch (const orvella::diag::BaseException& failure) {
        ReportFailure(failure);
    }
}
