// Rewriting the stored scores of one thread's Inbox messages in place: the thread's new average
// after a message joined it, and a changed score after its priority or reply count changed.
#include "COutlookContext.h"
#include "mapi_shared_commit.h"
#include "mapiutil.h"
#include "restricted_walk.h"
#include "store_failures.h"
#include "thread_record_props.h"

using namespace store_failures;
using namespace thread_records;

namespace {

SRestriction ThreadIs(ULONG threadIdTag, SPropValue& threadId) {
    SRestriction restriction = {};
    restriction.rt = RES_PROPERTY;
    restriction.res.resProperty = {RELOP_EQ, threadIdTag, &threadId};
    return restriction;
}

}  // namespace

void COutlookContext::UpdateInboxMsgThreadScores(CMsgThread* thread,
                                                 const EntryId& processedMessage) {
    const std::string operation = "UpdateInboxMsgThreadScores";
    try {
        const ULONG columns[] = {PR_ENTRYID};
        ComPtr<IMAPITable> table =
            OpenInboxTable(columns, 1, operation, ": GetContentsTable failed");

        SPropValue threadId = LongValue(itemsTags_[IP_THREAD_ID], thread->GetThreadID());
        SPropValue processed = {};
        processed.ulPropTag = PR_ENTRYID;
        processed.Value.bin = {processedMessage.cb(),
                               reinterpret_cast<LPBYTE>(processedMessage.get())};
        // Only the messages that do not show the average yet: in a long thread one more message
        // seldom moves the average, and then nothing needs writing.
        SPropValue score = LongValue(itemsTags_[IP_THREAD_SCORE], -thread->GetThreadScore());
        SRestriction shown[2] = {};
        shown[0].rt = RES_EXIST;
        shown[0].res.resExist.ulPropTag = score.ulPropTag;
        shown[1].rt = RES_PROPERTY;
        shown[1].res.resProperty = {RELOP_EQ, score.ulPropTag, &score};
        SRestriction showsAverage = {};
        showsAverage.rt = RES_AND;
        showsAverage.res.resAnd = {2, shown};
        SRestriction parts[3] = {ThreadIs(itemsTags_[IP_THREAD_ID], threadId), {}, {}};
        parts[1].rt = RES_PROPERTY;
        parts[1].res.resProperty = {RELOP_NE, PR_ENTRYID, &processed};
        parts[2].rt = RES_NOT;
        parts[2].res.resNot.lpRes = &showsAverage;
        SRestriction others = {};
        others.rt = RES_AND;
        others.res.resAnd = {3, parts};

        // The stored averages are derived from the thread record: a crash before the shared
        // commit leaves the old ones, which the next message of the thread or a rescoring run
        // writes again. One commit for the whole thread instead of one per message.
        const auto sharedCommit = orvella::platform::mapi::BeginSharedCommit(mailStore_.Get());
        WalkRestricted(table.Get(), &others, 1, WalkFailuresOf(operation),
                       [&](const SRowSet& rows) {
                           const SRow& row = rows.aRow[0];
                           if (row.cValues == 0) FailProgram(operation + ":no data in table row");
                           if (row.lpProps[0].ulPropTag != PR_ENTRYID)
                               FailProgram(operation + ":Invalid entryid in table");
                           WriteThreadScore(EntryId(row.lpProps[0].Value.bin), score, operation);
                           return true;
                       });
    } catch (const orvella::diag::BaseException& failure) {
        ReportFailure(failure);
    }
}

void COutlookContext::UpdateInboxMsgThreadScores(
    const std::map<LONG, std::pair<CMsgThread*, EntryId>>& threads) {
    const std::string operation = "UpdateInboxMsgThreadScores";
    // Rows read after each match: processed messages all match, so the walk pages the Inbox.
    constexpr LONG kPage = 500;
    const ULONG idTag = itemsTags_[IP_THREAD_ID], scoreTag = itemsTags_[IP_THREAD_SCORE];
    try {
        const ULONG columns[] = {PR_ENTRYID, idTag, scoreTag};
        ComPtr<IMAPITable> table =
            OpenInboxTable(columns, 3, operation, ": GetContentsTable failed");
        SRestriction inThread = {};
        inThread.rt = RES_EXIST;
        inThread.res.resExist.ulPropTag = idTag;
        WalkRestricted(
            table.Get(), &inThread, kPage, WalkFailuresOf(operation), [&](const SRowSet& rows) {
                for (ULONG r = 0; r < rows.cRows; ++r) {
                    const SRow& row = rows.aRow[r];
                    if (row.cValues != 3 || row.lpProps[0].ulPropTag != PR_ENTRYID ||
                        row.lpProps[1].ulPropTag != idTag)
                        continue;
                    const auto found = threads.find(row.lpProps[1].Value.l);
                    if (found == threads.end()) continue;
                    const auto& [thread, carrier] = found->second;
                    const SPropValue score = LongValue(scoreTag, -thread->GetThreadScore());
                    if (row.lpProps[2].ulPropTag == scoreTag &&
                        row.lpProps[2].Value.l == score.Value.l)
                        continue;
                    const EntryId message(row.lpProps[0].Value.bin);
                    try {
                        if (!IsSameEID(message, carrier))
                            WriteThreadScore(message, score, operation);
                    } catch (const orvella::diag::BaseException& failure) {
                        ReportFailure(failure);
                    }
                }
                return true;
            });
    } catch (const orvella::diag::BaseException& failure) {
        ReportFailure(failure);
    }
}

void COutlookContext::WriteThreadScore(const EntryId& message, SPropValue score,
                                       const std::string& operation) {
    ComPtr<IMessage> opened =
        OpenRecord(mailStore_.Get(), message, operation + "::couldn't open messsage");
    CheckMapi(HrSetOneProp(opened.Get(), &score), opened.Get(),
              operation + "::couldn't update messsage thread score");
    CheckMapi(opened->SaveChanges(KEEP_OPEN_READWRITE), opened.Get(),
              operation + "::couldn't save messsage thread score");
}

HRESULT COutlookContext::UpdateInboxMsgPriorityScores(CMsgThread* thread, LONG delta) {
    const std::string operation = "UpdateInboxMsgPriorityScores";
    const ULONG scoreTag = itemsTags_[IP_MSG_SCORE];
    const ULONG columns[] = {PR_ENTRYID, scoreTag};
    ComPtr<IMAPITable> table =
        OpenInboxTable(columns, 2, operation, "::getContentsTable Inbox failed");
    SPropValue threadId = LongValue(itemsTags_[IP_THREAD_ID], thread->GetThreadID());
    SRestriction ofThread = ThreadIs(itemsTags_[IP_THREAD_ID], threadId);
    const LONG threadScore = -thread->GetThreadScore();
    WalkRestricted(table.Get(), &ofThread, 1, WalkFailuresOf(operation), [&](const SRowSet& rows) {
        const SRow& row = rows.aRow[0];
        // A row the table could not fill ends the walk.
        if (row.cValues != 2)
            return ReportShortRow(operation + ":missing data in table row", __LINE__);
        if (row.lpProps[0].ulPropTag != PR_ENTRYID)
            FailProgram(operation + ": entryid not found in table row");
        if (row.lpProps[1].ulPropTag != scoreTag) FailProgram(operation + ":Missing thread score");
        ComPtr<IMessage> message = OpenRecord(mailStore_.Get(), EntryId(row.lpProps[0].Value.bin),
                                              operation + "::couldn't open messsage");
        // Stored negated: the score rises by delta.
        std::vector<SPropValue> values = {
            LongValue(scoreTag, row.lpProps[1].Value.l - delta),
            LongValue(itemsTags_[IP_THREAD_SCORE], threadScore),
        };
        SetPropsOrFail(message.Get(), values, operation + ": SetProps failed");
        CheckMapi(message->SaveChanges(KEEP_OPEN_READWRITE), message.Get(),
                  operation + "::couldn't save messsage priority score");
        return true;
    });
    return S_OK;
}
