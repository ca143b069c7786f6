// IMAPISession over a profile: its stores table, opening stores and entries by entry id.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "com_object.h"
#include "mapi_error.h"
#include "mapix.h"
#include "profile.h"
#include "store_database.h"

namespace orvella::platform::mapi::store {

// A session may be used from any thread; opened store files are shared across its calls.
class Session final : public ComObject<IMAPISession> {
public:
    Session(std::string profile, std::vector<ProfileStore> stores);

    HRESULT GetLastError(HRESULT, ULONG, LPMAPIERROR* error) override {
        std::lock_guard lock(mutex_);
        return last_error_.Report(error);
    }
    HRESULT GetMsgStoresTable(ULONG flags, LPMAPITABLE* table) override;
    HRESULT OpenMsgStore(ULONG_PTR, ULONG cb, LPENTRYID entry_id, LPCIID, ULONG flags,
                         LPMDB* store) override;
    // The profile's address book (address_book.h); AB_NO_DIALOG or not, no dialog is shown.
    HRESULT OpenAddressBook(ULONG_PTR, LPCIID, ULONG, LPADRBOOK* book) override;
    HRESULT OpenProfileSection(LPMAPIUID, LPCIID, ULONG, LPPROFSECT*) override {
        return MAPI_E_NO_SUPPORT;
    }
    // The profile's status rows (status_table.h).
    HRESULT GetStatusTable(ULONG flags, LPMAPITABLE* table) override;
    HRESULT OpenEntry(ULONG cb, LPENTRYID entry_id, LPCIID iid, ULONG flags, ULONG* type,
                      LPUNKNOWN* out) override;
    HRESULT CompareEntryIDs(ULONG cb1, LPENTRYID id1, ULONG cb2, LPENTRYID id2, ULONG flags,
                            ULONG* result) override;
    HRESULT Advise(ULONG, LPENTRYID, ULONG, LPMAPIADVISESINK, ULONG_PTR*) override {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT Unadvise(ULONG_PTR) override { return MAPI_E_NO_SUPPORT; }
    HRESULT MessageOptions(ULONG_PTR, ULONG, LPTSTR, LPMESSAGE) override {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT QueryDefaultMessageOpt(LPTSTR, ULONG, ULONG*, LPSPropValue*) override {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT EnumAdrTypes(ULONG, ULONG*, LPTSTR**) override { return MAPI_E_NO_SUPPORT; }
    HRESULT QueryIdentity(ULONG*, LPENTRYID*) override { return MAPI_E_NO_SUPPORT; }
    HRESULT Logoff(ULONG_PTR, ULONG, ULONG) override { return S_OK; }
    HRESULT SetDefaultStore(ULONG, ULONG, LPENTRYID) override { return MAPI_E_NO_SUPPORT; }
    HRESULT AdminServices(ULONG, LPSERVICEADMIN*) override { return MAPI_E_NO_SUPPORT; }
    HRESULT ShowForm(ULONG_PTR, LPMDB, LPMAPIFOLDER, LPCIID, ULONG, LPMESSAGE, ULONG, ULONG, ULONG,
                     ULONG, LPSTR) override {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT PrepareForm(LPCIID, LPMESSAGE, ULONG*) override { return MAPI_E_NO_SUPPORT; }

    const std::string& profile() const { return profile_; }

protected:
    bool Supports(REFIID riid) const override { return AnyOf(riid, {&IID_IMAPISession}); }

private:
    // The open store file of the profile's store with this uid; null when the profile has none.
    // Kept open for the session, so that opening entries does not reopen files.
    std::shared_ptr<StoreDatabase> StoreFor(const GUID& uid);

    std::string profile_;
    std::vector<ProfileStore> stores_;
    std::vector<std::shared_ptr<StoreDatabase>> opened_;  // by index in stores_
    std::mutex mutex_;
    LastError last_error_;
};

}  // namespace orvella::platform::mapi::store
