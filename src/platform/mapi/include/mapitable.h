// IMAPITable: cursors over rows of properties (contents, hierarchy, recipients, stores, status),
// with its bookmarks and flags. Part of mapidefs.h.
#pragma once

#include "mapidefs.h"

typedef ULONG_PTR BOOKMARK;

#define BOOKMARK_BEGINNING ((BOOKMARK)0)
#define BOOKMARK_CURRENT ((BOOKMARK)1)
#define BOOKMARK_END ((BOOKMARK)2)

// SetColumns, Restrict, SortTable
#define TBL_ASYNC ((ULONG)0x00000001)
#define TBL_BATCH ((ULONG)0x00000002)
// QueryRows
#define TBL_NOADVANCE ((ULONG)0x00000001)
// FindRow
#define DIR_BACKWARD ((ULONG)0x00000001)
// QueryColumns
#define TBL_ALL_COLUMNS ((ULONG)0x00000001)
// WaitForCompletion, Abort
#define TBL_NOWAIT ((ULONG)0x00000001)

// GetStatus
#define TBLSTAT_COMPLETE ((ULONG)0)
#define TBLSTAT_QCHANGED ((ULONG)7)
#define TBLSTAT_SORTING ((ULONG)9)
#define TBLSTAT_SORT_ERROR ((ULONG)10)
#define TBLSTAT_SETTING_COLS ((ULONG)11)
#define TBLSTAT_SETCOL_ERROR ((ULONG)13)
#define TBLSTAT_RESTRICTING ((ULONG)14)
#define TBLSTAT_RESTRICT_ERROR ((ULONG)15)
#define TBLTYPE_SNAPSHOT ((ULONG)0)
#define TBLTYPE_KEYSET ((ULONG)1)
#define TBLTYPE_DYNAMIC ((ULONG)2)

// Row state for categorized tables (PR_ROW_TYPE)
#define TBL_LEAF_ROW ((ULONG)1)
#define TBL_EMPTY_CATEGORY ((ULONG)2)
#define TBL_EXPANDED_CATEGORY ((ULONG)3)
#define TBL_COLLAPSED_CATEGORY ((ULONG)4)

// A table's cursor is per table object; tables are not shared between threads without the
// caller's own serialisation. Row sets come back as MAPI buffers the caller frees with
// FreeProws; a column missing from a row comes back as PT_ERROR with MAPI_E_NOT_FOUND.
// QueryRows with TBL_NOADVANCE leaves the cursor where it was; FindRow leaves it on the row
// found, or returns MAPI_E_NOT_FOUND and leaves it where it was.
class IMAPITable : public IUnknown {
public:
    virtual HRESULT GetLastError(HRESULT hResult, ULONG ulFlags, LPMAPIERROR* lppMAPIError) = 0;
    virtual HRESULT Advise(ULONG ulEventMask, LPMAPIADVISESINK lpAdviseSink,
                           ULONG_PTR* lpulConnection) = 0;
    virtual HRESULT Unadvise(ULONG_PTR ulConnection) = 0;
    virtual HRESULT GetStatus(ULONG* lpulTableStatus, ULONG* lpulTableType) = 0;
    virtual HRESULT SetColumns(LPSPropTagArray lpPropTagArray, ULONG ulFlags) = 0;
    virtual HRESULT QueryColumns(ULONG ulFlags, LPSPropTagArray* lpPropTagArray) = 0;
    virtual HRESULT GetRowCount(ULONG ulFlags, ULONG* lpulCount) = 0;
    virtual HRESULT SeekRow(BOOKMARK bkOrigin, LONG lRowCount, LONG* lplRowsSought) = 0;
    virtual HRESULT SeekRowApprox(ULONG ulNumerator, ULONG ulDenominator) = 0;
    virtual HRESULT QueryPosition(ULONG* lpulRow, ULONG* lpulNumerator, ULONG* lpulDenominator) = 0;
    virtual HRESULT FindRow(LPSRestriction lpRestriction, BOOKMARK bkOrigin, ULONG ulFlags) = 0;
    virtual HRESULT Restrict(LPSRestriction lpRestriction, ULONG ulFlags) = 0;
    virtual HRESULT CreateBookmark(BOOKMARK* lpbkPosition) = 0;
    virtual HRESULT FreeBookmark(BOOKMARK bkPosition) = 0;
    virtual HRESULT SortTable(LPSSortOrderSet lpSortCriteria, ULONG ulFlags) = 0;
    virtual HRESULT QuerySortOrder(LPSSortOrderSet* lppSortCriteria) = 0;
    virtual HRESULT QueryRows(LONG lRowCount, ULONG ulFlags, LPSRowSet* lppRows) = 0;
    virtual HRESULT Abort() = 0;
    virtual HRESULT ExpandRow(ULONG cbInstanceKey, LPBYTE pbInstanceKey, ULONG ulRowCount,
                              ULONG ulFlags, LPSRowSet* lppRows, ULONG* lpulMoreRows) = 0;
    virtual HRESULT CollapseRow(ULONG cbInstanceKey, LPBYTE pbInstanceKey, ULONG ulFlags,
                                ULONG* lpulRowCount) = 0;
    virtual HRESULT WaitForCompletion(ULONG ulFlags, ULONG ulTimeout, ULONG* lpulTableStatus) = 0;
    virtual HRESULT GetCollapseState(ULONG ulFlags, ULONG cbInstanceKey, LPBYTE lpbInstanceKey,
                                     ULONG* lpcbCollapseState, LPBYTE* lppbCollapseState) = 0;
    virtual HRESULT SetCollapseState(ULONG ulFlags, ULONG cbCollapseState, LPBYTE pbCollapseState,
                                     BOOKMARK* lpbkLocation) = 0;
};
