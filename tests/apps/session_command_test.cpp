// orvella init and orvella session, run as a user runs them on a fresh home.
#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "run_orvella.h"

namespace orvella::testing {
namespace {

std::string ReadFile(const std::filesystem::path& path) {
    std::ifstream file(path);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

TEST(SessionCommandTest, InitThenSessionOnAFreshHome) {
    TempHome home;
    CommandResult init = Orvella(home, "init --address Pat@Example.org");
    ASSERT_EQ(init.status, 0) << init.output;
    EXPECT_NE(init.output.find("Created profile \"Outlook\""), std::string::npos);
    EXPECT_TRUE(std::filesystem::is_directory(home.path() / "Orvella" / "Logs"));

    // A second run changes nothing.
    CommandResult again = Orvella(home, "init");
    ASSERT_EQ(again.status, 0) << again.output;
    EXPECT_NE(again.output.find("Profile \"Outlook\" exists"), std::string::npos);
    EXPECT_EQ(again.output.find("wrote"), std::string::npos) << again.output;

    CommandResult session = Orvella(home, "session --json");
    ASSERT_EQ(session.status, 0) << session.output;
    // The session's own report of the contact names a fresh store lacks goes to standard error.
    auto json = nlohmann::json::parse(session.output.substr(session.output.find("{\n")));
    EXPECT_EQ(json["outlookVersion"], "11");
    EXPECT_EQ(json["installDirectory"], (home.path() / "Orvella").string());
    EXPECT_EQ(json["mailStore"], "Personal Folders");
    EXPECT_TRUE(json["sameStore"].get<bool>());
    EXPECT_EQ(json["topicFolderLocation"], "/Inbox/Orvella Topics");
    EXPECT_FALSE(json["offline"].get<bool>());
    EXPECT_EQ(json["itemsPropTags"].size(), 21u);
    EXPECT_EQ(json["contactPropTags"].size(), 17u);
    EXPECT_EQ(json["itemsPropTags"]["OV-MsgScore"]["type"], "PT_LONG");
    EXPECT_EQ(json["itemsPropTags"]["OV-ThreadLastActivity"]["type"], "PT_SYSTIME");
    EXPECT_EQ(json["appItemsPropTags"], json["itemsPropTags"]);
}

TEST(SessionCommandTest, BrokenInstallationFailsWithTheSessionsMessageAndLogsIt) {
    struct Case {
        const char* breakage;  // orvella arguments that damage the installation
        const char* message;
        const char* header;
    } cases[] = {
        {"reg set 'HKCU\\Software\\Orvella\\Vintor' Datastore binary 00112233",
         "OpenMsgStore failed", "ERROR: (MAPI, COutlookContext, "},
        {"reg set 'HKCR\\Outlook.Application\\CurVer' '' sz Outlook",
         "Could not find Outlook version", "ERROR: (PROGRAM, COutlookContext, "},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.message);
        TempHome home;
        ASSERT_EQ(Orvella(home, "init").status, 0);
        CommandResult broken = Orvella(home, c.breakage);
        ASSERT_EQ(broken.status, 0) << broken.output;
        CommandResult session = Orvella(home, "session");
        EXPECT_EQ(session.status, 1);
        EXPECT_NE(session.output.find(std::string("orvella: ") + c.message), std::string::npos)
            << session.output;
        std::string log = ReadFile(home.path() / "Orvella" / "Logs" / "Orvella.log");
        EXPECT_NE(log.find(c.header), std::string::npos) << log;
        EXPECT_NE(log.find(c.message), std::string::npos) << log;
    }
}

TEST(SessionCommandTest, SessionWithoutAProfileSaysHowToMakeOne) {
    TempHome home;
    CommandResult session = Orvella(home, "session");
    EXPECT_EQ(session.status, 1);
    EXPECT_NE(session.output.find("`orvella init` installs Orvella"), std::string::npos)
        << session.output;
}

}  // namespace
}  // namespace orvella::testing
