// Folders of the simulated Outlook: the default folders, folders by entry and store id in hex,
// sub-folders by number and name, and new sub-folders that take their parent's kind.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>

#include "ascii_case.h"
#include "hex.h"
#include "mapiutil.h"
#include "outlook_fixture.h"

namespace orvella::testing {
namespace {

using platform::mapi::MapiBuffer;
namespace store = platform::mapi::store;

ComPtr<IMAPIFolder> MapiFolderOf(MAPIFolder* folder) {
    ComPtr<IUnknown> object;
    EXPECT_EQ(folder->get_MAPIOBJECT(&object), S_OK);
    ComPtr<IMAPIFolder> mapi_folder;
    if (object) object.As(IID_IMAPIFolder, mapi_folder);
    return mapi_folder;
}

Outlook::OlItemType DefaultItemTypeOf(MAPIFolder* folder) {
    Outlook::OlItemType type = Outlook::olPostItem;
    EXPECT_EQ(folder->get_DefaultItemType(&type), S_OK);
    return type;
}

class FoldersTest : public OutlookTest {};

TEST_F(FoldersTest, DefaultFoldersAreTheStoresStandardFolders) {
    Start();
    struct Case {
        Outlook::OlDefaultFolders folder;
        const char* name;
        Outlook::OlItemType type;
    };
    const Case cases[] = {
        {Outlook::olFolderInbox, "Inbox", Outlook::olMailItem},
        {Outlook::olFolderOutbox, "Outbox", Outlook::olMailItem},
        {Outlook::olFolderSentMail, "Sent Items", Outlook::olMailItem},
        {Outlook::olFolderDeletedItems, "Deleted Items", Outlook::olMailItem},
        {Outlook::olFolderDrafts, "Drafts", Outlook::olMailItem},
        {Outlook::olFolderContacts, "Contacts", Outlook::olContactItem},
        {Outlook::olFolderCalendar, "Calendar", Outlook::olAppointmentItem},
        {Outlook::olFolderJournal, "Journal", Outlook::olJournalItem},
        {Outlook::olFolderNotes, "Notes", Outlook::olNoteItem},
        {Outlook::olFolderTasks, "Tasks", Outlook::olTaskItem},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ComPtr<MAPIFolder> folder = DefaultFolder(c.folder);
        ASSERT_TRUE(folder);
        EXPECT_EQ(NameOf(folder.Get()), c.name);
        EXPECT_EQ(DefaultItemTypeOf(folder.Get()), c.type);
    }
    ComPtr<MAPIFolder> none;
    EXPECT_EQ(mapi_->GetDefaultFolder(static_cast<Outlook::OlDefaultFolders>(7), &none),
              E_INVALIDARG);
}

TEST_F(FoldersTest, GetFolderFromIdRoundTripsHexInEitherCaseAcrossStores) {
    Start({{"Personal Folders", store::StoreKind::Personal, true, false},
           {"Archive", store::StoreKind::Personal, false, false}});
    ComPtr<MAPIFolder> contacts = DefaultFolder(Outlook::olFolderContacts);
    const std::string id = EntryIdOf(contacts.Get());
    std::string store_id;
    ASSERT_EQ(contacts->get_StoreID(&store_id), S_OK);
    for (const std::string& text : {id, store_id}) {
        EXPECT_FALSE(text.empty());
        EXPECT_EQ(text.find_first_not_of("0123456789ABCDEF"), std::string::npos) << text;
    }

    // The other store's top folder, reached through the session.
    ComPtr<IMAPITable> stores;
    ASSERT_EQ(session_->GetMsgStoresTable(0, &stores), S_OK);
    SizedSPropTagArray(1, columns) = {1, {PR_ENTRYID}};
    platform::mapi::RowSetPtr rows;
    ASSERT_EQ(HrQueryAllRows(stores.Get(), reinterpret_cast<LPSPropTagArray>(&columns), nullptr,
                             nullptr, 0, &rows),
              S_OK);
    ASSERT_EQ(rows->cRows, 2u);
    const SBinary& archive_id = rows->aRow[1].lpProps[0].Value.bin;
    ComPtr<IMsgStore> archive;
    ASSERT_EQ(session_->OpenMsgStore(0, archive_id.cb, reinterpret_cast<LPENTRYID>(archive_id.lpb),
                                     nullptr, 0, &archive),
              S_OK);
    MapiBuffer<SPropValue> top;
    ASSERT_EQ(HrGetOneProp(archive.Get(), PR_IPM_SUBTREE_ENTRYID, &top), S_OK);
    const std::string archive_top = platform::HexEncode({top->Value.bin.lpb, top->Value.bin.cb});
    const std::string archive_store = platform::HexEncode({archive_id.lpb, archive_id.cb});

    struct Case {
        std::string entry_id;
        VARIANT store_id;
        const char* name;
    };
    const Case cases[] = {
        {id, VariantText(store_id), "Contacts"},
        {orvella::platform::AsciiLower(id), VariantText(orvella::platform::AsciiLower(store_id)),
         "Contacts"},
        {orvella::platform::AsciiLower(id), VariantMissing(), "Contacts"},
        {archive_top, VariantText(orvella::platform::AsciiLower(archive_store)),
         "Top of Information Store"},
        {archive_top, VariantMissing(), "Top of Information Store"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.entry_id);
        ComPtr<MAPIFolder> found;
        ASSERT_EQ(mapi_->GetFolderFromID(c.entry_id, c.store_id, &found), S_OK);
        EXPECT_EQ(NameOf(found.Get()), c.name);
        EXPECT_TRUE(SameEntry(EntryIdOf(found.Get()), c.entry_id));
    }
}

TEST_F(FoldersTest, BadHexAndUnknownIdsFail) {
    Start();
    ComPtr<MAPIFolder> inbox = DefaultFolder(Outlook::olFolderInbox);
    std::string store_id;
    ASSERT_EQ(inbox->get_StoreID(&store_id), S_OK);
    // A folder that existed once, and a message.
    ComPtr<_Folders> folders;
    ASSERT_EQ(inbox->get_Folders(&folders), S_OK);
    ComPtr<MAPIFolder> gone;
    ASSERT_EQ(folders->Add("Gone", VariantMissing(), &gone), S_OK);
    const std::string gone_id = EntryIdOf(gone.Get());
    auto gone_bytes = *platform::HexDecode(gone_id);
    ASSERT_EQ(MapiFolderOf(inbox.Get())
                  ->DeleteFolder(static_cast<ULONG>(gone_bytes.size()),
                                 reinterpret_cast<LPENTRYID>(gone_bytes.data()), 0, nullptr, 0),
              S_OK);
    ComPtr<_MailItem> mail = NewMail("Saved", "");
    ASSERT_EQ(mail->Save(), S_OK);
    const std::string message_id = EntryIdOf(mail.Get());

    struct Case {
        std::string entry_id;
        VARIANT store_id;
        HRESULT folder_result;
        HRESULT item_result;
    };
    const Case cases[] = {
        {"", VariantMissing(), E_INVALIDARG, E_INVALIDARG},
        {"XYZ1", VariantMissing(), E_INVALIDARG, E_INVALIDARG},
        {"ABC", VariantMissing(), E_INVALIDARG, E_INVALIDARG},
        {"00112233", VariantMissing(), MAPI_E_INVALID_ENTRYID, MAPI_E_INVALID_ENTRYID},
        {gone_id, VariantMissing(), MAPI_E_NOT_FOUND, MAPI_E_NOT_FOUND},
        {gone_id, VariantText(store_id), MAPI_E_NOT_FOUND, MAPI_E_NOT_FOUND},
        {gone_id, VariantText("NOTHEX"), E_INVALIDARG, E_INVALIDARG},
        {gone_id, VariantText("00112233"), MAPI_E_INVALID_ENTRYID, MAPI_E_INVALID_ENTRYID},
        {gone_id, VariantLong(1), DISP_E_TYPEMISMATCH, DISP_E_TYPEMISMATCH},
        {message_id, VariantMissing(), MAPI_E_INVALID_ENTRYID, S_OK},
        {EntryIdOf(inbox.Get()), VariantMissing(), S_OK, MAPI_E_INVALID_ENTRYID},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.entry_id);
        ComPtr<MAPIFolder> folder;
        EXPECT_EQ(mapi_->GetFolderFromID(c.entry_id, c.store_id, &folder), c.folder_result);
        EXPECT_EQ(folder.Get() != nullptr, c.folder_result == S_OK);
        ComPtr<IDispatch> item;
        EXPECT_EQ(mapi_->GetItemFromID(c.entry_id, c.store_id, &item), c.item_result);
        EXPECT_EQ(item.Get() != nullptr, c.item_result == S_OK);
    }
}

TEST_F(FoldersTest, NewFolderWithoutATypeTakesItsParentsKind) {
    Start();
    struct Case {
        Outlook::OlDefaultFolders parent;
        const char* container_class;
        Outlook::OlItemType type;
    };
    const Case cases[] = {
        {Outlook::olFolderContacts, "IPF.Contact", Outlook::olContactItem},
        {Outlook::olFolderCalendar, "IPF.Appointment", Outlook::olAppointmentItem},
        {Outlook::olFolderTasks, "IPF.Task", Outlook::olTaskItem},
        {Outlook::olFolderNotes, "IPF.StickyNote", Outlook::olNoteItem},
        {Outlook::olFolderJournal, "IPF.Journal", Outlook::olJournalItem},
        {Outlook::olFolderInbox, "IPF.Note", Outlook::olMailItem},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.container_class);
        ComPtr<_Folders> folders;
        ASSERT_EQ(DefaultFolder(c.parent)->get_Folders(&folders), S_OK);
        ComPtr<MAPIFolder> added;
        ASSERT_EQ(folders->Add("Orvella Topics", VariantMissing(), &added), S_OK);
        EXPECT_EQ(NameOf(added.Get()), "Orvella Topics");
        EXPECT_EQ(DefaultItemTypeOf(added.Get()), c.type);
        ComPtr<IMAPIProp> stored = OpenThroughMapi(EntryIdOf(added.Get()));
        EXPECT_EQ(TextOf(stored.Get(), PR_CONTAINER_CLASS_A), c.container_class);
        EXPECT_EQ(TextOf(stored.Get(), PR_DISPLAY_NAME_A), "Orvella Topics");
    }
}

TEST_F(FoldersTest, NewFolderWithATypeTakesThatKind) {
    Start();
    ComPtr<_Folders> folders;
    ASSERT_EQ(DefaultFolder(Outlook::olFolderInbox)->get_Folders(&folders), S_OK);
    struct Case {
        const char* name;
        VARIANT type;
        HRESULT result;
        const char* container_class;
    };
    const Case cases[] = {
        {"People", VariantLong(Outlook::olFolderContacts), S_OK, "IPF.Contact"},
        {"Stickies", VariantLong(Outlook::olFolderNotes), S_OK, "IPF.StickyNote"},
        {"Mail", VariantLong(Outlook::olFolderDrafts), S_OK, "IPF.Note"},
        {"Odd", VariantLong(2), E_INVALIDARG, ""},
        {"Texted", VariantText("IPF.Note"), DISP_E_TYPEMISMATCH, ""},
        {"people", VariantMissing(), MAPI_E_COLLISION, ""},
        {"", VariantMissing(), E_INVALIDARG, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ComPtr<MAPIFolder> added;
        ASSERT_EQ(folders->Add(c.name, c.type, &added), c.result);
        if (c.result != S_OK) continue;
        EXPECT_EQ(TextOf(OpenThroughMapi(EntryIdOf(added.Get())).Get(), PR_CONTAINER_CLASS_A),
                  c.container_class);
    }
}

TEST_F(FoldersTest, SubFoldersAreFoundByNumberOrByNameInAnyCase) {
    Start();
    ComPtr<MAPIFolder> inbox = DefaultFolder(Outlook::olFolderInbox);
    ComPtr<_Folders> folders;
    ASSERT_EQ(inbox->get_Folders(&folders), S_OK);
    ComPtr<MAPIFolder> added;
    ASSERT_EQ(folders->Add("Projects", VariantMissing(), &added), S_OK);
    ASSERT_EQ(folders->Add("Archive", VariantMissing(), &added), S_OK);
    LONG count = 0;
    ASSERT_EQ(folders->get_Count(&count), S_OK);
    EXPECT_EQ(count, 2);

    struct Case {
        VARIANT index;
        HRESULT result;
        const char* name;
    };
    const Case cases[] = {
        {VariantText("projects"), S_OK, "Projects"}, {VariantText("ARCHIVE"), S_OK, "Archive"},
        {VariantText("Archive"), S_OK, "Archive"},   {VariantText("Missing"), DISP_E_BADINDEX, ""},
        {VariantLong(3), DISP_E_BADINDEX, ""},       {VariantLong(0), DISP_E_BADINDEX, ""},
        {VariantMissing(), DISP_E_TYPEMISMATCH, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ComPtr<MAPIFolder> found;
        ASSERT_EQ(folders->Item(c.index, &found), c.result);
        if (c.result == S_OK) {
            EXPECT_EQ(NameOf(found.Get()), c.name);
        }
    }
    // By number: the two sub-folders, in some order, each once.
    std::vector<std::string> by_number;
    for (LONG i = 1; i <= 2; ++i) {
        ComPtr<MAPIFolder> found;
        ASSERT_EQ(folders->Item(VariantLong(i), &found), S_OK);
        by_number.push_back(NameOf(found.Get()));
    }
    std::sort(by_number.begin(), by_number.end());
    EXPECT_EQ(by_number, (std::vector<std::string>{"Archive", "Projects"}));
}

TEST_F(FoldersTest, RenamedFolderIsSeenThroughMapi) {
    Start();
    ComPtr<_Folders> folders;
    ASSERT_EQ(DefaultFolder(Outlook::olFolderInbox)->get_Folders(&folders), S_OK);
    ComPtr<MAPIFolder> added;
    ASSERT_EQ(folders->Add("Projects", VariantMissing(), &added), S_OK);
    ASSERT_EQ(added->put_Name("Old projects"), S_OK);
    EXPECT_EQ(TextOf(OpenThroughMapi(EntryIdOf(added.Get())).Get(), PR_DISPLAY_NAME_A),
              "Old projects");
    EXPECT_EQ(NameOf(Child(DefaultFolder(Outlook::olFolderInbox).Get(), "old PROJECTS").Get()),
              "Old projects");
}

TEST_F(FoldersTest, FolderWithoutAContainerClassHoldsMail) {
    Start();
    ComPtr<IMAPIFolder> inbox = MapiFolderOf(DefaultFolder(Outlook::olFolderInbox).Get());
    ComPtr<IMAPIFolder> plain;
    ASSERT_EQ(inbox->CreateFolder(FOLDER_GENERIC, const_cast<char*>("Plain"), nullptr, nullptr, 0,
                                  &plain),
              S_OK);
    MapiBuffer<SPropValue> id;
    ASSERT_EQ(HrGetOneProp(plain.Get(), PR_ENTRYID, &id), S_OK);
    ComPtr<MAPIFolder> folder;
    ASSERT_EQ(mapi_->GetFolderFromID(platform::HexEncode({id->Value.bin.lpb, id->Value.bin.cb}),
                                     VariantMissing(), &folder),
              S_OK);
    EXPECT_EQ(DefaultItemTypeOf(folder.Get()), Outlook::olMailItem);
    ComPtr<_Folders> folders;
    ASSERT_EQ(folder->get_Folders(&folders), S_OK);
    ComPtr<MAPIFolder> added;
    ASSERT_EQ(folders->Add("Below", VariantMissing(), &added), S_OK);
    EXPECT_EQ(TextOf(OpenThroughMapi(EntryIdOf(added.Get())).Get(), PR_CONTAINER_CLASS_A),
              "IPF.Note");
}

}  // namespace
}  // namespace orvella::testing
