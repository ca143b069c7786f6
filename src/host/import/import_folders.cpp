// Folder look-up and creation through MAPI, cached for the length of one import.
#include "import_folders.h"

#include <strings.h>


#include "ascii_case.h"
#include "mapi_names.h"
#include "mapitags.h"
#include "mapiutil.h"

namespace orvella::host::mail {

using platform::mapi::ComPtr;
using platform::mapi::MapiBuffer;
using platform::mapi::RowSetPtr;

void CheckStore(HRESULT result, const std::string& what) {
    if (FAILED(result)) {
        throw ImportFailure(what + ": " + platform::mapi::ResultCodeName(result));
    }
}

ImportFolders::ImportFolders(IMsgStore* store) : store_(store) {
    MapiBuffer<SPropValue> top;
    CheckStore(HrGetOneProp(store, PR_IPM_SUBTREE_ENTRYID, &top), "finding the top of the store");
    top_ = OpenById(top->Value.bin, "opening the top of the store");
}

ComPtr<IMAPIFolder> ImportFolders::OpenById(const SBinary& id, const std::string& what) {
    ComPtr<IMAPIFolder> folder;
    ULONG type = 0;
    CheckStore(store_->OpenEntry(id.cb, reinterpret_cast<LPENTRYID>(id.lpb), nullptr, MAPI_MODIFY,
                                 &type, folder.PutUnknown()),
               what);
    if (type != MAPI_FOLDER) throw ImportFailure(what + ": not a folder");
    return folder;
}

IMAPIFolder* ImportFolders::ReceiveFolder() {
    if (!receive_) {
        ULONG size = 0;
        MapiBuffer<ENTRYID> id;
        CheckStore(store_->GetReceiveFolder(const_cast<char*>("IPM.Note"), 0, &size, &id, nullptr),
                   "finding the Inbox");
        const SBinary bin{size, reinterpret_cast<BYTE*>(id.Get())};
        receive_ = OpenById(bin, "opening the Inbox");
    }
    return receive_.Get();
}

ComPtr<IMAPIFolder> ImportFolders::Child(IMAPIFolder* parent, const std::string& name,
                                         const std::string& path) {
    ComPtr<IMAPITable> table;
    CheckStore(parent->GetHierarchyTable(0, &table), "reading the folders of " + path);
    SizedSPropTagArray(3, columns) = {3, {PR_DISPLAY_NAME_A, PR_ENTRYID, PR_CONTAINER_CLASS_A}};
    RowSetPtr rows;
    CheckStore(HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns), nullptr,
                              nullptr, 0, &rows),
               "reading the folders of " + path);
    for (ULONG i = 0; i < rows->cRows; ++i) {
        const SPropValue* props = rows->aRow[i].lpProps;
        if (props[0].ulPropTag != PR_DISPLAY_NAME_A || props[1].ulPropTag != PR_ENTRYID ||
            strcasecmp(props[0].Value.lpszA, name.c_str()) != 0)
            continue;
        // Mail never goes into a folder of other items (a "contacts" directory of messages is
        // not the Contacts folder): it gets a mail folder of its own beside it.
        if (props[2].ulPropTag == PR_CONTAINER_CLASS_A &&
            strncasecmp(props[2].Value.lpszA, "IPF.Note", 8) != 0)
            return Child(parent, name + " (mail)", path + " (mail)");
        return OpenById(props[1].Value.bin, "opening folder " + path);
    }
    ComPtr<IMAPIFolder> created;
    CheckStore(parent->CreateFolder(FOLDER_GENERIC, const_cast<char*>(name.c_str()), nullptr,
                                    nullptr, 0, &created),
               "creating folder " + path);
    SPropValue container_class = {};
    container_class.ulPropTag = PR_CONTAINER_CLASS_A;
    container_class.Value.lpszA = const_cast<char*>("IPF.Note");
    CheckStore(HrSetOneProp(created.Get(), &container_class), "creating folder " + path);
    CheckStore(created->SaveChanges(KEEP_OPEN_READWRITE), "creating folder " + path);
    return created;
}

IMAPIFolder* ImportFolders::Folder(const FolderPath& path) {
    const std::string key = orvella::platform::AsciiLower(PathText(path));
    if (auto found = by_path_.find(key); found != by_path_.end()) return found->second.Get();
    ComPtr<IMAPIFolder> folder = top_;
    FolderPath walked;
    for (const std::string& name : path) {
        walked.push_back(name);
        folder = Child(folder.Get(), name, PathText(walked));
    }
    return by_path_.emplace(key, folder).first->second.Get();
}

std::string ImportFolders::PathText(const FolderPath& path) {
    std::string text;
    for (const std::string& name : path) text += (text.empty() ? "" : "/") + name;
    return text;
}

FolderPath ImportFolders::ParsePath(std::string_view text) {
    FolderPath path;
    while (!text.empty()) {
        const size_t separator = text.find_first_of("/\\");
        std::string_view name = text.substr(0, separator);
        text =
            separator == std::string_view::npos ? std::string_view() : text.substr(separator + 1);
        while (!name.empty() && name.front() == ' ') name.remove_prefix(1);
        while (!name.empty() && name.back() == ' ') name.remove_suffix(1);
        if (!name.empty()) path.emplace_back(name);
    }
    return path;
}

}  // namespace orvella::host::mail
