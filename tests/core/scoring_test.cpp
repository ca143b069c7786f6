// CMsgScore over real messages, contacts and threads in a fresh profile: each term of the score
// and its debug line, and the two difference operations.
#include <gtest/gtest.h>

#include <array>

#include "CMsgScore.h"
#include "mapiutil.h"
#include "processor_fixture.h"

namespace orvella::testing {
namespace {

using platform::mapi::ComPtr;
using platform::mapi::MapiBuffer;
using Terms = std::array<LONG, ScoreBreakdown::TERM_COUNT>;

class ScoringTest : public ProcessorTest {
protected:
    void SetUp() override { StartWithUser("friends.example"); }

    // A thread of its own with this priority, originator flag and number of the user's replies.
    MsgThreadPtr MakeThread(const std::string& name, LONG priority, bool originator, LONG replies) {
        MsgThreadPtr thread;
        context_->CreateNewThread(name.c_str(), priority, nullptr, originator, thread);
        for (LONG i = 0; i < replies; ++i) context_->IncrementThreadReplyCounter(thread.Get());
        return thread;
    }
    ScoreBreakdown Score(const ::EntryId& id, CMsgThread* thread) {
        ComPtr<IMessage> message = context_->GetMAPIMessage(id);
        MapiBuffer<SPropValue> props = PropsOf(message.Get());
        CMsgScore scorer(context_.get());
        return scorer.ComputeScore(message.Get(), props.Get(), thread);
    }
};

TEST_F(ScoringTest, TheWorkedExampleScores110WithItsNineDebugLines) {
    AddRankedContact("high@corp.example", CPL_HIGH, 100);
    ::EntryId id = Deliver(
        {"high@corp.example",
         {{MAPI_TO, kUserAddress}, {MAPI_TO, "ann@corp.example"}, {MAPI_TO, "bob@corp.example"}},
         IMPORTANCE_HIGH});
    MsgThreadPtr thread = MakeThread("Budget", MPL_NORMAL, false, 3);

    ScoreBreakdown breakdown = Score(id, thread.Get());
    EXPECT_EQ(breakdown.score, 110);
    EXPECT_EQ(breakdown.DebugText(),
              "contact category 96\n"
              "contact counter 8\n"
              "domain 0\n"
              "priority flag 8\n"
              "thread priority 0\n"
              "thread originator 0\n"
              "thread reply count 6\n"
              "directness 0\n"
              "specificity -8\n");

    // GetScore gives the same score and, with "DebugScoring" off, leaves no trace.
    ComPtr<IMessage> message = context_->GetMAPIMessage(id);
    MapiBuffer<SPropValue> props = PropsOf(message.Get());
    CMsgScore scorer(context_.get());
    EXPECT_EQ(scorer.GetScore(message.Get(), props.Get(), thread.Get()), 110);
    MapiBuffer<SPropValue> trace;
    EXPECT_EQ(HrGetOneProp(message.Get(), context_->ItemsPropTags()[IP_DEBUG_SCORING], &trace),
              MAPI_E_NOT_FOUND);
}

TEST_F(ScoringTest, EachTermFollowsTheSenderTheAddressingAndTheThread) {
    struct Case {
        const char* what;
        const char* sender;
        bool contact;
        std::optional<LONG> priority;
        std::optional<LONG> replies;
        std::vector<TestRecipient> recipients;
        std::optional<LONG> importance;
        LONG threadPriority;
        bool originator;
        LONG threadReplies;
        Terms terms;
        LONG score;
    } cases[] = {
        {"a Junk contact is not a known sender: no flag, directness -4 on Cc",
         "junk@corp.example",
         true,
         CPL_JUNK,
         std::nullopt,
         {{MAPI_TO, "boss@corp.example"}, {MAPI_CC, kUserAddress}},
         IMPORTANCE_HIGH,
         0,
         false,
         0,
         {-32, 0, 0, 0, 0, 0, 0, -128, 0},
         -160},
        {"a Junk contact addressing the user in To",
         "junk2@corp.example",
         true,
         CPL_JUNK,
         std::nullopt,
         {{MAPI_TO, kUserAddress}},
         IMPORTANCE_HIGH,
         0,
         false,
         0,
         {-32, 0, 0, 0, 0, 0, 0, 0, 0},
         -32},
        {"an unknown sender of a friendly domain counts as known",
         "pat@Friends.Example",
         false,
         std::nullopt,
         std::nullopt,
         {{MAPI_TO, "boss@corp.example"}, {MAPI_CC, kUserAddress}},
         IMPORTANCE_HIGH,
         0,
         false,
         0,
         {0, 0, 40, 8, 0, 0, 0, -64, 0},
         -16},
        {"an unknown sender of an unknown domain",
         "stranger@nowhere.example",
         false,
         std::nullopt,
         std::nullopt,
         {{MAPI_CC, kUserAddress}},
         IMPORTANCE_HIGH,
         0,
         false,
         0,
         {0, 0, 0, 0, 0, 0, 0, -128, 0},
         -128},
        {"no recipients: no specificity penalty, directness -1 for a known sender",
         "plain@corp.example",
         true,
         std::nullopt,
         std::nullopt,
         {},
         IMPORTANCE_NORMAL,
         0,
         false,
         0,
         {64, 0, 0, 0, 0, 0, 0, -32, 0},
         32},
        {"no recipients from an unknown sender",
         "nobody@nowhere.example",
         false,
         std::nullopt,
         std::nullopt,
         {},
         IMPORTANCE_NORMAL,
         0,
         false,
         0,
         {0, 0, 0, 0, 0, 0, 0, -128, 0},
         -128},
        {"a missing importance counts as normal",
         "vip@corp.example",
         true,
         CPL_VERY_HIGH,
         std::nullopt,
         {{MAPI_TO, kUserAddress}},
         std::nullopt,
         0,
         false,
         0,
         {128, 0, 0, 0, 0, 0, 0, 0, 0},
         128},
        {"a low importance from a known sender",
         "low@corp.example",
         true,
         CPL_LOW,
         std::nullopt,
         {{MAPI_TO, kUserAddress}},
         IMPORTANCE_LOW,
         0,
         false,
         0,
         {32, 0, 0, -8, 0, 0, 0, 0, 0},
         24},
        {"ten replies reach the reply-count limit; a Very High thread the user started",
         "normal@corp.example",
         true,
         CPL_NORMAL,
         std::nullopt,
         {{MAPI_TO, kUserAddress}},
         IMPORTANCE_NORMAL,
         MPL_VERY_HIGH,
         true,
         10,
         {64, 0, 0, 0, 64, 12, 12, 0, 0},
         152},
        {"the user's address in upper case in the recipient table",
         "stranger2@nowhere.example",
         false,
         std::nullopt,
         std::nullopt,
         {{MAPI_TO, "ME@EXAMPLE.COM"}},
         IMPORTANCE_NORMAL,
         0,
         false,
         0,
         {0, 0, 0, 0, 0, 0, 0, 0, 0},
         0},
        {"the user only as a blind copy, from a known sender",
         "bcc@corp.example",
         true,
         CPL_NORMAL,
         std::nullopt,
         {{MAPI_TO, "list@corp.example"}, {MAPI_BCC, kUserAddress}},
         IMPORTANCE_NORMAL,
         0,
         false,
         0,
         {64, 0, 0, 0, 0, 0, 0, -128, 0},
         -64},
        {"reached through a list, from a known sender",
         "list@corp.example",
         true,
         CPL_NORMAL,
         std::nullopt,
         {{MAPI_TO, "team@corp.example"}},
         IMPORTANCE_NORMAL,
         0,
         false,
         0,
         {64, 0, 0, 0, 0, 0, 0, -32, 0},
         32},
        {"the contact's reply counter scales by its logarithm",
         "often@corp.example",
         true,
         CPL_NORMAL,
         1000,
         {{MAPI_TO, kUserAddress}},
         IMPORTANCE_NORMAL,
         0,
         false,
         0,
         {64, 12, 0, 0, 0, 0, 0, 0, 0},
         76},
        {"the logarithm's product is truncated",
         "sometimes@corp.example",
         true,
         CPL_NORMAL,
         50,
         {{MAPI_TO, kUserAddress}},
         IMPORTANCE_NORMAL,
         0,
         false,
         0,
         {64, 6, 0, 0, 0, 0, 0, 0, 0},
         70},
        {"each further To recipient costs 4, up to 32",
         "many@corp.example",
         true,
         CPL_NORMAL,
         std::nullopt,
         {{MAPI_TO, kUserAddress},
          {MAPI_TO, "a@x.example"},
          {MAPI_TO, "b@x.example"},
          {MAPI_TO, "c@x.example"},
          {MAPI_TO, "d@x.example"},
          {MAPI_TO, "e@x.example"},
          {MAPI_TO, "f@x.example"},
          {MAPI_TO, "g@x.example"},
          {MAPI_TO, "h@x.example"},
          {MAPI_TO, "i@x.example"}},
         IMPORTANCE_NORMAL,
         MPL_LOW,
         false,
         0,
         {64, 0, 0, 0, -32, 0, 0, 0, -32},
         0},
    };
    int n = 0;
    for (const Case& c : cases) {
        if (c.contact) AddRankedContact(c.sender, c.priority, c.replies);
        TestMail mail{c.sender, c.recipients, c.importance};
        mail.subject = "Case " + std::to_string(++n);
        ::EntryId id = Deliver(mail);
        MsgThreadPtr thread =
            MakeThread(mail.subject, c.threadPriority, c.originator, c.threadReplies);
        ScoreBreakdown breakdown = Score(id, thread.Get());
        EXPECT_EQ(breakdown.terms, c.terms) << c.what;
        EXPECT_EQ(breakdown.score, c.score) << c.what;
    }
}

TEST_F(ScoringTest, DebugScoringSetsTheNineLinesOnTheMessage) {
    SetScoring("DebugScoring", 1);
    AddRankedContact("vip@corp.example", CPL_VERY_HIGH);
    ::EntryId id = Deliver({"vip@corp.example", {{MAPI_CC, kUserAddress}}, IMPORTANCE_HIGH});
    ComPtr<IMessage> message = context_->GetMAPIMessage(id);
    MapiBuffer<SPropValue> props = PropsOf(message.Get());
    CMsgScore scorer(context_.get());
    EXPECT_TRUE(scorer.IsDebugging());
    EXPECT_EQ(scorer.GetScore(message.Get(), props.Get(), nullptr), 72);
    MapiBuffer<SPropValue> trace;
    ASSERT_EQ(HrGetOneProp(message.Get(), context_->ItemsPropTags()[IP_DEBUG_SCORING], &trace),
              S_OK);
    EXPECT_STREQ(trace->Value.lpszA,
                 "contact category 128\n"
                 "contact counter 0\n"
                 "domain 0\n"
                 "priority flag 8\n"
                 "thread priority 0\n"
                 "thread originator 0\n"
                 "thread reply count 0\n"
                 "directness -64\n"
                 "specificity 0\n");
}

TEST_F(ScoringTest, DifferencesFollowTheThreadTerms) {
    CMsgScore scorer(context_.get());
    struct Case {
        LONG from, to, priorityChange, replyChange;
    } cases[] = {
        {0, 2, 64, 4}, {1, -1, -64, -4}, {0, 10, 320, 12}, {5, 8, 96, 2}, {7, 9, 64, 0},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(scorer.GetThreadPriorityChange(c.from, c.to), c.priorityChange) << c.from;
        EXPECT_EQ(scorer.GetReplyCountChange(c.from, c.to), c.replyChange) << c.from;
    }
}

}  // namespace
}  // namespace orvella::testing
