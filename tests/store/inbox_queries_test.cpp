// The Inbox queries: every message, the messages of one contact and the unprocessed ones, with
// the in-memory reset of the threads they refer to.
#include <gtest/gtest.h>

#include "inbox_fixture.h"

namespace orvella::testing {
namespace {

TEST_F(InboxTest, EveryInboxMessageIsListedWithItsSubjectButNoHiddenRecord) {
    Start();
    const ::EntryId budget = SaveInbox("Budget", "ann@example.com");
    const ::EntryId blank = SaveInbox(nullptr, "bob@example.com");
    const ::EntryId lunch = SaveInbox("Lunch", nullptr);
    SaveMessage({Text(PR_MESSAGE_CLASS_A, "IPM.Orvella.Statistics"), Text(PR_SUBJECT_A, "64=1")},
                nullptr, MAPI_ASSOCIATED);

    std::vector<::EntryId> ids;
    std::vector<std::string> subjects;
    context_->GetInboxEIDs(false, ids, &subjects);
    EXPECT_EQ(Hex(ids), Hex({budget, blank, lunch}));
    EXPECT_EQ(subjects, (std::vector<std::string>{"Budget", "", "Lunch"}));

    std::vector<::EntryId> idsOnly;
    context_->GetInboxEIDs(false, idsOnly, nullptr);
    EXPECT_EQ(Hex(idsOnly), Hex({budget, blank, lunch}));
}

TEST_F(InboxTest, ResettingThreadScoresZeroesOnlyTheThreadsOfInboxMessages) {
    Start();
    MsgThreadPtr budget = Thread("Budget", 3, 90);
    MsgThreadPtr lunch = Thread("Lunch", 2, 40);
    MsgThreadPtr archived = Thread("Archived", 4, 100);  // no Inbox message refers to it
    SaveProcessed("Budget", budget->GetThreadID(), -30);
    SaveProcessed("Re: Lunch", lunch->GetThreadID(), -20);
    SaveProcessed("Unknown", 77, -5);  // a thread the registry does not know

    std::vector<::EntryId> ids;
    context_->GetInboxEIDs(false, ids, nullptr);
    EXPECT_EQ(budget->GetMsgsReceived(), 3);
    EXPECT_EQ(budget->GetTotalScore(), 90);

    ids.clear();
    context_->GetInboxEIDs(true, ids, nullptr);
    EXPECT_EQ(ids.size(), 3u);
    for (const MsgThreadPtr& thread : {budget, lunch}) {
        EXPECT_EQ(thread->GetMsgsReceived(), 0) << thread->GetName();
        EXPECT_EQ(thread->GetTotalScore(), 0) << thread->GetName();
    }
    EXPECT_EQ(archived->GetMsgsReceived(), 4);
    EXPECT_EQ(archived->GetTotalScore(), 100);
    // Only memory changes: the records still hold what the threads last saved.
    EXPECT_EQ(LongOf(Record(budget->GetEntryID()).Get(), Tag(IP_THREAD_MSGS_RECEIVED)), 3);
    EXPECT_EQ(LongOf(Record(budget->GetEntryID()).Get(), Tag(IP_THREAD_TOTAL_SCORE)), 90);
}

TEST_F(InboxTest, AContactsMessagesAreThoseFromAnyOfItsAddresses) {
    Start();
    MsgThreadPtr budget = Thread("Budget", 2, 50);
    MsgThreadPtr lunch = Thread("Lunch", 1, 10);
    const ::EntryId contact = SaveContact({"ann@example.com", "", "ann@home.example"});
    const ::EntryId first =
        SaveInbox("Budget", "ann@example.com", {{IP_THREAD_ID, budget->GetThreadID()}});
    SaveInbox("Lunch", "bob@example.com", {{IP_THREAD_ID, lunch->GetThreadID()}});
    const ::EntryId second = SaveInbox("Photos", "ann@home.example");
    SaveInbox("Nothing", nullptr);

    std::vector<::EntryId> ids;
    std::vector<std::string> subjects;
    context_->ResetThreadScoresAndGetInboxEIDsForContact(contact, ids, &subjects);
    EXPECT_EQ(Hex(ids), Hex({first, second}));
    EXPECT_EQ(subjects, (std::vector<std::string>{"Budget", "Photos"}));
    EXPECT_EQ(budget->GetMsgsReceived(), 0);
    EXPECT_EQ(budget->GetTotalScore(), 0);
    EXPECT_EQ(lunch->GetMsgsReceived(), 1);
    EXPECT_EQ(lunch->GetTotalScore(), 10);
}

TEST_F(InboxTest, AContactWithoutAddressesHasNoMessages) {
    Start();
    SaveInbox("Budget", "ann@example.com");
    SaveInbox("No sender", nullptr);
    std::vector<::EntryId> ids;
    std::vector<std::string> subjects;
    context_->ResetThreadScoresAndGetInboxEIDsForContact(SaveContact({}), ids, &subjects);
    EXPECT_TRUE(ids.empty());
    EXPECT_TRUE(subjects.empty());
}

TEST_F(InboxTest, AContactThatIsGoneFailsWithItsOwnMessage) {
    Start();
    const ::EntryId contact = SaveContact({"ann@example.com"});
    SBinary gone = {contact.cb(), reinterpret_cast<LPBYTE>(contact.get())};
    ENTRYLIST list = {1, &gone};
    ASSERT_EQ(context_->GetContactsFolder(true)->DeleteMessages(&list, 0, nullptr, 0), S_OK);
    std::vector<::EntryId> ids;
    CaughtFailure failure = CatchFailure(
        [&] { context_->ResetThreadScoresAndGetInboxEIDsForContact(contact, ids, nullptr); });
    EXPECT_EQ(failure.type, "MAPI");
    EXPECT_EQ(failure.message,
              "ResetThreadScoresAndGetInboxEIDsForContact: Unable retrieve email props");
    EXPECT_EQ(failure.code, MAPI_E_NOT_FOUND);
}

TEST_F(InboxTest, AMessageLackingAnyMarkerIsUnprocessed) {
    Start();
    struct Case {
        const char* subject;
        std::vector<ItemsProp> present;
        bool listed;
    } cases[] = {
        {"none", {}, true},
        {"all five",
         {IP_THREAD_SCORE, IP_MSG_SCORE, IP_RECEIVED_DAY, IP_RECEIVED_WEEK, IP_THREAD_ID},
         false},
        {"no thread score", {IP_MSG_SCORE, IP_RECEIVED_DAY, IP_RECEIVED_WEEK, IP_THREAD_ID}, true},
        {"no message score",
         {IP_THREAD_SCORE, IP_RECEIVED_DAY, IP_RECEIVED_WEEK, IP_THREAD_ID},
         true},
        {"no day", {IP_THREAD_SCORE, IP_MSG_SCORE, IP_RECEIVED_WEEK, IP_THREAD_ID}, true},
        {"no week", {IP_THREAD_SCORE, IP_MSG_SCORE, IP_RECEIVED_DAY, IP_THREAD_ID}, true},
        {"no thread id", {IP_THREAD_SCORE, IP_MSG_SCORE, IP_RECEIVED_DAY, IP_RECEIVED_WEEK}, true},
        {"score only", {IP_MSG_SCORE}, true},
        {"all five again",
         {IP_THREAD_SCORE, IP_MSG_SCORE, IP_RECEIVED_DAY, IP_RECEIVED_WEEK, IP_THREAD_ID},
         false},
    };
    std::vector<std::string> expected;
    for (const Case& c : cases) {
        std::vector<std::pair<ItemsProp, LONG>> stored;
        for (ItemsProp prop : c.present) stored.push_back({prop, 1});
        SaveInbox(c.subject, nullptr, stored);
        if (c.listed) expected.push_back(c.subject);
    }
    std::vector<::EntryId> ids;
    std::vector<std::string> subjects;
    context_->GetUnprocessedInboxEIDs(ids, &subjects);
    EXPECT_EQ(subjects, expected);
    EXPECT_EQ(ids.size(), expected.size());
}

TEST_F(InboxTest, AProcessedMessageReadAfterAMatchIsNotListed) {
    Start();
    // One match reads the rows after it too: processed ones among them are tested again.
    const ::EntryId first = SaveInbox("first", nullptr);
    for (LONG i = 0; i < 3; ++i) SaveProcessed("processed", 1, -10);
    const ::EntryId middle = SaveInbox("middle", nullptr, {{IP_MSG_SCORE, -4}});
    for (LONG i = 0; i < 60; ++i) SaveProcessed("processed", 1, -10);
    const ::EntryId last = SaveInbox("last", nullptr, {{IP_THREAD_ID, 1}});

    std::vector<::EntryId> ids;
    context_->GetUnprocessedInboxEIDs(ids, nullptr);
    EXPECT_EQ(Hex(ids), Hex({first, middle, last}));
}

TEST_F(InboxTest, AnInboxWithoutMessagesGivesEmptyLists) {
    Start();
    std::vector<::EntryId> ids;
    std::vector<std::string> subjects;
    context_->GetInboxEIDs(true, ids, &subjects);
    context_->GetUnprocessedInboxEIDs(ids, &subjects);
    EXPECT_TRUE(ids.empty());
    EXPECT_TRUE(subjects.empty());
}

}  // namespace
}  // namespace orvella::testing
