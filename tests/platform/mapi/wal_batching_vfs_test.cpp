// The WAL-batching VFS: whatever a store connection commits is in the file when the commit
// returns, as another connection reading through the system's own VFS sees it, and a
// transaction reads back the pages it had to write out before committing.
#include "db/wal_batching_vfs.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdint>
#include <string>
#include <vector>

#include "db/sqlite_db.h"
#include "temp_home.h"

namespace orvella::testing {
namespace {

namespace store = platform::mapi::store;

// A connection through the default VFS, which reads only what reached the files.
class PlainReader {
public:
    explicit PlainReader(const std::string& file) {
        EXPECT_EQ(sqlite3_open_v2(file.c_str(), &db_, SQLITE_OPEN_READONLY, "unix"), SQLITE_OK);
    }
    ~PlainReader() { sqlite3_close_v2(db_); }
    PlainReader(const PlainReader&) = delete;
    PlainReader& operator=(const PlainReader&) = delete;

    // The rows and the sum of their lengths, or -1 and -1 when the read fails.
    std::pair<std::int64_t, std::int64_t> Totals() {
        sqlite3_stmt* read = nullptr;
        std::pair<std::int64_t, std::int64_t> totals{-1, -1};
        if (sqlite3_prepare_v2(db_, "SELECT count(*), total(length(v)) FROM t", -1, &read,
                               nullptr) == SQLITE_OK &&
            sqlite3_step(read) == SQLITE_ROW) {
            totals = {sqlite3_column_int64(read, 0),
                      static_cast<std::int64_t>(sqlite3_column_double(read, 1))};
        }
        sqlite3_finalize(read);
        return totals;
    }

private:
    sqlite3* db_ = nullptr;
};

TEST(WalBatchingVfsTest, EveryCommitIsInTheFileWhenItReturns) {
    struct Shape {
        const char* what;
        int rows;
        int bytes;  // per row
    };
    // One page; a few pages (several frames gathered); more than is gathered before writing.
    const Shape shapes[] = {{"one small row", 1, 10},
                            {"a few pages", 6, 3000},
                            {"megabytes in one transaction", 3, 1 << 20},
                            {"many small rows", 2000, 40}};
    TempHome home;
    const auto file = home.path() / "batched.db";
    store::Database db(file, true);
    db.Exec("PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL; CREATE TABLE t(v BLOB)");
    PlainReader reader(file.string());
    std::int64_t rows = 0;
    std::int64_t bytes = 0;
    for (int round = 0; round < 3; ++round) {
        for (const Shape& shape : shapes) {
            SCOPED_TRACE(shape.what);
            const std::vector<std::uint8_t> value(static_cast<std::size_t>(shape.bytes),
                                                  static_cast<std::uint8_t>(round));
            store::Transaction transaction(db);
            for (int i = 0; i < shape.rows; ++i)
                db.Cached("INSERT INTO t(v) VALUES(?1)").BindBlob(1, value).Run();
            transaction.Commit();
            rows += shape.rows;
            bytes += std::int64_t{shape.rows} * shape.bytes;
            EXPECT_EQ(reader.Totals(), std::make_pair(rows, bytes));
        }
    }
}

// With a tiny page cache a large transaction writes pages to the WAL before it commits and
// reads them back from there: what it reads must be what it wrote.
TEST(WalBatchingVfsTest, ATransactionReadsBackThePagesItSpilled) {
    TempHome home;
    const auto file = home.path() / "spilled.db";
    store::Database db(file, true);
    db.Exec(
        "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL; PRAGMA cache_size=8;"
        "CREATE TABLE t(id INTEGER PRIMARY KEY, v BLOB)");
    const std::vector<std::uint8_t> value(500, 1);
    store::Transaction transaction(db);
    for (int i = 0; i < 5000; ++i)
        db.Cached("INSERT INTO t(v) VALUES(?1)").BindBlob(1, value).Run();
    db.Exec("UPDATE t SET v = zeroblob(300) WHERE id % 2 = 0");
    store::Statement& read = db.Cached("SELECT count(*), total(length(v)) FROM t");
    ASSERT_TRUE(read.Step());
    EXPECT_EQ(read.Int(0), 5000);
    EXPECT_EQ(read.Int(1), 2500 * 500 + 2500 * 300);
    read.Reset();
    transaction.Commit();
    store::Statement& check = db.Cached("PRAGMA integrity_check");
    ASSERT_TRUE(check.Step());
    EXPECT_EQ(check.Text(0), "ok");
    check.Reset();
    EXPECT_EQ(PlainReader(file.string()).Totals(),
              (std::pair<std::int64_t, std::int64_t>{5000, 2500 * 800}));
}

}  // namespace
}  // namespace orvella::testing
