// A process writing the store is killed at random moments: the store stays sound, every save it
// reported is there with its values, and the one step in flight is there whole or not at all.
#include <gtest/gtest.h>
#include <limits.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "child_process.h"
#include "durability_fixture.h"

namespace orvella::testing {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr int kRounds = 50;
constexpr std::uint32_t kSeed = 20240611;
// Kills land this long after the writer is ready.
constexpr int kShortestDelayMs = 2;
constexpr int kLongestDelayMs = 100;
// The Inbox size around which the writer deletes about as much as it creates.
constexpr std::size_t kSteadySize = 300;
// A writer that is never killed stops here; the test then fails.
constexpr int kMaxSteps = 200000;

// What the writer tells the test, each report in one write. A step is announced before it is
// taken (Creating, Changing, Deleting) and confirmed only after SaveChanges or DeleteMessages
// returned S_OK (Created, Changed, Deleted).
enum class Step : std::uint8_t { Ready, Creating, Created, Changing, Changed, Deleting, Deleted };

struct Report {
    Step step = Step::Ready;
    std::uint32_t serial = 0;
    std::uint32_t revision = 0;
    std::uint32_t eid_size = 0;
    BYTE eid[64] = {};
};
static_assert(sizeof(Report) <= PIPE_BUF, "a report must travel in one piece");

struct Saved {
    std::vector<BYTE> eid;
    std::uint32_t revision = 0;
};
// The Inbox as the test knows it: messages by serial.
using Model = std::map<std::uint32_t, Saved>;

std::vector<BYTE> EntryIdIn(const SPropValue& value) {
    return {value.Value.bin.lpb, value.Value.bin.lpb + value.Value.bin.cb};
}

std::string Subject(std::uint32_t serial, std::uint32_t revision) {
    return "message " + std::to_string(serial) + " revision " + std::to_string(revision);
}

// Bodies of varied length, many spilling onto overflow pages, so that saves rewrite many pages
// and checkpoints come often.
std::string Body(std::uint32_t serial, std::uint32_t revision) {
    const std::string line = Subject(serial, revision) + "\n";
    const std::size_t length = 200 + (serial * 7919u + revision * 104729u) % 6000u;
    std::string body;
    while (body.size() < length) body += line;
    return body;
}

LONG Importance(std::uint32_t revision) {
    return static_cast<LONG>(revision % 3);
}

// Creates, changes and deletes Inbox messages until it is killed, reporting through the pipe.
class Writer {
public:
    Writer(Pipe& pipe, Model model, std::uint32_t next_serial, std::uint32_t seed)
        : pipe_(pipe), model_(std::move(model)), next_serial_(next_serial), random_(seed) {}

    // The exit code of the writer process: 1 when a step failed, 3 when never killed.
    int Run(const std::vector<BYTE>& inbox_eid) {
        if (HRESULT hr = OpenOwnFolder(inbox_eid, session_, inbox_); FAILED(hr))
            return Failed("opening the Inbox", hr);
        Tell(Step::Ready, 0, 0, {});
        for (int step = 0; step < kMaxSteps; ++step) {
            // Mostly creations while the Inbox is small, then about as many deletions, so that
            // the store stays small enough to verify quickly after every kill.
            const unsigned creations = model_.size() < kSteadySize ? 6 : 4;
            const unsigned choice = random_() % 10;
            if (choice < creations || model_.size() < 20) {
                if (HRESULT hr = Create(); FAILED(hr)) return Failed("creating a message", hr);
            } else if (choice < creations + 2) {
                if (HRESULT hr = Change(); FAILED(hr)) return Failed("changing a message", hr);
            } else {
                if (HRESULT hr = Delete(); FAILED(hr)) return Failed("deleting a message", hr);
            }
        }
        return 3;
    }

private:
    static int Failed(const char* what, HRESULT hr) {
        std::fprintf(stderr, "writer: %s failed with 0x%08X\n", what, static_cast<unsigned>(hr));
        return 1;
    }

    void Tell(Step step, std::uint32_t serial, std::uint32_t revision,
              const std::vector<BYTE>& eid) {
        Report report;
        report.step = step;
        report.serial = serial;
        report.revision = revision;
        report.eid_size = static_cast<std::uint32_t>(std::min(eid.size(), sizeof report.eid));
        std::memcpy(report.eid, eid.data(), report.eid_size);
        pipe_.Write(std::as_bytes(std::span(&report, 1)));
    }

    static HRESULT SaveValues(IMessage* message, std::uint32_t serial, std::uint32_t revision,
                              ULONG flags) {
        const std::string subject = Subject(serial, revision);
        const std::string body = Body(serial, revision);
        SPropValue values[] = {Text(PR_SUBJECT_A, subject.c_str()), Text(PR_BODY_A, body.c_str()),
                               Long(PR_IMPORTANCE, Importance(revision))};
        HRESULT hr = message->SetProps(3, values, nullptr);
        return FAILED(hr) ? hr : message->SaveChanges(flags);
    }

    HRESULT Create() {
        const std::uint32_t serial = next_serial_++;
        Tell(Step::Creating, serial, 0, {});
        ComPtr<IMessage> message;
        HRESULT hr = inbox_->CreateMessage(nullptr, 0, &message);
        if (SUCCEEDED(hr)) hr = SaveValues(message.Get(), serial, 0, KEEP_OPEN_READWRITE);
        if (FAILED(hr)) return hr;
        std::vector<BYTE> eid = EntryIdOf(message.Get());
        Tell(Step::Created, serial, 0, eid);
        model_[serial] = {eid, 0};
        return S_OK;
    }

    Model::iterator Pick() {
        return std::next(model_.begin(), static_cast<long>(random_() % model_.size()));
    }

    HRESULT Change() {
        auto picked = Pick();
        Saved& saved = picked->second;
        const std::uint32_t revision = saved.revision + 1;
        Tell(Step::Changing, picked->first, revision, saved.eid);
        ComPtr<IMessage> message;
        ULONG type = 0;
        HRESULT hr = session_->OpenEntry(static_cast<ULONG>(saved.eid.size()),
                                         reinterpret_cast<LPENTRYID>(saved.eid.data()), nullptr,
                                         MAPI_MODIFY, &type, message.PutUnknown());
        if (SUCCEEDED(hr)) hr = SaveValues(message.Get(), picked->first, revision, 0);
        if (FAILED(hr)) return hr;
        Tell(Step::Changed, picked->first, revision, saved.eid);
        saved.revision = revision;
        return S_OK;
    }

    HRESULT Delete() {
        auto picked = Pick();
        Tell(Step::Deleting, picked->first, picked->second.revision, picked->second.eid);
        SBinary bin = {static_cast<ULONG>(picked->second.eid.size()), picked->second.eid.data()};
        ENTRYLIST list = {1, &bin};
        if (HRESULT hr = inbox_->DeleteMessages(&list, 0, nullptr, 0); FAILED(hr)) return hr;
        Tell(Step::Deleted, picked->first, picked->second.revision, picked->second.eid);
        model_.erase(picked);
        return S_OK;
    }

    Pipe& pipe_;
    Model model_;
    std::uint32_t next_serial_;
    std::mt19937 random_;
    ComPtr<IMAPISession> session_;
    ComPtr<IMAPIFolder> inbox_;
};

class StoreCrashTest : public DurabilityTest {
protected:
    // Starts a writer on the Inbox, kills it `delay` after it is ready, and returns its reports.
    std::vector<Report> RunAndKill(std::uint32_t seed, milliseconds delay) {
        Pipe pipe;
        std::vector<std::byte> bytes;
        int status = 0;
        {
            ChildProcess writer([&] {
                pipe.CloseRead();
                return Writer(pipe, model_, next_serial_, seed).Run(inbox_eid_);
            });
            pipe.CloseWrite();
            // The writer reports Ready first; the delay runs from then.
            bool open = pipe.ReadUntil(steady_clock::now() + std::chrono::seconds(30), bytes,
                                       sizeof(Report));
            if (open && bytes.size() >= sizeof(Report))
                pipe.ReadUntil(steady_clock::now() + delay, bytes);
            writer.Kill();
            status = writer.Wait();
        }
        pipe.ReadToEnd(bytes);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL)
            << "the writer " << DescribeStatus(status);
        std::vector<Report> reports(bytes.size() / sizeof(Report));
        std::memcpy(reports.data(), bytes.data(), reports.size() * sizeof(Report));
        EXPECT_FALSE(reports.empty()) << "the writer never became ready";
        return reports;
    }

    // Takes the confirmed steps into the model; the step in flight, if any, stays in `pending_`.
    void Apply(const std::vector<Report>& reports) {
        pending_.reset();
        touched_.clear();
        deleted_.clear();
        for (const Report& report : reports) {
            switch (report.step) {
                case Step::Ready:
                    break;
                case Step::Creating:
                    next_serial_ = std::max(next_serial_, report.serial + 1);
                    pending_ = report;
                    break;
                case Step::Changing:
                case Step::Deleting:
                    pending_ = report;
                    break;
                case Step::Created:
                    model_[report.serial] = {{report.eid, report.eid + report.eid_size}, 0};
                    touched_.push_back(report.serial);
                    pending_.reset();
                    break;
                case Step::Changed:
                    model_.at(report.serial).revision = report.revision;
                    touched_.push_back(report.serial);
                    pending_.reset();
                    break;
                case Step::Deleted:
                    deleted_.push_back(model_.at(report.serial).eid);
                    model_.erase(report.serial);
                    pending_.reset();
                    break;
            }
        }
    }

    // Compares the reopened store with the model: the step in flight is taken as the store has
    // it (done or not), everything else must be exactly as reported.
    void Verify() {
        EXPECT_EQ(CheckStore(), std::vector<std::string>{});
        RowSetPtr rows;
        const ULONG columns[] = {PR_ENTRYID, PR_SUBJECT_A, PR_IMPORTANCE};
        ASSERT_EQ(ReadAllRows(inbox_.Get(), columns, rows), S_OK);
        std::map<std::string, const SPropValue*> by_subject;
        for (ULONG r = 0; r < rows->cRows; ++r) {
            const SPropValue* row = rows->aRow[r].lpProps;
            EXPECT_TRUE(by_subject.emplace(TextOf(row[1]), row).second)
                << "two messages are \"" << TextOf(row[1]) << "\"";
        }
        ResolvePending(by_subject);
        std::vector<std::string> wrong;
        for (const auto& [serial, saved] : model_) {
            const std::string subject = Subject(serial, saved.revision);
            auto found = by_subject.find(subject);
            if (found == by_subject.end()) {
                wrong.push_back(subject + " is missing");
                continue;
            }
            const SPropValue* row = found->second;
            if (row[0].ulPropTag != PR_ENTRYID || !SameEntry(EntryIdIn(row[0]), saved.eid))
                wrong.push_back(subject + " has another entry id");
            if (row[2].ulPropTag != PR_IMPORTANCE || row[2].Value.l != Importance(saved.revision))
                wrong.push_back(subject + " has another importance");
            by_subject.erase(found);
        }
        for (const auto& [subject, row] : by_subject) wrong.push_back(subject + " is extra");
        EXPECT_EQ(wrong, std::vector<std::string>{});
        for (std::uint32_t serial : touched_) {
            if (model_.count(serial)) ExpectOpensWithItsValues(serial);
        }
        for (const std::vector<BYTE>& eid : deleted_) EXPECT_EQ(OpenResult(eid), MAPI_E_NOT_FOUND);
    }

    void ResolvePending(const std::map<std::string, const SPropValue*>& by_subject) {
        if (!pending_) return;
        const Report& step = *pending_;
        ++in_flight_;
        if (step.step == Step::Creating) {
            auto found = by_subject.find(Subject(step.serial, 0));
            if (found != by_subject.end()) {
                model_[step.serial] = {EntryIdIn(found->second[0]), 0};
                touched_.push_back(step.serial);
            }
        } else if (step.step == Step::Changing) {
            if (by_subject.count(Subject(step.serial, step.revision))) {
                model_.at(step.serial).revision = step.revision;
                touched_.push_back(step.serial);
            }
        } else if (step.step == Step::Deleting) {
            if (!by_subject.count(Subject(step.serial, step.revision))) model_.erase(step.serial);
        }
    }

    void ExpectOpensWithItsValues(std::uint32_t serial) {
        Saved& saved = model_.at(serial);
        ComPtr<IMessage> message = Open(saved.eid, 0);
        ASSERT_TRUE(message);
        SizedSPropTagArray(3, tags) = {3, {PR_SUBJECT_A, PR_BODY_A, PR_IMPORTANCE}};
        ULONG count = 0;
        MapiBuffer<SPropValue> values;
        ASSERT_EQ(message->GetProps(reinterpret_cast<LPSPropTagArray>(&tags), 0, &count, &values),
                  S_OK);
        ASSERT_EQ(count, 3u);
        EXPECT_EQ(TextOf(values[0]), Subject(serial, saved.revision));
        EXPECT_EQ(TextOf(values[1]), Body(serial, saved.revision));
        EXPECT_EQ(values[2].Value.l, Importance(saved.revision));
    }

    Model model_;
    std::uint32_t next_serial_ = 0;
    std::vector<BYTE> inbox_eid_;
    std::optional<Report> pending_;           // the step the writer announced and did not confirm
    std::vector<std::uint32_t> touched_;      // created or changed in the last round
    std::vector<std::vector<BYTE>> deleted_;  // deleted in the last round
    int in_flight_ = 0;                       // rounds killed in the middle of a step
};

TEST_F(StoreCrashTest, KilledWriterLosesNoReportedSave) {
    inbox_eid_ = EntryIdOf(inbox_.Get());
    std::mt19937 random(kSeed);
    std::uniform_int_distribution<int> delay(kShortestDelayMs, kLongestDelayMs);
    int saves = 0;
    for (int round = 0; round < kRounds && !HasFailure(); ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        CloseStore();
        const std::uint32_t seed = static_cast<std::uint32_t>(random());
        Apply(RunAndKill(seed, milliseconds(delay(random))));
        saves += static_cast<int>(touched_.size() + deleted_.size());
        Logon();
        Verify();
    }
    for (const auto& [serial, saved] : model_) ExpectOpensWithItsValues(serial);
    // The rounds did write: at least a few saves a round, and some kills hit a step in flight.
    EXPECT_GT(saves, kRounds * 5);
    EXPECT_GT(in_flight_, 0);
}

}  // namespace
}  // namespace orvella::testing
