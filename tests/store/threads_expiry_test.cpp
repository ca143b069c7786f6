// Threads idle for 30 days: deleted at the next start unless an Inbox message still refers to
// them, at most 10,000 at one start; records without activity are stamped and kept.
#include <gtest/gtest.h>

#include "store_objects.h"
#include "threads_fixture.h"

namespace orvella::testing {
namespace {

constexpr platform::FileTimeTicks kThirtyDays = 30 * kTicksPerDay;

TEST_F(ThreadsTest, ExpiryStartsOneTickAfterThirtyDaysOfIdleness) {
    Start();
    struct Case {
        platform::FileTimeTicks lastActivity;
        bool expired;
    } cases[] = {
        {0, false},
        {kThreadsStart, false},
        {kThreadsStart - kThirtyDays, false},
        {kThreadsStart - kThirtyDays - 1, true},
        {kThreadsStart - kThirtyDays - platform::kTicksPerSecond, true},
        {kThreadsStart - 365 * kTicksPerDay, true},
        {kThreadsStart + kTicksPerDay, false},
    };
    for (const Case& c : cases)
        EXPECT_EQ(COutlookContext::IsThreadExpired(platform::FileTimeFromTicks(c.lastActivity)),
                  c.expired)
            << c.lastActivity;
}

TEST_F(ThreadsTest, IdleThreadsAreDeletedAtTheNextStartUnlessTheInboxRefersToThem) {
    Start();
    MsgThreadPtr idle, referenced, exact;
    context_->CreateNewThread("Idle", MPL_NORMAL, nullptr, false, idle);
    context_->CreateNewThread("Referenced", MPL_NORMAL, nullptr, false, referenced);
    ComPtr<IMessage> reference =
        SaveMessage({Text(PR_SUBJECT_A, "Re: Referenced"), Long(Tag(IP_THREAD_ID), 2)});
    clock_.Advance(std::chrono::seconds(1));
    context_->CreateNewThread("Exact", MPL_NORMAL, nullptr, false, exact);
    const ::EntryId idleRecord = idle->GetEntryID();
    const ::EntryId referencedRecord = referenced->GetEntryID();
    idle.Reset();
    referenced.Reset();
    exact.Reset();
    ASSERT_EQ(RecordCount(), 3u);

    // 30 days and 1 second after the first two, exactly 30 days after the third.
    clock_.Set(kThreadsStart + kThirtyDays + platform::kTicksPerSecond);
    Restart();
    EXPECT_EQ(LiveIds(), (std::vector<LONG>{2, 3}));
    EXPECT_FALSE(Record(idleRecord));
    EXPECT_EQ(RecordCount(), 2u);
    // Kept with its activity unchanged, so it is checked again at the next start.
    EXPECT_EQ(TimeOf(Record(referencedRecord).Get(), Tag(IP_THREAD_LAST_ACTIVITY)), kThreadsStart);

    Restart();
    EXPECT_EQ(LiveIds(), (std::vector<LONG>{2, 3}));
    // Once the Inbox lets go of it, it goes too.
    SBinary message = {context_->GetEID(reference.Get()).cb(), nullptr};
    ::EntryId referenceId = context_->GetEID(reference.Get());
    message.lpb = reinterpret_cast<LPBYTE>(referenceId.get());
    ENTRYLIST list = {1, &message};
    ASSERT_EQ(context_->GetInboxFolder(true)->DeleteMessages(&list, 0, nullptr, 0), S_OK);
    reference.Reset();
    clock_.Advance(std::chrono::seconds(1));
    Restart();
    EXPECT_EQ(LiveIds(), (std::vector<LONG>{}));
    EXPECT_EQ(RecordCount(), 0u);
    // A new thread starts again from 1: the highest id lives only in the records.
    MsgThreadPtr fresh;
    context_->CreateNewThread("Fresh", MPL_NORMAL, nullptr, false, fresh);
    EXPECT_EQ(fresh->GetThreadID(), 1);
}

TEST_F(ThreadsTest, RecordsWithoutLastActivityAreStampedAtLoadAndKept) {
    Start();
    ComPtr<IMessage> missing = SaveRecord({Text(PR_SUBJECT_A, "Old"), Long(Tag(IP_THREAD_ID), 9)});
    ComPtr<IMessage> zero = SaveRecord({Text(PR_SUBJECT_A, "Zero"), Long(Tag(IP_THREAD_ID), 10),
                                        Time(Tag(IP_THREAD_LAST_ACTIVITY), 0)});
    // A record without even an id or subject loads with zeros and a blank-thread key.
    ComPtr<IMessage> bare = SaveRecord({});
    const ::EntryId missingId = context_->GetEID(missing.Get());
    const ::EntryId zeroId = context_->GetEID(zero.Get());
    missing.Reset();
    zero.Reset();
    bare.Reset();

    clock_.Set(kThreadsStart + 400 * kTicksPerDay);
    Restart();
    EXPECT_EQ(LiveIds(), (std::vector<LONG>{0, 9, 10}));
    EXPECT_EQ(context_->FindThreadById(9)->GetName(), "Old");
    for (const ::EntryId& id : {missingId, zeroId})
        EXPECT_EQ(TimeOf(Record(id).Get(), Tag(IP_THREAD_LAST_ACTIVITY)),
                  kThreadsStart + 400 * kTicksPerDay);
    MsgThreadPtr found;
    EXPECT_EQ(context_->FindThreadByName("~@/BlankThread #1", found), 0);
    EXPECT_EQ(found->GetThreadID(), 0);
}

TEST_F(ThreadsTest, OnlyTheFirst10000ExpiredRecordsReadAreCandidatesAtOneStart) {
    Start();
    {
        // Written as many earlier starts would have left them, in one bulk write.
        auto bulk = platform::mapi::store::BeginBulkWriting(context_->MailStore());
        ASSERT_TRUE(bulk);
        ComPtr<IMAPIFolder> inbox = context_->GetInboxFolder(true);
        for (LONG id = 1; id <= 12000; ++id) {
            ComPtr<IMessage> record;
            ASSERT_EQ(inbox->CreateMessage(nullptr, MAPI_ASSOCIATED, &record), S_OK);
            SPropValue values[] = {Text(PR_MESSAGE_CLASS_A, kThreadRecordClass),
                                   Text(PR_SUBJECT_A, "Thread"), Long(Tag(IP_THREAD_ID), id),
                                   Time(Tag(IP_THREAD_LAST_ACTIVITY), kThreadsStart)};
            ASSERT_EQ(record->SetProps(4, values, nullptr), S_OK);
            ASSERT_EQ(record->SaveChanges(0), S_OK);
        }
        bulk->Finish();
    }
    clock_.Set(kThreadsStart + 31 * kTicksPerDay);
    Restart();
    EXPECT_EQ(RecordCount(), 2000u);
    std::vector<LONG> ids = LiveIds();
    ASSERT_EQ(ids.size(), 2000u);
    EXPECT_EQ(ids.front(), 10001);
    EXPECT_EQ(ids.back(), 12000);

    // The next start takes the rest.
    Restart();
    EXPECT_EQ(RecordCount(), 0u);
    EXPECT_EQ(LiveIds(), (std::vector<LONG>{}));
}

}  // namespace
}  // namespace orvella::testing
