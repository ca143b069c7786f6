// orvella account and orvella identity: the profile's mail accounts as Outlook keeps them, and
// who the add-in takes the user to be.
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "BaseException.h"
#include "CExceptionReporter.h"
#include "COutlookContext.h"
#include "accounts.h"
#include "addin_ids.h"
#include "commands.h"
#include "outlook_host.h"
#include "profile.h"
#include "prop_text.h"

namespace orvella::cli {
namespace {

struct IdentityOptions {
    std::vector<std::string> addresses;
    std::vector<std::string> domains;
    bool json = false;
};

void AddAccountCommand(const std::string& address) {
    const std::string profile = platform::mapi::store::DefaultProfileName();
    if (!platform::mapi::store::ProfileExists(profile))
        throw CommandError("there is no profile \"" + profile +
                           "\"; `orvella init` installs Orvella and creates it");
    if (address.find('@') == std::string::npos)
        throw CommandError("\"" + address + "\" is not an e-mail address");
    try {
        std::printf("Account %s of profile \"%s\": %s\n",
                    host::AddAccount(profile, address).c_str(), profile.c_str(), address.c_str());
    } catch (const std::exception& failure) {
        throw CommandError(failure.what());
    }
}

void ListAccountsCommand() {
    const std::string profile = platform::mapi::store::DefaultProfileName();
    for (const std::string& address : host::ListAccounts(profile))
        std::printf("%s\n", address.c_str());
}

template <class List>
std::vector<std::string> Joined(const List& list, const std::vector<std::string>& more) {
    std::vector<std::string> all(list.begin(), list.end());
    all.insert(all.end(), more.begin(), more.end());
    return all;
}

void PrintList(const char* title, const std::vector<std::string>& list) {
    std::printf("%s:%s\n", title, list.empty() ? " (none)" : "");
    for (const std::string& entry : list) std::printf("  %s\n", entry.c_str());
}

void Identity(const IdentityOptions& options) {
    nlohmann::json identity;
    WithStoreSession(false, [&](OutlookHost&, COutlookContext& context) {
        if (!options.addresses.empty())
            context.SaveUserSpecifiedEmailAddresses(
                Joined(context.UserSpecifiedAddresses(), options.addresses));
        if (!options.domains.empty())
            context.SaveFriendDomains(Joined(context.FriendDomains(), options.domains));
        identity = {{"userAddresses", context.UserAddresses()},
                    {"userSpecifiedAddresses", context.UserSpecifiedAddresses()},
                    {"friendlyDomains", context.FriendDomains()},
                    {"vendorDomain", context.VendorDomain()},
                    {"exchangeMode", context.ExchangeModeAtStart()}};
    });
    if (options.json) return PrintJson(identity);
    PrintList("Your addresses (Outlook's accounts)",
              identity["userAddresses"].get<std::vector<std::string>>());
    PrintList("Addresses you added",
              identity["userSpecifiedAddresses"].get<std::vector<std::string>>());
    PrintList("Friendly domains", identity["friendlyDomains"].get<std::vector<std::string>>());
    std::printf("Always friendly: %s\n", identity["vendorDomain"].get<std::string>().c_str());
}

}  // namespace

void AddIdentityCommands(CLI::App& app) {
    CLI::App* account = app.add_subcommand("account", "The profile's mail accounts");
    account->require_subcommand(1);
    auto address = std::make_shared<std::string>();
    CLI::App* add = account->add_subcommand("add", "Add a mail account with this address");
    add->add_option("ADDRESS", *address, "The account's e-mail address")->required();
    add->callback([address] { AddAccountCommand(*address); });
    account->add_subcommand("list", "The accounts' addresses")->callback(ListAccountsCommand);

    auto options = std::make_shared<IdentityOptions>();
    CLI::App* identity = app.add_subcommand(
        "identity", "Who the add-in takes you to be: your addresses and friendly domains");
    identity->add_option("--add-address", options->addresses,
                         "Add an address of yours that no account names (repeatable)");
    identity->add_option("--add-domain", options->domains,
                         "Add a friendly domain: mail from it counts as known (repeatable)");
    identity->add_flag("--json", options->json, "Print JSON");
    identity->callback([options] { Identity(*options); });
}

}  // namespace orvella::cli
