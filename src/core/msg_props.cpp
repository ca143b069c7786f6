// The processor's fixed property array.
#include "msg_props.h"

#include "mapitags.h"

namespace {

SizedSPropTagArray(MSG_PROP_COUNT, kTags) = {
    MSG_PROP_COUNT,
    {PR_ENTRYID, PR_SENDER_EMAIL_ADDRESS_A, PR_RECEIVED_BY_EMAIL_ADDRESS_A, PR_DISPLAY_NAME_A,
     PR_MESSAGE_DELIVERY_TIME, PR_SUBJECT_A, PR_BODY_A, PR_IMPORTANCE}};

}  // namespace

LPSPropTagArray MsgPropTags() {
    return reinterpret_cast<LPSPropTagArray>(&kTags);
}

HRESULT ReadMsgProps(IMessage* message,
                     orvella::platform::mapi::MapiBuffer<SPropValue>& properties) {
    ULONG count = 0;
    return message->GetProps(MsgPropTags(), 0, &count, &properties);
}

const SPropValue* MsgPropValue(const SPropValue* properties, MsgProp index, ULONG tag) {
    if (!properties || properties[index].ulPropTag != tag) return nullptr;
    return &properties[index];
}
