// orvella folders, ls and show: the folders of the profile's stores, the messages of one folder,
// and every property of one object, read through MAPI as the add-in reads them.
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "commands.h"
#include "mapi_names.h"
#include "mapiutil.h"
#include "objidl.h"
#include "profile_session.h"
#include "prop_text.h"

namespace orvella::cli {
namespace {

using nlohmann::json;
using platform::mapi::ComPtr;
using platform::mapi::MapiBuffer;
using platform::mapi::RowSetPtr;

// A column of a row, or nullptr when the row lacks it.
const SPropValue* Column(const SRow& row, ULONG tag) {
    return PpropFindProp(row.lpProps, row.cValues, tag);
}

std::string Text(const SRow& row, ULONG tag) {
    const SPropValue* value = Column(row, tag);
    return value && value->Value.lpszA ? value->Value.lpszA : "";
}

long Number(const SRow& row, ULONG tag) {
    const SPropValue* value = Column(row, tag);
    return value ? value->Value.l : 0;
}

// ---- orvella folders ----

// The folder tree of one store below its top of information store, nested by PR_DEPTH.
json FolderTree(const ProfileSession& session, const ProfileSession::Store& store) {
    ComPtr<IMsgStore> opened = session.OpenStore(store);
    ComPtr<IMAPIFolder> top = session.OpenFolder(opened.Get(), "");
    ComPtr<IMAPITable> table;
    CheckMapi(top->GetHierarchyTable(CONVENIENT_DEPTH, &table), "reading the folders", top.Get());
    SizedSPropTagArray(6, columns) = {6,
                                      {PR_DEPTH, PR_DISPLAY_NAME_A, PR_ENTRYID, PR_CONTENT_COUNT,
                                       PR_ASSOC_CONTENT_COUNT, PR_CONTAINER_CLASS_A}};
    RowSetPtr rows;
    CheckMapi(HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns), nullptr,
                             nullptr, 0, &rows),
              "reading the folders");

    json root = {{"store", store.name}, {"default", store.is_default}, {"folders", json::array()}};
    // path[d] is the "folders" array that receives depth d + 1; rows come depth first.
    std::vector<json*> path = {&root["folders"]};
    std::vector<std::string> names;
    for (ULONG i = 0; i < rows->cRows; ++i) {
        const SRow& row = rows->aRow[i];
        const size_t depth = static_cast<size_t>(std::max(1L, Number(row, PR_DEPTH)));
        if (depth > path.size()) continue;  // cannot happen in a depth-first table
        path.resize(depth);
        names.resize(depth - 1);
        names.push_back(Text(row, PR_DISPLAY_NAME_A));
        std::string folder_path;
        for (const std::string& name : names) folder_path += "/" + name;
        const SPropValue* id = Column(row, PR_ENTRYID);
        path.back()->push_back({{"name", names.back()},
                                {"path", folder_path},
                                {"class", Text(row, PR_CONTAINER_CLASS_A)},
                                {"items", Number(row, PR_CONTENT_COUNT)},
                                {"associated", Number(row, PR_ASSOC_CONTENT_COUNT)},
                                {"entry_id", id ? EntryIdText(id->Value.bin) : ""},
                                {"folders", json::array()}});
        path.push_back(&path.back()->back()["folders"]);
    }
    return root;
}

void PrintFolders(const json& folders, int depth) {
    for (const json& folder : folders) {
        std::printf("%*s%s (%ld)\n", depth * 2, "", folder["name"].get<std::string>().c_str(),
                    folder["items"].get<long>());
        PrintFolders(folder["folders"], depth + 1);
    }
}

void Folders(bool as_json) {
    ProfileSession session;
    json stores = json::array();
    for (const auto& store : session.stores()) stores.push_back(FolderTree(session, store));
    if (as_json) return PrintJson(stores);
    for (const json& store : stores) {
        std::printf("%s%s\n", store["store"].get<std::string>().c_str(),
                    store["default"].get<bool>() ? " (default)" : "");
        PrintFolders(store["folders"], 1);
    }
}

// ---- orvella ls ----

struct ListOptions {
    std::string folder;
    std::string store;
    bool associated = false;
    bool json = false;
};

// Reads the table in pages, as the add-in walks a folder, newest first.
void List(const ListOptions& options) {
    ProfileSession session;
    ComPtr<IMsgStore> store = session.OpenStore(session.FindStore(options.store));
    ComPtr<IMAPIFolder> folder = session.OpenFolder(store.Get(), options.folder);
    ComPtr<IMAPITable> table;
    CheckMapi(folder->GetContentsTable(options.associated ? MAPI_ASSOCIATED : 0, &table),
              "reading " + options.folder, folder.Get());
    SizedSPropTagArray(6, columns) = {
        6,
        {PR_ENTRYID, PR_MESSAGE_DELIVERY_TIME, PR_SENDER_NAME_A, PR_SENDER_EMAIL_ADDRESS_A,
         PR_SUBJECT_A, PR_MESSAGE_CLASS_A}};
    CheckMapi(table->SetColumns(reinterpret_cast<LPSPropTagArray>(&columns), 0),
              "choosing columns");
    SizedSSortOrderSet(1, newest_first) = {
        1, 0, 0, {{PR_MESSAGE_DELIVERY_TIME, TABLE_SORT_DESCEND}}};
    CheckMapi(table->SortTable(reinterpret_cast<LPSSortOrderSet>(&newest_first), 0), "sorting");

    json messages = json::array();
    while (true) {
        RowSetPtr rows;
        CheckMapi(table->QueryRows(50, 0, &rows), "reading " + options.folder);
        if (rows->cRows == 0) break;
        for (ULONG i = 0; i < rows->cRows; ++i) {
            const SRow& row = rows->aRow[i];
            const SPropValue* id = Column(row, PR_ENTRYID);
            const SPropValue* received = Column(row, PR_MESSAGE_DELIVERY_TIME);
            json message = {{"entry_id", id ? EntryIdText(id->Value.bin) : ""},
                            {"received", received ? ValueJson(*received) : json()},
                            {"sender_name", Text(row, PR_SENDER_NAME_A)},
                            {"sender", Text(row, PR_SENDER_EMAIL_ADDRESS_A)},
                            {"subject", Text(row, PR_SUBJECT_A)},
                            {"class", Text(row, PR_MESSAGE_CLASS_A)}};
            if (!options.json) {
                const std::string who = options.associated ? Text(row, PR_MESSAGE_CLASS_A)
                                        : Text(row, PR_SENDER_NAME_A).empty()
                                            ? Text(row, PR_SENDER_EMAIL_ADDRESS_A)
                                            : Text(row, PR_SENDER_NAME_A);
                std::printf("%s  %-16s  %-24.24s  %s\n",
                            message["entry_id"].get<std::string>().c_str(),
                            received ? ShortTimeText(received->Value.ft).c_str() : "", who.c_str(),
                            Text(row, PR_SUBJECT_A).c_str());
            }
            messages.push_back(std::move(message));
        }
    }
    if (options.json) PrintJson(messages);
}

// ---- orvella show ----

// A string or binary value too large for GetProps, read through its stream.
std::string ReadLargeValue(IMAPIProp* object, ULONG tag) {
    ComPtr<IStream> stream;
    CheckMapi(object->OpenProperty(tag, &IID_IStream, 0, 0, stream.PutUnknown()),
              "reading a large property", object);
    std::string bytes;
    char buffer[65536];
    ULONG read = 0;
    while (SUCCEEDED(stream->Read(buffer, sizeof buffer, &read)) && read > 0) {
        bytes.append(buffer, read);
    }
    return bytes;
}

json Properties(IMAPIProp* object, std::string* text) {
    MapiBuffer<SPropTagArray> tags;
    CheckMapi(object->GetPropList(0, &tags), "listing the properties", object);
    ULONG count = 0;
    MapiBuffer<SPropValue> props;
    CheckMapi(object->GetProps(tags.Get(), 0, &count, &props), "reading the properties", object);
    const std::vector<ULONG> tag_list(tags->aulPropTag, tags->aulPropTag + count);
    const std::vector<std::string> names = PropertyNames(object, tag_list);
    json shown = json::array();
    for (ULONG i = 0; i < count; ++i) {
        const ULONG tag = tag_list[i];
        SPropValue value = props[i];
        std::string large;
        if (PROP_TYPE(value.ulPropTag) == PT_ERROR && value.Value.err == MAPI_E_NOT_ENOUGH_MEMORY &&
            (PROP_TYPE(tag) == PT_STRING8 || PROP_TYPE(tag) == PT_BINARY)) {
            large = ReadLargeValue(object, tag);
            value.ulPropTag = tag;
            if (PROP_TYPE(tag) == PT_STRING8) {
                value.Value.lpszA = large.data();
            } else {
                value.Value.bin = {static_cast<ULONG>(large.size()),
                                   reinterpret_cast<BYTE*>(large.data())};
            }
        }
        char tag_text[16];
        std::snprintf(tag_text, sizeof tag_text, "0x%08X", static_cast<unsigned>(tag));
        shown.push_back({{"tag", tag_text},
                         {"name", names[i]},
                         {"type", platform::mapi::PropTypeName(PROP_TYPE(tag))},
                         {"value", ValueJson(value)}});
        if (text) *text += std::string(tag_text) + "  " + names[i] + ": " + ValueText(value) + "\n";
    }
    return shown;
}

void Show(const std::string& entry_id, bool as_json) {
    ProfileSession session;
    ULONG type = 0;
    ComPtr<IMAPIProp> object = session.OpenEntry(ParseEntryIdText(entry_id), &type);
    std::string text;
    json shown = {{"entry_id", entry_id}, {"properties", Properties(object.Get(), &text)}};
    ComPtr<IMessage> message;
    if (type == MAPI_MESSAGE && object.As(IID_IMessage, message) == S_OK) {
        ComPtr<IMAPITable> table;
        CheckMapi(message->GetRecipientTable(0, &table), "reading the recipients", message.Get());
        RowSetPtr rows;
        CheckMapi(HrQueryAllRows(table.Get(), nullptr, nullptr, nullptr, 0, &rows),
                  "reading the recipients");
        json recipients = json::array();
        for (ULONG i = 0; i < rows->cRows; ++i) {
            const SRow& row = rows->aRow[i];
            json recipient = json::object();
            text += "Recipient " + std::to_string(i + 1) + ":\n";
            for (ULONG c = 0; c < row.cValues; ++c) {
                const char* name = platform::mapi::PropTagName(row.lpProps[c].ulPropTag);
                const std::string key = name ? name : std::to_string(row.lpProps[c].ulPropTag);
                recipient[key] = ValueJson(row.lpProps[c]);
                text += "  " + key + ": " + ValueText(row.lpProps[c]) + "\n";
            }
            recipients.push_back(std::move(recipient));
        }
        shown["recipients"] = std::move(recipients);
    }
    if (as_json) return PrintJson(shown);
    std::fputs(text.c_str(), stdout);
}

}  // namespace

void AddMailboxCommands(CLI::App& app) {
    auto folders_json = std::make_shared<bool>(false);
    CLI::App* folders = app.add_subcommand("folders", "Show the folder tree with item counts");
    folders->add_flag("--json", *folders_json, "Print JSON");
    folders->callback([folders_json] { Folders(*folders_json); });

    auto list = std::make_shared<ListOptions>();
    CLI::App* ls = app.add_subcommand("ls", "List the messages of a folder, newest first");
    ls->add_option("FOLDER", list->folder, "Folder path such as Inbox or Inbox/Projects")
        ->required();
    ls->add_option("--store", list->store, "Store display name (default: the default store)");
    ls->add_flag("--associated", list->associated, "List the folder's associated messages");
    ls->add_flag("--json", list->json, "Print JSON");
    ls->callback([list] { List(*list); });

    auto show_id = std::make_shared<std::string>();
    auto show_json = std::make_shared<bool>(false);
    CLI::App* show = app.add_subcommand("show", "Show every property of a message or folder");
    show->add_option("ENTRYID", *show_id, "Entry id in hex, as `orvella ls` prints it")->required();
    show->add_flag("--json", *show_json, "Print JSON");
    show->callback([show_id, show_json] { Show(*show_id, *show_json); });
}

}  // namespace orvella::cli
