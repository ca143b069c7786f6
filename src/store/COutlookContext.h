// COutlookContext: the add-in's one gateway to the user's mail for an Outlook session. It logs
// on to MAPI, opens the mail store and the store of the topic folders, finds the standard
// folders, resolves the named properties into the tag tables and offers the folder, entry-id
// and notification helpers every store operation builds on.
//
// Failures are raised as MAPIException (store calls), OutlookException (object-model calls) or
// ProgramException (missing settings, impossible states), with the operation named first.
// One object per Outlook session; its members run on the threads the add-in serialises.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "CMsgThread.h"
#include "entry_id.h"
#include "mapi_advise.h"
#include "mapi_ptr.h"
#include "mapix.h"
#include "msoutl.h"
#include "store_schema.h"
#include "thread_name.h"
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
    // The thread name of a subject (null: absent): leading Re/Fw/Fwd prefixes removed, trimmed.
    std::string GetThreadNameFromSubject(const char* subject);
    // Registers thread (taking a reference) under its name, or under a blank-thread key of its
    // own when the name is empty; replaces what was under the same key or id.
    void AddThread(CMsgThread* thread);
    // 0 and the thread when name is registered; 1 when it is empty or unknown.
    int FindThreadByName(const std::string& name, MsgThreadPtr& thread);
    MsgThreadPtr FindThreadById(LONG id);
    // The live threads in id order.
    std::vector<MsgThreadPtr> GetThreads() const;
    // Writes a new thread record (now as its last activity) and registers the thread; the
    // thread's counters start at 0 whatever the record says. topic null or "": none.
    void CreateMsgThread(MsgThreadPtr& thread, LONG id, const char* name, LONG priority,
                         const char* topic, bool originator, LONG replyCounter,
                         LONG messagesReceived, LONG totalScore);
    // A thread with the next free id.
    void CreateNewThread(const char* name, LONG priority, const char* topic, bool originator,
                         MsgThreadPtr& thread);
    // Re-creates the record of the thread message refers to (its "OV-ThreadID", read with
    // tags); null, logged, when the message carries no thread id.
    MsgThreadPtr RestoreThread(IMessage* message, const ItemsPropTagTable& tags);
    // The thread message refers to, restored when its record is gone; null without a thread id.
    MsgThreadPtr GetThreadByMessage(IMessage* message, const ItemsPropTagTable& tags);
    // The thread of an incoming message: by the subject's thread name, else by the message's
    // thread id, else a new thread.
    void GetOrCreateThread(const char* subject, IMessage* message, MsgThreadPtr& thread);
    // Adds a received message's score and stamps the record's activity.
    void UpdateThreadScore(CMsgThread* thread, LONG score);
    // Writes the thread's counters onto its record and stamps its activity.
    void SaveThreadScore(CMsgThread* thread);
    // delta: the change the new priority makes to each message's score.
    void SetThreadPriority(CMsgThread* thread, LONG priority, LONG delta);
    void UpdateThreadLastAccessed(CMsgThread* thread);
    void IncrementThreadReplyCounter(CMsgThread* thread);
    // The thread id given to a message in its compose window; failures are logged, and read
    // as 0 like an absent value.
    void SetItemSenderThreadID(IMessage* message, LONG id);
    LONG GetItemSenderThreadID(IMessage* message);
    // Ties a message in Sent Items to its thread (and topic, when not empty).
    void UpdateSentItem(IMessage* message, LONG threadId, const std::string& topic);
    // Thread id -> number of Inbox messages carrying it.
    void LoadThreadIDsFromInbox(std::map<LONG, ULONG>& counts);
    // Deletes the records of the expired threads no Inbox message refers to, in one
    // DeleteMessages (failure: MAPIException at level 1); registers the others. Empties list.
    void ProcessExpiredThreads(std::vector<MsgThreadPtr>& expired);
    // Idle for more than 30 days; a zero time never expires.
    static bool IsThreadExpired(FILETIME lastActivity);

    // ---- Contacts and contact priority (COutlookContext_contacts*.cpp)
    // [contacts: public members]
    // The contacts folder first, then every folder below it, depth first; read at construction.
    const std::vector<EntryId>& ContactFolderEIDs() const { return contactFolderEIDs_; }
    void AddChildFolderEIDsToArray(IMAPIFolder* folder);
    // 0 when the folder holds the setup marker, 1 when not (or when looking for it failed,
    // which is logged).
    int IsFolderMarked(IMAPIFolder* folder);
    void MarkAppContactFolder(IMAPIFolder* folder);
    // 0 when the Inbox holds the setup marker, 1 when not.
    int IsSynchronizedSinceInstall();
    // For the add-in's contacts folder: the failure of saving a test record in it, E_FAIL when
    // there is no such folder, else IsFolderMarked of it.
    HRESULT IsContactFolderAvailableOffline();

    // A ContactPriorityLevel as stored ("OV-ContactPriority"); 0 when absent.
    LONG GetContactPriority(IMAPIProp* contact);
    // The user's choice: the priority, marked as not to be replaced by the contact analysis.
    void SetContactPriority(IMAPIProp* contact, LONG priority);
    // The contact analysis: priority, and the score unless it is negative (then the priority
    // only); the do-not-overwrite mark only when asked.
    void SetContactPriority(IMAPIProp* contact, LONG priority, LONG score, bool doNotOverwrite);
    void SetContactPriority(const EntryId& contactId, LONG priority, LONG score,
                            bool doNotOverwrite);
    // True when the contact analysis may replace the contact's priority.
    bool GetMessageOverwriteFlag(IMAPIProp* contact);
    bool GetMessageOverwriteFlag(const EntryId& contactId);
    void DeleteItemsFromFolder(const EntryId& folderId, const std::vector<EntryId>& entryIds);

    // The permanent entry id of the first contact in folder with the address as an e-mail
    // address or original display name; empty when none.
    EntryId GetContactEIDByEmail(IMAPIFolder* folder, const std::string& address);
    // The same over the contact folder list, first folder first.
    EntryId FindContactEIDByEmail(const std::string& address);
    // S_OK with the contact opened read-write; E_FAIL when no contact has the address.
    HRESULT GetContactRecordByEmail(ComPtr<IMessage>& contact, const std::string& address);
    EntryId GetPermanentEID(const EntryId& entryId);
    // The Outlook contact item of the message's sender; null when the sender has none.
    ComPtr<IDispatch> GetContactEIDFromMessage(IMessage* message);
    // E-mail 1, 2 and 3 addresses; a missing one is "".
    std::vector<std::string> GetContactEmails(const EntryId& contactId);
    // Counts a message the user sends on each recipient's contact.
    void IncrementContactReplyCounter(IMessage* message);

    // Contacts whose display name contains any token of name (the part before an "@"),
    // without regard to case; appends their permanent entry ids and display names.
    void FuzzySearchContactsByName(IMAPIFolder* folder, const std::string& name,
                                   std::vector<EntryId>& entryIds,
                                   std::vector<std::string>& displayNames);
    void FuzzySearchAllContactFolders(const std::string& name, std::vector<EntryId>& entryIds,
                                      std::vector<std::string>& displayNames);

    // 0 when the directory knows the address, 1 when not, E_FAIL without a directory.
    HRESULT ResolveEmailAddressFromAB(const std::string& address);
    // The person's SMTP addresses in the directory (and the native one when asked by an SMTP
    // address); empty without a directory.
    std::vector<std::string> GetEmailAliases(const std::string& address);
    bool HasDirectory() const { return static_cast<bool>(directory_); }

    // ---- The user's identity (COutlookContext_identity.cpp)
    // [identity: public members]
    // The user's own addresses: Outlook's accounts (by version) and the Exchange user's native
    // address, lower case, duplicates kept.
    std::vector<std::string> GetUserEmailAddresses();
    std::vector<std::string> GetAccountManagerAddresses();
    std::vector<std::string> GetProfileAddresses();
    // Empty outside Exchange mode.
    std::string GetDefaultExchangeUserAddress();
    // The lists the user keeps in the registry ("RecipientAddresses", "FriendlyDomains").
    std::vector<std::string> GetUserSpecifiedEmailAddresses();
    std::vector<std::string> GetFriendDomains();
    // Writes the list (lower case, blank-separated) and reloads it.
    void SaveUserSpecifiedEmailAddresses(const std::vector<std::string>& addresses);
    void SaveFriendDomains(const std::vector<std::string>& domains);
    bool IsUserAddress(const std::string& address) const;
    bool IsFriendDomain(const std::string& address) const;
    const std::vector<std::string>& UserAddresses() const { return userAddresses_; }
    const std::vector<std::string>& UserSpecifiedAddresses() const {
        return userSpecifiedAddresses_;
    }
    const std::vector<std::string>& FriendDomains() const { return friendDomains_; }
    // The product's own domain, which is always friendly.
    const std::string& VendorDomain() const { return vendorDomain_; }

    // ---- Inbox bulk updates (COutlookContext_inbox*.cpp)
    // [inbox: public members]
    // Every Inbox message in table order, with its subject when subjects is not null; with
    // resetThreadScores, the counters of each registered thread an Inbox message refers to are
    // reset in memory.
    void GetInboxEIDs(bool resetThreadScores, std::vector<EntryId>& entryIds,
                      std::vector<std::string>* subjects);
    // The Inbox messages sent from any e-mail address of the contact, their threads' counters
    // reset in memory. Without an address the lists stay empty.
    void ResetThreadScoresAndGetInboxEIDsForContact(const EntryId& contactId,
                                                    std::vector<EntryId>& entryIds,
                                                    std::vector<std::string>* subjects);
    // The Inbox messages lacking any of the five processed markers.
    void GetUnprocessedInboxEIDs(std::vector<EntryId>& entryIds,
                                 std::vector<std::string>* subjects);
    // Writes the thread's average onto its other Inbox messages; failures are logged.
    void UpdateInboxMsgThreadScores(CMsgThread* thread, const EntryId& processedMessage);
    // What UpdateInboxMsgThreadScores writes, for many threads at once (by thread id: the
    // thread and the message that already carries its average), in one pass over the Inbox
    // instead of a search per thread. Failures are logged, message by message.
    void UpdateInboxMsgThreadScores(const std::map<LONG, std::pair<CMsgThread*, EntryId>>& threads);
    // Raises the stored score of each Inbox message of the thread by delta and writes the
    // thread's average; S_OK when the walk ended.
    HRESULT UpdateInboxMsgPriorityScores(CMsgThread* thread, LONG delta);

    // ---- Statistics (COutlookContext_statistics.cpp; the table is CStatistics)
    // [statistics: public members]
    // S_OK with the Inbox's statistics record opened read-write (with create, a new unsaved
    // one when there is none); MAPI_E_NOT_FOUND without create when there is none.
    HRESULT GetStatisticsRecord(ComPtr<IMessage>& message, bool create);
    // Whether SaveStatistics may write the statistics record.
    bool CanWriteStatisticsRecord() const { return statisticsStoreWrite_; }

    // ---- The rescoring run (src/core/CMsgRescoreDialog.cpp)
    // [rescore: public members]
    // The callback of the last RegisterMAPIAdvise (kept after UnregisterMAPIAdvise), and whether
    // the store notifications are advised now: a run withdraws them and advises them again.
    IMAPIAdvise* AdviseCallback() const { return adviseCallback_; }
    bool IsMAPIAdviseRegistered() const { return mailConnection_ != 0 || appConnection_ != 0; }

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
    void KeepOrExpireLoadedThread(const MsgThreadPtr& thread, FILETIME lastActivity,
                                  std::vector<MsgThreadPtr>& expired);
    MsgThreadPtr ThreadOfId(IMessage* message, const ItemsPropTagTable& tags, LONG id);
    std::optional<CThreadNamePattern> threadPattern_;
    std::map<std::string, MsgThreadPtr> threadsByName_;  // exact bytes
    std::map<LONG, MsgThreadPtr> threadsById_;
    LONG highestThreadId_ = 0;
    int blankThreadCount_ = 0;
    // [contacts: private members]
    std::vector<EntryId> contactFolderEIDs_;
    ComPtr<IABContainer> directory_;  // the directory of an Exchange-like profile, if any
    // An item of the mail store (MAPI_MODIFY or 0); failure raises MAPIException with failure.
    ComPtr<IMessage> OpenMailItem(const EntryId& entryId, ULONG flags, const char* failure);
    // [identity: private members]
    std::vector<std::string> ReadAddressList(const char* value, const char* operation);
    void SaveAddressList(const char* value, const std::vector<std::string>& entries,
                         const char* operation, const char* writeFailure);
    std::vector<std::string> userAddresses_;
    std::vector<std::string> userSpecifiedAddresses_;
    std::vector<std::string> friendDomains_;
    std::string vendorDomain_;

    // [inbox: private members]
    // A contents table of the Inbox, opened read-only, with these columns; failures raise
    // MAPIException with operation + tableFailure, or operation + ": SetColumns failed".
    ComPtr<IMAPITable> OpenInboxTable(const ULONG* tags, ULONG count, const std::string& operation,
                                      const char* tableFailure);
    // Opens the message, sets its "OV-ThreadScore" to score and saves it; MAPIException with
    // the operation's failure texts.
    void WriteThreadScore(const EntryId& message, SPropValue score, const std::string& operation);
    // Resets, in memory, the counters of the registered thread a row's thread id names.
    void ResetThreadOfRow(const SPropValue& threadId);
    // [statistics: private members]
    bool statisticsStoreWrite_ = false;
    // The counters were read from this session's store; only then does SaveStatistics write.
    bool statisticsLoaded_ = false;

    IMAPIAdvise* adviseCallback_ = nullptr;
    ULONG_PTR mailConnection_ = 0;
    ULONG_PTR appConnection_ = 0;
};
