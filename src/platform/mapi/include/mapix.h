// Extended MAPI's entry points: initialisation, logon, the session and the address book, and
// the MAPI memory allocator.
#pragma once

#include "mapicode.h"
#include "mapidefs.h"
#include "mapiguid.h"
#include "mapitags.h"

class IMAPISession;
class IAddrBook;
class IMsgServiceAdmin;
typedef IMAPISession* LPMAPISESSION;
typedef IAddrBook* LPADRBOOK;
typedef IMsgServiceAdmin* LPSERVICEADMIN;

// ---------------------------------------------------------------------------------------------
// Initialisation and logon.

#define MAPI_INIT_VERSION 0

// MAPIINIT_0.ulFlags
#define MAPI_MULTITHREAD_NOTIFICATIONS ((ULONG)0x00000001)
#define MAPI_NO_COINIT ((ULONG)0x00000008)

typedef struct {
    ULONG ulVersion;
    ULONG ulFlags;
} MAPIINIT_0, *LPMAPIINIT_0;

// MAPILogonEx
#define MAPI_LOGON_UI ((ULONG)0x00000001)
#define MAPI_NEW_SESSION ((ULONG)0x00000002)
#define MAPI_ALLOW_OTHERS ((ULONG)0x00000008)
#define MAPI_EXPLICIT_PROFILE ((ULONG)0x00000010)
#define MAPI_EXTENDED ((ULONG)0x00000020)
#define MAPI_USE_DEFAULT ((ULONG)0x00000040)
#define MAPI_FORCE_DOWNLOAD ((ULONG)0x00001000)
#define MAPI_SERVICE_UI_ALWAYS ((ULONG)0x00002000)
#define MAPI_NO_MAIL ((ULONG)0x00008000)
#define MAPI_NT_SERVICE ((ULONG)0x00010000)
#define MAPI_PASSWORD_UI ((ULONG)0x00020000)
#define MAPI_TIMEOUT_SHORT ((ULONG)0x00100000)
#define MAPI_BG_SESSION ((ULONG)0x00200000)

// IMAPISession::Logoff
#define MAPI_LOGOFF_SHARED ((ULONG)0x00000001)
#define MAPI_LOGOFF_UI ((ULONG)0x00000002)

// IMAPISession::SetDefaultStore
#define MAPI_DEFAULT_STORE ((ULONG)0x00000001)
#define MAPI_SIMPLE_STORE_TEMPORARY ((ULONG)0x00000002)
#define MAPI_SIMPLE_STORE_PERMANENT ((ULONG)0x00000003)
#define MAPI_PRIMARY_STORE ((ULONG)0x00000004)
#define MAPI_SECONDARY_STORE ((ULONG)0x00000005)

// IMAPISession::OpenAddressBook
#define AB_NO_DIALOG ((ULONG)0x00000001)

// IMAPIFormMgr::ResolveMessageClass
#define MAPIFORM_EXACTMATCH ((ULONG)0x00000020)

// These three come with the embedded store provider, which owns the profiles and sessions they
// open; they are declared here so the add-in compiles against this header alone.
// MAPIInitialize: pass a MAPIINIT_0 (or null); calls nest and each needs its MAPIUninitialize.
HRESULT MAPIInitialize(LPVOID lpMapiInit);
void MAPIUninitialize();
// MAPILogonEx: opens a session on the named profile (MAPI_USE_DEFAULT: the default one).
HRESULT MAPILogonEx(ULONG_PTR ulUIParam, LPTSTR lpszProfileName, LPTSTR lpszPassword, FLAGS flFlags,
                    LPMAPISESSION* lppSession);

// ---------------------------------------------------------------------------------------------
// The MAPI allocator. Any thread may call these.
//
// MAPIAllocateBuffer: a new buffer of cbSize bytes (uninitialised, aligned for any type), or
//   MAPI_E_NOT_ENOUGH_MEMORY; MAPI_E_INVALID_PARAMETER when lppBuffer is null.
// MAPIAllocateMore: a buffer linked to lpObject, a buffer from MAPIAllocateBuffer (a buffer
//   from MAPIAllocateMore is accepted and stands for its parent). It lives until the parent
//   is freed; MAPI_E_INVALID_PARAMETER when lpObject or lppBuffer is null.
// MAPIFreeBuffer: frees a buffer from MAPIAllocateBuffer and every buffer linked to it.
//   Null is ignored; so is a buffer from MAPIAllocateMore, which its parent owns. Returns S_OK.
SCODE MAPIAllocateBuffer(ULONG cbSize, LPVOID* lppBuffer);
SCODE MAPIAllocateMore(ULONG cbSize, LPVOID lpObject, LPVOID* lppBuffer);
ULONG MAPIFreeBuffer(LPVOID lpBuffer);

// ---------------------------------------------------------------------------------------------
// The session.

// Opening, comparing and watching entries by entry id: the same four methods, in this order,
// on the session and the address book.
#define ORVELLA_MAPI_ENTRY_METHODS                                                               \
    virtual HRESULT OpenEntry(ULONG cbEntryID, LPENTRYID lpEntryID, LPCIID lpInterface,          \
                              ULONG ulFlags, ULONG* lpulObjType, LPUNKNOWN* lppUnk) = 0;         \
    virtual HRESULT CompareEntryIDs(ULONG cbEntryID1, LPENTRYID lpEntryID1, ULONG cbEntryID2,    \
                                    LPENTRYID lpEntryID2, ULONG ulFlags, ULONG* lpulResult) = 0; \
    virtual HRESULT Advise(ULONG cbEntryID, LPENTRYID lpEntryID, ULONG ulEventMask,              \
                           LPMAPIADVISESINK lpAdviseSink, ULONG_PTR* lpulConnection) = 0;        \
    virtual HRESULT Unadvise(ULONG_PTR ulConnection) = 0;

// One user's logon to a profile: its message stores, address book and status objects.
// Entry ids from any of its stores may be compared and opened through the session.
class IMAPISession : public IUnknown {
public:
    virtual HRESULT GetLastError(HRESULT hResult, ULONG ulFlags, LPMAPIERROR* lppMAPIError) = 0;
    virtual HRESULT GetMsgStoresTable(ULONG ulFlags, LPMAPITABLE* lppTable) = 0;
    virtual HRESULT OpenMsgStore(ULONG_PTR ulUIParam, ULONG cbEntryID, LPENTRYID lpEntryID,
                                 LPCIID lpInterface, ULONG ulFlags, LPMDB* lppMDB) = 0;
    virtual HRESULT OpenAddressBook(ULONG_PTR ulUIParam, LPCIID lpInterface, ULONG ulFlags,
                                    LPADRBOOK* lppAdrBook) = 0;
    virtual HRESULT OpenProfileSection(LPMAPIUID lpUID, LPCIID lpInterface, ULONG ulFlags,
                                       LPPROFSECT* lppProfSect) = 0;
    virtual HRESULT GetStatusTable(ULONG ulFlags, LPMAPITABLE* lppTable) = 0;
    ORVELLA_MAPI_ENTRY_METHODS
    virtual HRESULT MessageOptions(ULONG_PTR ulUIParam, ULONG ulFlags, LPTSTR lpszAdrType,
                                   LPMESSAGE lpMessage) = 0;
    virtual HRESULT QueryDefaultMessageOpt(LPTSTR lpszAdrType, ULONG ulFlags, ULONG* lpcValues,
                                           LPSPropValue* lppOptions) = 0;
    virtual HRESULT EnumAdrTypes(ULONG ulFlags, ULONG* lpcAdrTypes, LPTSTR** lpppszAdrTypes) = 0;
    virtual HRESULT QueryIdentity(ULONG* lpcbEntryID, LPENTRYID* lppEntryID) = 0;
    virtual HRESULT Logoff(ULONG_PTR ulUIParam, ULONG ulFlags, ULONG ulReserved) = 0;
    virtual HRESULT SetDefaultStore(ULONG ulFlags, ULONG cbEntryID, LPENTRYID lpEntryID) = 0;
    virtual HRESULT AdminServices(ULONG ulFlags, LPSERVICEADMIN* lppServiceAdmin) = 0;
    virtual HRESULT ShowForm(ULONG_PTR ulUIParam, LPMDB lpMsgStore, LPMAPIFOLDER lpParentFolder,
                             LPCIID lpInterface, ULONG ulMessageToken, LPMESSAGE lpMessageSent,
                             ULONG ulFlags, ULONG ulMessageStatus, ULONG ulMessageFlags,
                             ULONG ulAccess, LPSTR lpszMessageClass) = 0;
    virtual HRESULT PrepareForm(LPCIID lpInterface, LPMESSAGE lpMessage,
                                ULONG* lpulMessageToken) = 0;
};

// ---------------------------------------------------------------------------------------------
// The address book.

// The address dialog is not offered on this platform; its parameter block stays opaque.
struct _ADRPARM;
typedef struct _ADRPARM* LPADRPARM;

typedef void DISMISSMODELESS(ULONG_PTR ulUIParam, LPVOID lpvContext);
typedef DISMISSMODELESS* LPFNDISMISS;
typedef SCODE BUTTONCALLBACK(ULONG_PTR ulUIParam, LPVOID lpvContext, ULONG cbEntryID,
                             LPENTRYID lpSelection, ULONG ulFlags);
typedef BUTTONCALLBACK* LPFNBUTTON;

// The merged view of the session's address-book providers.
class IAddrBook : public IMAPIProp {
public:
    ORVELLA_MAPI_ENTRY_METHODS
    virtual HRESULT CreateOneOff(LPTSTR lpszName, LPTSTR lpszAdrType, LPTSTR lpszAddress,
                                 ULONG ulFlags, ULONG* lpcbEntryID, LPENTRYID* lppEntryID) = 0;
    virtual HRESULT NewEntry(ULONG_PTR ulUIParam, ULONG ulFlags, ULONG cbEIDContainer,
                             LPENTRYID lpEIDContainer, ULONG cbEIDNewEntryTpl,
                             LPENTRYID lpEIDNewEntryTpl, ULONG* lpcbEIDNewEntry,
                             LPENTRYID* lppEIDNewEntry) = 0;
    virtual HRESULT ResolveName(ULONG_PTR ulUIParam, ULONG ulFlags, LPTSTR lpszNewEntryTitle,
                                LPADRLIST lpAdrList) = 0;
    virtual HRESULT Address(ULONG_PTR* lpulUIParam, LPADRPARM lpAdrParms,
                            LPADRLIST* lppAdrList) = 0;
    virtual HRESULT Details(ULONG_PTR* lpulUIParam, LPFNDISMISS lpfnDismiss,
                            LPVOID lpvDismissContext, ULONG cbEntryID, LPENTRYID lpEntryID,
                            LPFNBUTTON lpfButtonCallback, LPVOID lpvButtonContext,
                            LPTSTR lpszButtonText, ULONG ulFlags) = 0;
    virtual HRESULT RecipOptions(ULONG_PTR ulUIParam, ULONG ulFlags, LPADRENTRY lpRecip) = 0;
    virtual HRESULT QueryDefaultRecipOpt(LPTSTR lpszAdrType, ULONG ulFlags, ULONG* lpcValues,
                                         LPSPropValue* lppOptions) = 0;
    virtual HRESULT GetPAB(ULONG* lpcbEntryID, LPENTRYID* lppEntryID) = 0;
    virtual HRESULT SetPAB(ULONG cbEntryID, LPENTRYID lpEntryID) = 0;
    virtual HRESULT GetDefaultDir(ULONG* lpcbEntryID, LPENTRYID* lppEntryID) = 0;
    virtual HRESULT SetDefaultDir(ULONG cbEntryID, LPENTRYID lpEntryID) = 0;
    virtual HRESULT GetSearchPath(ULONG ulFlags, LPSRowSet* lppSearchPath) = 0;
    virtual HRESULT SetSearchPath(ULONG ulFlags, LPSRowSet lpSearchPath) = 0;
    virtual HRESULT PrepareRecips(ULONG ulFlags, LPSPropTagArray lpPropTagArray,
                                  LPADRLIST lpRecipList) = 0;
};

#undef ORVELLA_MAPI_ENTRY_METHODS
