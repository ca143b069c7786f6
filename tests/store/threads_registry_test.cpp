// The thread registry and its records: creating, finding, restoring, updating and loading
// threads, the in-memory thread's arithmetic, and sent messages tied to their threads.
#include <gtest/gtest.h>

#include <functional>

#include "threads_fixture.h"

namespace orvella::testing {
namespace {

TEST(MsgThreadTest, ThreadScoreIsTheAverageTruncatedTowardZero) {
    struct Case {
        LONG messages;
        LONG total;
        LONG average;
    } cases[] = {{3, -7, -2}, {3, 7, 2}, {2, -1, 0}, {0, 0, 0}, {0, 12, 0}, {1, 40, 40}};
    for (const Case& c : cases) {
        CMsgThread::Fields fields;
        fields.messagesReceived = c.messages;
        fields.totalScore = c.total;
        EXPECT_EQ(CMsgThread::Create(fields)->GetThreadScore(), c.average)
            << c.total << "/" << c.messages;
    }
}

TEST(MsgThreadTest, CountersMoveAsMessagesAndRepliesArrive) {
    MsgThreadPtr thread = CMsgThread::Create({});
    thread->AddScore(10);
    thread->AddScore(-4);
    thread->AddScore(3);
    EXPECT_EQ(thread->GetMsgsReceived(), 3);
    EXPECT_EQ(thread->GetTotalScore(), 9);
    thread->AdjustScore(-2);  // each of the 3 messages loses 2
    EXPECT_EQ(thread->GetTotalScore(), 3);
    EXPECT_EQ(thread->GetThreadScore(), 1);
    thread->IncrementReplyCounter();
    thread->IncrementReplyCounter();
    EXPECT_EQ(thread->GetReplyCounter(), 2);
    thread->SetTopic("Projects/Alpha");
    EXPECT_EQ(thread->GetTopic(), "Projects/Alpha");
    thread->SetTopic(nullptr);
    EXPECT_EQ(thread->GetTopic(), "");
    thread->ResetScore();
    EXPECT_EQ(thread->GetMsgsReceived(), 0);
    EXPECT_EQ(thread->GetTotalScore(), 0);
    // Shared by reference: each holder adds one and the last release frees it.
    EXPECT_EQ(thread->AddRef(), 2u);
    EXPECT_EQ(thread->Release(), 1u);
}

TEST_F(ThreadsTest, NewThreadsGetRisingIdsAndHiddenRecordsInTheInbox) {
    Start();
    MsgThreadPtr budget;
    context_->CreateNewThread("Budget", MPL_HIGH, "Projects/Alpha", true, budget);
    clock_.Advance(std::chrono::seconds(5));
    MsgThreadPtr lunch;
    context_->CreateNewThread("Lunch", MPL_NORMAL, nullptr, false, lunch);

    EXPECT_EQ(budget->GetThreadID(), 1);
    EXPECT_EQ(lunch->GetThreadID(), 2);
    EXPECT_EQ(budget->GetName(), "Budget");
    EXPECT_EQ(budget->GetPriority(), 1);
    EXPECT_EQ(budget->GetTopic(), "Projects/Alpha");
    EXPECT_TRUE(budget->IsOriginator());
    // The counters in memory start at 0; the record's take effect at the next start.
    EXPECT_EQ(budget->GetReplyCounter(), 0);

    ComPtr<IMessage> record = Record(budget->GetEntryID());
    ASSERT_TRUE(record);
    EXPECT_EQ(TextOf(record.Get(), PR_MESSAGE_CLASS_A), "IPM.Orvella.Thread");
    EXPECT_EQ(TextOf(record.Get(), PR_SUBJECT_A), "Budget");
    EXPECT_EQ(LongOf(record.Get(), Tag(IP_THREAD_ID)), 1);
    EXPECT_EQ(LongOf(record.Get(), Tag(IP_THREAD_PRIORITY)), 1);
    EXPECT_EQ(LongOf(record.Get(), Tag(IP_THREAD_MSGS_RECEIVED)), 0);
    EXPECT_EQ(LongOf(record.Get(), Tag(IP_THREAD_TOTAL_SCORE)), 0);
    EXPECT_EQ(LongOf(record.Get(), Tag(IP_THREAD_REPLY_COUNTER)), 1);
    EXPECT_EQ(LongOf(record.Get(), Tag(IP_THREAD_ORIGINATOR)), 1);
    EXPECT_EQ(TimeOf(record.Get(), Tag(IP_THREAD_LAST_ACTIVITY)), kThreadsStart);
    EXPECT_EQ(TextOf(record.Get(), Tag(IP_TOPIC_NAME)), "Projects/Alpha");

    ComPtr<IMessage> lunchRecord = Record(lunch->GetEntryID());
    EXPECT_EQ(LongOf(lunchRecord.Get(), Tag(IP_THREAD_REPLY_COUNTER)), 0);
    EXPECT_EQ(TimeOf(lunchRecord.Get(), Tag(IP_THREAD_LAST_ACTIVITY)),
              kThreadsStart + 5 * platform::kTicksPerSecond);
    EXPECT_EQ(TextOf(lunchRecord.Get(), Tag(IP_TOPIC_NAME)), std::nullopt);
    EXPECT_EQ(RecordCount(), 2u);
    // Hidden: the Inbox's normal contents do not show them.
    ComPtr<IMAPITable> contents;
    ASSERT_EQ(context_->GetInboxFolder()->GetContentsTable(0, &contents), S_OK);
    ULONG visible = 99;
    ASSERT_EQ(contents->GetRowCount(0, &visible), S_OK);
    EXPECT_EQ(visible, 0u);

    MsgThreadPtr found;
    EXPECT_EQ(context_->FindThreadByName("Budget", found), 0);
    EXPECT_EQ(found.Get(), budget.Get());
    EXPECT_EQ(context_->FindThreadByName("budget", found), 1);  // names are exact bytes
    EXPECT_EQ(context_->FindThreadByName("", found), 1);
    EXPECT_EQ(context_->FindThreadById(2).Get(), lunch.Get());
    EXPECT_FALSE(context_->FindThreadById(3));
    EXPECT_EQ(LiveIds(), (std::vector<LONG>{1, 2}));
}

TEST_F(ThreadsTest, BlankSubjectsNeverShareAThread) {
    Start();
    std::vector<MsgThreadPtr> blanks(3);
    context_->GetOrCreateThread("", nullptr, blanks[0]);
    context_->GetOrCreateThread("  \t ", nullptr, blanks[1]);
    context_->GetOrCreateThread(nullptr, nullptr, blanks[2]);
    for (size_t i = 0; i < blanks.size(); ++i) {
        ASSERT_TRUE(blanks[i]);
        EXPECT_EQ(blanks[i]->GetThreadID(), static_cast<LONG>(i + 1));
        EXPECT_EQ(blanks[i]->GetName(), "");
    }
    // Each is registered under a key of its own, never under its empty name.
    MsgThreadPtr found;
    EXPECT_EQ(context_->FindThreadByName("", found), 1);
    EXPECT_EQ(context_->FindThreadByName("~@/BlankThread #2", found), 0);
    EXPECT_EQ(found.Get(), blanks[1].Get());
    EXPECT_EQ(RecordCount(), 3u);
    EXPECT_EQ(TextOf(Record(blanks[0]->GetEntryID()).Get(), PR_SUBJECT_A), "");
}

TEST_F(ThreadsTest, MessagesFindTheirThreadByNameThenByIdElseGetANewOne) {
    Start();
    auto message = [&](const char* subject, std::optional<LONG> threadId) {
        std::vector<SPropValue> values = {Text(PR_SUBJECT_A, subject)};
        if (threadId) values.push_back(Long(Tag(IP_THREAD_ID), *threadId));
        return SaveMessage(values);
    };
    struct Step {
        const char* subject;
        std::optional<LONG> carriedId;
        LONG threadId;
        const char* threadName;
    } steps[] = {
        {"Re: Budget", std::nullopt, 1, "Budget"},
        {"RE: Fw: Budget", std::nullopt, 1, "Budget"},
        {"Lunch", std::nullopt, 2, "Lunch"},
        // A message that knows its thread keeps it when its subject changed.
        {"Budget (revised)", 1, 1, "Budget"},
        // A known name wins over the id the message carries.
        {"Re: Lunch", 1, 2, "Lunch"},
        // A blank subject with a thread id joins that thread.
        {"", 2, 2, "Lunch"},
        {"", std::nullopt, 3, ""},
    };
    for (const Step& step : steps) {
        SCOPED_TRACE(step.subject);
        ComPtr<IMessage> m = message(step.subject, step.carriedId);
        MsgThreadPtr thread;
        context_->GetOrCreateThread(step.subject, m.Get(), thread);
        ASSERT_TRUE(thread);
        EXPECT_EQ(thread->GetThreadID(), step.threadId);
        EXPECT_EQ(thread->GetName(), step.threadName);
    }
    EXPECT_EQ(RecordCount(), 3u);
}

TEST_F(ThreadsTest, AMessageWhoseRecordIsGoneGetsItBackWithItsIdScoreAndTopic) {
    Start();
    ComPtr<IMessage> message =
        SaveMessage({Text(PR_SUBJECT_A, "RE: Offsite"), Long(Tag(IP_THREAD_ID), 57),
                     Long(Tag(IP_THREAD_SCORE), -35), Text(Tag(IP_TOPIC_NAME), "Events")});
    MsgThreadPtr thread;
    context_->GetOrCreateThread("RE: Offsite", message.Get(), thread);
    ASSERT_TRUE(thread);
    EXPECT_EQ(thread->GetThreadID(), 57);
    EXPECT_EQ(thread->GetName(), "Offsite");
    EXPECT_EQ(thread->GetTopic(), "Events");
    ComPtr<IMessage> record = Record(thread->GetEntryID());
    EXPECT_EQ(LongOf(record.Get(), Tag(IP_THREAD_ID)), 57);
    EXPECT_EQ(LongOf(record.Get(), Tag(IP_THREAD_MSGS_RECEIVED)), 1);
    EXPECT_EQ(LongOf(record.Get(), Tag(IP_THREAD_TOTAL_SCORE)), 35);
    EXPECT_EQ(LongOf(record.Get(), Tag(IP_THREAD_PRIORITY)), 0);
    EXPECT_EQ(LongOf(record.Get(), Tag(IP_THREAD_REPLY_COUNTER)), 0);
    EXPECT_EQ(LongOf(record.Get(), Tag(IP_THREAD_ORIGINATOR)), 0);
    EXPECT_EQ(TextOf(record.Get(), Tag(IP_TOPIC_NAME)), "Events");
    // Found by id from now on, and new threads count on from the restored id.
    EXPECT_EQ(context_->GetThreadByMessage(message.Get(), context_->ItemsPropTags()).Get(),
              thread.Get());
    MsgThreadPtr next;
    context_->CreateNewThread("Next", MPL_NORMAL, nullptr, false, next);
    EXPECT_EQ(next->GetThreadID(), 58);

    // A message without a subject or score restores an empty-named thread with total 0.
    ComPtr<IMessage> bare = SaveMessage({Long(Tag(IP_THREAD_ID), 7)});
    MsgThreadPtr restored = context_->GetThreadByMessage(bare.Get(), context_->ItemsPropTags());
    ASSERT_TRUE(restored);
    EXPECT_EQ(restored->GetName(), "");
    EXPECT_EQ(LongOf(Record(restored->GetEntryID()).Get(), Tag(IP_THREAD_TOTAL_SCORE)), 0);
    EXPECT_EQ(TextOf(Record(restored->GetEntryID()).Get(), Tag(IP_TOPIC_NAME)), std::nullopt);
}

TEST_F(ThreadsTest, MessagesWithoutAThreadIdRestoreNothing) {
    Start();
    ComPtr<IMessage> none = SaveMessage({Text(PR_SUBJECT_A, "Budget")});
    EXPECT_FALSE(context_->GetThreadByMessage(none.Get(), context_->ItemsPropTags()));
    EXPECT_EQ(LogText().find("RestoreThread"), std::string::npos);

    ComPtr<IMessage> zero = SaveMessage({Text(PR_SUBJECT_A, "Budget"), Long(Tag(IP_THREAD_ID), 0)});
    EXPECT_FALSE(context_->RestoreThread(zero.Get(), context_->ItemsPropTags()));
    EXPECT_FALSE(context_->RestoreThread(none.Get(), context_->ItemsPropTags()));
    EXPECT_NE(LogText().find("RestoreThread:invalid thread id specified"), std::string::npos);
    EXPECT_EQ(RecordCount(), 0u);
    // GetOrCreateThread goes on to a new thread.
    MsgThreadPtr thread;
    context_->GetOrCreateThread("Budget", zero.Get(), thread);
    EXPECT_EQ(thread->GetThreadID(), 1);
}

TEST_F(ThreadsTest, ScoresPriorityAndRepliesReachTheRecord) {
    Start();
    MsgThreadPtr thread;
    context_->CreateNewThread("Budget", MPL_NORMAL, nullptr, false, thread);
    ComPtr<IMessage> record = Record(thread->GetEntryID());
    auto reread = [&] { record = Record(thread->GetEntryID()); };

    clock_.Advance(std::chrono::hours(1));
    context_->UpdateThreadScore(thread.Get(), 20);
    context_->UpdateThreadScore(thread.Get(), -5);
    reread();
    EXPECT_EQ(LongOf(record.Get(), Tag(IP_THREAD_MSGS_RECEIVED)), 2);
    EXPECT_EQ(LongOf(record.Get(), Tag(IP_THREAD_TOTAL_SCORE)), 15);
    EXPECT_EQ(TimeOf(record.Get(), Tag(IP_THREAD_LAST_ACTIVITY)),
              kThreadsStart + 3600 * platform::kTicksPerSecond);

    // The adjusted total stays in memory until the next score.
    clock_.Advance(std::chrono::hours(1));
    context_->SetThreadPriority(thread.Get(), MPL_VERY_HIGH, 3);
    EXPECT_EQ(thread->GetPriority(), 2);
    EXPECT_EQ(thread->GetTotalScore(), 21);
    reread();
    EXPECT_EQ(LongOf(record.Get(), Tag(IP_THREAD_PRIORITY)), 2);
    EXPECT_EQ(LongOf(record.Get(), Tag(IP_THREAD_TOTAL_SCORE)), 15);
    EXPECT_EQ(TimeOf(record.Get(), Tag(IP_THREAD_LAST_ACTIVITY)),
              kThreadsStart + 7200 * platform::kTicksPerSecond);

    clock_.Advance(std::chrono::hours(1));
    context_->IncrementThreadReplyCounter(thread.Get());
    context_->IncrementThreadReplyCounter(thread.Get());
    EXPECT_EQ(thread->GetReplyCounter(), 2);
    reread();
    EXPECT_EQ(LongOf(record.Get(), Tag(IP_THREAD_REPLY_COUNTER)), 2);
    EXPECT_EQ(TimeOf(record.Get(), Tag(IP_THREAD_LAST_ACTIVITY)),
              kThreadsStart + 10800 * platform::kTicksPerSecond);

    clock_.Advance(std::chrono::hours(1));
    context_->UpdateThreadLastAccessed(thread.Get());
    context_->UpdateThreadScore(thread.Get(), 0);
    reread();
    EXPECT_EQ(LongOf(record.Get(), Tag(IP_THREAD_MSGS_RECEIVED)), 3);
    EXPECT_EQ(LongOf(record.Get(), Tag(IP_THREAD_TOTAL_SCORE)), 21);
    EXPECT_EQ(TimeOf(record.Get(), Tag(IP_THREAD_LAST_ACTIVITY)),
              kThreadsStart + 14400 * platform::kTicksPerSecond);
}

TEST_F(ThreadsTest, ARecordThatIsGoneFailsTheUpdateWithItsOwnMessage) {
    Start();
    MsgThreadPtr thread;
    context_->CreateNewThread("Budget", MPL_NORMAL, nullptr, false, thread);
    SBinary gone = {thread->GetEntryID().cb(),
                    reinterpret_cast<LPBYTE>(thread->GetEntryID().get())};
    ENTRYLIST list = {1, &gone};
    ASSERT_EQ(context_->GetInboxFolder(true)->DeleteMessages(&list, 0, nullptr, 0), S_OK);

    struct Case {
        std::function<void()> update;
        const char* message;
    } cases[] = {
        {[&] { context_->UpdateThreadScore(thread.Get(), 4); }, "Couldn't open thread record"},
        {[&] { context_->SetThreadPriority(thread.Get(), 1, 1); },
         "SetThreadPriority: OpenEntry failed"},
        {[&] { context_->UpdateThreadLastAccessed(thread.Get()); },
         "UpdateThreadLastAccessed: OpenEntry failed"},
        {[&] { context_->IncrementThreadReplyCounter(thread.Get()); },
         "IncrementThreadReplyCounter: OpenEntry of thread failed"},
    };
    for (const Case& c : cases) {
        CaughtFailure failure = CatchFailure(c.update);
        EXPECT_EQ(failure.type, "MAPI");
        EXPECT_EQ(failure.message, c.message);
        EXPECT_EQ(failure.code, MAPI_E_NOT_FOUND);
    }
    // What changed in memory before the store call stays.
    EXPECT_EQ(thread->GetMsgsReceived(), 1);
    EXPECT_EQ(thread->GetTotalScore(), 5);
    EXPECT_EQ(thread->GetReplyCounter(), 1);
}

TEST_F(ThreadsTest, ThreadsComeBackAfterARestartWithTheirRecordedValues) {
    Start();
    MsgThreadPtr budget;
    context_->CreateNewThread("Budget", MPL_HIGH, "Projects/Alpha", true, budget);
    context_->UpdateThreadScore(budget.Get(), 30);
    context_->UpdateThreadScore(budget.Get(), 11);
    MsgThreadPtr blank;
    context_->GetOrCreateThread("", nullptr, blank);
    const ::EntryId budgetRecord = budget->GetEntryID();
    // Records another start left: the subject is taken as stored, other classes are ignored.
    SaveRecord({Text(PR_SUBJECT_A, "Re: Offsite"), Long(Tag(IP_THREAD_ID), 40),
                Long(Tag(IP_THREAD_PRIORITY), -1), Long(Tag(IP_THREAD_REPLY_COUNTER), 4),
                Time(Tag(IP_THREAD_LAST_ACTIVITY), kThreadsStart)});
    SaveMessage({Text(PR_MESSAGE_CLASS_A, "IPM.Orvella.Statistics"), Text(PR_SUBJECT_A, "x")},
                nullptr, MAPI_ASSOCIATED);
    SaveMessage({Text(PR_MESSAGE_CLASS_A, "IPM.Orvella.thread"), Long(Tag(IP_THREAD_ID), 90)},
                nullptr, MAPI_ASSOCIATED);
    budget.Reset();
    blank.Reset();

    clock_.Advance(std::chrono::hours(24));
    Restart();
    EXPECT_EQ(LiveIds(), (std::vector<LONG>{1, 2, 40}));
    MsgThreadPtr loaded;
    ASSERT_EQ(context_->FindThreadByName("Budget", loaded), 0);
    EXPECT_EQ(loaded->GetThreadID(), 1);
    EXPECT_EQ(loaded->GetPriority(), 1);
    EXPECT_EQ(loaded->GetMsgsReceived(), 2);
    EXPECT_EQ(loaded->GetTotalScore(), 41);
    EXPECT_EQ(loaded->GetThreadScore(), 20);
    EXPECT_EQ(loaded->GetReplyCounter(), 1);
    EXPECT_TRUE(loaded->IsOriginator());
    EXPECT_EQ(loaded->GetTopic(), "Projects/Alpha");
    EXPECT_TRUE(context_->IsSameEID(loaded->GetEntryID(), budgetRecord));

    MsgThreadPtr offsite = context_->FindThreadById(40);
    ASSERT_TRUE(offsite);
    EXPECT_EQ(offsite->GetName(), "Re: Offsite");
    EXPECT_EQ(offsite->GetPriority(), -1);
    EXPECT_EQ(offsite->GetReplyCounter(), 4);
    EXPECT_EQ(offsite->GetMsgsReceived(), 0);
    EXPECT_FALSE(offsite->IsOriginator());
    EXPECT_EQ(context_->FindThreadById(2)->GetName(), "");
    EXPECT_EQ(context_->FindThreadByName("~@/BlankThread #1", loaded), 0);

    MsgThreadPtr next;
    context_->CreateNewThread("Next", MPL_NORMAL, nullptr, false, next);
    EXPECT_EQ(next->GetThreadID(), 41);
}

TEST_F(ThreadsTest, SentMessagesCarryTheirThreadAndTopic) {
    Start();
    ComPtr<IMAPIFolder> sent =
        context_->GetFolder(context_->MailStore(), context_->SentItemsEID(), true);
    ComPtr<IMessage> reply = SaveMessage({Text(PR_SUBJECT_A, "RE: Budget")}, sent.Get());
    ComPtr<IMessage> note = SaveMessage({Text(PR_SUBJECT_A, "Lunch")}, sent.Get());

    EXPECT_EQ(context_->GetItemSenderThreadID(reply.Get()), 0);
    context_->SetItemSenderThreadID(reply.Get(), 12);
    EXPECT_EQ(context_->GetItemSenderThreadID(reply.Get()), 12);

    context_->UpdateSentItem(reply.Get(), 12, "Projects/Alpha");
    context_->UpdateSentItem(note.Get(), 3, "");
    // Saved: a fresh open sees them.
    auto reopen = [&](IMessage* m) { return context_->GetMAPIMessage(context_->GetEID(m)); };
    ComPtr<IMessage> replyAgain = reopen(reply.Get());
    ComPtr<IMessage> noteAgain = reopen(note.Get());
    EXPECT_EQ(LongOf(replyAgain.Get(), Tag(IP_SENDER_THREAD_ID)), 12);
    EXPECT_EQ(LongOf(replyAgain.Get(), Tag(IP_THREAD_ID)), 12);
    EXPECT_EQ(TextOf(replyAgain.Get(), Tag(IP_TOPIC_NAME)), "Projects/Alpha");
    EXPECT_EQ(LongOf(noteAgain.Get(), Tag(IP_THREAD_ID)), 3);
    EXPECT_EQ(TextOf(noteAgain.Get(), Tag(IP_TOPIC_NAME)), std::nullopt);
    EXPECT_EQ(LogText().find("SenderThreadID"), std::string::npos);
}

}  // namespace
}  // namespace orvella::testing
