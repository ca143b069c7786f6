// Folders of the embedded store as a caller sees them: creating, deleting and emptying folders,
// copying, moving and deleting messages, the hierarchy table's depth, entry ids of gone objects.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "mapi_ptr.h"
#include "mapitags.h"
#include "mapiutil.h"
#include "mapix.h"
#include "store_fixture.h"
#include "store_test_support.h"

namespace {

using orvella::platform::mapi::ComPtr;
using orvella::platform::mapi::MapiBuffer;
using orvella::platform::mapi::RowSetPtr;
using orvella::testing::ContentsTexts;
using orvella::testing::EntryId;
using orvella::testing::EntryIdOf;
using orvella::testing::HierarchyTexts;
using orvella::testing::Long;
using orvella::testing::LongOf;
using orvella::testing::MakeFolder;
using orvella::testing::OpenEntryOn;
using orvella::testing::SaveIn;
using orvella::testing::StoreTest;
using orvella::testing::Text;

SBinary AsBinary(EntryId& id) {
    return {static_cast<ULONG>(id.size()), id.data()};
}

bool SameEntry(IMsgStore* store, EntryId a, EntryId b) {
    ULONG same = 0;
    EXPECT_EQ(store->CompareEntryIDs(
                  static_cast<ULONG>(a.size()), reinterpret_cast<LPENTRYID>(a.data()),
                  static_cast<ULONG>(b.size()), reinterpret_cast<LPENTRYID>(b.data()), 0, &same),
              S_OK);
    return same != 0;
}

TEST_F(StoreTest, CreateFolderOpensOrRefusesAnExistingName) {
    ComPtr<IMAPIFolder> projects = MakeFolder(inbox_.Get(), "Projects");
    ASSERT_TRUE(projects);
    const EntryId original = EntryIdOf(projects.Get());
    struct Case {
        const char* name;
        ULONG flags;
        HRESULT result;
        bool same_folder;
    };
    const Case cases[] = {
        {"Projects", 0, MAPI_E_COLLISION, false}, {"PROJECTS", 0, MAPI_E_COLLISION, false},
        {"Projects", OPEN_IF_EXISTS, S_OK, true}, {"projects", OPEN_IF_EXISTS, S_OK, true},
        {"Archive", OPEN_IF_EXISTS, S_OK, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.name) + " flags " + std::to_string(c.flags));
        ComPtr<IMAPIFolder> folder;
        ASSERT_EQ(inbox_->CreateFolder(FOLDER_GENERIC, const_cast<char*>(c.name), nullptr, nullptr,
                                       c.flags, &folder),
                  c.result);
        if (c.result != S_OK) {
            EXPECT_FALSE(folder);
            continue;
        }
        EXPECT_EQ(SameEntry(store_.Get(), EntryIdOf(folder.Get()), original), c.same_folder);
    }
    EXPECT_EQ(HierarchyTexts(inbox_.Get(), {PR_DISPLAY_NAME_A}),
              (std::vector<std::string>{"S:Projects", "S:Archive"}));
}

// What a folder holds before DeleteFolder is asked to remove it.
enum class Holding { Nothing, Messages, AssociatedMessages, Subfolder, MessageTwoFoldersDown };

TEST_F(StoreTest, DeleteFolderRemovesOnlyWhatItIsAllowedTo) {
    struct Case {
        Holding holding;
        ULONG flags;
        HRESULT result;
    };
    const Case cases[] = {
        {Holding::Nothing, 0, S_OK},
        {Holding::Messages, 0, MAPI_E_HAS_MESSAGES},
        {Holding::Messages, DEL_FOLDERS, MAPI_E_HAS_MESSAGES},
        {Holding::Messages, DEL_MESSAGES, S_OK},
        {Holding::AssociatedMessages, 0, MAPI_E_HAS_MESSAGES},
        {Holding::AssociatedMessages, DEL_MESSAGES, S_OK},
        {Holding::Subfolder, 0, MAPI_E_HAS_FOLDERS},
        {Holding::Subfolder, DEL_MESSAGES, MAPI_E_HAS_FOLDERS},
        {Holding::Subfolder, DEL_FOLDERS, S_OK},
        {Holding::Subfolder, DEL_FOLDERS | DEL_MESSAGES, S_OK},
        // Deleting subfolders never deletes their messages unasked.
        {Holding::MessageTwoFoldersDown, DEL_FOLDERS, MAPI_E_HAS_MESSAGES},
        {Holding::MessageTwoFoldersDown, DEL_FOLDERS | DEL_MESSAGES, S_OK},
    };
    int n = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE("case " + std::to_string(n));
        const std::string name = "Doomed " + std::to_string(n++);
        ComPtr<IMAPIFolder> doomed = MakeFolder(inbox_.Get(), name.c_str());
        ASSERT_TRUE(doomed);
        EntryId folder_id = EntryIdOf(doomed.Get());
        EntryId inside;  // what the folder holds, when anything
        if (c.holding == Holding::Messages)
            inside = SaveIn(doomed.Get(), {Text(PR_SUBJECT_A, "kept")});
        if (c.holding == Holding::AssociatedMessages)
            inside = SaveIn(doomed.Get(), {Text(PR_SUBJECT_A, "kept")}, MAPI_ASSOCIATED);
        if (c.holding == Holding::Subfolder) {
            ComPtr<IMAPIFolder> child = MakeFolder(doomed.Get(), "Child");
            ASSERT_TRUE(child);
            inside = EntryIdOf(child.Get());
        }
        if (c.holding == Holding::MessageTwoFoldersDown) {
            ComPtr<IMAPIFolder> child = MakeFolder(doomed.Get(), "Child");
            ASSERT_TRUE(child);
            ComPtr<IMAPIFolder> grandchild = MakeFolder(child.Get(), "Grandchild");
            ASSERT_TRUE(grandchild);
            inside = SaveIn(grandchild.Get(), {Text(PR_SUBJECT_A, "kept")});
        }
        EXPECT_EQ(inbox_->DeleteFolder(static_cast<ULONG>(folder_id.size()),
                                       reinterpret_cast<LPENTRYID>(folder_id.data()), 0, nullptr,
                                       c.flags),
                  c.result);
        const HRESULT gone = c.result == S_OK ? MAPI_E_NOT_FOUND : S_OK;
        ComPtr<IUnknown> opened;
        EXPECT_EQ(OpenEntryOn(session_.Get(), folder_id, 0, opened), gone);
        if (!inside.empty()) {
            EXPECT_EQ(OpenEntryOn(session_.Get(), inside, 0, opened), gone);
        }
    }
}

TEST_F(StoreTest, DeleteFolderRefusesWhatIsNotAChildFolder) {
    ComPtr<IMAPIFolder> outer = MakeFolder(inbox_.Get(), "Outer");
    ComPtr<IMAPIFolder> inner = MakeFolder(outer.Get(), "Inner");
    ASSERT_TRUE(inner);
    EntryId grandchild = EntryIdOf(inner.Get());
    EntryId message = SaveIn(inbox_.Get(), {Text(PR_SUBJECT_A, "not a folder")});
    EXPECT_EQ(inbox_->DeleteFolder(static_cast<ULONG>(grandchild.size()),
                                   reinterpret_cast<LPENTRYID>(grandchild.data()), 0, nullptr,
                                   DEL_FOLDERS | DEL_MESSAGES),
              MAPI_E_NOT_FOUND);
    EXPECT_EQ(inbox_->DeleteFolder(static_cast<ULONG>(message.size()),
                                   reinterpret_cast<LPENTRYID>(message.data()), 0, nullptr,
                                   DEL_FOLDERS | DEL_MESSAGES),
              MAPI_E_INVALID_ENTRYID);
    ComPtr<IUnknown> opened;
    EXPECT_EQ(OpenEntryOn(session_.Get(), grandchild, 0, opened), S_OK);
    EXPECT_EQ(OpenEntryOn(session_.Get(), message, 0, opened), S_OK);
}

TEST_F(StoreTest, CopyKeepsTheOriginalAndMoveKeepsTheEntryId) {
    struct Case {
        ULONG copy_flags;
        ULONG create_flags;  // MAPI_ASSOCIATED for folder-associated messages
        ULONG count_tag;
        LONG source_count, target_count;  // the source held 2 messages, the target none
        bool original_stays;
    };
    const Case cases[] = {
        {0, 0, PR_CONTENT_COUNT, 2, 1, true},
        {MESSAGE_MOVE, 0, PR_CONTENT_COUNT, 1, 1, false},
        {0, MAPI_ASSOCIATED, PR_ASSOC_CONTENT_COUNT, 2, 1, true},
        {MESSAGE_MOVE, MAPI_ASSOCIATED, PR_ASSOC_CONTENT_COUNT, 1, 1, false},
    };
    int n = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE("case " + std::to_string(n));
        ComPtr<IMAPIFolder> source =
            MakeFolder(inbox_.Get(), ("From " + std::to_string(n)).c_str());
        ComPtr<IMAPIFolder> target =
            MakeFolder(inbox_.Get(), ("To " + std::to_string(n++)).c_str());
        ASSERT_TRUE(source && target);
        EntryId travelling =
            SaveIn(source.Get(), {Text(PR_SUBJECT_A, "travelling")}, c.create_flags);
        SaveIn(source.Get(), {Text(PR_SUBJECT_A, "staying")}, c.create_flags);
        SBinary bin = AsBinary(travelling);
        ENTRYLIST list = {1, &bin};
        ASSERT_EQ(source->CopyMessages(&list, nullptr, target.Get(), 0, nullptr, c.copy_flags),
                  S_OK);
        EXPECT_EQ(LongOf(source.Get(), c.count_tag), c.source_count);
        EXPECT_EQ(LongOf(target.Get(), c.count_tag), c.target_count);
        const ULONG contents = c.create_flags & MAPI_ASSOCIATED;
        EXPECT_EQ(ContentsTexts(target.Get(), {PR_SUBJECT_A}, contents),
                  (std::vector<std::string>{"S:travelling"}));

        // The entry id the caller had: still in the source after a copy, in the target after
        // a move. The copy in the target has an entry id of its own.
        ComPtr<IUnknown> opened;
        ASSERT_EQ(OpenEntryOn(session_.Get(), travelling, 0, opened), S_OK);
        ComPtr<IMessage> message;
        ASSERT_EQ(opened->QueryInterface(IID_IMessage, reinterpret_cast<void**>(message.Put())),
                  S_OK);
        MapiBuffer<SPropValue> parent;
        ASSERT_EQ(HrGetOneProp(message.Get(), PR_PARENT_ENTRYID, &parent), S_OK);
        EntryId parent_id(parent->Value.bin.lpb, parent->Value.bin.lpb + parent->Value.bin.cb);
        EXPECT_EQ(SameEntry(store_.Get(), parent_id, EntryIdOf(source.Get())), c.original_stays);
        EXPECT_EQ(SameEntry(store_.Get(), parent_id, EntryIdOf(target.Get())), !c.original_stays);
    }
}

TEST_F(StoreTest, CopiedMessageIsANewMessageWithTheSameValues) {
    ComPtr<IMAPIFolder> target = MakeFolder(inbox_.Get(), "Copies");
    ASSERT_TRUE(target);
    EntryId original = SaveIn(inbox_.Get(), {Text(PR_SUBJECT_A, "twin"), Long(PR_IMPORTANCE, 2)});
    SBinary bin = AsBinary(original);
    ENTRYLIST list = {1, &bin};
    ASSERT_EQ(inbox_->CopyMessages(&list, nullptr, target.Get(), 0, nullptr, 0), S_OK);
    ComPtr<IMAPITable> table;
    ASSERT_EQ(target->GetContentsTable(0, &table), S_OK);
    auto rows = orvella::testing::AllRows(table.Get(), {PR_ENTRYID});
    ASSERT_EQ(rows->cRows, 1u);
    const SBinary& copy_bin = rows->aRow[0].lpProps[0].Value.bin;
    EntryId copy(copy_bin.lpb, copy_bin.lpb + copy_bin.cb);
    EXPECT_FALSE(SameEntry(store_.Get(), copy, original));

    // Changing the copy leaves the original as it was.
    ComPtr<IUnknown> opened;
    ASSERT_EQ(OpenEntryOn(session_.Get(), copy, MAPI_MODIFY, opened), S_OK);
    ComPtr<IMessage> message;
    ASSERT_EQ(opened->QueryInterface(IID_IMessage, reinterpret_cast<void**>(message.Put())), S_OK);
    EXPECT_EQ(LongOf(message.Get(), PR_IMPORTANCE), 2);
    SPropValue changed = Text(PR_SUBJECT_A, "changed twin");
    ASSERT_EQ(message->SetProps(1, &changed, nullptr), S_OK);
    ASSERT_EQ(message->SaveChanges(0), S_OK);
    EXPECT_EQ(ContentsTexts(inbox_.Get(), {PR_SUBJECT_A}), (std::vector<std::string>{"S:twin"}));
    EXPECT_EQ(ContentsTexts(target.Get(), {PR_SUBJECT_A}),
              (std::vector<std::string>{"S:changed twin"}));
}

TEST_F(StoreTest, DeleteMessagesRemovesOnlyTheFoldersOwnMessages) {
    ComPtr<IMAPIFolder> other = MakeFolder(inbox_.Get(), "Other");
    ASSERT_TRUE(other);
    EntryId first = SaveIn(inbox_.Get(), {Text(PR_SUBJECT_A, "first")});
    EntryId second = SaveIn(inbox_.Get(), {Text(PR_SUBJECT_A, "second")});
    SaveIn(inbox_.Get(), {Text(PR_SUBJECT_A, "third")});
    EntryId elsewhere = SaveIn(other.Get(), {Text(PR_SUBJECT_A, "elsewhere")});

    SBinary both[] = {AsBinary(first), AsBinary(second)};
    ENTRYLIST list = {2, both};
    EXPECT_EQ(inbox_->DeleteMessages(&list, 0, nullptr, 0), S_OK);
    EXPECT_EQ(ContentsTexts(inbox_.Get(), {PR_SUBJECT_A}), (std::vector<std::string>{"S:third"}));

    // Ids of gone messages and of another folder's message: reported, nothing else deleted.
    SBinary mixed[] = {AsBinary(first), AsBinary(elsewhere)};
    list = {2, mixed};
    EXPECT_EQ(inbox_->DeleteMessages(&list, 0, nullptr, 0), MAPI_W_PARTIAL_COMPLETION);
    EXPECT_EQ(ContentsTexts(other.Get(), {PR_SUBJECT_A}),
              (std::vector<std::string>{"S:elsewhere"}));
    EXPECT_EQ(LongOf(inbox_.Get(), PR_CONTENT_COUNT), 1);
}

TEST_F(StoreTest, EmptyFolderKeepsAssociatedMessagesUnlessAsked) {
    struct Case {
        ULONG flags;
        std::vector<std::string> associated_left;
    };
    const Case cases[] = {
        {0, {"S:view settings"}},
        {DEL_ASSOCIATED, {}},
    };
    int n = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE("flags " + std::to_string(c.flags));
        ComPtr<IMAPIFolder> folder =
            MakeFolder(inbox_.Get(), ("Full " + std::to_string(n++)).c_str());
        ASSERT_TRUE(folder);
        SaveIn(folder.Get(), {Text(PR_SUBJECT_A, "one")});
        SaveIn(folder.Get(), {Text(PR_SUBJECT_A, "two")});
        SaveIn(folder.Get(), {Text(PR_SUBJECT_A, "view settings")}, MAPI_ASSOCIATED);
        ComPtr<IMAPIFolder> sub = MakeFolder(folder.Get(), "Sub");
        ASSERT_TRUE(sub);
        EntryId nested = SaveIn(sub.Get(), {Text(PR_SUBJECT_A, "nested")});

        ASSERT_EQ(folder->EmptyFolder(0, nullptr, c.flags), S_OK);
        EXPECT_EQ(ContentsTexts(folder.Get(), {PR_SUBJECT_A}), std::vector<std::string>{});
        EXPECT_EQ(ContentsTexts(folder.Get(), {PR_SUBJECT_A}, MAPI_ASSOCIATED), c.associated_left);
        EXPECT_EQ(HierarchyTexts(folder.Get(), {PR_DISPLAY_NAME_A}), std::vector<std::string>{});
        ComPtr<IUnknown> opened;
        EXPECT_EQ(OpenEntryOn(session_.Get(), nested, 0, opened), MAPI_E_NOT_FOUND);
        EXPECT_EQ(LongOf(folder.Get(), PR_CONTENT_COUNT), 0);
    }
}

TEST_F(StoreTest, HierarchyTableShowsDepthBelowTheFolder) {
    ComPtr<IMAPIFolder> work = MakeFolder(inbox_.Get(), "Work");
    ComPtr<IMAPIFolder> clients = MakeFolder(work.Get(), "Clients");
    ComPtr<IMAPIFolder> acme = MakeFolder(clients.Get(), "Acme");
    ComPtr<IMAPIFolder> home = MakeFolder(inbox_.Get(), "Home");
    ASSERT_TRUE(acme && home);
    SaveIn(clients.Get(), {Text(PR_SUBJECT_A, "invoice")});
    struct Case {
        IMAPIFolder* folder;
        ULONG flags;
        std::vector<std::string> rows;  // PR_DEPTH, PR_DISPLAY_NAME_A, PR_CONTENT_COUNT
    };
    const Case cases[] = {
        {inbox_.Get(), 0, {"L:1|S:Work|L:0", "L:1|S:Home|L:0"}},
        {inbox_.Get(),
         CONVENIENT_DEPTH,
         {"L:1|S:Work|L:0", "L:2|S:Clients|L:1", "L:3|S:Acme|L:0", "L:1|S:Home|L:0"}},
        {work.Get(), CONVENIENT_DEPTH, {"L:1|S:Clients|L:1", "L:2|S:Acme|L:0"}},
        {acme.Get(), CONVENIENT_DEPTH, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE("flags " + std::to_string(c.flags));
        EXPECT_EQ(
            HierarchyTexts(c.folder, {PR_DEPTH, PR_DISPLAY_NAME_A, PR_CONTENT_COUNT}, c.flags),
            c.rows);
    }
    MapiBuffer<SPropValue> subfolders;
    ASSERT_EQ(HrGetOneProp(work.Get(), PR_SUBFOLDERS, &subfolders), S_OK);
    EXPECT_TRUE(subfolders->Value.b);
    ASSERT_EQ(HrGetOneProp(acme.Get(), PR_SUBFOLDERS, &subfolders), S_OK);
    EXPECT_FALSE(subfolders->Value.b);
}

// Depth first, a folder made later can come before one made earlier: the table must not take
// its rows for being in id order when it follows its cursor's row across a change.
TEST_F(StoreTest, ADeepHierarchyTableKeepsItsCursorOnItsRowWhenAFolderArrives) {
    ComPtr<IMAPIFolder> work = MakeFolder(inbox_.Get(), "Work");
    ASSERT_TRUE(MakeFolder(inbox_.Get(), "Home"));
    ASSERT_TRUE(MakeFolder(work.Get(), "Clients"));  // shown before Home, made after it
    ComPtr<IMAPITable> table;
    ASSERT_EQ(inbox_->GetHierarchyTable(CONVENIENT_DEPTH, &table), S_OK);
    SizedSPropTagArray(1, columns) = {1, {PR_DISPLAY_NAME_A}};
    ASSERT_EQ(table->SetColumns(reinterpret_cast<LPSPropTagArray>(&columns), 0), S_OK);
    ASSERT_EQ(table->SeekRow(BOOKMARK_BEGINNING, 2, nullptr), S_OK);
    ASSERT_TRUE(MakeFolder(inbox_.Get(), "Later"));
    RowSetPtr rows;
    ASSERT_EQ(table->QueryRows(2, 0, &rows), S_OK);
    ASSERT_EQ(rows->cRows, 2u);
    EXPECT_STREQ(rows->aRow[0].lpProps[0].Value.lpszA, "Home");
    EXPECT_STREQ(rows->aRow[1].lpProps[0].Value.lpszA, "Later");
}

TEST_F(StoreTest, OpenEntryTellsGoneObjectsFromForeignBytes) {
    ComPtr<IMAPIFolder> folder = MakeFolder(inbox_.Get(), "Short-lived");
    ASSERT_TRUE(folder);
    EntryId folder_id = EntryIdOf(folder.Get());
    EntryId message_id = SaveIn(folder.Get(), {Text(PR_SUBJECT_A, "short-lived")});
    folder.Reset();
    ASSERT_EQ(inbox_->DeleteFolder(static_cast<ULONG>(folder_id.size()),
                                   reinterpret_cast<LPENTRYID>(folder_id.data()), 0, nullptr,
                                   DEL_MESSAGES),
              S_OK);
    EntryId truncated(message_id.begin(), message_id.end() - 1);
    EntryId other_store = message_id;
    other_store[4] ^= 0xFF;  // the store's uid follows four flag bytes
    struct Case {
        const char* what;
        EntryId id;
        HRESULT result;
    };
    const Case cases[] = {
        {"deleted folder", folder_id, MAPI_E_NOT_FOUND},
        {"message of a deleted folder", message_id, MAPI_E_NOT_FOUND},
        {"truncated entry id", truncated, MAPI_E_INVALID_ENTRYID},
        {"text", EntryId{'h', 'e', 'l', 'l', 'o'}, MAPI_E_INVALID_ENTRYID},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        ComPtr<IUnknown> opened;
        EXPECT_EQ(OpenEntryOn(store_.Get(), c.id, 0, opened), c.result);
        EXPECT_EQ(OpenEntryOn(inbox_.Get(), c.id, 0, opened), c.result);
        EXPECT_FALSE(opened);
    }
    // A store opens only its own entry ids.
    ComPtr<IUnknown> opened;
    EXPECT_EQ(OpenEntryOn(store_.Get(), other_store, 0, opened), MAPI_E_INVALID_ENTRYID);
}

}  // namespace
