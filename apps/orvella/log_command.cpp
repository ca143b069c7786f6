// orvella log: where the add-in's exception log is, and its latest records.
#include <cstdio>
#include <deque>
#include <fstream>
#include <memory>
#include <string>

#include "ReporterSettings.h"
#include "commands.h"

namespace orvella::cli {
namespace {

struct LogOptions {
    size_t lines = 10;
};

// The last `count` records of the log, oldest first, and how many it holds in all. A record
// ends with the empty line that separates it from the next; one cut short (the process died
// while writing it) counts as it stands.
struct LogTail {
    std::deque<std::string> records;
    size_t total = 0;
};

LogTail ReadTail(std::istream& log, size_t count) {
    LogTail tail;
    std::string record, line;
    const auto keep = [&] {
        if (record.empty()) return;
        ++tail.total;
        tail.records.push_back(std::move(record));
        if (tail.records.size() > count) tail.records.pop_front();
        record.clear();
    };
    while (std::getline(log, line)) {
        if (line.empty()) {
            keep();
        } else {
            record += line + "\n";
        }
    }
    keep();
    return tail;
}

void ShowLog(const LogOptions& options) {
    const std::string path = diag::ReadReporterSettings().logPath;
    std::printf("Log file: %s\n", path.c_str());
    std::ifstream log(path);
    if (!log) {
        std::printf("There is no log file: nothing has been logged.\n");
        return;
    }
    const LogTail tail = ReadTail(log, options.lines);
    std::printf("%zu of %zu records:\n", tail.records.size(), tail.total);
    for (const std::string& record : tail.records) std::printf("\n%s", record.c_str());
}

}  // namespace

void AddLogCommands(CLI::App& app) {
    auto options = std::make_shared<LogOptions>();
    CLI::App* log = app.add_subcommand("log", "Show the add-in's log file and its latest records");
    log->add_option("-n,--lines", options->lines, "How many records to show, the latest last")
        ->capture_default_str()
        ->check(CLI::NonNegativeNumber);
    log->callback([options] { ShowLog(*options); });
}

}  // namespace orvella::cli
