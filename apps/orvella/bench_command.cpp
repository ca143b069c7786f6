// orvella bench: the benchmark suite. A generated mailbox, and each mailbox of the Enron corpus
// when it is present, measured in a fresh home by a process of its own (so that each peak
// resident figure is its own), then reported as a table or as JSON for scripts to compare.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "bench_measures.h"
#include "commands.h"
#include "prop_text.h"
#include "scripted_commands.h"

extern char** environ;

namespace orvella::cli {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

struct BenchOptions {
    std::size_t messages = 20000;
    std::uint32_t seed = 1;
    std::string corpus;
    bool noCorpus = false;
    bool json = false;
    bool keep = false;
    // One mailbox measured in this process: what the suite starts for each mailbox.
    std::string measure;
    std::string mail;
    std::string in;
};

// The Enron corpus's directory: --corpus, else $ORVELLA_CORPUS/enron, else the one next to the
// sources this program was built from; empty when it is not there.
fs::path EnronCorpus(const BenchOptions& options) {
    if (options.noCorpus) return {};
    fs::path corpus = options.corpus;
    if (corpus.empty()) {
        const char* set = std::getenv("ORVELLA_CORPUS");
        corpus = fs::path(set ? set : ORVELLA_CORPUS) / "enron";
    }
    std::error_code error;
    if (fs::is_directory(corpus, error)) return corpus;
    if (!options.corpus.empty()) throw CommandError("no corpus at " + options.corpus);
    return {};
}

std::vector<BenchMailbox> Mailboxes(const BenchOptions& options) {
    std::vector<BenchMailbox> mailboxes = {{"generated", options.messages, options.seed, {}}};
    const fs::path corpus = EnronCorpus(options);
    if (corpus.empty()) return mailboxes;
    std::vector<fs::path> directories;
    for (const fs::directory_entry& entry : fs::directory_iterator(corpus))
        if (entry.is_directory()) directories.push_back(entry.path());
    std::sort(directories.begin(), directories.end());
    for (const fs::path& directory : directories)
        mailboxes.push_back(
            {corpus.filename().string() + "/" + directory.filename().string(), 0, 0, directory});
    return mailboxes;
}

// Runs `orvella bench --measure` for one mailbox in a new process and reads its figures.
BenchFigures MeasureInChild(const BenchMailbox& mailbox, const fs::path& home) {
    const std::string self = fs::read_symlink("/proc/self/exe").string();
    std::vector<std::string> args = {self, "bench", "--measure", mailbox.name, "--in", home};
    if (mailbox.directory.empty())
        args.insert(args.end(), {"--messages", std::to_string(mailbox.messages), "--seed",
                                 std::to_string(mailbox.seed)});
    else
        args.insert(args.end(), {"--mail", mailbox.directory});
    std::vector<char*> argv;
    for (std::string& arg : args) argv.push_back(arg.data());
    argv.push_back(nullptr);

    int out[2];
    if (pipe2(out, O_CLOEXEC) != 0) throw CommandError("cannot start a measurement: no pipe");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    pid_t child = 0;
    const int spawned = posix_spawn(&child, self.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(out[1]);
    std::string output;
    if (spawned == 0) {
        char buffer[4096];
        for (ssize_t n; (n = read(out[0], buffer, sizeof buffer)) != 0;) {
            if (n > 0)
                output.append(buffer, static_cast<std::size_t>(n));
            else if (errno != EINTR)
                break;
        }
    }
    close(out[0]);
    if (spawned != 0) throw CommandError("cannot start a measurement of " + mailbox.name);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        throw CommandError("the measurement of " + mailbox.name + " failed");
    try {
        return FiguresFromJson(json::parse(output));
    } catch (const json::exception& bad) {
        throw CommandError("the measurement of " + mailbox.name +
                           " gave no figures: " + bad.what());
    }
}

std::string Thousands(double value) {
    std::string digits = std::to_string(static_cast<long long>(value + 0.5));
    for (int at = static_cast<int>(digits.size()) - 3; at > 0; at -= 3)
        digits.insert(static_cast<std::size_t>(at), ",");
    return digits;
}

void PrintTable(const std::vector<BenchFigures>& all, const std::vector<std::string>& failed) {
    std::printf("%-18s %9s %9s %8s %10s %10s %9s %8s %8s %9s %8s\n", "mailbox", "messages",
                "import/s", "Inbox", "process/s", "rescore/s", "query ms", "new p50", "new p99",
                "lookup ms", "peak MB");
    for (const BenchFigures& f : all) {
        std::printf(
            "%-18s %9s %9s %8s %10s %10s %9.1f %8.2f %8.2f %9.3f %8.0f\n", f.mailbox.c_str(),
            Thousands(static_cast<double>(f.imported)).c_str(),
            Thousands(f.importPerSecond).c_str(), Thousands(static_cast<double>(f.inbox)).c_str(),
            Thousands(f.firstProcessingPerSecond).c_str(), Thousands(f.rescoringPerSecond).c_str(),
            f.unprocessedQueryMs, f.newMessageP50Ms, f.newMessageP99Ms, f.contactLookupP50Ms,
            static_cast<double>(f.peakResidentKb) / 1024);
    }
    std::printf(
        "\nimport/s: messages imported per second (orvella import --tree)\n"
        "process/s: the first processing of the imported Inbox (orvella process), messages/s\n"
        "rescore/s: a rescoring run over the whole Inbox (orvella process --all), messages/s\n"
        "query ms: the query for unprocessed Inbox messages on the processed Inbox (median)\n"
        "new p50, new p99: one new message processed as new mail, in ms (Inbox files delivered\n"
        "  again, up to 500)\n"
        "lookup ms: finding the contact of an Inbox sender (median of up to 500)\n"
        "peak MB: the peak resident memory of the whole measurement\n");
    for (const std::string& name : failed)
        std::printf("%s: the measurement failed\n", name.c_str());
}

void Bench(const BenchOptions& options) {
    if (!options.measure.empty()) {
        const BenchMailbox mailbox = {options.measure, options.messages, options.seed,
                                      options.mail};
        return PrintJson(FiguresJson(MeasureMailbox(mailbox, options.in)));
    }
    std::vector<BenchFigures> all;
    std::vector<std::string> failed;
    for (const BenchMailbox& mailbox : Mailboxes(options)) {
        const fs::path home = FreshHome("", "orvella-bench");
        try {
            all.push_back(MeasureInChild(mailbox, home));
        } catch (const CommandError& failure) {
            std::fprintf(stderr, "orvella: %s\n", failure.what());
            failed.push_back(mailbox.name);
        }
        std::error_code error;
        if (options.keep)
            std::fprintf(stderr, "%s: kept in %s\n", mailbox.name.c_str(), home.c_str());
        else
            fs::remove_all(home, error);
    }
    if (options.json) {
        json mailboxes = json::array();
        for (const BenchFigures& figures : all) mailboxes.push_back(FiguresJson(figures));
        PrintJson({{"cores", std::thread::hardware_concurrency()},
                   {"messages", options.messages},
                   {"seed", options.seed},
                   {"mailboxes", mailboxes},
                   {"failed", failed}});
    } else {
        std::printf("Orvella benchmarks, %u cores\n\n", std::thread::hardware_concurrency());
        PrintTable(all, failed);
    }
    if (!failed.empty()) throw CLI::RuntimeError(1);
}

}  // namespace

void AddBenchCommands(CLI::App& app) {
    auto options = std::make_shared<BenchOptions>();
    CLI::App* bench = app.add_subcommand(
        "bench",
        "Measure Orvella on a generated mailbox and on the Enron corpus when present: import,\n"
        "processing and rescoring throughput, new-mail latency, the unprocessed query, contact\n"
        "lookups and peak memory, each mailbox in a fresh temporary home");
    bench
        ->add_option("--messages", options->messages,
                     "Messages of the generated mailbox (100 to 1,000,000; default 20,000)")
        ->check(CLI::Range(std::size_t{100}, std::size_t{1'000'000}));
    bench->add_option("--seed", options->seed, "The generator's seed (default 1)");
    CLI::Option* corpus = bench->add_option(
        "--corpus", options->corpus,
        "The Enron corpus directory (default: $ORVELLA_CORPUS/enron when present)");
    bench->add_flag("--no-corpus", options->noCorpus, "Measure the generated mailbox only")
        ->excludes(corpus);
    bench->add_flag("--json", options->json, "Print JSON, for scripts comparing runs");
    bench->add_flag("--keep", options->keep, "Keep each mailbox's home instead of removing it");
    bench->add_option("--measure", options->measure)->group("");
    bench->add_option("--mail", options->mail)->group("");
    bench->add_option("--in", options->in)->group("");
    bench->callback([options] { Bench(*options); });
}

}  // namespace orvella::cli
