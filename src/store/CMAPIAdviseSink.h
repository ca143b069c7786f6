// CMAPIAdviseSink: MAPI's advise sink over an IMAPIAdvise, one per advised store. It turns each
// notification about a message or folder into the matching IMAPIAdvise call, in array order,
// and ignores every other event and object type.
#pragma once

#include <atomic>

#include "mapi_advise.h"
#include "mapinotify.h"

class CMAPIAdviseSink : public IMAPIAdviseSink {
public:
    // Starts with one reference, which the creator owns. advise must outlive the sink's
    // registration; context is handed back with every call.
    CMAPIAdviseSink(IMAPIAdvise* advise, LPVOID context);

    // Answers IID_IUnknown only.
    HRESULT QueryInterface(REFIID riid, void** ppvObject) override;
    ULONG AddRef() override;
    ULONG Release() override;
    ULONG OnNotify(ULONG cNotif, LPNOTIFICATION lpNotifications) override;

private:
    virtual ~CMAPIAdviseSink() = default;
    void Dispatch(const NOTIFICATION& notification);

    std::atomic<ULONG> references_{1};
    IMAPIAdvise* advise_;
    LPVOID context_;
};
