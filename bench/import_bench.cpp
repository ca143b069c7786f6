// Import throughput: a generated mailbox of realistic messages (10k; 100k with
// ORVELLA_BENCH_LARGE=1) and the Enron corpus when present, imported through the real importer
// into a fresh store. Reports messages per second.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "corpus_location.h"
#include "mail_import.h"
#include "mailbox_generator.h"
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
using orvella::testing::EnronCorpus;

void Check(HRESULT result, const char* what) {
    if (FAILED(result)) throw std::runtime_error(std::string(what) + " failed");
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

// The mailbox generator's Inbox and Sent Items, with --tree.
void BM_ImportGeneratedMailbox(benchmark::State& state) {
    const auto count = static_cast<std::size_t>(state.range(0));
    if (count > 10'000 && !std::getenv("ORVELLA_BENCH_LARGE")) {
        state.SkipWithError("set ORVELLA_BENCH_LARGE=1 for the 100k mailbox");
        return;
    }
    orvella::testing::TempHome source;
    const fs::path mailbox = source.path() / "mail";
    orvella::host::generator::GenerateMailbox({count, 1}, mailbox);
    RunImport(state, {mailbox}, true);
}
BENCHMARK(BM_ImportGeneratedMailbox)
    ->Arg(10'000)
    ->Arg(100'000)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

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
