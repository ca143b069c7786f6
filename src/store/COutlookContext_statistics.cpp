// The statistics counters' two homes: the hidden statistics record in the Inbox, which travels
// with the mailbox, and the registry value "Statistics", which survives a store that cannot be
// written. Loaded at the end of start-up, saved when the session ends.
#include "COutlookContext.h"
#include "CStatistics.h"
#include "mapiutil.h"
#include "registry_values.h"
#include "resource.h"
#include "store_failures.h"

using namespace store_failures;
using orvella::platform::mapi::MapiBuffer;
using orvella::platform::mapi::RowSetPtr;

namespace {

constexpr char kStatisticsValue[] = "Statistics";

RegKey OpenSettingsKey() {
    RegKey key;
    if (RegOpenKeyExA(HKEY_CURRENT_USER, orvella::res::LoadResString(IDS_SETTINGS_KEY).c_str(), 0,
                      KEY_ALL_ACCESS, key.put()) != ERROR_SUCCESS)
        FailProgram("SaveStatistics::failed to open reg key");
    return key;
}

SPropValue StatisticsClass() {
    SPropValue value = {};
    value.ulPropTag = PR_MESSAGE_CLASS_A;
    value.Value.lpszA = const_cast<LPSTR>(kStatisticsRecordClass);
    return value;
}

}  // namespace

HRESULT COutlookContext::GetStatisticsRecord(ComPtr<IMessage>& message, bool create) {
    message.Reset();
    ComPtr<IMAPIFolder> inbox = GetInboxFolder(true);
    ComPtr<IMAPITable> table;
    CheckMapi(inbox->GetContentsTable(MAPI_ASSOCIATED, &table), inbox.Get(),
              "GetStatisticsRecord: Failed GetContentsTable");
    SizedSPropTagArray(1, columns) = {1, {PR_ENTRYID}};
    CheckMapi(table->SetColumns(reinterpret_cast<LPSPropTagArray>(&columns), 0), table.Get(),
              "GetStatisticsRecord: SetColumns failed");
    SPropValue recordClass = StatisticsClass();
    SRestriction isRecord = {};
    isRecord.rt = RES_PROPERTY;
    isRecord.res.resProperty = {RELOP_EQ, PR_MESSAGE_CLASS_A, &recordClass};
    HRESULT hr = table->FindRow(&isRecord, BOOKMARK_BEGINNING, 0);
    if (hr == MAPI_E_NOT_FOUND) {
        if (!create) return MAPI_E_NOT_FOUND;
        CheckMapi(inbox->CreateMessage(nullptr, MAPI_ASSOCIATED, &message), inbox.Get(),
                  "GetStatisticsRecord: CreateMessage failed");
        CheckMapi(HrSetOneProp(message.Get(), &recordClass), message.Get(),
                  "GetStatisticsRecord: HrSetOneProp failed");
        return S_OK;
    }
    CheckMapi(hr, table.Get(), "GetStatisticsRecord: FindRow failed");
    RowSetPtr rows;
    CheckMapi(table->QueryRows(1, 0, &rows), table.Get(), "GetStatisticsRecord: QueryRows failed");
    if (rows->cRows == 0 || rows->aRow[0].cValues == 0 ||
        rows->aRow[0].lpProps[0].ulPropTag != PR_ENTRYID)
        return E_FAIL;
    const SBinary& entryId = rows->aRow[0].lpProps[0].Value.bin;
    ULONG type = 0;
    CheckMapi(inbox->OpenEntry(entryId.cb, reinterpret_cast<LPENTRYID>(entryId.lpb), &IID_IMessage,
                               MAPI_MODIFY, &type, message.PutUnknown()),
              inbox.Get(), "GetStatisticsRecord::Failed OpenEntry on View");
    return S_OK;
}

void COutlookContext::LoadStatistics() {
    CStatistics& statistics = CStatistics::Instance();
    // The table belongs to this session from here on.
    statistics.Clear();
    try {
        ComPtr<IMessage> record;
        if (GetStatisticsRecord(record, false) == S_OK) {
            MapiBuffer<SPropValue> subject;
            HRESULT hr = HrGetOneProp(record.Get(), PR_SUBJECT_A, &subject);
            if (hr != MAPI_E_NOT_FOUND) {
                CheckMapi(hr, record.Get(), "SaveStatistics::Failed HrGetOneProp");
                statistics.ReadText(subject->Value.lpszA ? subject->Value.lpszA : "");
            }
        }
        // What the store held is in the table: saving it at the end loses nothing.
        statisticsLoaded_ = true;

        RegKey settings = OpenSettingsKey();
        std::optional<std::string> saved = ReadRegString(settings.get(), kStatisticsValue);
        // The copy that counted more messages wins: the store may not have been writable.
        if (saved && CStatistics::Parse(*saved)[STAT_MESSAGES_ANALYZED] >
                         statistics.Get(STAT_MESSAGES_ANALYZED)) {
            statistics.Clear();
            statistics.ReadText(*saved);
        }
        statisticsStoreWrite_ = !(IsExchangeMode() && IsOffline() && !IsCachedMode());
    } catch (const orvella::diag::BaseException& failure) {
        ReportFailure(failure);
    }
}

void COutlookContext::SaveStatistics() {
    // A session that never loaded the counters has nothing of its own to save.
    if (!statisticsLoaded_) return;
    const std::string text = CStatistics::Instance().ToText();
    if (statisticsStoreWrite_) {
        // The registry keeps the counters even when the record cannot be written.
        try {
            ComPtr<IMessage> record;
            if (GetStatisticsRecord(record, true) == S_OK) {
                SPropValue subject = {};
                subject.ulPropTag = PR_SUBJECT_A;
                subject.Value.lpszA = const_cast<LPSTR>(text.c_str());
                CheckMapi(HrSetOneProp(record.Get(), &subject), record.Get(),
                          "SaveStatistics::Failed HrSetOneProp");
                CheckMapi(record->SaveChanges(0), record.Get(),
                          "SaveStatistics::Failed SaveChanges");
            }
        } catch (const orvella::diag::BaseException& failure) {
            ReportFailure(failure);
        }
    }
    RegKey settings = OpenSettingsKey();
    if (WriteRegString(settings.get(), kStatisticsValue, text) != ERROR_SUCCESS)
        FailProgram("SaveStatistics::Failed SetStringValue");
}
