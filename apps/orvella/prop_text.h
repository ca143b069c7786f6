// Property values and names as people and scripts read them in the command line's output.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "mapidefs.h"

namespace orvella::cli {

// Numbers as numbers, booleans as booleans, strings as they are, binary values as uppercase
// hex, times as "2026-11-23T10:15:00Z" (UTC), multi-valued values as arrays, errors as
// {"error": "MAPI_E_NOT_FOUND"}.
nlohmann::json ValueJson(const SPropValue& value);

// The same value on one line: control characters escaped, cut at `limit` characters with a
// note of the full length.
std::string ValueText(const SPropValue& value, size_t limit = 160);

// A time as "2026-11-23 10:15" (UTC), for listings.
std::string ShortTimeText(const FILETIME& time);

// The name of each tag of one object: "PR_SUBJECT_A" for declared tags, "PS_PUBLIC_STRINGS:Name"
// or "PSETID_Address:0x8083" for named properties, the tag in hex for anything else.
std::vector<std::string> PropertyNames(IMAPIProp* object, const std::vector<ULONG>& tags);

// The JSON document, pretty-printed to standard output; invalid UTF-8 (8-bit subjects) is
// replaced rather than refused.
void PrintJson(const nlohmann::json& json);

}  // namespace orvella::cli
