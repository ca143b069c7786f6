// orvella directory add|list|remove: the people in the directory ("Global Address List") of an
// Exchange-like profile, which the address book serves to the add-in.
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "ab_entry_id.h"
#include "commands.h"
#include "db/sqlite_db.h"
#include "directory.h"
#include "profile.h"
#include "profile_session.h"
#include "prop_text.h"

namespace orvella::cli {
namespace {

namespace store = platform::mapi::store;

// Runs a directory change or read, turning the store's failures into the user's messages.
template <class Work>
auto OnDirectory(Work&& work) {
    // Logging on first gives the usual message for a profile that does not exist.
    ProfileSession session;
    try {
        return work(store::DefaultProfileName());
    } catch (const store::StoreFailure& failure) {
        throw CommandError(failure.what());
    }
}

void Add(const store::DirectoryEntrySetup& setup) {
    const store::DirectoryEntry entry = OnDirectory(
        [&](const std::string& profile) { return store::AddDirectoryEntry(profile, setup); });
    std::printf("Added \"%s\" <%s> (alias %s) to the directory\n", entry.display_name.c_str(),
                entry.smtp.c_str(), entry.alias.c_str());
}

nlohmann::json EntryJson(const store::DirectoryEntry& entry) {
    const auto id = store::MakeAbEntryId({store::AbEntryKind::MailUser, entry.id});
    return {
        {"name", entry.display_name},
        {"alias", entry.alias},
        {"address", entry.smtp},
        {"native_address", store::NativeAddress(entry.alias)},
        {"proxies", entry.proxies},
        {"user", entry.is_user},
        {"entry_id", EntryIdText({static_cast<ULONG>(id.size()), const_cast<BYTE*>(id.data())})}};
}

void List(bool json) {
    const auto entries = OnDirectory([](const std::string& profile) {
        if (!store::ProfileHasDirectory(profile))
            throw CommandError("the profile \"" + profile +
                               "\" has no directory (it has no Exchange-like mailbox)");
        return store::DirectoryEntries(profile);
    });
    nlohmann::json listed = nlohmann::json::array();
    for (const auto& entry : entries) listed.push_back(EntryJson(entry));
    if (json) return PrintJson(listed);
    if (entries.empty())
        std::puts("The directory is empty; add people with `orvella directory add`.");
    for (const auto& entry : entries) {
        std::printf("%s <%s> alias %s%s\n", entry.display_name.c_str(), entry.smtp.c_str(),
                    entry.alias.c_str(), entry.is_user ? " (the profile's user)" : "");
        for (size_t i = 1; i < entry.proxies.size(); ++i)
            std::printf("  %s\n", entry.proxies[i].c_str());
    }
}

void Remove(const std::string& address) {
    OnDirectory([&](const std::string& profile) {
        store::RemoveDirectoryEntry(profile, address);
        return 0;
    });
    std::printf("Removed <%s> from the directory\n", address.c_str());
}

}  // namespace

void AddDirectoryCommands(CLI::App& app) {
    CLI::App* directory =
        app.add_subcommand("directory", "Manage the directory of an Exchange-like profile");
    directory->require_subcommand(1);

    auto setup = std::make_shared<store::DirectoryEntrySetup>();
    CLI::App* add = directory->add_subcommand("add", "Add a person to the directory");
    add->add_option("--name", setup->display_name, "Display name")->required();
    add->add_option("--address", setup->address, "Primary SMTP address")->required();
    add->add_option("--alias", setup->alias, "Mailbox alias (default: the address's local part)");
    add->add_option("--proxy", setup->proxies,
                    "Another address, e.g. smtp:b@example.com or X500:/o=... (repeatable)")
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    add->callback([setup] { Add(*setup); });

    auto json = std::make_shared<bool>(false);
    CLI::App* list = directory->add_subcommand("list", "List the people in the directory");
    list->add_flag("--json", *json, "Print JSON");
    list->callback([json] { List(*json); });

    auto address = std::make_shared<std::string>();
    CLI::App* remove =
        directory->add_subcommand("remove", "Remove a person by primary SMTP address");
    remove->add_option("ADDRESS", *address, "Primary SMTP address")->required();
    remove->callback([address] { Remove(*address); });
}

}  // namespace orvella::cli
