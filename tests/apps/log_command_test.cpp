// orvella log, run as a user runs it: the log's path and its latest records, with and without
// an installation folder in the registry, and with no log yet.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "run_orvella.h"
#include "temp_home.h"

namespace {

using orvella::testing::CommandResult;
using orvella::testing::Orvella;
using orvella::testing::TempHome;

// Records as the exception reporter writes them; in the file each is followed by an empty line.
constexpr const char* kWarning =
    "Sun Nov 23 09:00:01 2025\n"
    "WARNING: (Program, Settings, 40)\n"
    "The folder list could not be read.\n";
constexpr const char* kError =
    "Sun Nov 23 09:05:12 2025\n"
    "ERROR: (MAPI, MsgProcessor, 175)\n"
    "The message could not be saved.\n"
    "MAPIError: (Store: busy LowError=0 Context=0)\n"
    "HRESULT = 80040109\n";
constexpr const char* kSevere =
    "Sun Nov 23 09:07:33 2025\n"
    "SEVERE_ERROR: (Outlook, file not specified, line # not specified)\n"
    "HRESULT = 80004005\n";

void WriteFile(const std::filesystem::path& path, const std::string& text) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path) << text;
}

TEST(LogCommand, ShowsTheLatestRecordsOfTheLogInTheInstallationFolder) {
    TempHome home;
    const std::string install = (home.path() / "install").string();
    ASSERT_EQ(
        Orvella(home, "reg set 'HKCU\\Software\\Orvella\\Vintor' HomeDir sz '" + install + "'")
            .status,
        0);
    WriteFile(home.path() / "install" / "Logs" / "Orvella.log",
              std::string(kWarning) + "\n" + kError + "\n" + kSevere + "\n");

    const CommandResult latest = Orvella(home, "log --lines 2");
    EXPECT_EQ(latest.status, 0) << latest.output;
    EXPECT_EQ(latest.output, "Log file: " + install + "/Logs/Orvella.log\n2 of 3 records:\n\n" +
                                 kError + "\n" + kSevere);

    const CommandResult all = Orvella(home, "log");
    EXPECT_EQ(all.status, 0) << all.output;
    EXPECT_EQ(all.output, "Log file: " + install + "/Logs/Orvella.log\n3 of 3 records:\n\n" +
                              kWarning + "\n" + kError + "\n" + kSevere);
}

TEST(LogCommand, WithoutAnInstallationFolderTheLogIsInTheOrvellaHome) {
    TempHome home;
    WriteFile(home.path() / "Orvella.log",
              "Sun Nov 23 10:00:00 2025\nINFO: (Program, Setup, 12)\nSetup finished.\n\n");

    const CommandResult run = Orvella(home, "log --lines 5");
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_EQ(run.output, "Log file: " + (home.path() / "Orvella.log").string() +
                              "\n"
                              "1 of 1 records:\n"
                              "\n"
                              "Sun Nov 23 10:00:00 2025\n"
                              "INFO: (Program, Setup, 12)\n"
                              "Setup finished.\n");
}

TEST(LogCommand, AMissingLogIsReportedAndIsNoFailure) {
    TempHome home;
    const CommandResult run = Orvella(home, "log");
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_EQ(run.output, "Log file: " + (home.path() / "Orvella.log").string() +
                              "\n"
                              "There is no log file: nothing has been logged.\n");
}

TEST(GlobalOptions, YesAndNoCannotBeGivenTogether) {
    TempHome home;
    const CommandResult run = Orvella(home, "--yes --no log");
    EXPECT_NE(run.status, 0);
    EXPECT_EQ(run.output, "--yes excludes --no\nRun with --help for more information.\n");
}

}  // namespace
