// Key lookups over a table's keyset: following rows across keyset changes, placing candidates.
#include "keyset.h"

#include <algorithm>
#include <functional>

namespace orvella::platform::mapi::store {
namespace {

// Lookups answered by scanning before the index pays for itself.
constexpr int kScansBeforeIndex = 4;

}  // namespace

void Keyset::BuildIndex() {
    const std::vector<RowKey>& keys = *keys_;
    index_.reserve(keys.size());
    for (std::size_t i = 0; i < keys.size(); ++i) index_.emplace(keys[i], i);
    indexed_ = true;
}

bool Keyset::InKeyOrder() {
    if (order_ == Order::Unknown)
        order_ =
            std::adjacent_find(keys_->begin(), keys_->end(), std::greater_equal<>()) == keys_->end()
                ? Order::Ascending
                : Order::Other;
    return order_ == Order::Ascending;
}

std::optional<std::size_t> Keyset::PositionOf(RowKey key) {
    const std::vector<RowKey>& keys = *keys_;
    if (InKeyOrder()) {
        auto it = std::lower_bound(keys.begin(), keys.end(), key);
        if (it == keys.end() || *it != key) return std::nullopt;
        return static_cast<std::size_t>(it - keys.begin());
    }
    if (!indexed_ && scans_ < kScansBeforeIndex) {
        ++scans_;
        auto it = std::find(keys.begin(), keys.end(), key);
        if (it == keys.end()) return std::nullopt;
        return static_cast<std::size_t>(it - keys.begin());
    }
    if (!indexed_) BuildIndex();
    auto it = index_.find(key);
    if (it == index_.end()) return std::nullopt;
    return it->second;
}

std::size_t Keyset::Carry(const Keyset& before, std::size_t position, bool& moved) {
    moved = false;
    if (before.Size() == 0) return 0;  // the beginning of an empty table is its end too
    if (position >= before.Size()) return Size();
    for (std::size_t i = position; i < before.Size(); ++i) {
        if (std::optional<std::size_t> here = PositionOf(before.At(i))) {
            moved = i != position;
            return *here;
        }
    }
    moved = true;
    return Size();
}

std::vector<std::size_t> Keyset::PositionsFrom(std::span<const RowKey> keys, std::size_t from,
                                               bool backward) {
    std::vector<std::size_t> positions;
    positions.reserve(keys.size());
    for (RowKey key : keys) {
        std::optional<std::size_t> at = PositionOf(key);
        if (at && (backward ? *at < from : *at >= from)) positions.push_back(*at);
    }
    if (backward) {
        std::sort(positions.begin(), positions.end(), std::greater<>());
    } else {
        std::sort(positions.begin(), positions.end());
    }
    positions.erase(std::unique(positions.begin(), positions.end()), positions.end());
    return positions;
}

}  // namespace orvella::platform::mapi::store
