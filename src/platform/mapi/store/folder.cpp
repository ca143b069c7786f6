// IMAPIFolder over the store file: tables, messages and subfolders.
#include <cstring>

#include "folder_rows.h"
#include "mapi_table.h"
#include "mapitags.h"
#include "store_objects.h"

namespace orvella::platform::mapi::store {
namespace {

// Whether the folder or any folder below it holds messages, normal or associated.
bool SubtreeHoldsMessages(StoreDatabase& store, ObjectId folder) {
    if (store.CountChildren(folder, EntryKind::Message, false) ||
        store.CountChildren(folder, EntryKind::Message, true))
        return true;
    for (ObjectId child : store.Children(folder, EntryKind::Folder, false))
        if (SubtreeHoldsMessages(store, child)) return true;
    return false;
}

}  // namespace

Folder::Folder(std::shared_ptr<StoreDatabase> store, const ObjectInfo& info, bool writable)
    : props_(std::move(store), info, writable, *this) {}

const std::vector<ULONG>& Folder::ComputedTags() const {
    static const std::vector<ULONG> tags = [] {
        std::vector<ULONG> all = CommonComputedTags();
        all.insert(all.end(), {PR_CONTENT_COUNT, PR_ASSOC_CONTENT_COUNT, PR_SUBFOLDERS});
        return all;
    }();
    return tags;
}

bool Folder::Compute(ULONG tag, void* parent, SPropValue& out) {
    StoreDatabase& store = props_.store();
    const ObjectId id = props_.info().id;
    switch (tag) {
        case PR_CONTENT_COUNT:
        case PR_ASSOC_CONTENT_COUNT:
            out.ulPropTag = tag;
            out.Value.l = static_cast<LONG>(
                store.CountChildren(id, EntryKind::Message, tag == PR_ASSOC_CONTENT_COUNT));
            return true;
        case PR_SUBFOLDERS:
            out.ulPropTag = tag;
            out.Value.b = store.CountChildren(id, EntryKind::Folder, false) > 0;
            return true;
        default:
            return ComputeCommon(store, props_.info(), tag, parent, out);
    }
}

HRESULT Folder::GetContentsTable(ULONG flags, LPMAPITABLE* table) {
    if (!table) return MAPI_E_INVALID_PARAMETER;
    return Guarded(props_.last_error(), [&] {
        auto scope = (flags & MAPI_ASSOCIATED) ? FolderRows::Scope::AssociatedMessages
                                               : FolderRows::Scope::Messages;
        auto opened =
            OpenTable(std::make_shared<FolderRows>(props_.store_ptr(), props_.info().id, scope));
        if (!opened) return MAPI_E_CALL_FAILED;
        *table = opened.Detach();
        return S_OK;
    });
}

HRESULT Folder::GetHierarchyTable(ULONG flags, LPMAPITABLE* table) {
    if (!table) return MAPI_E_INVALID_PARAMETER;
    return Guarded(props_.last_error(), [&] {
        auto scope = (flags & CONVENIENT_DEPTH) ? FolderRows::Scope::AllSubfolders
                                                : FolderRows::Scope::Subfolders;
        auto opened =
            OpenTable(std::make_shared<FolderRows>(props_.store_ptr(), props_.info().id, scope));
        if (!opened) return MAPI_E_CALL_FAILED;
        *table = opened.Detach();
        return S_OK;
    });
}

HRESULT Folder::CreateMessage(LPCIID, ULONG flags, LPMESSAGE* message) {
    if (!message) return MAPI_E_INVALID_PARAMETER;
    if (!props_.writable()) return MAPI_E_NO_ACCESS;
    ObjectInfo info;
    info.kind = EntryKind::Message;
    info.parent = props_.info().id;
    info.associated = (flags & MAPI_ASSOCIATED) != 0;
    return ReturnObject(MakeCom<Message>(props_.store_ptr(), info, true), message);
}

std::vector<ObjectId> Folder::ObjectsOf(LPENTRYLIST list, EntryKind kind) const {
    std::vector<ObjectId> ids;
    if (!list) return ids;
    for (ULONG i = 0; i < list->cValues; ++i) {
        auto parts =
            ParseEntryId(list->lpbin[i].cb, reinterpret_cast<ENTRYID*>(list->lpbin[i].lpb));
        if (parts && parts->kind == kind &&
            std::memcmp(&parts->store, &props_.store().uid(), sizeof(GUID)) == 0)
            ids.push_back(parts->object);
    }
    return ids;
}

HRESULT Folder::DeleteMessages(LPENTRYLIST messages, ULONG_PTR, LPMAPIPROGRESS, ULONG) {
    if (!messages) return MAPI_E_INVALID_PARAMETER;
    if (!props_.writable()) return MAPI_E_NO_ACCESS;
    return Guarded(props_.last_error(), [&]() -> HRESULT {
        // Only messages of this folder are deleted; others are reported, not touched.
        std::vector<ObjectId> mine;
        for (ObjectId id : ObjectsOf(messages, EntryKind::Message)) {
            auto info = props_.store().Find(id);
            if (info && info->parent == props_.info().id) mine.push_back(id);
        }
        std::size_t deleted = props_.store().Delete(mine);
        return deleted == messages->cValues ? S_OK : MAPI_W_PARTIAL_COMPLETION;
    });
}

HRESULT Folder::CopyMessages(LPENTRYLIST messages, LPCIID, LPVOID target, ULONG_PTR, LPMAPIPROGRESS,
                             ULONG flags) {
    if (!messages || !target) return MAPI_E_INVALID_PARAMETER;
    return Guarded(props_.last_error(), [&]() -> HRESULT {
        // The destination must be a folder of this store.
        auto* destination = static_cast<IMAPIFolder*>(target);
        SPropValue* eid = nullptr;
        ULONG count = 0;
        SPropTagArray tags = {1, {PR_ENTRYID}};
        if (FAILED(destination->GetProps(&tags, 0, &count, &eid)) || !eid)
            return MAPI_E_INVALID_PARAMETER;
        MapiBuffer<SPropValue> hold(eid);
        auto parts =
            ParseEntryId(eid->Value.bin.cb, reinterpret_cast<ENTRYID*>(eid->Value.bin.lpb));
        if (PROP_TYPE(eid->ulPropTag) != PT_BINARY || !parts || parts->kind != EntryKind::Folder ||
            std::memcmp(&parts->store, &props_.store().uid(), sizeof(GUID)) != 0)
            return MAPI_E_NO_SUPPORT;
        std::vector<ObjectId> mine;
        for (ObjectId id : ObjectsOf(messages, EntryKind::Message)) {
            auto info = props_.store().Find(id);
            if (info && info->parent == props_.info().id) mine.push_back(id);
        }
        std::size_t done = 0;
        if (flags & MESSAGE_MOVE) {
            if (!props_.writable()) return MAPI_E_NO_ACCESS;
            done = props_.store().Move(mine, parts->object);
        } else {
            done = props_.store().CopyMessages(mine, parts->object).size();
        }
        return done == messages->cValues ? S_OK : MAPI_W_PARTIAL_COMPLETION;
    });
}

HRESULT Folder::CreateFolder(ULONG type, LPTSTR name, LPTSTR comment, LPCIID, ULONG flags,
                             LPMAPIFOLDER* folder) {
    if (!folder || !name || !*name) return MAPI_E_INVALID_PARAMETER;
    if (!props_.writable()) return MAPI_E_NO_ACCESS;
    return Guarded(props_.last_error(), [&]() -> HRESULT {
        StoreDatabase& store = props_.store();
        if (auto existing = store.FindChildFolder(props_.info().id, name)) {
            if (!(flags & OPEN_IF_EXISTS)) return MAPI_E_COLLISION;
            return ReturnObject(MakeCom<Folder>(props_.store_ptr(), *store.Find(*existing), true),
                                folder);
        }
        SaveRequest request;
        request.kind = EntryKind::Folder;
        request.parent = props_.info().id;
        std::vector<SPropValue> values(2);
        values[0].ulPropTag = PR_DISPLAY_NAME_A;
        values[0].Value.lpszA = name;
        values[1].ulPropTag = PR_FOLDER_TYPE;
        values[1].Value.l =
            static_cast<LONG>(type == FOLDER_SEARCH ? FOLDER_SEARCH : FOLDER_GENERIC);
        if (comment) {
            values.push_back({});
            values.back().ulPropTag = PR_COMMENT_A;
            values.back().Value.lpszA = comment;
        }
        for (const SPropValue& value : values) request.set.push_back(&value);
        ObjectId id = store.Save(request).first;
        return ReturnObject(MakeCom<Folder>(props_.store_ptr(), *store.Find(id), true), folder);
    });
}

HRESULT Folder::DeleteFolder(ULONG cb, LPENTRYID entry_id, ULONG_PTR, LPMAPIPROGRESS, ULONG flags) {
    if (!props_.writable()) return MAPI_E_NO_ACCESS;
    auto parts = ParseEntryId(cb, entry_id);
    if (!parts || parts->kind != EntryKind::Folder) return MAPI_E_INVALID_ENTRYID;
    return Guarded(props_.last_error(), [&]() -> HRESULT {
        StoreDatabase& store = props_.store();
        auto info = store.Find(parts->object);
        if (!info || info->kind != EntryKind::Folder || info->parent != props_.info().id)
            return MAPI_E_NOT_FOUND;
        if (!(flags & DEL_FOLDERS) && store.CountChildren(info->id, EntryKind::Folder, false))
            return MAPI_E_HAS_FOLDERS;
        if (!(flags & DEL_MESSAGES) && SubtreeHoldsMessages(store, info->id))
            return MAPI_E_HAS_MESSAGES;
        ObjectId id = info->id;
        store.Delete(std::span<const ObjectId>(&id, 1));
        return S_OK;
    });
}

HRESULT Folder::EmptyFolder(ULONG_PTR, LPMAPIPROGRESS, ULONG flags) {
    if (!props_.writable()) return MAPI_E_NO_ACCESS;
    return Guarded(props_.last_error(), [&] {
        StoreDatabase& store = props_.store();
        std::vector<ObjectId> ids = store.Children(props_.info().id, EntryKind::Message, false);
        auto folders = store.Children(props_.info().id, EntryKind::Folder, false);
        ids.insert(ids.end(), folders.begin(), folders.end());
        if (flags & DEL_ASSOCIATED) {
            auto associated = store.Children(props_.info().id, EntryKind::Message, true);
            ids.insert(ids.end(), associated.begin(), associated.end());
        }
        store.Delete(ids);
        return S_OK;
    });
}

}  // namespace orvella::platform::mapi::store
