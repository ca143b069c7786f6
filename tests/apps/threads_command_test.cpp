// orvella thread-name and orvella threads, run as a user runs them, over thread records this
// test writes through MAPI.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "clock.h"
#include "mapi_values.h"
#include "mapiguid.h"
#include "run_orvella.h"
#include "store_fixture.h"

namespace orvella::testing {
namespace {

using platform::mapi::ComPtr;
using platform::mapi::MapiBuffer;

TEST(ThreadNameCommandTest, PrintsTheThreadNameWithoutAProfile) {
    TempHome home;
    struct Case {
        const char* args;
        const char* output;
    } cases[] = {
        {"thread-name 'RE: Fw: Budget'", "Budget\n"},
        {"thread-name 'Fwd:Re:  Budget  '", "Budget\n"},
        {"thread-name 'Reply needed'", "Reply needed\n"},
        {"thread-name 'Re:'", "\n"},
    };
    for (const Case& c : cases) {
        CommandResult run = Orvella(home, c.args);
        EXPECT_EQ(run.status, 0) << c.args;
        EXPECT_EQ(run.output, c.output) << c.args;
    }
    EXPECT_NE(Orvella(home, "thread-name").status, 0);
}

// Thread records as the add-in writes them, in the Inbox of an installed profile.
class ThreadsCommandTest : public StoreTest {
protected:
    void SetUp() override {
        StoreTest::SetUp();
        CommandResult init = Orvella(home_, "init");
        ASSERT_EQ(init.status, 0) << init.output;
    }
    ULONG Named(const char* name, ULONG type) {
        std::wstring wide(name, name + std::char_traits<char>::length(name));
        MAPINAMEID id = {};
        id.lpguid = const_cast<LPGUID>(&PS_PUBLIC_STRINGS);
        id.ulKind = MNID_STRING;
        id.Kind.lpwstrName = wide.data();
        LPMAPINAMEID ids[] = {&id};
        MapiBuffer<SPropTagArray> tags;
        EXPECT_EQ(inbox_->GetIDsFromNames(1, ids, MAPI_CREATE, &tags), S_OK);
        return PROP_TAG(type, PROP_ID(tags->aulPropTag[0]));
    }
    void SaveRecord(LONG id, const char* name, LONG priority, LONG messages, LONG total,
                    LONG replies, bool originator, const char* topic,
                    platform::FileTimeTicks lastActivity) {
        SPropValue originatorValue = {};
        originatorValue.ulPropTag = Named("OV-ThreadOriginator", PT_BOOLEAN);
        originatorValue.Value.b = originator;
        std::vector<SPropValue> values = {
            Text(PR_MESSAGE_CLASS_A, "IPM.Orvella.Thread"),
            Text(PR_SUBJECT_A, name),
            Long(Named("OV-ThreadID", PT_LONG), id),
            Long(Named("OV-ThreadPriority", PT_LONG), priority),
            Long(Named("OV-ThreadMsgsReceived", PT_LONG), messages),
            Long(Named("OV-ThreadTotalScore", PT_LONG), total),
            Long(Named("OV-ThreadReplyCounter", PT_LONG), replies),
            originatorValue,
            platform::mapi::TimeValue(Named("OV-ThreadLastActivity", PT_SYSTIME),
                                      platform::FileTimeFromTicks(lastActivity)),
        };
        if (topic) values.push_back(Text(Named("OV-TopicName", PT_STRING8), topic));
        SaveIn(inbox_.Get(), values, MAPI_ASSOCIATED);
    }
};

TEST_F(ThreadsCommandTest, ListsTheLiveThreadsAndDeletesTheExpiredOnes) {
    // 2026-01-10 00:00:00 UTC, while the real clock is later: the second record is expired.
    constexpr platform::FileTimeTicks kLongAgo = 134124768000000000ULL;
    const platform::FileTimeTicks now = platform::Now();
    const platform::FileTimeTicks minute = 60 * platform::kTicksPerSecond;
    SaveRecord(3, "Budget", 1, 3, -7, 2, true, "Projects/Alpha", now - now % minute);
    SaveRecord(8, "Old news", 0, 1, 5, 0, false, nullptr, kLongAgo);
    SaveRecord(5, "", -2, 0, 0, 0, false, nullptr, now);

    CommandResult run = Orvella(home_, "threads --json");
    ASSERT_EQ(run.status, 0) << run.output;
    auto threads = nlohmann::json::parse(run.output.substr(run.output.find("[")));
    ASSERT_EQ(threads.size(), 2u) << run.output;
    const auto& budget = threads[0];
    EXPECT_EQ(budget["id"], 3);
    EXPECT_EQ(budget["name"], "Budget");
    EXPECT_EQ(budget["priority"], 1);
    EXPECT_EQ(budget["priorityText"], "High");
    EXPECT_EQ(budget["messages"], 3);
    EXPECT_EQ(budget["total"], -7);
    EXPECT_EQ(budget["average"], -2);
    EXPECT_EQ(budget["replies"], 2);
    EXPECT_EQ(budget["originator"], true);
    EXPECT_EQ(budget["topic"], "Projects/Alpha");
    EXPECT_TRUE(budget["lastActivity"].is_string());
    EXPECT_EQ(threads[1]["id"], 5);
    EXPECT_EQ(threads[1]["name"], "");
    EXPECT_EQ(threads[1]["priorityText"], "Very Low");

    CommandResult text = Orvella(home_, "threads");
    ASSERT_EQ(text.status, 0) << text.output;
    EXPECT_NE(text.output.find("     3  High          3     -7    -2     2  yes"),
              std::string::npos)
        << text.output;
    EXPECT_NE(text.output.find("Budget [Projects/Alpha]"), std::string::npos);
    EXPECT_NE(text.output.find("(blank subject)"), std::string::npos);
    EXPECT_EQ(text.output.find("Old news"), std::string::npos);
    EXPECT_NE(text.output.find("2 threads"), std::string::npos);
}

TEST(ThreadsCommandWithoutProfileTest, SaysHowToMakeOne) {
    TempHome home;
    CommandResult run = Orvella(home, "threads");
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.output.find("`orvella init` installs Orvella"), std::string::npos) << run.output;
}

}  // namespace
}  // namespace orvella::testing
