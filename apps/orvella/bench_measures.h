// The benchmark suite's measurements of one mailbox, made in a fresh home in this process: what
// `orvella bench` runs once per mailbox, each in a process of its own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>

namespace orvella::cli {

// Where a benchmarked mailbox comes from: generated from a seed, or a directory of real mail
// (a corpus mailbox with inbox and sent folders), whose owner is guessed from its sent mail.
struct BenchMailbox {
    std::string name;  // "generated", "enron/allen-p"
    std::size_t messages = 0;
    std::uint32_t seed = 1;
    std::filesystem::path directory;  // empty for a generated mailbox
};

// The figures of one mailbox. Times are wall-clock; latencies in milliseconds.
struct BenchFigures {
    std::string mailbox;
    std::size_t imported = 0;
    double importPerSecond = 0;
    std::size_t inbox = 0;                // Inbox messages after the import
    double firstProcessingPerSecond = 0;  // `orvella process` on the imported, unprocessed Inbox
    double rescoringPerSecond = 0;        // `orvella process --all`
    double unprocessedQueryMs = 0;        // median, on the processed Inbox
    std::size_t newMessages = 0;          // delivered one at a time and processed as new mail
    double newMessageP50Ms = 0, newMessageP99Ms = 0;
    std::size_t contactLookups = 0, contactsFound = 0;
    double contactLookupP50Ms = 0, contactLookupP99Ms = 0;
    long peakResidentKb = 0;  // of the whole measurement: generating, importing, processing
};

nlohmann::json FiguresJson(const BenchFigures& figures);
BenchFigures FiguresFromJson(const nlohmann::json& json);

// Measures the mailbox in `home`, which must be new or empty and becomes this process's home:
// the mail generated (when generated), the owner's identity and contacts set, the mail imported
// with --tree, the Inbox processed, rescored and queried, new mail delivered and processed,
// contacts looked up by the Inbox's senders. Progress goes to standard error. Throws
// CommandError when a step fails.
BenchFigures MeasureMailbox(const BenchMailbox& mailbox, const std::filesystem::path& home);

}  // namespace orvella::cli
