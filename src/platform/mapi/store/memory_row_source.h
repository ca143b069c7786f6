// Rows held in memory behind a table: the stores of a profile, a message's recipients, the
// containers of the address book, and any other small table that is not in a store database.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <span>
#include <vector>

#include "mapi_ptr.h"
#include "row_source.h"

namespace orvella::platform::mapi::store {

// A RowSource over rows added by its owner. Each row is a key and a copy of its values; keys
// count up from 1 in the order rows are added, which is the natural order.
// - Restrictions are decided by EvaluateRestriction over the row's values. Sorting is stable
//   and uses CompareProps per key, TABLE_SORT_DESCEND reversing a key; a row lacking a sort
//   key's value sorts before every row that has one (after, when descending). Category keys
//   (cCategories) are ordinary keys here. A sort key is matched by its exact tag (MV_INSTANCE
//   ignored).
// - Every row has PR_INSTANCE_KEY, the 8 bytes of its key, most significant first; it is read,
//   restricted and found like any other value and overrides a PR_INSTANCE_KEY given to AddRow.
// - A column matches a value with the same tag, or with the same id when the column's type is
//   PT_UNSPECIFIED; a column the row lacks reads as PT_ERROR with MAPI_E_NOT_FOUND.
// - Candidates is always nullopt: every row is a candidate.
// Every method may be called from any thread; the rows are guarded by one mutex. Allocation
// failures of the row store throw std::bad_alloc; the RowSource methods report them as
// MAPI_E_NOT_ENOUGH_MEMORY.
class MemoryRowSource : public RowSource {
public:
    explicit MemoryRowSource(std::vector<ULONG> default_columns);

    // Adds a row holding a copy of `values`; returns its key, or 0 (and adds nothing) when a
    // value has a property type MAPI does not define.
    RowKey AddRow(std::span<const SPropValue> values);
    // Removes the row; false when there is no such row.
    bool RemoveRow(RowKey key);
    // Replaces the row's values, keeping its key and place; false when there is no such row or
    // a value has an undefined type (the row then keeps its values). Membership does not change.
    bool ReplaceRow(RowKey key, std::span<const SPropValue> values);
    // Removes every row; keys go on counting from where they were.
    void Clear();

    HRESULT MembershipVersion(std::uint64_t& version) override;
    HRESULT Keys(const SRestriction* restriction, const SSortOrderSet* sort,
                 KeyList& keys) override;
    HRESULT Candidates(const SRestriction& restriction, CandidateWindow* window,
                       std::optional<std::vector<RowKey>>& candidates) override;
    HRESULT Match(std::span<const RowKey> keys, const SRestriction& restriction,
                  std::vector<bool>& matches) override;
    HRESULT ReadRows(std::span<const RowKey> keys, const SPropTagArray& columns,
                     std::vector<RowValues>& rows) override;
    std::vector<ULONG> DefaultColumns() override;

private:
    struct Row {
        ULONG count = 0;
        MapiBuffer<SPropValue> values;
    };

    const std::vector<ULONG> default_columns_;
    std::mutex mutex_;
    std::map<RowKey, Row> rows_;  // key order is the natural order
    RowKey next_key_ = 1;
    std::uint64_t version_ = 0;
};

}  // namespace orvella::platform::mapi::store
