// The generated files as files: the same plan gives the same bytes, sizes out of range are
// refused, the counts match the files, and the header blocks are well-formed mail headers.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>

#include "mailbox_generator.h"
#include "temp_home.h"
#include "thread_name.h"

namespace {

namespace fs = std::filesystem;
namespace gen = orvella::host::generator;
using orvella::testing::TempHome;

std::string ReadBytes(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

// Every file below `root`, by its path relative to `root`.
std::map<std::string, std::string> ReadTree(const fs::path& root) {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        if (entry.is_regular_file()) {
            files[fs::relative(entry.path(), root).string()] = ReadBytes(entry.path());
        }
    }
    return files;
}

std::size_t FilesIn(const fs::path& directory) {
    std::size_t count = 0;
    for (const auto& entry : fs::directory_iterator(directory)) count += entry.is_regular_file();
    return count;
}

gen::GeneratedMailbox Generate(std::size_t messages, std::uint32_t seed, const fs::path& root) {
    gen::MailboxPlan plan;
    plan.messages = messages;
    plan.seed = seed;
    return gen::GenerateMailbox(plan, root);
}

// A contact as one line, to compare whole results.
std::string ContactText(const gen::GeneratedContact& contact) {
    std::string text = contact.name + "|" + std::to_string(contact.priority) + "|" + contact.folder;
    for (const std::string& address : contact.addresses) text += "|" + address;
    return text;
}

std::vector<std::string> ContactTexts(const gen::GeneratedMailbox& mailbox) {
    std::vector<std::string> texts;
    for (const auto& contact : mailbox.contacts) texts.push_back(ContactText(contact));
    return texts;
}

// The header block of a message file: the lines before the first empty one.
std::vector<std::string> HeaderLines(const std::string& bytes) {
    std::vector<std::string> lines;
    std::istringstream in(bytes);
    std::string line;
    while (std::getline(in, line) && !line.empty()) lines.push_back(line);
    return lines;
}

// The unfolded values of every field named `name` (case as written).
std::vector<std::string> FieldValues(const std::vector<std::string>& lines,
                                     const std::string& name) {
    std::vector<std::string> values;
    bool in_field = false;
    for (const std::string& line : lines) {
        if (line[0] == ' ' || line[0] == '\t') {
            if (in_field) values.back() += line;
            continue;
        }
        in_field = line.rfind(name + ":", 0) == 0;
        if (in_field) values.push_back(line.substr(name.size() + 1));
    }
    return values;
}

TEST(GeneratedFiles, TheSamePlanGivesTheSameFilesAndResult) {
    TempHome home;
    const gen::GeneratedMailbox first = Generate(300, 7, home.path() / "first");
    const gen::GeneratedMailbox second = Generate(300, 7, home.path() / "second");
    const auto first_files = ReadTree(home.path() / "first");
    EXPECT_EQ(first_files.size(), 300u);
    EXPECT_TRUE(first_files == ReadTree(home.path() / "second"));
    EXPECT_EQ(first.own_addresses, second.own_addresses);
    EXPECT_EQ(ContactTexts(first), ContactTexts(second));
    EXPECT_EQ(first.inbox_messages, second.inbox_messages);
    EXPECT_EQ(first.sent_messages, second.sent_messages);
}

TEST(GeneratedFiles, AnotherSeedGivesOtherMail) {
    TempHome home;
    const gen::GeneratedMailbox seven = Generate(100, 7, home.path() / "seven");
    const gen::GeneratedMailbox eight = Generate(100, 8, home.path() / "eight");
    EXPECT_NE(seven.own_addresses, eight.own_addresses);
    EXPECT_NE(ContactTexts(seven), ContactTexts(eight));
    const auto seven_files = ReadTree(home.path() / "seven");
    const auto eight_files = ReadTree(home.path() / "eight");
    std::size_t compared = 0;
    for (const auto& [name, bytes] : seven_files) {
        const auto other = eight_files.find(name);
        if (other == eight_files.end()) continue;
        EXPECT_NE(bytes, other->second) << name;
        ++compared;
    }
    EXPECT_GE(compared, 90u);
}

TEST(GeneratedFiles, SizesOutsideOneHundredToOneMillionAreRefused) {
    TempHome home;
    for (const std::size_t messages : {std::size_t{0}, std::size_t{99}, std::size_t{1'000'001}}) {
        const fs::path root = home.path() / std::to_string(messages);
        EXPECT_THROW(Generate(messages, 1, root), std::invalid_argument) << messages;
        EXPECT_FALSE(fs::exists(root)) << messages;
    }
}

// The add-in threads mail by subject: a subject shared by many unrelated conversations would make
// a thread of hundreds that real mail does not have. Subjects are compared as the add-in's thread
// names are, without their reply and forward prefixes.
TEST(GeneratedFiles, FewConversationsShareASubject) {
    TempHome home;
    const gen::GeneratedMailbox mailbox = Generate(10000, 5, home.path());
    const CThreadNamePattern threads;
    std::map<std::string, std::size_t> by_subject;
    for (const auto& [name, bytes] : ReadTree(home.path() / "inbox")) {
        const std::vector<std::string> subject = FieldValues(HeaderLines(bytes), "Subject");
        ++by_subject[threads.ThreadName(subject.empty() ? nullptr : subject.front().c_str())];
    }
    std::size_t largest = 0, in_large = 0;
    for (const auto& [subject, count] : by_subject) {
        if (subject.empty()) continue;  // blank subjects are a style of their own
        largest = std::max(largest, count);
        if (count >= 50) in_large += count;
    }
    EXPECT_LE(largest * 100, mailbox.inbox_messages) << "one subject holds over 1% of the Inbox";
    EXPECT_LE(in_large * 100, 5 * mailbox.inbox_messages)
        << "subjects of 50 messages or more hold over 5% of the Inbox";
}

TEST(GeneratedFiles, CountsMatchTheFilesAndTheInboxHoldsAboutThreeQuarters) {
    struct Case {
        std::size_t messages;
        std::uint32_t seed;
    };
    const Case cases[] = {{100, 3}, {2000, 4}};
    TempHome home;
    for (const Case& test : cases) {
        const fs::path root = home.path() / std::to_string(test.messages);
        const gen::GeneratedMailbox mailbox = Generate(test.messages, test.seed, root);
        EXPECT_EQ(mailbox.inbox_messages + mailbox.sent_messages, test.messages);
        EXPECT_EQ(FilesIn(root / "inbox"), mailbox.inbox_messages);
        EXPECT_EQ(FilesIn(root / "sent_items"), mailbox.sent_messages);
        // Numbered from "1." without gaps in each folder.
        EXPECT_TRUE(fs::exists(root / "inbox" / (std::to_string(mailbox.inbox_messages) + ".")));
        EXPECT_TRUE(
            fs::exists(root / "sent_items" / (std::to_string(mailbox.sent_messages) + ".")));
        const std::size_t inbox_percent = mailbox.inbox_messages * 100 / test.messages;
        EXPECT_GE(inbox_percent, 75u) << test.messages;
        EXPECT_LE(inbox_percent, 80u) << test.messages;
    }
}

TEST(GeneratedFiles, FilesAlreadyThereAreLeftAlone) {
    TempHome home;
    const fs::path root = home.path() / "mail";
    fs::create_directories(root / "inbox");
    fs::create_directories(root / "drafts");
    std::ofstream(root / "inbox" / "notes.txt") << "keep me\n";
    std::ofstream(root / "drafts" / "1.") << "Subject: draft\n\nunfinished\n";
    Generate(100, 1, root);
    EXPECT_EQ(ReadBytes(root / "inbox" / "notes.txt"), "keep me\n");
    EXPECT_EQ(ReadBytes(root / "drafts" / "1."), "Subject: draft\n\nunfinished\n");
}

TEST(GeneratedFiles, ARootThatCannotBeMadeIsASystemError) {
    TempHome home;
    std::ofstream(home.path() / "plain-file") << "not a directory\n";
    EXPECT_THROW(Generate(100, 1, home.path() / "plain-file" / "mail"), std::system_error);
}

TEST(GeneratedFiles, HeadersAreWellFormedAndEveryReplyNamesAMessageOfTheMailbox) {
    TempHome home;
    Generate(1000, 5, home.path());
    const auto files = ReadTree(home.path());
    std::set<std::string> ids;
    std::vector<std::string> replied_to;
    for (const auto& [name, bytes] : files) {
        const std::vector<std::string> lines = HeaderLines(bytes);
        ASSERT_FALSE(lines.empty()) << name;
        for (const std::string& line : lines) {
            EXPECT_LE(line.size(), 998u) << name;
            if (line[0] == ' ' || line[0] == '\t') continue;
            const std::size_t colon = line.find(':');
            ASSERT_NE(colon, std::string::npos) << name << ": " << line;
            for (std::size_t i = 0; i < colon; ++i) {
                EXPECT_TRUE(line[i] > ' ' && line[i] < 127) << name << ": " << line;
            }
        }
        for (const char* field : {"Date", "From", "To", "Subject", "Message-ID"}) {
            EXPECT_EQ(FieldValues(lines, field).size(), 1u) << name << " " << field;
        }
        const auto id = FieldValues(lines, "Message-ID");
        if (!id.empty()) {
            EXPECT_TRUE(ids.insert(id[0]).second) << name << " repeats " << id[0];
        }
        for (const std::string& parent : FieldValues(lines, "In-Reply-To")) {
            replied_to.push_back(parent);
        }
    }
    EXPECT_EQ(ids.size(), 1000u);
    EXPECT_GT(replied_to.size(), 100u);
    for (const std::string& parent : replied_to) EXPECT_TRUE(ids.contains(parent)) << parent;
}

}  // namespace
