// The Inbox rescoring run over real messages: its run configurations, Cancel pressed by the
// person at the dialog, and an empty Inbox.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "MsgProcessor.h"
#include "commctrl.h"
#include "mapiutil.h"
#include "rescore_fixture.h"

namespace orvella::testing {
namespace {

using namespace std::chrono_literals;
using platform::gui::DialogView;
using platform::gui::LiveDialog;

constexpr char kStranger[] = "stranger@nowhere.example";

class RescoreRunTest : public RescoreTest {
protected:
    void SetUp() override { StartWithUser(); }
};

TEST_F(RescoreRunTest, CancelDuringMessage5Of50StopsAfterItAndTheDialogStillCloses) {
    DeliverNumbered(kStranger, "Message", 50);
    MsgProcessor processor(context_.get());
    CMsgRescoreDialog dialog(&processor);
    std::vector<std::string> seen;
    // One rule over every Inbox message; at message 5 it is still busy when Cancel is pressed.
    dialog.SetRule([&](IMessage* message, LPSPropValue properties, ULONG count) {
        EXPECT_EQ(properties, nullptr);
        EXPECT_EQ(count, 0u);
        seen.push_back(context_->GetMAPIStringProperty(message, PR_SUBJECT_A));
        while (seen.size() == 5 && !dialog.Cancelled()) std::this_thread::yield();
        return 1;
    });

    std::future<INT_PTR> result;
    LiveDialog live = StartRunUntil(dialog, result, "processing 5 of 50: Message 5");
    // The position follows the text.
    EXPECT_TRUE(live.WaitUntil(
        [](const DialogView& view) { return view.Find(IDC_RESCORE_PROGRESS)->position == 4; },
        10s));
    live.Press(IDCANCEL);
    EXPECT_TRUE(live.WaitClosed(10s));
    EXPECT_EQ(result.get(), 1);

    EXPECT_EQ(seen, (std::vector<std::string>{"Message 1", "Message 2", "Message 3", "Message 4",
                                              "Message 5"}));
    EXPECT_EQ(dialog.Handled(), 5u);
    EXPECT_EQ(ClosedText(), "processed 50 of 50");
    const DialogView closed = dialogs_.Records().back().closed;
    EXPECT_EQ(closed.Find(IDC_RESCORE_PROGRESS)->rangeMax, 49);
    EXPECT_EQ(closed.Find(IDC_RESCORE_PROGRESS)->position, 49);
    EXPECT_EQ(closed.Find(IDC_RESCORE_HEADING)->text, "Processing Messages - one moment please...");
}

TEST_F(RescoreRunTest, CancelWhileTheFirstMessageWaitsForTheProcessorStopsAfterIt) {
    const std::vector<::EntryId> messages = DeliverNumbered(kStranger, "Message", 50);
    MsgProcessor processor(context_.get());
    ProcessorLock busy;
    CMsgRescoreDialog dialog(&processor);
    std::future<INT_PTR> result;
    LiveDialog live = StartRunUntil(dialog, result, "processing 1 of 50: Message 1");
    live.Press(IDCANCEL);
    busy.Release();
    EXPECT_TRUE(live.WaitClosed(10s));
    EXPECT_EQ(result.get(), 1);

    std::vector<bool> expected(50, false);
    expected[0] = true;
    EXPECT_EQ(ScoredEach(messages), expected);
    EXPECT_EQ(ClosedText(), "processed 50 of 50");
}

TEST_F(RescoreRunTest, AnEmptyInboxShowsTheFinalTextAndClosesAtOnce) {
    MsgProcessor processor(context_.get());
    CMsgRescoreDialog dialog(&processor);
    dialogs_.OnDialog("Processing Inbox");
    EXPECT_EQ(dialog.DoModal(), 1);

    EXPECT_EQ(dialog.Count(), 0u);
    EXPECT_EQ(ClosedText(), "processed 0 of 0");
    EXPECT_EQ(ClosedResult(), 1);
    dialogs_.Verify();
}

TEST_F(RescoreRunTest, AContactRunRescoresOnlyThatContactsMessagesAndRebuildsTheirThread) {
    const ::EntryId ann = AddRankedContact("ann@corp.example", 1);  // High: 96 each
    const std::vector<::EntryId> fromAnn = {Deliver(Mail("ann@corp.example", "Budget")),
                                            Deliver(Mail("ann@corp.example", "RE: Budget")),
                                            Deliver(Mail("ann@corp.example", "Budget"))};
    const std::vector<::EntryId> fromBob = DeliverNumbered("bob@corp.example", "Plans", 2);
    MsgProcessor processor(context_.get());
    for (const ::EntryId& message : fromAnn)
        processor.ProcessMsg(message.cb(), message.get(), false, true, false, false);

    CMsgRescoreDialog dialog(&processor);
    dialog.SetContact(ann);
    dialogs_.OnDialog("Processing Inbox");
    EXPECT_EQ(dialog.DoModal(), 1);

    EXPECT_EQ(dialog.Handled(), 3u);
    EXPECT_EQ(ClosedText(), "processed 3 of 3");
    EXPECT_EQ(ScoredEach(fromAnn), (std::vector<bool>{true, true, true}));
    EXPECT_EQ(ScoredEach(fromBob), (std::vector<bool>{false, false}));
    // Counted once each although processed twice: the run reset the thread first.
    const MsgThreadPtr budget = ThreadOf("Budget");
    ASSERT_TRUE(budget);
    EXPECT_EQ(budget->GetMsgsReceived(), 3);
    EXPECT_EQ(budget->GetTotalScore(), 288);
}

// The run shows each thread's other messages the thread's average once, after its last
// message: every message of a thread then carries the final average, whatever its own score.
TEST_F(RescoreRunTest, AWholeInboxRunLeavesEveryMessageWithItsThreadsFinalAverage) {
    AddRankedContact("ann@corp.example", 2);  // Very High: 128
    const std::vector<::EntryId> thread = {
        Deliver(Mail("ann@corp.example", "Launch")), Deliver(Mail(kStranger, "RE: Launch")),
        Deliver(Mail(kStranger, "Re: Launch")), Deliver(Mail("ann@corp.example", "Launch"))};
    const ::EntryId alone = Deliver(Mail(kStranger, "Elsewhere"));
    {
        MsgProcessor processor(context_.get());
        CMsgRescoreDialog dialog(&processor);
        dialogs_.OnDialog("Processing Inbox");
        EXPECT_EQ(dialog.DoModal(), 1);
    }

    const MsgThreadPtr launch = ThreadOf("Launch");
    ASSERT_TRUE(launch);
    ASSERT_EQ(launch->GetMsgsReceived(), 4);
    const LONG average = launch->GetThreadScore();
    EXPECT_EQ(average, (128 + 0 + 0 + 128) / 4);
    for (const ::EntryId& message : thread) EXPECT_EQ(LongOf(message, IP_THREAD_SCORE), -average);
    EXPECT_EQ(LongOf(alone, IP_THREAD_SCORE), LongOf(alone, IP_MSG_SCORE));

    // The thread's record was written too: a new session loads the same counters.
    Reopen();
    const MsgThreadPtr reloaded = ThreadOf("Launch");
    ASSERT_TRUE(reloaded);
    EXPECT_EQ(reloaded->GetMsgsReceived(), 4);
    EXPECT_EQ(reloaded->GetTotalScore(), 256);
}

TEST_F(RescoreRunTest, AGivenListIsProcessedInOrderWithItsDisplayNames) {
    const std::vector<::EntryId> messages = DeliverNumbered(kStranger, "Message", 3);
    const std::vector<::EntryId> listed = {messages[2], messages[0]};
    const std::vector<std::string> names = {"third", ""};
    MsgProcessor processor(context_.get());
    CMsgRescoreDialog dialog(&processor);
    dialog.SetFlags(true, true, true);
    dialog.SetMessages(&listed, &names);
    dialogs_.OnDialog("Processing Inbox");
    EXPECT_EQ(dialog.DoModal(), 1);

    EXPECT_EQ(ScoredEach(messages), (std::vector<bool>{true, false, true}));
    EXPECT_EQ(ClosedText(), "processed 2 of 2");
}

}  // namespace
}  // namespace orvella::testing
