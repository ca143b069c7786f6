// The hot queries of a store with thousands of messages, captured as the store runs them for a
// paged read, a restricted walk, a sorted table and an opened message, search their indexes.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "durability_fixture.h"

namespace orvella::testing {
namespace {

constexpr LONG kInboxMessages = 2000;
constexpr LONG kOtherMessages = 500;
constexpr LONG kThreads = 100;

int CollectStatement(unsigned, void* context, void* statement, void*) {
    auto* texts = static_cast<std::set<std::string>*>(context);
    if (const char* sql = sqlite3_sql(static_cast<sqlite3_stmt*>(statement))) texts->insert(sql);
    return 0;
}

struct Case {
    const char* what;
    std::function<void()> run;
    // For each entry, some statement that `run` runs has all these lines in its plan.
    std::vector<std::vector<std::string>> searches;
};

class StoreQueryPlanTest : public DurabilityTest {
protected:
    void SetUp() override {
        DurabilityTest::SetUp();
        thread_ = NamedLong("OV-ThreadID");
        ComPtr<IMAPIFolder> other;
        ASSERT_EQ(inbox_->CreateFolder(FOLDER_GENERIC, const_cast<char*>("Other"), nullptr, nullptr,
                                       0, &other),
                  S_OK);
        for (LONG i = 0; i < kOtherMessages; ++i) {
            ComPtr<IMessage> message;
            ASSERT_EQ(other->CreateMessage(nullptr, 0, &message), S_OK);
            SPropValue values[] = {Long(thread_, i % kThreads), Text(PR_SUBJECT_A, "elsewhere")};
            ASSERT_EQ(message->SetProps(2, values, nullptr), S_OK);
            ASSERT_EQ(message->SaveChanges(0), S_OK);
        }
        for (LONG i = 0; i < kInboxMessages; ++i) {
            const std::string subject = "subject " + std::to_string(i % 500);
            message_ =
                SaveMessage({Long(thread_, i % kThreads), Text(PR_SUBJECT_A, subject.c_str()),
                             Text(PR_MESSAGE_CLASS_A, i % 7 ? "IPM.Note" : "IPM.Task")});
        }
    }

    // The distinct statements the store's connection runs during `run`.
    std::vector<std::string> StatementsRunBy(const std::function<void()>& run) {
        std::set<std::string> texts;
        auto database = OpenStoreFile();
        database->WithDatabase([&](store::Database& db) {
            sqlite3_trace_v2(db.handle(), SQLITE_TRACE_STMT, CollectStatement, &texts);
        });
        run();
        database->WithDatabase(
            [&](store::Database& db) { sqlite3_trace_v2(db.handle(), 0, nullptr, nullptr); });
        return {texts.begin(), texts.end()};
    }

    // The lines of EXPLAIN QUERY PLAN for a statement, on the store's own connection.
    std::vector<std::string> PlanOf(const std::string& sql) {
        std::vector<std::string> lines;
        OpenStoreFile()->WithDatabase([&](store::Database& db) {
            store::Statement explain(db, "EXPLAIN QUERY PLAN " + sql);
            while (explain.Step()) lines.emplace_back(explain.Text(3));
        });
        return lines;
    }

    void ReadPages(IMAPITable* table) {
        for (int page = 0; page < 3; ++page) {
            RowSetPtr rows;
            ASSERT_EQ(table->QueryRows(50, 0, &rows), S_OK);
            ASSERT_EQ(rows->cRows, 50u);
        }
    }

    ComPtr<IMAPITable> ContentsTable() {
        ComPtr<IMAPITable> table;
        EXPECT_EQ(inbox_->GetContentsTable(0, &table), S_OK);
        SizedSPropTagArray(3, columns) = {3, {PR_ENTRYID, PR_SUBJECT_A, thread_}};
        EXPECT_EQ(table->SetColumns(reinterpret_cast<LPSPropTagArray>(&columns), 0), S_OK);
        return table;
    }

    // The restricted walk: FindRow forward, one row read after each match.
    void Walk(SRestriction& restriction, int expected_matches) {
        ComPtr<IMAPITable> table = ContentsTable();
        ASSERT_EQ(table->SeekRow(BOOKMARK_BEGINNING, 0, nullptr), S_OK);
        int found = 0;
        while (table->FindRow(&restriction, BOOKMARK_CURRENT, 0) == S_OK) {
            RowSetPtr rows;
            ASSERT_EQ(table->QueryRows(1, 0, &rows), S_OK);
            ++found;
        }
        EXPECT_EQ(found, expected_matches);
    }

    ULONG thread_ = 0;
    std::vector<BYTE> message_;
    int fresh_folders_ = 0;
};

TEST_F(StoreQueryPlanTest, HotQueriesSearchTheirIndexes) {
    SPropValue wanted_thread = Long(thread_, 7);
    SRestriction by_thread = {};
    by_thread.rt = RES_PROPERTY;
    by_thread.res.resProperty = {RELOP_EQ, thread_, &wanted_thread};
    // The messages of the thread that do not show a score yet: what shows it is left out by a
    // lookup of each candidate's score, not by reading the messages that show it.
    const ULONG score = NamedLong("OV-ThreadScore");
    SPropValue shown_score = Long(score, 5);
    SRestriction shown[2] = {};
    shown[0].rt = RES_EXIST;
    shown[0].res.resExist.ulPropTag = score;
    shown[1].rt = RES_PROPERTY;
    shown[1].res.resProperty = {RELOP_EQ, score, &shown_score};
    SRestriction shows = {};
    shows.rt = RES_AND;
    shows.res.resAnd = {2, shown};
    SRestriction not_shown[2] = {by_thread, {}};
    not_shown[1].rt = RES_NOT;
    not_shown[1].res.resNot.lpRes = &shows;
    SRestriction by_thread_not_shown = {};
    by_thread_not_shown.rt = RES_AND;
    by_thread_not_shown.res.resAnd = {2, not_shown};
    SPropValue wanted_class = Text(PR_MESSAGE_CLASS_A, "ipm.task");
    SRestriction by_class = {};
    by_class.rt = RES_CONTENT;
    by_class.res.resContent = {FL_FULLSTRING | FL_IGNORECASE, PR_MESSAGE_CLASS_A, &wanted_class};
    // Any of two subjects or a thread: each looked up through its index, then each candidate
    // by its id (not the folder's ids walked in order, each tested against the candidates).
    SPropValue either[] = {Text(PR_SUBJECT_A, "subject 3"), Text(PR_SUBJECT_A, "subject 250"),
                           Long(thread_, 7)};
    SRestriction alternatives[3] = {};
    for (int i = 0; i < 3; ++i) {
        alternatives[i].rt = RES_PROPERTY;
        alternatives[i].res.resProperty = {RELOP_EQ, either[i].ulPropTag, &either[i]};
    }
    SRestriction any_of = {};
    any_of.rt = RES_OR;
    any_of.res.resOr = {3, alternatives};
    const std::vector<std::string> by_parent = {
        "SEARCH o USING COVERING INDEX objects_by_parent (parent=? AND kind=? AND assoc=?)"};
    const std::vector<std::string> row_values = {
        "SEARCH props USING PRIMARY KEY (obj=? AND tag=?)"};
    const Case cases[] = {
        // Ids are read once per folder, then followed through the event log.
        {"the first table on a folder",
         [&] {
             ComPtr<IMAPIFolder> fresh =
                 MakeFolder(inbox_.Get(), ("Fresh " + std::to_string(++fresh_folders_)).c_str());
             ComPtr<IMAPITable> table;
             ASSERT_EQ(fresh->GetContentsTable(0, &table), S_OK);
             ULONG count = 0;
             ASSERT_EQ(table->GetRowCount(0, &count), S_OK);
         },
         {{"SEARCH objects USING COVERING INDEX objects_by_parent (parent=? AND kind=? AND "
           "assoc=?)"}}},
        {"a paged read of the Inbox after a message arrives",
         [&] {
             SaveMessage({Text(PR_SUBJECT_A, "arrives")});
             ReadPages(ContentsTable().Get());
         },
         {{"SEARCH events USING INTEGER PRIMARY KEY (rowid>?)"}, row_values}},
        {"a restricted walk by thread id",
         [&] { Walk(by_thread, 20); },
         {{"SEARCH props USING COVERING INDEX value_80000003 (val=? AND obj>?)",
           "SEARCH objects USING INTEGER PRIMARY KEY (rowid=?)"},
          row_values}},
        {"a restricted walk by thread id past what shows a score",
         [&] { Walk(by_thread_not_shown, 20); },
         {{"SEARCH props USING COVERING INDEX value_80000003 (val=? AND obj>?)",
           "SEARCH objects USING INTEGER PRIMARY KEY (rowid=?)",
           "SEARCH x USING PRIMARY KEY (obj=? AND tag=?)"},
          row_values}},
        {"a restricted walk by any of two subjects or a thread",
         [&] { Walk(any_of, 28); },
         {{"SEARCH props USING COVERING INDEX value_0037001E (val=?)",
           "SEARCH props USING COVERING INDEX value_80000003 (val=?)"}}},
        {"a restricted walk by message class",
         [&] { Walk(by_class, 286); },
         {{"SEARCH props USING COVERING INDEX value_001A001E (val=? AND obj>?)",
           "SEARCH objects USING INTEGER PRIMARY KEY (rowid=?)"},
          row_values}},
        {"a table sorted by subject",
         [&] {
             ComPtr<IMAPITable> table = ContentsTable();
             SizedSSortOrderSet(1, sort) = {1, 0, 0, {{PR_SUBJECT_A, TABLE_SORT_DESCEND}}};
             ASSERT_EQ(table->SortTable(reinterpret_cast<LPSSortOrderSet>(&sort), 0), S_OK);
             ReadPages(table.Get());
         },
         {{"SEARCH o USING COVERING INDEX objects_by_parent (parent=? AND kind=? AND assoc=?)",
           "SEARCH s0 USING PRIMARY KEY (obj=? AND tag=?) LEFT-JOIN"},
          row_values}},
        {"opening a message",
         [&] {
             ComPtr<IMessage> message = Open(message_, 0);
             MapiBuffer<SPropValue> subject;
             ASSERT_EQ(HrGetOneProp(message.Get(), PR_SUBJECT_A, &subject), S_OK);
         },
         {{"SEARCH objects USING INTEGER PRIMARY KEY (rowid=?)"},
          {"SEARCH props USING PRIMARY KEY (obj=?)"}}},
    };
    // A first run creates the value indexes, and with them the store runs PRAGMA optimize.
    for (const Case& c : cases) c.run();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        std::vector<std::vector<std::string>> plans;
        for (const std::string& sql : StatementsRunBy(c.run)) {
            plans.push_back(PlanOf(sql));
            // A multi-row VALUES list is scanned, but it is no table. Nor may a folder's ids
            // be walked from a point, each tested against the candidates.
            for (const std::string& line : plans.back()) {
                EXPECT_FALSE(line.starts_with("SCAN") && !line.ends_with("CONSTANT ROWS"))
                    << sql << "\n  runs as: " << line;
                EXPECT_FALSE(line.starts_with("SEARCH objects") &&
                             line.find("rowid>?") != std::string::npos)
                    << sql << "\n  runs as: " << line;
            }
        }
        for (const std::vector<std::string>& wanted : c.searches) {
            const bool found = std::any_of(plans.begin(), plans.end(), [&](const auto& plan) {
                return std::all_of(wanted.begin(), wanted.end(), [&](const std::string& line) {
                    return std::find(plan.begin(), plan.end(), line) != plan.end();
                });
            });
            EXPECT_TRUE(found) << "no statement's plan has: " << ::testing::PrintToString(wanted);
        }
    }
}

// A lookup per message opens a table on the same large folder again and again: its ids are
// read once, and messages arriving or leaving are followed through the event log.
TEST_F(StoreQueryPlanTest, TablesOnAFolderReadItsIdsOnceAndFollowItsChanges) {
    auto reads_ids = [](const std::vector<std::string>& statements) {
        return std::any_of(statements.begin(), statements.end(), [](const std::string& sql) {
            return sql.find("SELECT id FROM objects WHERE parent") != std::string::npos;
        });
    };
    auto rows = [&] {
        ULONG count = 0;
        EXPECT_EQ(ContentsTable()->GetRowCount(0, &count), S_OK);
        return count;
    };
    auto page = [&] { ReadPages(ContentsTable().Get()); };
    page();
    EXPECT_FALSE(reads_ids(StatementsRunBy(page)));
    std::vector<BYTE> arrived = SaveMessage({Text(PR_SUBJECT_A, "arrives")});
    EXPECT_FALSE(reads_ids(StatementsRunBy(page)));
    EXPECT_EQ(rows(), ULONG{kInboxMessages} + 1);

    SBinary id = {static_cast<ULONG>(arrived.size()), arrived.data()};
    SBinary ids[] = {id, {static_cast<ULONG>(message_.size()), message_.data()}};
    ENTRYLIST gone = {2, ids};
    ASSERT_EQ(inbox_->DeleteMessages(&gone, 0, nullptr, 0), S_OK);
    EXPECT_FALSE(reads_ids(StatementsRunBy(page)));
    EXPECT_EQ(rows(), ULONG{kInboxMessages} - 1);
    // Moved in from another folder: the message joins.
    ComPtr<IMAPIFolder> other = MakeFolder(inbox_.Get(), "Elsewhere");
    std::vector<BYTE> moved = SaveIn(other.Get(), {Text(PR_SUBJECT_A, "moved")});
    SBinary move_id = {static_cast<ULONG>(moved.size()), moved.data()};
    ENTRYLIST moving = {1, &move_id};
    ASSERT_EQ(other->CopyMessages(&moving, nullptr, inbox_.Get(), 0, nullptr, MESSAGE_MOVE), S_OK);
    EXPECT_EQ(rows(), ULONG{kInboxMessages});
}

}  // namespace
}  // namespace orvella::testing
