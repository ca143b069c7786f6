// _NameSpace "MAPI" of the simulated Outlook: default folders, folders and items by entry id,
// and the online state the host keeps for the profile.
#include "mapiutil.h"
#include "outlook_objects.h"

namespace orvella::host::outlook {
namespace {

using platform::mapi::MapiBuffer;

// Where a store keeps the entry id of a default folder.
enum class Pointer { ReceiveFolder, Store, RootOrInbox };

struct DefaultFolder {
    Outlook::OlDefaultFolders folder;
    Pointer where;
    ULONG tag;
};

constexpr DefaultFolder kDefaultFolders[] = {
    {Outlook::olFolderInbox, Pointer::ReceiveFolder, 0},
    {Outlook::olFolderDeletedItems, Pointer::Store, PR_IPM_WASTEBASKET_ENTRYID},
    {Outlook::olFolderSentMail, Pointer::Store, PR_IPM_SENTMAIL_ENTRYID},
    {Outlook::olFolderOutbox, Pointer::Store, PR_IPM_OUTBOX_ENTRYID},
    {Outlook::olFolderDrafts, Pointer::RootOrInbox, PR_IPM_DRAFTS_ENTRYID},
    {Outlook::olFolderContacts, Pointer::RootOrInbox, PR_IPM_CONTACT_ENTRYID},
    {Outlook::olFolderCalendar, Pointer::RootOrInbox, PR_IPM_APPOINTMENT_ENTRYID},
    {Outlook::olFolderJournal, Pointer::RootOrInbox, PR_IPM_JOURNAL_ENTRYID},
    {Outlook::olFolderNotes, Pointer::RootOrInbox, PR_IPM_NOTE_ENTRYID},
    {Outlook::olFolderTasks, Pointer::RootOrInbox, PR_IPM_TASK_ENTRYID},
};

HRESULT InboxId(IMsgStore* store, std::vector<BYTE>& id) {
    ULONG cb = 0;
    MapiBuffer<ENTRYID> inbox;
    const HRESULT hr =
        store->GetReceiveFolder(const_cast<char*>("IPM.Note"), 0, &cb, &inbox, nullptr);
    if (FAILED(hr)) return hr;
    const BYTE* bytes = reinterpret_cast<const BYTE*>(inbox.Get());
    id.assign(bytes, bytes + cb);
    return S_OK;
}

// The folder pointers Outlook keeps on both the root folder and the Inbox; a store may hold
// them on either.
HRESULT RootOrInboxPointer(IMsgStore* store, ULONG tag, std::vector<BYTE>& id) {
    ComPtr<IMAPIFolder> root;
    std::vector<BYTE> none;
    HRESULT hr = OpenById(store, none, MAPI_FOLDER, root);
    if (SUCCEEDED(hr)) hr = ReadBinary(root.Get(), tag, id);
    if (hr != MAPI_E_NOT_FOUND) return hr;
    std::vector<BYTE> inbox_id;
    ComPtr<IMAPIFolder> inbox;
    hr = InboxId(store, inbox_id);
    if (SUCCEEDED(hr)) hr = OpenById(store, inbox_id, MAPI_FOLDER, inbox);
    if (SUCCEEDED(hr)) hr = ReadBinary(inbox.Get(), tag, id);
    return hr;
}

HRESULT DefaultFolderId(IMsgStore* store, Outlook::OlDefaultFolders folder, std::vector<BYTE>& id) {
    for (const DefaultFolder& known : kDefaultFolders) {
        if (known.folder != folder) continue;
        switch (known.where) {
            case Pointer::ReceiveFolder:
                return InboxId(store, id);
            case Pointer::Store:
                return ReadBinary(store, known.tag, id);
            case Pointer::RootOrInbox:
                return RootOrInboxPointer(store, known.tag, id);
        }
    }
    return E_INVALIDARG;
}

class Namespace final : public ComObject<_NameSpace> {
public:
    explicit Namespace(SessionRef session) : session_(std::move(session)) {}

    HRESULT GetDefaultFolder(Outlook::OlDefaultFolders folder, MAPIFolder** result) override {
        if (!result) return E_POINTER;
        *result = nullptr;
        IMsgStore* store = session_->default_store();
        std::vector<BYTE> id;
        ComPtr<IMAPIFolder> opened;
        HRESULT hr = DefaultFolderId(store, folder, id);
        if (SUCCEEDED(hr)) hr = OpenById(store, id, MAPI_FOLDER, opened);
        if (FAILED(hr)) return hr;
        *result = WrapFolder(session_, std::move(opened));
        return S_OK;
    }

    HRESULT GetFolderFromID(const std::string& entry_id_hex, const VARIANT& store_id_hex,
                            MAPIFolder** result) override {
        if (!result) return E_POINTER;
        *result = nullptr;
        ComPtr<IMAPIFolder> folder;
        const HRESULT hr = OpenFromId(entry_id_hex, store_id_hex, MAPI_FOLDER, folder);
        if (FAILED(hr)) return hr;
        *result = WrapFolder(session_, std::move(folder));
        return S_OK;
    }

    HRESULT GetItemFromID(const std::string& entry_id_hex, const VARIANT& store_id_hex,
                          IDispatch** item) override {
        if (!item) return E_POINTER;
        *item = nullptr;
        ComPtr<IMessage> message;
        const HRESULT hr = OpenFromId(entry_id_hex, store_id_hex, MAPI_MESSAGE, message);
        if (FAILED(hr)) return hr;
        *item = WrapItem(session_, std::move(message));
        return S_OK;
    }

    HRESULT get_Offline(VARIANT_BOOL* offline) override {
        if (!offline) return E_POINTER;
        OutlookState state;
        if (const HRESULT hr = State(state); FAILED(hr)) return hr;
        *offline = state.offline ? VARIANT_TRUE : VARIANT_FALSE;
        return S_OK;
    }

    HRESULT get_ExchangeConnectionMode(Outlook::OlExchangeConnectionMode* mode) override {
        if (!mode) return E_POINTER;
        OutlookState state;
        if (const HRESULT hr = State(state); FAILED(hr)) return hr;
        *mode = state.connectionMode;
        return S_OK;
    }

    HRESULT get_MAPIOBJECT(IUnknown** session) override {
        if (!session) return E_POINTER;
        *session = session_->session();
        (*session)->AddRef();
        return S_OK;
    }

protected:
    bool Supports(REFIID riid) const override {
        return AnyOf(riid, {&IID_IDispatch, &IID__NameSpace});
    }

private:
    template <class T>
    HRESULT OpenFromId(const std::string& entry_id_hex, const VARIANT& store_id_hex, ULONG type,
                       ComPtr<T>& object) {
        auto id = HexId(entry_id_hex);
        if (!id) return E_INVALIDARG;
        // Without a store id the entry may lie in any store of the profile.
        if (IsMissing(store_id_hex)) return OpenById(session_->session(), *id, type, object);
        ComPtr<IMsgStore> store;
        const HRESULT hr = session_->OpenStore(store_id_hex, store);
        if (FAILED(hr)) return hr;
        return OpenById(store.Get(), *id, type, object);
    }

    // The saved state, read afresh: the command line may change it at any time. A damaged
    // file fails the call rather than passing for the defaults.
    HRESULT State(OutlookState& state) const {
        try {
            state = LoadOutlookState(session_->profile());
            return S_OK;
        } catch (const std::exception&) {
            return MAPI_E_CORRUPT_DATA;
        }
    }

    SessionRef session_;
};

}  // namespace

_NameSpace* WrapNamespace(const SessionRef& session) {
    return MakeCom<Namespace>(session).Detach();
}

}  // namespace orvella::host::outlook
