// A realistic mailbox made up from a seed: the user's mail as RFC 5322 files that the normal
// import reads, and the contacts and own addresses that go with it. The demo, the benchmarks and
// tests build their mail with it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace orvella::host::generator {

struct MailboxPlan {
    std::size_t messages = 2000;  // Inbox and Sent Items together; 100 to 1,000,000
    std::uint32_t seed = 1;
};

struct GeneratedContact {
    std::string name;
    std::vector<std::string> addresses;  // one to three
    int priority = 0;                    // -2 Junk, -1 Low, 0 Normal, 1 High, 2 Very High
    std::string folder;                  // empty: the Contacts folder; else a sub-folder's name
};

struct GeneratedMailbox {
    std::vector<std::string> own_addresses;  // the user's, the main one first
    std::vector<GeneratedContact> contacts;
    std::size_t inbox_messages = 0;
    std::size_t sent_messages = 0;
};

// Writes the mailbox below `root` (created when missing; files already there are left alone):
// `root`/inbox and `root`/sent_items hold one RFC 5322 file per message, which an import with
// --tree files into Inbox and Sent Items. The same plan always gives the same files and the
// same result. Throws std::invalid_argument for a size outside 100 to 1,000,000 and
// std::system_error when a file cannot be written.
GeneratedMailbox GenerateMailbox(const MailboxPlan& plan, const std::filesystem::path& root);

}  // namespace orvella::host::generator
