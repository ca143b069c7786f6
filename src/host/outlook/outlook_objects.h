// What the object-model classes of the simulated Outlook share: the logged-on session, the
// display record, the factories that wrap MAPI objects, and property access through MAPI.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "com_object.h"
#include "mapi_ptr.h"
#include "mapi_values.h"
#include "mapix.h"
#include "msoutl.h"
#include "outlook_application.h"

namespace orvella::host::outlook {

using platform::mapi::ComPtr;
using platform::mapi::store::ComObject;
using platform::mapi::store::MakeCom;

// The session every object of one application shares; it outlives them all (shared_ptr).
// Listener and record are guarded by the mutex; the rest is set once at logon.
class OutlookSession {
public:
    // Logs on as CreateOutlookApplication documents.
    explicit OutlookSession(const std::string& profile);
    ~OutlookSession();
    OutlookSession(const OutlookSession&) = delete;
    OutlookSession& operator=(const OutlookSession&) = delete;

    const std::string& profile() const { return profile_; }
    IMAPISession* session() const { return session_.Get(); }
    IMsgStore* default_store() const { return store_.Get(); }

    // The store named by a hex store id (missing: the default store); E_INVALIDARG for bad hex,
    // else OpenMsgStore's result.
    HRESULT OpenStore(const VARIANT& store_id_hex, ComPtr<IMsgStore>& store) const;

    void SetDisplayListener(std::function<void(const DisplayedItem&)> listener);
    // Records the item and calls the listener outside the lock.
    void Displayed(const DisplayedItem& item);
    std::vector<DisplayedItem> DisplayedItems() const;

private:
    std::string profile_;
    ComPtr<IMAPISession> session_;
    ComPtr<IMsgStore> store_;
    mutable std::mutex mutex_;
    std::function<void(const DisplayedItem&)> listener_;
    std::vector<DisplayedItem> displayed_;
};

using SessionRef = std::shared_ptr<OutlookSession>;

// ---- factories: each returns a new reference the caller owns ----

_NameSpace* WrapNamespace(const SessionRef& session);
MAPIFolder* WrapFolder(const SessionRef& session, ComPtr<IMAPIFolder> folder);
_Folders* WrapFolders(const SessionRef& session, ComPtr<IMAPIFolder> parent);
_Items* WrapItems(const SessionRef& session, ComPtr<IMAPIFolder> folder);
// The item type PR_MESSAGE_CLASS_A names: _MailItem for IPM.Note and its sub-classes,
// _ContactItem for IPM.Contact's, meeting and task-request items for theirs, and for any other
// class an item that answers IDispatch only (the host models no other item types yet).
IDispatch* WrapItem(const SessionRef& session, ComPtr<IMessage> message);
IDispatch* WrapMailItem(const SessionRef& session, ComPtr<IMessage> message);
// A contact item over an IPM.Contact message; the store's tags of Outlook's contact names are
// created when new. Fails with GetIDsFromNames' result.
HRESULT WrapContactItem(const SessionRef& session, ComPtr<IMessage> message, IDispatch** item);
// A new unsaved contact item (of IPM.Contact's family) in the folder.
HRESULT NewContactItem(const SessionRef& session, IMAPIFolder* folder,
                       const std::string& message_class, IDispatch** item);
// A new unsaved mail item (of IPM.Note's family, unsent) in the folder.
HRESULT NewMailItem(const SessionRef& session, IMAPIFolder* folder,
                    const std::string& message_class, IDispatch** item);

// The item's entry id in hex; "" while the message has never been saved.
HRESULT ItemEntryId(IMessage* message, std::string& hex);
// The type of item the folder holds, from its container class.
HRESULT DefaultItemTypeOf(IMAPIFolder* folder, Outlook::OlItemType& type);

// ---- MAPI property access ----

// A string property, large ones through their stream; MAPI_E_NOT_FOUND when it is absent.
HRESULT ReadText(IMAPIProp* object, ULONG tag, std::string& text);
// As ReadText, but an absent value is "".
HRESULT ReadTextOrEmpty(IMAPIProp* object, ULONG tag, std::string& text);
HRESULT ReadBinary(IMAPIProp* object, ULONG tag, std::vector<BYTE>& bytes);
HRESULT ReadBinaryHex(IMAPIProp* object, ULONG tag, std::string& hex);
using platform::mapi::LongValue;
using platform::mapi::TextValue;
// Sets a string property without saving.
HRESULT WriteText(IMAPIProp* object, ULONG tag, const std::string& text);
// Opens an entry through `opener` (a store or folder) for writing: S_OK only when it is an
// object of `expected_type` (MAPI_FOLDER, MAPI_MESSAGE), else MAPI_E_INVALID_ENTRYID.
template <class Opener, class T>
HRESULT OpenById(Opener* opener, std::vector<BYTE>& id, ULONG expected_type, ComPtr<T>& object) {
    ULONG type = 0;
    ComPtr<IUnknown> opened;
    const HRESULT hr =
        opener->OpenEntry(static_cast<ULONG>(id.size()), reinterpret_cast<LPENTRYID>(id.data()),
                          nullptr, MAPI_BEST_ACCESS, &type, opened.PutUnknown());
    if (FAILED(hr)) return hr;
    if (type != expected_type) return MAPI_E_INVALID_ENTRYID;
    object.Attach(static_cast<T*>(opened.Detach()));
    return S_OK;
}
// The entry id of the row an automation index names, in rows whose columns are PR_ENTRYID and
// a string `name_tag`: by 1-based number (rows[0] being number `first`) or by that string
// without regard to case. DISP_E_TYPEMISMATCH for other indexes, DISP_E_BADINDEX when none.
HRESULT EntryIdAt(const SRowSet& rows, const VARIANT& index, ULONG name_tag, LONG first,
                  std::vector<BYTE>& entry_id);
// Hex text as bytes; nullopt for malformed or empty text.
std::optional<std::vector<BYTE>> HexId(const std::string& hex);

// Hands a new reference to an out-parameter of the object model.
template <class Out, class T>
HRESULT Return(const ComPtr<T>& object, Out** out) {
    if (!out) return E_POINTER;
    object->AddRef();
    *out = static_cast<Out*>(object.Get());
    return S_OK;
}

// Close of an item: olSave and olPromptForSave save (there is no one to ask), olDiscard drops
// the changes made since the last save.
template <class Save, class Discard>
HRESULT CloseItem(Outlook::OlInspectorClose save_mode, Save save, Discard discard) {
    switch (save_mode) {
        case Outlook::olSave:
        case Outlook::olPromptForSave:
            return save();
        case Outlook::olDiscard:
            return discard();
    }
    return E_INVALIDARG;
}

// The stored message of a saved item (its entry id in hex), opened again to drop the item's
// unsaved changes.
HRESULT OpenSaved(const SessionRef& session, const std::string& hex, ComPtr<IMessage>& stored);

// The variant's number (VT_I4) or nullopt.
std::optional<LONG> VariantNumber(const VARIANT& value);

}  // namespace orvella::host::outlook
