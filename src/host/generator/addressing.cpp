// Recipients of planned messages, derived from the thread each time it is needed so that a
// million-message plan stores no recipient lists.
#include "addressing.h"

#include <algorithm>

namespace orvella::host::generator {
namespace {

bool Holds(const std::vector<std::uint32_t>& list, std::uint32_t who) {
    return std::find(list.begin(), list.end(), who) != list.end();
}

// The To and Cc of the first message of a thread, which starts with `sender`.
Addressing FirstAddressing(const ThreadPlan& thread, std::span<const std::uint32_t> parties,
                           std::uint32_t sender) {
    Addressing first;
    switch (thread.kind) {
        case ThreadKind::Conversation:
            first.to.push_back(sender == kOwner ? parties[0] : kOwner);
            first.cc.assign(parties.begin() + 1, parties.end());
            break;
        case ThreadKind::CcOnly:
            first.to.push_back(parties[1 % parties.size()]);
            first.cc.push_back(kOwner);
            first.cc.insert(first.cc.end(),
                            parties.begin() + std::min<std::size_t>(2, parties.size()),
                            parties.end());
            break;
        case ThreadKind::Broadcast: {
            // Two thirds in To with the owner among them, the rest in Cc.
            const std::size_t in_to = 1 + (parties.size() - 1) * 2 / 3;
            first.to.assign(parties.begin() + 1, parties.begin() + static_cast<long>(in_to));
            first.to.insert(first.to.begin() + static_cast<long>(first.to.size() / 2), kOwner);
            first.cc.assign(parties.begin() + static_cast<long>(in_to), parties.end());
            break;
        }
        case ThreadKind::Discussion:
        case ThreadKind::Newsletter:
            first.to.push_back(kListAddress);
            break;
    }
    return first;
}

}  // namespace

Addressing AddressingOf(const Schedule& schedule, const MessagePlan& message) {
    const ThreadPlan& thread = schedule.threads[message.thread];
    const std::span<const MessagePlan> messages = schedule.MessagesOf(thread);
    const std::span<const std::uint32_t> parties = schedule.PartiesOf(thread);
    const std::uint32_t opener = messages[0].sender;
    Addressing first = FirstAddressing(thread, parties, opener);
    if (message.index == 0 || thread.kind == ThreadKind::Discussion ||
        thread.kind == ThreadKind::Newsletter) {
        return first;
    }
    const std::uint32_t sender = message.sender;
    const std::uint32_t previous = messages[message.index - 1].sender;
    Addressing reply;
    if (previous != sender) {
        reply.to.push_back(previous);
    } else {
        reply.to = first.to;  // a follow-up to one's own message
    }
    std::erase(reply.to, sender);
    if (reply.to.empty()) reply.to.push_back(sender == kOwner ? parties[0] : kOwner);
    if (sender == kOwner && thread.kind == ThreadKind::Broadcast) return reply;
    std::vector<std::uint32_t> everyone = {opener};
    everyone.insert(everyone.end(), first.to.begin(), first.to.end());
    everyone.insert(everyone.end(), first.cc.begin(), first.cc.end());
    for (std::uint32_t who : everyone) {
        if (who != sender && !Holds(reply.to, who) && !Holds(reply.cc, who))
            reply.cc.push_back(who);
    }
    return reply;
}

}  // namespace orvella::host::generator
