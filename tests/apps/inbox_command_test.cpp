// orvella stats and orvella inbox, run as a user runs them, over counters and Inbox messages
// this test writes through the registry and MAPI.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "clock.h"
#include "mapi_values.h"
#include "run_orvella.h"
#include "store_fixture.h"

namespace orvella::testing {
namespace {

// Saturday 10 January 2026 00:00:00 UTC.
constexpr platform::FileTimeTicks kJanuary10 = 134124768000000000ULL;
constexpr platform::FileTimeTicks kHour = 3600 * platform::kTicksPerSecond;

class InboxCommandTest : public StoreTest {
protected:
    void SetUp() override {
        StoreTest::SetUp();
        CommandResult init = Orvella(home_, "init");
        ASSERT_EQ(init.status, 0) << init.output;
    }
    ULONG NamedText(const char* name) { return PROP_TAG(PT_STRING8, PROP_ID(NamedLong(name))); }

    struct Message {
        const char* subject;
        const char* sender;
        platform::FileTimeTicks received;
        std::optional<LONG> score;  // nullopt: not processed
        LONG threadScore;
        LONG day;
        const char* dayText;
    };
    void Save(const Message& m) {
        std::vector<SPropValue> values = {
            Text(PR_MESSAGE_CLASS_A, "IPM.Note"), Text(PR_SUBJECT_A, m.subject),
            Text(PR_SENDER_EMAIL_ADDRESS_A, m.sender),
            platform::mapi::TimeValue(PR_MESSAGE_DELIVERY_TIME,
                                      platform::FileTimeFromTicks(m.received))};
        if (m.score) {
            values.push_back(Long(NamedLong("OV-MsgScore"), -*m.score));
            values.push_back(Long(NamedLong("OV-ThreadScore"), -m.threadScore));
            values.push_back(Long(NamedLong("OV-ReceivedDay"), -m.day));
            values.push_back(Long(NamedLong("OV-ReceivedWeek"), -2923));
            values.push_back(Text(NamedText("OV-DisplayDay"), m.dayText));
            values.push_back(Text(NamedText("OV-DisplayWeek"), "2026 Week 01 - 01/05/26"));
            values.push_back(Text(NamedText("OV-TopicName"), "Projects"));
        }
        SaveMessage(values);
    }
    void SaveInbox() {
        Save({"Budget", "ann@example.com", kJanuary10 + 9 * kHour, 40, 30, 20260110,
              "2026/01/10 - Saturday"});
        Save({"Offsite", "bob@example.com", kJanuary10 - 48 * kHour, 75, 75, 20260108,
              "2026/01/08 - Thursday"});
        Save({"Re: Budget", "cy@example.com", kJanuary10 + 11 * kHour, 40, 30, 20260110,
              "2026/01/10 - Saturday"});
        Save({"New", "dee@example.com", kJanuary10 + 12 * kHour, std::nullopt, 0, 0, ""});
        Save({"Newer", "eve@example.com", kJanuary10 + 13 * kHour, std::nullopt, 0, 0, ""});
    }
    nlohmann::json Json(const std::string& args) {
        CommandResult run = Orvella(home_, args);
        EXPECT_EQ(run.status, 0) << run.output;
        return nlohmann::json::parse(run.output.substr(run.output.find('[')));
    }
    static std::vector<std::string> Subjects(const nlohmann::json& messages) {
        std::vector<std::string> subjects;
        for (const auto& message : messages) subjects.push_back(message["subject"]);
        return subjects;
    }
};

TEST_F(InboxCommandTest, StatsShowsTheDialogsTextsAndCounts) {
    ASSERT_EQ(Orvella(home_, R"(reg set 'HKCU\Software\Orvella\Vintor' Statistics sz )"
                             R"(64=12d687,65=3e8,67=3e7,c9=3)")
                  .status,
              0);
    auto lines = Json("stats --json");
    ASSERT_EQ(lines.size(), 9u);
    EXPECT_EQ(lines[0]["id"], 100);
    EXPECT_EQ(lines[0]["label"], "Total Messages Analyzed:");
    EXPECT_EQ(lines[0]["heading"], "");
    EXPECT_EQ(lines[0]["value"], 1234567);
    EXPECT_EQ(lines[0]["text"], "1,234,567");
    EXPECT_EQ(lines[4]["id"], 104);
    EXPECT_EQ(lines[4]["label"], "Default");
    EXPECT_EQ(lines[4]["heading"], "Importance:");
    EXPECT_EQ(lines[4]["text"], "0");
    EXPECT_EQ(lines[6]["label"], "Topics Assigned");
    EXPECT_EQ(lines[6]["heading"], "AutoAssign:");
    EXPECT_EQ(lines[6]["value"], 3);

    CommandResult text = Orvella(home_, "stats");
    ASSERT_EQ(text.status, 0) << text.output;
    const char* expected =
        "Orvella Inbox Manager Statistics\n"
        "Total Messages Analyzed:       1,234,567\n"
        "Importance:\n"
        "  High                             1,000\n"
        "  Medium                               0\n"
        "  Normal                             999\n"
        "  Default                              0\n"
        "  Low                                  0\n"
        "AutoAssign:\n"
        "  Topics Assigned                      3\n"
        "  Messages Filed                       0\n"
        "  Priorities Assigned                  0\n";
    EXPECT_NE(text.output.find(expected), std::string::npos) << text.output;
}

TEST_F(InboxCommandTest, InboxListsTheHighestScoreFirstAndUnprocessedMessagesLast) {
    SaveInbox();
    auto messages = Json("inbox --json");
    EXPECT_EQ(Subjects(messages),
              (std::vector<std::string>{"Offsite", "Re: Budget", "Budget", "Newer", "New"}));
    ASSERT_EQ(messages.size(), 5u);
    const auto& first = messages[0];
    EXPECT_EQ(first["score"], 75);
    EXPECT_EQ(first["threadScore"], 75);
    EXPECT_EQ(first["received"], "2026-01-08T00:00:00Z");
    EXPECT_EQ(first["sender"], "bob@example.com");
    EXPECT_EQ(first["topic"], "Projects");
    EXPECT_EQ(first.count("group"), 0u);
    EXPECT_EQ(first["entryId"].get<std::string>().size() % 2, 0u);
    EXPECT_FALSE(first["entryId"].get<std::string>().empty());
    EXPECT_TRUE(messages[3]["score"].is_null());
    EXPECT_TRUE(messages[3]["threadScore"].is_null());
    EXPECT_EQ(messages[3]["topic"], "");

    EXPECT_EQ(Subjects(Json("inbox --json --limit 2")),
              (std::vector<std::string>{"Offsite", "Re: Budget"}));
    EXPECT_EQ(Subjects(Json("inbox --json --limit 4")),
              (std::vector<std::string>{"Offsite", "Re: Budget", "Budget", "Newer"}));
}

TEST_F(InboxCommandTest, InboxGroupsByDayNewestFirstWithTheDaysHeading) {
    SaveInbox();
    auto messages = Json("inbox --order day --json");
    EXPECT_EQ(Subjects(messages),
              (std::vector<std::string>{"Re: Budget", "Budget", "Offsite", "Newer", "New"}));
    ASSERT_EQ(messages.size(), 5u);
    EXPECT_EQ(messages[0]["group"], "2026/01/10 - Saturday");
    EXPECT_EQ(messages[2]["group"], "2026/01/08 - Thursday");
    EXPECT_EQ(messages[3]["group"], "");
    EXPECT_EQ(Json("inbox --order week --json")[0]["group"], "2026 Week 01 - 01/05/26");

    CommandResult text = Orvella(home_, "inbox --order day");
    ASSERT_EQ(text.status, 0) << text.output;
    const std::string expected =
        " SCORE THREAD  RECEIVED          SENDER                    SUBJECT"
        "                                   TOPIC\n"
        "-- 2026/01/10 - Saturday --\n"
        "    40     30  2026-01-10 11:00  cy@example.com            Re: Budget"
        "                                Projects\n"
        "    40     30  2026-01-10 09:00  ann@example.com           Budget"
        "                                    Projects\n"
        "-- 2026/01/08 - Thursday --\n"
        "    75     75  2026-01-08 00:00  bob@example.com           Offsite"
        "                                   Projects\n"
        "-- (not prioritized) --\n"
        "               2026-01-10 13:00  eve@example.com           Newer"
        "                                     \n"
        "               2026-01-10 12:00  dee@example.com           New"
        "                                       \n";
    EXPECT_NE(text.output.find(expected), std::string::npos) << text.output;
    EXPECT_NE(Orvella(home_, "inbox --order size").status, 0);
}

}  // namespace
}  // namespace orvella::testing
