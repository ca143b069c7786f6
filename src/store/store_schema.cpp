// The named-property tables and the priority texts.
#include "store_schema.h"

#include "resource.h"

const std::array<NamedPropDefinition, ITEMS_PROP_COUNT> kItemsPropDefinitions = {{
    {"Keywords", PT_MV_STRING8},           {"OV-MsgScore", PT_LONG},
    {"OV-TopicName", PT_STRING8},          {"OV-ThreadID", PT_LONG},
    {"OV-ThreadPriority", PT_LONG},        {"OV-ThreadMsgsReceived", PT_LONG},
    {"OV-ThreadTotalScore", PT_LONG},      {"OV-ThreadScore", PT_LONG},
    {"OV-ThreadReplyCounter", PT_LONG},    {"OV-ThreadOriginator", PT_BOOLEAN},
    {"OV-ThreadLastActivity", PT_SYSTIME}, {"OV-ReceivedDay", PT_LONG},
    {"OV-ReceivedWeek", PT_LONG},          {"OV-ContactPriority", PT_LONG},
    {"OV-ContactReplyCounter", PT_LONG},   {"OV-ContactScore", PT_LONG},
    {"OV-DebugScoring", PT_STRING8},       {"OV-SenderThreadID", PT_LONG},
    {"OV-DoNotOverwrite", PT_BOOLEAN},     {"OV-DisplayDay", PT_STRING8},
    {"OV-DisplayWeek", PT_STRING8},
}};

const std::array<ContactPropDefinition, CONTACT_PROP_COUNT> kContactPropDefinitions = {{
    {0x8005, PT_STRING8},
    {0x8022, PT_LONG},
    {0x801B, PT_STRING8},
    {0x8045, PT_STRING8},
    {0x8046, PT_STRING8},
    {0x8047, PT_STRING8},
    {0x8048, PT_STRING8},
    {0x8049, PT_STRING8},
    {0x8084, PT_STRING8},
    {0x8083, PT_STRING8},
    {0x8082, PT_STRING8},
    {0x8094, PT_STRING8},
    {0x8093, PT_STRING8},
    {0x8092, PT_STRING8},
    {0x80A4, PT_STRING8},
    {0x80A3, PT_STRING8},
    {0x80A2, PT_STRING8},
}};

namespace {

std::string LevelText(UINT firstId, LONG stored) {
    if (stored < -2 || stored > 2) stored = 0;
    return orvella::res::LoadResString(firstId + static_cast<UINT>(stored + 2));
}

}  // namespace

std::string ContactPriorityText(LONG stored) {
    return LevelText(IDS_CONTACT_PRIORITY_FIRST, stored);
}

std::string MessagePriorityText(LONG stored) {
    return LevelText(IDS_MESSAGE_PRIORITY_FIRST, stored);
}
