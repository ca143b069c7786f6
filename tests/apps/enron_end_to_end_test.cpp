// Real mail end to end: an Enron mailbox installed, imported and processed by the orvella program,
// then its Inbox checked through MAPI. Skips without the corpus; all mailboxes on request.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "enron_corpus.h"
#include "mailbox_owner.h"
#include "run_orvella.h"
#include "store_fixture.h"

namespace orvella::testing {
namespace {

namespace fs = std::filesystem;
using platform::mapi::ComPtr;
using platform::mapi::RowSetPtr;

// What an Inbox message shows of processing; the markers are absent until it is processed.
struct InboxMessage {
    std::string messageClass;
    std::optional<LONG> threadId, score, threadScore, day, week;
};

// A thread record's counters: messages received and their total score.
struct ThreadCounters {
    LONG received = 0;
    LONG total = 0;
    bool operator==(const ThreadCounters&) const = default;
};

void PrintTo(const ThreadCounters& counters, std::ostream* out) {
    *out << "{received " << counters.received << ", total " << counters.total << "}";
}

// Mail the add-in handles, which processing must mark.
bool Handled(const InboxMessage& message) {
    return message.messageClass.rfind("IPM.Note", 0) == 0;
}

// The processed Inbox messages by thread id: the thread score each shows, what they show when
// each shows the negated average of their scores (stored negated too), truncated toward zero,
// and what the thread's record counts when it counts exactly them.
struct Threads {
    std::map<LONG, std::vector<LONG>> shown, averages;
    std::map<LONG, ThreadCounters> counted;
    size_t longest = 0;
};

Threads ThreadsOf(const std::vector<InboxMessage>& inbox) {
    Threads threads;
    std::map<LONG, std::vector<LONG>> scores;
    for (const InboxMessage& message : inbox) {
        if (!Handled(message) || !message.threadId || !message.score || !message.threadScore)
            continue;
        scores[*message.threadId].push_back(-*message.score);
        threads.shown[*message.threadId].push_back(*message.threadScore);
    }
    for (const auto& [thread, each] : scores) {
        LONG total = 0;
        for (LONG score : each) total += score;
        const LONG received = static_cast<LONG>(each.size());
        threads.counted[thread] = {received, total};
        threads.averages[thread] = std::vector<LONG>(each.size(), -(total / received));
        threads.longest = std::max(threads.longest, each.size());
    }
    return threads;
}

class EnronEndToEnd : public StoreTest, public ::testing::WithParamInterface<std::string> {
protected:
    // The profile is made by `orvella init`, as a user makes it, so no store yet.
    void SetUp() override { ASSERT_EQ(MAPIInitialize(nullptr), S_OK); }

    // Runs the command, expecting success, and returns its JSON (what follows any progress).
    nlohmann::json RunJson(const std::string& args) {
        const CommandResult run = Orvella(home_, args);
        EXPECT_EQ(run.status, 0) << args << "\n" << run.output;
        const size_t json = run.output.find('{');
        if (json == std::string::npos) {
            ADD_FAILURE() << args << " printed no JSON:\n" << run.output;
            return nlohmann::json::object();
        }
        return nlohmann::json::parse(run.output.substr(json));
    }

    ULONG Tag(const char* name) { return NamedLong(name); }

    // Counted without naming a property, so that the count before processing creates none.
    ULONG InboxCount() {
        ComPtr<IMAPITable> table;
        EXPECT_EQ(inbox_->GetContentsTable(0, &table), S_OK);
        ULONG count = 0;
        if (!table) return count;
        EXPECT_EQ(table->GetRowCount(0, &count), S_OK);
        return count;
    }

    // Every row of the Inbox's contents table (flags: 0 or MAPI_ASSOCIATED) with these columns.
    RowSetPtr InboxRows(ULONG flags, const std::vector<ULONG>& columns) {
        ComPtr<IMAPITable> table;
        EXPECT_EQ(inbox_->GetContentsTable(flags, &table), S_OK);
        std::vector<ULONG> array = {static_cast<ULONG>(columns.size())};
        array.insert(array.end(), columns.begin(), columns.end());
        RowSetPtr rows;
        if (!table) return rows;
        EXPECT_EQ(HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(array.data()),
                                 nullptr, nullptr, 0, &rows),
                  S_OK);
        return rows;
    }

    std::vector<InboxMessage> Inbox() {
        const std::vector<ULONG> columns = {PR_MESSAGE_CLASS_A,    Tag("OV-ThreadID"),
                                            Tag("OV-MsgScore"),    Tag("OV-ThreadScore"),
                                            Tag("OV-ReceivedDay"), Tag("OV-ReceivedWeek")};
        std::vector<InboxMessage> messages;
        RowSetPtr rows = InboxRows(0, columns);
        for (ULONG r = 0; rows && r < rows->cRows; ++r) {
            const SPropValue* values = rows->aRow[r].lpProps;
            auto longAt = [&](size_t i) -> std::optional<LONG> {
                if (values[i].ulPropTag != columns[i]) return std::nullopt;
                return values[i].Value.l;
            };
            InboxMessage& message = messages.emplace_back();
            if (values[0].ulPropTag == PR_MESSAGE_CLASS_A)
                message.messageClass = values[0].Value.lpszA;
            message.threadId = longAt(1);
            message.score = longAt(2);
            message.threadScore = longAt(3);
            message.day = longAt(4);
            message.week = longAt(5);
        }
        return messages;
    }

    // The thread records kept among the Inbox's associated messages, by thread id.
    std::map<LONG, ThreadCounters> ThreadRecords() {
        const std::vector<ULONG> columns = {PR_MESSAGE_CLASS_A, Tag("OV-ThreadID"),
                                            Tag("OV-ThreadMsgsReceived"),
                                            Tag("OV-ThreadTotalScore")};
        std::map<LONG, ThreadCounters> records;
        RowSetPtr rows = InboxRows(MAPI_ASSOCIATED, columns);
        for (ULONG r = 0; rows && r < rows->cRows; ++r) {
            const SPropValue* values = rows->aRow[r].lpProps;
            if (values[0].ulPropTag != PR_MESSAGE_CLASS_A ||
                std::string(values[0].Value.lpszA) != "IPM.Orvella.Thread" ||
                values[1].ulPropTag != columns[1])
                continue;
            records[values[1].Value.l] = {
                values[2].ulPropTag == columns[2] ? values[2].Value.l : -1,
                values[3].ulPropTag == columns[3] ? values[3].Value.l : -1};
        }
        return records;
    }

    // The Inbox holds `expected` messages, and every one the add-in handles is processed.
    void ExpectAllProcessed(size_t expected) {
        const std::vector<InboxMessage> inbox = Inbox();
        EXPECT_EQ(inbox.size(), expected);
        size_t handled = 0, unmarked = 0;
        for (const InboxMessage& message : inbox) {
            if (!Handled(message)) continue;
            ++handled;
            if (!message.threadId || !message.score || !message.threadScore || !message.day ||
                !message.week)
                ++unmarked;
        }
        EXPECT_GT(handled, 0u);
        EXPECT_EQ(unmarked, 0u) << "of " << handled << " handled Inbox messages";
    }
};

TEST_P(EnronEndToEnd, ImportedMailIsAllProcessedAndEveryThreadShowsItsAverage) {
    if (const std::string why = EnronSkipReason(GetParam()); !why.empty()) GTEST_SKIP() << why;
    const fs::path mailbox = EnronCorpus() / GetParam();
    const std::string owner = host::mail::GuessOwnerAddress(mailbox);
    ASSERT_FALSE(owner.empty()) << "no sent mail in " << mailbox;

    const CommandResult init = Orvella(home_, "init --address " + ShellWord(owner));
    ASSERT_EQ(init.status, 0) << init.output;
    Logon();

    const nlohmann::json imported =
        RunJson("import " + ShellWord(mailbox.string()) + " --tree --json");
    size_t inboxCount = 0;
    for (const auto& folder : imported.value("folders", nlohmann::json::array()))
        if (folder["folder"] == "Inbox") inboxCount = folder["imported"].get<size_t>();
    ASSERT_GT(inboxCount, 0u) << imported.dump();
    EXPECT_EQ(InboxCount(), inboxCount);

    // Outlook's start-up catch-up: every Inbox message is unprocessed yet.
    const nlohmann::json catchUp = RunJson("process --json");
    EXPECT_EQ(catchUp["scope"], "unprocessed");
    EXPECT_EQ(catchUp["mode"], inboxCount > 20 ? "run" : "inline");
    EXPECT_EQ(catchUp["count"], inboxCount);
    EXPECT_EQ(catchUp["processed"], inboxCount);
    ExpectAllProcessed(inboxCount);

    const nlohmann::json rescoring = RunJson("process --all --json");
    EXPECT_EQ(rescoring["scope"], "inbox");
    EXPECT_EQ(rescoring["mode"], "run");
    EXPECT_EQ(rescoring["count"], inboxCount);
    EXPECT_EQ(rescoring["cancelled"], false);
    ExpectAllProcessed(inboxCount);

    // After the rescoring run each thread counts exactly its Inbox messages and shows their
    // average on every one of them.
    const Threads threads = ThreadsOf(Inbox());
    EXPECT_GT(threads.longest, 1u) << "no thread of two or more Inbox messages to check";
    EXPECT_EQ(threads.shown, threads.averages);
    std::map<LONG, ThreadCounters> records = ThreadRecords();
    std::erase_if(records,
                  [&](const auto& record) { return !threads.counted.count(record.first); });
    EXPECT_EQ(records, threads.counted);

    // Nothing is left for the next start-up.
    const nlohmann::json again = RunJson("process --json");
    EXPECT_EQ(again["scope"], "unprocessed");
    EXPECT_EQ(again["count"], 0);
    EXPECT_EQ(again["processed"], 0);
    EXPECT_EQ(InboxCount(), inboxCount);
}

INSTANTIATE_TEST_SUITE_P(Mailboxes, EnronEndToEnd, ::testing::ValuesIn(EnronMailboxes()),
                         EnronTestName);

}  // namespace
}  // namespace orvella::testing
