// One planned message as the bytes of an RFC 5322 file.
#pragma once

#include <cstdint>
#include <string>

#include "people.h"
#include "schedule.h"

namespace orvella::host::generator {

// Writes message `index` (into schedule.messages) to `out`, replacing what it held. Depends on
// nothing but its arguments, so messages may be written in any order or on several threads.
void RenderMessage(const Cast& cast, const Schedule& schedule, std::uint32_t index,
                   std::string& out);

}  // namespace orvella::host::generator
