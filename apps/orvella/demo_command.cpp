// orvella demo: from nothing to a prioritized Inbox in one command. A generated mailbox goes
// into a fresh home through the commands a person would type, which the demo shows and runs.
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "commands.h"
#include "mailbox_generator.h"
#include "scripted_commands.h"

namespace orvella::cli {
namespace {

namespace fs = std::filesystem;
namespace generator = host::generator;

struct DemoOptions {
    std::size_t messages = 2000;
    std::uint32_t seed = 1;
    std::string home;
};

void AddContacts(const std::vector<generator::GeneratedContact>& contacts) {
    if (contacts.empty()) return;
    Run(ContactCommand(contacts.front()));
    std::set<std::string> folders;
    for (std::size_t i = 1; i < contacts.size(); ++i) {
        RunQuietly(ContactCommand(contacts[i]));
        if (!contacts[i].folder.empty()) folders.insert(contacts[i].folder);
    }
    std::printf("... and %zu contacts more, every priority from Junk to Very High",
                contacts.size() - 1);
    for (const std::string& folder : folders) std::printf(", some in \"%s\"", folder.c_str());
    std::printf("\n");
}

void Demo(const DemoOptions& options) {
    const auto started = std::chrono::steady_clock::now();
    const fs::path home = FreshHome(options.home, "orvella-demo");
    UseHome(home);
    const fs::path mail = home / "generated-mail";
    std::printf(
        "Orvella demo: a generated mailbox of %zu messages (seed %u) in a fresh home,\n%s\n",
        options.messages, options.seed, home.c_str());
    const generator::GeneratedMailbox mailbox =
        generator::GenerateMailbox({options.messages, options.seed}, mail);
    std::printf("The mail of %s: %zu messages received, %zu sent, and %zu contacts.\n",
                mailbox.own_addresses.front().c_str(), mailbox.inbox_messages,
                mailbox.sent_messages, mailbox.contacts.size());

    Run(InitCommand(mailbox));
    AddContacts(mailbox.contacts);
    Run({"import", mail.string(), "--tree"});
    Run({"process"});
    Run({"inbox", "--order", "day", "--limit", "20"});
    Run({"stats"});
    if (const std::string top = TopScoredInboxMessage(); !top.empty()) {
        std::printf("\nWhy the highest-scored message ranks first:");
        Run({"explain", top});
    }
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    // As typed into a shell: a pasted `rm -rf` must not split a path with spaces in two.
    const std::string typed = ShellLine({home.string()});
    std::printf(
        "\nDone in %.1f s. The demo's home stays in %s; to look around in it:\n"
        "  export ORVELLA_HOME=%s\n"
        "  orvella inbox --order score            # the whole Inbox by score\n"
        "  orvella inbox --order week --limit 40  # grouped by week\n"
        "  orvella contact list                   # the contacts and their priorities\n"
        "  orvella contact set ADDRESS --priority High && orvella process --all\n"
        "  orvella threads                        # the conversation threads\n"
        "Remove it with: rm -rf %s\n",
        seconds, home.c_str(), typed.c_str(), typed.c_str());
}

}  // namespace

void AddDemoCommands(CLI::App& app) {
    auto options = std::make_shared<DemoOptions>();
    CLI::App* demo = app.add_subcommand(
        "demo", "Build a fresh home with a generated mailbox and prioritize its Inbox");
    demo->add_option("--messages", options->messages, "Messages to generate (100 to 1,000,000)")
        ->check(CLI::Range(std::size_t{100}, std::size_t{1'000'000}));
    demo->add_option("--seed", options->seed,
                     "The generator's seed (the same seed, the same mail)");
    demo->add_option("--home", options->home,
                     "A new or empty directory for the demo's home (default: a new temporary one)");
    demo->callback([options] { Demo(*options); });
}

}  // namespace orvella::cli
