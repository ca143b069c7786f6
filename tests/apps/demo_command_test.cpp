// orvella demo, run as a newcomer runs it: a generated mailbox goes into a fresh home through
// the commands it shows, and the home is left with a fully prioritized Inbox.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "run_orvella.h"

namespace orvella::testing {
namespace {

namespace fs = std::filesystem;

// The JSON object a command printed last (progress lines may come before it).
nlohmann::json LastJson(const std::string& output) {
    return nlohmann::json::parse(output.substr(output.rfind("\n{") + 1));
}

TEST(DemoCommandTest, BuildsAFreshHomeWithAPrioritizedInboxThroughTheCommandsItShows) {
    TempHome home;
    const fs::path demo = home.path();
    CommandResult run =
        Orvella(home, "demo --messages 300 --seed 7 --home " + ShellWord(demo.string()));
    ASSERT_EQ(run.status, 0) << run.output;
    for (const std::string& shown : std::initializer_list<std::string>{
             "$ orvella init --address ", "$ orvella contact add --name ", "$ orvella import ",
             "$ orvella process", "$ orvella inbox --order day --limit 20", "$ orvella stats",
             "$ orvella explain ", "score now: ", "export ORVELLA_HOME=" + demo.string()})
        EXPECT_NE(run.output.find(shown), std::string::npos) << shown << "\n" << run.output;

    // Nothing is left unprocessed in the demo's home.
    CommandResult again = Orvella(home, "process --json");
    ASSERT_EQ(again.status, 0) << again.output;
    EXPECT_EQ(LastJson(again.output)["count"], 0) << again.output;
    CommandResult inbox = Orvella(home, "inbox --json");
    ASSERT_EQ(inbox.status, 0) << inbox.output;
    const auto messages = nlohmann::json::parse(inbox.output);
    EXPECT_GT(messages.size(), 200u);
    for (const auto& message : messages) EXPECT_FALSE(message["score"].is_null());
}

TEST(DemoCommandTest, ContactsWhoseNamesHoldQuotesAreAddedAsGenerated) {
    TempHome home;
    // Seed 23 makes up a contact "Łukasz O'Brien", whose name must reach `contact add` whole.
    CommandResult run =
        Orvella(home, "demo --messages 100 --seed 23 --home " + ShellWord(home.path().string()));
    ASSERT_EQ(run.status, 0) << run.output;
    CommandResult contacts = Orvella(home, "contact list");
    ASSERT_EQ(contacts.status, 0) << contacts.output;
    EXPECT_NE(contacts.output.find("Łukasz O'Brien "), std::string::npos) << contacts.output;
}

// What follows `lead` on the output's first line holding it; empty when none does.
std::string AfterLead(const std::string& output, const std::string& lead) {
    const std::size_t at = output.find(lead);
    if (at == std::string::npos) return {};
    const std::size_t from = at + lead.size();
    return output.substr(from, output.find('\n', from) - from);
}

// Every command the demo shows can be pasted into a shell and gives orvella the words the demo
// ran, whatever the home's path holds; so does the removal it suggests.
TEST(DemoCommandTest, ShownCommandsGiveAShellTheWordsTheDemoRan) {
    TempHome home;
    const fs::path demo = home.path() / "Ann's mail, $HOME `id` \"x\" \\";
    CommandResult run =
        Orvella(home, "demo --messages 100 --seed 23 --home " + ShellWord(demo.string()));
    ASSERT_EQ(run.status, 0) << run.output;
    struct Case {
        const char* lead;                // the shown line up to the words read back
        std::vector<std::string> words;  // what a shell makes of the rest of the line
    };
    const Case cases[] = {
        {"$ orvella import ", {(demo / "generated-mail").string(), "--tree"}},
        {"$ orvella inbox ", {"--order", "day", "--limit", "20"}},
        {"export ORVELLA_HOME=", {demo.string()}},
        {"rm -rf ", {demo.string()}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.lead);
        const std::string shown = AfterLead(run.output, c.lead);
        ASSERT_FALSE(shown.empty()) << run.output;
        EXPECT_EQ(ShellWords(shown), c.words);
    }
}

TEST(DemoCommandTest, RefusesAHomeThatIsNotEmptyAndLeavesItAlone) {
    TempHome home;
    const fs::path used = home.path() / "used";
    fs::create_directories(used);
    std::ofstream(used / "keep.txt") << "mine";
    CommandResult run = Orvella(home, "demo --messages 100 --home " + ShellWord(used.string()));
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.output.find("is not empty"), std::string::npos) << run.output;
    EXPECT_EQ(std::distance(fs::directory_iterator(used), fs::directory_iterator()), 1);
}

}  // namespace
}  // namespace orvella::testing
