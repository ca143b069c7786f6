// MAPI notifications: the event masks, the NOTIFICATION structure and its variants, and the
// IMAPIAdviseSink callback. Part of mapidefs.h.
#pragma once

#include "mapidefs.h"

// Event masks for Advise, and NOTIFICATION.ulEventType.
#define fnevCriticalError ((ULONG)0x00000001)
#define fnevNewMail ((ULONG)0x00000002)
#define fnevObjectCreated ((ULONG)0x00000004)
#define fnevObjectDeleted ((ULONG)0x00000008)
#define fnevObjectModified ((ULONG)0x00000010)
#define fnevObjectMoved ((ULONG)0x00000020)
#define fnevObjectCopied ((ULONG)0x00000040)
#define fnevSearchComplete ((ULONG)0x00000080)
#define fnevTableModified ((ULONG)0x00000100)
#define fnevStatusObjectModified ((ULONG)0x00000200)
#define fnevReservedForMapi ((ULONG)0x40000000)
#define fnevExtended ((ULONG)0x80000000)

// TABLE_NOTIFICATION.ulTableEvent
#define TABLE_CHANGED 1
#define TABLE_ERROR 2
#define TABLE_ROW_ADDED 3
#define TABLE_ROW_DELETED 4
#define TABLE_ROW_MODIFIED 5
#define TABLE_SORT_DONE 6
#define TABLE_RESTRICT_DONE 7
#define TABLE_SETCOL_DONE 8
#define TABLE_RELOAD 9

// OnNotify's return value.
#define CALLBACK_DISCONTINUE ((ULONG)0x00000080)

typedef struct _ERROR_NOTIFICATION {
    ULONG cbEntryID;
    LPENTRYID lpEntryID;
    SCODE scode;
    ULONG ulFlags;
    LPMAPIERROR lpMAPIError;
} ERROR_NOTIFICATION;

typedef struct _NEWMAIL_NOTIFICATION {
    ULONG cbEntryID;
    LPENTRYID lpEntryID;
    ULONG cbParentID;
    LPENTRYID lpParentID;
    ULONG ulFlags;
    LPTSTR lpszMessageClass;
    ULONG ulMessageFlags;
} NEWMAIL_NOTIFICATION;

// Created, deleted, modified, moved and copied objects. The old ids are set for moves and
// copies only.
typedef struct _OBJECT_NOTIFICATION {
    ULONG cbEntryID;
    LPENTRYID lpEntryID;
    ULONG ulObjType;
    ULONG cbParentID;
    LPENTRYID lpParentID;
    ULONG cbOldID;
    LPENTRYID lpOldID;
    ULONG cbOldParentID;
    LPENTRYID lpOldParentID;
    LPSPropTagArray lpPropTagArray;
} OBJECT_NOTIFICATION;

typedef struct _TABLE_NOTIFICATION {
    ULONG ulTableEvent;
    HRESULT hResult;
    SPropValue propIndex;
    SPropValue propPrior;
    SRow row;
    ULONG ulPad;
} TABLE_NOTIFICATION;

typedef struct _EXTENDED_NOTIFICATION {
    ULONG ulEvent;
    ULONG cb;
    LPBYTE pbEventParameters;
} EXTENDED_NOTIFICATION;

typedef struct _STATUS_OBJECT_NOTIFICATION {
    ULONG cbEntryID;
    LPENTRYID lpEntryID;
    ULONG cValues;
    LPSPropValue lpPropVals;
} STATUS_OBJECT_NOTIFICATION;

struct _NOTIFICATION {
    ULONG ulEventType;  // one fnev... bit; selects the member of info
    union {
        ERROR_NOTIFICATION err;
        NEWMAIL_NOTIFICATION newmail;
        OBJECT_NOTIFICATION obj;
        TABLE_NOTIFICATION tab;
        EXTENDED_NOTIFICATION ext;
        STATUS_OBJECT_NOTIFICATION statobj;
    } info;
};

// The callback an Advise registration calls. The notifications and everything they point to
// belong to the caller and are valid only during the call; OnNotify runs on the notifier's
// thread (the store's notification thread), never inside the store's locks.
class IMAPIAdviseSink : public IUnknown {
public:
    virtual ULONG OnNotify(ULONG cNotif, LPNOTIFICATION lpNotifications) = 0;
};
