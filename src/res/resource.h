// The add-in's string table: every text a user sees, by resource id, as the module's string
// resources hold them.
#pragma once

#include <string>

#include "windef.h"

#define IDS_SETTINGS_KEY 101          // the settings key below HKEY_CURRENT_USER
#define IDS_PRODUCT_NAME 102          // caption of every message box
#define IDS_VENDOR_DOMAIN 103         // the product's own mail domain
#define IDS_CONTACTS_FOLDER 104       // the add-in's contacts folder, below the default one
#define IDS_APP_DATASTORE_FAILED 106  // the topic-folder store could not be opened

#define IDS_DEFAULT_PRIORITY 500        // chooser entry: leave the priority as it is
#define IDS_MESSAGE_PRIORITY_FIRST 501  // "Very Low" .. "Very High": 501..505
#define IDS_MESSAGE_PRIORITY_LABEL 506
#define IDS_CONTACT_PRIORITY_FIRST 510  // "Junk" .. "Very High": 510..514
#define IDS_CONTACT_PRIORITY_LABEL 515

namespace orvella::res {

// The text of string resource id; empty for an id the table does not hold, as LoadString
// gives nothing for a missing resource.
std::string LoadResString(UINT id);

}  // namespace orvella::res
