// Store notifications for the add-in: one sink per store, advised for the events each store's
// role needs.
#include "CMAPIAdviseSink.h"
#include "COutlookContext.h"
#include "store_failures.h"

using namespace store_failures;

namespace {

// Advises store with a new sink over callback; returns the connection.
ULONG_PTR AdviseStore(IMsgStore* store, IMAPIAdvise* callback, ULONG events) {
    ComPtr<CMAPIAdviseSink> sink;
    sink.Attach(new CMAPIAdviseSink(callback, store));
    ULONG_PTR connection = 0;
    CheckMapi(store->Advise(0, nullptr, events, sink.Get(), &connection), store,
              "RegisterMAPIAdvise: failed advise");
    return connection;
}

}  // namespace

void COutlookContext::RegisterMAPIAdvise(IMAPIAdvise* callback) {
    adviseCallback_ = callback;
    const bool oneStore = IsSameStore(datastoreEID_, appDatastoreEID_);
    // With topic folders in another store, messages arriving in the mail store by copy or move
    // matter too; with one store the application store's sink sees those.
    mailConnection_ = AdviseStore(
        mailStore_.Get(), callback,
        oneStore ? fnevNewMail
                 : fnevNewMail | fnevObjectCreated | fnevObjectMoved | fnevObjectCopied);
    appConnection_ = AdviseStore(appStore_.Get(), callback,
                                 fnevObjectCreated | fnevObjectDeleted | fnevObjectModified |
                                     fnevObjectMoved | fnevObjectCopied);
}

void COutlookContext::UnregisterMAPIAdvise() {
    if (mailConnection_) {
        mailStore_->Unadvise(mailConnection_);
        mailConnection_ = 0;
    }
    if (appConnection_) {
        appStore_->Unadvise(appConnection_);
        appConnection_ = 0;
    }
}
