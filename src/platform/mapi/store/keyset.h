// The ordered row keys behind a table, and where each key sits, so that a cursor or a bookmark
// can follow its row when the keys are taken again and FindRow can place candidate keys.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <unordered_map>
#include <vector>

#include "row_source.h"

namespace orvella::platform::mapi::store {

// Positions run from 0 to Size(); Size() is the place after the last row. Lookups by key in a
// keyset in ascending key order (a table in its natural order) are binary searches; in any
// other order they scan while they are few and then build a hash index once, so a keyset that
// is only paged through never pays for the index. One owner at a time; allocation failures throw
// std::bad_alloc.
class Keyset {
public:
    Keyset() : Keyset(nullptr) {}
    // Null keys: none. `ascending`: the keys are known to ascend.
    explicit Keyset(KeyList keys, bool ascending = false)
        : keys_(keys ? std::move(keys) : std::make_shared<const std::vector<RowKey>>()),
          order_(ascending ? Order::Ascending : Order::Unknown) {}

    std::size_t Size() const { return keys_->size(); }
    RowKey At(std::size_t position) const { return (*keys_)[position]; }
    // The keys at positions [begin, end).
    std::span<const RowKey> Range(std::size_t begin, std::size_t end) const {
        return std::span<const RowKey>(*keys_).subspan(begin, end - begin);
    }

    // Where `key` sits, or nullopt when it is not in the keyset.
    std::optional<std::size_t> PositionOf(RowKey key);

    // Where `position` of `before` (an older keyset of the same table) lands here: on the same
    // row; when that row left, on the first row after it in `before` that is still here; else at
    // the end. `moved` is whether it no longer stands on the same row. The end stays the end,
    // except in an empty keyset, where the one position counts as the beginning.
    std::size_t Carry(const Keyset& before, std::size_t position, bool& moved);

    // The positions of those `keys` that are here and lie in the search direction from `from`:
    // at or after it forward, before it backward. Ordered nearest first, without repeats.
    std::vector<std::size_t> PositionsFrom(std::span<const RowKey> keys, std::size_t from,
                                           bool backward);

    // Whether the keys ascend (a table in its source's natural order).
    bool InKeyOrder();

private:
    void BuildIndex();

    KeyList keys_;
    std::unordered_map<RowKey, std::size_t> index_;
    bool indexed_ = false;
    int scans_ = 0;
    enum class Order { Unknown, Ascending, Other } order_;
};

}  // namespace orvella::platform::mapi::store
