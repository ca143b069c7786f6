// The seam between a MAPI table (cursor, bookmarks, columns) and what holds its rows: a folder's
// messages in the store database, the stores of a profile, a message's recipients.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "mapi_ptr.h"
#include "mapidefs.h"

namespace orvella::platform::mapi::store {

// Identifies one row of a source for as long as the row exists (an object id, a row number).
using RowKey = std::int64_t;

// A table's ordered keys, never changed once made. Shared, so that every table opened on a large
// folder in its natural order holds the store's one snapshot of its ids instead of a copy.
using KeyList = std::shared_ptr<const std::vector<RowKey>>;

// One row's values for the requested columns, in column order. A column the row lacks is a
// PT_ERROR value (the column's id) with MAPI_E_NOT_FOUND. `values` is one MAPI buffer that a
// table can hand to its caller as an SRow's lpProps.
struct RowValues {
    RowKey key = 0;
    ULONG count = 0;
    MapiBuffer<SPropValue> values;
};

// Where a search of a table in key order looks next: the keys from `from` up (below `from`,
// backward). A source that honours it returns, in key order, the candidates nearest `from` in
// that direction, at most `limit` of them, and sets `more` when it left some out; one that
// ignores it returns them all and leaves `more` false. A source sets `exact` when every
// candidate it returned satisfies the restriction, so that the table need not test them.
struct CandidateWindow {
    RowKey from = 0;
    bool backward = false;
    std::size_t limit = 0;
    bool more = false;
    bool exact = false;
};

// Contract for the sources behind a table. A source is shared by the tables opened on it and may
// be called from the thread of any of them: implementations serialise their own state. Every
// method reports failure as an HRESULT (MAPI_E_CORRUPT_STORE, MAPI_E_DISK_ERROR ...) and then
// leaves its outputs empty, or throws a StoreFailure, whose text (naming the store file) the
// table keeps for GetLastError.
class RowSource {
public:
    virtual ~RowSource() = default;

    // Changes whenever a row joins or leaves the source (never for a change of values), so a
    // table knows when to take its keyset again.
    virtual HRESULT MembershipVersion(std::uint64_t& version) = 0;

    // The keys of the rows that satisfy `restriction` (null: every row), ordered by `sort`
    // (null or no keys: the source's natural order). Equal rows keep the natural order. The
    // result is exact: the source decides with EvaluateRestriction and orders with CompareProps.
    virtual HRESULT Keys(const SRestriction* restriction, const SSortOrderSet* sort,
                         KeyList& keys) = 0;

    // Whether the natural order is ascending key order, so that a table need not check.
    virtual bool NaturalOrderAscends() const { return true; }

    // A superset of the keys whose rows may satisfy `restriction`, when the source can narrow
    // it cheaply (through an index); nullopt when every row is a candidate. With a window, a
    // source may return only the candidates nearest the window's key (see CandidateWindow).
    virtual HRESULT Candidates(const SRestriction& restriction, CandidateWindow* window,
                               std::optional<std::vector<RowKey>>& candidates) = 0;

    // Whether each row satisfies `restriction`: matches[i] for keys[i]; a row that is gone
    // does not match.
    virtual HRESULT Match(std::span<const RowKey> keys, const SRestriction& restriction,
                          std::vector<bool>& matches) = 0;

    // The rows of `keys` with `columns`, in the order of `keys`; rows that are gone are left
    // out. PR_INSTANCE_KEY, when asked for, is the key's 8 bytes.
    virtual HRESULT ReadRows(std::span<const RowKey> keys, const SPropTagArray& columns,
                             std::vector<RowValues>& rows) = 0;

    // The columns of a table before SetColumns.
    virtual std::vector<ULONG> DefaultColumns() = 0;
};

}  // namespace orvella::platform::mapi::store
