// The embedded store's IMAPITable: a cursor over the rows of a RowSource (a folder's messages, the
// stores of a profile, a message's recipients) with columns, restriction, sort order, bookmarks.
#pragma once

#include <cstdint>
#include <map>
#include <memory>

#include "com_object.h"
#include "keyset.h"
#include "mapi_error.h"
#include "mapi_ptr.h"
#include "mapitable.h"
#include "row_source.h"

namespace orvella::platform::mapi::store {

// Opens a table on `source`, with the source's default columns, no restriction, natural order
// and the cursor at the beginning. Null only for a null source or when memory runs out: the
// keyset is taken by the first call that needs rows, which reports the source's failure.
//
// Contract of the tables it returns:
// - Rows. The table is a keyset: opening, Restrict and SortTable take the ordered keys from the
//   source; values are read fresh by every QueryRows, a column a row lacks comes back as
//   PT_ERROR with MAPI_E_NOT_FOUND. Before every call that uses the cursor or a bookmark
//   (QueryRows, SeekRow, SeekRowApprox, FindRow, GetRowCount, QueryPosition, CreateBookmark) the
//   table asks the source's membership version; when rows joined or left it takes the keys
//   again and keeps the cursor on its row or, when that row left, on the first row after it
//   that is still there (else at the end; a cursor in a table that was empty stays at the
//   beginning). A change of values alone does not restrict or sort the rows again. GetStatus
//   reports TBLSTAT_COMPLETE and TBLTYPE_DYNAMIC.
// - The cursor is a position from 0 (the first row) to the row count (after the last row).
//   SeekRow clamps to that range and reports the rows actually moved.
// - QueryRows(n > 0) reads up to n rows from the cursor and leaves the cursor after the last
//   one read. QueryRows(n < 0) reads up to |n| rows before the cursor, returns them in table
//   order and leaves the cursor on the first of them, so that repeated calls page backward.
//   TBL_NOADVANCE leaves the cursor where it was. At either end the result is S_OK with no rows;
//   n == 0 is MAPI_E_INVALID_PARAMETER. Each row's lpProps is a MAPI buffer of its own
//   (FreeProws). Rows that left the source between the version check and the read are skipped.
// - FindRow searches forward from the origin row itself, backward from the row before it. Found:
//   the cursor moves onto that row. Not found: MAPI_E_NOT_FOUND, the cursor stays. The source's
//   Candidates narrow the rows that are matched; the result never depends on them.
// - QueryPosition gives the cursor's position as row and numerator and the row count as
//   denominator (1 for an empty table, whose denominator must not be 0).
// - Bookmarks are values from 3 up; at most 255 live at once, then CreateBookmark fails with
//   MAPI_E_UNABLE_TO_COMPLETE. A bookmark follows its row like the cursor; the first SeekRow or
//   FindRow from a bookmark whose row left returns MAPI_W_POSITION_CHANGED (BOOKMARK_CURRENT
//   never does). An unknown or freed bookmark is MAPI_E_INVALID_BOOKMARK.
// - Restrict (null: every row) and SortTable (null or no keys: natural order) keep copies of
//   what they are given, move the cursor to the beginning and free every bookmark. A sort with
//   more categories than keys, or more expanded than categories, is MAPI_E_INVALID_PARAMETER.
// - QueryColumns returns the current columns, also for TBL_ALL_COLUMNS. TBL_BATCH and TBL_ASYNC
//   are accepted and the work is done at once; Abort and WaitForCompletion have nothing to wait
//   for. Advise, Unadvise and the categorized-table calls are MAPI_E_NO_SUPPORT.
// - Failures of the source come back as they came and leave the table as it was. GetLastError
//   describes the last failure (8-bit text; MAPI_UNICODE is MAPI_E_BAD_CHARWIDTH) and returns no
//   MAPIERROR for any other result.
// - Threads: a table is used by one thread at a time. It holds a reference to its source, which
//   may serve other tables on other threads at the same time.
ComPtr<IMAPITable> OpenTable(std::shared_ptr<RowSource> source);

class MapiTable final : public ComObject<IMAPITable> {
public:
    explicit MapiTable(std::shared_ptr<RowSource> source);

    HRESULT GetLastError(HRESULT hResult, ULONG ulFlags, LPMAPIERROR* lppMAPIError) override;
    HRESULT Advise(ULONG ulEventMask, LPMAPIADVISESINK lpAdviseSink,
                   ULONG_PTR* lpulConnection) override;
    HRESULT Unadvise(ULONG_PTR ulConnection) override;
    HRESULT GetStatus(ULONG* lpulTableStatus, ULONG* lpulTableType) override;
    HRESULT SetColumns(LPSPropTagArray lpPropTagArray, ULONG ulFlags) override;
    HRESULT QueryColumns(ULONG ulFlags, LPSPropTagArray* lpPropTagArray) override;
    HRESULT GetRowCount(ULONG ulFlags, ULONG* lpulCount) override;
    HRESULT SeekRow(BOOKMARK bkOrigin, LONG lRowCount, LONG* lplRowsSought) override;
    HRESULT SeekRowApprox(ULONG ulNumerator, ULONG ulDenominator) override;
    HRESULT QueryPosition(ULONG* lpulRow, ULONG* lpulNumerator, ULONG* lpulDenominator) override;
    HRESULT FindRow(LPSRestriction lpRestriction, BOOKMARK bkOrigin, ULONG ulFlags) override;
    HRESULT Restrict(LPSRestriction lpRestriction, ULONG ulFlags) override;
    HRESULT CreateBookmark(BOOKMARK* lpbkPosition) override;
    HRESULT FreeBookmark(BOOKMARK bkPosition) override;
    HRESULT SortTable(LPSSortOrderSet lpSortCriteria, ULONG ulFlags) override;
    HRESULT QuerySortOrder(LPSSortOrderSet* lppSortCriteria) override;
    HRESULT QueryRows(LONG lRowCount, ULONG ulFlags, LPSRowSet* lppRows) override;
    HRESULT Abort() override;
    HRESULT ExpandRow(ULONG cbInstanceKey, LPBYTE pbInstanceKey, ULONG ulRowCount, ULONG ulFlags,
                      LPSRowSet* lppRows, ULONG* lpulMoreRows) override;
    HRESULT CollapseRow(ULONG cbInstanceKey, LPBYTE pbInstanceKey, ULONG ulFlags,
                        ULONG* lpulRowCount) override;
    HRESULT WaitForCompletion(ULONG ulFlags, ULONG ulTimeout, ULONG* lpulTableStatus) override;
    HRESULT GetCollapseState(ULONG ulFlags, ULONG cbInstanceKey, LPBYTE lpbInstanceKey,
                             ULONG* lpcbCollapseState, LPBYTE* lppbCollapseState) override;
    HRESULT SetCollapseState(ULONG ulFlags, ULONG cbCollapseState, LPBYTE pbCollapseState,
                             BOOKMARK* lpbkLocation) override;

protected:
    bool Supports(REFIID riid) const override;

private:
    struct Bookmark {
        std::size_t position = 0;
        bool moved = false;  // its row left since it was last used
    };
    struct Origin {
        std::size_t position = 0;
        bool moved = false;
    };

    // Runs one method's body: turns exceptions into HRESULTs and remembers failures for
    // GetLastError.
    template <class Body>
    HRESULT Run(const char* method, Body&& body);
    void Remember(HRESULT hr, const char* method);

    HRESULT TakeKeys(const SRestriction* restriction, const SSortOrderSet* sort, Keyset& keys,
                     std::uint64_t& version);
    // Takes the keyset again when the source's membership changed (or was never taken).
    HRESULT Refresh();
    // Adopts the keyset of a new restriction or sort order: cursor at the beginning, no bookmarks.
    void Start(Keyset keys, std::uint64_t version);
    HRESULT ResolveOrigin(BOOKMARK bookmark, Origin& origin);
    HRESULT ReadForward(std::size_t from, std::size_t wanted, std::vector<RowValues>& rows,
                        std::size_t& next);
    HRESULT ReadBackward(std::size_t from, std::size_t wanted, std::vector<RowValues>& rows,
                         std::size_t& first);
    HRESULT Search(const SRestriction& restriction, std::size_t from, bool backward,
                   std::optional<std::size_t>& found);
    HRESULT SearchCandidates(const SRestriction& restriction,
                             const std::vector<std::size_t>& positions,
                             std::optional<std::size_t>& found);
    HRESULT SearchAll(const SRestriction& restriction, std::size_t from, bool backward,
                      std::optional<std::size_t>& found);

    std::shared_ptr<RowSource> source_;
    MapiBuffer<SPropTagArray> columns_;
    MapiBuffer<SRestriction> restriction_;  // null: every row
    MapiBuffer<SSortOrderSet> sort_;        // null: the source's natural order
    Keyset keys_;
    bool loaded_ = false;
    std::uint64_t version_ = 0;
    std::size_t cursor_ = 0;
    std::map<BOOKMARK, Bookmark> bookmarks_;
    BOOKMARK next_bookmark_ = 3;
    LastError last_error_;
    HRESULT last_error_code_ = S_OK;
};

}  // namespace orvella::platform::mapi::store
