// Property values as the .msg layout keeps them: fixed-size values inline in the property
// stream, everything else in streams of their own.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "mapidefs.h"

namespace orvella::platform::ole {

enum class ValueHome {
    Inline,       // the 8-byte value field of the property entry
    Stream,       // one stream (strings, binaries, GUIDs, fixed-size multi-valued arrays)
    ItemStreams,  // a length stream and one stream per value (multi-valued strings, binaries)
};

// Where a value of this property type lives; false for types the layout cannot keep.
bool HomeOf(ULONG type, ValueHome& home);

struct EncodedValue {
    std::array<std::uint8_t, 8> field = {};  // the entry's value field (or size and reserved)
    std::vector<std::uint8_t> stream;        // the value's stream, or the length stream
    std::vector<std::vector<std::uint8_t>> items;
};

// PT_UNICODE is written as UTF-16LE, PT_STRING8 as its bytes; strings in their own stream lose
// their terminator (the entry's size counts it), strings in item streams keep it.
EncodedValue EncodeMsgValue(const SPropValue& value);

// Rebuilds a value of type PROP_TYPE(tag), allocating with MAPIAllocateMore on `parent`.
// MAPI_E_CORRUPT_DATA when the bytes cannot hold such a value.
SCODE DecodeMsgValue(ULONG tag, const EncodedValue& encoded, void* parent, SPropValue& out);

// Wide text as UTF-16LE bytes without a terminator, and back (up to a terminator if any).
std::vector<std::uint8_t> Utf16Bytes(const WCHAR* text);
std::wstring FromUtf16(const std::vector<std::uint8_t>& bytes);

// How many item streams a multi-valued value of this type has, from its length stream.
std::size_t ItemCount(ULONG type, const std::vector<std::uint8_t>& length_stream);

}  // namespace orvella::platform::ole
