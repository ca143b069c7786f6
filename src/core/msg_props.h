// The message properties the processor reads once per message, in one GetProps, and hands on
// to the scorer and the AutoAssign rules as one array in this fixed order.
#pragma once

#include "mapi_ptr.h"
#include "mapidefs.h"

enum MsgProp {
    MP_ENTRYID = 0,
    MP_SENDER_EMAIL_ADDRESS,
    MP_RECEIVED_BY_EMAIL_ADDRESS,
    MP_DISPLAY_NAME,
    MP_MESSAGE_DELIVERY_TIME,
    MP_SUBJECT,
    MP_BODY,
    MP_IMPORTANCE,
    MSG_PROP_COUNT
};

// The 8 tags, in MsgProp order.
LPSPropTagArray MsgPropTags();

// GetProps of the 8 tags: the message's result code (a warning when some are missing, which
// then carry PT_ERROR); the array holds MSG_PROP_COUNT values on success.
HRESULT ReadMsgProps(IMessage* message,
                     orvella::platform::mapi::MapiBuffer<SPropValue>& properties);

// The value of entry index when it came back with exactly tag; null when it is missing (or
// there is no array).
const SPropValue* MsgPropValue(const SPropValue* properties, MsgProp index, ULONG tag);
