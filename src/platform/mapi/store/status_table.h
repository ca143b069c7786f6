// The session's status table: one row for each part of the profile (the MAPI subsystem, the
// address book and its providers, each message store, and an Exchange-like profile's transport).
#pragma once

#include <string>
#include <vector>

#include "mapidefs.h"
#include "profile.h"

namespace orvella::platform::mapi::store {

// Opens the status table of `profile`, whose stores are `stores`. Every row has PR_ROWID,
// PR_OBJECT_TYPE (MAPI_STATUS), PR_RESOURCE_TYPE, PR_DISPLAY_NAME_A, PR_PROVIDER_DISPLAY_A,
// PR_RESOURCE_FLAGS, PR_RESOURCE_METHODS (0: status objects are not opened here),
// PR_STATUS_CODE (STATUS_AVAILABLE) and PR_STATUS_STRING_A ("Available"). When the profile records
// its user's directory entry, the subsystem row and the Exchange-like transport row
// (STATUS_PRIMARY_IDENTITY) carry PR_IDENTITY_ENTRYID (the entry, which the session and the address
// book open), PR_IDENTITY_DISPLAY_A and PR_IDENTITY_SEARCH_KEY; otherwise no row has them and the
// subsystem row has STATUS_NO_PRIMARY_IDENTITY. Failures: StoreFailure codes (MAPI_E_NOT_FOUND for
// a profile that is gone, SQLite failures), MAPI_E_NOT_ENOUGH_MEMORY.
HRESULT OpenStatusTable(const std::string& profile, const std::vector<ProfileStore>& stores,
                        LPMAPITABLE* table);

}  // namespace orvella::platform::mapi::store
