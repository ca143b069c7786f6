// Structured storage on disk: streams and sub-storages survive a commit, transactions, the
// file's structure as libgsf reads it, and failures that leave files unchanged.
#include <gtest/gtest.h>

#include "ole_storage.h"
#include "ole_test_support.h"

namespace orvella::testing {
namespace {

using platform::mapi::ComPtr;

constexpr DWORD kCreate = STGM_TRANSACTED | STGM_CREATE | STGM_SHARE_EXCLUSIVE | STGM_READWRITE;
constexpr DWORD kChild = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
constexpr DWORD kChildRead = STGM_READ | STGM_SHARE_EXCLUSIVE;
constexpr CLSID kClass = {0x12345678, 0x1234, 0x5678, {1, 2, 3, 4, 5, 6, 7, 8}};

void PutStream(IStorage* storage, const wchar_t* name, const std::string& bytes) {
    ComPtr<IStream> stream;
    ASSERT_EQ(S_OK, storage->CreateStream(name, kChild | STGM_CREATE, 0, 0, &stream));
    ULONG written = 0;
    ASSERT_EQ(S_OK, stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), &written));
    EXPECT_EQ(bytes.size(), written);
}

std::string GetStream(IStorage* storage, const wchar_t* name) {
    ComPtr<IStream> stream;
    if (FAILED(storage->OpenStream(name, nullptr, kChildRead, 0, &stream))) return "<missing>";
    std::string bytes(100000, '\0');
    ULONG read = 0;
    stream->Read(bytes.data(), static_cast<ULONG>(bytes.size()), &read);
    bytes.resize(read);
    return bytes;
}

// A file with a stream "Top" and a sub-storage "Inner" holding "Deep" (5000 bytes, beyond the
// small-stream limit), committed.
void WriteSample(const std::filesystem::path& path) {
    ComPtr<IStorage> root;
    ASSERT_EQ(S_OK, StgCreateDocfile(Wide(path).c_str(), kCreate, 0, &root));
    PutStream(root.Get(), L"Top", "top bytes");
    ComPtr<IStorage> inner;
    ASSERT_EQ(S_OK, root->CreateStorage(L"Inner", kChild, 0, 0, &inner));
    ASSERT_EQ(S_OK, inner->SetClass(kClass));
    PutStream(inner.Get(), L"Deep", std::string(5000, 'd'));
    inner.Reset();
    ASSERT_EQ(S_OK, root->Commit(STGC_DEFAULT));
}

TEST(StorageTest, StreamsAndSubStoragesSurviveCommitAndReopen) {
    TempHome home;
    const auto path = home.path() / "sample.stg";
    WriteSample(path);

    ComPtr<IStorage> root;
    ASSERT_EQ(S_OK, StgOpenStorage(Wide(path).c_str(), nullptr, STGM_READ | STGM_SHARE_DENY_WRITE,
                                   nullptr, 0, &root));
    EXPECT_EQ("top bytes", GetStream(root.Get(), L"Top"));
    EXPECT_EQ("top bytes", GetStream(root.Get(), L"TOP"));  // names ignore case
    ComPtr<IStorage> inner;
    ASSERT_EQ(S_OK, root->OpenStorage(L"Inner", nullptr, kChildRead, nullptr, 0, &inner));
    EXPECT_EQ(std::string(5000, 'd'), GetStream(inner.Get(), L"Deep"));
    STATSTG stat = {};
    ASSERT_EQ(S_OK, inner->Stat(&stat, STATFLAG_NONAME));
    EXPECT_TRUE(stat.clsid == kClass);
    EXPECT_EQ(STGTY_STORAGE, stat.type);
}

TEST(StorageTest, LibgsfReadsTheWrittenStructure) {
    TempHome home;
    const auto path = home.path() / "sample.stg";
    WriteSample(path);
    const std::map<std::string, std::string> expected = {
        {"Inner", "<storage>"}, {"Inner/Deep", std::string(5000, 'd')}, {"Top", "top bytes"}};
    EXPECT_EQ(expected, GsfElements(path));
}

TEST(StorageTest, TransactedChangesReachTheFileOnlyOnCommit) {
    TempHome home;
    const auto path = home.path() / "sample.stg";
    WriteSample(path);
    {
        ComPtr<IStorage> root;
        ASSERT_EQ(S_OK, StgOpenStorage(Wide(path).c_str(), nullptr,
                                       STGM_TRANSACTED | STGM_READWRITE | STGM_SHARE_EXCLUSIVE,
                                       nullptr, 0, &root));
        PutStream(root.Get(), L"Uncommitted", "lost");
        ASSERT_EQ(S_OK, root->DestroyElement(L"Top"));
    }
    EXPECT_EQ(3u, GsfElements(path).size());
    EXPECT_EQ("top bytes", GsfElements(path)["Top"]);

    ComPtr<IStorage> root;
    ASSERT_EQ(S_OK, StgOpenStorage(Wide(path).c_str(), nullptr,
                                   STGM_TRANSACTED | STGM_READWRITE | STGM_SHARE_EXCLUSIVE, nullptr,
                                   0, &root));
    PutStream(root.Get(), L"Reverted", "gone");
    ASSERT_EQ(S_OK, root->Revert());
    EXPECT_EQ("<missing>", GetStream(root.Get(), L"Reverted"));
    PutStream(root.Get(), L"Kept", "kept");
    ASSERT_EQ(S_OK, root->Commit(STGC_DEFAULT));
    EXPECT_EQ("kept", GsfElements(path)["Kept"]);
}

TEST(StorageTest, DirectModeWritesWhenTheLastElementIsReleased) {
    TempHome home;
    const auto path = home.path() / "direct.stg";
    ComPtr<IStorage> root;
    ASSERT_EQ(S_OK,
              StgCreateDocfile(Wide(path).c_str(),
                               STGM_CREATE | STGM_SHARE_EXCLUSIVE | STGM_READWRITE, 0, &root));
    EXPECT_TRUE(GsfElements(path).empty());
    ComPtr<IStream> stream;
    ASSERT_EQ(S_OK, root->CreateStream(L"Data", kChild, 0, 0, &stream));
    root.Reset();
    ASSERT_EQ(S_OK, stream->Write("abc", 3, nullptr));
    EXPECT_TRUE(GsfElements(path).empty());
    stream.Reset();
    EXPECT_EQ("abc", GsfElements(path)["Data"]);
}

TEST(StorageTest, OpeningFailuresAreReportedAndLeaveFilesUnchanged) {
    TempHome home;
    const auto text = home.path() / "notes.txt";
    WriteFileBytes(text, "just some text, not a compound file");
    const auto damaged = home.path() / "damaged.msg";
    std::string header = "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1";
    header.resize(1536, '\x7F');
    WriteFileBytes(damaged, header);
    struct Case {
        std::filesystem::path path;
        HRESULT expected;
    } cases[] = {
        {home.path() / "absent.msg", STG_E_FILENOTFOUND},
        {text, STG_E_FILEALREADYEXISTS},
        {damaged, STG_E_DOCFILECORRUPT},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path.filename().string());
        const auto before = FileBytes(c.path);
        ComPtr<IStorage> root;
        EXPECT_EQ(c.expected,
                  StgOpenStorage(Wide(c.path).c_str(), nullptr,
                                 STGM_READWRITE | STGM_SHARE_EXCLUSIVE, nullptr, 0, &root));
        EXPECT_FALSE(root);
        EXPECT_EQ(before, FileBytes(c.path));
    }
    ComPtr<IStorage> root;
    EXPECT_EQ(
        STG_E_FILEALREADYEXISTS,
        StgCreateDocfile(Wide(text).c_str(), STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, &root));
    const auto after = FileBytes(text);
    EXPECT_EQ("just some text, not a compound file", std::string(after.begin(), after.end()));
}

TEST(StorageTest, SharingModesRefuseConflictingOpens) {
    TempHome home;
    const auto path = home.path() / "shared.stg";
    WriteSample(path);
    const std::wstring name = Wide(path);
    struct Case {
        DWORD first;
        DWORD second;
        HRESULT expected;
    } cases[] = {
        {STGM_READ | STGM_SHARE_EXCLUSIVE, STGM_READ | STGM_SHARE_DENY_NONE, STG_E_SHAREVIOLATION},
        {STGM_READ | STGM_SHARE_DENY_WRITE, STGM_READ | STGM_SHARE_DENY_WRITE, S_OK},
        {STGM_READ | STGM_SHARE_DENY_WRITE, STGM_READWRITE | STGM_SHARE_DENY_NONE,
         STG_E_SHAREVIOLATION},
        {STGM_READWRITE | STGM_SHARE_DENY_NONE, STGM_READ | STGM_SHARE_DENY_WRITE,
         STG_E_SHAREVIOLATION},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.first);
        ComPtr<IStorage> first, second;
        ASSERT_EQ(S_OK, StgOpenStorage(name.c_str(), nullptr, c.first, nullptr, 0, &first));
        EXPECT_EQ(c.expected, StgOpenStorage(name.c_str(), nullptr, c.second, nullptr, 0, &second));
    }
    ComPtr<IStorage> again;
    EXPECT_EQ(S_OK, StgOpenStorage(name.c_str(), nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, nullptr,
                                   0, &again));
}

TEST(StorageTest, ElementCallsCheckNamesModesAndAccess) {
    TempHome home;
    const auto path = home.path() / "sample.stg";
    WriteSample(path);
    ComPtr<IStorage> writable;
    ASSERT_EQ(S_OK, StgOpenStorage(Wide(path).c_str(), nullptr,
                                   STGM_TRANSACTED | STGM_READWRITE | STGM_SHARE_EXCLUSIVE, nullptr,
                                   0, &writable));
    struct Case {
        const wchar_t* name;
        DWORD mode;
        HRESULT expected;
    } cases[] = {
        {L"Fresh", kChild, S_OK},
        {L"Top", kChild, STG_E_FILEALREADYEXISTS},
        {L"Top", kChild | STGM_CREATE, S_OK},
        {L"NoShareMode", STGM_READWRITE, STG_E_INVALIDFLAG},
        {L"a/b", kChild, STG_E_INVALIDNAME},
        {L"", kChild, STG_E_INVALIDNAME},
        {L"ThisNameIsLongerThanThirtyOneChars", kChild, STG_E_INVALIDNAME},
    };
    for (const Case& c : cases) {
        ComPtr<IStream> stream;
        EXPECT_EQ(c.expected, writable->CreateStream(c.name, c.mode, 0, 0, &stream));
    }
    ComPtr<IStream> stream;
    EXPECT_EQ(STG_E_FILENOTFOUND, writable->OpenStream(L"Nothing", nullptr, kChild, 0, &stream));
    EXPECT_EQ(STG_E_FILENOTFOUND, writable->OpenStream(L"Inner", nullptr, kChild, 0, &stream));
    writable.Reset();

    ComPtr<IStorage> reader;
    ASSERT_EQ(S_OK, StgOpenStorage(Wide(path).c_str(), nullptr, STGM_READ | STGM_SHARE_DENY_WRITE,
                                   nullptr, 0, &reader));
    EXPECT_EQ(STG_E_ACCESSDENIED, reader->CreateStream(L"New", kChild, 0, 0, &stream));
    EXPECT_EQ(STG_E_ACCESSDENIED, reader->DestroyElement(L"Top"));
    EXPECT_EQ(STG_E_ACCESSDENIED, reader->OpenStream(L"Top", nullptr, kChild, 0, &stream));
    ASSERT_EQ(S_OK, reader->OpenStream(L"Top", nullptr, kChildRead, 0, &stream));
    EXPECT_EQ(STG_E_ACCESSDENIED, stream->Write("x", 1, nullptr));
}

}  // namespace
}  // namespace orvella::testing
