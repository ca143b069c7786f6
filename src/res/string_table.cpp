// The texts of the add-in's string resources.
#include <map>

#include "resource.h"

namespace orvella::res {

namespace {

const std::map<UINT, const char*>& StringTable() {
    static const std::map<UINT, const char*> table = {
        {IDS_SETTINGS_KEY, "Software\\Orvella\\Vintor"},
        {IDS_PRODUCT_NAME, "Orvella"},
        {IDS_VENDOR_DOMAIN, "orvella.com"},
        {IDS_CONTACTS_FOLDER, "Orvella Contacts"},
        {IDS_APP_DATASTORE_FAILED,
         "Orvella was unable to open the datastore specified for storage of Topic Folders. "
         "Orvella will use the default datastore. Please correct this in menu item "
         "Tools->Options->Orvella->Configuration."},
        {IDS_DEFAULT_PRIORITY, "<Default>"},
        {IDS_MESSAGE_PRIORITY_FIRST + 0, "Very Low"},
        {IDS_MESSAGE_PRIORITY_FIRST + 1, "Low"},
        {IDS_MESSAGE_PRIORITY_FIRST + 2, "Normal"},
        {IDS_MESSAGE_PRIORITY_FIRST + 3, "High"},
        {IDS_MESSAGE_PRIORITY_FIRST + 4, "Very High"},
        {IDS_MESSAGE_PRIORITY_LABEL, "Priorit&y"},
        {IDS_CONTACT_PRIORITY_FIRST + 0, "Junk"},
        {IDS_CONTACT_PRIORITY_FIRST + 1, "Low"},
        {IDS_CONTACT_PRIORITY_FIRST + 2, "Normal"},
        {IDS_CONTACT_PRIORITY_FIRST + 3, "High"},
        {IDS_CONTACT_PRIORITY_FIRST + 4, "Very High"},
        {IDS_CONTACT_PRIORITY_LABEL, "Priority"},
        {IDS_STATISTICS_CAPTION, "Orvella Inbox Manager Statistics"},
        {IDS_STATISTICS_ANALYZED, "Total Messages Analyzed:"},
        {IDS_STATISTICS_IMPORTANCE, "Importance:"},
        {IDS_STATISTICS_BAND_FIRST + 0, "High"},
        {IDS_STATISTICS_BAND_FIRST + 1, "Medium"},
        {IDS_STATISTICS_BAND_FIRST + 2, "Normal"},
        {IDS_STATISTICS_BAND_FIRST + 3, "Default"},
        {IDS_STATISTICS_BAND_FIRST + 4, "Low"},
        {IDS_STATISTICS_AUTOASSIGN, "AutoAssign:"},
        {IDS_STATISTICS_TOPICS, "Topics Assigned"},
        {IDS_STATISTICS_FILED, "Messages Filed"},
        {IDS_STATISTICS_PRIORITIES, "Priorities Assigned"},
    };
    return table;
}

}  // namespace

std::string LoadResString(UINT id) {
    const auto& table = StringTable();
    auto found = table.find(id);
    return found == table.end() ? std::string() : found->second;
}

}  // namespace orvella::res
