// Loading the thread records at start-up and deleting the threads idle for 30 days that no
// Inbox message refers to any more.
#include <cstring>

#include "COutlookContext.h"
#include "clock.h"
#include "paged_read.h"
#include "store_failures.h"
#include "thread_record_props.h"

using namespace store_failures;
using namespace thread_records;

namespace {

// 30 days in 100-ns units.
constexpr LONGLONG kThreadIdleTicks = 25'920'000'000'000LL;
// At most this many expired threads are deleted at one start; the rest wait for the next.
constexpr size_t kMaxExpiredPerStart = 10000;

enum LoadColumn {
    LC_CLASS,
    LC_ENTRYID,
    LC_SUBJECT,
    LC_ID,
    LC_PRIORITY,
    LC_MSGS_RECEIVED,
    LC_TOTAL_SCORE,
    LC_REPLY_COUNTER,
    LC_ORIGINATOR,
    LC_TOPIC,
    LC_LAST_ACTIVITY,
    LC_COUNT
};

// A row's column values; a missing column reads as 0, false or "".
struct RowReader {
    const SRow& row;
    const ULONG* columns;

    const SPropValue* Find(int column) const {
        const SPropValue& value = row.lpProps[column];
        return value.ulPropTag == columns[column] ? &value : nullptr;
    }
    LONG Long(int column) const {
        const SPropValue* value = Find(column);
        return value ? value->Value.l : 0;
    }
    std::string Text(int column) const {
        const SPropValue* value = Find(column);
        return value && value->Value.lpszA ? value->Value.lpszA : "";
    }
};

}  // namespace

bool COutlookContext::IsThreadExpired(FILETIME lastActivity) {
    const auto last = static_cast<LONGLONG>(orvella::platform::TicksFromFileTime(lastActivity));
    if (last == 0) return false;
    const auto now = static_cast<LONGLONG>(orvella::platform::TicksFromFileTime(NowFileTime()));
    return now - last > kThreadIdleTicks;
}

void COutlookContext::LoadThreads() {
    try {
        std::vector<MsgThreadPtr> expired;
        ComPtr<IMAPIFolder> folder = GetThreadFolder(false);
        ComPtr<IMAPITable> table;
        CheckMapi(folder->GetContentsTable(MAPI_ASSOCIATED, &table), folder.Get(),
                  "LoadThreads: Failed GetContentsTable");
        const ItemsPropTagTable& tags = itemsTags_;
        SizedSPropTagArray(LC_COUNT, columns) = {
            LC_COUNT,
            {PR_MESSAGE_CLASS_A, PR_ENTRYID, PR_SUBJECT_A, tags[IP_THREAD_ID],
             tags[IP_THREAD_PRIORITY], tags[IP_THREAD_MSGS_RECEIVED], tags[IP_THREAD_TOTAL_SCORE],
             tags[IP_THREAD_REPLY_COUNTER], tags[IP_THREAD_ORIGINATOR], tags[IP_TOPIC_NAME],
             tags[IP_THREAD_LAST_ACTIVITY]}};
        CheckMapi(table->SetColumns(reinterpret_cast<LPSPropTagArray>(&columns), 0), table.Get(),
                  "LoadThreads: SetColumns failed");
        ReadTablePaged(table.Get(), "LoadThreads: FindRow failed", "LoadThreads: QueryRows failed",
                       [&](const SRowSet& page) {
                           for (ULONG i = 0; i < page.cRows; ++i) {
                               RowReader row{page.aRow[i], columns.aulPropTag};
                               if (row.Text(LC_CLASS) != kThreadRecordClass) continue;
                               CMsgThread::Fields fields;
                               fields.id = row.Long(LC_ID);
                               fields.priority = row.Long(LC_PRIORITY);
                               fields.messagesReceived = row.Long(LC_MSGS_RECEIVED);
                               fields.totalScore = row.Long(LC_TOTAL_SCORE);
                               fields.replyCounter = row.Long(LC_REPLY_COUNTER);
                               const SPropValue* originator = row.Find(LC_ORIGINATOR);
                               fields.originator = originator && originator->Value.b != 0;
                               fields.name = row.Text(LC_SUBJECT);
                               fields.topic = row.Text(LC_TOPIC);
                               if (const SPropValue* entryId = row.Find(LC_ENTRYID))
                                   fields.entryId = EntryId(entryId->Value.bin);
                               const SPropValue* last = row.Find(LC_LAST_ACTIVITY);
                               FILETIME lastActivity = last ? last->Value.ft : FILETIME{};
                               MsgThreadPtr thread = CMsgThread::Create(std::move(fields));
                               KeepOrExpireLoadedThread(thread, lastActivity, expired);
                           }
                           return true;
                       });
        table.Reset();
        ProcessExpiredThreads(expired);
    } catch (const orvella::diag::BaseException& failure) {
        ReportFailure(failure);
    }
}

void COutlookContext::KeepOrExpireLoadedThread(const MsgThreadPtr& thread, FILETIME lastActivity,
                                               std::vector<MsgThreadPtr>& expired) {
    if (orvella::platform::TicksFromFileTime(lastActivity) == 0) {
        // A record that never had activity counts from now; a failure to stamp it loses only
        // the stamp.
        try {
            UpdateThreadLastAccessed(thread.Get());
        } catch (const orvella::diag::BaseException& failure) {
            ReportFailure(failure);
        }
        AddThread(thread.Get());
    } else if (IsThreadExpired(lastActivity) && expired.size() < kMaxExpiredPerStart) {
        expired.push_back(thread);
    } else {
        AddThread(thread.Get());
    }
}

void COutlookContext::LoadThreadIDsFromInbox(std::map<LONG, ULONG>& counts) {
    ComPtr<IMAPIFolder> inbox = GetInboxFolder(false);
    ComPtr<IMAPITable> table;
    CheckMapi(inbox->GetContentsTable(0, &table), inbox.Get(),
              "LoadThreadIDsFromInbox: Failed GetContentsTable");
    SizedSPropTagArray(1, columns) = {1, {itemsTags_[IP_THREAD_ID]}};
    CheckMapi(table->SetColumns(reinterpret_cast<LPSPropTagArray>(&columns), 0), table.Get(),
              "LoadThreadIDsFromInbox: SetColumns failed");
    ReadTablePaged(table.Get(), "LoadThreadIDsFromInbox: FindRow failed",
                   "LoadThreadIDsFromInbox: QueryRows failed", [&](const SRowSet& page) {
                       for (ULONG i = 0; i < page.cRows; ++i) {
                           const SPropValue& id = page.aRow[i].lpProps[0];
                           if (id.ulPropTag == columns.aulPropTag[0]) ++counts[id.Value.l];
                       }
                       return true;
                   });
}

void COutlookContext::ProcessExpiredThreads(std::vector<MsgThreadPtr>& expired) {
    // Without candidates there is no reason to read the whole Inbox.
    if (expired.empty()) return;
    std::map<LONG, ULONG> inboxThreads;
    LoadThreadIDsFromInbox(inboxThreads);
    std::vector<MsgThreadPtr> deletions;
    for (const MsgThreadPtr& thread : expired) {
        // Still referred to: kept with its activity unchanged, so checked again next start.
        if (inboxThreads.count(thread->GetThreadID()))
            AddThread(thread.Get());
        else
            deletions.push_back(thread);
    }
    expired.clear();
    if (deletions.empty()) return;

    std::vector<SBinary> entryIds;
    entryIds.reserve(deletions.size());
    for (const MsgThreadPtr& thread : deletions) {
        const EntryId& entryId = thread->GetEntryID();
        entryIds.push_back(SBinary{entryId.cb(), reinterpret_cast<LPBYTE>(entryId.get())});
    }
    ENTRYLIST list = {static_cast<ULONG>(entryIds.size()), entryIds.data()};
    ComPtr<IMAPIFolder> folder = GetThreadFolder(true);
    HRESULT hr = folder->DeleteMessages(&list, 0, nullptr, 0);
    if (FAILED(hr))
        throw orvella::diag::MAPIException(hr, folder.Get(),
                                           "ProcessExpiredThreads::Couldn't delete expired thread",
                                           1, kModule, __LINE__);
}
