// The Outlook object model as the add-in calls it: the application, its MAPI namespace, folders,
// items and recipients. On Windows these are dual automation interfaces from Outlook's type
// library; here they are plain C++ interfaces with the same names, the raw get_/put_ methods
// an imported type library offers, the same constants and the same error results.
//
// Differences from automation, so that no caller needs a BSTR or VARIANT library: strings are
// 8-bit std::string (the store's text is 8-bit too), and VARIANT is a small tagged value that
// holds only what these calls pass (a number, a text or the "missing argument" marker).
//
// Contract shared by every method: S_OK on success with the out-parameter set (objects with a
// new reference the caller releases); a failure HRESULT with the out-parameter left null/empty.
// Objects may be used from any thread, as Outlook's apartment marshalling allows.
#pragma once

#include <string>
#include <utility>

#include "unknwn.h"
#include "winerror.h"

// {00020400-0000-0000-C000-000000000046}
DEFINE_OLEGUID(IID_IDispatch, 0x00020400, 0, 0);

// Item interfaces, as Outlook's type library names them.
DEFINE_OLEGUID(IID__Application, 0x00063001, 0, 0);
DEFINE_OLEGUID(IID__NameSpace, 0x00063002, 0, 0);
DEFINE_OLEGUID(IID_MAPIFolder, 0x00063006, 0, 0);
DEFINE_OLEGUID(IID__Folders, 0x00063040, 0, 0);
DEFINE_OLEGUID(IID__Items, 0x00063041, 0, 0);
DEFINE_OLEGUID(IID__MailItem, 0x00063034, 0, 0);
DEFINE_OLEGUID(IID__ContactItem, 0x00063021, 0, 0);
DEFINE_OLEGUID(IID__MeetingItem, 0x00063062, 0, 0);
DEFINE_OLEGUID(IID__TaskRequestItem, 0x00063036, 0, 0);
DEFINE_OLEGUID(IID__TaskRequestAcceptItem, 0x00063038, 0, 0);
DEFINE_OLEGUID(IID__TaskRequestDeclineItem, 0x00063039, 0, 0);
DEFINE_OLEGUID(IID__TaskRequestUpdateItem, 0x00063037, 0, 0);
DEFINE_OLEGUID(IID_Recipients, 0x0006303B, 0, 0);
DEFINE_OLEGUID(IID_Recipient, 0x00063045, 0, 0);

#ifndef DISP_E_PARAMNOTFOUND
#define DISP_E_PARAMNOTFOUND ((HRESULT)0x80020004L)
#endif
#ifndef DISP_E_BADINDEX
#define DISP_E_BADINDEX ((HRESULT)0x8002000BL)
#endif
#ifndef DISP_E_TYPEMISMATCH
#define DISP_E_TYPEMISMATCH ((HRESULT)0x80020005L)
#endif

typedef short VARIANT_BOOL;
#define VARIANT_TRUE ((VARIANT_BOOL)-1)
#define VARIANT_FALSE ((VARIANT_BOOL)0)

typedef unsigned short VARTYPE;
enum VARENUM : VARTYPE { VT_EMPTY = 0, VT_I4 = 3, VT_BSTR = 8, VT_ERROR = 10, VT_BOOL = 11 };

// An automation argument: vt says which member holds the value.
struct VARIANT {
    VARTYPE vt = VT_EMPTY;
    LONG lVal = 0;             // VT_I4
    SCODE scode = 0;           // VT_ERROR
    VARIANT_BOOL boolVal = 0;  // VT_BOOL
    std::string bstrVal;       // VT_BSTR
};

inline VARIANT VariantLong(LONG value) {
    VARIANT v;
    v.vt = VT_I4;
    v.lVal = value;
    return v;
}
inline VARIANT VariantText(std::string text) {
    VARIANT v;
    v.vt = VT_BSTR;
    v.bstrVal = std::move(text);
    return v;
}
inline VARIANT VariantBool(bool value) {
    VARIANT v;
    v.vt = VT_BOOL;
    v.boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
    return v;
}
// An optional argument left out: what automation passes for it.
inline VARIANT VariantMissing() {
    VARIANT v;
    v.vt = VT_ERROR;
    v.scode = DISP_E_PARAMNOTFOUND;
    return v;
}
inline bool IsMissing(const VARIANT& v) {
    return v.vt == VT_EMPTY || (v.vt == VT_ERROR && v.scode == DISP_E_PARAMNOTFOUND);
}

namespace Outlook {

enum OlDefaultFolders {
    olFolderDeletedItems = 3,
    olFolderOutbox = 4,
    olFolderSentMail = 5,
    olFolderInbox = 6,
    olFolderCalendar = 9,
    olFolderContacts = 10,
    olFolderJournal = 11,
    olFolderNotes = 12,
    olFolderTasks = 13,
    olFolderDrafts = 16,
};

enum OlItemType {
    olMailItem = 0,
    olAppointmentItem = 1,
    olContactItem = 2,
    olTaskItem = 3,
    olJournalItem = 4,
    olNoteItem = 5,
    olPostItem = 6,
    olDistributionListItem = 7,
};

enum OlObjectClass {
    olApplication = 0,
    olNamespace = 1,
    olFolder = 2,
    olRecipient = 4,
    olFolders = 15,
    olItems = 16,
    olRecipients = 17,
    olContact = 40,
    olMail = 43,
    olTaskRequest = 49,
    olTaskRequestUpdate = 50,
    olTaskRequestAccept = 51,
    olTaskRequestDecline = 52,
    olMeetingRequest = 53,
    olMeetingCancellation = 54,
    olMeetingResponseNegative = 55,
    olMeetingResponsePositive = 56,
    olMeetingResponseTentative = 57,
};

enum OlExchangeConnectionMode {
    olNoExchange = 0,
    olOffline = 100,
    olCachedOffline = 200,
    olDisconnected = 300,
    olCachedDisconnected = 400,
    olCachedConnectedHeaders = 500,
    olCachedConnectedDrizzle = 600,
    olCachedConnectedFull = 700,
    olOnline = 800,
};

enum OlInspectorClose { olSave = 0, olDiscard = 1, olPromptForSave = 2 };

enum OlMailRecipientType { olOriginator = 0, olTo = 1, olCC = 2, olBCC = 3 };

}  // namespace Outlook

// Automation's base interface; items come back as IDispatch and are asked for their type with
// QueryInterface, as a late-bound caller does.
class IDispatch : public IUnknown {};

class _NameSpace;
class MAPIFolder;
class _Folders;
class _Items;
class Recipients;
class Recipient;

class _Application : public IDispatch {
public:
    // Only "MAPI" is a namespace; any other type gives E_INVALIDARG.
    virtual HRESULT GetNamespace(const std::string& type, _NameSpace** result) = 0;
    // A new, unsaved item of that type, created in the folder that type defaults to (Drafts for
    // mail, Contacts for contacts). E_NOTIMPL for types the host does not model.
    virtual HRESULT CreateItem(Outlook::OlItemType type, IDispatch** item) = 0;
    // "11.0.0.0" and so on: the major version first.
    virtual HRESULT get_Version(std::string* version) = 0;
};

class _NameSpace : public IDispatch {
public:
    virtual HRESULT GetDefaultFolder(Outlook::OlDefaultFolders folder, MAPIFolder** result) = 0;
    // Entry and store ids as hex text (upper or lower case). A missing store id means the
    // default store. An id that names nothing gives MAPI_E_NOT_FOUND; malformed hex,
    // E_INVALIDARG.
    virtual HRESULT GetFolderFromID(const std::string& entryIdHex, const VARIANT& storeIdHex,
                                    MAPIFolder** result) = 0;
    virtual HRESULT GetItemFromID(const std::string& entryIdHex, const VARIANT& storeIdHex,
                                  IDispatch** item) = 0;
    virtual HRESULT get_Offline(VARIANT_BOOL* offline) = 0;
    virtual HRESULT get_ExchangeConnectionMode(Outlook::OlExchangeConnectionMode* mode) = 0;
    // The namespace's MAPI session (IMAPISession) as IUnknown.
    virtual HRESULT get_MAPIOBJECT(IUnknown** session) = 0;
};

class MAPIFolder : public IDispatch {
public:
    virtual HRESULT get_Name(std::string* name) = 0;
    virtual HRESULT put_Name(const std::string& name) = 0;
    // Hex text of the folder's entry id and of its store's entry id.
    virtual HRESULT get_EntryID(std::string* entryId) = 0;
    virtual HRESULT get_StoreID(std::string* storeId) = 0;
    virtual HRESULT get_DefaultItemType(Outlook::OlItemType* type) = 0;
    virtual HRESULT get_Folders(_Folders** folders) = 0;
    virtual HRESULT get_Items(_Items** items) = 0;
    // The folder's IMAPIFolder as IUnknown.
    virtual HRESULT get_MAPIOBJECT(IUnknown** folder) = 0;
};

// A folder's sub-folders, in the order the store lists them. Indexes start at 1.
class _Folders : public IDispatch {
public:
    virtual HRESULT get_Count(LONG* count) = 0;
    // By 1-based number (VT_I4) or by name (VT_BSTR, without regard to case); DISP_E_BADINDEX
    // when there is no such folder.
    virtual HRESULT Item(const VARIANT& index, MAPIFolder** folder) = 0;
    // A new sub-folder. Type is an OlDefaultFolders value naming the kind of folder (mail,
    // contacts ...); when missing the folder takes the parent's default item type.
    // MAPI_E_COLLISION when a sub-folder of that name exists.
    virtual HRESULT Add(const std::string& name, const VARIANT& type, MAPIFolder** folder) = 0;
};

// A folder's items (not the associated ones), in the order the store lists them.
class _Items : public IDispatch {
public:
    virtual HRESULT get_Count(LONG* count) = 0;
    virtual HRESULT Item(const VARIANT& index, IDispatch** item) = 0;
    // A new unsaved item in this folder: by OlItemType (mail, contact) or by message class
    // ("IPM.Note", "IPM.Contact" and their sub-classes); the folder's own type when missing.
    // E_NOTIMPL for types the host does not model.
    virtual HRESULT Add(const VARIANT& type, IDispatch** item) = 0;
};

class _MailItem : public IDispatch {
public:
    // Empty until the item is saved.
    virtual HRESULT get_EntryID(std::string* entryId) = 0;
    // The item's IMessage as IUnknown; the same message the store holds once saved.
    virtual HRESULT get_MAPIOBJECT(IUnknown** message) = 0;
    virtual HRESULT get_Class(Outlook::OlObjectClass* objectClass) = 0;
    virtual HRESULT get_Subject(std::string* subject) = 0;
    virtual HRESULT put_Subject(const std::string& subject) = 0;
    virtual HRESULT get_Body(std::string* body) = 0;
    virtual HRESULT put_Body(const std::string& body) = 0;
    virtual HRESULT get_Recipients(Recipients** recipients) = 0;
    virtual HRESULT Save() = 0;
    // Opens the item in a message window; modal waits until the window closes.
    virtual HRESULT Display(const VARIANT& modal) = 0;
    virtual HRESULT Close(Outlook::OlInspectorClose saveMode) = 0;
};

// A contact: its name and up to three e-mail addresses. Setters change the unsaved item; Save
// writes it to its folder with what Outlook derives from them (the file-as name, each address's
// type "SMTP" when none was given, its display name "<full name> (<address>)" and original
// display name). The display names are read-only, as in Outlook.
class _ContactItem : public IDispatch {
public:
    // Empty until the item is saved.
    virtual HRESULT get_EntryID(std::string* entryId) = 0;
    // The item's IMessage as IUnknown.
    virtual HRESULT get_MAPIOBJECT(IUnknown** message) = 0;
    // olContact.
    virtual HRESULT get_Class(Outlook::OlObjectClass* objectClass) = 0;
    virtual HRESULT get_FullName(std::string* name) = 0;
    virtual HRESULT put_FullName(const std::string& name) = 0;
    virtual HRESULT get_FileAs(std::string* fileAs) = 0;
    virtual HRESULT put_FileAs(const std::string& fileAs) = 0;
    virtual HRESULT get_Email1Address(std::string* address) = 0;
    virtual HRESULT put_Email1Address(const std::string& address) = 0;
    virtual HRESULT get_Email1AddressType(std::string* type) = 0;
    virtual HRESULT put_Email1AddressType(const std::string& type) = 0;
    virtual HRESULT get_Email1DisplayName(std::string* name) = 0;
    virtual HRESULT get_Email2Address(std::string* address) = 0;
    virtual HRESULT put_Email2Address(const std::string& address) = 0;
    virtual HRESULT get_Email2AddressType(std::string* type) = 0;
    virtual HRESULT put_Email2AddressType(const std::string& type) = 0;
    virtual HRESULT get_Email2DisplayName(std::string* name) = 0;
    virtual HRESULT get_Email3Address(std::string* address) = 0;
    virtual HRESULT put_Email3Address(const std::string& address) = 0;
    virtual HRESULT get_Email3AddressType(std::string* type) = 0;
    virtual HRESULT put_Email3AddressType(const std::string& type) = 0;
    virtual HRESULT get_Email3DisplayName(std::string* name) = 0;
    virtual HRESULT Save() = 0;
    // olSave and olPromptForSave save; olDiscard drops the changes since the last save.
    virtual HRESULT Close(Outlook::OlInspectorClose saveMode) = 0;
};

class Recipients : public IDispatch {
public:
    virtual HRESULT get_Count(LONG* count) = 0;
    virtual HRESULT Item(const VARIANT& index, Recipient** recipient) = 0;
    // A To recipient named by an address or a display name.
    virtual HRESULT Add(const std::string& name, Recipient** recipient) = 0;
};

class Recipient : public IDispatch {
public:
    virtual HRESULT get_Name(std::string* name) = 0;
    virtual HRESULT get_Address(std::string* address) = 0;
    virtual HRESULT get_Type(LONG* type) = 0;
    virtual HRESULT put_Type(LONG type) = 0;
};

// Items the host delivers but does not create: meeting requests and task requests. The add-in
// reaches their message and entry id only.
#define ORVELLA_OUTLOOK_MESSAGE_ITEM(Name)                                  \
    class Name : public IDispatch {                                         \
    public:                                                                 \
        virtual HRESULT get_EntryID(std::string* entryId) = 0;              \
        virtual HRESULT get_MAPIOBJECT(IUnknown** message) = 0;             \
        virtual HRESULT get_Class(Outlook::OlObjectClass* objectClass) = 0; \
    }
ORVELLA_OUTLOOK_MESSAGE_ITEM(_MeetingItem);
ORVELLA_OUTLOOK_MESSAGE_ITEM(_TaskRequestItem);
ORVELLA_OUTLOOK_MESSAGE_ITEM(_TaskRequestAcceptItem);
ORVELLA_OUTLOOK_MESSAGE_ITEM(_TaskRequestDeclineItem);
ORVELLA_OUTLOOK_MESSAGE_ITEM(_TaskRequestUpdateItem);
#undef ORVELLA_OUTLOOK_MESSAGE_ITEM
