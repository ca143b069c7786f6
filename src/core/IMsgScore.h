// IMsgScore: how important a message is to the user, as one signed integer, and the change a
// thread's new priority or reply count makes to the scores of its messages.
#pragma once

#include "CMsgThread.h"
#include "mapidefs.h"

class IMsgScore {
public:
    // properties: the processor's fixed array of 8 values (entry 1 the sender's address, entry 7
    // the importance). Store failures raise MAPIException; the caller catches them.
    virtual LONG GetScore(IMessage* message, LPSPropValue properties, CMsgThread* thread) = 0;
    virtual LONG GetThreadPriorityChange(LONG oldPriority, LONG newPriority) = 0;
    virtual LONG GetReplyCountChange(LONG oldCount, LONG newCount) = 0;

protected:
    // The owner deletes the concrete scorer, never through this interface.
    ~IMsgScore() = default;
};
