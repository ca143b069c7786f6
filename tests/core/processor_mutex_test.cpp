// Two threads processing the same messages at once: the named mutex makes each message's
// processing whole, so the thread's totals and every message's thread score agree at the end.
#include <gtest/gtest.h>

#include <thread>

#include "MsgProcessor.h"
#include "processor_fixture.h"

namespace orvella::testing {
namespace {

class ProcessorMutexTest : public ProcessorTest {};

TEST_F(ProcessorMutexTest, TwoThreadsOnTheSameMessagesLeaveConsistentThreadTotals) {
    StartWithUser();
    AddRankedContact("ann@corp.example", std::nullopt);
    // Five conversations of two messages each: Ann's scores 64, a stranger's reply 0.
    std::vector<::EntryId> messages;
    for (int i = 0; i < 10; ++i) {
        TestMail mail{i % 2 ? "stranger@nowhere.example" : "ann@corp.example",
                      {{MAPI_TO, kUserAddress}},
                      IMPORTANCE_NORMAL};
        mail.subject = std::string(i % 2 ? "RE: Topic " : "Topic ") + std::to_string(i / 2);
        messages.push_back(Deliver(mail));
    }
    // Two processors, as two callers have them: they share the one lock by its name.
    MsgProcessor first(context_.get());
    MsgProcessor second(context_.get());
    auto run = [&messages](MsgProcessor& processor) {
        for (const ::EntryId& id : messages)
            processor.ProcessMsg(id.cb(), id.get(), false, true, false, true);
    };
    std::thread one(run, std::ref(first));
    std::thread two(run, std::ref(second));
    one.join();
    two.join();

    // One thread per conversation, each holding all four processings; the records agree.
    for (bool reopened : {false, true}) {
        if (reopened) Reopen();
        EXPECT_EQ(context_->GetThreads().size(), 5u);
        for (int topic = 0; topic < 5; ++topic) {
            MsgThreadPtr thread = ThreadOf("Topic " + std::to_string(topic));
            ASSERT_TRUE(thread) << topic;
            EXPECT_EQ(thread->GetMsgsReceived(), 4) << topic;
            EXPECT_EQ(thread->GetTotalScore(), 128) << topic;
        }
    }
    for (const ::EntryId& id : messages) EXPECT_EQ(LongOf(id, IP_THREAD_SCORE), -32);
}

}  // namespace
}  // namespace orvella::testing
