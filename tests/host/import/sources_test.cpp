// Where mail comes from: Maildir, mbox, directories of message files and .eml files; the
// folders --tree gives them; duplicates; files that are not mail; the source kept whole.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "import_fixture.h"
#include "mailbox_owner.h"
#include "mapiutil.h"
#include "store_writer.h"

namespace {

using orvella::platform::mapi::ComPtr;
using orvella::testing::PropText;
using orvella::testing::StreamedValue;
namespace mail = orvella::host::mail;

std::string Message(const std::string& subject, const std::string& id = "") {
    return "From: ann@example.org\nTo: bob@example.org\nSubject: " + subject +
           "\nDate: Tue, 5 Jan 2010 10:00:00 +0000\n" +
           (id.empty() ? "" : "Message-ID: <" + id + ">\n") + "\nBody of " + subject + "\n";
}

std::vector<std::string> Subjects(const std::vector<ComPtr<IMessage>>& messages) {
    std::vector<std::string> subjects;
    for (const auto& message : messages) subjects.push_back(PropText(message.Get(), PR_SUBJECT_A));
    return subjects;
}

class Sources : public orvella::testing::ImportTest {};

TEST_F(Sources, DetectionTellsEachLayoutApart) {
    WriteFile("maildir/cur/1:2,S", Message("a"));
    WriteFile("maildir-new-only/new/1", Message("a"));
    WriteFile("plain/1.", Message("a"));
    WriteFile("box.mbox", "From ann@example.org Tue Jan  5 10:00:00 2010\n" + Message("a"));
    WriteFile("one.eml", Message("a"));
    struct Case {
        const char* path;
        mail::SourceKind kind;
    };
    const Case cases[] = {
        {"maildir", mail::SourceKind::Maildir}, {"maildir-new-only", mail::SourceKind::Maildir},
        {"plain", mail::SourceKind::Directory}, {"box.mbox", mail::SourceKind::Mbox},
        {"one.eml", mail::SourceKind::Message}, {"nothing-here", mail::SourceKind::Missing}};
    for (const Case& test : cases) {
        EXPECT_EQ(mail::DetectSource(MailDir() / test.path), test.kind) << test.path;
    }
}

TEST_F(Sources, MaildirSeenFlagMarksMessagesRead) {
    WriteFile("md/cur/1000.1.host:2,S", Message("seen"));
    WriteFile("md/cur/1000.2.host:2,RS", Message("replied and seen"));
    WriteFile("md/cur/1000.3.host:2,F", Message("flagged only"));
    WriteFile("md/new/1000.4.host", Message("new"));
    WriteFile("md/tmp/1000.5.host", Message("being written"));
    const mail::ImportReport report = Import({MailDir() / "md"});
    EXPECT_TRUE(report.skipped.empty());
    auto messages = Messages("Inbox");
    ASSERT_EQ(messages.size(), 4u);
    EXPECT_EQ(Subjects(messages),
              (std::vector<std::string>{"seen", "replied and seen", "flagged only", "new"}));
    const char* flags[] = {"1", "1", "0", "0"};
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(PropText(messages[i].Get(), PR_MESSAGE_FLAGS), flags[i]) << i;
    }
}

TEST_F(Sources, MboxSplitsAtFromLinesAndUnquotes) {
    const std::string box =
        "From ann@example.org Tue Jan  5 10:00:00 2010\n"
        "From: ann@example.org\nSubject: first\nStatus: RO\n\n"
        ">From the start\n>>From quoted once\nFrom inside a paragraph\n\n"
        "From bob@example.org Tue Jan  5 11:00:00 2010\n"
        "this chunk is no mail at all\n\n"
        "From carl@example.org Tue Jan  5 12:00:00 2010\n"
        "From: carl@example.org\nSubject: third\n\nlast line\n";
    const auto file = WriteFile("box.mbox", box);
    const mail::ImportReport report = Import({file});
    ASSERT_EQ(report.skipped.size(), 1u);
    EXPECT_EQ(report.skipped[0].path, file.string() + "#2");
    EXPECT_EQ(report.skipped[0].reason, "not a mail message");
    auto messages = Messages("Inbox");
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_EQ(Subjects(messages), (std::vector<std::string>{"first", "third"}));
    EXPECT_EQ(PropText(messages[0].Get(), PR_BODY_A),
              "From the start\n>From quoted once\nFrom inside a paragraph\n");
    EXPECT_EQ(PropText(messages[0].Get(), PR_MESSAGE_FLAGS), "1");
    EXPECT_EQ(PropText(messages[1].Get(), PR_BODY_A), "last line\n");
    EXPECT_EQ(PropText(messages[1].Get(), PR_MESSAGE_FLAGS), "0");
}

TEST_F(Sources, DirectoryFilesComeInNumberOrderAndNonMailIsSkippedByName) {
    WriteFile("inbox/10.", Message("ten"));
    WriteFile("inbox/2.", Message("two"));
    WriteFile("inbox/1.", Message("one"));
    const auto notes = WriteFile("inbox/notes.txt", "Shopping list\nmilk\n");
    const auto empty = WriteFile("inbox/empty.", "");
    const auto binary = WriteFile("inbox/image.png", std::string("\x89PNG\r\n\x1a\n\0\0", 10));
    const mail::ImportReport report = Import({MailDir() / "inbox"});
    EXPECT_EQ(Subjects(Messages("Inbox")), (std::vector<std::string>{"one", "two", "ten"}));
    ASSERT_EQ(report.skipped.size(), 3u);
    EXPECT_EQ(report.skipped[0].path, empty.string());
    EXPECT_EQ(report.skipped[0].reason, "empty file");
    EXPECT_EQ(report.skipped[1].path, binary.string());
    EXPECT_EQ(report.skipped[1].reason, "not a mail message");
    EXPECT_EQ(report.skipped[2].path, notes.string());
    EXPECT_EQ(report.skipped[2].reason, "not a mail message");
    ASSERT_EQ(report.folders.size(), 1u);
    EXPECT_EQ(report.folders[0].folder, "Inbox");
    EXPECT_EQ(report.folders[0].imported, 3u);
}

TEST_F(Sources, TreeMapsDirectoriesOntoFolders) {
    struct Case {
        const char* file;
        const char* folder;
    };
    const Case cases[] = {
        {"box/inbox/1.", "Inbox"},
        {"box/notes_inbox/1.", "Inbox"},
        {"box/sent/1.", "Sent Items"},
        {"box/_sent_mail/1.", "Sent Items"},
        {"box/sent_items/1.", "Sent Items"},
        {"box/deleted_items/1.", "Deleted Items"},
        {"box/projects/1.", "projects"},
        {"box/projects/alpha/1.", "projects/alpha"},
        {"box/projects/alpha/2.", "projects/alpha"},
        {"box/projects/inbox/1.", "projects/inbox"},
        {"box/lists/cur/1:2,S", "lists"},
        {"box/lists/new/2", "lists"},
    };
    for (const Case& test : cases) WriteFile(test.file, Message(test.file));
    mail::ImportOptions options;
    options.tree = true;
    const mail::ImportReport report = Import({MailDir() / "box"}, options);
    EXPECT_TRUE(report.skipped.empty());
    for (const Case& test : cases) {
        bool found = false;
        for (const auto& message : Messages(test.folder)) {
            found = found || PropText(message.Get(), PR_SUBJECT_A) == test.file;
        }
        EXPECT_TRUE(found) << test.file << " not in " << test.folder;
    }
    const std::pair<const char*, ULONG> counts[] = {
        {"Inbox", 2},          {"Sent Items", 3},     {"Deleted Items", 1}, {"projects", 1},
        {"projects/alpha", 2}, {"projects/inbox", 1}, {"lists", 2}};
    for (const auto& [folder, count] : counts) EXPECT_EQ(CountIn(folder), count) << folder;
    std::vector<std::pair<std::string, size_t>> reported;
    for (const auto& count : report.folders) reported.emplace_back(count.folder, count.imported);
    // Folders in the order the import reached them: directories by name, "_" first.
    EXPECT_EQ(reported, (std::vector<std::pair<std::string, size_t>>{{"Sent Items", 3},
                                                                     {"Deleted Items", 1},
                                                                     {"Inbox", 2},
                                                                     {"lists", 2},
                                                                     {"projects", 1},
                                                                     {"projects/alpha", 2},
                                                                     {"projects/inbox", 1}}));
}

// A directory named like a folder of other items (contacts, calendar) is mail all the same: it
// gets a mail folder beside that folder, which stays as it was.
TEST_F(Sources, TreeKeepsMailOutOfFoldersOfOtherItems) {
    WriteFile("box/contacts/1.", Message("box/contacts/1."));
    WriteFile("box/Calendar/1.", Message("box/Calendar/1."));
    mail::ImportOptions options;
    options.tree = true;
    const mail::ImportReport report = Import({MailDir() / "box"}, options);
    EXPECT_TRUE(report.skipped.empty());
    EXPECT_EQ(CountIn("Contacts"), 0u);
    EXPECT_EQ(CountIn("Calendar"), 0u);
    EXPECT_EQ(CountIn("contacts (mail)"), 1u);
    EXPECT_EQ(CountIn("Calendar (mail)"), 1u);
}

TEST_F(Sources, DedupeSkipsMessageIdsTheFolderHolds) {
    const auto first = WriteFile("a.eml", Message("first", "same@example.org"));
    const auto again = WriteFile("b.eml", Message("first again", "same@example.org"));
    const auto other = WriteFile("c.eml", Message("other", "other@example.org"));
    const auto no_id = WriteFile("d.eml", Message("no id"));
    mail::ImportOptions dedupe;
    dedupe.dedupe = true;
    Import({first});
    const mail::ImportReport report = Import({again, other, no_id, no_id}, dedupe);
    ASSERT_EQ(report.folders.size(), 1u);
    EXPECT_EQ(report.folders[0].imported, 3u);
    EXPECT_EQ(report.folders[0].duplicates, 1u);
    EXPECT_EQ(Subjects(Messages("Inbox")),
              (std::vector<std::string>{"first", "other", "no id", "no id"}));
    // Another folder does not count: the same message goes in.
    dedupe.folder = {"Archive"};
    EXPECT_EQ(Import({first}, dedupe).folders[0].imported, 1u);
    // Without --dedupe the duplicate goes in too.
    EXPECT_EQ(Import({again}).folders[0].imported, 1u);
    EXPECT_EQ(CountIn("Inbox"), 5u);
}

TEST_F(Sources, TheSourceIsKeptByteForByte) {
    std::string small = "From: ann@example.org\r\nSubject: small\r\n\r\nline\r\nno final newline";
    std::string large =
        "From: ann@example.org\nSubject: large\nContent-Type: text/plain; "
        "charset=iso-8859-1\n\n";
    for (int i = 0; i < 3000; ++i) {
        large += "Line " + std::to_string(i) + " with bytes \xE9\xFF\x01 and spaces   \r\n";
    }
    Import({WriteFile("small.eml", small), WriteFile("large.eml", large)});
    auto messages = Messages("Inbox");
    ASSERT_EQ(messages.size(), 2u);
    const ULONG tag = mail::SourcePropertyTag(store_.Get());
    EXPECT_EQ(PropText(messages[0].Get(), tag), std::to_string(small.size()) + " bytes");
    EXPECT_EQ(StreamedValue(messages[0].Get(), tag), small);
    ASSERT_GT(large.size(), 100'000u);
    EXPECT_EQ(PropText(messages[1].Get(), tag), "(none)");  // too large for GetProps
    EXPECT_EQ(StreamedValue(messages[1].Get(), tag), large);
}

TEST_F(Sources, NewMailIsUnreadInTheReceiveFolder) {
    WriteFile("md/cur/1:2,S", Message("seen elsewhere"));
    mail::ImportOptions deliver;
    deliver.as_new_mail = true;
    deliver.folder = {"Elsewhere"};
    const mail::ImportReport report = Import({MailDir() / "md"}, deliver);
    ASSERT_EQ(report.folders.size(), 1u);
    EXPECT_EQ(report.folders[0].folder, "Inbox");
    auto messages = Messages(inbox_.Get());
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(PropText(messages[0].Get(), PR_MESSAGE_FLAGS), "0");
}

TEST_F(Sources, TheOwnerIsTheCommonestSenderOfTheSentFolders) {
    const auto sent = [](const std::string& from) {
        return "From: " + from + "\nTo: x@example.org\nSubject: s\n\nbody\n";
    };
    // Sent folders of three layouts; an address in any case and with a display name or folded.
    WriteFile("box/sent/1.", sent("Ann.Owner@Example.org"));
    WriteFile("box/_sent_mail/1.", sent("\"Owner, Ann\" <ann.owner@example.org>"));
    WriteFile("box/Sent Items/1.", "From:\n Ann <ann.owner@example.org>\nTo: x@y\n\nbody\n");
    WriteFile("box/sent/2.", sent("helper@example.org"));
    WriteFile("box/sent/3.", sent("helper@example.org"));
    WriteFile("box/sent/4.", "To: x@example.org\n\nno sender\n");
    // The Inbox holds more mail from others than the owner ever sent.
    for (int i = 0; i < 5; ++i)
        WriteFile("box/inbox/" + std::to_string(i), sent("boss@example.org"));
    EXPECT_EQ(mail::GuessOwnerAddress(MailDir() / "box"), "ann.owner@example.org");

    WriteFile("unsent/inbox/1", sent("boss@example.org"));
    EXPECT_EQ(mail::GuessOwnerAddress(MailDir() / "unsent"), "");
    EXPECT_EQ(mail::GuessOwnerAddress(MailDir() / "missing"), "");
}

}  // namespace
