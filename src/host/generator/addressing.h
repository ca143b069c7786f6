// Who a planned message goes to: the To and Cc of each kind of thread, replies going to all.
#pragma once

#include <cstdint>
#include <vector>

#include "schedule.h"

namespace orvella::host::generator {

// A recipient that is the thread's mailing list rather than a person or the owner.
inline constexpr std::uint32_t kListAddress = 0xFFFF'FFFD;

struct Addressing {
    std::vector<std::uint32_t> to;  // people, kOwner or kListAddress
    std::vector<std::uint32_t> cc;
};

// The recipients of `message`. A first message goes where its kind sends it; a reply goes to
// the previous sender with everyone else of the first message in Cc, except that the owner
// answers a broadcast to its sender alone. List mail goes to the list.
Addressing AddressingOf(const Schedule& schedule, const MessagePlan& message);

}  // namespace orvella::host::generator
