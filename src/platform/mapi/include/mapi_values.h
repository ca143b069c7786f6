// Single property values for SetProps and row building. A value points at the caller's text,
// which must outlive it.
#pragma once

#include <string>

#include "mapidefs.h"

namespace orvella::platform::mapi {

inline SPropValue TextValue(ULONG tag, const char* text) {
    SPropValue value = {};
    value.ulPropTag = tag;
    value.Value.lpszA = const_cast<char*>(text);
    return value;
}
inline SPropValue TextValue(ULONG tag, const std::string& text) {
    return TextValue(tag, text.c_str());
}

inline SPropValue LongValue(ULONG tag, LONG number) {
    SPropValue value = {};
    value.ulPropTag = tag;
    value.Value.l = number;
    return value;
}

inline SPropValue TimeValue(ULONG tag, const FILETIME& time) {
    SPropValue value = {};
    value.ulPropTag = tag;
    value.Value.ft = time;
    return value;
}

}  // namespace orvella::platform::mapi
