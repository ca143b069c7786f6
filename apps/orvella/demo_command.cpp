// orvella demo: from nothing to a prioritized Inbox in one command. A generated mailbox goes
// into a fresh home through the commands a person would type, which the demo shows and runs.
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>
#include <system_error>
#include <vector>

#include "commands.h"
#include "home.h"
#include "mailbox_generator.h"
#include "store_schema.h"

namespace orvella::cli {
namespace {

namespace fs = std::filesystem;
namespace generator = host::generator;

struct DemoOptions {
    std::size_t messages = 2000;
    std::uint32_t seed = 1;
    std::string home;
};

// The priority names `contact add` takes, from Junk (-2) to Very High (2).
// A fresh home: the one asked for, which must be new or empty, or a new temporary directory.
fs::path FreshHome(const std::string& asked) {
    if (asked.empty()) {
        const char* temp = std::getenv("TMPDIR");
        std::string pattern = (fs::path(temp && *temp ? temp : "/tmp") / "orvella-demo-XXXXXX");
        if (!mkdtemp(pattern.data()))
            throw CommandError("cannot make a directory for the demo in " + pattern);
        return pattern;
    }
    const fs::path home = fs::absolute(asked);
    std::error_code error;
    if (fs::exists(home, error) && !fs::is_empty(home, error))
        throw CommandError(home.string() +
                           " is not empty: the demo builds a fresh home (give a new directory)");
    fs::create_directories(home, error);
    if (error) throw CommandError("cannot make " + home.string() + ": " + error.message());
    return home;
}

// Runs a command here as orvella would.
void Execute(const std::string& line) {
    CLI::App command{"", "orvella"};
    AddAllCommands(command);
    command.parse(line, false);
    std::fflush(stdout);
}

// Shows a command as a person would type it, then runs it.
void Run(const std::string& line) {
    std::printf("\n$ orvella %s\n", line.c_str());
    std::fflush(stdout);
    Execute(line);
}

// Runs a command without its output (the demo says what it did instead).
void RunQuietly(const std::string& line) {
    std::fflush(stdout);
    std::FILE* null = std::fopen("/dev/null", "we");
    if (!null) throw CommandError("cannot silence a command");
    const int saved = dup(STDOUT_FILENO);
    if (saved < 0) {
        std::fclose(null);
        throw CommandError("cannot silence a command");
    }
    dup2(fileno(null), STDOUT_FILENO);
    std::fclose(null);
    struct Restore {
        int saved;
        ~Restore() {
            std::fflush(stdout);
            dup2(saved, STDOUT_FILENO);
            close(saved);
        }
    } restore{saved};
    Execute(line);
}

std::string ContactLine(const generator::GeneratedContact& contact) {
    std::string line = "contact add --name '" + contact.name + "'";
    for (const std::string& address : contact.addresses) line += " --email " + address;
    line += " --priority '" + ContactPriorityText(contact.priority) + "'";
    if (!contact.folder.empty()) line += " --folder '" + contact.folder + "'";
    return line;
}

void AddContacts(const std::vector<generator::GeneratedContact>& contacts) {
    if (contacts.empty()) return;
    Run(ContactLine(contacts.front()));
    std::set<std::string> folders;
    for (std::size_t i = 1; i < contacts.size(); ++i) {
        RunQuietly(ContactLine(contacts[i]));
        if (!contacts[i].folder.empty()) folders.insert(contacts[i].folder);
    }
    std::printf("... and %zu contacts more, every priority from Junk to Very High",
                contacts.size() - 1);
    for (const std::string& folder : folders) std::printf(", some in \"%s\"", folder.c_str());
    std::printf("\n");
}

void Demo(const DemoOptions& options) {
    const auto started = std::chrono::steady_clock::now();
    const fs::path home = FreshHome(options.home);
    platform::SetHomeDirectory(home);
    setenv("ORVELLA_HOME", home.c_str(), 1);
    const fs::path mail = home / "generated-mail";
    std::printf(
        "Orvella demo: a generated mailbox of %zu messages (seed %u) in a fresh home,\n%s\n",
        options.messages, options.seed, home.c_str());
    const generator::GeneratedMailbox mailbox =
        generator::GenerateMailbox({options.messages, options.seed}, mail);
    std::printf("The mail of %s: %zu messages received, %zu sent, and %zu contacts.\n",
                mailbox.own_addresses.front().c_str(), mailbox.inbox_messages,
                mailbox.sent_messages, mailbox.contacts.size());

    std::string init = "init";
    for (const std::string& address : mailbox.own_addresses) init += " --address " + address;
    Run(init);
    AddContacts(mailbox.contacts);
    Run("import '" + mail.string() + "' --tree");
    Run("process");
    Run("inbox --order day --limit 20");
    Run("stats");
    if (const std::string top = TopScoredInboxMessage(); !top.empty()) {
        std::printf("\nWhy the highest-scored message ranks first:");
        Run("explain " + top);
    }
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    std::printf(
        "\nDone in %.1f s. The demo's home stays in %s; to look around in it:\n"
        "  export ORVELLA_HOME=%s\n"
        "  orvella inbox --order score            # the whole Inbox by score\n"
        "  orvella inbox --order week --limit 40  # grouped by week\n"
        "  orvella contact list                   # the contacts and their priorities\n"
        "  orvella contact set ADDRESS --priority High && orvella process --all\n"
        "  orvella threads                        # the conversation threads\n"
        "Remove it with: rm -rf %s\n",
        seconds, home.c_str(), home.c_str(), home.c_str());
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
