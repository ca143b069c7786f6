// orvella contact add|set|list|find|search: the user's contacts and their priorities, through
// the add-in's store session as the add-in sees them.
#include <strings.h>

#include <cstdio>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "BaseException.h"
#include "CExceptionReporter.h"
#include "COutlookContext.h"
#include "addin_ids.h"
#include "commands.h"
#include "mapiutil.h"
#include "outlook_host.h"
#include "prop_text.h"

namespace orvella::cli {
namespace {

using platform::mapi::MapiBuffer;
using platform::mapi::RowSetPtr;

// The stored level of a priority's name, in any case.
LONG PriorityLevel(const std::string& name) {
    for (LONG level = CPL_JUNK; level <= CPL_VERY_HIGH; ++level)
        if (strcasecmp(ContactPriorityText(level).c_str(), name.c_str()) == 0) return level;
    throw CommandError("unknown priority \"" + name +
                       "\" (Junk, Low, Normal, High or \"Very High\")");
}

struct ContactSetup {
    std::string name;
    std::vector<std::string> emails;
    std::string priority;
    std::string folder;
};

// The folder a contact goes to: the default contacts folder, or one below it (made when new).
ComPtr<MAPIFolder> TargetFolder(OutlookHost& outlook, COutlookContext& context,
                                const std::string& path) {
    ComPtr<MAPIFolder> folder;
    if (path.empty()) {
        if (FAILED(outlook.NameSpace()->GetDefaultFolder(Outlook::olFolderContacts, &folder)))
            throw CommandError("the profile has no contacts folder");
        return folder;
    }
    ComPtr<IMAPIFolder> created =
        context.GetOrCreateFolder(context.GetContactsFolder(true).Get(), path);
    if (FAILED(outlook.NameSpace()->GetFolderFromID(context.GetEID(created.Get()).ToHex(),
                                                    VariantMissing(), &folder)))
        throw CommandError("cannot open the folder " + path);
    return folder;
}

void Add(const ContactSetup& setup) {
    if (setup.emails.size() > 3) throw CommandError("a contact has at most three addresses");
    std::optional<LONG> level;
    if (!setup.priority.empty()) level = PriorityLevel(setup.priority);
    WithStoreSession(true, [&](OutlookHost& outlook, COutlookContext& context) {
        ComPtr<_Items> items;
        ComPtr<IDispatch> added;
        ComPtr<_ContactItem> contact;
        HRESULT hr = TargetFolder(outlook, context, setup.folder)->get_Items(&items);
        if (SUCCEEDED(hr)) hr = items->Add(VariantLong(Outlook::olContactItem), &added);
        if (SUCCEEDED(hr)) hr = added.As(IID__ContactItem, contact);
        if (SUCCEEDED(hr)) hr = contact->put_FullName(setup.name);
        HRESULT(_ContactItem::*setters[])
        (const std::string&) = {&_ContactItem::put_Email1Address, &_ContactItem::put_Email2Address,
                                &_ContactItem::put_Email3Address};
        for (size_t i = 0; i < setup.emails.size() && SUCCEEDED(hr); ++i)
            hr = (contact.Get()->*setters[i])(setup.emails[i]);
        if (SUCCEEDED(hr)) hr = contact->Save();
        std::string hex;
        if (SUCCEEDED(hr)) hr = contact->get_EntryID(&hex);
        if (FAILED(hr)) throw CommandError("Outlook could not save the contact");
        if (level)
            context.SetContactPriority(context.GetMAPIMessage(EntryId::FromHex(hex)).Get(), *level);
        std::printf("Added %s\n", setup.name.c_str());
    });
}

void Set(const std::string& address, const std::string& priority, std::optional<LONG> replies) {
    std::optional<LONG> level;
    if (!priority.empty()) level = PriorityLevel(priority);
    WithStoreSession(true, [&](OutlookHost&, COutlookContext& context) {
        ComPtr<IMessage> contact;
        if (context.GetContactRecordByEmail(contact, address) != S_OK)
            throw CommandError("no contact has the address " + address);
        if (level) context.SetContactPriority(contact.Get(), *level);
        if (replies) {
            SPropValue value = {};
            value.ulPropTag = context.ItemsPropTags()[IP_CONTACT_REPLY_COUNTER];
            value.Value.l = *replies;
            if (FAILED(HrSetOneProp(contact.Get(), &value)) || FAILED(contact->SaveChanges(0)))
                throw CommandError("cannot save the reply counter");
        }
        std::printf("%s: %s\n",
                    context.GetMAPIStringProperty(contact.Get(), PR_DISPLAY_NAME_A).c_str(),
                    ContactPriorityText(context.GetContactPriority(contact.Get())).c_str());
    });
}

// What a user sees of one contact.
nlohmann::json Describe(COutlookContext& context, const EntryId& id) {
    ComPtr<IMessage> contact = context.GetMAPIMessage(id);
    MapiBuffer<SPropValue> replies;
    LONG counter = 0;
    if (SUCCEEDED(HrGetOneProp(contact.Get(), context.ItemsPropTags()[IP_CONTACT_REPLY_COUNTER],
                               &replies)))
        counter = replies->Value.l;
    nlohmann::json emails = nlohmann::json::array();
    for (const std::string& email : context.GetContactEmails(id))
        if (!email.empty()) emails.push_back(email);
    return {{"name", context.GetMAPIStringProperty(contact.Get(), PR_DISPLAY_NAME_A)},
            {"emails", emails},
            {"priority", ContactPriorityText(context.GetContactPriority(contact.Get()))},
            {"replyCounter", counter},
            {"mayOverwrite", context.GetMessageOverwriteFlag(contact.Get())}};
}

void PrintContact(const nlohmann::json& c) {
    std::string emails;
    for (const auto& email : c["emails"])
        emails += (emails.empty() ? "" : ", ") + email.get<std::string>();
    std::printf("%-24s %-10s replies %-3d %s\n", c["name"].get<std::string>().c_str(),
                c["priority"].get<std::string>().c_str(), c["replyCounter"].get<int>(),
                emails.c_str());
}

void List(bool json) {
    WithStoreSession(true, [&](OutlookHost&, COutlookContext& context) {
        nlohmann::json folders = nlohmann::json::array();
        for (const EntryId& folderId : context.ContactFolderEIDs()) {
            ComPtr<IMAPIFolder> folder = context.GetFolder(context.MailStore(), folderId, false);
            nlohmann::json contacts = nlohmann::json::array();
            ComPtr<IMAPITable> table;
            SizedSPropTagArray(2, columns) = {2, {PR_ENTRYID, PR_MESSAGE_CLASS_A}};
            RowSetPtr rows;
            if (FAILED(folder->GetContentsTable(0, &table)) ||
                FAILED(HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns),
                                      nullptr, nullptr, 0, &rows)))
                throw CommandError("cannot read a contacts folder");
            for (ULONG i = 0; i < rows->cRows; ++i) {
                const SPropValue* props = rows->aRow[i].lpProps;
                if (props[1].ulPropTag != PR_MESSAGE_CLASS_A ||
                    std::string(props[1].Value.lpszA).rfind("IPM.Contact", 0) != 0)
                    continue;
                contacts.push_back(Describe(context, EntryId(props[0].Value.bin)));
            }
            folders.push_back(
                {{"folder", context.GetMAPIStringProperty(folder.Get(), PR_DISPLAY_NAME_A)},
                 {"contacts", contacts}});
        }
        if (json) return PrintJson(folders);
        for (const auto& folder : folders) {
            std::printf("%s:\n", folder["folder"].get<std::string>().c_str());
            for (const auto& contact : folder["contacts"]) PrintContact(contact);
        }
    });
}

void Find(const std::string& address) {
    WithStoreSession(true, [&](OutlookHost&, COutlookContext& context) {
        EntryId found = context.FindContactEIDByEmail(address);
        if (found.empty()) {
            std::printf("No contact has the address %s\n", address.c_str());
        } else {
            PrintContact(Describe(context, found));
        }
        if (!context.HasDirectory()) return;
        std::printf("Directory: %s\n",
                    context.ResolveEmailAddressFromAB(address) == 0 ? "known" : "unknown");
        for (const std::string& alias : context.GetEmailAliases(address))
            std::printf("  alias %s\n", alias.c_str());
    });
}

void Search(const std::string& name) {
    WithStoreSession(true, [&](OutlookHost&, COutlookContext& context) {
        std::vector<EntryId> ids;
        std::vector<std::string> names;
        context.FuzzySearchAllContactFolders(name, ids, names);
        if (ids.empty()) std::printf("No contact matches %s\n", name.c_str());
        for (const EntryId& id : ids) PrintContact(Describe(context, id));
    });
}

}  // namespace

void AddContactCommands(CLI::App& app) {
    CLI::App* contact = app.add_subcommand("contact", "Your contacts and their priorities");
    contact->require_subcommand(1);

    auto setup = std::make_shared<ContactSetup>();
    CLI::App* add = contact->add_subcommand("add", "Create a contact as you do in Outlook");
    add->add_option("--name", setup->name, "Full name")->required();
    add->add_option("--email", setup->emails, "An e-mail address (up to three)")->required();
    add->add_option("--priority", setup->priority, "Junk, Low, Normal, High or \"Very High\"");
    add->add_option("--folder", setup->folder,
                    "Folder below the Contacts folder (made when missing)");
    add->callback([setup] { Add(*setup); });

    auto address = std::make_shared<std::string>();
    auto priority = std::make_shared<std::string>();
    auto replies = std::make_shared<std::optional<LONG>>();
    CLI::App* set = contact->add_subcommand("set", "Change the contact that has an address");
    set->add_option("address", *address, "One of the contact's addresses")->required();
    set->add_option("--priority", *priority, "Junk, Low, Normal, High or \"Very High\"");
    set->add_option("--reply-counter", *replies, "Messages you sent to the contact");
    set->callback([address, priority, replies] { Set(*address, *priority, *replies); });

    auto json = std::make_shared<bool>(false);
    CLI::App* list = contact->add_subcommand("list", "The contacts of every contacts folder");
    list->add_flag("--json", *json, "Print JSON");
    list->callback([json] { List(*json); });

    CLI::App* find =
        contact->add_subcommand("find", "The contact (and directory entry) of an address");
    find->add_option("address", *address, "An e-mail address")->required();
    find->callback([address] { Find(*address); });

    auto name = std::make_shared<std::string>();
    CLI::App* search =
        contact->add_subcommand("search", "Contacts whose name contains a word of NAME");
    search->add_option("name", *name, "A name or an address")->required();
    search->callback([name] { Search(*name); });
}

}  // namespace orvella::cli
