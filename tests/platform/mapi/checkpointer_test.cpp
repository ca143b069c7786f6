// The checkpointer: checkpoints of a store's WAL run on a thread of their own once the WAL has
// grown long, while the served connection goes on committing, and what was committed stays whole.
#include "db/checkpointer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

#include "temp_home.h"

namespace orvella::testing {
namespace {

namespace store = platform::mapi::store;

TEST(CheckpointerTest, ALongWalIsCheckpointedOnItsThreadAndNothingCommittedIsLost) {
    TempHome home;
    store::Database db(home.path() / "wal.db", true);
    db.Exec("PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL; CREATE TABLE t(v BLOB)");
    constexpr int kCommits = 400;
    {
        store::Checkpointer checkpointer(db);
        // Each commit of a 16 KB value appends several pages: the WAL passes the threshold.
        const std::vector<std::uint8_t> value(16384, 7);
        for (int i = 0; i < kCommits; ++i)
            db.Cached("INSERT INTO t(v) VALUES(?1)").BindBlob(1, value).Run();
        // Waits for the thread, not for a time: the deadline only ends a hung test.
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (checkpointer.Runs() == 0 && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        EXPECT_GE(checkpointer.Runs(), 1);
        for (int i = 0; i < kCommits; ++i)
            db.Cached("INSERT INTO t(v) VALUES(?1)").BindBlob(1, value).Run();
    }
    store::Database reopened(home.path() / "wal.db", false);
    store::Statement& count = reopened.Cached("SELECT count(*) FROM t");
    ASSERT_TRUE(count.Step());
    EXPECT_EQ(count.Int(0), 2 * kCommits);
    count.Reset();
    store::Statement& check = reopened.Cached("PRAGMA integrity_check");
    ASSERT_TRUE(check.Step());
    EXPECT_EQ(check.Text(0), "ok");
    check.Reset();
}

// A writer that never pauses begins each transaction while the thread is still copying: the WAL
// must still start over now and then instead of growing with everything ever written.
TEST(CheckpointerTest, UnderSteadyWritingTheWalStartsOverInsteadOfGrowing) {
    TempHome home;
    const auto file = home.path() / "wal.db";
    store::Database db(file, true);
    db.Exec("PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL; CREATE TABLE t(v BLOB)");
    const std::vector<std::uint8_t> value(16384, 7);
    int written = 0;
    {
        store::Checkpointer checkpointer(db);
        // Each commit appends about five pages: ten times the restart length in all.
        while (written < 10 * store::Checkpointer::kRestartFrames) {
            db.Cached("INSERT INTO t(v) VALUES(?1)").BindBlob(1, value).Run();
            written += 5;
        }
    }
    // The WAL header counts the times the log started from its beginning (its checkpoint
    // sequence number, big-endian at byte 12): six or seven here on a quiet machine, never once
    // without the writer's own checkpoints. Not more is asked: a checkpoint held up by a busy
    // disk lets the log grow for a while (two restarts were seen under heavy disk load).
    std::ifstream wal(file.string() + "-wal", std::ios::binary);
    std::uint8_t header[16] = {};
    ASSERT_TRUE(wal.read(reinterpret_cast<char*>(header), sizeof header));
    const std::uint32_t restarts = std::uint32_t{header[12]} << 24 |
                                   std::uint32_t{header[13]} << 16 |
                                   std::uint32_t{header[14]} << 8 | header[15];
    EXPECT_GE(restarts, 1u) << written << " frames written";
}

}  // namespace
}  // namespace orvella::testing
