// MAPI's utility functions over properties, rows and address lists, built only on the
// interfaces and the MAPI allocator, so they work against any provider.
#pragma once

// Any thread may call them for objects it may use.

#include "mapidefs.h"
#include "mapix.h"

// Reads one property. S_OK with *lppProp a MAPI buffer the caller frees; when the object
// reports the value as PT_ERROR the call fails with that error (MAPI_E_NOT_FOUND for a missing
// property) and *lppProp is null. Other failures are GetProps'.
HRESULT HrGetOneProp(LPMAPIPROP lpMapiProp, ULONG ulPropTag, LPSPropValue* lppProp);

// Sets one property (not saved until SaveChanges). A per-property problem reported by SetProps
// becomes the result, so the call either succeeds or fails; it never warns.
HRESULT HrSetOneProp(LPMAPIPROP lpMapiProp, LPSPropValue lpProp);

// Reads every row of a table: sets the columns (ptaga), the restriction (pres) and the sort
// (psos) when given, seeks to the beginning and reads to the end. *pprows is one row set for
// FreeProws. MAPI_E_TABLE_TOO_BIG, and no rows, when crowsMax is not 0 and more rows than that
// remain. Any failure of the table is returned as it came, with no rows.
HRESULT HrQueryAllRows(LPMAPITABLE ptable, LPSPropTagArray ptaga, LPSRestriction pres,
                       LPSSortOrderSet psos, LONG crowsMax, LPSRowSet* pprows);

// Frees a row set and the property array of each of its rows. Null is ignored.
void FreeProws(LPSRowSet prows);

// Frees an address list and the property array of each of its entries. Null is ignored.
void FreePadrlist(LPADRLIST padrlist);

// The first value in rgprop with tag ulPropTag, or null. A tag of type PT_UNSPECIFIED matches
// by property id alone.
LPSPropValue PpropFindProp(LPSPropValue rgprop, ULONG cprop, ULONG ulPropTag);

// Copies one value into *lpSPropValueDest, allocating what it points to (strings, binaries,
// arrays) with lpfAllocMore linked to lpvObject. MAPI_E_INVALID_PARAMETER for a property type
// MAPI does not define; MAPI_E_NOT_ENOUGH_MEMORY when an allocation fails.
SCODE PropCopyMore(LPSPropValue lpSPropValueDest, LPSPropValue lpSPropValueSrc,
                   ALLOCATEMORE* lpfAllocMore, LPVOID lpvObject);

// The bytes one contiguous copy of the cValues values in rgpropv takes, array included.
SCODE ScCountProps(int cValues, LPSPropValue rgpropv, ULONG* pcb);

// Copies the values into pvDst, which must hold ScCountProps bytes: the array first, then
// everything it points to. *pcb (optional) receives the bytes used.
SCODE ScCopyProps(int cValues, LPSPropValue rgpropv, LPVOID pvDst, ULONG* pcb);

// Duplicates a value array into one buffer from lpAllocateBuffer, freed with one free.
SCODE ScDupPropset(int cValues, LPSPropValue rgprop, LPALLOCATEBUFFER lpAllocateBuffer,
                   LPSPropValue* prgprop);
