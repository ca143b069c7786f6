// Property values as bytes: how the store keeps multi-valued values and recipient rows, and how
// a value becomes an SQLite column and back.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "mapi_ptr.h"
#include "mapidefs.h"
#include "sqlite_db.h"

namespace orvella::platform::mapi::store {

// Whether a value of this type (PROP_TYPE of a tag) can be stored: every MAPI value type and its
// multi-valued form, but not PT_NULL, PT_ERROR, PT_OBJECT or PT_UNSPECIFIED.
bool IsStorableType(ULONG type);

// The value's bytes without its tag. Strings lose their terminator; PT_UNICODE keeps its wide
// units as they are in memory.
std::vector<std::uint8_t> EncodeValue(const SPropValue& value);

// Rebuilds a value of type PROP_TYPE(tag) from EncodeValue's bytes into `out`, allocating what
// it points to with MAPIAllocateMore on `parent`. MAPI_E_CORRUPT_DATA when the bytes do not
// hold such a value.
SCODE DecodeValue(ULONG tag, std::span<const std::uint8_t> bytes, void* parent, SPropValue& out);

// A whole property array (a recipient row) as bytes, and back into one MAPI buffer.
std::vector<std::uint8_t> EncodeRow(std::span<const SPropValue> values);
SCODE DecodeRow(std::span<const std::uint8_t> bytes, MapiBuffer<SPropValue>& values, ULONG& count);

// Binds a stored value: integers, booleans and times as INTEGER, floating types as REAL, 8-bit
// strings as TEXT (so that an index compares them without regard to ASCII case), everything
// else as EncodeValue's BLOB.
void BindValue(Statement& statement, int index, const SPropValue& value);

// Reads column `column` of the current row as a value with `tag`, as BindValue stored it.
SCODE ReadValue(const Statement& statement, int column, ULONG tag, void* parent, SPropValue& out);

// The size of the bytes a string or binary value points to (0 for other types): what decides
// whether a value is too large to hand out whole.
std::size_t ValueBytes(const SPropValue& value);

}  // namespace orvella::platform::mapi::store
