// The embedded store through MAPI: profiles, logon, folders, messages, named properties, tables
// and the failures a caller must see, on real store files in a temporary home.
#include "store_fixture.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "mapi_ptr.h"
#include "mapitags.h"
#include "mapiutil.h"
#include "mapix.h"
#include "profile.h"
#include "store_objects.h"
#include "store_test_support.h"
#include "temp_home.h"

namespace {

using orvella::platform::mapi::ComPtr;
using orvella::platform::mapi::MapiBuffer;
using orvella::platform::mapi::RowSetPtr;
using orvella::testing::EntryId;
using orvella::testing::Long;
using orvella::testing::StoreTest;
using orvella::testing::Text;
namespace store = orvella::platform::mapi::store;

TEST_F(StoreTest, SavedMessageSurvivesANewSession) {
    auto eid = SaveMessage({Text(PR_SUBJECT_A, "Quarterly report"), Long(PR_IMPORTANCE, 2)});
    inbox_.Reset();
    store_.Reset();
    session_.Reset();
    Logon();
    auto message = Open(eid, 0);
    MapiBuffer<SPropValue> subject;
    ASSERT_EQ(HrGetOneProp(message.Get(), PR_SUBJECT_A, &subject), S_OK);
    EXPECT_STREQ(subject->Value.lpszA, "Quarterly report");
    MapiBuffer<SPropValue> missing;
    EXPECT_EQ(HrGetOneProp(message.Get(), PR_BODY_A, &missing), MAPI_E_NOT_FOUND);
}

TEST_F(StoreTest, UnsavedChangesStayInvisibleUntilSaved) {
    auto eid = SaveMessage({Text(PR_SUBJECT_A, "before")});
    auto writer = Open(eid);
    SPropValue after = Text(PR_SUBJECT_A, "after");
    ASSERT_EQ(writer->SetProps(1, &after, nullptr), S_OK);
    MapiBuffer<SPropValue> seen;
    ASSERT_EQ(HrGetOneProp(Open(eid, 0).Get(), PR_SUBJECT_A, &seen), S_OK);
    EXPECT_STREQ(seen->Value.lpszA, "before");
    ASSERT_EQ(writer->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
    ASSERT_EQ(HrGetOneProp(Open(eid, 0).Get(), PR_SUBJECT_A, &seen), S_OK);
    EXPECT_STREQ(seen->Value.lpszA, "after");
}

TEST_F(StoreTest, ConcurrentSavesAndDeletionsAreReported) {
    auto eid = SaveMessage({Text(PR_SUBJECT_A, "shared")});
    auto first = Open(eid);
    auto second = Open(eid);
    SPropValue one = Long(PR_IMPORTANCE, 1), two = Long(PR_IMPORTANCE, 2);
    first->SetProps(1, &one, nullptr);
    second->SetProps(1, &two, nullptr);
    EXPECT_EQ(first->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
    EXPECT_EQ(second->SaveChanges(KEEP_OPEN_READWRITE), MAPI_E_OBJECT_CHANGED);
    EXPECT_EQ(second->SaveChanges(KEEP_OPEN_READWRITE | FORCE_SAVE), S_OK);

    SBinary bin = {static_cast<ULONG>(eid.size()), eid.data()};
    ENTRYLIST list = {1, &bin};
    ASSERT_EQ(inbox_->DeleteMessages(&list, 0, nullptr, 0), S_OK);
    first->SetProps(1, &two, nullptr);
    EXPECT_EQ(first->SaveChanges(KEEP_OPEN_READWRITE), MAPI_E_OBJECT_DELETED);
    ComPtr<IMessage> gone;
    ULONG type = 0;
    EXPECT_EQ(
        session_->OpenEntry(static_cast<ULONG>(eid.size()), reinterpret_cast<LPENTRYID>(eid.data()),
                            nullptr, 0, &type, gone.PutUnknown()),
        MAPI_E_NOT_FOUND);
    BYTE garbage[5] = {1, 2, 3, 4, 5};
    EXPECT_EQ(session_->OpenEntry(5, reinterpret_cast<LPENTRYID>(garbage), nullptr, 0, &type,
                                  gone.PutUnknown()),
              MAPI_E_INVALID_ENTRYID);
}

// An importer's saves share commits; each still applies whole or not at all, more saves than
// one shared commit holds all arrive, and a failed save takes nothing else with it.
TEST_F(StoreTest, BulkWritingSharesCommitsButKeepsEachSaveWhole) {
    auto doomed = SaveMessage({Text(PR_SUBJECT_A, "doomed")});
    auto stale = Open(doomed);
    constexpr int kSaves = store::Database::kBulkWrites + 10;
    {
        auto bulk = store::BeginBulkWriting(store_.Get());
        ASSERT_TRUE(bulk);
        for (int i = 0; i < kSaves / 2; ++i) SaveMessage({Long(PR_IMPORTANCE, 1)});
        SBinary bin = {static_cast<ULONG>(doomed.size()), doomed.data()};
        ENTRYLIST list = {1, &bin};
        ASSERT_EQ(inbox_->DeleteMessages(&list, 0, nullptr, 0), S_OK);
        SPropValue importance = Long(PR_IMPORTANCE, 2);
        ASSERT_EQ(stale->SetProps(1, &importance, nullptr), S_OK);
        EXPECT_EQ(stale->SaveChanges(0), MAPI_E_OBJECT_DELETED);
        for (int i = kSaves / 2; i < kSaves; ++i) SaveMessage({Long(PR_IMPORTANCE, 1)});
        bulk->Finish();
    }
    stale.Reset();
    inbox_.Reset();
    store_.Reset();
    session_.Reset();
    Logon();
    ComPtr<IMAPITable> table;
    ASSERT_EQ(inbox_->GetContentsTable(0, &table), S_OK);
    ULONG count = 0;
    ASSERT_EQ(table->GetRowCount(0, &count), S_OK);
    EXPECT_EQ(count, static_cast<ULONG>(kSaves));
    SPropValue two = Long(PR_IMPORTANCE, 2);
    SRestriction of_two = {};
    of_two.rt = RES_PROPERTY;
    of_two.res.resProperty = {RELOP_EQ, PR_IMPORTANCE, &two};
    EXPECT_EQ(table->FindRow(&of_two, BOOKMARK_BEGINNING, 0), MAPI_E_NOT_FOUND);
    EXPECT_TRUE(
        store::StoreDatabase::Open(store::ProfileStores("Outlook")[0].file)->Check().empty());
}

// Tables share the store's snapshot of a folder's ids: one still open keeps its rows and its
// cursor's row while others follow messages joining and leaving, also between shared commits.
TEST_F(StoreTest, AnOpenTableKeepsItsRowWhileOtherTablesFollowTheFolder) {
    for (const bool shared : {false, true}) {
        SCOPED_TRACE(shared ? "between shared commits" : "a commit per save");
        ASSERT_EQ(inbox_->EmptyFolder(0, nullptr, 0), S_OK);
        std::vector<EntryId> saved;
        for (LONG i = 0; i < 4; ++i) saved.push_back(SaveMessage({Long(PR_IMPORTANCE, i)}));
        auto bulk = shared ? store::BeginBulkWriting(store_.Get()) : nullptr;
        auto open = [&] {
            ComPtr<IMAPITable> table;
            EXPECT_EQ(inbox_->GetContentsTable(0, &table), S_OK);
            SizedSPropTagArray(1, columns) = {1, {PR_IMPORTANCE}};
            EXPECT_EQ(table->SetColumns(reinterpret_cast<LPSPropTagArray>(&columns), 0), S_OK);
            return table;
        };
        auto importances = [](IMAPITable* table, LONG rows) {
            RowSetPtr read;
            EXPECT_EQ(table->QueryRows(rows, 0, &read), S_OK);
            std::vector<LONG> values;
            for (ULONG r = 0; r < read->cRows; ++r)
                values.push_back(read->aRow[r].lpProps[0].Value.l);
            return values;
        };
        ComPtr<IMAPITable> first = open();
        ASSERT_EQ(first->SeekRow(BOOKMARK_BEGINNING, 2, nullptr), S_OK);
        for (int round = 0; round < 3; ++round) {
            EntryId& leaving = saved[round == 2 ? 3 : round];  // never the cursor's message
            SBinary gone = {static_cast<ULONG>(leaving.size()), leaving.data()};
            ENTRYLIST list = {1, &gone};
            ASSERT_EQ(inbox_->DeleteMessages(&list, 0, nullptr, 0), S_OK);
            SaveMessage({Long(PR_IMPORTANCE, 10 + round)});
            ComPtr<IMAPITable> other = open();
            EXPECT_EQ(importances(other.Get(), 10).size(), 4u);
        }
        // The first table's cursor stays on the third message.
        EXPECT_EQ(importances(first.Get(), 10), (std::vector<LONG>{2, 10, 11, 12}));
        if (bulk) bulk->Finish();
        EXPECT_EQ(importances(open().Get(), 10), (std::vector<LONG>{2, 10, 11, 12}));
    }
}

TEST_F(StoreTest, RestrictedWalkFindsEveryMessageOfAThread) {
    const ULONG thread = NamedLong("OV-ThreadID");
    for (LONG i = 0; i < 300; ++i) SaveMessage({Long(thread, i % 60), Long(PR_IMPORTANCE, i)});
    ComPtr<IMAPITable> table;
    ASSERT_EQ(inbox_->GetContentsTable(0, &table), S_OK);
    SizedSPropTagArray(2, columns) = {2, {PR_IMPORTANCE, thread}};
    ASSERT_EQ(table->SetColumns(reinterpret_cast<LPSPropTagArray>(&columns), 0), S_OK);
    SPropValue wanted = Long(thread, 7);
    SRestriction res = {};
    res.rt = RES_PROPERTY;
    res.res.resProperty = {RELOP_EQ, thread, &wanted};
    ASSERT_EQ(table->SeekRow(BOOKMARK_BEGINNING, 0, nullptr), S_OK);
    std::vector<LONG> found;
    while (table->FindRow(&res, BOOKMARK_CURRENT, 0) == S_OK) {
        RowSetPtr rows;
        ASSERT_EQ(table->QueryRows(1, 0, &rows), S_OK);
        ASSERT_EQ(rows->cRows, 1u);
        found.push_back(rows->aRow[0].lpProps[0].Value.l);
    }
    EXPECT_EQ(found, (std::vector<LONG>{7, 67, 127, 187, 247}));
}

TEST_F(StoreTest, PagedReadSeesEveryRowOnce) {
    for (LONG i = 0; i < 123; ++i) SaveMessage({Long(PR_IMPORTANCE, i)});
    ComPtr<IMAPITable> table;
    ASSERT_EQ(inbox_->GetContentsTable(0, &table), S_OK);
    SizedSPropTagArray(1, columns) = {1, {PR_IMPORTANCE}};
    ASSERT_EQ(table->SetColumns(reinterpret_cast<LPSPropTagArray>(&columns), 0), S_OK);
    std::vector<LONG> seen;
    for (;;) {
        ASSERT_EQ(table->SeekRow(BOOKMARK_BEGINNING, static_cast<LONG>(seen.size()), nullptr),
                  S_OK);
        RowSetPtr page;
        ASSERT_EQ(table->QueryRows(50, TBL_NOADVANCE, &page), S_OK);
        if (page->cRows == 0) break;
        for (ULONG r = 0; r < page->cRows; ++r) seen.push_back(page->aRow[r].lpProps[0].Value.l);
    }
    ASSERT_EQ(seen.size(), 123u);
    for (LONG i = 0; i < 123; ++i) EXPECT_EQ(seen[i], i);
}

TEST_F(StoreTest, NewStoreHasTheStandardFolders) {
    ComPtr<IMAPIFolder> root;
    ULONG type = 0;
    ASSERT_EQ(store_->OpenEntry(0, nullptr, nullptr, 0, &type, root.PutUnknown()), S_OK);
    ComPtr<IMAPITable> hierarchy;
    ASSERT_EQ(root->GetHierarchyTable(CONVENIENT_DEPTH, &hierarchy), S_OK);
    RowSetPtr rows;
    SizedSPropTagArray(3, columns) = {3, {PR_DEPTH, PR_DISPLAY_NAME_A, PR_CONTAINER_CLASS_A}};
    ASSERT_EQ(HrQueryAllRows(hierarchy.Get(), reinterpret_cast<LPSPropTagArray>(&columns), nullptr,
                             nullptr, 0, &rows),
              S_OK);
    std::vector<std::string> listed;
    for (ULONG r = 0; r < rows->cRows; ++r) {
        const SPropValue* row = rows->aRow[r].lpProps;
        std::string line = std::to_string(row[0].Value.l) + " " + row[1].Value.lpszA;
        if (PROP_TYPE(row[2].ulPropTag) == PT_STRING8)
            line += std::string(" ") + row[2].Value.lpszA;
        listed.push_back(line);
    }
    EXPECT_EQ(listed, (std::vector<std::string>{
                          "1 Top of Information Store", "2 Inbox IPF.Note", "2 Outbox IPF.Note",
                          "2 Sent Items IPF.Note", "2 Deleted Items IPF.Note", "2 Drafts IPF.Note",
                          "2 Contacts IPF.Contact", "2 Calendar IPF.Appointment",
                          "2 Journal IPF.Journal", "2 Notes IPF.StickyNote", "2 Tasks IPF.Task"}));
    MapiBuffer<SPropValue> contacts;
    EXPECT_EQ(HrGetOneProp(inbox_.Get(), PR_IPM_CONTACT_ENTRYID, &contacts), S_OK);
}

TEST_F(StoreTest, AnEntryOfAStoreOutsideTheProfileIsUnknownToItsSession) {
    store::StoreSetup setup{"Work Folders", store::StoreKind::Personal, true, false};
    store::CreateProfile("Work", std::span(&setup, 1));
    ComPtr<IMAPISession> work;
    ASSERT_EQ(MAPILogonEx(0, const_cast<char*>("Work"), nullptr, MAPI_EXTENDED, &work), S_OK);
    ComPtr<IMAPITable> stores;
    ASSERT_EQ(work->GetMsgStoresTable(0, &stores), S_OK);
    RowSetPtr rows = orvella::testing::AllRows(stores.Get(), {PR_ENTRYID});
    ASSERT_TRUE(rows && rows->cRows > 0);
    const SBinary& storeId = rows->aRow[0].lpProps[0].Value.bin;
    ComPtr<IMsgStore> workStore;
    ASSERT_EQ(work->OpenMsgStore(0, storeId.cb, reinterpret_cast<LPENTRYID>(storeId.lpb), nullptr,
                                 0, &workStore),
              S_OK);
    ULONG cb = 0;
    MapiBuffer<ENTRYID> workInbox;
    ASSERT_EQ(
        workStore->GetReceiveFolder(const_cast<char*>("IPM.Note"), 0, &cb, &workInbox, nullptr),
        S_OK);

    ULONG type = 0;
    ComPtr<IUnknown> opened;
    EXPECT_EQ(session_->OpenEntry(cb, workInbox.Get(), nullptr, 0, &type, &opened),
              MAPI_E_UNKNOWN_ENTRYID);
    EXPECT_EQ(work->OpenEntry(cb, workInbox.Get(), nullptr, 0, &type, &opened), S_OK);
    EXPECT_EQ(type, static_cast<ULONG>(MAPI_FOLDER));
}

TEST(StoreFileTest, AFileThatIsNotAStoreIsNamedAndLeftAlone) {
    orvella::testing::TempHome home;
    ASSERT_EQ(MAPIInitialize(nullptr), S_OK);
    store::StoreSetup setup{"Personal Folders", store::StoreKind::Personal, true, false};
    store::CreateProfile("Broken", std::span(&setup, 1));
    auto file = store::ProfileStores("Broken")[0].file;
    {
        std::ofstream out(file, std::ios::trunc);
        out << "this is not a database, just some text that a user put here";
    }
    std::string before = [&] {
        std::ifstream in(file);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }();
    ComPtr<IMAPISession> session;
    ASSERT_EQ(MAPILogonEx(0, const_cast<char*>("Broken"), nullptr, MAPI_EXTENDED, &session), S_OK);
    ComPtr<IMAPITable> table;
    EXPECT_EQ(session->GetMsgStoresTable(0, &table), MAPI_E_CORRUPT_STORE);
    MapiBuffer<MAPIERROR> error;
    ASSERT_EQ(session->GetLastError(MAPI_E_CORRUPT_STORE, 0, &error), S_OK);
    EXPECT_NE(std::string(error->lpszError).find(file.string()), std::string::npos);
    std::ifstream in(file);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), before);
    MAPIUninitialize();
}

}  // namespace
