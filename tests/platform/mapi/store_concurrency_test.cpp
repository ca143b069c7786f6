// Two writers on one store at once, as processes and as threads with sessions of their own: no
// save fails or is lost, forced saves of a shared message keep both, reads see whole messages.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <chrono>
#include <cstdio>
#include <functional>
#include <latch>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "child_process.h"
#include "durability_fixture.h"

namespace orvella::testing {
namespace {

constexpr int kMessagesPerWriter = 500;
// Every 10th message also saves the shared message; every 100th reads the whole Inbox.
constexpr int kSharedEvery = 10;
constexpr int kReadEvery = 100;

struct WriterPlan {
    char name = 'A';
    ULONG counter = 0;  // the writer's own PT_LONG property on the shared message
    std::vector<BYTE> inbox;
    std::vector<BYTE> shared;
};

std::string Subject(char writer, int n) {
    return std::string(1, writer) + " " + std::to_string(n);
}

std::string Body(const std::string& subject) {
    return "the body of " + subject;
}

std::string Failure(char writer, const std::string& what, int n, HRESULT hr) {
    char code[16];
    std::snprintf(code, sizeof code, "0x%08X", static_cast<unsigned>(hr));
    return std::string(1, writer) + ": " + what + " at message " + std::to_string(n) +
           " failed with " + code;
}

HRESULT SaveNew(IMAPIFolder* inbox, char writer, int n) {
    const std::string subject = Subject(writer, n);
    const std::string body = Body(subject);
    ComPtr<IMessage> message;
    HRESULT hr = inbox->CreateMessage(nullptr, 0, &message);
    if (FAILED(hr)) return hr;
    SPropValue values[] = {Text(PR_SUBJECT_A, subject.c_str()), Text(PR_BODY_A, body.c_str()),
                           Long(PR_IMPORTANCE, n % 3)};
    hr = message->SetProps(3, values, nullptr);
    return FAILED(hr) ? hr : message->SaveChanges(0);
}

// Sets the writer's counter on the shared message, forcing the save over the other writer's.
HRESULT SaveShared(IMAPISession* session, const WriterPlan& plan, int n) {
    std::vector<BYTE> eid = plan.shared;
    ComPtr<IMessage> shared;
    ULONG type = 0;
    HRESULT hr =
        session->OpenEntry(static_cast<ULONG>(eid.size()), reinterpret_cast<LPENTRYID>(eid.data()),
                           nullptr, MAPI_MODIFY, &type, shared.PutUnknown());
    if (FAILED(hr)) return hr;
    SPropValue counter = Long(plan.counter, n);
    hr = shared->SetProps(1, &counter, nullptr);
    return FAILED(hr) ? hr : shared->SaveChanges(FORCE_SAVE);
}

// Reads the Inbox while the other writer saves: all of it, at least what this writer saved so
// far, and the messages of importance 1 (searched through a value index, which either writer
// may be the first to create). Every message must be whole: its body belongs to its subject.
// Empty when so, else what is wrong.
std::string ReadWhileOtherWrites(IMAPIFolder* inbox, char writer, int saved) {
    SPropValue one = Long(PR_IMPORTANCE, 1);
    SRestriction of_importance_one = {};
    of_importance_one.rt = RES_PROPERTY;
    of_importance_one.res.resProperty = {RELOP_EQ, PR_IMPORTANCE, &one};
    const ULONG columns[] = {PR_SUBJECT_A, PR_BODY_A, PR_IMPORTANCE};
    for (SRestriction* restriction : {static_cast<SRestriction*>(nullptr), &of_importance_one}) {
        RowSetPtr rows;
        if (HRESULT hr = ReadAllRows(inbox, columns, rows, restriction); FAILED(hr))
            return Failure(writer, "reading the Inbox", saved, hr);
        if (!restriction && rows->cRows < static_cast<ULONG>(saved))
            return std::string(1, writer) + ": the Inbox shows " + std::to_string(rows->cRows) +
                   " messages after " + std::to_string(saved) + " saves";
        for (ULONG r = 0; r < rows->cRows; ++r) {
            const SPropValue* row = rows->aRow[r].lpProps;
            const std::string subject = TextOf(row[0]);
            if (subject.empty() || TextOf(row[1]) != Body(subject))
                return std::string(1, writer) + ": the Inbox shows a partial message \"" + subject +
                       "\"";
            if (restriction && (row[2].ulPropTag != PR_IMPORTANCE || row[2].Value.l != 1))
                return std::string(1, writer) + ": the search for importance 1 found \"" + subject +
                       "\"";
        }
    }
    return {};
}

// One writer's whole run; empty when every call succeeded, else what failed first.
std::string Write(const WriterPlan& plan, const std::function<void()>& wait_for_start) {
    ComPtr<IMAPISession> session;
    ComPtr<IMAPIFolder> inbox;
    const HRESULT opened = OpenOwnFolder(plan.inbox, session, inbox);
    // Waits even when opening failed, so that the other writer is not left waiting.
    wait_for_start();
    if (FAILED(opened)) return Failure(plan.name, "opening the Inbox", 0, opened);
    for (int n = 0; n < kMessagesPerWriter; ++n) {
        if (HRESULT hr = SaveNew(inbox.Get(), plan.name, n); FAILED(hr))
            return Failure(plan.name, "saving a message", n, hr);
        if (n % kSharedEvery == 0) {
            if (HRESULT hr = SaveShared(session.Get(), plan, n); FAILED(hr))
                return Failure(plan.name, "saving the shared message", n, hr);
        }
        if (n % kReadEvery == kReadEvery / 2) {
            if (std::string wrong = ReadWhileOtherWrites(inbox.Get(), plan.name, n + 1);
                !wrong.empty())
                return wrong;
        }
    }
    return {};
}

class StoreConcurrencyTest : public DurabilityTest {
protected:
    // A folder "Shared" below the Inbox with the message both writers change, and each
    // writer's counter property.
    void Prepare() {
        ComPtr<IMAPIFolder> folder;
        ASSERT_EQ(inbox_->CreateFolder(FOLDER_GENERIC, const_cast<char*>("Shared"), nullptr,
                                       nullptr, 0, &folder),
                  S_OK);
        ComPtr<IMessage> shared;
        ASSERT_EQ(folder->CreateMessage(nullptr, 0, &shared), S_OK);
        SPropValue subject = Text(PR_SUBJECT_A, "shared");
        ASSERT_EQ(shared->SetProps(1, &subject, nullptr), S_OK);
        ASSERT_EQ(shared->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
        const std::vector<BYTE> inbox = EntryIdOf(inbox_.Get());
        const std::vector<BYTE> message = EntryIdOf(shared.Get());
        plans_ = {{'A', NamedLong("OV-WriterA"), inbox, message},
                  {'B', NamedLong("OV-WriterB"), inbox, message}};
    }

    // The Inbox holds exactly the writers' messages with their values, and the shared message
    // the last counter of each writer.
    void ExpectEveryWritersSaves() {
        RowSetPtr rows;
        const ULONG columns[] = {PR_SUBJECT_A, PR_BODY_A, PR_IMPORTANCE};
        ASSERT_EQ(ReadAllRows(inbox_.Get(), columns, rows), S_OK);
        std::map<std::string, std::pair<std::string, LONG>> found;
        for (ULONG r = 0; r < rows->cRows; ++r) {
            const SPropValue* row = rows->aRow[r].lpProps;
            found[TextOf(row[0])] = {TextOf(row[1]), row[2].Value.l};
        }
        std::vector<std::string> wrong;
        for (const WriterPlan& plan : plans_) {
            for (int n = 0; n < kMessagesPerWriter; ++n) {
                const std::string subject = Subject(plan.name, n);
                auto message = found.find(subject);
                if (message == found.end()) {
                    wrong.push_back(subject + " is missing");
                    continue;
                }
                if (message->second != std::pair(Body(subject), static_cast<LONG>(n % 3)))
                    wrong.push_back(subject + " has other values");
                found.erase(message);
            }
        }
        for (const auto& [subject, values] : found) wrong.push_back(subject + " is extra");
        EXPECT_EQ(wrong, std::vector<std::string>{});
        EXPECT_EQ(rows->cRows, 1000u);

        ComPtr<IMAPITable> table;
        ASSERT_EQ(inbox_->GetContentsTable(0, &table), S_OK);
        ULONG count = 0;
        ASSERT_EQ(table->GetRowCount(0, &count), S_OK);
        EXPECT_EQ(count, 1000u);

        ComPtr<IMessage> shared = Open(plans_[0].shared, 0);
        ASSERT_TRUE(shared);
        SizedSPropTagArray(3, tags) = {3, {PR_SUBJECT_A, plans_[0].counter, plans_[1].counter}};
        ULONG values_count = 0;
        MapiBuffer<SPropValue> values;
        ASSERT_EQ(
            shared->GetProps(reinterpret_cast<LPSPropTagArray>(&tags), 0, &values_count, &values),
            S_OK);
        EXPECT_EQ(TextOf(values[0]), "shared");
        EXPECT_EQ(values[1].Value.l, 490);
        EXPECT_EQ(values[2].Value.l, 490);
    }

    std::vector<WriterPlan> plans_;
};

TEST_F(StoreConcurrencyTest, TwoProcessesWritingAtOnceLoseNothing) {
    Prepare();
    CloseStore();
    Pipe ready;
    Pipe go;
    std::vector<std::unique_ptr<ChildProcess>> writers;
    for (const WriterPlan& plan : plans_) {
        writers.push_back(std::make_unique<ChildProcess>([&] {
            ready.CloseRead();
            go.CloseWrite();
            const std::byte here{1};
            std::string failure = Write(plan, [&] {
                ready.Write(std::span(&here, 1));
                go.WaitForByteOrEnd();
            });
            if (failure.empty()) return 0;
            std::fprintf(stderr, "%s\n", failure.c_str());
            return 1;
        }));
    }
    ready.CloseWrite();
    std::vector<std::byte> arrived;
    ready.ReadUntil(std::chrono::steady_clock::now() + std::chrono::seconds(30), arrived,
                    writers.size());
    ASSERT_EQ(arrived.size(), writers.size()) << "a writer did not get ready";
    // Both start at once.
    go.CloseWrite();
    for (auto& writer : writers) EXPECT_EQ(DescribeStatus(writer->Wait()), "exited with 0");
    Logon();
    ExpectEveryWritersSaves();
}

TEST_F(StoreConcurrencyTest, TwoThreadsWithSessionsOfTheirOwnLoseNothing) {
    Prepare();
    std::latch start(static_cast<std::ptrdiff_t>(plans_.size()));
    std::vector<std::string> failures(plans_.size());
    {
        std::vector<std::jthread> writers;
        for (std::size_t i = 0; i < plans_.size(); ++i) {
            writers.emplace_back(
                [&, i] { failures[i] = Write(plans_[i], [&] { start.arrive_and_wait(); }); });
        }
    }
    EXPECT_EQ(failures, std::vector<std::string>(plans_.size()));
    ExpectEveryWritersSaves();
}

// Another process takes the write lock the moment this one has committed a new value index (a
// second connection to the file plays that process, from the hook SQLite calls after a commit):
// the search that made the index still succeeds, as nothing it does afterwards needs that lock.
TEST_F(StoreConcurrencyTest, SearchThatMakesAnIndexSucceedsWhileAnotherProcessWrites) {
    const ULONG first = NamedLong("OV-First");
    const ULONG second = NamedLong("OV-Second");
    for (LONG i = 0; i < 200; ++i) SaveMessage({Long(first, i % 10), Long(second, i % 20)});
    auto count_of = [&](ULONG tag, LONG value) {
        SPropValue wanted = Long(tag, value);
        SRestriction restriction = {};
        restriction.rt = RES_PROPERTY;
        restriction.res.resProperty = {RELOP_EQ, tag, &wanted};
        RowSetPtr rows;
        const ULONG columns[] = {PR_ENTRYID};
        HRESULT hr = ReadAllRows(inbox_.Get(), columns, rows, &restriction);
        return SUCCEEDED(hr) ? static_cast<LONG>(rows->cRows) : static_cast<LONG>(hr);
    };
    // The first index: the store analyzes its tables.
    ASSERT_EQ(count_of(first, 3), 20);

    struct OtherProcess {
        store::Database db;
        bool writing = false;
    } other{store::Database(StoreFile(), false)};
    auto store = OpenStoreFile();
    auto take_write_lock = [](void* context, sqlite3*, const char*, int) {
        auto* process = static_cast<OtherProcess*>(context);
        if (!process->writing)
            process->writing = sqlite3_exec(process->db.handle(), "BEGIN IMMEDIATE", nullptr,
                                            nullptr, nullptr) == SQLITE_OK;
        return SQLITE_OK;
    };
    store->WithDatabase(
        [&](store::Database& db) { sqlite3_wal_hook(db.handle(), take_write_lock, &other); });
    EXPECT_EQ(count_of(second, 5), 10);
    store->WithDatabase(
        [&](store::Database& db) { sqlite3_wal_autocheckpoint(db.handle(), 1000); });
    EXPECT_TRUE(other.writing);
    if (other.writing) other.db.Exec("COMMIT");
}

}  // namespace
}  // namespace orvella::testing
