// CMsgThread: one live conversation thread in memory (the counters, name, topic and record of a
// thread), shared by reference count between the session's thread registry and its callers.
#pragma once

#include <atomic>
#include <string>

#include "entry_id.h"
#include "mapi_ptr.h"

class CMsgThread;
using MsgThreadPtr = orvella::platform::mapi::ComPtr<CMsgThread>;

// Created only through Create; freed when the last reference is released. The counts change
// atomically, the fields are not locked: the registry's callers serialise their use of it.
class CMsgThread {
public:
    struct Fields {
        LONG id = 0;
        LONG priority = 0;
        LONG messagesReceived = 0;
        LONG totalScore = 0;
        LONG replyCounter = 0;
        bool originator = false;
        std::string name;
        std::string topic;
        EntryId entryId;
    };

    // A new thread holding one reference, which the returned pointer owns.
    static MsgThreadPtr Create(Fields fields);

    ULONG AddRef();
    ULONG Release();

    // One more received message with score s.
    void AddScore(LONG s);
    // Every received message's score changes by delta.
    void AdjustScore(LONG delta);
    // Total score / messages received, truncated toward zero; 0 without messages.
    LONG GetThreadScore() const;
    void ResetScore();
    void IncrementReplyCounter();
    void SetPriority(LONG priority) { fields_.priority = priority; }
    // A null text clears the topic.
    void SetTopic(const char* topic) { fields_.topic = topic ? topic : ""; }

    LONG GetThreadID() const { return fields_.id; }
    LONG GetPriority() const { return fields_.priority; }
    LONG GetMsgsReceived() const { return fields_.messagesReceived; }
    LONG GetTotalScore() const { return fields_.totalScore; }
    LONG GetReplyCounter() const { return fields_.replyCounter; }
    bool IsOriginator() const { return fields_.originator; }
    const std::string& GetName() const { return fields_.name; }
    const std::string& GetTopic() const { return fields_.topic; }
    const EntryId& GetEntryID() const { return fields_.entryId; }

private:
    explicit CMsgThread(Fields fields) : fields_(std::move(fields)) {}
    ~CMsgThread() = default;

    std::atomic<ULONG> references_{1};
    Fields fields_;
};
