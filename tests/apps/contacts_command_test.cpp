// orvella contact add|set|list|find|search, run as a user runs them on a fresh installation.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "run_orvella.h"

namespace orvella::testing {
namespace {

nlohmann::json ListedContacts(const TempHome& home) {
    CommandResult list = Orvella(home, "contact list --json");
    EXPECT_EQ(list.status, 0) << list.output;
    return nlohmann::json::parse(list.output.substr(list.output.find("[")), nullptr, false);
}

TEST(ContactsCommandTest, ContactsAreAddedChangedFoundAndListed) {
    TempHome home;
    ASSERT_EQ(Orvella(home, "init").status, 0);
    struct Step {
        const char* args;
        int status;
        const char* output;
    } steps[] = {
        {"contact add --name 'Pat Doe' --email pat@example.org --email pat@home.example "
         "--priority High",
         0, "Added Pat Doe"},
        {"contact add --name 'Kim Lee' --email kim@example.org --folder 'Orvella Contacts'", 0,
         "Added Kim Lee"},
        {"contact add --name 'Bad' --email bad@example.org --priority Urgent", 1,
         "unknown priority \"Urgent\""},
        {"contact set kim@example.org --priority 'very high' --reply-counter 3", 0,
         "Kim Lee: Very High"},
        {"contact set nobody@example.org --priority Low", 1,
         "no contact has the address nobody@example.org"},
        {"contact find PAT@HOME.example", 0, "Pat Doe"},
        {"contact find nobody@example.org", 0, "No contact has the address nobody@example.org"},
        {"contact search 'kim.lee@example.org'", 0, "Kim Lee"},
        {"contact search 'nobody'", 0, "No contact matches nobody"},
    };
    for (const Step& step : steps) {
        CommandResult run = Orvella(home, step.args);
        EXPECT_EQ(run.status, step.status) << step.args << "\n" << run.output;
        EXPECT_NE(run.output.find(step.output), std::string::npos) << step.args << "\n"
                                                                   << run.output;
    }

    nlohmann::json listed = ListedContacts(home);
    ASSERT_EQ(listed.size(), 2u) << listed.dump();
    EXPECT_EQ(listed[0]["folder"], "Contacts");
    ASSERT_EQ(listed[0]["contacts"].size(), 1u);
    EXPECT_EQ(listed[0]["contacts"][0]["name"], "Pat Doe");
    EXPECT_EQ(listed[0]["contacts"][0]["emails"],
              nlohmann::json({"pat@example.org", "pat@home.example"}));
    EXPECT_EQ(listed[0]["contacts"][0]["priority"], "High");
    EXPECT_EQ(listed[0]["contacts"][0]["mayOverwrite"], false);
    EXPECT_EQ(listed[1]["folder"], "Orvella Contacts");
    ASSERT_EQ(listed[1]["contacts"].size(), 1u);
    EXPECT_EQ(listed[1]["contacts"][0]["name"], "Kim Lee");
    EXPECT_EQ(listed[1]["contacts"][0]["priority"], "Very High");
    EXPECT_EQ(listed[1]["contacts"][0]["replyCounter"], 3);
}

TEST(ContactsCommandTest, FindAsksTheDirectoryOfAnExchangeLikeProfile) {
    TempHome home;
    ASSERT_EQ(Orvella(home, "init --exchange --address me@corp.example").status, 0);
    CommandResult added = Orvella(home,
                                  "directory add --name 'Robin Park' --address robin@corp.example "
                                  "--proxy robin.park@corp.example");
    ASSERT_EQ(added.status, 0) << added.output;
    CommandResult found = Orvella(home, "contact find robin.park@corp.example");
    ASSERT_EQ(found.status, 0) << found.output;
    EXPECT_NE(found.output.find("Directory: known"), std::string::npos) << found.output;
    EXPECT_NE(found.output.find("alias robin@corp.example"), std::string::npos) << found.output;
    CommandResult unknown = Orvella(home, "contact find stranger@corp.example");
    EXPECT_NE(unknown.output.find("Directory: unknown"), std::string::npos) << unknown.output;
}

}  // namespace
}  // namespace orvella::testing
