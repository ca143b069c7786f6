// The names of MAPI property tags and result codes, for people reading logs and tools' output.
#pragma once

#include <string>

#include "mapidefs.h"

namespace orvella::platform::mapi {

// "PR_SUBJECT_A" for a tag the headers name; nullptr for any other tag (named properties,
// custom tags, or a known id with another type).
const char* PropTagName(ULONG tag);

// "MAPI_E_NOT_FOUND", "S_OK", ...; "0x8004010F"-style hex for a code without a name.
std::string ResultCodeName(HRESULT code);

// "PT_LONG", "PT_MV_STRING8", ...; "PT_0x1234"-style hex for a type without a name.
std::string PropTypeName(ULONG type);

}  // namespace orvella::platform::mapi
