// The orvella program: runs the add-in on the embedded platform from the command line.
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

#include "commands.h"
#include "home.h"

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
    app.parse_complete_callback([&] {
        if (!home.empty()) orvella::platform::SetHomeDirectory(home);
        // The profile travels as the environment MAPILogonEx reads, also to child processes.
        if (!profile.empty()) setenv("ORVELLA_PROFILE", profile.c_str(), 1);
    });

    orvella::cli::AddRegCommands(app);
    orvella::cli::AddProfileCommands(app);
    orvella::cli::AddMailboxCommands(app);
    orvella::cli::AddMsgCommands(app);
    orvella::cli::AddImportCommands(app);
    orvella::cli::AddDirectoryCommands(app);

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
