// The statistics counters: their text form, their two homes (the hidden record in the Inbox and
// the registry value) across restarts of the session, and the statistics dialog.
#include <gtest/gtest.h>

#include "CStatistics.h"
#include "CStatisticsDialog.h"
#include "outlook_application.h"
#include "registry_values.h"
#include "threads_fixture.h"

namespace orvella::testing {
namespace {

using platform::gui::DialogView;

TEST(StatisticsTableTest, TextFormReadsEveryPieceThatParses) {
    struct Case {
        const char* text;
        std::map<ULONG, ULONG> counters;
    } cases[] = {
        {"64=1f4,65=2a,c9=3", {{100, 500}, {101, 42}, {201, 3}}},
        {"zz,64=5", {{100, 5}}},
        {"0=5,65=1", {{101, 1}}},
        {"64=1,64=2", {{100, 2}}},
        {"64=A,66", {{100, 10}}},
        {"", {}},
        {",,", {}},
    };
    for (const Case& c : cases) EXPECT_EQ(CStatistics::Parse(c.text), c.counters) << c.text;
}

TEST(StatisticsTableTest, CountersCountFromZeroAndPrintInIdOrder) {
    CStatistics statistics;
    EXPECT_EQ(statistics.Get(STAT_MESSAGES_ANALYZED), 0u);
    EXPECT_EQ(statistics.ToText(), "");
    statistics.Increment(STAT_TOPICS_ASSIGNED);
    for (int i = 0; i < 500; ++i) statistics.Increment(STAT_MESSAGES_ANALYZED);
    statistics.ReadText("65=2a");
    EXPECT_EQ(statistics.Get(STAT_MESSAGES_ANALYZED), 500u);
    EXPECT_EQ(statistics.ToText(), "64=1f4,65=2a,c9=1");
    // Reading keeps the counters the text does not name.
    statistics.ReadText("64=3");
    EXPECT_EQ(statistics.ToText(), "64=3,65=2a,c9=1");
    statistics.Clear();
    EXPECT_EQ(statistics.ToText(), "");
}

TEST(StatisticsTableTest, CountsShowWithThousandsSeparators) {
    struct Case {
        ULONG value;
        const char* text;
    } cases[] = {{0, "0"},
                 {7, "7"},
                 {999, "999"},
                 {1000, "1,000"},
                 {12345, "12,345"},
                 {1234567, "1,234,567"},
                 {100000, "100,000"},
                 {4294967295u, "4,294,967,295"}};
    for (const Case& c : cases) EXPECT_EQ(FormatStatisticsCount(c.value), c.text);
}

class StatisticsTest : public ThreadsTest {
protected:
    // The subject of every statistics record in the Inbox.
    std::vector<std::string> RecordTexts() {
        ComPtr<IMAPITable> table;
        EXPECT_EQ(context_->GetInboxFolder()->GetContentsTable(MAPI_ASSOCIATED, &table), S_OK);
        SPropValue recordClass = Text(PR_MESSAGE_CLASS_A, "IPM.Orvella.Statistics");
        SRestriction isRecord = {};
        isRecord.rt = RES_PROPERTY;
        isRecord.res.resProperty = {RELOP_EQ, PR_MESSAGE_CLASS_A, &recordClass};
        SizedSPropTagArray(1, columns) = {1, {PR_SUBJECT_A}};
        platform::mapi::RowSetPtr rows;
        EXPECT_EQ(HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns),
                                 &isRecord, nullptr, 0, &rows),
                  S_OK);
        std::vector<std::string> texts;
        for (ULONG i = 0; i < rows->cRows; ++i) {
            const SPropValue& subject = rows->aRow[i].lpProps[0];
            texts.push_back(subject.ulPropTag == PR_SUBJECT_A ? subject.Value.lpszA : "(none)");
        }
        return texts;
    }
    void SaveRecordText(const char* text) {
        SaveMessage({Text(PR_MESSAGE_CLASS_A, "IPM.Orvella.Statistics"), Text(PR_SUBJECT_A, text)},
                    nullptr, MAPI_ASSOCIATED);
    }
    std::optional<std::string> RegistryText() {
        RegKey key;
        if (RegOpenKeyExA(HKEY_CURRENT_USER, "Software\\Orvella\\Vintor", 0, KEY_READ, key.put()) !=
            ERROR_SUCCESS)
            return std::nullopt;
        return ReadRegString(key.get(), "Statistics");
    }
    CStatistics& Table() { return CStatistics::Instance(); }
};

TEST_F(StatisticsTest, CountersSurviveARestartInTheRecordAndTheRegistry) {
    Start();
    EXPECT_TRUE(RecordTexts().empty());
    EXPECT_TRUE(context_->CanWriteStatisticsRecord());
    for (int i = 0; i < 3; ++i) Table().Increment(STAT_MESSAGES_ANALYZED);
    Table().Increment(STAT_BAND_HIGH);
    Table().Increment(STAT_MESSAGES_FILED);

    Restart();
    EXPECT_EQ(RecordTexts(), (std::vector<std::string>{"64=3,65=1,ca=1"}));
    EXPECT_EQ(RegistryText(), "64=3,65=1,ca=1");
    EXPECT_EQ(Table().Get(STAT_MESSAGES_ANALYZED), 3u);
    EXPECT_EQ(Table().Get(STAT_BAND_HIGH), 1u);
    EXPECT_EQ(Table().Get(STAT_MESSAGES_FILED), 1u);
    EXPECT_EQ(Table().Get(STAT_BAND_LOW), 0u);

    // The next save updates the one record.
    Table().Increment(STAT_MESSAGES_ANALYZED);
    Restart();
    EXPECT_EQ(RecordTexts(), (std::vector<std::string>{"64=4,65=1,ca=1"}));
    EXPECT_EQ(RegistryText(), "64=4,65=1,ca=1");
}

TEST_F(StatisticsTest, TheCopyThatAnalyzedMoreMessagesWins) {
    struct Case {
        const char* record;    // nullptr: no record
        const char* registry;  // nullptr: no value
        const char* loaded;
    } cases[] = {
        {"64=a", "64=14", "64=14"},
        {"64=a,65=1", "64=a,65=7", "64=a,65=1"},
        {"64=14,c9=2", "64=a,ca=5", "64=14,c9=2"},
        {"64=14,c9=2", "64=15", "64=15"},
        {nullptr, "64=2,65=1", "64=2,65=1"},
        {"64=2,66=1", nullptr, "64=2,66=1"},
        {"zz,0=5,64=3", "64=2", "64=3"},
        {"", "", ""},
    };
    Install();
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.record ? c.record : "-") + " / " +
                     (c.registry ? c.registry : "-"));
        context_ = Open();
        ComPtr<IMessage> old;
        if (context_->GetStatisticsRecord(old, false) == S_OK) {
            ENTRYLIST list = {};
            ::EntryId id = context_->GetEID(old.Get());
            SBinary gone = {id.cb(), reinterpret_cast<LPBYTE>(id.get())};
            list = {1, &gone};
            old.Reset();
            ASSERT_EQ(context_->GetInboxFolder(true)->DeleteMessages(&list, 0, nullptr, 0), S_OK);
        }
        if (c.record) SaveRecordText(c.record);
        if (c.registry)
            SetSettingText("Statistics", c.registry);
        else
            DeleteSetting("Statistics");
        context_->Initialize();
        EXPECT_EQ(Table().ToText(), c.loaded);
        context_.reset();
        // Both homes hold what was loaded once the session ends.
        context_ = Open();
        EXPECT_EQ(RecordTexts(), (std::vector<std::string>{c.loaded}));
        EXPECT_EQ(RegistryText(), c.loaded);
        context_.reset();
    }
}

TEST_F(StatisticsTest, OfflineExchangeOutsideCachedModeWritesOnlyTheRegistry) {
    struct Case {
        Outlook::OlExchangeConnectionMode mode;
        bool recordWritten;
    } cases[] = {
        {Outlook::olOffline, false},      {Outlook::olDisconnected, false},
        {Outlook::olCachedOffline, true}, {Outlook::olCachedDisconnected, true},
        {Outlook::olOnline, true},        {Outlook::olCachedConnectedFull, true},
    };
    Install({}, true);
    ULONG analyzed = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.mode);
        host::outlook::SaveOutlookState(platform::mapi::store::DefaultProfileName(),
                                        {false, c.mode});
        Restart();
        // A record written by an earlier case is read, else the registry carries the count.
        EXPECT_EQ(Table().Get(STAT_MESSAGES_ANALYZED), analyzed);
        EXPECT_EQ(context_->CanWriteStatisticsRecord(), c.recordWritten);
        const std::vector<std::string> before = RecordTexts();
        Table().Increment(STAT_MESSAGES_ANALYZED);
        ++analyzed;
        const std::string text = Table().ToText();
        context_.reset();
        context_ = Open();
        EXPECT_EQ(RegistryText(), text);
        if (c.recordWritten)
            EXPECT_EQ(RecordTexts(), (std::vector<std::string>{text}));
        else
            EXPECT_EQ(RecordTexts(), before);
    }
}

TEST_F(StatisticsTest, ASessionThatNeverLoadedTheCountersSavesNothing) {
    Install();
    SetSettingText("Statistics", "64=9");
    context_ = Open();
    context_.reset();
    context_ = Open();
    EXPECT_TRUE(RecordTexts().empty());
    EXPECT_EQ(RegistryText(), "64=9");
}

TEST_F(StatisticsTest, AMissingSettingsKeyIsLoggedAtLoadAndAtSave) {
    Install();
    SetSettingText("Statistics", "64=9");
    context_ = Open();
    SaveRecordText("64=5");
    ASSERT_EQ(RegDeleteTreeA(HKEY_CURRENT_USER, "Software\\Orvella\\Vintor"), ERROR_SUCCESS);
    context_->Initialize();
    const std::string loadLog = LogText();
    EXPECT_NE(loadLog.find("SaveStatistics::failed to open reg key"), std::string::npos) << loadLog;
    // The record was read before the registry was looked at.
    EXPECT_EQ(Table().ToText(), "64=5");
    Table().Increment(STAT_MESSAGES_ANALYZED);
    context_.reset();
    const std::string saveLog = LogText().substr(loadLog.size());
    EXPECT_NE(saveLog.find("SaveStatistics::failed to open reg key"), std::string::npos) << saveLog;
    EXPECT_EQ(RegistryText(), std::nullopt);
}

TEST_F(StatisticsTest, TheDialogShowsEveryCounterWithThousandsSeparators) {
    Install();
    // 100 1234567, 101 1000, 102 0 (absent), 103 999, 104 12, 105 7, 201 3, 202 100000, 203 1
    SetSettingText("Statistics", "64=12d687,65=3e8,67=3e7,68=c,69=7,c9=3,ca=186a0,cb=1");
    Restart();
    DialogView seen;
    dialogs_.OnDialog("Orvella Inbox Manager Statistics")
        .Inspect([&](const DialogView& view) { seen = view; })
        .Press(IDOK);
    CStatisticsDialog dialog;
    EXPECT_EQ(dialog.DoModal(), IDOK);
    dialogs_.Verify();

    struct Case {
        int control;
        const char* text;
    } cases[] = {{326, "1,234,567"}, {327, "1,000"}, {328, "0"},       {329, "999"}, {337, "12"},
                 {330, "7"},         {334, "3"},     {335, "100,000"}, {336, "1"}};
    for (const Case& c : cases) {
        const auto* control = seen.Find(c.control);
        ASSERT_NE(control, nullptr) << c.control;
        EXPECT_EQ(control->text, c.text) << c.control;
    }
    // Each count sits beside its label.
    std::vector<std::string> labels;
    for (const auto& control : seen.controls)
        if (control.id == IDC_STATIC) labels.push_back(control.text);
    EXPECT_EQ(labels, (std::vector<std::string>{"Total Messages Analyzed:", "Importance:", "High",
                                                "Medium", "Normal", "Default", "Low",
                                                "AutoAssign:", "Topics Assigned", "Messages Filed",
                                                "Priorities Assigned"}));
    const auto* ok = seen.Find(IDOK);
    ASSERT_NE(ok, nullptr);
    EXPECT_EQ(ok->text, "OK");
    EXPECT_EQ(seen.controls.size(), 21u);  // 11 labels, 9 counts, OK
}

}  // namespace
}  // namespace orvella::testing
