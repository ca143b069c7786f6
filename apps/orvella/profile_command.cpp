// orvella profile create|list and orvella store check: the profiles in the Orvella home, their
// stores, and the integrity of every store file.
#include <cstdio>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "commands.h"
#include "directory.h"
#include "profile.h"
#include "prop_text.h"
#include "store_database.h"

namespace orvella::cli {
namespace {

namespace store = platform::mapi::store;

struct CreateOptions {
    std::string name;
    bool exchange = false;
    bool offline = false;
    std::string user;     // the Exchange-like profile's own user: display name
    std::string address;  // and primary SMTP address
    CLI::Option* store_option = nullptr;
    CLI::Option* kind_option = nullptr;
};

// The stores to create: the default store first (an Exchange-like mailbox or personal folders),
// then each --store with the --kind that follows it (personal folders when none follows).
std::vector<store::StoreSetup> StoreSetups(CLI::App& command, const CreateOptions& options) {
    std::vector<store::StoreSetup> setups;
    if (options.exchange) {
        setups.push_back({"Mailbox", store::StoreKind::Exchange, true, options.offline});
    } else {
        setups.push_back({"Personal Folders", store::StoreKind::Personal, true, options.offline});
    }
    std::vector<std::string> names = options.store_option->as<std::vector<std::string>>();
    std::vector<std::string> kinds = options.kind_option->as<std::vector<std::string>>();
    size_t next_name = 0, next_kind = 0;
    bool kind_pending = false;
    for (const CLI::Option* option : command.parse_order()) {
        if (option == options.store_option) {
            setups.push_back({names.at(next_name++), store::StoreKind::Personal, false, false});
            kind_pending = true;
        } else if (option == options.kind_option) {
            if (!kind_pending) throw CommandError("--kind must follow the --store it describes");
            try {
                setups.back().kind = store::ParseStoreKind(kinds.at(next_kind++));
            } catch (const store::StoreFailure&) {
                throw CommandError("unknown store kind \"" + kinds.at(next_kind - 1) +
                                   "\" (pst, exchange, imap, http or public)");
            }
            kind_pending = false;
        }
    }
    return setups;
}

void Create(CLI::App& command, const CreateOptions& options) {
    const std::string name = options.name.empty() ? store::DefaultProfileName() : options.name;
    const auto setups = StoreSetups(command, options);
    if (options.user.empty() != options.address.empty()) {
        throw CommandError("--user and --address go together");
    }
    if (!options.user.empty() && !options.exchange) {
        throw CommandError(
            "--user and --address need --exchange: only an Exchange-like profile "
            "has a directory");
    }
    try {
        store::CreateProfile(name, setups);
    } catch (const store::StoreFailure& failure) {
        if (failure.code() == MAPI_E_COLLISION) {
            throw CommandError("profile \"" + name + "\" already exists");
        }
        throw CommandError("creating profile \"" + name + "\": " + failure.what());
    }
    if (!options.user.empty()) {
        try {
            store::AddDirectoryEntry(name, {options.user, options.address, "", {}}, true);
        } catch (const store::StoreFailure& failure) {
            // A profile without the user it was asked for is not left behind.
            std::filesystem::remove_all(store::ProfileDirectory(name));
            throw CommandError("creating profile \"" + name + "\": " + failure.what());
        }
    }
    std::printf("Created profile \"%s\" with %zu store%s:\n", name.c_str(), setups.size(),
                setups.size() == 1 ? "" : "s");
    for (const auto& setup : setups) {
        std::printf("  %s (%s%s%s)\n", setup.display_name.c_str(), store::StoreKindName(setup.kind),
                    setup.is_default ? ", default" : "", setup.offline ? ", offline" : "");
    }
    if (!options.user.empty()) {
        std::printf("  user %s <%s> in the directory\n", options.user.c_str(),
                    options.address.c_str());
    }
}

void List(bool json) {
    const std::string current = store::DefaultProfileName();
    nlohmann::json profiles = nlohmann::json::array();
    for (const std::string& name : store::ListProfiles()) {
        nlohmann::json stores = nlohmann::json::array();
        for (const auto& s : store::ProfileStores(name)) {
            stores.push_back({{"name", s.display_name},
                              {"kind", store::StoreKindName(s.kind)},
                              {"default", s.is_default},
                              {"file", s.file.string()}});
        }
        profiles.push_back({{"name", name}, {"current", name == current}, {"stores", stores}});
    }
    if (json) return PrintJson(profiles);
    if (profiles.empty()) std::puts("No profiles; create one with `orvella profile create`.");
    for (const auto& profile : profiles) {
        std::printf("%s%s\n", profile["name"].get<std::string>().c_str(),
                    profile["current"].get<bool>() ? " (current)" : "");
        for (const auto& s : profile["stores"]) {
            std::printf("  %s (%s%s)\n", s["name"].get<std::string>().c_str(),
                        s["kind"].get<std::string>().c_str(),
                        s["default"].get<bool>() ? ", default" : "");
        }
    }
}

// Checks every store of the current profile; a failure of one store is reported and the others
// are still checked.
void Check() {
    const std::string profile = store::DefaultProfileName();
    if (!store::ProfileExists(profile)) {
        throw CommandError("there is no profile \"" + profile + "\"");
    }
    size_t failed = 0;
    for (const auto& s : store::ProfileStores(profile)) {
        std::vector<std::string> problems;
        try {
            problems = store::StoreDatabase::Open(s.file)->Check();
        } catch (const store::StoreFailure& failure) {
            problems.push_back(failure.what());
        }
        std::printf("%s: %s\n", s.display_name.c_str(), problems.empty() ? "ok" : "DAMAGED");
        for (const std::string& problem : problems) std::printf("  %s\n", problem.c_str());
        if (!problems.empty()) ++failed;
    }
    if (failed) {
        throw CommandError(std::to_string(failed) + " store" + (failed == 1 ? "" : "s") +
                           " of profile \"" + profile + "\" failed the check");
    }
}

}  // namespace

void AddProfileCommands(CLI::App& app) {
    CLI::App* profile = app.add_subcommand("profile", "Create and list mail profiles");
    profile->require_subcommand(1);

    auto options = std::make_shared<CreateOptions>();
    CLI::App* create = profile->add_subcommand(
        "create", "Create a profile (default: the current profile) with its message stores");
    create->add_option("NAME", options->name, "Profile name");
    create->add_flag("--exchange", options->exchange,
                     "The default store is an Exchange-like mailbox, not personal folders");
    create->add_flag("--offline", options->offline, "The default store works offline");
    create->add_option("--user", options->user,
                       "With --exchange: the user's display name in the directory");
    create->add_option("--address", options->address,
                       "With --exchange: the user's primary SMTP address");
    options->store_option =
        create->add_option("--store", "Add a store with this display name (repeatable)")
            ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    options->kind_option =
        create
            ->add_option("--kind",
                         "Kind of the --store before it: pst, imap, http, public or exchange")
            ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    create->callback([create, options] { Create(*create, *options); });

    auto json = std::make_shared<bool>(false);
    CLI::App* list = profile->add_subcommand("list", "List the profiles and their stores");
    list->add_flag("--json", *json, "Print JSON");
    list->callback([json] { List(*json); });

    CLI::App* store_command = app.add_subcommand("store", "Maintain the message stores");
    store_command->require_subcommand(1);
    store_command->add_subcommand("check", "Check the integrity of every store of the profile")
        ->callback(Check);
}

}  // namespace orvella::cli
