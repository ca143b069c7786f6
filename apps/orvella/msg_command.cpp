// orvella msg save|load: a message of the profile's stores written to a .msg file, and a .msg
// file loaded into a folder, through OpenIMsgOnIStg as the add-in saves and loads views.
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "commands.h"
#include "imessage.h"
#include "mapi_wide_text.h"
#include "mapiutil.h"
#include "profile_session.h"
#include "prop_text.h"

namespace orvella::cli {
namespace {

using platform::mapi::ComPtr;
using platform::mapi::MapiBuffer;

// Closes the message session when the command ends.
struct MsgSession {
    LPMSGSESS session = nullptr;
    MsgSession() {
        CheckMapi(OpenIMsgSession(MAPIGetDefaultMalloc(), 0, &session),
                  "opening a message session");
    }
    ~MsgSession() { CloseIMsgSession(session); }
    MsgSession(const MsgSession&) = delete;
    MsgSession& operator=(const MsgSession&) = delete;
};

ComPtr<IMessage> OpenOnStorage(const MsgSession& session, IStorage* storage,
                               const std::string& file) {
    ComPtr<IMessage> message;
    CheckMapi(OpenIMsgOnIStg(session.session, MAPIAllocateBuffer, MAPIAllocateMore, MAPIFreeBuffer,
                             MAPIGetDefaultMalloc(), nullptr, storage, nullptr, 0, 0, &message),
              "reading the message in " + file);
    return message;
}

// Storage failures in words; anything else as CheckMapi reports it.
void CheckStorage(HRESULT result, const std::string& file) {
    switch (result) {
        case STG_E_FILENOTFOUND:
            throw CommandError(file + ": no such file");
        case STG_E_PATHNOTFOUND:
            throw CommandError(file + ": no such directory");
        case STG_E_ACCESSDENIED:
            throw CommandError(file + ": access denied");
        case STG_E_FILEALREADYEXISTS:
            throw CommandError(file + ": not a .msg (compound) file");
        case STG_E_DOCFILECORRUPT:
            throw CommandError(file + ": the compound file is damaged");
        case STG_E_SHAREVIOLATION:
            throw CommandError(file + ": in use");
        default:
            CheckMapi(result, "opening " + file);
    }
}

// The folder opened for writing: the session opens folders for reading.
ComPtr<IMAPIFolder> WritableFolder(IMsgStore* store, IMAPIFolder* folder) {
    MapiBuffer<SPropValue> entry_id;
    CheckMapi(HrGetOneProp(folder, PR_ENTRYID, &entry_id), "reading the folder's entry id", folder);
    ComPtr<IMAPIFolder> writable;
    ULONG type = 0;
    CheckMapi(store->OpenEntry(entry_id->Value.bin.cb,
                               reinterpret_cast<LPENTRYID>(entry_id->Value.bin.lpb), nullptr,
                               MAPI_MODIFY, &type, writable.PutUnknown()),
              "opening the folder for writing", store);
    return writable;
}

std::string Subject(IMAPIProp* message) {
    MapiBuffer<SPropValue> subject;
    return SUCCEEDED(HrGetOneProp(message, PR_SUBJECT_A, &subject)) ? subject->Value.lpszA : "";
}

struct SaveOptions {
    std::string entry_id;
    std::string file;
    bool json = false;
};

void Save(const SaveOptions& options) {
    ProfileSession session;
    ULONG type = 0;
    ComPtr<IMAPIProp> source = session.OpenEntry(ParseEntryIdText(options.entry_id), &type);
    if (type != MAPI_MESSAGE) throw CommandError(options.entry_id + " is not a message");
    ComPtr<IStorage> storage;
    const std::wstring path = platform::mapi::Utf8ToWide(options.file);
    CheckStorage(
        StgCreateDocfile(path.c_str(),
                         STGM_TRANSACTED | STGM_CREATE | STGM_SHARE_EXCLUSIVE | STGM_READWRITE, 0,
                         &storage),
        options.file);
    MsgSession msg_session;
    ComPtr<IMessage> target = OpenOnStorage(msg_session, storage.Get(), options.file);
    CheckMapi(
        source->CopyTo(0, nullptr, nullptr, 0, nullptr, &IID_IMessage, target.Get(), 0, nullptr),
        "copying the message", source.Get());
    CheckMapi(target->SaveChanges(0), "writing " + options.file, target.Get());
    CheckMapi(storage->Commit(STGC_DEFAULT), "committing " + options.file);
    const std::string subject = Subject(source.Get());
    if (options.json)
        PrintJson({{"file", options.file}, {"subject", subject}});
    else
        std::cout << "Saved \"" << subject << "\" to " << options.file << "\n";
}

struct LoadOptions {
    std::string file;
    std::string folder = "Inbox";
    std::string store;
    bool associated = false;
    bool json = false;
};

void Load(const LoadOptions& options) {
    ComPtr<IStorage> storage;
    const std::wstring path = platform::mapi::Utf8ToWide(options.file);
    CheckStorage(StgOpenStorage(path.c_str(), nullptr, STGM_READ | STGM_SHARE_DENY_WRITE, nullptr,
                                0, &storage),
                 options.file);
    MsgSession msg_session;
    ComPtr<IMessage> source = OpenOnStorage(msg_session, storage.Get(), options.file);
    ProfileSession session;
    ComPtr<IMsgStore> store = session.OpenStore(session.FindStore(options.store));
    ComPtr<IMAPIFolder> folder =
        WritableFolder(store.Get(), session.OpenFolder(store.Get(), options.folder).Get());
    ComPtr<IMessage> created;
    CheckMapi(folder->CreateMessage(nullptr, options.associated ? MAPI_ASSOCIATED : 0, &created),
              "creating a message in " + options.folder, folder.Get());
    CheckMapi(
        source->CopyTo(0, nullptr, nullptr, 0, nullptr, &IID_IMessage, created.Get(), 0, nullptr),
        "copying the message", source.Get());
    CheckMapi(created->SaveChanges(KEEP_OPEN_READONLY), "saving the message", created.Get());
    MapiBuffer<SPropValue> entry_id;
    CheckMapi(HrGetOneProp(created.Get(), PR_ENTRYID, &entry_id), "reading the new entry id");
    const std::string id = EntryIdText(entry_id->Value.bin);
    if (options.json)
        PrintJson(
            {{"entry_id", id}, {"folder", options.folder}, {"subject", Subject(created.Get())}});
    else
        std::cout << id << "\n";
}

}  // namespace

void AddMsgCommands(CLI::App& app) {
    CLI::App* msg = app.add_subcommand("msg", "Save messages to .msg files and load them back");
    msg->require_subcommand(1);

    auto save = std::make_shared<SaveOptions>();
    CLI::App* save_command = msg->add_subcommand("save", "Write a message to a .msg file");
    save_command
        ->add_option("ENTRYID", save->entry_id, "Entry id in hex, as `orvella ls` prints it")
        ->required();
    save_command->add_option("FILE", save->file, "The .msg file to create (replaced if it exists)")
        ->required();
    save_command->add_flag("--json", save->json, "Print JSON");
    save_command->callback([save] { Save(*save); });

    auto load = std::make_shared<LoadOptions>();
    CLI::App* load_command =
        msg->add_subcommand("load", "Create a message in a folder from a .msg file");
    load_command->add_option("FILE", load->file, "The .msg file to read")->required();
    load_command->add_option("--folder", load->folder, "Folder path (default: Inbox)");
    load_command->add_option("--store", load->store,
                             "Store display name (default: the default store)");
    load_command->add_flag("--associated", load->associated, "Create a folder-associated message");
    load_command->add_flag("--json", load->json, "Print JSON");
    load_command->callback([load] { Load(*load); });
}

}  // namespace orvella::cli
