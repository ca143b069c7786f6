// The thread registry: thread names of subjects, finding, creating and restoring the thread
// records that conversation threads keep in the Inbox.
#include <cstdio>

#include "COutlookContext.h"
#include "mapiutil.h"
#include "store_failures.h"
#include "thread_record_props.h"

using namespace store_failures;
using namespace thread_records;

void COutlookContext::CompileThreadPattern() {
    threadPattern_.emplace();
}

std::string COutlookContext::GetThreadNameFromSubject(const char* subject) {
    return threadPattern_->ThreadName(subject);
}

void COutlookContext::AddThread(CMsgThread* thread) {
    std::string key = thread->GetName();
    if (key.empty()) {
        // Blank subjects never share a thread: each gets a key of its own.
        char blank[48];
        std::snprintf(blank, sizeof blank, "~@/BlankThread #%d", ++blankThreadCount_);
        key = blank;
    }
    threadsByName_[key] = MsgThreadPtr(thread);
    threadsById_[thread->GetThreadID()] = MsgThreadPtr(thread);
    if (thread->GetThreadID() > highestThreadId_) highestThreadId_ = thread->GetThreadID();
}

int COutlookContext::FindThreadByName(const std::string& name, MsgThreadPtr& thread) {
    if (name.empty()) return 1;
    auto found = threadsByName_.find(name);
    if (found == threadsByName_.end()) return 1;
    thread = found->second;
    return 0;
}

MsgThreadPtr COutlookContext::FindThreadById(LONG id) {
    auto found = threadsById_.find(id);
    return found == threadsById_.end() ? nullptr : found->second;
}

std::vector<MsgThreadPtr> COutlookContext::GetThreads() const {
    std::vector<MsgThreadPtr> threads;
    threads.reserve(threadsById_.size());
    for (const auto& [id, thread] : threadsById_) threads.push_back(thread);
    return threads;
}

void COutlookContext::CreateMsgThread(MsgThreadPtr& thread, LONG id, const char* name,
                                      LONG priority, const char* topic, bool originator,
                                      LONG replyCounter, LONG messagesReceived, LONG totalScore) {
    const std::string threadName = name ? name : "";
    const bool hasTopic = topic && *topic;
    ComPtr<IMAPIFolder> folder = GetThreadFolder(true);
    ComPtr<IMessage> record;
    CheckMapi(folder->CreateMessage(nullptr, MAPI_ASSOCIATED, &record), folder.Get(),
              "CreateMsgThread: CreateMessage failed");

    const ItemsPropTagTable& tags = itemsTags_;
    std::vector<SPropValue> values = {
        TextValue(PR_MESSAGE_CLASS_A, kThreadRecordClass),
        TextValue(PR_SUBJECT_A, threadName),
        LongValue(tags[IP_THREAD_ID], id),
        LongValue(tags[IP_THREAD_PRIORITY], priority),
        LongValue(tags[IP_THREAD_MSGS_RECEIVED], messagesReceived),
        LongValue(tags[IP_THREAD_TOTAL_SCORE], totalScore),
        LongValue(tags[IP_THREAD_REPLY_COUNTER], replyCounter),
        BoolValue(tags[IP_THREAD_ORIGINATOR], originator),
        TimeValue(tags[IP_THREAD_LAST_ACTIVITY], NowFileTime()),
    };
    if (hasTopic) values.push_back(TextValue(tags[IP_TOPIC_NAME], topic));
    SetPropsOrFail(record.Get(), values, "CreateMsgThread::Failed SetProps");
    CheckMapi(record->SaveChanges(KEEP_OPEN_READWRITE), record.Get(),
              "CreateMsgThread::Failed SaveChanges");
    MapiBuffer<SPropValue> entryId;
    CheckMapi(HrGetOneProp(record.Get(), PR_ENTRYID, &entryId), record.Get(),
              "CreateMsgThread::Failed to retrieve PR_ENTRYID");

    // The counters written to the record take effect when the threads are next loaded.
    CMsgThread::Fields fields;
    fields.id = id;
    fields.priority = priority;
    fields.originator = originator;
    fields.name = threadName;
    fields.entryId = EntryId(entryId->Value.bin);
    if (hasTopic) fields.topic = topic;
    thread = CMsgThread::Create(std::move(fields));
    AddThread(thread.Get());
}

void COutlookContext::CreateNewThread(const char* name, LONG priority, const char* topic,
                                      bool originator, MsgThreadPtr& thread) {
    CreateMsgThread(thread, ++highestThreadId_, name, priority, topic, originator,
                    originator ? 1 : 0, 0, 0);
}

MsgThreadPtr COutlookContext::RestoreThread(IMessage* message, const ItemsPropTagTable& tags) {
    SizedSPropTagArray(4, columns) = {
        4, {PR_SUBJECT_A, tags[IP_THREAD_SCORE], tags[IP_TOPIC_NAME], tags[IP_THREAD_ID]}};
    ULONG count = 0;
    MapiBuffer<SPropValue> props;
    CheckMapi(message->GetProps(reinterpret_cast<LPSPropTagArray>(&columns), 0, &count, &props),
              message, "RestoreThread: failed to open msg props");
    auto present = [&](int i) { return props.Get()[i].ulPropTag == columns.aulPropTag[i]; };
    const SPropValue* values = props.Get();
    try {
        if (!present(3) || values[3].Value.l == 0)
            FailProgram("RestoreThread:invalid thread id specified");
    } catch (const orvella::diag::BaseException& failure) {
        ReportFailure(failure);
        return nullptr;
    }
    const std::string name = GetThreadNameFromSubject(present(0) ? values[0].Value.lpszA : "");
    const LONG threadScore = present(1) ? -values[1].Value.l : 0;
    MsgThreadPtr thread;
    CreateMsgThread(thread, values[3].Value.l, name.c_str(), 0,
                    present(2) ? values[2].Value.lpszA : nullptr, false, 0, 1, threadScore);
    return thread;
}

MsgThreadPtr COutlookContext::ThreadOfId(IMessage* message, const ItemsPropTagTable& tags,
                                         LONG id) {
    if (MsgThreadPtr thread = FindThreadById(id)) return thread;
    return RestoreThread(message, tags);
}

MsgThreadPtr COutlookContext::GetThreadByMessage(IMessage* message, const ItemsPropTagTable& tags) {
    MapiBuffer<SPropValue> id;
    HRESULT hr = HrGetOneProp(message, tags[IP_THREAD_ID], &id);
    if (hr == MAPI_E_NOT_FOUND) return nullptr;
    CheckMapi(hr, message, "GetThreadByMessage: Failed getting thread id");
    return ThreadOfId(message, tags, id->Value.l);
}

void COutlookContext::GetOrCreateThread(const char* subject, IMessage* message,
                                        MsgThreadPtr& thread) {
    const std::string name = GetThreadNameFromSubject(subject);
    thread = nullptr;
    if (FindThreadByName(name, thread) == 0) return;
    // A message that knows its thread keeps it, even when its subject has changed.
    MapiBuffer<SPropValue> id;
    if (message && SUCCEEDED(HrGetOneProp(message, itemsTags_[IP_THREAD_ID], &id)))
        thread = ThreadOfId(message, itemsTags_, id->Value.l);
    if (!thread) CreateNewThread(name.c_str(), MPL_NORMAL, nullptr, false, thread);
}
