// Keeping thread records current: scores, priority, last activity and the user's replies, and
// tying the messages the user sends to their threads.
#include "COutlookContext.h"
#include "mapiutil.h"
#include "store_failures.h"
#include "thread_record_props.h"

using namespace store_failures;
using namespace thread_records;

void COutlookContext::UpdateThreadScore(CMsgThread* thread, LONG score) {
    thread->AddScore(score);
    SaveThreadScore(thread);
}

void COutlookContext::SaveThreadScore(CMsgThread* thread) {
    ComPtr<IMAPIFolder> folder = GetThreadFolder(true);
    ComPtr<IMessage> record =
        OpenRecord(folder.Get(), thread->GetEntryID(), "Couldn't open thread record");
    std::vector<SPropValue> values = {
        LongValue(itemsTags_[IP_THREAD_MSGS_RECEIVED], thread->GetMsgsReceived()),
        LongValue(itemsTags_[IP_THREAD_TOTAL_SCORE], thread->GetTotalScore()),
        TimeValue(itemsTags_[IP_THREAD_LAST_ACTIVITY], NowFileTime()),
    };
    SetPropsOrFail(record.Get(), values, "UpdateThreadScore::Failed set Props");
    CheckMapi(record->SaveChanges(0), record.Get(), "UpdateThreadScore::Failed save thread entry");
}

void COutlookContext::SetThreadPriority(CMsgThread* thread, LONG priority, LONG delta) {
    // The adjusted total reaches the record with the thread's next score.
    thread->AdjustScore(delta);
    thread->SetPriority(priority);
    ComPtr<IMAPIFolder> folder = GetThreadFolder(true);
    ComPtr<IMessage> record =
        OpenRecord(folder.Get(), thread->GetEntryID(), "SetThreadPriority: OpenEntry failed");
    std::vector<SPropValue> values = {
        LongValue(itemsTags_[IP_THREAD_PRIORITY], priority),
        TimeValue(itemsTags_[IP_THREAD_LAST_ACTIVITY], NowFileTime()),
    };
    SetPropsOrFail(record.Get(), values, "SetThreadPriority: failed SetProps");
    CheckMapi(record->SaveChanges(KEEP_OPEN_READWRITE), record.Get(),
              "SetThreadPriority: failed SaveChanges");
}

void COutlookContext::UpdateThreadLastAccessed(CMsgThread* thread) {
    ComPtr<IMAPIFolder> folder = GetThreadFolder(true);
    ComPtr<IMessage> record = OpenRecord(folder.Get(), thread->GetEntryID(),
                                         "UpdateThreadLastAccessed: OpenEntry failed");
    SPropValue now = TimeValue(itemsTags_[IP_THREAD_LAST_ACTIVITY], NowFileTime());
    CheckMapi(HrSetOneProp(record.Get(), &now), record.Get(),
              "UpdateThreadLastAccessed: Failed set Props");
    CheckMapi(record->SaveChanges(0), record.Get(), "UpdateThreadLastAccessed: Failed SaveChanges");
}

void COutlookContext::IncrementThreadReplyCounter(CMsgThread* thread) {
    thread->IncrementReplyCounter();
    ComPtr<IMessage> record = OpenRecord(mailStore_.Get(), thread->GetEntryID(),
                                         "IncrementThreadReplyCounter: OpenEntry of thread failed");
    std::vector<SPropValue> values = {
        LongValue(itemsTags_[IP_THREAD_REPLY_COUNTER], thread->GetReplyCounter()),
        TimeValue(itemsTags_[IP_THREAD_LAST_ACTIVITY], NowFileTime()),
    };
    SetPropsOrFail(record.Get(), values, "IncrementThreadReplyCounter::Failed set Props");
    CheckMapi(record->SaveChanges(0), record.Get(),
              "IncrementThreadReplyCounter::Failed SaveChanges");
}

void COutlookContext::SetItemSenderThreadID(IMessage* message, LONG id) {
    try {
        SPropValue value = LongValue(itemsTags_[IP_SENDER_THREAD_ID], id);
        CheckMapi(HrSetOneProp(message, &value), message,
                  "SetItemSenderThreadID: failed to set prop");
        CheckMapi(message->SaveChanges(KEEP_OPEN_READWRITE), message,
                  "SetItemSenderThreadID: failed to save changes");
    } catch (const orvella::diag::BaseException& failure) {
        ReportFailure(failure);
    }
}

LONG COutlookContext::GetItemSenderThreadID(IMessage* message) {
    try {
        MapiBuffer<SPropValue> value;
        HRESULT hr = HrGetOneProp(message, itemsTags_[IP_SENDER_THREAD_ID], &value);
        if (hr == MAPI_E_NOT_FOUND) return 0;  // composed outside a thread
        CheckMapi(hr, message, "GetItemSenderThreadID: failed to get prop");
        return value->Value.l;
    } catch (const orvella::diag::BaseException& failure) {
        ReportFailure(failure);
        return 0;
    }
}

void COutlookContext::UpdateSentItem(IMessage* message, LONG threadId, const std::string& topic) {
    std::vector<SPropValue> values = {LongValue(itemsTags_[IP_THREAD_ID], threadId)};
    if (!topic.empty()) values.push_back(TextValue(itemsTags_[IP_TOPIC_NAME], topic));
    SetPropsOrFail(message, values, "UpdateSentItem::Failed SetProps");
    CheckMapi(message->SaveChanges(KEEP_OPEN_READWRITE), message,
              "UpdateSentItem::Failed save thread entry");
}
