// A store session with its thread registry loaded, over a test clock, and what the thread tests
// read back from the store: thread records, Inbox and Sent Items messages.
#pragma once

#include <optional>
#include <vector>

#include "clock.h"
#include "mapi_values.h"
#include "mapiguid.h"
#include "session_fixture.h"
#include "store_fixture.h"

namespace orvella::testing {

// Saturday 10 January 2026 00:00:00 UTC.
inline constexpr platform::FileTimeTicks kThreadsStart = 134124768000000000ULL;
inline constexpr platform::FileTimeTicks kTicksPerDay = 864'000'000'000ULL;

class ThreadsTest : public SessionTest {
protected:
    ThreadsTest() : clock_(kThreadsStart) {}
    ~ThreadsTest() override { context_.reset(); }

    // Installs Orvella and opens the session as Outlook's start does.
    void Start() {
        Install();
        Restart();
    }
    // A new session over the same store: the registry is loaded again from the records.
    void Restart() {
        context_.reset();
        context_ = Open();
        context_->Initialize();
    }
    ULONG Tag(ItemsProp prop) const { return context_->ItemsPropTags()[prop]; }

    // A record's or message's value of tag; nullopt when it has none.
    std::optional<LONG> LongOf(IMessage* message, ULONG tag) {
        platform::mapi::MapiBuffer<SPropValue> value;
        if (FAILED(HrGetOneProp(message, tag, &value))) return std::nullopt;
        return value->Value.l;
    }
    std::optional<std::string> TextOf(IMessage* message, ULONG tag) {
        platform::mapi::MapiBuffer<SPropValue> value;
        if (FAILED(HrGetOneProp(message, tag, &value))) return std::nullopt;
        return std::string(value->Value.lpszA);
    }
    std::optional<platform::FileTimeTicks> TimeOf(IMessage* message, ULONG tag) {
        platform::mapi::MapiBuffer<SPropValue> value;
        if (FAILED(HrGetOneProp(message, tag, &value))) return std::nullopt;
        return platform::TicksFromFileTime(value->Value.ft);
    }
    // The record of thread, opened read-only; null when it is gone.
    ComPtr<IMessage> Record(const ::EntryId& entryId) {
        ComPtr<IMessage> record;
        ULONG type = 0;
        if (FAILED(context_->MailStore()->OpenEntry(entryId.cb(), entryId.get(), &IID_IMessage, 0,
                                                    &type, record.PutUnknown())))
            return nullptr;
        return record;
    }
    // A message saved in folder (the Inbox when null) with values, opened read-write.
    ComPtr<IMessage> SaveMessage(std::vector<SPropValue> values, IMAPIFolder* folder = nullptr,
                                 ULONG flags = 0) {
        ComPtr<IMAPIFolder> inbox;
        if (!folder) {
            inbox = context_->GetInboxFolder(true);
            folder = inbox.Get();
        }
        std::vector<BYTE> bytes = SaveIn(folder, std::move(values), flags);
        return context_->GetMAPIMessage(::EntryId(bytes));
    }
    // A thread record written as another start of the add-in left it.
    ComPtr<IMessage> SaveRecord(std::vector<SPropValue> values) {
        values.insert(values.begin(), Text(PR_MESSAGE_CLASS_A, kThreadRecordClass));
        return SaveMessage(std::move(values), nullptr, MAPI_ASSOCIATED);
    }
    // The number of hidden records of the thread class in the Inbox.
    ULONG RecordCount() {
        ComPtr<IMAPITable> table;
        EXPECT_EQ(context_->GetInboxFolder()->GetContentsTable(MAPI_ASSOCIATED, &table), S_OK);
        SPropValue threadClass = Text(PR_MESSAGE_CLASS_A, kThreadRecordClass);
        SRestriction isThread = {};
        isThread.rt = RES_PROPERTY;
        isThread.res.resProperty = {RELOP_EQ, PR_MESSAGE_CLASS_A, &threadClass};
        EXPECT_EQ(table->Restrict(&isThread, 0), S_OK);
        ULONG count = 0;
        EXPECT_EQ(table->GetRowCount(0, &count), S_OK);
        return count;
    }
    std::vector<LONG> LiveIds() {
        std::vector<LONG> ids;
        for (const MsgThreadPtr& thread : context_->GetThreads())
            ids.push_back(thread->GetThreadID());
        return ids;
    }

    platform::ScopedTestClock clock_;
    std::unique_ptr<COutlookContext> context_;
};

inline SPropValue Time(ULONG tag, platform::FileTimeTicks ticks) {
    return platform::mapi::TimeValue(tag, platform::FileTimeFromTicks(ticks));
}

}  // namespace orvella::testing
