// Logging on for the command line and finding stores and folders by what a person types.
#include "profile_session.h"

#include <strings.h>

#include "commands.h"
#include "hex.h"
#include "mapi_names.h"
#include "mapiutil.h"
#include "profile.h"

namespace orvella::cli {
namespace {

using platform::mapi::ComPtr;
using platform::mapi::MapiBuffer;
using platform::mapi::RowSetPtr;

bool SameName(const std::string& a, const char* b) {
    return b && strcasecmp(a.c_str(), b) == 0;
}

// The pieces of a folder path: spaces around the whole path trimmed, split on "/" and "\",
// empty pieces dropped; spaces inside a name ("Sent Items") are part of it.
std::vector<std::string> PathPieces(const std::string& path) {
    const size_t first = path.find_first_not_of(' ');
    const std::string trimmed = first == std::string::npos
                                    ? ""
                                    : path.substr(first, path.find_last_not_of(' ') - first + 1);
    std::vector<std::string> pieces;
    std::string piece;
    for (const char c : trimmed + "/") {
        if (c != '/' && c != '\\') {
            piece += c;
        } else if (!piece.empty()) {
            pieces.push_back(std::move(piece));
            piece.clear();
        }
    }
    return pieces;
}

ComPtr<IMAPIFolder> OpenFolderById(IMsgStore* store, const SBinary& id, const std::string& what) {
    ComPtr<IMAPIFolder> folder;
    ULONG type = 0;
    CheckMapi(store->OpenEntry(id.cb, reinterpret_cast<LPENTRYID>(id.lpb), nullptr, 0, &type,
                               folder.PutUnknown()),
              what);
    if (type != MAPI_FOLDER) throw CommandError(what + ": not a folder");
    return folder;
}

ComPtr<IMAPIFolder> OpenChild(IMAPIFolder* parent, const std::string& name,
                              const std::string& path) {
    ComPtr<IMAPITable> table;
    CheckMapi(parent->GetHierarchyTable(0, &table), "reading the folders of " + path, parent);
    SizedSPropTagArray(2, columns) = {2, {PR_DISPLAY_NAME_A, PR_ENTRYID}};
    RowSetPtr rows;
    CheckMapi(HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns), nullptr,
                             nullptr, 0, &rows),
              "reading the folders of " + path);
    for (ULONG i = 0; i < rows->cRows; ++i) {
        const SPropValue* props = rows->aRow[i].lpProps;
        if (props[0].ulPropTag == PR_DISPLAY_NAME_A && SameName(name, props[0].Value.lpszA)) {
            ComPtr<IMAPIFolder> child;
            ULONG type = 0;
            const SBinary& id = props[1].Value.bin;
            CheckMapi(parent->OpenEntry(id.cb, reinterpret_cast<LPENTRYID>(id.lpb), nullptr, 0,
                                        &type, child.PutUnknown()),
                      "opening " + path + "/" + name, parent);
            return child;
        }
    }
    throw CommandError("no folder \"" + name + "\" in " + (path.empty() ? "/" : path));
}

}  // namespace

void CheckMapi(HRESULT result, const std::string& what, IMAPIProp* object) {
    if (!FAILED(result)) return;
    std::string text = what + ": " + platform::mapi::ResultCodeName(result);
    MapiBuffer<MAPIERROR> error;
    if (object && object->GetLastError(result, 0, &error) == S_OK && error && error->lpszError &&
        *error->lpszError) {
        text += " (";
        text += reinterpret_cast<const char*>(error->lpszError);
        text += ")";
    }
    throw CommandError(text);
}

std::string EntryIdText(const SBinary& entry_id) {
    return platform::HexEncode({entry_id.lpb, entry_id.cb});
}

std::vector<BYTE> ParseEntryIdText(const std::string& text) {
    auto bytes = platform::HexDecode(text);
    if (!bytes || bytes->empty()) {
        throw CommandError("\"" + text +
                           "\" is not an entry id (hex digits, as `orvella ls` shows)");
    }
    return *bytes;
}

ProfileSession::ProfileSession() {
    CheckMapi(MAPIInitialize(nullptr), "starting MAPI");
    const std::string profile = platform::mapi::store::DefaultProfileName();
    const HRESULT logon =
        MAPILogonEx(0, nullptr, nullptr, MAPI_EXTENDED | MAPI_USE_DEFAULT, &session_);
    if (logon == MAPI_E_LOGON_FAILED) {
        MAPIUninitialize();
        throw CommandError("there is no profile \"" + profile +
                           "\"; create it with `orvella profile create`");
    }
    if (FAILED(logon)) MAPIUninitialize();
    CheckMapi(logon, "logging on to profile \"" + profile + "\"");

    ComPtr<IMAPITable> table;
    CheckMapi(session_->GetMsgStoresTable(0, &table), "listing the stores");
    SizedSPropTagArray(3, columns) = {3, {PR_DISPLAY_NAME_A, PR_ENTRYID, PR_DEFAULT_STORE}};
    RowSetPtr rows;
    CheckMapi(HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns), nullptr,
                             nullptr, 0, &rows),
              "listing the stores");
    for (ULONG i = 0; i < rows->cRows; ++i) {
        const SPropValue* props = rows->aRow[i].lpProps;
        const SBinary& id = props[1].Value.bin;
        stores_.push_back({props[0].ulPropTag == PR_DISPLAY_NAME_A ? props[0].Value.lpszA : "",
                           {id.lpb, id.lpb + id.cb},
                           props[2].ulPropTag == PR_DEFAULT_STORE && props[2].Value.b});
    }
}

ProfileSession::~ProfileSession() {
    session_.Reset();
    MAPIUninitialize();
}

const ProfileSession::Store& ProfileSession::FindStore(const std::string& name) const {
    for (const Store& store : stores_) {
        if (name.empty() ? store.is_default : SameName(name, store.name.c_str())) return store;
    }
    throw CommandError(name.empty() ? "the profile has no default store"
                                    : "the profile has no store named \"" + name + "\"");
}

ComPtr<IMsgStore> ProfileSession::OpenStore(const Store& store) const {
    ComPtr<IMsgStore> opened;
    CheckMapi(session_->OpenMsgStore(
                  0, static_cast<ULONG>(store.entry_id.size()),
                  reinterpret_cast<LPENTRYID>(const_cast<BYTE*>(store.entry_id.data())), nullptr,
                  MDB_WRITE, &opened),
              "opening store \"" + store.name + "\"");
    return opened;
}

ComPtr<IMAPIFolder> ProfileSession::OpenFolder(IMsgStore* store,
                                               const std::string& path_or_id) const {
    if (auto id = platform::HexDecode(path_or_id); id && id->size() >= 16) {
        const SBinary bin{static_cast<ULONG>(id->size()), id->data()};
        return OpenFolderById(store, bin, "opening folder " + path_or_id);
    }
    MapiBuffer<SPropValue> top;
    CheckMapi(HrGetOneProp(store, PR_IPM_SUBTREE_ENTRYID, &top), "finding the top of the store",
              store);
    ComPtr<IMAPIFolder> folder = OpenFolderById(store, top->Value.bin, "opening the top folder");
    std::string path;
    for (const std::string& name : PathPieces(path_or_id)) {
        folder = OpenChild(folder.Get(), name, path);
        path += "/" + name;
    }
    return folder;
}

ComPtr<IMAPIProp> ProfileSession::OpenEntry(const std::vector<BYTE>& entry_id, ULONG* type) const {
    ComPtr<IMAPIProp> object;
    CheckMapi(session_->OpenEntry(static_cast<ULONG>(entry_id.size()),
                                  reinterpret_cast<LPENTRYID>(const_cast<BYTE*>(entry_id.data())),
                                  nullptr, 0, type, object.PutUnknown()),
              "opening " + platform::HexEncode(entry_id));
    return object;
}

}  // namespace orvella::cli
