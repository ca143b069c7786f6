// Embedded message store speed on generated mailboxes: finding a thread's messages with FindRow,
// paging through a whole folder, saving opened messages, and finding a contact by address.
#include <benchmark/benchmark.h>

#include <chrono>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench_guard.h"
#include "mapi_ptr.h"
#include "mapitags.h"
#include "mapix.h"
#include "store_fixture_bench.h"

namespace orvella::bench {
namespace {

using platform::mapi::ComPtr;
using platform::mapi::RowSetPtr;

constexpr LONG kPageRows = 50;

ComPtr<IMAPITable> ContentsTable(IMAPIFolder* folder) {
    ComPtr<IMAPITable> table;
    Check(folder->GetContentsTable(0, &table), "GetContentsTable");
    return table;
}

// Takes the table's rows now, so that the measurements leave out opening it.
void Load(IMAPITable* table) {
    ULONG rows = 0;
    Check(table->GetRowCount(0, &rows), "GetRowCount");
}

SRestriction Equals(SPropValue& value) {
    SRestriction restriction = {};
    restriction.rt = RES_PROPERTY;
    restriction.res.resProperty = {RELOP_EQ, value.ulPropTag, &value};
    return restriction;
}

// The rows of one thread, found from the beginning and then from just past each row found.
int WalkThread(IMAPITable* table, SRestriction& restriction) {
    int found = 0;
    BOOKMARK origin = BOOKMARK_BEGINNING;
    for (;;) {
        const HRESULT hr = table->FindRow(&restriction, origin, 0);
        if (hr == MAPI_E_NOT_FOUND) return found;
        Check(hr, "FindRow");
        ++found;
        Check(table->SeekRow(BOOKMARK_CURRENT, 1, nullptr), "SeekRow");
        origin = BOOKMARK_CURRENT;
    }
}

// Walks the chosen thread once per iteration on the table `table_for` gives (it may open one
// each time) and reports the time per row found.
template <class TableFor>
void MeasureThreadWalks(benchmark::State& state, TableFor&& table_for) {
    Mailbox& box = MailboxOf(state.range(0));
    SPropValue thread = LongValue(box.thread_tag, box.chosen_thread);
    SRestriction restriction = Equals(thread);
    std::int64_t found = 0;
    for (auto _ : state) {
        const int rows = WalkThread(table_for(box).Get(), restriction);
        if (rows != kMessagesPerThread) {
            state.SkipWithError("the thread should have 5 rows");
            break;
        }
        found += rows;
    }
    state.counters["found_rows"] =
        benchmark::Counter(static_cast<double>(found), benchmark::Counter::kAvgIterations);
    state.counters["time_per_row"] = benchmark::Counter(
        static_cast<double>(found), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

// (a) A thread's messages on a table the add-in keeps open: the search narrows by the value
// index, so the time should hardly grow with the folder.
void FindThreadRows(benchmark::State& state) {
    Guard(state, [&] {
        ComPtr<IMAPITable> table = ContentsTable(MailboxOf(state.range(0)).inbox.Get());
        Load(table.Get());
        MeasureThreadWalks(state, [&](Mailbox&) { return table; });
    });
}
BENCHMARK(FindThreadRows)->Apply(MailboxSizes)->Unit(benchmark::kMicrosecond)->UseRealTime();

// The same walk on a contents table opened for it, as a caller that does not keep one pays.
void FindThreadRowsOnNewTable(benchmark::State& state) {
    Guard(state, [&] {
        MeasureThreadWalks(state, [](Mailbox& box) { return ContentsTable(box.inbox.Get()); });
    });
}
BENCHMARK(FindThreadRowsOnNewTable)
    ->Apply(MailboxSizes)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

// The walk for messages lacking any of five properties, on a folder where every message has
// all five (the processed markers of a fully processed Inbox): the whole cost of finding none.
void FindRowsLackingAnyOfFive(benchmark::State& state) {
    Guard(state, [&] {
        Mailbox& box = MailboxOf(state.range(0));
        const ULONG tags[] = {PR_SUBJECT_A, PR_SENDER_EMAIL_ADDRESS_A, PR_MESSAGE_DELIVERY_TIME,
                              PR_IMPORTANCE, box.thread_tag};
        SRestriction exists[5] = {}, lacks[5] = {};
        for (int i = 0; i < 5; ++i) {
            exists[i].rt = RES_EXIST;
            exists[i].res.resExist.ulPropTag = tags[i];
            lacks[i].rt = RES_NOT;
            lacks[i].res.resNot.lpRes = &exists[i];
        }
        SRestriction any = {};
        any.rt = RES_OR;
        any.res.resOr = {5, lacks};
        // The first search creates the five tags' value indexes: measured apart, as they stay.
        const auto began = std::chrono::steady_clock::now();
        ContentsTable(box.inbox.Get())->FindRow(&any, BOOKMARK_BEGINNING, 0);
        state.counters["first_search_ms"] =
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - began)
                .count();
        for (auto _ : state) {
            ComPtr<IMAPITable> table = ContentsTable(box.inbox.Get());
            Check(table->SeekRow(BOOKMARK_BEGINNING, 0, nullptr), "SeekRow");
            if (table->FindRow(&any, BOOKMARK_CURRENT, 0) != MAPI_E_NOT_FOUND) {
                state.SkipWithError("every message has the five properties");
                break;
            }
        }
    });
}
BENCHMARK(FindRowsLackingAnyOfFive)
    ->Apply(MailboxSizes)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

// (b) The whole folder in pages of 50 rows: seek to each page, read it without moving.
void PagedFolderRead(benchmark::State& state) {
    Guard(state, [&] {
        Mailbox& box = MailboxOf(state.range(0));
        ComPtr<IMAPITable> table = ContentsTable(box.inbox.Get());
        SizedSPropTagArray(3, columns) = {3, {PR_ENTRYID, PR_SUBJECT_A, box.thread_tag}};
        Check(table->SetColumns(reinterpret_cast<LPSPropTagArray>(&columns), 0), "SetColumns");
        Load(table.Get());
        std::int64_t total = 0;
        for (auto _ : state) {
            std::int64_t read = 0;
            for (LONG start = 0;; start += kPageRows) {
                Check(table->SeekRow(BOOKMARK_BEGINNING, start, nullptr), "SeekRow");
                RowSetPtr rows;
                Check(table->QueryRows(kPageRows, TBL_NOADVANCE, &rows), "QueryRows");
                if (rows->cRows == 0) break;
                read += rows->cRows;
                benchmark::DoNotOptimize(rows->aRow[0].lpProps[2].Value.l);
            }
            if (read != box.size) {
                state.SkipWithError("the pages should hold every message");
                break;
            }
            total += read;
        }
        state.counters["rows_per_second"] =
            benchmark::Counter(static_cast<double>(total), benchmark::Counter::kIsRate);
    });
}
BENCHMARK(PagedFolderRead)->Apply(MailboxSizes)->Unit(benchmark::kMillisecond)->UseRealTime();

// Entry ids of messages spread over the whole folder.
std::vector<std::vector<BYTE>> SpreadEntryIds(Mailbox& box, std::int64_t count) {
    ComPtr<IMAPITable> table = ContentsTable(box.inbox.Get());
    SizedSPropTagArray(1, columns) = {1, {PR_ENTRYID}};
    Check(table->SetColumns(reinterpret_cast<LPSPropTagArray>(&columns), 0), "SetColumns");
    std::vector<std::vector<BYTE>> ids;
    for (std::int64_t i = 0; i < count; ++i) {
        Check(table->SeekRow(BOOKMARK_BEGINNING, static_cast<LONG>(i * box.size / count), nullptr),
              "SeekRow");
        RowSetPtr rows;
        Check(table->QueryRows(1, 0, &rows), "QueryRows");
        if (rows->cRows != 1) throw std::runtime_error("a message is missing");
        const SBinary& eid = rows->aRow[0].lpProps[0].Value.bin;
        ids.emplace_back(eid.lpb, eid.lpb + eid.cb);
    }
    return ids;
}

// (c) Open a message by entry id for writing, change 8 values, save.
void SaveOpenedMessage(benchmark::State& state) {
    Guard(state, [&] {
        Mailbox& box = MailboxOf(state.range(0));
        std::vector<std::vector<BYTE>> ids = SpreadEntryIds(box, 1024);
        const ULONG score = PublicStringTag(box.inbox.Get(), L"OV-Score", PT_LONG);
        const ULONG processed = PublicStringTag(box.inbox.Get(), L"OV-Processed", PT_LONG);
        const ULONG topic = PublicStringTag(box.inbox.Get(), L"OV-Topic", PT_STRING8);
        const std::string topics[] = {"Budget", "Release planning", "Customers"};
        std::int64_t saved = 0;
        for (auto _ : state) {
            std::vector<BYTE>& eid = ids[static_cast<std::size_t>(saved) % ids.size()];
            ComPtr<IMessage> message;
            ULONG type = 0;
            Check(box.session->OpenEntry(static_cast<ULONG>(eid.size()),
                                         reinterpret_cast<LPENTRYID>(eid.data()), nullptr,
                                         MAPI_MODIFY, &type, message.PutUnknown()),
                  "OpenEntry");
            const LONG n = static_cast<LONG>(saved);
            SPropValue values[] = {
                LongValue(PR_MESSAGE_FLAGS, n % 2 ? MSGFLAG_READ : 0),
                LongValue(PR_FLAG_STATUS, n % 3),
                LongValue(PR_ICON_INDEX, 0x100 + n % 4),
                LongValue(PR_SENSITIVITY, n % 2),
                LongValue(PR_PRIORITY, n % 3 - 1),
                LongValue(score, n % 1000),
                LongValue(processed, n),
                TextValue(topic, topics[n % 3]),
            };
            Check(message->SetProps(8, values, nullptr), "SetProps");
            Check(message->SaveChanges(0), "SaveChanges");
            ++saved;
        }
        state.counters["saves_per_second"] =
            benchmark::Counter(static_cast<double>(saved), benchmark::Counter::kIsRate);
    });
}
BENCHMARK(SaveOpenedMessage)->Apply(MailboxSizes)->Unit(benchmark::kMicrosecond)->UseRealTime();

// (d) A contact by address in any of its six address fields: a RES_OR of six RES_PROPERTY
// RELOP_EQ, each with its own value (the tag of the value names the property compared).
class AddressQuery {
public:
    AddressQuery(const ContactBook& book, const std::string& address) : address_(address) {
        for (std::size_t i = 0; i < kContactAddressFields; ++i) {
            values_[i] = TextValue(book.address_tags[i], address_);
            alternatives_[i] = Equals(values_[i]);
        }
        restriction_.rt = RES_OR;
        restriction_.res.resOr = {kContactAddressFields, alternatives_};
    }
    AddressQuery(const AddressQuery&) = delete;
    AddressQuery& operator=(const AddressQuery&) = delete;

    LPSRestriction restriction() { return &restriction_; }

private:
    std::string address_;
    SPropValue values_[kContactAddressFields] = {};
    SRestriction alternatives_[kContactAddressFields] = {};
    SRestriction restriction_ = {};
};

// Queries for 64 contacts spread over the folder, each by one of its three addresses.
std::vector<std::unique_ptr<AddressQuery>> SpreadAddressQueries(const ContactBook& book) {
    constexpr std::int64_t kQueries = 64;
    std::vector<std::unique_ptr<AddressQuery>> queries;
    for (std::int64_t j = 0; j < kQueries; ++j) {
        const std::int64_t k = (j * book.size / kQueries) / 4 * 4;  // has all three addresses
        queries.push_back(
            std::make_unique<AddressQuery>(book, ContactAddress(k, static_cast<int>(j % 3))));
    }
    return queries;
}

void ReportQueries(benchmark::State& state, std::int64_t queries) {
    state.counters["time_per_query"] = benchmark::Counter(
        static_cast<double>(queries), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void RestrictContactsByAddress(benchmark::State& state) {
    Guard(state, [&] {
        ContactBook& book = ContactsOf(state.range(0));
        auto queries = SpreadAddressQueries(book);
        ComPtr<IMAPITable> table = ContentsTable(book.contacts.Get());
        std::int64_t done = 0;
        for (auto _ : state) {
            AddressQuery& query = *queries[static_cast<std::size_t>(done) % queries.size()];
            Check(table->Restrict(query.restriction(), 0), "Restrict");
            RowSetPtr rows;
            Check(table->QueryRows(10, 0, &rows), "QueryRows");
            if (rows->cRows != 1) {
                state.SkipWithError("one contact should have the address");
                break;
            }
            ++done;
        }
        ReportQueries(state, done);
    });
}
BENCHMARK(RestrictContactsByAddress)->Arg(10000)->Unit(benchmark::kMicrosecond)->UseRealTime();

void FindContactByAddress(benchmark::State& state) {
    Guard(state, [&] {
        ContactBook& book = ContactsOf(state.range(0));
        auto queries = SpreadAddressQueries(book);
        ComPtr<IMAPITable> table = ContentsTable(book.contacts.Get());
        Load(table.Get());
        std::int64_t done = 0;
        for (auto _ : state) {
            AddressQuery& query = *queries[static_cast<std::size_t>(done) % queries.size()];
            Check(table->FindRow(query.restriction(), BOOKMARK_BEGINNING, 0), "FindRow");
            ++done;
        }
        ReportQueries(state, done);
    });
}
BENCHMARK(FindContactByAddress)->Arg(10000)->Unit(benchmark::kMicrosecond)->UseRealTime();

}  // namespace
}  // namespace orvella::bench

BENCHMARK_MAIN();
