// Saves that share one commit: they reach the file together when the scope ends, and a writer
// killed before then leaves none of them behind.
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "child_process.h"
#include "durability_fixture.h"
#include "mapi_shared_commit.h"
#include "store_database.h"

namespace orvella::testing {
namespace {

class SharedCommitTest : public DurabilityTest {
protected:
    // Forks a writer that saves `subjects` into the Inbox inside one shared commit scope and
    // then either ends the scope or dies at once, as a crash would; its exit status.
    std::string WriteAndEnd(const std::vector<std::string>& subjects, bool endScope) {
        const std::vector<BYTE> store_eid = EntryIdOf(store_.Get());
        const std::vector<BYTE> inbox_eid = EntryIdOf(inbox_.Get());
        CloseStore();
        ChildProcess writer([&] {
            ComPtr<IMAPISession> session;
            ComPtr<IMsgStore> store;
            if (FAILED(
                    MAPILogonEx(0, nullptr, nullptr, MAPI_EXTENDED | MAPI_USE_DEFAULT, &session)) ||
                FAILED(session->OpenMsgStore(
                    0, static_cast<ULONG>(store_eid.size()),
                    reinterpret_cast<LPENTRYID>(const_cast<BYTE*>(store_eid.data())), nullptr,
                    MAPI_BEST_ACCESS, &store)))
                return 2;
            ULONG type = 0;
            ComPtr<IMAPIFolder> inbox;
            if (FAILED(store->OpenEntry(
                    static_cast<ULONG>(inbox_eid.size()),
                    reinterpret_cast<LPENTRYID>(const_cast<BYTE*>(inbox_eid.data())), nullptr,
                    MAPI_MODIFY, &type, inbox.PutUnknown())))
                return 3;
            auto scope = platform::mapi::BeginSharedCommit(store.Get());
            for (const std::string& subject : subjects) {
                ComPtr<IMessage> message;
                SPropValue value = Text(PR_SUBJECT_A, subject.c_str());
                if (FAILED(inbox->CreateMessage(nullptr, 0, &message)) ||
                    FAILED(message->SetProps(1, &value, nullptr)) ||
                    FAILED(message->SaveChanges(0)))
                    return 4;
            }
            if (!endScope) _exit(0);
            scope.reset();
            return 0;
        });
        const int status = writer.Wait();
        Logon();
        return WIFEXITED(status) ? "exited with " + std::to_string(WEXITSTATUS(status))
                                 : "ended otherwise";
    }

    std::vector<std::string> Subjects() {
        const ULONG columns[] = {PR_SUBJECT_A};
        RowSetPtr rows;
        EXPECT_EQ(ReadAllRows(inbox_.Get(), columns, rows), S_OK);
        std::vector<std::string> subjects;
        for (ULONG r = 0; r < rows->cRows; ++r)
            subjects.push_back(TextOf(rows->aRow[r].lpProps[0]));
        return subjects;
    }
};

TEST_F(SharedCommitTest, SavesOfOneScopeLandTogetherOrNotAtAll) {
    EXPECT_EQ(WriteAndEnd({"lost one", "lost two"}, false), "exited with 0");
    EXPECT_EQ(Subjects(), std::vector<std::string>{});
    EXPECT_EQ(WriteAndEnd({"kept one", "kept two"}, true), "exited with 0");
    EXPECT_EQ(Subjects(), (std::vector<std::string>{"kept one", "kept two"}));
    EXPECT_EQ(CheckStore(), std::vector<std::string>{});
}

// Saves sharing a commit run without savepoints: one that fails its checks changes nothing,
// one that fails after writing (here the file's length limit) rolls back the whole shared
// transaction, tables forget what they read in it, and the saves after it share a new one.
// The file holds no half-saved message.
TEST_F(SharedCommitTest, ASaveFailingAfterItWroteUndoesItsSharedCommitWhole) {
    std::vector<BYTE> before = SaveMessage({Text(PR_SUBJECT_A, "before")});
    auto save_new = [&](const std::string& subject, const std::string& body) {
        ComPtr<IMessage> message;
        EXPECT_EQ(inbox_->CreateMessage(nullptr, 0, &message), S_OK);
        SPropValue values[] = {Text(PR_SUBJECT_A, subject.c_str()), Text(PR_BODY_A, body.c_str())};
        EXPECT_EQ(message->SetProps(2, values, nullptr), S_OK);
        return message->SaveChanges(0);
    };
    // Sets the store connection's longest value (-1: leaves it); the one before.
    auto length_limit = [&](int limit) {
        int before = 0;
        OpenStoreFile()->WithDatabase([&](platform::mapi::store::Database& db) {
            before = sqlite3_limit(db.handle(), SQLITE_LIMIT_LENGTH, limit);
        });
        return before;
    };
    {
        auto scope = platform::mapi::BeginSharedCommit(store_.Get());
        EXPECT_EQ(save_new("lost with the failure", "short"), S_OK);
        ComPtr<IMessage> first = Open(before);
        ComPtr<IMessage> second = Open(before);
        SPropValue renamed = Text(PR_SUBJECT_A, "renamed");
        ASSERT_EQ(first->SetProps(1, &renamed, nullptr), S_OK);
        ASSERT_EQ(first->SaveChanges(0), S_OK);
        ASSERT_EQ(second->SetProps(1, &renamed, nullptr), S_OK);
        EXPECT_EQ(second->SaveChanges(0), MAPI_E_OBJECT_CHANGED);
        // Read inside the shared transaction: what tables keep of it must go with it.
        EXPECT_EQ(Subjects(), (std::vector<std::string>{"renamed", "lost with the failure"}));
        const int limit = length_limit(1000);
        EXPECT_EQ(save_new("too long", std::string(5000, 'x')), MAPI_E_NOT_ENOUGH_MEMORY);
        length_limit(limit);
        // As many messages as when the tables read: the count alone cannot tell them apart.
        EXPECT_EQ(save_new("after the failure", "short"), S_OK);
        EXPECT_EQ(Subjects(), (std::vector<std::string>{"before", "after the failure"}));
    }
    EXPECT_EQ(Subjects(), (std::vector<std::string>{"before", "after the failure"}));
    EXPECT_EQ(CheckStore(), std::vector<std::string>{});
}

// A walk keeps the candidates it read ahead of its cursor. Read inside a shared transaction
// that a failing save then rolls back, they are forgotten: the walk finds what the file holds,
// though the failing save changed nothing the walk looks at (another value, behind it).
TEST_F(SharedCommitTest, AWalkForgetsWhatItReadInASharedCommitThatWasRolledBack) {
    const ULONG thread = NamedLong("Thread");
    std::vector<std::vector<BYTE>> saved;
    for (LONG serial = 0; serial < 10; ++serial)
        saved.push_back(
            SaveMessage({Long(PR_IMPORTANCE, serial), Long(thread, serial == 2 ? 7 : 8)}));
    SPropValue inThread = Long(thread, 7);
    SRestriction ofThread = {};
    ofThread.rt = RES_PROPERTY;
    ofThread.res.resProperty = {RELOP_EQ, thread, &inThread};
    std::vector<LONG> found;
    {
        auto scope = platform::mapi::BeginSharedCommit(store_.Get());
        for (std::size_t joining : {5u, 8u}) {
            ComPtr<IMessage> message = Open(saved[joining]);
            ASSERT_EQ(HrSetOneProp(message.Get(), &inThread), S_OK);
            ASSERT_EQ(message->SaveChanges(0), S_OK);
        }
        ComPtr<IMAPITable> table;
        ASSERT_EQ(inbox_->GetContentsTable(0, &table), S_OK);
        SizedSPropTagArray(1, columns) = {1, {PR_IMPORTANCE}};
        ASSERT_EQ(table->SetColumns(reinterpret_cast<LPSPropTagArray>(&columns), 0), S_OK);
        auto next = [&] {
            if (table->FindRow(&ofThread, BOOKMARK_CURRENT, 0) != S_OK) return false;
            RowSetPtr row;
            EXPECT_EQ(table->QueryRows(1, 0, &row), S_OK);
            found.push_back(row->aRow[0].lpProps[0].Value.l);
            return true;
        };
        ASSERT_TRUE(next());
        // Fails after writing: the message behind the cursor, a value too long for the file.
        int limit = 0;
        OpenStoreFile()->WithDatabase([&](platform::mapi::store::Database& db) {
            limit = sqlite3_limit(db.handle(), SQLITE_LIMIT_LENGTH, 1000);
        });
        ComPtr<IMessage> first = Open(saved[0]);
        const std::string body(5000, 'x');
        SPropValue longBody = Text(PR_BODY_A, body.c_str());
        ASSERT_EQ(HrSetOneProp(first.Get(), &longBody), S_OK);
        EXPECT_EQ(first->SaveChanges(0), MAPI_E_NOT_ENOUGH_MEMORY);
        OpenStoreFile()->WithDatabase([&](platform::mapi::store::Database& db) {
            sqlite3_limit(db.handle(), SQLITE_LIMIT_LENGTH, limit);
        });
        while (next()) {
        }
    }
    EXPECT_EQ(found, std::vector<LONG>{2});
    EXPECT_EQ(CheckStore(), std::vector<std::string>{});
}

}  // namespace
}  // namespace orvella::testing
