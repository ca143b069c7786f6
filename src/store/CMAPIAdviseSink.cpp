// Store notifications turned into IMAPIAdvise calls.
#include "CMAPIAdviseSink.h"

#include "mapicode.h"

CMAPIAdviseSink::CMAPIAdviseSink(IMAPIAdvise* advise, LPVOID context)
    : advise_(advise), context_(context) {}

HRESULT CMAPIAdviseSink::QueryInterface(REFIID riid, void** ppvObject) {
    if (!ppvObject) return E_POINTER;
    if (riid == IID_IUnknown) {
        AddRef();
        *ppvObject = static_cast<IUnknown*>(this);
        return S_OK;
    }
    *ppvObject = nullptr;
    return E_NOINTERFACE;
}

ULONG CMAPIAdviseSink::AddRef() {
    return ++references_;
}

ULONG CMAPIAdviseSink::Release() {
    ULONG left = --references_;
    if (left == 0) delete this;
    return left;
}

ULONG CMAPIAdviseSink::OnNotify(ULONG cNotif, LPNOTIFICATION lpNotifications) {
    for (ULONG i = 0; i < cNotif; ++i) Dispatch(lpNotifications[i]);
    return 0;
}

void CMAPIAdviseSink::Dispatch(const NOTIFICATION& n) {
    if (n.ulEventType == fnevNewMail) {
        advise_->OnNewMail(n.info.newmail.cbEntryID, n.info.newmail.lpEntryID);
        return;
    }
    const OBJECT_NOTIFICATION& o = n.info.obj;
    if (o.ulObjType == MAPI_MESSAGE) {
        switch (n.ulEventType) {
            case fnevObjectCreated:
                advise_->OnMessageCreated(context_, o.cbEntryID, o.lpEntryID, o.cbParentID,
                                          o.lpParentID);
                break;
            case fnevObjectMoved:
                advise_->OnMessageMoved(context_, o.cbEntryID, o.lpEntryID, o.cbParentID,
                                        o.lpParentID, o.cbOldParentID, o.lpOldParentID);
                break;
            case fnevObjectCopied:
                advise_->OnMessageCopied(context_, o.cbEntryID, o.lpEntryID, o.cbParentID,
                                         o.lpParentID, o.cbOldParentID, o.lpOldParentID);
                break;
            default:
                break;
        }
    } else if (o.ulObjType == MAPI_FOLDER) {
        switch (n.ulEventType) {
            case fnevObjectCreated:
                advise_->OnFolderCreated(context_, o.cbEntryID, o.lpEntryID, o.cbParentID,
                                         o.lpParentID);
                break;
            case fnevObjectModified:
                advise_->OnFolderModified(context_, o.cbEntryID, o.lpEntryID);
                break;
            case fnevObjectDeleted:
                advise_->OnFolderDeleted(context_, o.cbEntryID, o.lpEntryID, o.cbParentID,
                                         o.lpParentID);
                break;
            case fnevObjectMoved:
                advise_->OnFolderMoved(context_, o.cbEntryID, o.lpEntryID, o.cbParentID,
                                       o.lpParentID, o.cbOldParentID, o.lpOldParentID);
                break;
            default:
                break;
        }
    }
}
