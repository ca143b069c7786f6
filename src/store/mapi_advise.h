// IMAPIAdvise: how store notifications about messages and folders reach the add-in. The store
// session's sinks call it on MAPI's notification thread; entry ids are valid only for the call.
// The context is the store the notification came from (an IMsgStore*), handed back unchanged.
#pragma once

#include "mapidefs.h"

class IMAPIAdvise {
public:
    virtual ~IMAPIAdvise() = default;
    virtual void OnNewMail(ULONG cbEntryID, LPENTRYID lpEntryID) = 0;
    virtual void OnMessageCreated(LPVOID context, ULONG cbEntryID, LPENTRYID lpEntryID,
                                  ULONG cbParentID, LPENTRYID lpParentID) = 0;
    virtual void OnMessageMoved(LPVOID context, ULONG cbEntryID, LPENTRYID lpEntryID,
                                ULONG cbParentID, LPENTRYID lpParentID, ULONG cbOldParentID,
                                LPENTRYID lpOldParentID) = 0;
    virtual void OnMessageCopied(LPVOID context, ULONG cbEntryID, LPENTRYID lpEntryID,
                                 ULONG cbParentID, LPENTRYID lpParentID, ULONG cbOldParentID,
                                 LPENTRYID lpOldParentID) = 0;
    virtual void OnFolderCreated(LPVOID context, ULONG cbEntryID, LPENTRYID lpEntryID,
                                 ULONG cbParentID, LPENTRYID lpParentID) = 0;
    virtual void OnFolderModified(LPVOID context, ULONG cbEntryID, LPENTRYID lpEntryID) = 0;
    virtual void OnFolderDeleted(LPVOID context, ULONG cbEntryID, LPENTRYID lpEntryID,
                                 ULONG cbParentID, LPENTRYID lpParentID) = 0;
    virtual void OnFolderMoved(LPVOID context, ULONG cbEntryID, LPENTRYID lpEntryID,
                               ULONG cbParentID, LPENTRYID lpParentID, ULONG cbOldParentID,
                               LPENTRYID lpOldParentID) = 0;
};
