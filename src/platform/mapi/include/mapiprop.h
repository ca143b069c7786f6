// IMAPIProp and the objects built on it (stores, folders, messages, attachments, address-book
// containers and entries, status objects), plus IMAPIProgress. Part of mapidefs.h.
#pragma once

#include "mapidefs.h"

// IMsgStore::SetLockState
#define MSG_LOCKED ((ULONG)0x00000001)
#define MSG_UNLOCKED ((ULONG)0x00000000)

// IMAPIProgress::GetFlags
#define MAPI_TOP_LEVEL ((ULONG)0x00000001)

// IMAPIStatus::ValidateState, FlushQueues
#define SUPPRESS_UI ((ULONG)0x00000001)
#define REFRESH_XP_HEADER_CACHE ((ULONG)0x00010000)
#define PROCESS_XP_HEADER_CACHE ((ULONG)0x00020000)
#define FORCE_XP_CONNECT ((ULONG)0x00040000)
#define FORCE_XP_DISCONNECT ((ULONG)0x00080000)
#define CONFIG_CHANGED ((ULONG)0x00100000)
#define ABORT_XP_HEADER_OPERATION ((ULONG)0x00200000)
#define SHOW_XP_SESSION_UI ((ULONG)0x00400000)
#define FLUSH_UPLOAD ((ULONG)0x00000002)
#define FLUSH_DOWNLOAD ((ULONG)0x00000004)
#define FLUSH_FORCE ((ULONG)0x00000008)
#define FLUSH_NO_UI ((ULONG)0x00000010)
#define FLUSH_ASYNC_OK ((ULONG)0x00000020)

// Reports the progress of long copies and deletions.
class IMAPIProgress : public IUnknown {
public:
    virtual HRESULT Progress(ULONG ulValue, ULONG ulCount, ULONG ulTotal) = 0;
    virtual HRESULT GetFlags(ULONG* lpulFlags) = 0;
    virtual HRESULT GetMax(ULONG* lpulMax) = 0;
    virtual HRESULT GetMin(ULONG* lpulMin) = 0;
    virtual HRESULT SetLimits(ULONG* lpulMin, ULONG* lpulMax, ULONG* lpulFlags) = 0;
};

// An object with properties. Contract of the whole family:
// - Every array, value and string an object returns is one MAPI buffer (MAPIAllocateBuffer with
//   its parts chained by MAPIAllocateMore) that the caller frees with MAPIFreeBuffer.
// - GetProps returns S_OK when every value was read and MAPI_W_ERRORS_RETURNED when some came
//   back as PT_ERROR (MAPI_E_NOT_FOUND for a missing property, MAPI_E_NOT_ENOUGH_MEMORY for a
//   value too large for a table or a read; open those with OpenProperty).
// - Changes are kept on the object until SaveChanges, which commits them at once or not at all
//   (MAPI_E_OBJECT_CHANGED or MAPI_E_OBJECT_DELETED when someone else changed or deleted it).
// - Failures carry details through GetLastError.
class IMAPIProp : public IUnknown {
public:
    virtual HRESULT GetLastError(HRESULT hResult, ULONG ulFlags, LPMAPIERROR* lppMAPIError) = 0;
    virtual HRESULT SaveChanges(ULONG ulFlags) = 0;
    virtual HRESULT GetProps(LPSPropTagArray lpPropTagArray, ULONG ulFlags, ULONG* lpcValues,
                             LPSPropValue* lppPropArray) = 0;
    virtual HRESULT GetPropList(ULONG ulFlags, LPSPropTagArray* lppPropTagArray) = 0;
    virtual HRESULT OpenProperty(ULONG ulPropTag, LPCIID lpiid, ULONG ulInterfaceOptions,
                                 ULONG ulFlags, LPUNKNOWN* lppUnk) = 0;
    virtual HRESULT SetProps(ULONG cValues, LPSPropValue lpPropArray,
                             LPSPropProblemArray* lppProblems) = 0;
    virtual HRESULT DeleteProps(LPSPropTagArray lpPropTagArray,
                                LPSPropProblemArray* lppProblems) = 0;
    virtual HRESULT CopyTo(ULONG ciidExclude, LPCIID rgiidExclude, LPSPropTagArray lpExcludeProps,
                           ULONG_PTR ulUIParam, LPMAPIPROGRESS lpProgress, LPCIID lpInterface,
                           LPVOID lpDestObj, ULONG ulFlags, LPSPropProblemArray* lppProblems) = 0;
    virtual HRESULT CopyProps(LPSPropTagArray lpIncludeProps, ULONG_PTR ulUIParam,
                              LPMAPIPROGRESS lpProgress, LPCIID lpInterface, LPVOID lpDestObj,
                              ULONG ulFlags, LPSPropProblemArray* lppProblems) = 0;
    virtual HRESULT GetNamesFromIDs(LPSPropTagArray* lppPropTags, LPGUID lpPropSetGuid,
                                    ULONG ulFlags, ULONG* lpcPropNames,
                                    LPMAPINAMEID** lpppPropNames) = 0;
    virtual HRESULT GetIDsFromNames(ULONG cPropNames, LPMAPINAMEID* lppPropNames, ULONG ulFlags,
                                    LPSPropTagArray* lppPropTags) = 0;
};

// Folders and address-book containers: their tables and the objects inside them.
class IMAPIContainer : public IMAPIProp {
public:
    virtual HRESULT GetContentsTable(ULONG ulFlags, LPMAPITABLE* lppTable) = 0;
    virtual HRESULT GetHierarchyTable(ULONG ulFlags, LPMAPITABLE* lppTable) = 0;
    virtual HRESULT OpenEntry(ULONG cbEntryID, LPENTRYID lpEntryID, LPCIID lpInterface,
                              ULONG ulFlags, ULONG* lpulObjType, LPUNKNOWN* lppUnk) = 0;
    virtual HRESULT SetSearchCriteria(LPSRestriction lpRestriction, LPENTRYLIST lpContainerList,
                                      ULONG ulSearchFlags) = 0;
    virtual HRESULT GetSearchCriteria(ULONG ulFlags, LPSRestriction* lppRestriction,
                                      LPENTRYLIST* lppContainerList, ULONG* lpulSearchState) = 0;
};

class IMAPIFolder : public IMAPIContainer {
public:
    virtual HRESULT CreateMessage(LPCIID lpInterface, ULONG ulFlags, LPMESSAGE* lppMessage) = 0;
    virtual HRESULT CopyMessages(LPENTRYLIST lpMsgList, LPCIID lpInterface, LPVOID lpDestFolder,
                                 ULONG_PTR ulUIParam, LPMAPIPROGRESS lpProgress, ULONG ulFlags) = 0;
    virtual HRESULT DeleteMessages(LPENTRYLIST lpMsgList, ULONG_PTR ulUIParam,
                                   LPMAPIPROGRESS lpProgress, ULONG ulFlags) = 0;
    virtual HRESULT CreateFolder(ULONG ulFolderType, LPTSTR lpszFolderName,
                                 LPTSTR lpszFolderComment, LPCIID lpInterface, ULONG ulFlags,
                                 LPMAPIFOLDER* lppFolder) = 0;
    virtual HRESULT CopyFolder(ULONG cbEntryID, LPENTRYID lpEntryID, LPCIID lpInterface,
                               LPVOID lpDestFolder, LPTSTR lpszNewFolderName, ULONG_PTR ulUIParam,
                               LPMAPIPROGRESS lpProgress, ULONG ulFlags) = 0;
    virtual HRESULT DeleteFolder(ULONG cbEntryID, LPENTRYID lpEntryID, ULONG_PTR ulUIParam,
                                 LPMAPIPROGRESS lpProgress, ULONG ulFlags) = 0;
    virtual HRESULT SetReadFlags(LPENTRYLIST lpMsgList, ULONG_PTR ulUIParam,
                                 LPMAPIPROGRESS lpProgress, ULONG ulFlags) = 0;
    virtual HRESULT GetMessageStatus(ULONG cbEntryID, LPENTRYID lpEntryID, ULONG ulFlags,
                                     ULONG* lpulMessageStatus) = 0;
    virtual HRESULT SetMessageStatus(ULONG cbEntryID, LPENTRYID lpEntryID, ULONG ulNewStatus,
                                     ULONG ulNewStatusMask, ULONG* lpulOldStatus) = 0;
    virtual HRESULT SaveContentsSort(LPSSortOrderSet lpSortCriteria, ULONG ulFlags) = 0;
    virtual HRESULT EmptyFolder(ULONG_PTR ulUIParam, LPMAPIPROGRESS lpProgress, ULONG ulFlags) = 0;
};

class IMessage : public IMAPIProp {
public:
    virtual HRESULT GetAttachmentTable(ULONG ulFlags, LPMAPITABLE* lppTable) = 0;
    virtual HRESULT OpenAttach(ULONG ulAttachmentNum, LPCIID lpInterface, ULONG ulFlags,
                               LPATTACH* lppAttach) = 0;
    virtual HRESULT CreateAttach(LPCIID lpInterface, ULONG ulFlags, ULONG* lpulAttachmentNum,
                                 LPATTACH* lppAttach) = 0;
    virtual HRESULT DeleteAttach(ULONG ulAttachmentNum, ULONG_PTR ulUIParam,
                                 LPMAPIPROGRESS lpProgress, ULONG ulFlags) = 0;
    virtual HRESULT GetRecipientTable(ULONG ulFlags, LPMAPITABLE* lppTable) = 0;
    virtual HRESULT ModifyRecipients(ULONG ulFlags, LPADRLIST lpMods) = 0;
    virtual HRESULT SubmitMessage(ULONG ulFlags) = 0;
    virtual HRESULT SetReadFlag(ULONG ulFlags) = 0;
};

class IAttach : public IMAPIProp {};

// A message store. Advise delivers the fnev... events of the whole store (lpEntryID null) or
// of one object; the connection number it returns is what Unadvise takes.
class IMsgStore : public IMAPIProp {
public:
    virtual HRESULT Advise(ULONG cbEntryID, LPENTRYID lpEntryID, ULONG ulEventMask,
                           LPMAPIADVISESINK lpAdviseSink, ULONG_PTR* lpulConnection) = 0;
    virtual HRESULT Unadvise(ULONG_PTR ulConnection) = 0;
    virtual HRESULT CompareEntryIDs(ULONG cbEntryID1, LPENTRYID lpEntryID1, ULONG cbEntryID2,
                                    LPENTRYID lpEntryID2, ULONG ulFlags, ULONG* lpulResult) = 0;
    virtual HRESULT OpenEntry(ULONG cbEntryID, LPENTRYID lpEntryID, LPCIID lpInterface,
                              ULONG ulFlags, ULONG* lpulObjType, LPUNKNOWN* lppUnk) = 0;
    virtual HRESULT SetReceiveFolder(LPTSTR lpszMessageClass, ULONG ulFlags, ULONG cbEntryID,
                                     LPENTRYID lpEntryID) = 0;
    virtual HRESULT GetReceiveFolder(LPTSTR lpszMessageClass, ULONG ulFlags, ULONG* lpcbEntryID,
                                     LPENTRYID* lppEntryID, LPTSTR* lppszExplicitClass) = 0;
    virtual HRESULT GetReceiveFolderTable(ULONG ulFlags, LPMAPITABLE* lppTable) = 0;
    virtual HRESULT StoreLogoff(ULONG* lpulFlags) = 0;
    virtual HRESULT AbortSubmit(ULONG cbEntryID, LPENTRYID lpEntryID, ULONG ulFlags) = 0;
    virtual HRESULT GetOutgoingQueue(ULONG ulFlags, LPMAPITABLE* lppTable) = 0;
    virtual HRESULT SetLockState(LPMESSAGE lpMessage, ULONG ulLockState) = 0;
    virtual HRESULT FinishedMsg(ULONG ulFlags, ULONG cbEntryID, LPENTRYID lpEntryID) = 0;
    virtual HRESULT NotifyNewMail(LPNOTIFICATION lpNotification) = 0;
};

class IMAPIStatus : public IMAPIProp {
public:
    virtual HRESULT ValidateState(ULONG_PTR ulUIParam, ULONG ulFlags) = 0;
    virtual HRESULT SettingsDialog(ULONG_PTR ulUIParam, ULONG ulFlags) = 0;
    virtual HRESULT ChangePassword(LPTSTR lpOldPass, LPTSTR lpNewPass, ULONG ulFlags) = 0;
    virtual HRESULT FlushQueues(ULONG_PTR ulUIParam, ULONG cbTargetTransport,
                                LPENTRYID lpTargetTransport, ULONG ulFlags) = 0;
};

class IProfSect : public IMAPIProp {};

class IMailUser : public IMAPIProp {};

class IABContainer : public IMAPIContainer {
public:
    virtual HRESULT CreateEntry(ULONG cbEntryID, LPENTRYID lpEntryID, ULONG ulCreateFlags,
                                LPMAPIPROP* lppMAPIPropEntry) = 0;
    virtual HRESULT CopyEntries(LPENTRYLIST lpEntries, ULONG_PTR ulUIParam,
                                LPMAPIPROGRESS lpProgress, ULONG ulFlags) = 0;
    virtual HRESULT DeleteEntries(LPENTRYLIST lpEntries, ULONG ulFlags) = 0;
    virtual HRESULT ResolveNames(LPSPropTagArray lpPropTagArray, ULONG ulFlags, LPADRLIST lpAdrList,
                                 LPFlagList lpFlagList) = 0;
};
