// orvella outlook: whether the simulated Outlook works offline and how it is connected to
// Exchange, as the add-in asks its namespace.
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>

#include "commands.h"
#include "outlook_application.h"
#include "profile.h"
#include "prop_text.h"

namespace orvella::cli {
namespace {

namespace outlook = host::outlook;

struct OutlookOptions {
    std::string offline;  // "yes", "no" or empty for unchanged
    std::string mode;     // a name, a number, or empty for unchanged
    bool json = false;
};

void Run(const OutlookOptions& options) {
    const std::string profile = platform::mapi::store::DefaultProfileName();
    try {
        outlook::OutlookState state = outlook::LoadOutlookState(profile);
        if (!options.offline.empty()) state.offline = options.offline == "yes";
        if (!options.mode.empty()) {
            auto mode = outlook::ParseConnectionMode(options.mode);
            if (!mode) {
                throw CommandError("unknown connection mode \"" + options.mode +
                                   "\" (online, offline, cached-offline, disconnected, "
                                   "cached-disconnected, cached-headers, cached-drizzle, "
                                   "cached-full, no-exchange or a number)");
            }
            state.connectionMode = *mode;
        }
        if (!options.offline.empty() || !options.mode.empty())
            outlook::SaveOutlookState(profile, state);

        const char* mode_name = outlook::ConnectionModeName(state.connectionMode);
        if (options.json) {
            return PrintJson({{"profile", profile},
                              {"offline", state.offline},
                              {"connectionMode", static_cast<int>(state.connectionMode)},
                              {"connectionModeName", mode_name}});
        }
        std::printf("Profile \"%s\": Outlook works %s; Exchange connection mode %s (%d)\n",
                    profile.c_str(), state.offline ? "offline" : "online", mode_name,
                    static_cast<int>(state.connectionMode));
    } catch (const CommandError&) {
        throw;
    } catch (const std::runtime_error& failure) {
        throw CommandError(failure.what());
    }
}

}  // namespace

void AddOutlookCommands(CLI::App& app) {
    auto options = std::make_shared<OutlookOptions>();
    CLI::App* command = app.add_subcommand(
        "outlook", "Show or set whether Outlook works offline and its Exchange connection mode");
    command->add_option("--offline", options->offline, "Work offline: yes or no")
        ->check(CLI::IsMember({"yes", "no"}));
    command->add_option("--connection-mode", options->mode,
                        "Exchange connection mode: online, offline, cached-offline, "
                        "disconnected, cached-disconnected, cached-headers, cached-drizzle, "
                        "cached-full, no-exchange, or its number");
    command->add_flag("--json", options->json, "Print JSON");
    command->callback([options] { Run(*options); });
}

}  // namespace orvella::cli
