// The orvella command line: each group of subcommands registers itself on the application.
#pragma once

#include <CLI/CLI.hpp>
#include <stdexcept>
#include <string>

namespace orvella::cli {

// A failure a command reports to the user: printed as "orvella: <message>", exit status 1.
struct CommandError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// orvella reg get|set|delete|list|export|import
void AddRegCommands(CLI::App& app);

// orvella profile create|list, orvella store check
void AddProfileCommands(CLI::App& app);

// orvella folders, ls, show
void AddMailboxCommands(CLI::App& app);

// orvella msg save|load
void AddMsgCommands(CLI::App& app);

// orvella import, deliver
void AddImportCommands(CLI::App& app);

// orvella directory add|list|remove
void AddDirectoryCommands(CLI::App& app);

// orvella outlook
void AddOutlookCommands(CLI::App& app);

// orvella init, session
void AddSessionCommands(CLI::App& app);

// orvella log [--lines N]
void AddLogCommands(CLI::App& app);

// orvella thread-name, threads
void AddThreadCommands(CLI::App& app);

// orvella account add|list, identity
void AddIdentityCommands(CLI::App& app);

// orvella contact add|set|list|find|search
void AddContactCommands(CLI::App& app);

// orvella stats, inbox
void AddInboxCommands(CLI::App& app);

// orvella explain
void AddExplainCommands(CLI::App& app);

// orvella process [--all | --contact ADDR]
void AddProcessCommands(CLI::App& app);

// Every command above, in the order `orvella --help` lists them.
void AddAllCommands(CLI::App& app);

// orvella demo [--messages N] [--seed S] [--home DIR]: runs the commands above itself.
void AddDemoCommands(CLI::App& app);

// orvella bench [--messages N] [--json]: the benchmark suite, each mailbox in a process of its own.
void AddBenchCommands(CLI::App& app);

// The entry id (hex) of the Inbox message with the highest score; empty when none is scored.
std::string TopScoredInboxMessage();

// Whether inbox listings colour scores by band (on a terminal).
void ColourInboxScores(bool colour);

}  // namespace orvella::cli
