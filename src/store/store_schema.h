// What the add-in keeps in the user's stores: its named properties ("OV-..." in
// PS_PUBLIC_STRINGS), Outlook's contact properties it reads, the hidden record classes, the
// priority levels and the encodings of the received time.
#pragma once

#include <array>
#include <string>

#include "mapidefs.h"

// Entries of an items tag table, resolved once per store; callers address a property by index.
enum ItemsProp {
    IP_KEYWORDS = 0,
    IP_MSG_SCORE,
    IP_TOPIC_NAME,
    IP_THREAD_ID,
    IP_THREAD_PRIORITY,
    IP_THREAD_MSGS_RECEIVED,
    IP_THREAD_TOTAL_SCORE,
    IP_THREAD_SCORE,
    IP_THREAD_REPLY_COUNTER,
    IP_THREAD_ORIGINATOR,
    IP_THREAD_LAST_ACTIVITY,
    IP_RECEIVED_DAY,
    IP_RECEIVED_WEEK,
    IP_CONTACT_PRIORITY,
    IP_CONTACT_REPLY_COUNTER,
    IP_CONTACT_SCORE,
    IP_DEBUG_SCORING,
    IP_SENDER_THREAD_ID,
    IP_DO_NOT_OVERWRITE,
    IP_DISPLAY_DAY,
    IP_DISPLAY_WEEK,
    ITEMS_PROP_COUNT
};

// Outlook's contact properties (PSETID_Address, numeric names), by index.
enum ContactProp {
    CP_EMAIL1_DISPLAY_NAME = 8,
    CP_EMAIL1_ADDRESS = 9,
    CP_EMAIL1_ADDRESS_TYPE = 10,
    CP_EMAIL2_DISPLAY_NAME = 11,
    CP_EMAIL2_ADDRESS = 12,
    CP_EMAIL2_ADDRESS_TYPE = 13,
    CP_EMAIL3_DISPLAY_NAME = 14,
    CP_EMAIL3_ADDRESS = 15,
    CP_EMAIL3_ADDRESS_TYPE = 16,
    CONTACT_PROP_COUNT = 17
};

using ItemsPropTagTable = std::array<ULONG, ITEMS_PROP_COUNT>;
using ContactPropTagTable = std::array<ULONG, CONTACT_PROP_COUNT>;

struct NamedPropDefinition {
    const char* name;
    ULONG type;
};
// Names and types of the items table, in table order.
extern const std::array<NamedPropDefinition, ITEMS_PROP_COUNT> kItemsPropDefinitions;

struct ContactPropDefinition {
    LONG id;
    ULONG type;
};
extern const std::array<ContactPropDefinition, CONTACT_PROP_COUNT> kContactPropDefinitions;

// Hidden records and the Outlook classes the store layer tells apart.
inline constexpr char kThreadRecordClass[] = "IPM.Orvella.Thread";
inline constexpr char kStatisticsRecordClass[] = "IPM.Orvella.Statistics";
inline constexpr char kSetupRecordClass[] = "IPM.Orvella.Setup";
inline constexpr char kFormClass[] = "IPM.Orvella.Form";

// Stored as signed 32-bit numbers; absent counts as Normal.
enum ContactPriorityLevel {
    CPL_JUNK = -2,
    CPL_LOW = -1,
    CPL_NORMAL = 0,
    CPL_HIGH = 1,
    CPL_VERY_HIGH = 2
};
enum MessagePriorityLevel {
    MPL_VERY_LOW = -2,
    MPL_LOW = -1,
    MPL_NORMAL = 0,
    MPL_HIGH = 1,
    MPL_VERY_HIGH = 2
};

// Display texts; any stored value outside -2..2 displays as "Normal".
std::string ContactPriorityText(LONG stored);
std::string MessagePriorityText(LONG stored);

// The received time (UTC) turned into the group keys and headings of the by-day and by-week
// views, in the local time zone and locale.
LONG DayKey(FILETIME received);
LONG WeekKey(FILETIME received);
std::string DisplayDay(FILETIME received);
std::string DisplayWeek(FILETIME received);
