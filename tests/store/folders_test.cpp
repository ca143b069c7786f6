// Folder and entry-id helpers, the topic root, Outlook items, the paged read and store
// notifications of the store session.
#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>

#include "mapiutil.h"
#include "paged_read.h"
#include "session_fixture.h"
#include "store_fixture.h"

namespace orvella::testing {
namespace {

using FolderHelpersTest = SessionTest;

TEST(TopicPathTest, NormalizeAndValidateTopicFolderLocations) {
    struct Case {
        const char* path;
        const char* normalized;
        const char* location;
    } cases[] = {
        {"/Inbox/Orvella Topics", "Inbox/Orvella Topics", "/Inbox/Orvella Topics"},
        {" \\Projects\\\\Alpha/ ", "Projects/Alpha", "/Projects/Alpha"},
        {"Topics", "Topics", "/Topics"},
        {"sent items", "sent items", "/Inbox/Orvella Topics"},
        {"/Deleted Items/", "Deleted Items", "/Inbox/Orvella Topics"},
        {"T", "T", "/Inbox/Orvella Topics"},
        {"", "", "/Inbox/Orvella Topics"},
        {" / \\ ", "", "/Inbox/Orvella Topics"},
        {"Sent Items/Topics", "Sent Items/Topics", "/Sent Items/Topics"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(COutlookContext::NormalizeFolderPath(c.path), c.normalized) << c.path;
        EXPECT_EQ(COutlookContext::ValidateTopicFolderLocation(c.path), c.location) << c.path;
    }
}

TEST_F(FolderHelpersTest, TopicRootIsCreatedOnceAndFoundByPathInAnyCase) {
    Install();
    SetSettingText("TopicFolderLocation", "\\Inbox\\Orvella Topics\\Work\\");
    auto context = Open();
    EXPECT_EQ(context->TopicFolderLocation(), "/Inbox/Orvella Topics/Work");
    context->Initialize();
    ComPtr<IMAPIFolder> root =
        context->GetFolder(context->MailStore(), context->SubtreeEID(), false);
    for (const char* path : {"/Inbox/Orvella Topics/Work", "inbox/ORVELLA TOPICS/work",
                             "\\Inbox\\orvella topics\\Work\\"}) {
        ComPtr<IMAPIFolder> found = context->GetFolder(root.Get(), path);
        ASSERT_TRUE(found) << path;
        EXPECT_TRUE(context->IsSameEID(context->GetEID(found.Get()), context->TopicRootEID()));
    }
    EXPECT_FALSE(context->GetFolder(root.Get(), "/Inbox/Orvella Topics/Home"));
    EXPECT_FALSE(context->GetFolder(root.Get(), "/Outbox/Orvella Topics"));

    // A second start finds the folders instead of creating them again.
    ::EntryId first = context->TopicRootEID();
    context.reset();
    auto again = Open();
    again->Initialize();
    EXPECT_TRUE(again->IsSameEID(again->TopicRootEID(), first));
    ComPtr<IMAPIFolder> inbox = again->GetInboxFolder();
    ComPtr<IMAPITable> children;
    ASSERT_EQ(inbox->GetHierarchyTable(0, &children), S_OK);
    ULONG count = 0;
    ASSERT_EQ(children->GetRowCount(0, &count), S_OK);
    EXPECT_EQ(count, 1u);
}

TEST_F(FolderHelpersTest, FoldersCreatedBelowContactsAreContactFolders) {
    Install();
    auto context = Open();
    ComPtr<IMAPIFolder> created =
        context->GetOrCreateFolder(context->GetContactsFolder(true).Get(), "Orvella Contacts/VIP");
    EXPECT_EQ(context->GetMAPIStringProperty(created.Get(), PR_CONTAINER_CLASS_A), "IPF.Contact");
    EXPECT_EQ(context->GetMAPIStringProperty(created.Get(), PR_DISPLAY_NAME_A), "VIP");
    EXPECT_TRUE(context->IsChildOfFolder(context->GetEID(created.Get()), context->ContactsEID()));
    EXPECT_FALSE(context->IsChildOfFolder(context->GetEID(created.Get()), context->InboxEID()));
    EXPECT_FALSE(context->IsChildOfFolder(context->InboxEID(), context->ContactsEID()));
}

TEST_F(FolderHelpersTest, FolderChoosersListEveryFolderOfEveryStore) {
    Install({{"Personal Folders", platform::mapi::store::StoreKind::Personal, true, false},
             {"Archive", platform::mapi::store::StoreKind::Personal, false, false}});
    auto context = Open();
    context->GetOrCreateFolder(context->GetInboxFolder(true).Get(), "Projects/Alpha");
    std::vector<FolderGroup> groups;
    context->GetFolderHierarchyEIDs(groups);
    ASSERT_EQ(groups.size(), 2u);
    EXPECT_EQ(groups[0].storeName, "Personal Folders");
    EXPECT_EQ(groups[1].storeName, "Archive");
    const std::vector<std::string>& paths = groups[0].paths;
    for (const char* path : {"/Inbox", "/Inbox/Projects", "/Inbox/Projects/Alpha", "/Sent Items",
                             "/Deleted Items", "/Contacts"})
        EXPECT_NE(std::find(paths.begin(), paths.end(), path), paths.end()) << path;
    ASSERT_EQ(groups[0].entryIds.size(), paths.size());
    size_t inbox = std::find(paths.begin(), paths.end(), "/Inbox") - paths.begin();
    EXPECT_TRUE(context->IsSameEID(groups[0].entryIds[inbox], context->InboxEID()));
    EXPECT_EQ(std::find(groups[1].paths.begin(), groups[1].paths.end(), "/Inbox/Projects"),
              groups[1].paths.end());
}

TEST_F(FolderHelpersTest, MessagesAreHandledByClassAndKnownByTheirFolder) {
    Install();
    auto context = Open();
    struct Case {
        const char* messageClass;
        bool handled;
    } cases[] = {{"IPM.Note", true},
                 {"IPM.Note.SMIME", true},
                 {"IPM.Schedule.Meeting.Request", true},
                 {"IPM.TaskRequest", true},
                 {"IPM.Contact", false},
                 {"ipm.note", false},
                 {"REPORT.IPM.Note.NDR", true}};
    ComPtr<IMAPIFolder> inbox = context->GetInboxFolder(true);
    for (const Case& c : cases) {
        ::EntryId id(SaveIn(inbox.Get(), {Text(PR_MESSAGE_CLASS_A, c.messageClass)}));
        EXPECT_EQ(context->IsHandledMessage(context->MailStore(), id), c.handled) << c.messageClass;
        EXPECT_TRUE(context->IsInboxMessage(context->GetMAPIMessage(id).Get()));
        EXPECT_TRUE(context->IsSameEID(context->GetParentEID(id), context->InboxEID()));
    }
    ::EntryId sent(
        SaveIn(context->GetFolder(context->MailStore(), context->SentItemsEID(), true).Get(),
               {Text(PR_MESSAGE_CLASS_A, "IPM.Note")}));
    EXPECT_FALSE(context->IsInboxMessage(context->GetMAPIMessage(sent).Get()));

    // A deleted message is simply not handled; an empty entry id cannot be opened.
    SBinary bin = {sent.cb(), const_cast<BYTE*>(sent.bytes().data())};
    ENTRYLIST list = {1, &bin};
    ASSERT_EQ(context->GetFolder(context->MailStore(), context->SentItemsEID(), true)
                  ->DeleteMessages(&list, 0, nullptr, 0),
              S_OK);
    EXPECT_FALSE(context->IsHandledMessage(context->MailStore(), sent));
    CaughtFailure failure = CatchFailure([&] { context->GetMAPIMessage(::EntryId()); });
    EXPECT_EQ(failure.message, "GetMAPIMessage:OpenEntry failed");
    EXPECT_EQ(failure.details, "cb=0");
}

TEST_F(FolderHelpersTest, AnItemCreatedThroughOutlookIsTheMessageMapiOpens) {
    Install();
    auto context = Open();
    ComPtr<IDispatch> item;
    ASSERT_EQ(application_->CreateItem(Outlook::olMailItem, &item), S_OK);
    ComPtr<_MailItem> mail;
    ASSERT_EQ(item.As(IID__MailItem, mail), S_OK);
    ASSERT_EQ(mail->put_Subject("Quarterly figures"), S_OK);
    ASSERT_EQ(mail->Save(), S_OK);

    ::EntryId id = context->GetEntryIDFromOutlookObject(item.Get());
    ASSERT_FALSE(id.empty());
    ComPtr<IMessage> message = context->GetIMessageFromOutlookObject(item.Get());
    ASSERT_TRUE(message);
    EXPECT_EQ(context->GetMAPIStringProperty(message.Get(), PR_SUBJECT_A), "Quarterly figures");
    EXPECT_EQ(context->GetMAPIStringProperty(context->GetMAPIMessage(id).Get(), PR_SUBJECT_A),
              "Quarterly figures");
    EXPECT_EQ(context->GetMAPIStringProperty(message.Get(), PR_BODY_A), "");

    // A folder is no message item.
    ComPtr<MAPIFolder> folder;
    ASSERT_EQ(nameSpace_->GetDefaultFolder(Outlook::olFolderInbox, &folder), S_OK);
    EXPECT_FALSE(context->GetIMessageFromOutlookObject(folder.Get()));
    EXPECT_TRUE(context->GetEntryIDFromOutlookObject(folder.Get()).empty());
}

TEST_F(FolderHelpersTest, PagedReadVisitsEveryRowInPagesOfFifty) {
    Install();
    auto context = Open();
    ComPtr<IMAPIFolder> inbox = context->GetInboxFolder(true);
    for (LONG i = 0; i < 120; ++i) SaveIn(inbox.Get(), {Long(PR_IMPORTANCE, i)});
    ComPtr<IMAPITable> table;
    ASSERT_EQ(inbox->GetContentsTable(0, &table), S_OK);
    SizedSPropTagArray(1, columns) = {1, {PR_IMPORTANCE}};
    ASSERT_EQ(table->SetColumns(reinterpret_cast<LPSPropTagArray>(&columns), 0), S_OK);
    std::vector<ULONG> pages;
    std::vector<LONG> seen;
    ReadTablePaged(table.Get(), "seek", "query", [&](const SRowSet& page) {
        pages.push_back(page.cRows);
        for (ULONG i = 0; i < page.cRows; ++i) seen.push_back(page.aRow[i].lpProps[0].Value.l);
        return true;
    });
    EXPECT_EQ(pages, (std::vector<ULONG>{50, 50, 20}));
    std::sort(seen.begin(), seen.end());
    ASSERT_EQ(seen.size(), 120u);
    for (LONG i = 0; i < 120; ++i) EXPECT_EQ(seen[i], i);

    pages.clear();
    ReadTablePaged(table.Get(), "seek", "query", [&](const SRowSet& page) {
        pages.push_back(page.cRows);
        return false;
    });
    EXPECT_EQ(pages, (std::vector<ULONG>{50}));
}

// Records what the sinks deliver, for a test to wait on.
class RecordingAdvise : public IMAPIAdvise {
public:
    void OnNewMail(ULONG, LPENTRYID) override { Add("new mail"); }
    void OnMessageCreated(LPVOID, ULONG, LPENTRYID, ULONG, LPENTRYID) override {
        Add("message created");
    }
    void OnMessageMoved(LPVOID, ULONG, LPENTRYID, ULONG, LPENTRYID, ULONG, LPENTRYID) override {
        Add("message moved");
    }
    void OnMessageCopied(LPVOID, ULONG, LPENTRYID, ULONG, LPENTRYID, ULONG, LPENTRYID) override {
        Add("message copied");
    }
    void OnFolderCreated(LPVOID, ULONG, LPENTRYID, ULONG, LPENTRYID) override {
        Add("folder created");
    }
    void OnFolderModified(LPVOID, ULONG, LPENTRYID) override { Add("folder modified"); }
    void OnFolderDeleted(LPVOID, ULONG, LPENTRYID, ULONG, LPENTRYID) override {
        Add("folder deleted");
    }
    void OnFolderMoved(LPVOID, ULONG, LPENTRYID, ULONG, LPENTRYID, ULONG, LPENTRYID) override {
        Add("folder moved");
    }

    bool WaitFor(const std::string& event) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(10), [&] {
            return std::find(events_.begin(), events_.end(), event) != events_.end();
        });
    }
    std::vector<std::string> Events() {
        std::lock_guard lock(mutex_);
        return events_;
    }

private:
    void Add(const std::string& event) {
        std::lock_guard lock(mutex_);
        events_.push_back(event);
        changed_.notify_all();
    }
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::string> events_;
};

TEST_F(FolderHelpersTest, NotificationsReachTheAddInUntilWithdrawn) {
    Install();
    auto context = Open();
    RecordingAdvise advise;
    context->RegisterMAPIAdvise(&advise);
    ComPtr<IMAPIFolder> inbox = context->GetInboxFolder(true);
    SaveIn(inbox.Get(), {Text(PR_MESSAGE_CLASS_A, "IPM.Note"), Text(PR_SUBJECT_A, "new")});
    EXPECT_TRUE(advise.WaitFor("new mail"));
    MakeFolder(inbox.Get(), "Projects");
    EXPECT_TRUE(advise.WaitFor("folder created"));

    context->UnregisterMAPIAdvise();
    const size_t before = advise.Events().size();
    SaveIn(inbox.Get(), {Text(PR_MESSAGE_CLASS_A, "IPM.Note")});
    MakeFolder(inbox.Get(), "Later");
    // The notifier polls every 100 ms; a withdrawn sink hears nothing of these.
    std::this_thread::sleep_for(std::chrono::milliseconds(400));
    EXPECT_EQ(advise.Events().size(), before);
}

}  // namespace
}  // namespace orvella::testing
