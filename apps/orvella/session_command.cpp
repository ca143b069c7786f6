// orvella init and orvella session: what an installation writes, and the add-in's store session
// opened on it as the add-in opens it at Outlook's start.
#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "BaseException.h"
#include "CExceptionReporter.h"
#include "COutlookContext.h"
#include "addin_ids.h"
#include "commands.h"
#include "installation.h"
#include "mapi_names.h"
#include "mapiutil.h"
#include "outlook_host.h"
#include "prop_text.h"

namespace orvella::cli {
namespace {

using platform::mapi::MapiBuffer;

void Init(const host::InstallOptions& options) {
    host::InstallReport report;
    try {
        report = host::Install(options);
    } catch (const std::exception& failure) {
        throw CommandError(failure.what());
    }
    std::printf("Orvella is installed in %s\n", report.installDirectory.string().c_str());
    if (report.profileCreated)
        std::printf("Created profile \"%s\"\n", report.profile.c_str());
    else
        std::printf("Profile \"%s\" exists; left as it is\n", report.profile.c_str());
    for (const std::string& value : report.written) std::printf("  wrote %s\n", value.c_str());
    if (!report.kept.empty())
        std::printf("  %zu value%s already present and kept (--force rewrites them)\n",
                    report.kept.size(), report.kept.size() == 1 ? "" : "s");
}

std::string StoreName(IMsgStore* store) {
    MapiBuffer<SPropValue> name;
    if (FAILED(HrGetOneProp(store, PR_DISPLAY_NAME_A, &name))) return "";
    return name->Value.lpszA;
}

nlohmann::json TagJson(ULONG tag) {
    char hex[16];
    std::snprintf(hex, sizeof hex, "0x%08X", tag);
    return {{"tag", hex}, {"type", platform::mapi::PropTypeName(PROP_TYPE(tag))}};
}

nlohmann::json Describe(COutlookContext& context) {
    nlohmann::json items = nlohmann::json::object();
    nlohmann::json appItems = nlohmann::json::object();
    for (size_t i = 0; i < ITEMS_PROP_COUNT; ++i) {
        items[kItemsPropDefinitions[i].name] = TagJson(context.ItemsPropTags()[i]);
        appItems[kItemsPropDefinitions[i].name] = TagJson(context.AppItemsPropTags()[i]);
    }
    nlohmann::json contacts = nlohmann::json::object();
    for (size_t i = 0; i < CONTACT_PROP_COUNT; ++i) {
        char id[32];
        std::snprintf(id, sizeof id, "PSETID_Address:0x%04X",
                      static_cast<unsigned>(kContactPropDefinitions[i].id));
        contacts[id] = TagJson(context.ContactPropTags()[i]);
    }
    return {
        {"outlookVersion", context.OutlookVersion()},
        {"installDirectory", context.InstallDirectory()},
        {"viewsDirectory", context.ViewsDirectory()},
        {"mailStore", StoreName(context.MailStore())},
        {"applicationStore", StoreName(context.AppStore())},
        {"sameStore", context.AppStore() == context.MailStore()},
        {"folders",
         {{"Inbox", context.InboxEID().ToHex()},
          {"Sent Items", context.SentItemsEID().ToHex()},
          {"Deleted Items", context.WastebasketEID().ToHex()},
          {"Contacts", context.ContactsEID().ToHex()},
          {"thread folder", context.ThreadFolderEID().ToHex()},
          {"topic root", context.TopicRootEID().ToHex()}}},
        {"topicFolderLocation", context.TopicFolderLocation()},
        {"exchangeMode", context.ExchangeModeAtStart()},
        {"offline", context.IsOffline()},
        {"cachedMode", context.IsCachedMode()},
        {"itemsPropTags", items},
        {"appItemsPropTags", appItems},
        {"contactPropTags", contacts},
    };
}

// The tags in table order (the JSON object keeps them by name).
void PrintItemsTags(const char* title, const nlohmann::json& tags) {
    std::printf("%s:\n", title);
    for (const NamedPropDefinition& definition : kItemsPropDefinitions) {
        const auto& tag = tags[definition.name];
        std::printf("  %-24s %s %s\n", definition.name, tag["tag"].get<std::string>().c_str(),
                    tag["type"].get<std::string>().c_str());
    }
}

void PrintSession(const nlohmann::json& s) {
    auto text = [&](const char* key) { return s[key].get<std::string>(); };
    auto yes = [&](const char* key) { return s[key].get<bool>() ? "yes" : "no"; };
    std::printf("Outlook version:   %s\n", text("outlookVersion").c_str());
    std::printf("Install directory: %s\n", text("installDirectory").c_str());
    std::printf("Mail store:        %s\n", text("mailStore").c_str());
    std::printf("Application store: %s%s\n", text("applicationStore").c_str(),
                s["sameStore"].get<bool>() ? " (the mail store)" : "");
    std::printf("Topic root:        %s\n", text("topicFolderLocation").c_str());
    std::printf("Exchange mode: %s   offline: %s   cached: %s\n", yes("exchangeMode"),
                yes("offline"), yes("cachedMode"));
    std::printf("Folders:\n");
    for (const char* name :
         {"Inbox", "Sent Items", "Deleted Items", "Contacts", "thread folder", "topic root"})
        std::printf("  %-14s %s\n", name, s["folders"][name].get<std::string>().c_str());
    PrintItemsTags("Items tags (mail store)", s["itemsPropTags"]);
    if (!s["sameStore"].get<bool>())
        PrintItemsTags("Items tags (application store)", s["appItemsPropTags"]);
    std::printf("Contact tags:\n");
    for (const auto& [name, tag] : s["contactPropTags"].items())
        std::printf("  %-24s %s %s\n", name.c_str(), tag["tag"].get<std::string>().c_str(),
                    tag["type"].get<std::string>().c_str());
}

void Session(bool json) {
    nlohmann::json description;
    // As at Outlook's start: a failure is logged and shown, and the add-in stays inactive.
    WithStoreSession(
        true, [&](OutlookHost&, COutlookContext& context) { description = Describe(context); });
    if (json) return PrintJson(description);
    PrintSession(description);
}

}  // namespace

void AddSessionCommands(CLI::App& app) {
    auto options = std::make_shared<host::InstallOptions>();
    CLI::App* init = app.add_subcommand(
        "init", "Install Orvella: the home, the default profile and what the installer writes");
    init->add_option("--address", options->addresses,
                     "One of your own e-mail addresses (repeatable; the first is the mailbox's)");
    init->add_flag("--exchange", options->exchange, "Make the profile an Exchange-like mailbox");
    init->add_flag("--force", options->force, "Rewrite installation values that already exist");
    init->callback([options] { Init(*options); });

    auto json = std::make_shared<bool>(false);
    CLI::App* session = app.add_subcommand(
        "session", "Open the add-in's store session as at Outlook's start and show what it found");
    session->add_flag("--json", *json, "Print JSON");
    session->callback([json] { Session(*json); });
}

}  // namespace orvella::cli
