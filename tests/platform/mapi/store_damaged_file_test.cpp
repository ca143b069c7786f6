// Opening a store file that is not a store, or a damaged one: OpenMsgStore fails with
// MAPI_E_CORRUPT_STORE, the session's last error names the file, and the file keeps its bytes.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "durability_fixture.h"

namespace orvella::testing {
namespace {

constexpr std::size_t kPage = 4096;

std::string ReadBytes(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

void WriteBytes(const std::filesystem::path& file, const std::string& bytes) {
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out << bytes;
}

void Overwrite(const std::filesystem::path& file, std::size_t offset, std::size_t length) {
    std::string bytes = ReadBytes(file);
    for (std::size_t i = offset; i < offset + length && i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(0xA5 ^ (i & 0xFF));
    WriteBytes(file, bytes);
}

struct Case {
    const char* name;
    // Turns the file of a store with a few hundred messages, closed cleanly, into the case.
    std::function<void(const std::filesystem::path&)> make;
    // The last error's text after the file's name.
    const char* says;
};

constexpr const char* kNotADatabase =
    " is damaged or is not a message store (file is not a database)";
constexpr const char* kMalformed =
    " is damaged or is not a message store (database disk image is malformed)";

void PrintTo(const Case& c, std::ostream* out) {
    *out << c.name;
}

const Case kCases[] = {
    {"RandomBytes",
     [](const std::filesystem::path& file) {
         std::mt19937 random(7);
         std::string bytes(4 * kPage, '\0');
         for (char& byte : bytes) byte = static_cast<char>(random());
         WriteBytes(file, bytes);
     },
     kNotADatabase},
    {"TextFile",
     [](const std::filesystem::path& file) {
         WriteBytes(file, "Dear reader,\nthese are my notes, not a mailbox.\n");
     },
     kNotADatabase},
    {"EmptyFile", [](const std::filesystem::path& file) { WriteBytes(file, ""); },
     " is not a message store"},
    {"AnotherApplicationsDatabase",
     [](const std::filesystem::path& file) {
         std::filesystem::remove(file);
         store::Database db(file, true);
         db.Exec(
             "PRAGMA application_id=305419896; CREATE TABLE notes(text);"
             "INSERT INTO notes VALUES('not mail')");
     },
     " is not a message store"},
    {"StoreCutToHalfItsLength",
     [](const std::filesystem::path& file) {
         std::filesystem::resize_file(file, std::filesystem::file_size(file) / 2);
     },
     kMalformed},
    {"StoreWithItsSchemaOverwritten",
     [](const std::filesystem::path& file) { Overwrite(file, 100, kPage - 100); }, kMalformed},
    {"StoreWithItsTablesFirstPagesOverwritten",
     [](const std::filesystem::path& file) { Overwrite(file, kPage, 4 * kPage); }, kMalformed},
};

class DamagedStoreTest : public DurabilityTest {
protected:
    // A few hundred messages with bodies of varied length, so that the file has many pages; then
    // the store is closed, which leaves everything in the file itself.
    void FillInboxAndClose() {
        for (LONG i = 0; i < 300; ++i) {
            const std::string body(500 + i * 10, static_cast<char>('a' + i % 26));
            SaveMessage({Text(PR_SUBJECT_A, "kept"), Text(PR_BODY_A, body.c_str()),
                         Long(PR_IMPORTANCE, i % 3)});
        }
        CloseStore();
        ASSERT_FALSE(std::filesystem::exists(StoreFile().string() + "-wal"));
    }
};

class StoreDamagedFileTest : public DamagedStoreTest, public ::testing::WithParamInterface<Case> {};

TEST_P(StoreDamagedFileTest, OpeningFailsNamingTheFileAndLeavesItAlone) {
    std::vector<BYTE> store_eid = EntryIdOf(store_.Get());
    const std::filesystem::path file = StoreFile();
    FillInboxAndClose();
    GetParam().make(file);
    const std::string before = ReadBytes(file);

    ASSERT_EQ(MAPILogonEx(0, nullptr, nullptr, MAPI_EXTENDED | MAPI_USE_DEFAULT, &session_), S_OK);
    EXPECT_EQ(session_->OpenMsgStore(0, static_cast<ULONG>(store_eid.size()),
                                     reinterpret_cast<LPENTRYID>(store_eid.data()), nullptr,
                                     MDB_WRITE, &store_),
              MAPI_E_CORRUPT_STORE);
    MapiBuffer<MAPIERROR> error;
    ASSERT_EQ(session_->GetLastError(MAPI_E_CORRUPT_STORE, 0, &error), S_OK);
    ASSERT_TRUE(error && error->lpszError);
    EXPECT_EQ(error->lpszError, file.string() + GetParam().says);
    session_.Reset();
    EXPECT_TRUE(ReadBytes(file) == before) << "the file changed";
}

INSTANTIATE_TEST_SUITE_P(Files, StoreDamagedFileTest, ::testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.name); });

// Damage among the messages' pages is found when those messages are read (opening does not
// read the whole file), and by the store check, which reports it rather than failing.
TEST_F(DamagedStoreTest, DamageAmongMessagesFailsTheirReadingAndShowsInTheCheck) {
    const std::filesystem::path file = StoreFile();
    FillInboxAndClose();
    Overwrite(file, std::filesystem::file_size(file) - 16 * kPage, 16 * kPage);
    const std::string before = ReadBytes(file);
    Logon();
    RowSetPtr rows;
    const ULONG columns[] = {PR_SUBJECT_A, PR_BODY_A};
    EXPECT_EQ(ReadAllRows(inbox_.Get(), columns, rows), MAPI_E_CORRUPT_STORE);

    // The table's own account of the failure names the file, as the store's does.
    ComPtr<IMAPITable> table;
    ASSERT_EQ(inbox_->GetContentsTable(0, &table), S_OK);
    SizedSPropTagArray(2, tags) = {2, {PR_SUBJECT_A, PR_BODY_A}};
    ASSERT_EQ(table->SetColumns(reinterpret_cast<LPSPropTagArray>(&tags), 0), S_OK);
    HRESULT read = S_OK;
    for (ULONG got = 1; SUCCEEDED(read) && got > 0;) {
        RowSetPtr page;
        read = table->QueryRows(50, 0, &page);
        got = SUCCEEDED(read) ? page->cRows : 0;
    }
    ASSERT_EQ(read, MAPI_E_CORRUPT_STORE);
    MapiBuffer<MAPIERROR> error;
    ASSERT_EQ(table->GetLastError(read, 0, &error), S_OK);
    ASSERT_TRUE(error && error->lpszError);
    EXPECT_NE(std::string(error->lpszError).find(file.string()), std::string::npos)
        << error->lpszError;
    table.Reset();

    std::vector<std::string> problems = CheckStore();
    ASSERT_FALSE(problems.empty());
    EXPECT_EQ(problems.back(), file.string() + kMalformed);
    CloseStore();
    EXPECT_TRUE(ReadBytes(file) == before) << "the file changed";
}

}  // namespace
}  // namespace orvella::testing
