// orvella bench as a person runs it: each mailbox measured in a fresh temporary home by a process
// of its own, the figures reported as JSON or a table, and nothing left behind.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>

#include "run_orvella.h"

namespace orvella::testing {
namespace {

namespace fs = std::filesystem;

class BenchCommandTest : public ::testing::Test {
protected:
    // The measurements' temporary homes go below the test's own directory.
    void SetUp() override {
        fs::create_directories(temp_);
        const char* was = std::getenv("TMPDIR");
        if (was) savedTemp_ = was;
        setenv("TMPDIR", temp_.c_str(), 1);
    }
    void TearDown() override {
        if (savedTemp_.empty())
            unsetenv("TMPDIR");
        else
            setenv("TMPDIR", savedTemp_.c_str(), 1);
    }
    bool TempIsEmpty() const { return fs::is_empty(temp_); }
    void WriteMail(const fs::path& file, const std::string& from, const std::string& subject) {
        fs::create_directories(file.parent_path());
        std::ofstream(file) << "From: " << from << "\nTo: someone@example.org\nSubject: " << subject
                            << "\nDate: Tue, 5 Jan 2010 10:00:00 +0000\n\nBody\n";
    }

    TempHome home_;
    fs::path temp_ = home_.path() / "tmp";
    std::string savedTemp_;
};

TEST_F(BenchCommandTest, MeasuresAGeneratedMailboxAndRemovesItsHome) {
    const CommandResult run = Orvella(home_, "bench --messages 300 --seed 3 --no-corpus --json");
    ASSERT_EQ(run.status, 0) << run.output;
    const nlohmann::json result = nlohmann::json::parse(run.output.substr(run.output.rfind("\n{")));
    EXPECT_GE(result["cores"].get<int>(), 1);
    EXPECT_TRUE(result["failed"].empty());
    ASSERT_EQ(result["mailboxes"].size(), 1u) << result.dump(2);
    const nlohmann::json& figures = result["mailboxes"][0];
    EXPECT_EQ(figures["mailbox"], "generated");
    EXPECT_EQ(figures["imported"], 300);
    const int inbox = figures["inbox"];
    EXPECT_GT(inbox, 0);
    EXPECT_LT(inbox, 300);
    // Every Inbox file came again as new mail, and every Inbox sender was looked up.
    EXPECT_EQ(figures["newMessages"], inbox);
    EXPECT_EQ(figures["contactLookups"], inbox);
    EXPECT_GT(figures["contactsFound"].get<int>(), 0);
    EXPECT_LT(figures["contactsFound"].get<int>(), inbox);
    for (const char* rate : {"importPerSecond", "firstProcessingPerSecond", "rescoringPerSecond",
                             "unprocessedQueryMs", "newMessageP50Ms", "contactLookupP50Ms"})
        EXPECT_GT(figures[rate].get<double>(), 0) << rate;
    EXPECT_LE(figures["newMessageP50Ms"], figures["newMessageP99Ms"]);
    EXPECT_LE(figures["contactLookupP50Ms"], figures["contactLookupP99Ms"]);
    EXPECT_GT(figures["peakResidentKb"].get<long>(), 1000);
    EXPECT_TRUE(TempIsEmpty());
}

// --keep leaves each measured home in place, as the runs left it: a home to look around in.
TEST_F(BenchCommandTest, AKeptHomeIsLeftAsTheRunsLeftItAndServesOrvella) {
    const CommandResult run =
        Orvella(home_, "bench --messages 200 --seed 5 --no-corpus --keep --json");
    ASSERT_EQ(run.status, 0) << run.output;
    const std::string said = "generated: kept in ";
    const std::size_t at = run.output.find(said);
    ASSERT_NE(at, std::string::npos) << run.output;
    const fs::path kept =
        run.output.substr(at + said.size(), run.output.find('\n', at) - at - said.size());
    EXPECT_EQ(kept.parent_path(), temp_);
    const nlohmann::json result = nlohmann::json::parse(run.output.substr(run.output.rfind("\n{")));
    const int inbox = result["mailboxes"][0]["inbox"];

    // The Inbox is whole and prioritized: the mail delivered again for the latency figures too.
    const CommandResult listed = Orvella(kept, "inbox --json");
    ASSERT_EQ(listed.status, 0) << listed.output;
    const nlohmann::json messages = nlohmann::json::parse(listed.output);
    EXPECT_EQ(messages.size(), 2u * static_cast<std::size_t>(inbox));
    for (const nlohmann::json& message : messages) EXPECT_FALSE(message["score"].is_null());
    const CommandResult check = Orvella(kept, "store check");
    EXPECT_EQ(check.status, 0) << check.output;
}

TEST_F(BenchCommandTest, AMailboxWhoseOwnerIsUnknownFailsAloneAndTheOthersAreMeasured) {
    const fs::path corpus = home_.path() / "corpus";
    WriteMail(corpus / "ann" / "sent" / "1.", "ann@example.org", "plans");
    WriteMail(corpus / "ann" / "inbox" / "1.", "bob@example.org", "Re: plans");
    WriteMail(corpus / "ann" / "inbox" / "2.", "carl@example.org", "lunch");
    WriteMail(corpus / "nobody" / "inbox" / "1.", "bob@example.org", "hello");

    const CommandResult run =
        Orvella(home_, "bench --messages 100 --corpus " + ShellWord(corpus.string()));
    EXPECT_EQ(run.status, 1) << run.output;
    EXPECT_NE(run.output.find("no sent mail in " + (corpus / "nobody").string()), std::string::npos)
        << run.output;
    EXPECT_NE(run.output.find("corpus/nobody: the measurement failed"), std::string::npos)
        << run.output;
    for (const char* measured : {"\ngenerated ", "\ncorpus/ann "})
        EXPECT_NE(run.output.find(measured), std::string::npos) << measured << run.output;
    EXPECT_TRUE(TempIsEmpty());
}

}  // namespace
}  // namespace orvella::testing
