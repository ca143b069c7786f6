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

#define IDS_STATISTICS_CAPTION 700     // the statistics dialog
#define IDS_STATISTICS_ANALYZED 701    // "Total Messages Analyzed:"
#define IDS_STATISTICS_IMPORTANCE 702  // heading of the score bands
#define IDS_STATISTICS_BAND_FIRST 703  // "High" .. "Low": 703..707
#define IDS_STATISTICS_AUTOASSIGN 708  // heading of the rule counters
#define IDS_STATISTICS_TOPICS 709      // "Topics Assigned"
#define IDS_STATISTICS_FILED 710       // "Messages Filed"
#define IDS_STATISTICS_PRIORITIES 711  // "Priorities Assigned"

namespace orvella::res {

// The text of string resource id; empty for an id the table does not hold, as LoadString
// gives nothing for a missing resource.
std::string LoadResString(UINT id);

}  // namespace orvella::res
