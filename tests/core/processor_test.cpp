// MsgProcessor over real messages in a fresh profile: which messages it takes, what it writes
// onto them and their thread, what it counts, and the flags of its callers.
#include <gtest/gtest.h>

#include "CStatistics.h"
#include "MsgProcessor.h"
#include "mapi_values.h"
#include "mapiutil.h"
#include "processor_fixture.h"

namespace orvella::testing {
namespace {

using platform::mapi::ComPtr;
using platform::mapi::LongValue;

class ProcessorEdgeTest : public ProcessorTest {
protected:
    void SetUp() override {
        StartWithUser("friends.example");
        AddRankedContact("ann@corp.example", std::nullopt);  // Normal: 64 when the user is To
    }
    // Mail from Ann to the user alone, scoring 64.
    TestMail FromAnn(const std::string& subject = "Budget") {
        TestMail mail{"ann@corp.example", {{MAPI_TO, kUserAddress}}, IMPORTANCE_NORMAL};
        mail.subject = subject;
        mail.delivered = kMonday14March2005;
        return mail;
    }
    // Mail from nobody the user knows, to the user alone, scoring 0.
    TestMail FromStranger(const std::string& subject) {
        TestMail mail{"stranger@nowhere.example", {{MAPI_TO, kUserAddress}}, IMPORTANCE_NORMAL};
        mail.subject = subject;
        mail.delivered = kMonday14March2005;
        return mail;
    }
    void Process(MsgProcessor& processor, const ::EntryId& id, bool skipIfProcessed, bool score,
                 bool runRules, bool runRulesIfNew) {
        EXPECT_EQ(processor.ProcessMsg(id.cb(), id.get(), skipIfProcessed, score, runRules,
                                       runRulesIfNew),
                  0);
    }
    // Counters 100 to 105.
    std::vector<ULONG> Counters() {
        std::vector<ULONG> values;
        for (ULONG id = STAT_MESSAGES_ANALYZED; id <= STAT_BAND_LOW; ++id)
            values.push_back(CStatistics::Instance().Get(id));
        return values;
    }
    void SetLong(const ::EntryId& id, ItemsProp prop, LONG value) {
        ComPtr<IMessage> message = context_->GetMAPIMessage(id);
        SPropValue stored = LongValue(context_->ItemsPropTags()[prop], value);
        ASSERT_EQ(HrSetOneProp(message.Get(), &stored), S_OK);
        ASSERT_EQ(message->SaveChanges(0), S_OK);
    }
};

TEST_F(ProcessorEdgeTest, NewMailGetsItsFiveMarkersAThreadAndItsCounters) {
    MsgProcessor processor(context_.get());
    ::EntryId id = Deliver(FromAnn());
    Process(processor, id, true, true, true, true);

    EXPECT_EQ(LongOf(id, IP_MSG_SCORE), -64);
    EXPECT_EQ(LongOf(id, IP_THREAD_ID), 1);
    EXPECT_EQ(LongOf(id, IP_THREAD_SCORE), -64);
    EXPECT_EQ(LongOf(id, IP_RECEIVED_DAY), -20050314);
    EXPECT_EQ(LongOf(id, IP_RECEIVED_WEEK), -1836);
    EXPECT_EQ(TextOf(id, IP_TOPIC_NAME), "");
    EXPECT_EQ(TextOf(id, IP_DEBUG_SCORING), std::nullopt);

    MsgThreadPtr thread = ThreadOf("Budget");
    ASSERT_TRUE(thread);
    EXPECT_EQ(thread->GetThreadID(), 1);
    EXPECT_EQ(thread->GetMsgsReceived(), 1);
    EXPECT_EQ(thread->GetTotalScore(), 64);
    // The record holds the same counts: a new session reads them back.
    Reopen();
    thread = ThreadOf("Budget");
    ASSERT_TRUE(thread);
    EXPECT_EQ(thread->GetMsgsReceived(), 1);
    EXPECT_EQ(thread->GetTotalScore(), 64);

    EXPECT_EQ(Counters(), (std::vector<ULONG>{1, 0, 1, 0, 0, 0}));
}

TEST_F(ProcessorEdgeTest, DebugScoringIsSavedWithTheAttributes) {
    SetScoring("DebugScoring", 1);
    MsgProcessor processor(context_.get());
    ::EntryId id = Deliver(FromAnn());
    Process(processor, id, true, true, true, true);
    EXPECT_EQ(TextOf(id, IP_DEBUG_SCORING),
              "contact category 64\n"
              "contact counter 0\n"
              "domain 0\n"
              "priority flag 0\n"
              "thread priority 0\n"
              "thread originator 0\n"
              "thread reply count 0\n"
              "directness 0\n"
              "specificity 0\n");
}

TEST_F(ProcessorEdgeTest, TheThreadsOtherInboxMessagesShowItsNewAverage) {
    MsgProcessor processor(context_.get());
    ::EntryId first = Deliver(FromAnn());
    ::EntryId elsewhere = Deliver(FromAnn("Lunch"));
    Process(processor, first, true, true, true, true);
    Process(processor, elsewhere, true, true, true, true);
    ::EntryId reply = Deliver(FromStranger("RE: Budget"));
    Process(processor, reply, true, true, true, true);

    EXPECT_EQ(LongOf(reply, IP_MSG_SCORE), 0);
    EXPECT_EQ(LongOf(reply, IP_THREAD_SCORE), -32);
    EXPECT_EQ(LongOf(first, IP_MSG_SCORE), -64);
    EXPECT_EQ(LongOf(first, IP_THREAD_SCORE), -32);
    EXPECT_EQ(LongOf(elsewhere, IP_THREAD_SCORE), -64);
    EXPECT_EQ(LongOf(reply, IP_THREAD_ID), LongOf(first, IP_THREAD_ID));
}

TEST_F(ProcessorEdgeTest, AProcessedMessageIsRewrittenOnlyWhenNotSkipped) {
    MsgProcessor processor(context_.get());
    ::EntryId id = Deliver(FromAnn());
    Process(processor, id, false, true, false, true);
    SetLong(id, IP_MSG_SCORE, -999);  // a mark of the first pass

    // New mail (1, 1, 1, 1) for a message with all five markers: nothing is written again.
    Process(processor, id, true, true, true, true);
    EXPECT_EQ(LongOf(id, IP_MSG_SCORE), -999);
    EXPECT_EQ(ThreadOf("Budget")->GetMsgsReceived(), 1);
    EXPECT_EQ(Counters(), (std::vector<ULONG>{1, 0, 1, 0, 0, 0}));

    // Moved into the Inbox (0, 1, 0, 1): scored and written again.
    Process(processor, id, false, true, false, true);
    EXPECT_EQ(LongOf(id, IP_MSG_SCORE), -64);
    EXPECT_EQ(ThreadOf("Budget")->GetMsgsReceived(), 2);
    EXPECT_EQ(Counters(), (std::vector<ULONG>{2, 0, 2, 0, 0, 0}));

    // A message lacking one marker counts as new even with skip-if-processed.
    ComPtr<IMessage> message = context_->GetMAPIMessage(id);
    SizedSPropTagArray(1, week) = {1, {context_->ItemsPropTags()[IP_RECEIVED_WEEK]}};
    ASSERT_EQ(message->DeleteProps(reinterpret_cast<LPSPropTagArray>(&week), nullptr), S_OK);
    ASSERT_EQ(message->SaveChanges(0), S_OK);
    ASSERT_TRUE(processor.CheckIfProcessed(message.Get()));
    Process(processor, id, true, true, true, true);
    EXPECT_EQ(LongOf(id, IP_RECEIVED_WEEK), -1836);
    EXPECT_EQ(ThreadOf("Budget")->GetMsgsReceived(), 3);
    EXPECT_FALSE(processor.CheckIfProcessed(context_->GetMAPIMessage(id).Get()));
}

TEST_F(ProcessorEdgeTest, OnlyMailMeetingAndTaskClassesAreHandled) {
    MsgProcessor processor(context_.get());
    const std::string log = LogText();
    struct Case {
        const char* messageClass;
        bool handled;
    } cases[] = {
        {"IPM.Note", true},
        {"IPM.Note.SMIME", true},
        {"IPM.Schedule.Meeting.Request", true},
        {"IPM.TaskRequest", true},
        {"IPM.Appointment", false},
        {"IPM.Contact", false},
        {"ipm.note", false},
        {"IPM.StickyNote", false},
    };
    for (const Case& c : cases) {
        TestMail mail = FromAnn(c.messageClass);
        mail.messageClass = c.messageClass;
        ::EntryId id = Deliver(mail);
        Process(processor, id, true, true, true, true);
        EXPECT_EQ(LongOf(id, IP_MSG_SCORE).has_value(), c.handled) << c.messageClass;
    }
    EXPECT_EQ(CStatistics::Instance().Get(STAT_MESSAGES_ANALYZED), 4u);
    EXPECT_EQ(LogText(), log);
}

TEST_F(ProcessorEdgeTest, AMessageGoneBeforeItsTurnLeavesNoTrace) {
    MsgProcessor processor(context_.get());
    const std::string log = LogText();
    ::EntryId id = Deliver(FromAnn());
    Delete(id);
    Process(processor, id, true, true, true, true);
    const BYTE garbage[] = {1, 2, 3};
    EXPECT_EQ(processor.ProcessMsg(sizeof garbage,
                                   reinterpret_cast<LPENTRYID>(const_cast<BYTE*>(garbage)), true,
                                   true, true, true),
              0);
    EXPECT_EQ(LogText(), log);
    EXPECT_TRUE(context_->GetThreads().empty());
    EXPECT_EQ(Counters(), (std::vector<ULONG>{0, 0, 0, 0, 0, 0}));
}

TEST_F(ProcessorEdgeTest, EachScoreIsCountedInItsBand) {
    // An unknown sender of a friendly domain, to the user alone, scores the domain weight.
    struct Case {
        LONG score;
        std::vector<ULONG> counters;  // 100 .. 105
    } cases[] = {
        {125, {1, 1, 0, 0, 0, 0}}, {124, {1, 0, 1, 0, 0, 0}}, {61, {1, 0, 1, 0, 0, 0}},
        {60, {1, 0, 0, 0, 0, 1}},  {59, {1, 0, 0, 0, 0, 1}},  {58, {1, 0, 0, 1, 0, 0}},
        {17, {1, 0, 0, 1, 0, 0}},  {16, {1, 0, 0, 0, 0, 1}},  {-17, {1, 0, 0, 0, 0, 1}},
        {-18, {1, 0, 0, 0, 1, 0}},
    };
    for (const Case& c : cases) {
        SetScoring("DomainScaling", static_cast<DWORD>(c.score));
        MsgProcessor processor(context_.get());
        CStatistics::Instance().Clear();
        TestMail mail = FromStranger("Score " + std::to_string(c.score));
        mail.sender = "pat@friends.example";
        ::EntryId id = Deliver(mail);
        Process(processor, id, true, true, true, true);
        EXPECT_EQ(LongOf(id, IP_MSG_SCORE), -c.score);
        EXPECT_EQ(Counters(), c.counters) << c.score;
    }
}

TEST_F(ProcessorEdgeTest, TheMessageTimeIsDeliveryElseCreationElseNow) {
    MsgProcessor processor(context_.get());
    struct Case {
        const char* what;
        std::optional<platform::FileTimeTicks> delivered;
        std::optional<platform::FileTimeTicks> created;
        LONG day;
        LONG week;
    } cases[] = {
        {"delivery time", kMonday14March2005, std::nullopt, 20050314, 1836},
        {"delivery before creation", kMonday14March2005, kSunday13March2005, 20050314, 1836},
        {"creation time", std::nullopt, kSunday13March2005, 20050313, 1835},
        {"now", std::nullopt, std::nullopt, 20260110, 2922},
    };
    for (const Case& c : cases) {
        TestMail mail = FromAnn(c.what);
        mail.delivered = c.delivered;
        mail.created = c.created;
        ::EntryId id = Deliver(mail);
        Process(processor, id, true, true, true, true);
        EXPECT_EQ(LongOf(id, IP_RECEIVED_DAY), -c.day) << c.what;
        EXPECT_EQ(LongOf(id, IP_RECEIVED_WEEK), -c.week) << c.what;
    }
}

}  // namespace
}  // namespace orvella::testing
