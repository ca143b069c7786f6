// The Inbox queries behind rescoring runs and the start-up catch-up: every Inbox message, the
// messages of one contact and the messages not yet processed, as entry ids (and subjects).
#include "COutlookContext.h"
#include "paged_read.h"
#include "restricted_walk.h"
#include "store_failures.h"

using namespace store_failures;

namespace {

// Columns of the query tables; the subject is asked for only when it is wanted.
enum UnprocessedColumn {
    UC_ENTRYID,
    UC_THREAD_ID,
    UC_MSG_SCORE,
    UC_THREAD_SCORE,
    UC_RECEIVED_DAY,
    UC_RECEIVED_WEEK,
    UC_SUBJECT,
};

std::string SubjectOf(const SPropValue& value) {
    return value.ulPropTag == PR_SUBJECT_A && value.Value.lpszA ? value.Value.lpszA : "";
}

// The row's entry id and its subject (column subjectColumn, when the row has it), appended.
void Append(const SRow& row, ULONG subjectColumn, std::vector<EntryId>& entryIds,
            std::vector<std::string>* subjects) {
    entryIds.emplace_back(row.lpProps[0].Value.bin);
    if (subjects)
        subjects->push_back(row.cValues > subjectColumn ? SubjectOf(row.lpProps[subjectColumn])
                                                        : std::string());
}

}  // namespace

ComPtr<IMAPITable> COutlookContext::OpenInboxTable(const ULONG* tags, ULONG count,
                                                   const std::string& operation,
                                                   const char* tableFailure) {
    ComPtr<IMAPIFolder> inbox = GetInboxFolder(false);
    ComPtr<IMAPITable> table;
    CheckMapi(inbox->GetContentsTable(0, &table), inbox.Get(), operation + tableFailure);
    std::vector<ULONG> columns(CbNewSPropTagArray(count) / sizeof(ULONG) + 1);
    auto* array = reinterpret_cast<LPSPropTagArray>(columns.data());
    array->cValues = count;
    for (ULONG i = 0; i < count; ++i) array->aulPropTag[i] = tags[i];
    CheckMapi(table->SetColumns(array, 0), table.Get(), operation + ": SetColumns failed");
    return table;
}

void COutlookContext::GetInboxEIDs(bool resetThreadScores, std::vector<EntryId>& entryIds,
                                   std::vector<std::string>* subjects) {
    const ULONG tags[] = {PR_ENTRYID, itemsTags_[IP_THREAD_ID], PR_SUBJECT_A};
    ComPtr<IMAPITable> table =
        OpenInboxTable(tags, subjects ? 3 : 2, "GetInboxEIDs", "::getContentsTable Inbox failed");
    ReadTablePaged(table.Get(), "GetInboxEIDs: SeekRow failed", "GetInboxEIDs: QueryRows failed",
                   [&](const SRowSet& page) {
                       for (ULONG i = 0; i < page.cRows; ++i) {
                           const SRow& row = page.aRow[i];
                           if (row.cValues < 2)
                               FailProgram("GetInboxEIDs:missing data in table row");
                           if (row.lpProps[0].ulPropTag != PR_ENTRYID)
                               FailProgram("GetInboxEIDs: entryid not found in table row");
                           Append(row, 2, entryIds, subjects);
                           if (resetThreadScores) ResetThreadOfRow(row.lpProps[1]);
                       }
                       return true;
                   });
}

void COutlookContext::ResetThreadOfRow(const SPropValue& threadId) {
    if (threadId.ulPropTag != itemsTags_[IP_THREAD_ID]) return;
    if (MsgThreadPtr thread = FindThreadById(threadId.Value.l)) thread->ResetScore();
}

void COutlookContext::ResetThreadScoresAndGetInboxEIDsForContact(
    const EntryId& contactId, std::vector<EntryId>& entryIds, std::vector<std::string>* subjects) {
    const std::string operation = "ResetThreadScoresAndGetInboxEIDsForContact";
    std::vector<std::string> addresses;
    try {
        for (const std::string& address : GetContactEmails(contactId))
            if (!address.empty()) addresses.push_back(address);
    } catch (const orvella::diag::BaseException& failure) {
        throw orvella::diag::MAPIException(
            failure.GetCode(), operation + ": Unable retrieve email props",
            failure.GetMessage() ? failure.GetMessage() : "", 2, kModule, __LINE__);
    }
    if (addresses.empty()) return;

    std::vector<SPropValue> values(addresses.size());
    std::vector<SRestriction> senders(addresses.size());
    for (size_t i = 0; i < addresses.size(); ++i) {
        values[i].ulPropTag = PR_SENDER_EMAIL_ADDRESS_A;
        values[i].Value.lpszA = addresses[i].data();
        senders[i].rt = RES_PROPERTY;
        senders[i].res.resProperty = {RELOP_EQ, PR_SENDER_EMAIL_ADDRESS_A, &values[i]};
    }
    SRestriction anySender = {};
    anySender.rt = RES_OR;
    anySender.res.resOr = {static_cast<ULONG>(senders.size()), senders.data()};

    const ULONG tags[] = {PR_ENTRYID, itemsTags_[IP_THREAD_ID], PR_SUBJECT_A};
    ComPtr<IMAPITable> table =
        OpenInboxTable(tags, subjects ? 3 : 2, operation, "::getContentsTable Inbox failed");
    WalkRestricted(table.Get(), &anySender, 1, WalkFailuresOf(operation), [&](const SRowSet& rows) {
        const SRow& row = rows.aRow[0];
        // A row the table could not fill ends the walk; what was found so
        // far stands.
        if (row.cValues < 2)
            return ReportShortRow(operation + ": missing data in table row", __LINE__);
        if (row.lpProps[0].ulPropTag != PR_ENTRYID)
            FailProgram(operation + ": entryid not found in table row");
        Append(row, 2, entryIds, subjects);
        ResetThreadOfRow(row.lpProps[1]);
        return true;
    });
}

void COutlookContext::GetUnprocessedInboxEIDs(std::vector<EntryId>& entryIds,
                                              std::vector<std::string>* subjects) {
    const std::string operation = "GetUnprocessedInboxEIDs";
    const ULONG markers[] = {itemsTags_[IP_RECEIVED_WEEK], itemsTags_[IP_THREAD_ID],
                             itemsTags_[IP_MSG_SCORE], itemsTags_[IP_THREAD_SCORE],
                             itemsTags_[IP_RECEIVED_DAY]};
    SRestriction exists[5] = {};
    SRestriction lacks[5] = {};
    for (int i = 0; i < 5; ++i) {
        exists[i].rt = RES_EXIST;
        exists[i].res.resExist = {0, markers[i], 0};
        lacks[i].rt = RES_NOT;
        lacks[i].res.resNot = {0, &exists[i]};
    }
    SRestriction lacksAny = {};
    lacksAny.rt = RES_OR;
    lacksAny.res.resOr = {5, lacks};

    const ULONG tags[] = {PR_ENTRYID,
                          itemsTags_[IP_THREAD_ID],
                          itemsTags_[IP_MSG_SCORE],
                          itemsTags_[IP_THREAD_SCORE],
                          itemsTags_[IP_RECEIVED_DAY],
                          itemsTags_[IP_RECEIVED_WEEK],
                          PR_SUBJECT_A};
    ComPtr<IMAPITable> table =
        OpenInboxTable(tags, subjects ? 7 : 6, operation, "::getContentsTable Inbox failed");
    // The rows read after a match need not match: each is tested again.
    WalkRestricted(table.Get(), &lacksAny, 50, WalkFailuresOf(operation), [&](const SRowSet& rows) {
        for (ULONG i = 0; i < rows.cRows; ++i) {
            const SRow& row = rows.aRow[i];
            if (row.cValues < 6 || row.lpProps[UC_ENTRYID].ulPropTag != PR_ENTRYID) continue;
            bool lacksMarker = false;
            for (int column = UC_THREAD_ID; column <= UC_RECEIVED_WEEK; ++column)
                if (row.lpProps[column].ulPropTag != tags[column]) lacksMarker = true;
            if (lacksMarker) Append(row, UC_SUBJECT, entryIds, subjects);
        }
        return true;
    });
}
