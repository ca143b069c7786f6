// Import throughput: a generated Maildir of realistic messages (10k; 100k with
// ORVELLA_BENCH_LARGE=1) and the Enron corpus when present, imported through the real importer
// into a fresh store. Reports messages per second.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "mail_import.h"
#include "mapi_ptr.h"
#include "mapitags.h"
#include "mapiutil.h"
#include "mapix.h"
#include "profile.h"
#include "temp_home.h"

namespace {

namespace fs = std::filesystem;
namespace mail = orvella::host::mail;
using orvella::platform::mapi::ComPtr;
using orvella::platform::mapi::MapiBuffer;
using orvella::platform::mapi::RowSetPtr;
namespace store = orvella::platform::mapi::store;

void Check(HRESULT result, const char* what) {
    if (FAILED(result)) throw std::runtime_error(std::string(what) + " failed");
}

// A deterministic generator: the same mailbox on every run.
class Random {
public:
    std::uint64_t Next() {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 7;
        state_ ^= state_ << 17;
        return state_;
    }
    template <class T, std::size_t N>
    const T& Pick(const T (&items)[N]) {
        return items[Next() % N];
    }

private:
    std::uint64_t state_ = 0x9E3779B97F4A7C15ULL;
};

constexpr const char* kPeople[] = {"Ann Lee <ann.lee@example.org>",       "bob.ray@example.com",
                                   "\"Dunn, Dan\" <dan@example.net>",     "carol@example.org",
                                   "Eve Park <eve.park@partner.example>", "frank@example.com",
                                   "Gina Moss <gina@example.org>",        "hal@lists.example.net"};
constexpr const char* kSubjects[] = {
    "Budget review",     "Re: Budget review", "Lunch on Friday?", "FW: Contract draft",
    "Quarterly numbers", "Re: Trip plan",     "Meeting notes",    "Re: Re: Server outage"};
constexpr const char* kWords[] = {"the",    "plan",     "budget", "we",     "should",
                                  "send",   "numbers",  "before", "Friday", "please",
                                  "review", "attached", "thanks"};

// Writes `count` messages into <dir>/cur and <dir>/new, half of them seen.
void GenerateMaildir(const fs::path& dir, int count) {
    fs::create_directories(dir / "cur");
    fs::create_directories(dir / "new");
    Random random;
    for (int i = 0; i < count; ++i) {
        std::string text = "Received: from mx.example.org by mail.example.org; Tue, " +
                           std::to_string(1 + i % 28) +
                           " Jan 2010 10:" + std::to_string(10 + i % 50) + ":00 +0000\n";
        text += "Message-ID: <" + std::to_string(i) + ".bench@example.org>\n";
        text += "Date: Tue, " + std::to_string(1 + i % 28) +
                " Jan 2010 09:" + std::to_string(10 + i % 50) + ":00 +0000\n";
        text += std::string("From: ") + random.Pick(kPeople) + "\n";
        text += std::string("To: ") + random.Pick(kPeople) + ", " + random.Pick(kPeople) + "\n";
        if (i % 3 == 0) text += std::string("Cc: ") + random.Pick(kPeople) + "\n";
        text += std::string("Subject: ") + random.Pick(kSubjects) + "\n";
        text += "MIME-Version: 1.0\nContent-Type: text/plain; charset=utf-8\n\n";
        const int words = 80 + static_cast<int>(random.Next() % 300);
        for (int w = 0; w < words; ++w) {
            text += random.Pick(kWords);
            text += (w % 12 == 11) ? "\n" : " ";
        }
        text += "\n";
        const bool seen = i % 2 == 0;
        const fs::path file = seen ? dir / "cur" / (std::to_string(i) + ".bench:2,S")
                                   : dir / "new" / (std::to_string(i) + ".bench");
        std::ofstream(file, std::ios::binary) << text;
    }
}

// A fresh profile with one store, logged on; everything goes with the object.
class FreshStore {
public:
    FreshStore() {
        Check(MAPIInitialize(nullptr), "MAPIInitialize");
        store::StoreSetup setup{"Personal Folders", store::StoreKind::Personal, true, false};
        store::CreateProfile("Outlook", std::span(&setup, 1));
        Check(MAPILogonEx(0, nullptr, nullptr, MAPI_EXTENDED | MAPI_USE_DEFAULT, &session_),
              "MAPILogonEx");
        ComPtr<IMAPITable> table;
        Check(session_->GetMsgStoresTable(0, &table), "GetMsgStoresTable");
        SizedSPropTagArray(1, columns) = {1, {PR_ENTRYID}};
        RowSetPtr rows;
        Check(HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns), nullptr,
                             nullptr, 0, &rows),
              "HrQueryAllRows");
        const SBinary& id = rows->aRow[0].lpProps[0].Value.bin;
        Check(session_->OpenMsgStore(0, id.cb, reinterpret_cast<LPENTRYID>(id.lpb), nullptr,
                                     MDB_WRITE, &store_),
              "OpenMsgStore");
    }
    ~FreshStore() {
        store_.Reset();
        session_.Reset();
        MAPIUninitialize();
    }
    IMsgStore* store() const { return store_.Get(); }

private:
    ComPtr<IMAPISession> session_;
    ComPtr<IMsgStore> store_;
};

void RunImport(benchmark::State& state, const std::vector<fs::path>& paths, bool tree) {
    std::size_t imported = 0;
    for (auto _ : state) {
        state.PauseTiming();
        auto home = std::make_unique<orvella::testing::TempHome>();
        auto fresh = std::make_unique<FreshStore>();
        state.ResumeTiming();
        mail::ImportOptions options;
        options.tree = tree;
        imported = mail::ImportMail(fresh->store(), paths, options).Imported();
        state.PauseTiming();
        fresh.reset();
        home.reset();
        state.ResumeTiming();
    }
    state.counters["messages"] = static_cast<double>(imported);
    state.counters["messages/s"] =
        benchmark::Counter(static_cast<double>(imported) * static_cast<double>(state.iterations()),
                           benchmark::Counter::kIsRate);
}

void BM_ImportGeneratedMaildir(benchmark::State& state) {
    const int count = static_cast<int>(state.range(0));
    if (count > 10'000 && !std::getenv("ORVELLA_BENCH_LARGE")) {
        state.SkipWithError("set ORVELLA_BENCH_LARGE=1 for the 100k Maildir");
        return;
    }
    orvella::testing::TempHome source;
    const fs::path maildir = source.path() / "Maildir";
    GenerateMaildir(maildir, count);
    RunImport(state, {maildir}, false);
}
BENCHMARK(BM_ImportGeneratedMaildir)
    ->Arg(10'000)
    ->Arg(100'000)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

fs::path EnronCorpus() {
    const char* set = std::getenv("ORVELLA_CORPUS");
    return fs::path(set ? set : ORVELLA_CORPUS) / "enron";
}

// Every Enron mailbox with --tree, one after the other into one store.
void BM_ImportEnronCorpus(benchmark::State& state) {
    if (!fs::is_directory(EnronCorpus())) {
        state.SkipWithError("no corpus");
        return;
    }
    std::vector<fs::path> mailboxes;
    for (const auto& entry : fs::directory_iterator(EnronCorpus())) {
        if (entry.is_directory()) mailboxes.push_back(entry.path());
    }
    RunImport(state, mailboxes, true);
}
BENCHMARK(BM_ImportEnronCorpus)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
