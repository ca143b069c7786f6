// orvella reg, run as a separate process against a temporary home.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "run_orvella.h"
#include "temp_home.h"
#include "winreg.h"

namespace {

using orvella::testing::CommandResult;
using orvella::testing::Orvella;
using orvella::testing::ShellWord;

TEST(RegCommand, ValuesSetOnTheCommandLineAreWhatTheRegistryApiReads) {
    orvella::testing::TempHome home;
    ASSERT_EQ(Orvella(home, R"(reg set 'HKCU\Software\Orvella\Vintor' RunSetup dword 1)").status,
              0);
    ASSERT_EQ(
        Orvella(home, R"(reg set 'HKCU\Software\Orvella\Vintor' HomeDir sz /opt/orvella)").status,
        0);

    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "Software\\Orvella\\Vintor", 0, KEY_READ, &key),
              ERROR_SUCCESS);
    DWORD type = 0, value = 0, size = sizeof value;
    EXPECT_EQ(
        RegQueryValueExA(key, "RunSetup", nullptr, &type, reinterpret_cast<BYTE*>(&value), &size),
        ERROR_SUCCESS);
    EXPECT_EQ(type, static_cast<DWORD>(REG_DWORD));
    EXPECT_EQ(value, 1u);
    char text[64] = {};
    size = sizeof text;
    EXPECT_EQ(
        RegQueryValueExA(key, "HomeDir", nullptr, &type, reinterpret_cast<BYTE*>(text), &size),
        ERROR_SUCCESS);
    EXPECT_STREQ(text, "/opt/orvella");
    RegCloseKey(key);

    const CommandResult list = Orvella(home, R"(reg list 'HKCU\Software\Orvella\Vintor')");
    EXPECT_EQ(list.status, 0);
    EXPECT_EQ(list.output,
              "HKEY_CURRENT_USER\\Software\\Orvella\\Vintor\n"
              "    RunSetup    REG_DWORD    1\n"
              "    HomeDir    REG_SZ    /opt/orvella\n");
}

TEST(RegCommand, ExportThenImportIntoAFreshHomeRestoresTheKey) {
    orvella::testing::TempHome first;
    ASSERT_EQ(Orvella(first, R"(reg set 'HKCU\Software\Orvella\Vintor\Scoring' Weight dword 0x2a)")
                  .status,
              0);
    const std::string file = (first.path() / "saved.reg").string();
    ASSERT_EQ(Orvella(first, "reg export '" + file + R"(' 'HKCU\Software\Orvella')").status, 0);
    const std::string copy =
        (std::filesystem::temp_directory_path() / "orvella-cli-test.reg").string();
    std::filesystem::copy_file(file, copy, std::filesystem::copy_options::overwrite_existing);

    orvella::testing::TempHome second;
    ASSERT_EQ(Orvella(second, "reg import '" + copy + "'").status, 0);
    std::filesystem::remove(copy);
    const CommandResult get =
        Orvella(second, R"(reg get 'HKCU\Software\Orvella\Vintor\Scoring' Weight --json)");
    EXPECT_EQ(get.status, 0);
    EXPECT_NE(get.output.find("\"data\": 42"), std::string::npos) << get.output;
}

TEST(RegCommand, FailuresExitNonZeroWithAMessageAndChangeNothing) {
    orvella::testing::TempHome home;
    std::ofstream(home.path() / "bad.reg") << "garbage\n";
    struct Case {
        std::string args;
        std::string message;
    };
    const Case cases[] = {
        {R"(reg get 'HKCU\Software\Nope' X)", "does not exist"},
        {"reg import " + ShellWord((home.path() / "bad.reg").string()),
         "bad.reg:1: not a registry file"},
        {R"(reg set 'HKXX\Software' X dword 1)", "HKXX"},
    };
    for (const Case& c : cases) {
        const CommandResult run = Orvella(home, c.args);
        EXPECT_EQ(run.status, 1) << c.args;
        EXPECT_NE(run.output.find(c.message), std::string::npos)
            << c.args << " printed " << run.output;
    }
    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "Software", 0, KEY_READ, &key),
              ERROR_FILE_NOT_FOUND);
}

}  // namespace
