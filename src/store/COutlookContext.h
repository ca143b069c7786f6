// COutlookContext: the add-in's one gateway to the user's mail for an Outlook session. It logs
// on to MAPI, opens the mail store and the store of the topic folders, finds the standard
// folders, resolves the named properties into the tag tables and offers the folder, entry-id
// and notification helpers every store operation builds on.
//
// Failures are raised as MAPIException (store calls), OutlookException (object-model calls) or
// ProgramException (missing settings, impossible states), with the operation named first.
// One object per Outlook session; its members run on the threads the add-in serialises.
#pragma once

#include <string>
#include <vector>

#include "entry_id.h"
#include "mapi_advise.h"
#include "mapi_ptr.h"
#include "mapix.h"
#include "msoutl.h"
#include "store_schema.h"
#include "winreg.h"

using orvella::platform::mapi::ComPtr;

// One store's folders for the folder choosers: the store's name and each folder below its
// IPM subtree as a "/"-joined path with its entry id.
struct FolderGroup {
    std::string storeName;
    std::vector<std::string> paths;
    std::vector<EntryId> entryIds;
};

class COutlookContext {
public:
    // Logs on and opens the stores (every step may throw). classId is the add-in's class id,
    // used only to find the install directory when "HomeDir" is not set.
    COutlookContext(_NameSpace* nameSpace, const CLSID& classId);
    // Withdraws the notifications and releases the stores and the session.
    ~COutlookContext();
    COutlookContext(const COutlookContext&) = delete;
    COutlookContext& operator=(const COutlookContext&) = delete;

    // The start-up preparation once Outlook has started: topic root, tag tables, setup markers,
    // thread records, statistics. Each step logs its own failure and start-up goes on.
    void Initialize();

    // ---- Stores
    EntryId GetDefaultDatastoreEID();
    // The stores a user may choose for topic folders: names (the default one marked
    // " (Primary)") and entry ids in table order; public folders, HTTP and IMAP stores left out.
    void GetDatastoreList(std::vector<std::string>& names, std::vector<EntryId>& entryIds);
    bool IsExchangeMode();
    // 0 when the store is an HTTP-mail (IMAP) store, 1 otherwise.
    int IsHotmailDatastore(const EntryId& storeId);
    int IsIMAPDatastore(const EntryId& storeId);
    bool IsOffline();
    bool IsCachedMode();

    // ---- Folders and entry ids
    ComPtr<IMAPIFolder> GetFolder(IMsgStore* store, const EntryId& entryId, bool modify);
    ComPtr<IMAPIFolder> GetInboxFolder(bool modify = false);
    ComPtr<IMAPIFolder> GetThreadFolder(bool modify = false);
    ComPtr<IMAPIFolder> GetContactsFolder(bool modify = false);
    // The folder at path ("/"- or "\"-separated display names, any case) below parent; null
    // when a component is missing.
    ComPtr<IMAPIFolder> GetFolder(IMAPIFolder* parent, const std::string& path);
    EntryId GetSubtreeEID(IMsgStore* store);
    EntryId GetEID(IMAPIProp* object);
    EntryId GetParentEID(const EntryId& entryId);
    bool IsSameEID(const EntryId& a, const EntryId& b);
    bool IsInboxMessage(IMessage* message);
    bool IsChildOfFolder(const EntryId& folderId, const EntryId& ancestorId);
    ComPtr<IMessage> GetMAPIMessage(const EntryId& entryId);
    std::string GetMAPIStringProperty(IMAPIProp* object, ULONG tag);
    // The message behind an Outlook item (mail, meeting or task request); null for other items.
    ComPtr<IMessage> GetIMessageFromOutlookObject(IDispatch* item);
    EntryId GetEntryIDFromOutlookObject(IDispatch* item);
    bool IsHandledMessage(IMsgStore* store, const EntryId& entryId);
    bool IsHandledMessage(IMessage* message);
    void GetFolderHierarchyEIDs(std::vector<FolderGroup>& groups);

    // ---- Notifications
    void RegisterMAPIAdvise(IMAPIAdvise* callback);
    void UnregisterMAPIAdvise();

    // ---- Schema
    void InitContactProps();
    // Resolves the items table against folder's store: the mail store's table or the
    // application store's.
    void InitItemsProps(IMAPIFolder* folder, ItemsPropTagTable& tags);
    const ItemsPropTagTable& ItemsPropTags() const { return itemsTags_; }
    const ItemsPropTagTable& AppItemsPropTags() const { return appItemsTags_; }
    const ContactPropTagTable& ContactPropTags() const { return contactTags_; }
    // Writes the scoring result onto an Inbox message. S_OK; E_ACCESSDENIED for a message the
    // user may not change; E_FAIL when it was deleted meanwhile.
    HRESULT SaveMsgAttributes(IMessage* message, long score, const std::string& topicName,
                              long threadId, long threadScore, FILETIME received);

    // ---- Topic root
    static std::string NormalizeFolderPath(const std::string& path);
    static std::string ValidateTopicFolderLocation(const std::string& path);
    void InitAppFolder();
    ComPtr<IMAPIFolder> OpenTopicRoot();
    ComPtr<IMAPIFolder> GetOrCreateFolder(IMAPIFolder* parent, const std::string& name);
    ComPtr<MAPIFolder> CreateFolder(MAPIFolder* parent, const std::string& name);

    // ---- Thread records (COutlookContext_threads*.cpp)
    // [threads: public members]

    // ---- Contacts and contact priority (COutlookContext_contacts*.cpp)
    // [contacts: public members]

    // ---- The user's identity (COutlookContext_identity.cpp)
    // [identity: public members]

    // ---- What the session found
    const std::string& OutlookVersion() const { return outlookVersion_; }
    const std::string& InstallDirectory() const { return installDirectory_; }
    const std::string& ViewsDirectory() const { return viewsDirectory_; }
    const std::string& TopicFolderLocation() const { return topicFolderLocation_; }
    const std::string& TopicFolderHome() const { return topicFolderHome_; }
    bool ShowContactFolderAsAddressbook() const { return showContactsAsAddressBook_; }
    bool ExchangeModeAtStart() const { return exchangeMode_; }
    IMAPISession* Session() const { return session_.Get(); }
    IMsgStore* MailStore() const { return mailStore_.Get(); }
    IMsgStore* AppStore() const { return appStore_.Get(); }
    const EntryId& DatastoreEID() const { return datastoreEID_; }
    const EntryId& AppDatastoreEID() const { return appDatastoreEID_; }
    const EntryId& InboxEID() const { return inboxEID_; }
    const EntryId& ThreadFolderEID() const { return threadFolderEID_; }
    const EntryId& ContactsEID() const { return contactsEID_; }
    const EntryId& WastebasketEID() const { return wastebasketEID_; }
    const EntryId& SentItemsEID() const { return sentItemsEID_; }
    const EntryId& SubtreeEID() const { return subtreeEID_; }
    const EntryId& AppSubtreeEID() const { return appSubtreeEID_; }
    const EntryId& TopicRootEID() const { return topicRootEID_; }

private:
    void ReadSettings(const CLSID& classId);
    void ReadOutlookVersion();
    void LogOn();
    void OpenAppStore(HKEY settings);
    void FindStandardFolders();
    bool IsSameStore(const EntryId& a, const EntryId& b);
    bool HasNamedStoreProps(const EntryId& storeId, const char* failure, const MAPINAMEID* names,
                            const ULONG* types, ULONG count);
    LONG ExchangeConnectionMode();

    // Steps whose subsystems come later; each says what it will do.
    void LoadContactFolders();
    void InitAddressBook();
    void LoadIdentity();
    void CompileThreadPattern();
    void InitContactFolder();
    void InstallFormAndViews();
    void MarkSetupFolders();
    void LoadThreads();
    void LoadStatistics();
    void SaveStatistics();

    // MAPIUninitialize once every MAPI object below is released (members die in reverse).
    struct MapiRuntime {
        bool initialized = false;
        ~MapiRuntime();
    } mapi_;
    ComPtr<_NameSpace> nameSpace_;
    ComPtr<IMAPISession> session_;
    ComPtr<IMsgStore> mailStore_;
    ComPtr<IMsgStore> appStore_;

    std::string installDirectory_;
    std::string viewsDirectory_;
    std::string outlookVersion_;
    std::string topicFolderLocation_ = "/Inbox/Orvella Topics";
    std::string topicFolderHome_;
    bool showContactsAsAddressBook_ = false;
    bool exchangeMode_ = false;

    EntryId datastoreEID_;
    EntryId appDatastoreEID_;
    EntryId inboxEID_;
    EntryId threadFolderEID_;
    EntryId contactsEID_;
    EntryId wastebasketEID_;
    EntryId sentItemsEID_;
    EntryId subtreeEID_;
    EntryId appSubtreeEID_;
    EntryId topicRootEID_;

    ItemsPropTagTable itemsTags_{};
    ItemsPropTagTable appItemsTags_{};
    ContactPropTagTable contactTags_{};

    // [threads: private members]
    // [contacts: private members]
    // [identity: private members]

    IMAPIAdvise* adviseCallback_ = nullptr;
    ULONG_PTR mailConnection_ = 0;
    ULONG_PTR appConnection_ = 0;
};
