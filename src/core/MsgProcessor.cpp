// The message processor: one message at a time, under the named mutex, from "is it ours" to
// its thread, score, stored attributes, counters and rules.
#include "MsgProcessor.h"

#include "CMsgAnalyzeManager.h"
#include "CMsgScore.h"
#include "COutlookContext.h"
#include "CStatistics.h"
#include "core_failures.h"
#include "mapi_shared_commit.h"
#include "mapiguid.h"
#include "mapiutil.h"
#include "msg_props.h"
#include "store_failures.h"
#include "winbase.h"

using core_failures::CheckMapi;
using core_failures::kProcessorModule;
using orvella::platform::mapi::ComPtr;
using orvella::platform::mapi::MapiBuffer;

namespace {

constexpr char kMutexName[] = "VintorMsgProcessorMutex";

// Owns the processor's mutex for a scope; the wait has no time-out. An abandoned mutex is
// owned all the same: the markers on each message tell what its processing got done.
class MutexHold {
public:
    explicit MutexHold(HANDLE mutex) : mutex_(mutex) { WaitForSingleObject(mutex_, INFINITE); }
    ~MutexHold() { ReleaseMutex(mutex_); }
    MutexHold(const MutexHold&) = delete;
    MutexHold& operator=(const MutexHold&) = delete;

private:
    HANDLE mutex_;
};

void CountScoredMessage(LONG score) {
    CStatistics& statistics = CStatistics::Instance();
    statistics.Increment(STAT_MESSAGES_ANALYZED);
    statistics.Increment(BandOfScore(score));
}

// Delivery time, else creation time, else now.
FILETIME MessageTime(IMessage* message, const SPropValue* properties) {
    if (const SPropValue* delivery =
            MsgPropValue(properties, MP_MESSAGE_DELIVERY_TIME, PR_MESSAGE_DELIVERY_TIME))
        return delivery->Value.ft;
    MapiBuffer<SPropValue> created;
    if (SUCCEEDED(HrGetOneProp(message, PR_CREATION_TIME, &created)) &&
        created->ulPropTag == PR_CREATION_TIME)
        return created->Value.ft;
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    return now;
}

// Steps of a scored message: thread, score, the thread's record, the message's attributes, the
// thread's other Inbox messages, the counters. False when the attributes could not be written.
bool ScoreMessage(COutlookContext& context, IMsgScore& scorer, ThreadWrites& threadWrites,
                  IMessage* message, LPSPropValue properties) {
    // What scoring writes is derived and lands whole: the thread's record, the message's
    // attributes and the average on its siblings share one commit. After a crash before it
    // none of them is there, and the message, lacking its markers, is processed again.
    const auto sharedCommit = orvella::platform::mapi::BeginSharedCommit(context.MailStore());
    const SPropValue* subject = MsgPropValue(properties, MP_SUBJECT, PR_SUBJECT_A);
    MsgThreadPtr thread;
    context.GetOrCreateThread(subject ? subject->Value.lpszA : nullptr, message, thread);
    const LONG messageScore = scorer.GetScore(message, properties, thread.Get());
    threadWrites.AddScore(thread.Get(), messageScore);

    // A message the user may not change, or one deleted meanwhile, stops here unreported.
    if (FAILED(context.SaveMsgAttributes(message, messageScore, thread->GetTopic(),
                                         thread->GetThreadID(), thread->GetThreadScore(),
                                         MessageTime(message, properties))))
        return false;
    const SPropValue* self = MsgPropValue(properties, MP_ENTRYID, PR_ENTRYID);
    threadWrites.ShowAverage(thread.Get(),
                             self ? EntryId(self->Value.bin) : context.GetEID(message));
    CountScoredMessage(messageScore);
    return true;
}

}  // namespace

MsgProcessor::MsgProcessor(COutlookContext* context)
    : context_(context),
      scorer_(std::make_unique<CMsgScore>(context)),
      rules_(std::make_unique<CMsgAnalyzeManager>(context, scorer_.get())) {
    rules_->LoadAllJobs();
    mutex_ = CreateMutexA(nullptr, FALSE, kMutexName);
}

MsgProcessor::~MsgProcessor() {
    scorer_.reset();
    if (mutex_) CloseHandle(mutex_);
    rules_.reset();
}

IMsgScore* MsgProcessor::Scorer() const {
    return scorer_.get();
}

int MsgProcessor::ProcessMsg(ULONG cbEntryId, LPENTRYID entryId, bool skipIfProcessed, bool score,
                             bool runRules, bool runRulesIfNew) {
    MutexHold hold(mutex_);
    ProcessMsgInternal(cbEntryId, entryId, skipIfProcessed, score, runRules, runRulesIfNew);
    return 0;
}

void MsgProcessor::DeferThreadScores() {
    threadWrites_.Defer();
}

void MsgProcessor::ShowDeferredThreadScores() {
    MutexHold hold(mutex_);
    threadWrites_.Flush();
}

void MsgProcessor::ReloadRules() {
    MutexHold hold(mutex_);
    rules_->LoadAllJobs();
}

bool MsgProcessor::CheckIfProcessed(IMessage* message) {
    try {
        const ItemsPropTagTable& tags = context_->ItemsPropTags();
        SizedSPropTagArray(5, markers) = {
            5,
            {tags[IP_THREAD_SCORE], tags[IP_MSG_SCORE], tags[IP_RECEIVED_DAY],
             tags[IP_RECEIVED_WEEK], tags[IP_THREAD_ID]}};
        ULONG count = 0;
        MapiBuffer<SPropValue> values;
        CheckMapi(
            message->GetProps(reinterpret_cast<LPSPropTagArray>(&markers), 0, &count, &values),
            message, kProcessorModule, "MsgProcessor::CheckIfProcessed failed to open msg props");
        for (ULONG i = 0; i < markers.cValues; ++i)
            if (i >= count || values[i].ulPropTag != markers.aulPropTag[i]) return true;
        return false;
    } catch (const orvella::diag::BaseException& failure) {
        store_failures::ReportFailure(failure);
        return true;
    }
}

void MsgProcessor::ProcessMsgInternal(ULONG cbEntryId, LPENTRYID entryId, bool skipIfProcessed,
                                      bool score, bool runRules, bool runRulesIfNew) {
    try {
        ComPtr<IMessage> message;
        ULONG type = 0;
        HRESULT hr = context_->MailStore()->OpenEntry(cbEntryId, entryId, &IID_IMessage,
                                                      MAPI_MODIFY, &type, message.PutUnknown());
        // Moved or deleted before its turn came: nothing to do, and no failure.
        if (hr == MAPI_E_NOT_FOUND || hr == MAPI_E_INVALID_ENTRYID) return;
        CheckMapi(hr, context_->MailStore(), kProcessorModule,
                  "ProcessMsgInternal: failed to open msg");
        if (!context_->IsHandledMessage(message.Get())) return;

        const bool needsProcessing = CheckIfProcessed(message.Get());
        MapiBuffer<SPropValue> properties;
        if (!skipIfProcessed || needsProcessing) {
            CheckMapi(ReadMsgProps(message.Get(), properties), message.Get(), kProcessorModule,
                      "ProcessMsgInternal: failed to open msg props");
            if (score &&
                !ScoreMessage(*context_, *scorer_, threadWrites_, message.Get(), properties.Get()))
                return;
        }
        if (runRules || (needsProcessing && runRulesIfNew))
            rules_->RunJobs(message.Get(), properties.Get(), properties ? MSG_PROP_COUNT : 0);
    } catch (const orvella::diag::BaseException& failure) {
        // The message keeps what it got; lacking a marker, a later pass takes it again.
        store_failures::ReportFailure(failure);
    }
}
