// The orvella program: runs the add-in on the embedded platform from the command line.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <optional>
#include <string>

#include "commands.h"
#include "home.h"
#include "terminal_front_end.h"

#ifndef ORVELLA_VERSION
#define ORVELLA_VERSION "0.0.0"
#endif

int main(int argc, char** argv) {
    CLI::App app{"Orvella orders your incoming mail by how much it matters to you.", "orvella"};
    app.set_version_flag("--version", "orvella " ORVELLA_VERSION);
    app.require_subcommand(0, 1);

    std::string home;
    app.add_option("--home", home,
                   "Orvella home directory (default: $ORVELLA_HOME, else ~/.local/share/orvella)")
        ->envname("ORVELLA_HOME");
    std::string profile;
    app.add_option("--profile", profile, "Mail profile (default: $ORVELLA_PROFILE, else Outlook)");
    bool yes = false;
    bool no = false;
    CLI::Option* yesFlag =
        app.add_flag("--yes", yes, "Answer yes to the add-in's questions (OK, Retry) unasked");
    app.add_flag("--no", no, "Answer no to the add-in's questions (Cancel, Abort) unasked")
        ->excludes(yesFlag);
    // The add-in's dialogs and message boxes show on the terminal for the whole run.
    using orvella::host::terminal::PresetAnswer;
    std::optional<orvella::host::terminal::TerminalFrontEnd> terminal;
    std::optional<orvella::platform::gui::ScopedFrontEnd> terminalInstalled;
    app.parse_complete_callback([&] {
        // Progress bars are redrawn in place only on a terminal; Ctrl-C cancels a progress run.
        using orvella::host::terminal::ProgressStyle;
        terminal.emplace(
            std::cin, std::cerr, isatty(STDIN_FILENO) != 0,
            yes  ? PresetAnswer::Yes
            : no ? PresetAnswer::No
                 : PresetAnswer::None,
            isatty(STDERR_FILENO) != 0 ? ProgressStyle::InPlace : ProgressStyle::FinalText, true);
        terminalInstalled.emplace(*terminal);
        // Inbox listings colour scores by band on a terminal, unless NO_COLOR asks otherwise.
        orvella::cli::ColourInboxScores(isatty(STDOUT_FILENO) != 0 && !std::getenv("NO_COLOR"));
        if (!home.empty()) orvella::platform::SetHomeDirectory(home);
        // The profile travels as the environment MAPILogonEx reads, also to child processes.
        if (!profile.empty()) setenv("ORVELLA_PROFILE", profile.c_str(), 1);
    });

    orvella::cli::AddDemoCommands(app);
    orvella::cli::AddBenchCommands(app);
    orvella::cli::AddAllCommands(app);

    try {
        app.parse(argc, argv);
        if (app.get_subcommands().empty()) {
            std::fputs(app.help().c_str(), stdout);
        }
    } catch (const CLI::ParseError& e) {
        return app.exit(e);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "orvella: %s\n", e.what());
        return 1;
    }
    return 0;
}
