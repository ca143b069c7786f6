// Deep copies of restrictions and sort orders, so that a table keeps what its caller passed to
// Restrict and SortTable after the caller has freed it.
#pragma once

#include "mapi_ptr.h"
#include "mapidefs.h"

namespace orvella::platform::mapi::store {

// Copies `source` and everything it points to (sub-restrictions, values) into one MAPI buffer
// whose parts are linked with MAPIAllocateMore, so one MAPIFreeBuffer frees it all. Null
// pointers stay null; an unknown restriction type is copied as its bare structure.
// Failures, with `copy` left empty: MAPI_E_NOT_ENOUGH_MEMORY; MAPI_E_INVALID_PARAMETER for a
// value of a type MAPI does not define; MAPI_E_TOO_COMPLEX when nested more than 64 deep.
HRESULT CopyRestriction(const SRestriction& source, MapiBuffer<SRestriction>& copy);

// Copies the header and the cSorts keys of `source` into one MAPI buffer.
// MAPI_E_NOT_ENOUGH_MEMORY, with `copy` left empty, is the only failure.
HRESULT CopySortOrderSet(const SSortOrderSet& source, MapiBuffer<SSortOrderSet>& copy);

}  // namespace orvella::platform::mapi::store
