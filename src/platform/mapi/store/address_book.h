// The session's address book: a root container listing the profile's address-book containers
// (the directory's "Global Address List" when the profile has a directory, and "Contacts"),
// their contents, and the directory's mail users.
#pragma once

#include <string>

#include "com_object.h"
#include "fixed_properties.h"
#include "mapiprop.h"
#include "mapix.h"

namespace orvella::platform::mapi::store {

inline constexpr const char* kDirectoryContainerName = "Global Address List";
inline constexpr const char* kContactsContainerName = "Contacts";

// Opens an address-book object by entry id for `profile`: a null entry id the root container,
// else a container (MAPI_ABCONT, IABContainer) or a mail user (MAPI_MAILUSER, IMailUser).
// MAPI_E_UNKNOWN_ENTRYID for bytes the address book did not make (or a directory container of
// a profile without a directory), MAPI_E_NOT_FOUND for a mail user that is gone. Objects are
// read-only: every change is MAPI_E_NO_ACCESS. Values are read when the object is opened; a
// contents table holds the entries of the moment it was opened. Any thread may call it.
HRESULT OpenAddressBookEntry(const std::string& profile, ULONG cb, const ENTRYID* entry_id,
                             ULONG* type, LPUNKNOWN* out);

// IAddrBook over one profile's containers. OpenEntry and CompareEntryIDs take address-book
// entry ids (CompareEntryIDs: MAPI_E_UNKNOWN_ENTRYID for others); GetDefaultDir gives the
// directory's container when the profile has one, else "Contacts"; GetPAB gives "Contacts";
// GetSearchPath lists the containers with PR_ENTRYID and PR_DISPLAY_NAME_A. Dialogs, one-off
// and new entries, name resolution and changing the defaults are MAPI_E_NO_SUPPORT. One object
// is used by one thread at a time.
class AddressBook final : public ComObject<IAddrBook> {
public:
    explicit AddressBook(std::string profile);

    ORVELLA_FIXED_MAPIPROP(props_)

    HRESULT OpenEntry(ULONG cb, LPENTRYID entry_id, LPCIID, ULONG, ULONG* type,
                      LPUNKNOWN* out) override {
        return OpenAddressBookEntry(profile_, cb, entry_id, type, out);
    }
    HRESULT CompareEntryIDs(ULONG cb1, LPENTRYID id1, ULONG cb2, LPENTRYID id2, ULONG flags,
                            ULONG* result) override;
    HRESULT Advise(ULONG, LPENTRYID, ULONG, LPMAPIADVISESINK, ULONG_PTR*) override {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT Unadvise(ULONG_PTR) override { return MAPI_E_NO_SUPPORT; }
    HRESULT CreateOneOff(LPTSTR, LPTSTR, LPTSTR, ULONG, ULONG*, LPENTRYID*) override {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT NewEntry(ULONG_PTR, ULONG, ULONG, LPENTRYID, ULONG, LPENTRYID, ULONG*,
                     LPENTRYID*) override {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT ResolveName(ULONG_PTR, ULONG, LPTSTR, LPADRLIST) override { return MAPI_E_NO_SUPPORT; }
    HRESULT Address(ULONG_PTR*, LPADRPARM, LPADRLIST*) override { return MAPI_E_NO_SUPPORT; }
    HRESULT Details(ULONG_PTR*, LPFNDISMISS, LPVOID, ULONG, LPENTRYID, LPFNBUTTON, LPVOID, LPTSTR,
                    ULONG) override {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT RecipOptions(ULONG_PTR, ULONG, LPADRENTRY) override { return MAPI_E_NO_SUPPORT; }
    HRESULT QueryDefaultRecipOpt(LPTSTR, ULONG, ULONG*, LPSPropValue*) override {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT GetPAB(ULONG* cb, LPENTRYID* entry_id) override;
    HRESULT SetPAB(ULONG, LPENTRYID) override { return MAPI_E_NO_SUPPORT; }
    HRESULT GetDefaultDir(ULONG* cb, LPENTRYID* entry_id) override;
    HRESULT SetDefaultDir(ULONG, LPENTRYID) override { return MAPI_E_NO_SUPPORT; }
    HRESULT GetSearchPath(ULONG flags, LPSRowSet* rows) override;
    HRESULT SetSearchPath(ULONG, LPSRowSet) override { return MAPI_E_NO_SUPPORT; }
    HRESULT PrepareRecips(ULONG, LPSPropTagArray, LPADRLIST) override { return MAPI_E_NO_SUPPORT; }

protected:
    bool Supports(REFIID riid) const override {
        return AnyOf(riid, {&IID_IAddrBook, &IID_IMAPIProp});
    }

private:
    std::string profile_;
    bool has_directory_;
    FixedProperties props_;
};

}  // namespace orvella::platform::mapi::store
