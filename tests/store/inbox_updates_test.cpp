// Rewriting the stored scores of one thread's Inbox messages: the thread's new average, and the
// scores after a change of the thread's priority or reply count.
#include <gtest/gtest.h>

#include "inbox_fixture.h"

namespace orvella::testing {
namespace {

TEST_F(InboxTest, TheThreadsOtherMessagesShowItsNewAverage) {
    Start();
    MsgThreadPtr budget = Thread("Budget", 3, 90);  // average 30
    MsgThreadPtr lunch = Thread("Lunch", 1, 8);
    const ::EntryId older = SaveProcessed("Budget", budget->GetThreadID(), -20);
    const ::EntryId old = SaveProcessed("Re: Budget", budget->GetThreadID(), -50);
    const ::EntryId processed = SaveProcessed("Re: Budget", budget->GetThreadID(), -20);
    const ::EntryId other = SaveProcessed("Lunch", lunch->GetThreadID(), -8);

    context_->UpdateInboxMsgThreadScores(budget.Get(), processed);
    EXPECT_EQ(Stored(older, IP_THREAD_SCORE), -30);
    EXPECT_EQ(Stored(old, IP_THREAD_SCORE), -30);
    // The processed message wrote its own; other threads and the scores stay.
    EXPECT_EQ(Stored(processed, IP_THREAD_SCORE), 0);
    EXPECT_EQ(Stored(other, IP_THREAD_SCORE), 0);
    EXPECT_EQ(Stored(older, IP_MSG_SCORE), -20);
    EXPECT_EQ(Stored(old, IP_MSG_SCORE), -50);
}

// Messages already showing the average are left alone; one without a thread score gets it.
TEST_F(InboxTest, AMessageWithoutAThreadScoreIsGivenTheAverageToo) {
    Start();
    MsgThreadPtr budget = Thread("Budget", 2, 60);  // average 30
    const ::EntryId showing = SaveInbox(
        "Budget", "a@example.com", {{IP_THREAD_ID, budget->GetThreadID()}, {IP_THREAD_SCORE, -30}});
    const ::EntryId bare =
        SaveInbox("Budget", "b@example.com", {{IP_THREAD_ID, budget->GetThreadID()}});
    const ::EntryId processed = SaveProcessed("Re: Budget", budget->GetThreadID(), -30);

    context_->UpdateInboxMsgThreadScores(budget.Get(), processed);
    EXPECT_EQ(Stored(showing, IP_THREAD_SCORE), -30);
    EXPECT_EQ(Stored(bare, IP_THREAD_SCORE), -30);
    EXPECT_EQ(LogText(), "");
}

TEST_F(InboxTest, AThreadWithOneInboxMessageChangesNothing) {
    Start();
    MsgThreadPtr budget = Thread("Budget", 1, 12);
    const ::EntryId only = SaveProcessed("Budget", budget->GetThreadID(), -12);
    context_->UpdateInboxMsgThreadScores(budget.Get(), only);
    EXPECT_EQ(Stored(only, IP_THREAD_SCORE), 0);
    EXPECT_EQ(Stored(only, IP_MSG_SCORE), -12);
    EXPECT_EQ(LogText(), "");
}

TEST_F(InboxTest, APriorityChangeRaisesEveryStoredScoreOfTheThread) {
    Start();
    MsgThreadPtr budget = Thread("Budget", 2, 70);  // average 35
    MsgThreadPtr lunch = Thread("Lunch", 1, 8);
    struct Case {
        LONG stored;
        LONG delta;
        LONG after;
    } cases[] = {{-40, 10, -50}, {-40, -10, -30}, {0, 10, -10}, {15, 20, -5}, {-40, 0, -40}};
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.stored) + " by " + std::to_string(c.delta));
        const ::EntryId message = SaveProcessed("Budget", budget->GetThreadID(), c.stored);
        const ::EntryId other = SaveProcessed("Lunch", lunch->GetThreadID(), c.stored);
        // Only this case's message of the thread is left to change.
        EXPECT_EQ(context_->UpdateInboxMsgPriorityScores(budget.Get(), c.delta), S_OK);
        EXPECT_EQ(Stored(message, IP_MSG_SCORE), c.after);
        EXPECT_EQ(Stored(message, IP_THREAD_SCORE), -35);
        EXPECT_EQ(Stored(other, IP_MSG_SCORE), c.stored);
        EXPECT_EQ(Stored(other, IP_THREAD_SCORE), 0);
        SBinary ids[] = {{message.cb(), reinterpret_cast<LPBYTE>(message.get())}};
        ENTRYLIST list = {1, ids};
        ASSERT_EQ(context_->GetInboxFolder(true)->DeleteMessages(&list, 0, nullptr, 0), S_OK);
    }
}

TEST_F(InboxTest, AThreadMessageWithoutAStoredScoreFailsThePriorityUpdate) {
    Start();
    MsgThreadPtr budget = Thread("Budget", 1, 10);
    const ::EntryId scored = SaveProcessed("Budget", budget->GetThreadID(), -40);
    SaveInbox("Re: Budget", nullptr, {{IP_THREAD_ID, budget->GetThreadID()}});
    CaughtFailure failure =
        CatchFailure([&] { context_->UpdateInboxMsgPriorityScores(budget.Get(), 10); });
    EXPECT_EQ(failure.type, "PROGRAM");
    EXPECT_EQ(failure.message, "UpdateInboxMsgPriorityScores:Missing thread score");
    // The walk got as far as the row before.
    EXPECT_EQ(Stored(scored, IP_MSG_SCORE), -50);
}

TEST_F(InboxTest, AThreadWithoutInboxMessagesUpdatesNothing) {
    Start();
    MsgThreadPtr budget = Thread("Budget", 1, 10);
    const ::EntryId other = SaveProcessed("Lunch", budget->GetThreadID() + 1, -40);
    EXPECT_EQ(context_->UpdateInboxMsgPriorityScores(budget.Get(), 10), S_OK);
    context_->UpdateInboxMsgThreadScores(budget.Get(), other);
    EXPECT_EQ(Stored(other, IP_MSG_SCORE), -40);
    EXPECT_EQ(Stored(other, IP_THREAD_SCORE), 0);
}

}  // namespace
}  // namespace orvella::testing
