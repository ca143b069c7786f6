// The exception reporter: its settings, the log records it writes, when it shows the error
// dialog, repeats of one failure, and reports from several threads.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "CErrorDialog.h"
#include "CExceptionReporter.h"
#include "ContactAnalyzeException.h"
#include "MAPIException.h"
#include "OutlookException.h"
#include "ProgramException.h"
#include "diag_test_support.h"
#include "headless_driver.h"
#include "mapicode.h"

namespace {

using namespace orvella::diag;
using namespace orvella::testing;
using orvella::platform::gui::DialogRecord;
using orvella::platform::gui::DialogView;
using orvella::platform::gui::HeadlessDialogDriver;

// Every error dialog from now on is closed with OK.
void AcknowledgeEveryErrorDialog(HeadlessDialogDriver& driver) {
    driver.OnDialog(kErrorDialogCaption).Always().Press(IDOK);
}

int CountOf(const std::string& text, const std::string& part) {
    int count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

using SettingsTest = ReporterTest;

TEST_F(SettingsTest, StoredThresholdsMapToLevels) {
    struct Case {
        DWORD stored;
        int level;
    };
    const std::vector<Case> cases = {{0, 0}, {1, 1}, {2, 2},         {3, 2},
                                     {4, 3}, {5, 2}, {0xFFFFFFFF, 2}};
    for (const Case& c : cases) {
        SetProductDword("ExceptionLogThreshold", c.stored);
        SetProductDword("ExceptionNotifyThreshold", c.stored);
        const CExceptionReporter reporter;
        EXPECT_EQ(reporter.Settings().logThreshold, c.level) << c.stored;
        EXPECT_EQ(reporter.Settings().notifyThreshold, c.level) << c.stored;
    }
}

TEST_F(SettingsTest, MissingOrMistypedValuesKeepTheDefaults) {
    const CExceptionReporter before;
    EXPECT_EQ(before.Settings().logPath, (home_.path() / "Orvella.log").string());
    EXPECT_EQ(before.Settings().logThreshold, 1);
    EXPECT_EQ(before.Settings().notifyThreshold, 2);
    EXPECT_EQ(before.Settings().supportAddress, "support@orvella.com");

    SetProductString("ExceptionLogThreshold", "0");
    SetProductString("ExceptionNotifyThreshold", "4");
    SetProductDword("HomeDir", 7);
    SetProductDword("SupportAddress", 7);
    const CExceptionReporter after;
    EXPECT_EQ(after.Settings().logPath, (home_.path() / "Orvella.log").string());
    EXPECT_EQ(after.Settings().logThreshold, 1);
    EXPECT_EQ(after.Settings().notifyThreshold, 2);
    EXPECT_EQ(after.Settings().supportAddress, "support@orvella.com");
}

TEST_F(SettingsTest, HomeDirMovesTheLogIntoItsLogsFolder) {
    const std::filesystem::path install = home_.path() / "install";
    std::filesystem::create_directories(install / "Logs");
    SetProductString("HomeDir", install.string());
    SetProductString("SupportAddress", "help@example.com");
    CExceptionReporter reporter;
    EXPECT_EQ(reporter.Settings().logPath, install.string() + "/Logs/Orvella.log");
    EXPECT_EQ(reporter.Settings().supportAddress, "help@example.com");

    reporter.Report(ProgramException("LoadView: view not found", "", 1, "ViewManager", 12));
    EXPECT_EQ(ReadWholeFile(install / "Logs" / "Orvella.log"),
              "Thu Mar  7 14:05:09 2024\n"
              "WARNING: (PROGRAM, ViewManager, 12)\n"
              "LoadView: view not found\n\n");
    EXPECT_FALSE(std::filesystem::exists(DefaultLog()));
}

// Each case has a home of its own.
TEST(ReporterThresholds, LevelsAreLoggedAndShownAsTheThresholdsSay) {
    const FixedReportTime fixedTime;
    struct Case {
        std::optional<DWORD> logSetting;
        std::optional<DWORD> notifySetting;
        int level;
        bool logged;
        bool shown;
    };
    const std::vector<Case> cases = {
        // Defaults: warnings and above logged, errors and above shown.
        {std::nullopt, std::nullopt, 0, false, false},
        {std::nullopt, std::nullopt, 1, true, false},
        {std::nullopt, std::nullopt, 2, true, true},
        {std::nullopt, std::nullopt, 3, true, true},
        {std::nullopt, std::nullopt, 9, true, true},
        // 4 logs only severe errors.
        {4, std::nullopt, 2, false, true},
        {4, std::nullopt, 3, true, true},
        // 3 behaves like 2.
        {std::nullopt, 3, 2, true, true},
        {std::nullopt, 3, 1, true, false},
        {std::nullopt, 4, 2, true, false},
        {0, 0, 0, true, true},
        {2, 1, 1, false, true},
    };
    for (size_t i = 0; i < cases.size(); ++i) {
        const Case& c = cases[i];
        TempHome home;
        if (c.logSetting) SetProductDword("ExceptionLogThreshold", *c.logSetting);
        if (c.notifySetting) SetProductDword("ExceptionNotifyThreshold", *c.notifySetting);
        HeadlessDialogDriver driver;
        AcknowledgeEveryErrorDialog(driver);
        CExceptionReporter reporter;
        reporter.Report(
            OutlookException(E_FAIL, "OnNewMail: failed to get item", "", c.level, "CAddin", 88));
        EXPECT_EQ(std::filesystem::exists(home.path() / "Orvella.log"), c.logged) << "case " << i;
        EXPECT_EQ(driver.Records().size(), c.shown ? 1u : 0u) << "case " << i;
        driver.Verify();
    }
}

using RecordTest = ReporterTest;

TEST_F(RecordTest, RecordsHaveTheTimeHeaderMessageDetailsAndCode) {
    struct Case {
        std::string name;
        std::function<void(CExceptionReporter&)> report;
        std::string record;
    };
    const std::vector<Case> cases = {
        {"every part",
         [](CExceptionReporter& r) {
             r.Report(MAPIException(MAPI_E_NOT_FOUND, "ProcessMsgInternal: failed to open msg",
                                    "MAPIError: (store: gone LowError=0 Context=0)", 2,
                                    "MsgProcessor", 175));
         },
         "Thu Mar  7 14:05:09 2024\n"
         "ERROR: (MAPI, MsgProcessor, 175)\n"
         "ProcessMsgInternal: failed to open msg\n"
         "MAPIError: (store: gone LowError=0 Context=0)\n"
         "HRESULT = 8004010f\n\n"},
        {"no code, file or line",
         [](CExceptionReporter& r) {
             r.Report(ProgramException("RunRule: bad rule", "", 1, "", 0));
         },
         "Thu Mar  7 14:05:09 2024\n"
         "WARNING: (PROGRAM, file not specified, line # not specified)\n"
         "RunRule: bad rule\n\n"},
        {"no message",
         [](CExceptionReporter& r) {
             r.Report(OutlookException(static_cast<HRESULT>(0x80020005), "", "", 0, "CAddin", 3));
         },
         "Thu Mar  7 14:05:09 2024\n"
         "INFO: (OUTLOOK, CAddin, 3)\n"
         "HRESULT = 80020005\n\n"},
        {"contact analysis",
         [](CExceptionReporter& r) {
             r.Report(ContactAnalyzeException("AnalyzeContacts: no sent items folder"));
         },
         "Thu Mar  7 14:05:09 2024\n"
         "ERROR: (CONTACTANALYZE, ContactAnalyze, line # not specified)\n"
         "AnalyzeContacts: no sent items folder\n\n"},
        {"severe",
         [](CExceptionReporter& r) {
             r.Report(ProgramException("Start: no store", "d", 3, "Addin", 9));
         },
         "Thu Mar  7 14:05:09 2024\n"
         "SEVERE_ERROR: (PROGRAM, Addin, 9)\n"
         "Start: no store\n"
         "d\n\n"},
        {"unknown level",
         [](CExceptionReporter& r) {
             r.Report(ProgramException("Start: odd", "", 7, "Addin", 10));
         },
         "Thu Mar  7 14:05:09 2024\n"
         "ERROR: (PROGRAM, Addin, 10)\n"
         "Start: odd\n\n"},
    };
    SetProductDword("ExceptionLogThreshold", 0);
    HeadlessDialogDriver driver;
    AcknowledgeEveryErrorDialog(driver);
    CExceptionReporter reporter;
    std::string log;
    for (const Case& c : cases) {
        c.report(reporter);
        log += c.record;
        EXPECT_EQ(ReadWholeFile(DefaultLog()), log) << c.name;
    }
}

TEST_F(RecordTest, TheShownTextIsTheRecordUnlessAnotherChangeWonTheSave) {
    HeadlessDialogDriver driver;
    AcknowledgeEveryErrorDialog(driver);
    CExceptionReporter reporter;
    reporter.Report(MAPIException(MAPI_E_OBJECT_CHANGED, "SaveMsgAttributes::Failed save", "", 2,
                                  "COutlookContext", 412));
    reporter.Report(
        MAPIException(MAPI_E_NOT_FOUND, "OpenMsg: failed", "", 2, "COutlookContext", 99));

    const std::vector<DialogRecord> records = driver.Records();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].shown.Find(IDC_ERROR_TEXT)->text,
              "Orvella was unable to save changes to the current\r\n"
              "item because another operation has changed it.\r\n\r\n"
              "Please unselect or close the current item and try your\r\n"
              "operation again.\r\n\r\n");
    EXPECT_EQ(records[1].shown.Find(IDC_ERROR_TEXT)->text,
              "Thu Mar  7 14:05:09 2024\r\n"
              "ERROR: (MAPI, COutlookContext, 99)\r\n"
              "OpenMsg: failed\r\n"
              "HRESULT = 8004010f\r\n\r\n");
    EXPECT_EQ(ReadWholeFile(DefaultLog()),
              "Thu Mar  7 14:05:09 2024\n"
              "ERROR: (MAPI, COutlookContext, 412)\n"
              "SaveMsgAttributes::Failed save\n"
              "HRESULT = 80040109\n\n"
              "Thu Mar  7 14:05:09 2024\n"
              "ERROR: (MAPI, COutlookContext, 99)\n"
              "OpenMsg: failed\n"
              "HRESULT = 8004010f\n\n");
}

TEST_F(RecordTest, AnUnwritableLogLosesTheRecordButNotTheDialog) {
    SetProductString("HomeDir", (home_.path() / "missing").string());
    HeadlessDialogDriver driver;
    AcknowledgeEveryErrorDialog(driver);
    CExceptionReporter reporter;
    reporter.Report(ProgramException("LoadView: view not found", "", 2, "ViewManager", 12));
    EXPECT_FALSE(std::filesystem::exists(home_.path() / "missing"));
    EXPECT_EQ(driver.Records().size(), 1u);
}

using RepeatTest = ReporterTest;

// Reports of one place (with different messages and codes) or another, and whether each was
// shown and with the repeat note. Each case has a home of its own.
TEST(ReporterRepeats, OnePlaceFailingInARowIsShownThreeTimesTheThirdWithTheNote) {
    const FixedReportTime fixedTime;
    struct Case {
        std::string name;
        std::vector<int> lines;   // the places reported, in order
        std::vector<bool> notes;  // the dialogs shown: note visible or not
    };
    const std::vector<Case> cases = {
        {"four in a row", {10, 10, 10, 10}, {false, false, true}},
        {"another place between resets the count",
         {10, 10, 20, 10, 10, 10, 10},
         {false, false, false, false, false, true}},
        {"alternating places never repeat", {10, 20, 10, 20}, {false, false, false, false}},
    };
    for (const Case& c : cases) {
        TempHome home;
        HeadlessDialogDriver driver;
        AcknowledgeEveryErrorDialog(driver);
        CExceptionReporter reporter;
        int n = 0;
        for (int line : c.lines) {
            ++n;
            reporter.Report(MAPIException(static_cast<HRESULT>(0x80040000 + n),
                                          "ProcessMsgInternal: attempt " + std::to_string(n), "", 2,
                                          "MsgProcessor", line));
        }
        std::vector<bool> notes;
        for (const DialogRecord& record : driver.Records())
            notes.push_back(record.shown.Find(IDC_REPEAT_NOTE)->visible);
        EXPECT_EQ(notes, c.notes) << c.name;
        EXPECT_EQ(
            CountOf(ReadWholeFile(home.path() / "Orvella.log"), "ProcessMsgInternal: attempt"),
            static_cast<int>(c.lines.size()))
            << c.name;
    }
}

TEST_F(RepeatTest, OnlyShownLevelsTakePartInTheCount) {
    HeadlessDialogDriver driver;
    AcknowledgeEveryErrorDialog(driver);
    CExceptionReporter reporter;
    const ProgramException failure("RunRule: bad rule", "", 2, "RuleRunner", 5);
    reporter.Report(failure);
    reporter.Report(ProgramException("RunRule: slow", "", 1, "RuleRunner", 6));  // logged only
    reporter.Report(failure);
    reporter.Report(failure);
    reporter.Report(failure);
    ASSERT_EQ(driver.Records().size(), 3u);
    EXPECT_TRUE(driver.Records()[2].shown.Find(IDC_REPEAT_NOTE)->visible);
}

using ThreadsTest = ReporterTest;

TEST_F(ThreadsTest, TwoThreadsReportingAtOnceWriteWholeRecords) {
    SetProductDword("ExceptionNotifyThreshold", 4);
    CExceptionReporter reporter;
    constexpr int kPerThread = 200;
    auto reportMany = [&](const char* module) {
        for (int i = 0; i < kPerThread; ++i)
            reporter.Report(ProgramException(std::string(module) + ": record", "", 2, module, 1));
    };
    std::thread first(reportMany, "Rescorer");
    std::thread second(reportMany, "Analyzer");
    first.join();
    second.join();

    const std::string rescorer =
        "Thu Mar  7 14:05:09 2024\nERROR: (PROGRAM, Rescorer, 1)\nRescorer: record\n\n";
    const std::string analyzer =
        "Thu Mar  7 14:05:09 2024\nERROR: (PROGRAM, Analyzer, 1)\nAnalyzer: record\n\n";
    const std::string log = ReadWholeFile(DefaultLog());
    size_t at = 0;
    int rescorerRecords = 0;
    int analyzerRecords = 0;
    while (at < log.size()) {
        if (log.compare(at, rescorer.size(), rescorer) == 0) {
            ++rescorerRecords;
            at += rescorer.size();
        } else if (log.compare(at, analyzer.size(), analyzer) == 0) {
            ++analyzerRecords;
            at += analyzer.size();
        } else {
            FAIL() << "a broken record at offset " << at;
        }
    }
    EXPECT_EQ(rescorerRecords, kPerThread);
    EXPECT_EQ(analyzerRecords, kPerThread);
}

TEST(ProcessReporter, IsOneInstanceForTheProcess) {
    const TempHome home;
    EXPECT_EQ(&ExceptionReporter(), &ExceptionReporter());
}

}  // namespace
