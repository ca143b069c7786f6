// Carrying named properties from one object to another whose ids for the same names differ
// (a store message and a .msg file each keep their own mapping).
#pragma once

#include <vector>

#include "mapidefs.h"

namespace orvella::platform::mapi {

// Rewrites the tags of the named properties among `values` (ids 0x8000 and up) from `source`'s
// names to `target`'s ids for them, created there with MAPI_CREATE. Values whose name the source
// does not know, or that the target cannot name, are dropped. Fails only when a call fails.
HRESULT MapNamedTags(IMAPIProp* source, IMAPIProp* target, std::vector<SPropValue>& values);

}  // namespace orvella::platform::mapi
