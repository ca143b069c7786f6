// Reading whole tables and freeing row sets and address lists.
#include <new>
#include <vector>

#include "mapi_ptr.h"
#include "mapiutil.h"

using orvella::platform::mapi::MapiBuffer;
using orvella::platform::mapi::RowSetPtr;

namespace {

// Rows fetched per QueryRows call while reading a whole table.
constexpr LONG kRowsPerQuery = 256;

// Moves the rows of every chunk into one new row set; the chunks keep only empty shells.
HRESULT MergeRows(std::vector<RowSetPtr>& chunks, ULONG total, LPSRowSet* merged) {
    LPVOID block = nullptr;
    SCODE sc = MAPIAllocateBuffer(static_cast<ULONG>(CbNewSRowSet(total)), &block);
    if (FAILED(sc)) return sc;
    MapiBuffer<SRowSet> rows(static_cast<LPSRowSet>(block));
    rows->cRows = 0;
    for (RowSetPtr& chunk : chunks) {
        for (ULONG i = 0; i < chunk->cRows; ++i) rows->aRow[rows->cRows++] = chunk->aRow[i];
        chunk->cRows = 0;
    }
    *merged = rows.Detach();
    return S_OK;
}

}  // namespace

HRESULT HrQueryAllRows(LPMAPITABLE ptable, LPSPropTagArray ptaga, LPSRestriction pres,
                       LPSSortOrderSet psos, LONG crowsMax, LPSRowSet* pprows) {
    if (pprows == nullptr) return MAPI_E_INVALID_PARAMETER;
    *pprows = nullptr;
    if (ptable == nullptr || crowsMax < 0) return MAPI_E_INVALID_PARAMETER;

    HRESULT hr = S_OK;
    if (ptaga != nullptr && FAILED(hr = ptable->SetColumns(ptaga, TBL_BATCH))) return hr;
    if (pres != nullptr && FAILED(hr = ptable->Restrict(pres, TBL_BATCH))) return hr;
    if (psos != nullptr && FAILED(hr = ptable->SortTable(psos, TBL_BATCH))) return hr;
    if (FAILED(hr = ptable->SeekRow(BOOKMARK_BEGINNING, 0, nullptr))) return hr;

    std::vector<RowSetPtr> chunks;
    ULONG total = 0;
    try {
        for (;;) {
            RowSetPtr chunk;
            if (FAILED(hr = ptable->QueryRows(kRowsPerQuery, 0, chunk.Put()))) return hr;
            if (!chunk || chunk->cRows == 0) break;
            total += chunk->cRows;
            chunks.push_back(std::move(chunk));
            if (crowsMax != 0 && total > static_cast<ULONG>(crowsMax)) {
                return MAPI_E_TABLE_TOO_BIG;
            }
        }
    } catch (const std::bad_alloc&) {
        return MAPI_E_NOT_ENOUGH_MEMORY;
    }
    return MergeRows(chunks, total, pprows);
}

void FreeProws(LPSRowSet prows) {
    if (prows == nullptr) return;
    for (ULONG i = 0; i < prows->cRows; ++i) MAPIFreeBuffer(prows->aRow[i].lpProps);
    MAPIFreeBuffer(prows);
}

void FreePadrlist(LPADRLIST padrlist) {
    if (padrlist == nullptr) return;
    for (ULONG i = 0; i < padrlist->cEntries; ++i) MAPIFreeBuffer(padrlist->aEntries[i].rgPropVals);
    MAPIFreeBuffer(padrlist);
}
