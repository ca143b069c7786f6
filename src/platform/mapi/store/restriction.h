// The single evaluator of MAPI restrictions for the embedded store's tables, and the total order
// of property values that both restrictions and sorting use.
#pragma once

#include <functional>
#include <span>

#include "mapidefs.h"

namespace orvella::platform::mapi::store {

// A row as the evaluator sees it: given a property tag, the row's value with exactly that tag
// (property id AND type), or nullptr when the row lacks it. A PT_ERROR value has another tag, so
// a column that failed to read counts as absent. The pointer must stay valid during the call.
using PropLookup = std::function<const SPropValue*(ULONG ulPropTag)>;

// A lookup over an array of values (a row of a row set, a message's property array). The array
// must outlive the returned lookup.
PropLookup RowLookup(std::span<const SPropValue> row);

// Orders two values: negative, 0 or positive as a sorts before, equal to or after b.
// - Values of different types order by their property type, so the order stays total.
// - Numbers, booleans (false < true), currency and times (FILETIME as a 64-bit count) by value.
// - PT_STRING8 and PT_UNICODE byte- or unit-wise after ASCII lower-casing: stores that serve
//   Exchange-style clients compare strings without regard to case. A null string is "".
// - PT_BINARY and PT_CLSID byte-wise, then the shorter first.
// - Multi-valued values element by element, then the one with fewer values first.
// - Types without a comparable value (PT_NULL, PT_OBJECT) are equal; PT_ERROR by its code.
int CompareProps(const SPropValue& a, const SPropValue& b);

// Whether the row satisfies the restriction. Never fails: a malformed restriction is false.
// - RES_AND of nothing is true, RES_OR of nothing false; a null sub-restriction is true, so a
//   RES_NOT of it is false. RES_COMMENT is its lpRes (true when null). RES_SUBRESTRICTION is
//   false: rows here have no subobjects. An unknown rt is false.
// - Finding the row's value: the restriction's tag first (MV_INSTANCE ignored); when the row
//   lacks a single-valued tag, its multi-valued form (MV_FLAG). A single-valued restriction
//   value against a multi-valued row value holds when it holds for any one value; an empty
//   multi-valued value holds for none.
// - RES_PROPERTY compares row value to lpProp with CompareProps. A row lacking the property
//   sorts before every value: RELOP_LT, RELOP_LE and RELOP_NE are true, RELOP_EQ, RELOP_GT and
//   RELOP_GE false. RELOP_RE (regular expressions) is unsupported and always false, as is a
//   value whose type differs from the row value's.
// - RES_CONTENT: FL_FULLSTRING, FL_SUBSTRING or FL_PREFIX on PT_STRING8 or PT_BINARY;
//   FL_IGNORECASE and FL_LOOSE both make strings match without regard to ASCII case (binary is
//   always exact). A lacking row value, other types or other levels are false.
// - RES_BITMASK on PT_LONG: BMR_EQZ when (value & mask) == 0, BMR_NEZ otherwise. A row lacking
//   the property satisfies neither, as Exchange stores behave.
// - RES_COMPAREPROPS: both properties present with the same type, then CompareProps; else false.
// - RES_SIZE compares the value's size in bytes (strings with their terminator, binary cb,
//   fixed types their size, multi-valued the sum) with cb; a lacking value is false.
// - RES_EXIST: whether the row has the value, found as above.
bool EvaluateRestriction(const SRestriction& res, const PropLookup& row);

}  // namespace orvella::platform::mapi::store
