// The message processor on a generated mailbox: 100,000 Inbox messages (ORVELLA_BENCH_MESSAGES
// to change it) in threads sized like real mail's (ORVELLA_BENCH_THREADS=heavy: far larger
// ones), 2,000 contacts in two folders, the user in To, Cc or neither. Measured in this order,
// on one store: the rescoring run over the whole Inbox, the query for unprocessed Inbox messages
// once all are processed, new messages (saved, then processed as new mail is: attributes
// written, thread propagated), and propagation through the largest thread.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "CMsgRescoreDialog.h"
#include "COutlookContext.h"
#include "MsgProcessor.h"
#include "addin_ids.h"
#include "bench_guard.h"
#include "installation.h"
#include "mapi_values.h"
#include "mapiutil.h"
#include "outlook_application.h"
#include "store_objects.h"
#include "temp_home.h"

namespace {

using orvella::bench::Guard;
using orvella::platform::mapi::ComPtr;
using orvella::platform::mapi::LongValue;
using orvella::platform::mapi::TextValue;
using orvella::platform::mapi::TimeValue;

constexpr int kContacts = 2000;
constexpr char kUser[] = "me@work.example";
// 1 January 2026, and a minute in FILETIME ticks.
constexpr std::uint64_t kStart = 134116128000000000ULL;
constexpr std::uint64_t kMinute = 600'000'000ULL;

void Check(HRESULT hr, const char* what) {
    if (FAILED(hr)) throw std::runtime_error(std::string(what) + " failed");
}

int MessageCount() {
    const char* text = std::getenv("ORVELLA_BENCH_MESSAGES");
    return text ? std::max(100, std::atoi(text)) : 100000;
}

std::string ContactAddress(int k) {
    return "person." + std::to_string(k) + "@partner.example";
}

// ORVELLA_BENCH_THREADS=heavy: a third of the mail in threads of hundreds, a load far beyond
// real mail's, to see how thread propagation holds up under it.
bool HeavyThreads() {
    const char* text = std::getenv("ORVELLA_BENCH_THREADS");
    return text && std::string(text) == "heavy";
}

// Thread sizes like real mail's: most threads hold one to three messages, fewer hold more, and a
// few hold hundreds (at 100,000 messages about ten threads, 2.6% of the mail).
int ThreadSize(std::mt19937& random) {
    static const bool heavy = HeavyThreads();
    const int roll = static_cast<int>(random() % 10000);
    if (roll < 6000) return 1;
    if (roll < 8000) return 2;
    if (roll < 9000) return 3;
    if (roll < 9700) return 4 + static_cast<int>(random() % 7);
    if (heavy)
        return roll < 9950 ? 11 + static_cast<int>(random() % 40)
                           : 100 + static_cast<int>(random() % 300);
    if (roll < 9970) return 11 + static_cast<int>(random() % 40);
    if (roll < 9997) return 51 + static_cast<int>(random() % 49);
    return 100 + static_cast<int>(random() % 300);
}

struct Recipient {
    std::string address;
    LONG type;
};

// Saves one message as delivered mail, with its recipients.
ComPtr<IMessage> Deliver(IMAPIFolder* inbox, const std::string& subject, const std::string& sender,
                         const std::vector<Recipient>& recipients, LONG importance,
                         std::uint64_t delivered) {
    ComPtr<IMessage> message;
    Check(inbox->CreateMessage(nullptr, 0, &message), "CreateMessage");
    FILETIME time = {static_cast<DWORD>(delivered), static_cast<DWORD>(delivered >> 32)};
    SPropValue values[] = {
        TextValue(PR_MESSAGE_CLASS_A, "IPM.Note"), TextValue(PR_SUBJECT_A, subject.c_str()),
        TextValue(PR_SENDER_EMAIL_ADDRESS_A, sender.c_str()),
        TimeValue(PR_MESSAGE_DELIVERY_TIME, time), LongValue(PR_IMPORTANCE, importance)};
    Check(message->SetProps(5, values, nullptr), "SetProps");
    std::vector<std::vector<SPropValue>> rows;
    for (const Recipient& r : recipients)
        rows.push_back({TextValue(PR_EMAIL_ADDRESS_A, r.address.c_str()),
                        TextValue(PR_DISPLAY_NAME_A, r.address.c_str()),
                        LongValue(PR_RECIPIENT_TYPE, r.type)});
    std::vector<BYTE> list(CbNewADRLIST(rows.size()));
    auto* adrlist = reinterpret_cast<LPADRLIST>(list.data());
    adrlist->cEntries = static_cast<ULONG>(rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i)
        adrlist->aEntries[i] = {0, static_cast<ULONG>(rows[i].size()), rows[i].data()};
    Check(message->ModifyRecipients(0, adrlist), "ModifyRecipients");
    Check(message->SaveChanges(KEEP_OPEN_READWRITE), "SaveChanges");
    return message;
}

// One generated mail: its thread's subject, sender, addressing and importance.
struct Mail {
    std::string subject;
    std::string sender;
    std::vector<Recipient> recipients;
    LONG importance = 1;
};

Mail Generate(std::mt19937& random, int thread, bool reply) {
    Mail mail;
    mail.subject = (reply ? "Re: " : "") + std::string("topic ") + std::to_string(thread);
    // Two senders in three are contacts, the rest strangers from a few domains.
    mail.sender = random() % 3 ? ContactAddress(static_cast<int>(random() % kContacts))
                               : "stranger." + std::to_string(random() % 50000) + "@" +
                                     (random() % 2 ? "partner.example" : "list.example");
    const int addressing = static_cast<int>(random() % 10);
    if (addressing < 6) mail.recipients.push_back({kUser, MAPI_TO});
    if (addressing >= 6 && addressing < 8) mail.recipients.push_back({kUser, MAPI_CC});
    const int others = static_cast<int>(random() % 4);
    for (int i = 0; i < others; ++i)
        mail.recipients.push_back(
            {"colleague." + std::to_string(random() % 300) + "@work.example", MAPI_TO});
    const int flag = static_cast<int>(random() % 20);
    mail.importance = flag == 0 ? 0 : flag == 1 ? 2 : 1;
    return mail;
}

// The installation, the generated mailbox and the add-in's session and processor over it,
// built at the first benchmark and removed at exit.
struct Generated {
    orvella::testing::TempHome home;
    ComPtr<_Application> application;
    ComPtr<_NameSpace> nameSpace;
    std::unique_ptr<COutlookContext> context;
    std::unique_ptr<MsgProcessor> processor;
    std::vector<int> threadOfMessage;  // for new messages: threads drawn as mail falls in them
    std::mt19937 random{20261123};
    int threads = 0;

    Generated() {
        const int count = MessageCount();
        std::fprintf(stderr, "generating %d messages and %d contacts...\n", count, kContacts);
        const auto began = std::chrono::steady_clock::now();
        orvella::host::Install({{kUser}});
        application = orvella::host::outlook::CreateOutlookApplication();
        Check(application->GetNamespace("MAPI", &nameSpace), "GetNamespace");
        Open();
        AddContacts();
        AddMail(count);
        Open();
        std::fprintf(
            stderr, "generated in %.1f s\n",
            std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count());
    }
    ~Generated() {
        processor.reset();
        context.reset();
        nameSpace.Reset();
        application.Reset();
    }
    void Open() {
        processor.reset();
        context.reset();
        context = std::make_unique<COutlookContext>(nameSpace.Get(), CLSID_Connect);
        context->Initialize();
        processor = std::make_unique<MsgProcessor>(context.get());
    }
    void AddContacts() {
        ComPtr<IMAPIFolder> folders[2] = {
            context->GetContactsFolder(true),
            context->GetOrCreateFolder(context->GetContactsFolder(true).Get(), "Partners")};
        const ContactPropTagTable& tags = context->ContactPropTags();
        auto bulk = orvella::platform::mapi::store::BeginBulkWriting(context->MailStore());
        for (int k = 0; k < kContacts; ++k) {
            const std::string name = "Person " + std::to_string(k);
            const std::string address = ContactAddress(k);
            SPropValue values[] = {TextValue(PR_MESSAGE_CLASS_A, "IPM.Contact"),
                                   TextValue(PR_DISPLAY_NAME_A, name.c_str()),
                                   TextValue(tags[CP_EMAIL1_ADDRESS], address.c_str()),
                                   TextValue(tags[CP_EMAIL1_DISPLAY_NAME], address.c_str())};
            ComPtr<IMessage> contact;
            Check(folders[k % 2]->CreateMessage(nullptr, 0, &contact), "CreateMessage");
            Check(contact->SetProps(4, values, nullptr), "SetProps");
            // Every level from Junk (-2) to Very High (2), Normal most often.
            context->SetContactPriority(contact.Get(), static_cast<LONG>(k % 7 % 5) - 2);
            Check(contact->SaveChanges(0), "SaveChanges");
        }
        if (bulk) bulk->Finish();
    }
    void AddMail(int count) {
        struct Planned {
            int thread;
            bool reply;
        };
        std::vector<Planned> planned;
        while (static_cast<int>(planned.size()) < count) {
            const int size = ThreadSize(random);
            for (int i = 0; i < size && static_cast<int>(planned.size()) < count; ++i)
                planned.push_back({threads, i > 0});
            ++threads;
        }
        std::shuffle(planned.begin(), planned.end(), random);
        ComPtr<IMAPIFolder> inbox = context->GetInboxFolder(true);
        auto bulk = orvella::platform::mapi::store::BeginBulkWriting(context->MailStore());
        for (int i = 0; i < count; ++i) {
            const Mail mail = Generate(random, planned[i].thread, planned[i].reply);
            Deliver(inbox.Get(), mail.subject, mail.sender, mail.recipients, mail.importance,
                    kStart + static_cast<std::uint64_t>(i) * kMinute);
            threadOfMessage.push_back(planned[i].thread);
        }
        if (bulk) bulk->Finish();
    }
};

Generated& Mailbox() {
    static Generated generated;
    return generated;
}

// The rescoring run over the whole Inbox (thread scores reset, each message scored and written,
// each thread's average shown on its messages): first from the freshly generated, unprocessed
// Inbox. With argument 1 its saves share commits, as `orvella process` runs it; with 0 each save
// commits alone, as a run started inside the host.
void RescoreInbox(benchmark::State& state) {
    Guard(state, [&] {
        Generated& box = Mailbox();
        const bool sharedCommits = state.range(0) != 0;
        state.SetLabel(sharedCommits ? "shared commits" : "a commit per save");
        std::int64_t processed = 0;
        for (auto _ : state) {
            // The run as it is started: its dialog, unattended, and its worker.
            auto shared =
                sharedCommits
                    ? orvella::platform::mapi::store::BeginBulkWriting(box.context->MailStore())
                    : nullptr;
            CMsgRescoreDialog run(box.processor.get());
            if (run.DoModal() != 1) state.SkipWithError("the run did not end normally");
            if (shared) shared->Finish();
            processed += static_cast<std::int64_t>(run.Handled());
        }
        state.counters["messages_per_second"] =
            benchmark::Counter(static_cast<double>(processed), benchmark::Counter::kIsRate);
    });
}
BENCHMARK(RescoreInbox)->Arg(1)->Arg(0)->Iterations(1)->Unit(benchmark::kSecond)->UseRealTime();

// The start-up catch-up's query on a fully processed Inbox: it finds nothing.
void UnprocessedQuery(benchmark::State& state) {
    Guard(state, [&] {
        Generated& box = Mailbox();
        // The first query on a store builds the value indexes of the five markers, once.
        const auto began = std::chrono::steady_clock::now();
        {
            std::vector<EntryId> entryIds;
            box.context->GetUnprocessedInboxEIDs(entryIds, nullptr);
        }
        state.counters["first_query_ms"] =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count() * 1e3;
        for (auto _ : state) {
            std::vector<EntryId> entryIds;
            std::vector<std::string> subjects;
            box.context->GetUnprocessedInboxEIDs(entryIds, &subjects);
            if (!entryIds.empty()) {
                state.SkipWithError("the Inbox should be fully processed");
                break;
            }
        }
    });
}
BENCHMARK(UnprocessedQuery)->Unit(benchmark::kMillisecond)->UseRealTime();

// One new message, processed as new mail is: the time from the processor's call to its return
// (attributes written, the thread's other Inbox messages updated). Replies fall in threads as
// mail does, so large threads come up in proportion to their size.
double ThreadCpuSeconds() {
    timespec now = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

void NewMessage(benchmark::State& state) {
    Guard(state, [&] {
        Generated& box = Mailbox();
        ComPtr<IMAPIFolder> inbox = box.context->GetInboxFolder(true);
        std::vector<double> latencies, cpuLatencies;
        std::uint64_t delivered = kStart + static_cast<std::uint64_t>(MessageCount()) * kMinute;
        for (auto _ : state) {
            const bool reply = box.random() % 4 != 0;
            const int thread = reply
                                   ? box.threadOfMessage[box.random() % box.threadOfMessage.size()]
                                   : box.threads++;
            const Mail mail = Generate(box.random, thread, reply);
            ComPtr<IMessage> message =
                Deliver(inbox.Get(), mail.subject, mail.sender, mail.recipients, mail.importance,
                        delivered += kMinute);
            const EntryId entryId = box.context->GetEID(message.Get());
            message.Reset();
            const auto began = std::chrono::steady_clock::now();
            const double cpuBegan = ThreadCpuSeconds();
            box.processor->ProcessMsg(entryId.cb(), entryId.get(), true, true, true, true);
            const double seconds =
                std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count();
            state.SetIterationTime(seconds);
            latencies.push_back(seconds);
            cpuLatencies.push_back(ThreadCpuSeconds() - cpuBegan);
        }
        auto percentile = [](std::vector<double>& sorted, double p) {
            std::sort(sorted.begin(), sorted.end());
            return sorted.empty() ? 0.0
                                  : sorted[std::min(sorted.size() - 1,
                                                    static_cast<std::size_t>(p * sorted.size()))];
        };
        state.counters["p50_ms"] = percentile(latencies, 0.50) * 1e3;
        state.counters["p99_ms"] = percentile(latencies, 0.99) * 1e3;
        // The processing thread's own CPU time: on a busy machine (a build alongside) the wall
        // clock also counts the time other processes had the cores.
        state.counters["p50_cpu_ms"] = percentile(cpuLatencies, 0.50) * 1e3;
        state.counters["p99_cpu_ms"] = percentile(cpuLatencies, 0.99) * 1e3;
    });
}
BENCHMARK(NewMessage)->Iterations(2000)->UseManualTime()->Unit(benchmark::kMicrosecond);

// Showing a new average on every Inbox message of the largest thread, as after a message joined
// it: the cost of a new message's thread propagation per message written.
void LargestThreadPropagation(benchmark::State& state) {
    Guard(state, [&] {
        Generated& box = Mailbox();
        MsgThreadPtr largest;
        for (const MsgThreadPtr& thread : box.context->GetThreads())
            if (!largest || thread->GetMsgsReceived() > largest->GetMsgsReceived())
                largest = thread;
        if (!largest || largest->GetMsgsReceived() < 2) {
            state.SkipWithError("no thread of two messages or more");
            return;
        }
        const LONG messages = largest->GetMsgsReceived();
        LONG step = messages;  // moves the average by one, up and back down
        std::int64_t written = 0;
        for (auto _ : state) {
            largest->AdjustScore(step);
            step = -step;
            box.context->UpdateInboxMsgThreadScores(largest.Get(), EntryId());
            written += messages;
        }
        state.counters["messages"] = messages;
        state.counters["us_per_message"] =
            benchmark::Counter(static_cast<double>(written),
                               benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    });
}
BENCHMARK(LargestThreadPropagation)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
