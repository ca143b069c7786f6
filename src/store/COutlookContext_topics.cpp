// The topic root: its location, resolving it in the application store, and creating the
// folders below it through the object model (so they take their parent's item type).
#include <strings.h>

#include "COutlookContext.h"
#include "mapiutil.h"
#include "store_failures.h"

using namespace store_failures;
using orvella::platform::mapi::MapiBuffer;

namespace {

constexpr char kDefaultTopicLocation[] = "/Inbox/Orvella Topics";

bool IsSeparator(char c) {
    return c == '/' || c == '\\';
}

// The first component of a normalised path and the rest after it.
std::pair<std::string, std::string> SplitFirst(const std::string& path) {
    size_t slash = path.find('/');
    if (slash == std::string::npos) return {path, ""};
    return {path.substr(0, slash), path.substr(slash + 1)};
}

}  // namespace

std::string COutlookContext::NormalizeFolderPath(const std::string& path) {
    std::string result;
    std::string piece;
    auto flush = [&] {
        if (piece.empty()) return;
        if (!result.empty()) result += '/';
        result += piece;
        piece.clear();
    };
    size_t begin = path.find_first_not_of(" /\\");
    size_t end = path.find_last_not_of(" /\\");
    if (begin == std::string::npos) return "";
    for (size_t i = begin; i <= end; ++i) {
        if (IsSeparator(path[i]))
            flush();
        else
            piece += path[i];
    }
    flush();
    return result;
}

std::string COutlookContext::ValidateTopicFolderLocation(const std::string& path) {
    static const char* const kStandardFolders[] = {"Calendar", "Contacts",   "Deleted Items",
                                                   "Drafts",   "Journal",    "Notes",
                                                   "Outbox",   "Sent Items", "Tasks"};
    std::string normal = NormalizeFolderPath(path);
    if (normal.size() <= 1) return kDefaultTopicLocation;
    for (const char* standard : kStandardFolders)
        if (strcasecmp(normal.c_str(), standard) == 0) return kDefaultTopicLocation;
    return "/" + normal;
}

void COutlookContext::InitAppFolder() {
    MapiBuffer<SPropValue> subtree;
    CheckMapi(HrGetOneProp(appStore_.Get(), PR_IPM_SUBTREE_ENTRYID, &subtree), appStore_.Get(),
              "InitAppFolder: couldn't get prop PR_IPM_SUBTREE_ENTRYID");
    ComPtr<IMAPIFolder> folder;
    ULONG type = 0;
    CheckMapi(appStore_->OpenEntry(subtree->Value.bin.cb,
                                   reinterpret_cast<LPENTRYID>(subtree->Value.bin.lpb), nullptr,
                                   MAPI_MODIFY, &type, folder.PutUnknown()),
              appStore_.Get(), "InitAppFolder: failed opening top folder");
    std::string rest = NormalizeFolderPath(topicFolderLocation_);
    while (!rest.empty()) {
        auto [name, tail] = SplitFirst(rest);
        folder = GetOrCreateFolder(folder.Get(), name);
        rest = tail;
    }
    MapiBuffer<SPropValue> entryId;
    CheckMapi(HrGetOneProp(folder.Get(), PR_ENTRYID, &entryId), folder.Get(),
              "InitAppFolder: couldn't get PR_ENTRYID of app folder");
    topicRootEID_ = EntryId(entryId->Value.bin);
}

ComPtr<IMAPIFolder> COutlookContext::OpenTopicRoot() {
    if (topicRootEID_.empty()) InitAppFolder();
    return GetFolder(appStore_.Get(), topicRootEID_, true);
}

ComPtr<IMAPIFolder> COutlookContext::GetOrCreateFolder(IMAPIFolder* parent,
                                                       const std::string& name) {
    if (ComPtr<IMAPIFolder> existing = GetFolder(parent, name)) return existing;

    MapiBuffer<SPropValue> parentId;
    CheckMapi(HrGetOneProp(parent, PR_ENTRYID, &parentId), parent,
              "Could not get PR_ENTRYID on parent folder");
    MapiBuffer<SPropValue> storeId;
    CheckMapi(HrGetOneProp(parent, PR_STORE_ENTRYID, &storeId), parent,
              "Could not get PR_STORE_ENTRYID on parent folder");
    ComPtr<MAPIFolder> outlookParent;
    CheckOutlook(nameSpace_->GetFolderFromID(EntryId(parentId->Value.bin).ToHex(),
                                             VariantText(EntryId(storeId->Value.bin).ToHex()),
                                             &outlookParent),
                 "GetOrCreateFolder: GetFolderFromID failed");
    ComPtr<MAPIFolder> created = CreateFolder(outlookParent.Get(), name);
    std::string createdId;
    CheckOutlook(created->get_EntryID(&createdId), "GetOrCreateFolder: couldn't get EntryID");
    EntryId id = EntryId::FromHex(createdId);
    ComPtr<IMAPIFolder> folder;
    ULONG type = 0;
    CheckMapi(
        parent->OpenEntry(id.cb(), id.get(), nullptr, MAPI_MODIFY, &type, folder.PutUnknown()),
        parent, "GetOrCreateFolder: couldn't open created folder");
    return folder;
}

ComPtr<MAPIFolder> COutlookContext::CreateFolder(MAPIFolder* parent, const std::string& name) {
    auto [level, rest] = SplitFirst(NormalizeFolderPath(name));
    ComPtr<_Folders> folders;
    CheckOutlook(parent->get_Folders(&folders), "CreateFolder: failed get_Folders");
    LONG count = 0;
    CheckOutlook(folders->get_Count(&count), "CreateFolder: failed get_Folders");
    ComPtr<MAPIFolder> found;
    for (LONG i = 1; i <= count && !found; ++i) {
        ComPtr<MAPIFolder> item;
        CheckOutlook(folders->Item(VariantLong(i), &item),
                     "CreateFolder: unable to get folder item from list");
        std::string itemName;
        CheckOutlook(item->get_Name(&itemName), "CreateFolder: unable to get folder name");
        if (strcasecmp(itemName.c_str(), level.c_str()) == 0) found = item;
    }
    if (!found)
        CheckOutlook(folders->Add(level, VariantMissing(), &found),
                     "CreateFolder: unable to add new folder");
    return rest.empty() ? found : CreateFolder(found.Get(), rest);
}
