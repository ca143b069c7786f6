// Generated mailboxes through the real import: every file is mail, the folders hold the counts,
// and the mail has what a real mailbox has (Cc-only and list mail, both importances, threads
// replying both ways, odd subjects), with contacts among its correspondents.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "import_fixture.h"
#include "mailbox_generator.h"
#include "mapi_ptr.h"
#include "mapitags.h"
#include "mapiutil.h"

namespace {

namespace gen = orvella::host::generator;
namespace mail = orvella::host::mail;
using orvella::platform::mapi::ComPtr;
using orvella::platform::mapi::MapiBuffer;
using orvella::testing::PropText;
using orvella::testing::RecipientTexts;

constexpr std::int64_t kTicksPerDay = 864'000'000'000;

// One imported message, as the add-in would read it.
struct Mail {
    std::string folder;
    std::string subject;
    std::string sender;
    std::vector<std::string> to;  // addresses
    std::vector<std::string> cc;
    LONG importance = IMPORTANCE_NORMAL;
    std::string headers;
    std::string body;
    std::string message_id;
    std::string in_reply_to;
    std::int64_t submitted = 0;  // FILETIME ticks
};

// The value of a header field from the transport headers; empty when it is absent.
std::string FieldOf(const std::string& headers, const std::string& name) {
    const std::string start = name + ": ";
    std::size_t at = headers.rfind(start, 0) == 0 ? 0 : headers.find("\n" + start);
    if (at == std::string::npos) return {};
    at += at == 0 ? start.size() : start.size() + 1;
    return headers.substr(at, headers.find('\n', at) - at);
}

bool IsUtf8NonAscii(const std::string& text) {
    return std::any_of(text.begin(), text.end(), [](char c) { return (c & 0x80) != 0; });
}

class GeneratedMail : public orvella::testing::ImportTest {
protected:
    gen::GeneratedMailbox GenerateAndImport(std::size_t messages, std::uint32_t seed) {
        gen::MailboxPlan plan;
        plan.messages = messages;
        plan.seed = seed;
        gen::GeneratedMailbox mailbox = gen::GenerateMailbox(plan, MailDir());
        mail::ImportOptions options;
        options.tree = true;
        report_ = Import({MailDir()}, options);
        own_.insert(mailbox.own_addresses.begin(), mailbox.own_addresses.end());
        return mailbox;
    }

    std::vector<Mail> Read(const std::string& folder) {
        std::vector<Mail> mails;
        for (const ComPtr<IMessage>& message : Messages(folder)) {
            Mail one;
            one.folder = folder;
            one.subject = PropText(message.Get(), PR_SUBJECT_A);
            one.sender = PropText(message.Get(), PR_SENDER_EMAIL_ADDRESS_A);
            for (const std::string& row : RecipientTexts(message.Get())) {
                const std::string smtp = row.substr(row.rfind('|') + 1);
                if (row.rfind("TO|", 0) == 0) one.to.push_back(smtp);
                if (row.rfind("CC|", 0) == 0) one.cc.push_back(smtp);
            }
            one.importance = std::stol(PropText(message.Get(), PR_IMPORTANCE));
            one.headers = PropText(message.Get(), PR_TRANSPORT_MESSAGE_HEADERS_A);
            one.body = PropText(message.Get(), PR_BODY_A);
            one.message_id = PropText(message.Get(), PR_INTERNET_MESSAGE_ID_A);
            one.in_reply_to = FieldOf(one.headers, "In-Reply-To");
            MapiBuffer<SPropValue> time;
            if (HrGetOneProp(message.Get(), PR_CLIENT_SUBMIT_TIME, &time) == S_OK) {
                one.submitted =
                    static_cast<std::int64_t>((std::uint64_t{time->Value.ft.dwHighDateTime} << 32) |
                                              time->Value.ft.dwLowDateTime);
            }
            mails.push_back(std::move(one));
        }
        return mails;
    }

    std::vector<Mail> ReadAll() {
        std::vector<Mail> all = Read("Inbox");
        std::vector<Mail> sent = Read("Sent Items");
        all.insert(all.end(), sent.begin(), sent.end());
        return all;
    }

    bool IsOwn(const std::string& address) const { return own_.contains(address); }
    bool AnyOwn(const std::vector<std::string>& addresses) const {
        return std::any_of(addresses.begin(), addresses.end(),
                           [this](const std::string& a) { return IsOwn(a); });
    }

    mail::ImportReport report_;
    std::set<std::string> own_;
};

class GeneratedMailSizes
    : public GeneratedMail,
      public ::testing::WithParamInterface<std::pair<std::size_t, std::uint32_t>> {};

TEST_P(GeneratedMailSizes, EveryFileImportsIntoInboxAndSentItems) {
    const auto [messages, seed] = GetParam();
    const gen::GeneratedMailbox mailbox = GenerateAndImport(messages, seed);
    EXPECT_TRUE(report_.skipped.empty());
    EXPECT_EQ(report_.Imported(), messages);
    EXPECT_EQ(CountIn("Inbox"), mailbox.inbox_messages);
    EXPECT_EQ(CountIn("Sent Items"), mailbox.sent_messages);
    std::vector<std::pair<std::string, std::size_t>> folders;
    for (const auto& count : report_.folders) folders.emplace_back(count.folder, count.imported);
    EXPECT_EQ(folders,
              (std::vector<std::pair<std::string, std::size_t>>{
                  {"Inbox", mailbox.inbox_messages}, {"Sent Items", mailbox.sent_messages}}));
}

INSTANTIATE_TEST_SUITE_P(Sizes, GeneratedMailSizes,
                         ::testing::Values(std::pair<std::size_t, std::uint32_t>{100, 1},
                                           std::pair<std::size_t, std::uint32_t>{500, 2}));

TEST_F(GeneratedMail, HoldsTheKindsOfMailARealMailboxHolds) {
    GenerateAndImport(100, 11);
    const std::vector<Mail> inbox = Read("Inbox");
    struct Case {
        const char* kind;
        std::function<bool(const Mail&)> matches;
    };
    const Case cases[] = {
        {"the owner only in Cc", [&](const Mail& m) { return !AnyOwn(m.to) && AnyOwn(m.cc); }},
        {"list mail with the owner in neither To nor Cc",
         [&](const Mail& m) {
             return !FieldOf(m.headers, "List-Id").empty() && !AnyOwn(m.to) && !AnyOwn(m.cc);
         }},
        {"high importance", [](const Mail& m) { return m.importance == IMPORTANCE_HIGH; }},
        {"low importance", [](const Mail& m) { return m.importance == IMPORTANCE_LOW; }},
        {"ten to forty recipients",
         [](const Mail& m) {
             const std::size_t count = m.to.size() + m.cc.size();
             return count >= 10 && count <= 40;
         }},
        {"a blank subject", [](const Mail& m) { return m.subject.empty(); }},
        {"a subject of 300 characters or more",
         [](const Mail& m) { return m.subject.size() >= 300; }},
        {"a non-ASCII subject from encoded words",
         [](const Mail& m) {
             return IsUtf8NonAscii(m.subject) &&
                    FieldOf(m.headers, "Subject").find("=?UTF-8?") != std::string::npos;
         }},
        {"a non-ASCII subject from raw 8-bit bytes",
         [](const Mail& m) {
             const std::string raw = FieldOf(m.headers, "Subject");
             return IsUtf8NonAscii(m.subject) && IsUtf8NonAscii(raw) &&
                    raw.find("=?") == std::string::npos;
         }},
        {"an HTML alternative read as plain text",
         [](const Mail& m) {
             return m.headers.find("multipart/alternative") != std::string::npos &&
                    !m.body.empty() && m.body.find("<html>") == std::string::npos;
         }},
    };
    for (const Case& test : cases) {
        EXPECT_TRUE(std::any_of(inbox.begin(), inbox.end(), test.matches)) << test.kind;
    }
}

TEST_F(GeneratedMail, ThreadsReplyBothWaysAndSomeRunLong) {
    GenerateAndImport(100, 12);
    const std::vector<Mail> all = ReadAll();
    std::map<std::string, const Mail*> by_id;
    for (const Mail& m : all) by_id[m.message_id] = &m;
    bool owner_answers = false;
    bool owner_answered = false;
    std::size_t longest = 0;
    for (const Mail& m : all) {
        if (m.in_reply_to.empty()) continue;
        const auto parent = by_id.find(m.in_reply_to);
        ASSERT_NE(parent, by_id.end()) << m.in_reply_to;
        owner_answers |= m.folder == "Sent Items" && parent->second->folder == "Inbox";
        owner_answered |= m.folder == "Inbox" && parent->second->folder == "Sent Items";
        std::size_t length = 1;
        for (const Mail* at = &m; !at->in_reply_to.empty(); at = by_id.at(at->in_reply_to))
            ++length;
        longest = std::max(longest, length);
    }
    EXPECT_TRUE(owner_answers);
    EXPECT_TRUE(owner_answered);
    EXPECT_GE(longest, 10u);
}

TEST_F(GeneratedMail, SentItemsComeFromTheOwnerAndTheirRepliesSayRe) {
    GenerateAndImport(300, 13);
    const std::vector<Mail> sent = Read("Sent Items");
    ASSERT_FALSE(sent.empty());
    for (const Mail& m : sent) {
        EXPECT_TRUE(IsOwn(m.sender)) << m.sender;
        if (!m.in_reply_to.empty()) {
            EXPECT_EQ(m.subject.substr(0, 3), "Re:") << m.subject;
        }
    }
    for (const Mail& m : Read("Inbox")) EXPECT_FALSE(IsOwn(m.sender)) << m.sender;
}

TEST_F(GeneratedMail, DatesSpreadOverMonths) {
    GenerateAndImport(200, 14);
    const std::vector<Mail> all = ReadAll();
    std::int64_t oldest = INT64_MAX;
    std::int64_t newest = 0;
    for (const Mail& m : all) {
        ASSERT_GT(m.submitted, 0) << m.subject;
        oldest = std::min(oldest, m.submitted);
        newest = std::max(newest, m.submitted);
    }
    EXPECT_GE((newest - oldest) / kTicksPerDay, 60);
    EXPECT_LE((newest - oldest) / kTicksPerDay, 366);
}

TEST_F(GeneratedMail, ContactsAreCorrespondentsAtEveryPriorityLevel) {
    const gen::GeneratedMailbox mailbox = GenerateAndImport(500, 15);
    std::set<std::string> correspondents;
    for (const Mail& m : ReadAll()) {
        correspondents.insert(m.sender);
        correspondents.insert(m.to.begin(), m.to.end());
        correspondents.insert(m.cc.begin(), m.cc.end());
    }
    std::map<int, std::size_t> levels;
    std::size_t filed = 0;
    std::size_t several_addresses = 0;
    for (const gen::GeneratedContact& contact : mailbox.contacts) {
        ++levels[contact.priority];
        filed += !contact.folder.empty();
        EXPECT_GE(contact.addresses.size(), 1u) << contact.name;
        EXPECT_LE(contact.addresses.size(), 3u) << contact.name;
        several_addresses += contact.addresses.size() > 1;
        EXPECT_TRUE(std::any_of(contact.addresses.begin(), contact.addresses.end(),
                                [&](const std::string& a) { return correspondents.contains(a); }))
            << contact.name << " never wrote or was written to";
    }
    for (int level = -2; level <= 2; ++level) EXPECT_GT(levels[level], 0u) << level;
    for (int level : {-2, -1, 1, 2}) EXPECT_GT(levels[0], levels[level]) << level;
    EXPECT_GT(filed, 0u);
    EXPECT_LT(filed * 2, mailbox.contacts.size());
    EXPECT_GT(several_addresses, 0u);
    EXPECT_GE(mailbox.contacts.size() * 100, correspondents.size() * 5);
    EXPECT_LE(mailbox.contacts.size() * 100, correspondents.size() * 10);
}

}  // namespace
