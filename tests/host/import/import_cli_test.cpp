// orvella import and orvella deliver run as a person runs them: JSON counts, skipped files,
// exit status, and what `orvella ls` then shows.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "import_fixture.h"
#include "run_orvella.h"

namespace {

using nlohmann::json;
using orvella::testing::CommandResult;
using orvella::testing::Orvella;
using orvella::testing::ShellWord;

std::string Message(const std::string& subject, const std::string& id) {
    return "From: Ann Lee <ann@example.org>\nTo: bob@example.org\nSubject: " + subject +
           "\nMessage-ID: <" + id + ">\nDate: Tue, 5 Jan 2010 10:00:00 +0000\n\nHello\n";
}

class ImportCli : public orvella::testing::ImportTest {};

TEST_F(ImportCli, JsonReportsCountsPerFolderAndSkippedFiles) {
    WriteFile("box/inbox/1.", Message("hello", "1@example.org"));
    WriteFile("box/inbox/2.", Message("again", "2@example.org"));
    WriteFile("box/sent/1.", Message("sent one", "3@example.org"));
    const auto junk = WriteFile("box/sent/2.", "just some notes\n");
    const CommandResult run =
        Orvella(home_, "import --tree --json " + ShellWord((MailDir() / "box").string()));
    EXPECT_EQ(run.status, 1) << run.output;  // a file was skipped
    const json expected = {
        {"imported", 3},
        {"folders",
         {{{"folder", "Inbox"}, {"imported", 2}, {"duplicates", 0}},
          {{"folder", "Sent Items"}, {"imported", 1}, {"duplicates", 0}}}},
        {"skipped", {{{"file", junk.string()}, {"reason", "not a mail message"}}}}};
    EXPECT_EQ(json::parse(run.output, nullptr, false), expected) << run.output;

    const CommandResult again = Orvella(
        home_, "import --tree --dedupe --json " + ShellWord((MailDir() / "box/inbox").string()));
    EXPECT_EQ(again.status, 0) << again.output;
    const json deduped = json::parse(again.output, nullptr, false);
    EXPECT_EQ(deduped["folders"][0]["duplicates"], 2) << again.output;
    EXPECT_EQ(deduped["imported"], 0);

    const json listed = json::parse(Orvella(home_, "ls Inbox --json").output, nullptr, false);
    ASSERT_EQ(listed.size(), 2u);
    EXPECT_EQ(listed[0]["sender_name"], "Ann Lee");
    EXPECT_EQ(listed[0]["class"], "IPM.Note");
}

TEST_F(ImportCli, TextOutputNamesSkippedFilesAndFoldersAreCreated) {
    const auto file = WriteFile("one.eml", Message("filed", "9@example.org"));
    const auto missing = MailDir() / "no-such.eml";
    const CommandResult run =
        Orvella(home_, "import --folder Projects/Alpha " + ShellWord(file.string()) + " " +
                           ShellWord(missing.string()));
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.output.find("skipped " + missing.string() + ": no such file or directory"),
              std::string::npos)
        << run.output;
    EXPECT_NE(run.output.find("1 messages imported, 1 files skipped"), std::string::npos)
        << run.output;
    EXPECT_EQ(CountIn("Projects/Alpha"), 1u);
}

TEST_F(ImportCli, DeliverPutsUnreadMailInTheInbox) {
    const auto file = WriteFile("new.eml", Message("fresh", "n@example.org"));
    const CommandResult run = Orvella(home_, "deliver --json " + ShellWord(file.string()));
    EXPECT_EQ(run.status, 0) << run.output;
    auto messages = Messages(inbox_.Get());
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(orvella::testing::PropText(messages[0].Get(), PR_MESSAGE_FLAGS), "0");
    EXPECT_EQ(orvella::testing::PropText(messages[0].Get(), PR_SUBJECT_A), "fresh");
}

TEST_F(ImportCli, ANonExistentProfileIsAnError) {
    const auto file = WriteFile("x.eml", Message("x", "x@example.org"));
    const CommandResult run = Orvella(home_, "--profile Nobody import " + ShellWord(file.string()));
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.output.find("there is no profile \"Nobody\""), std::string::npos) << run.output;
}

}  // namespace
