// The narrowing wrapper over MemoryRowSource used to drive the table's candidate path.
#include "narrowing_row_source.h"

#include <algorithm>

#include "mapitags.h"

namespace orvella::platform::mapi::testing {

using store::RowKey;
using store::RowValues;

NarrowingRowSource::NarrowingRowSource(std::shared_ptr<store::MemoryRowSource> rows,
                                       unsigned noise_seed)
    : rows_(std::move(rows)), noise_(noise_seed) {}

std::set<RowKey> NarrowingRowSource::Holding(ULONG tag) {
    store::KeyList all;
    rows_->Keys(nullptr, nullptr, all);
    SPropTagArray column = {1, {tag}};
    std::vector<RowValues> values;
    rows_->ReadRows(*all, column, values);
    std::set<RowKey> holding;
    for (const RowValues& row : values) {
        if (row.values[0].ulPropTag == tag) holding.insert(row.key);
    }
    return holding;
}

std::optional<std::set<RowKey>> NarrowingRowSource::Narrow(const SRestriction& restriction) {
    switch (restriction.rt) {
        case RES_PROPERTY: {
            const ULONG relop = restriction.res.resProperty.relop;
            if (relop != RELOP_EQ && relop != RELOP_GT && relop != RELOP_GE) return std::nullopt;
            return Holding(restriction.res.resProperty.ulPropTag);
        }
        case RES_CONTENT:
            return Holding(restriction.res.resContent.ulPropTag);
        case RES_EXIST:
            return Holding(restriction.res.resExist.ulPropTag);
        case RES_AND:
            for (ULONG i = 0; i < restriction.res.resAnd.cRes; ++i) {
                if (auto part = Narrow(restriction.res.resAnd.lpRes[i])) return part;
            }
            return std::nullopt;
        case RES_OR: {
            std::set<RowKey> all;
            for (ULONG i = 0; i < restriction.res.resOr.cRes; ++i) {
                auto part = Narrow(restriction.res.resOr.lpRes[i]);
                if (!part) return std::nullopt;
                all.insert(part->begin(), part->end());
            }
            return all;
        }
        default:
            return std::nullopt;
    }
}

HRESULT NarrowingRowSource::Candidates(const SRestriction& restriction,
                                       store::CandidateWindow* window,
                                       std::optional<std::vector<RowKey>>& candidates) {
    candidates.reset();
    std::optional<std::set<RowKey>> narrowed = Narrow(restriction);
    if (!narrowed) return S_OK;
    store::KeyList all;
    rows_->Keys(nullptr, nullptr, all);
    for (int i = 0; i < 3 && !all->empty(); ++i) narrowed->insert((*all)[noise_() % all->size()]);
    for (RowKey stranger : {RowKey{0}, RowKey{-7}, RowKey{1'000'000'000}})
        narrowed->insert(stranger);
    std::vector<RowKey> keys(narrowed->begin(), narrowed->end());
    if (window) {
        // The nearest one to three in the window's direction, in key order.
        std::erase_if(keys, [&](RowKey key) {
            return window->backward ? key >= window->from : key < window->from;
        });
        const std::size_t taken = std::min<std::size_t>(window->limit, 1 + noise_() % 3);
        window->more = keys.size() > taken;
        if (window->more) {
            if (window->backward) {
                keys.erase(keys.begin(), keys.end() - static_cast<std::ptrdiff_t>(taken));
            } else {
                keys.resize(taken);
            }
        }
    } else {
        std::shuffle(keys.begin(), keys.end(), noise_);
    }
    candidates = std::move(keys);
    return S_OK;
}

HRESULT NarrowingRowSource::MembershipVersion(std::uint64_t& version) {
    return rows_->MembershipVersion(version);
}

HRESULT NarrowingRowSource::Keys(const SRestriction* restriction, const SSortOrderSet* sort,
                                 store::KeyList& keys) {
    keys.reset();
    if (FAILED(failure_)) return failure_;
    return rows_->Keys(restriction, sort, keys);
}

HRESULT NarrowingRowSource::Match(std::span<const RowKey> keys, const SRestriction& restriction,
                                  std::vector<bool>& matches) {
    matched_keys_ += keys.size();
    matches.clear();
    if (FAILED(failure_)) return failure_;
    return rows_->Match(keys, restriction, matches);
}

HRESULT NarrowingRowSource::ReadRows(std::span<const RowKey> keys, const SPropTagArray& columns,
                                     std::vector<RowValues>& rows) {
    read_keys_ += keys.size();
    rows.clear();
    if (FAILED(failure_)) return failure_;
    return rows_->ReadRows(keys, columns, rows);
}

std::vector<ULONG> NarrowingRowSource::DefaultColumns() {
    return rows_->DefaultColumns();
}

}  // namespace orvella::platform::mapi::testing
