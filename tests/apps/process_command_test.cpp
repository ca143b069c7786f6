// orvella process, run as a user runs it, over mail this test saves through MAPI: the start-up
// catch-up inline and as a run, whole-Inbox and contact runs, and two processes at once.
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cstdio>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "run_orvella.h"
#include "store_fixture.h"
#include "test_mail.h"

extern char** environ;

namespace orvella::testing {
namespace {

using platform::mapi::ComPtr;
using platform::mapi::MapiBuffer;

class ProcessCommandTest : public StoreTest {
protected:
    void SetUp() override {
        StoreTest::SetUp();
        for (const char* args :
             {"init", "identity --add-address me@example.com",
              "contact add --name 'Ann High' --email ann@corp.example --priority High"}) {
            CommandResult run = Orvella(home_, args);
            ASSERT_EQ(run.status, 0) << args << "\n" << run.output;
        }
    }
    std::vector<BYTE> Deliver(const std::string& sender, const std::string& subject) {
        TestMail mail{sender, {{MAPI_TO, kUserAddress}}, IMPORTANCE_NORMAL};
        mail.subject = subject;
        mail.delivered = kMonday14March2005;
        return SaveMail(inbox_.Get(), mail);
    }
    // Mail from strangers in `threads` threads, `count` messages in all.
    std::vector<std::vector<BYTE>> DeliverMany(int count, int threads) {
        std::vector<std::vector<BYTE>> messages;
        for (int i = 0; i < count; ++i) {
            const std::string subject = "Topic " + std::to_string(i % threads);
            messages.push_back(Deliver("s" + std::to_string(i) + "@nowhere.example",
                                       i < threads ? subject : "RE: " + subject));
        }
        return messages;
    }
    // The message's stored "OV-MsgScore" (negated); nullopt when unprocessed.
    std::optional<LONG> StoredScore(std::vector<BYTE>& message) {
        return LongOf(Open(message, 0).Get(), NamedLong("OV-MsgScore"));
    }
    std::vector<bool> ScoredEach(std::vector<std::vector<BYTE>>& messages) {
        std::vector<bool> scored;
        for (auto& message : messages) scored.push_back(StoredScore(message).has_value());
        return scored;
    }
    static std::optional<LONG> LongOf(IMAPIProp* object, ULONG tag) {
        MapiBuffer<SPropValue> value;
        if (FAILED(HrGetOneProp(object, tag, &value))) return std::nullopt;
        return value->Value.l;
    }
    // Rows of the Inbox's contents table (associated or not) with these columns.
    std::vector<std::vector<SPropValue>> Rows(ULONG flags, std::vector<ULONG> columns,
                                              std::vector<MapiBuffer<SRowSet>>& keep) {
        ComPtr<IMAPITable> table;
        EXPECT_EQ(inbox_->GetContentsTable(flags, &table), S_OK);
        std::vector<ULONG> array = {static_cast<ULONG>(columns.size())};
        array.insert(array.end(), columns.begin(), columns.end());
        EXPECT_EQ(table->SetColumns(reinterpret_cast<LPSPropTagArray>(array.data()), 0), S_OK);
        std::vector<std::vector<SPropValue>> rows;
        for (;;) {
            LPSRowSet page = nullptr;
            EXPECT_EQ(table->QueryRows(100, 0, &page), S_OK);
            if (!page) break;
            const bool empty = page->cRows == 0;
            for (ULONG i = 0; i < page->cRows; ++i)
                rows.emplace_back(page->aRow[i].lpProps,
                                  page->aRow[i].lpProps + page->aRow[i].cValues);
            keep.emplace_back(page);
            if (empty) break;
        }
        return rows;
    }
    // Every thread record's (count, total) by thread id, and the same computed from the Inbox
    // messages that carry the thread's id (scores stored negated). Records per id counted too.
    struct ThreadTotals {
        std::map<LONG, std::pair<LONG, LONG>> records;
        std::map<LONG, std::pair<LONG, LONG>> messages;
        std::map<LONG, int> recordsPerId;
    };
    ThreadTotals Totals() {
        ThreadTotals totals;
        std::vector<MapiBuffer<SRowSet>> keep;
        const ULONG id = NamedLong("OV-ThreadID");
        const ULONG count = NamedLong("OV-ThreadMsgsReceived");
        const ULONG total = NamedLong("OV-ThreadTotalScore");
        const ULONG score = NamedLong("OV-MsgScore");
        for (const auto& row :
             Rows(MAPI_ASSOCIATED, {PR_MESSAGE_CLASS_A, id, count, total}, keep)) {
            if (row[0].ulPropTag != PR_MESSAGE_CLASS_A ||
                std::string(row[0].Value.lpszA) != "IPM.Orvella.Thread")
                continue;
            const LONG thread = row[1].Value.l;
            ++totals.recordsPerId[thread];
            totals.records[thread] = {row[2].ulPropTag == count ? row[2].Value.l : -1,
                                      row[3].ulPropTag == total ? row[3].Value.l : -1};
        }
        for (const auto& row : Rows(0, {id, score}, keep)) {
            if (row[0].ulPropTag != id || row[1].ulPropTag != score) continue;
            auto& [messages, sum] = totals.messages[row[0].Value.l];
            ++messages;
            sum += -row[1].Value.l;
        }
        return totals;
    }
};

TEST_F(ProcessCommandTest, CatchUpOfTwentyOrFewerRunsInlineAndOnlyOnce) {
    std::vector<std::vector<BYTE>> messages = {Deliver("ann@corp.example", "Budget"),
                                               Deliver("bob@corp.example", "Plans")};
    CommandResult first = Orvella(home_, "process");
    ASSERT_EQ(first.status, 0) << first.output;
    EXPECT_EQ(first.output.rfind("processed 2 of 2 unprocessed Inbox messages inline (", 0), 0u)
        << first.output;
    EXPECT_EQ(StoredScore(messages[0]), -96);  // a High contact writing to the user alone
    EXPECT_EQ(StoredScore(messages[1]), 0);

    CommandResult again = Orvella(home_, "process --json");
    ASSERT_EQ(again.status, 0) << again.output;
    const nlohmann::json summary = nlohmann::json::parse(again.output);
    EXPECT_EQ(summary["scope"], "unprocessed");
    EXPECT_EQ(summary["mode"], "inline");
    EXPECT_EQ(summary["count"], 0);
    EXPECT_EQ(summary["processed"], 0);
}

TEST_F(ProcessCommandTest, CatchUpOfMoreThanTwentyRunsAsARescoringRunWithItsProgress) {
    std::vector<std::vector<BYTE>> messages = DeliverMany(21, 3);
    CommandResult run = Orvella(home_, "process");
    ASSERT_EQ(run.status, 0) << run.output;
    const std::string shown =
        "Processing Inbox\n"
        "processed 21 of 21\n"
        "processed 21 of 21 unprocessed Inbox messages in a rescoring run (";
    EXPECT_EQ(run.output.substr(0, shown.size()), shown);
    EXPECT_NE(run.output.find(" messages/s)\n"), std::string::npos) << run.output;
    EXPECT_EQ(ScoredEach(messages), std::vector<bool>(21, true));
}

TEST_F(ProcessCommandTest, TheWholeInboxAndOneContactAreRescoredOnRequest) {
    std::vector<std::vector<BYTE>> fromAnn = {Deliver("ann@corp.example", "Budget"),
                                              Deliver("ann@corp.example", "RE: Budget")};
    std::vector<std::vector<BYTE>> fromBob = {Deliver("bob@corp.example", "Plans")};

    CommandResult contact = Orvella(home_, "process --contact ann@corp.example --json");
    ASSERT_EQ(contact.status, 0) << contact.output;
    const std::string json = contact.output.substr(contact.output.find('{'));
    nlohmann::json summary = nlohmann::json::parse(json);
    EXPECT_EQ(summary["scope"], "contact");
    EXPECT_EQ(summary["mode"], "run");
    EXPECT_EQ(summary["count"], 2);
    EXPECT_EQ(summary["processed"], 2);
    EXPECT_EQ(ScoredEach(fromAnn), (std::vector<bool>{true, true}));
    EXPECT_EQ(ScoredEach(fromBob), (std::vector<bool>{false}));

    CommandResult all = Orvella(home_, "process --all");
    ASSERT_EQ(all.status, 0) << all.output;
    EXPECT_NE(all.output.find("processed 3 of 3 Inbox messages in a rescoring run ("),
              std::string::npos)
        << all.output;
    EXPECT_EQ(ScoredEach(fromBob), (std::vector<bool>{true}));

    CommandResult unknown = Orvella(home_, "process --contact nobody@corp.example");
    EXPECT_EQ(unknown.status, 1);
    EXPECT_NE(unknown.output.find("orvella: no contact has the e-mail address nobody@corp.example"),
              std::string::npos)
        << unknown.output;
    EXPECT_NE(Orvella(home_, "process --all --contact ann@corp.example").status, 0);
}

// Starts `orvella --home <home> process` with its output in a file; the child's pid.
pid_t StartProcess(const TempHome& home, const std::string& output) {
    FILE* file = std::fopen(output.c_str(), "w");
    EXPECT_NE(file, nullptr);
    if (!file) return -1;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, fileno(file), 1);
    posix_spawn_file_actions_adddup2(&actions, fileno(file), 2);
    std::string binary = ORVELLA_BINARY;
    std::string homeFlag = "--home";
    std::string homePath = home.path().string();
    std::string command = "process";
    char* argv[] = {binary.data(), homeFlag.data(), homePath.data(), command.data(), nullptr};
    pid_t pid = -1;
    EXPECT_EQ(posix_spawn(&pid, binary.c_str(), &actions, nullptr, argv, environ), 0);
    posix_spawn_file_actions_destroy(&actions);
    std::fclose(file);
    return pid;
}

int ExitStatus(pid_t pid) {
    int raw = 0;
    if (waitpid(pid, &raw, 0) != pid) return -1;
    return WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
}

TEST_F(ProcessCommandTest, TwoCatchUpsAtOnceProcessEachMessageOnceAndKeepThreadTotalsTrue) {
    std::vector<std::vector<BYTE>> messages = DeliverMany(60, 6);
    const std::string first = (home_.path() / "first.txt").string();
    const std::string second = (home_.path() / "second.txt").string();
    const pid_t a = StartProcess(home_, first);
    const pid_t b = StartProcess(home_, second);
    EXPECT_EQ(ExitStatus(a), 0);
    EXPECT_EQ(ExitStatus(b), 0);

    EXPECT_EQ(ScoredEach(messages), std::vector<bool>(60, true));
    const ThreadTotals totals = Totals();
    EXPECT_EQ(totals.messages.size(), 6u);
    for (const auto& [thread, records] : totals.recordsPerId)
        EXPECT_EQ(records, 1) << "thread " << thread;
    // Each thread's record counts its ten messages and their scores, each once.
    EXPECT_EQ(totals.records, totals.messages);
    for (const auto& [thread, counted] : totals.messages) EXPECT_EQ(counted.first, 10);
}

}  // namespace
}  // namespace orvella::testing
