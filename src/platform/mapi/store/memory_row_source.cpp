// In-memory rows for tables: copies of values, restriction and sort through the store's one
// evaluator and value order.
#include "memory_row_source.h"

#include <algorithm>
#include <new>

#include "mapitags.h"
#include "mapiutil.h"
#include "restriction.h"

namespace orvella::platform::mapi::store {
namespace {

// Copies values into one MAPI buffer; MAPI_E_INVALID_PARAMETER for an undefined type.
HRESULT CopyValues(std::span<const SPropValue> values, MapiBuffer<SPropValue>& copy) {
    LPSPropValue block = nullptr;
    SCODE sc = ScDupPropset(static_cast<int>(values.size()),
                            const_cast<LPSPropValue>(values.data()), MAPIAllocateBuffer, &block);
    if (FAILED(sc)) return sc;
    copy.Reset(block);
    return S_OK;
}

// Whether a column or sort key names PR_INSTANCE_KEY.
bool NamesInstanceKey(ULONG tag) {
    return PROP_ID(tag) == PROP_ID(PR_INSTANCE_KEY) &&
           (PROP_TYPE(tag) == PT_UNSPECIFIED || tag == PR_INSTANCE_KEY);
}

// One stored row as tables see it: its values plus PR_INSTANCE_KEY made from its key, most
// significant byte first, so that instance keys sort as their row keys do.
class RowView {
public:
    RowView(RowKey key, const SPropValue* values, ULONG count) : values_(values, count) {
        for (int i = 0; i < 8; ++i) {
            key_bytes_[i] = static_cast<BYTE>(static_cast<std::uint64_t>(key) >> (8 * (7 - i)));
        }
        instance_key_.ulPropTag = PR_INSTANCE_KEY;
        instance_key_.dwAlignPad = 0;
        instance_key_.Value.bin = {sizeof(key_bytes_), key_bytes_};
    }
    RowView(const RowView&) = delete;
    RowView& operator=(const RowView&) = delete;

    // The value with exactly `tag`, or with its id when the tag's type is PT_UNSPECIFIED.
    const SPropValue* Find(ULONG tag) const {
        if (NamesInstanceKey(tag)) return &instance_key_;
        const bool any_type = PROP_TYPE(tag) == PT_UNSPECIFIED;
        for (const SPropValue& value : values_) {
            if (value.ulPropTag == tag) return &value;
            if (any_type && PROP_ID(value.ulPropTag) == PROP_ID(tag)) return &value;
        }
        return nullptr;
    }

    bool Satisfies(const SRestriction& restriction) const {
        return EvaluateRestriction(restriction, [this](ULONG tag) -> const SPropValue* {
            return PROP_TYPE(tag) == PT_UNSPECIFIED ? nullptr : Find(tag);
        });
    }

private:
    std::span<const SPropValue> values_;
    BYTE key_bytes_[8];
    SPropValue instance_key_;
};

// Missing values first, then CompareProps.
int CompareSortValues(const SPropValue* a, const SPropValue* b) {
    if (a == nullptr || b == nullptr) return (a != nullptr) - (b != nullptr);
    return CompareProps(*a, *b);
}

}  // namespace

MemoryRowSource::MemoryRowSource(std::vector<ULONG> default_columns)
    : default_columns_(std::move(default_columns)) {}

RowKey MemoryRowSource::AddRow(std::span<const SPropValue> values) {
    Row row;
    if (FAILED(CopyValues(values, row.values))) return 0;
    row.count = static_cast<ULONG>(values.size());
    std::lock_guard<std::mutex> lock(mutex_);
    const RowKey key = next_key_;
    rows_.emplace(key, std::move(row));
    ++next_key_;
    ++version_;
    return key;
}

bool MemoryRowSource::RemoveRow(RowKey key) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (rows_.erase(key) == 0) return false;
    ++version_;
    return true;
}

bool MemoryRowSource::ReplaceRow(RowKey key, std::span<const SPropValue> values) {
    Row replacement;
    if (FAILED(CopyValues(values, replacement.values))) return false;
    replacement.count = static_cast<ULONG>(values.size());
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = rows_.find(key);
    if (it == rows_.end()) return false;
    it->second = std::move(replacement);
    return true;
}

void MemoryRowSource::Clear() {
    std::lock_guard<std::mutex> lock(mutex_);
    if (rows_.empty()) return;
    rows_.clear();
    ++version_;
}

HRESULT MemoryRowSource::MembershipVersion(std::uint64_t& version) {
    std::lock_guard<std::mutex> lock(mutex_);
    version = version_;
    return S_OK;
}

HRESULT MemoryRowSource::Keys(const SRestriction* restriction, const SSortOrderSet* sort,
                              KeyList& list) {
    list.reset();
    try {
        const ULONG sorts = sort != nullptr ? sort->cSorts : 0;
        // Per kept row: its key, then one value pointer per sort key (null: lacking).
        std::vector<RowKey> kept;
        std::vector<const SPropValue*> sort_values;
        std::lock_guard<std::mutex> lock(mutex_);
        for (const auto& [key, row] : rows_) {
            const RowView view(key, row.values.Get(), row.count);
            if (restriction != nullptr && !view.Satisfies(*restriction)) continue;
            kept.push_back(key);
            for (ULONG s = 0; s < sorts; ++s) {
                const ULONG tag = sort->aSort[s].ulPropTag & ~MV_INSTANCE;
                sort_values.push_back(NamesInstanceKey(tag) ? nullptr : view.Find(tag));
            }
        }
        // The view that made an instance key is gone by now; instance keys order as row keys.
        std::vector<std::size_t> order(kept.size());
        for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
        auto before = [&](std::size_t a, std::size_t b) {
            for (ULONG s = 0; s < sorts; ++s) {
                int c =
                    NamesInstanceKey(sort->aSort[s].ulPropTag & ~MV_INSTANCE)
                        ? (kept[a] > kept[b]) - (kept[a] < kept[b])
                        : CompareSortValues(sort_values[a * sorts + s], sort_values[b * sorts + s]);
                if ((sort->aSort[s].ulOrder & TABLE_SORT_DESCEND) != 0) c = -c;
                if (c != 0) return c < 0;
            }
            return false;
        };
        if (sorts > 0) std::stable_sort(order.begin(), order.end(), before);
        auto keys = std::make_shared<std::vector<RowKey>>();
        keys->reserve(order.size());
        for (std::size_t i : order) keys->push_back(kept[i]);
        list = std::move(keys);
    } catch (const std::bad_alloc&) {
        list.reset();
        return MAPI_E_NOT_ENOUGH_MEMORY;
    }
    return S_OK;
}

HRESULT MemoryRowSource::Candidates(const SRestriction&, CandidateWindow*,
                                    std::optional<std::vector<RowKey>>& candidates) {
    candidates.reset();
    return S_OK;
}

HRESULT MemoryRowSource::Match(std::span<const RowKey> keys, const SRestriction& restriction,
                               std::vector<bool>& matches) {
    try {
        matches.assign(keys.size(), false);
        std::lock_guard<std::mutex> lock(mutex_);
        for (std::size_t i = 0; i < keys.size(); ++i) {
            auto it = rows_.find(keys[i]);
            if (it == rows_.end()) continue;
            const RowView view(it->first, it->second.values.Get(), it->second.count);
            matches[i] = view.Satisfies(restriction);
        }
    } catch (const std::bad_alloc&) {
        matches.clear();
        return MAPI_E_NOT_ENOUGH_MEMORY;
    }
    return S_OK;
}

HRESULT MemoryRowSource::ReadRows(std::span<const RowKey> keys, const SPropTagArray& columns,
                                  std::vector<RowValues>& rows) {
    rows.clear();
    try {
        std::vector<SPropValue> values(columns.cValues);
        std::lock_guard<std::mutex> lock(mutex_);
        for (RowKey key : keys) {
            auto it = rows_.find(key);
            if (it == rows_.end()) continue;
            const RowView view(key, it->second.values.Get(), it->second.count);
            for (ULONG c = 0; c < columns.cValues; ++c) {
                const ULONG tag = columns.aulPropTag[c];
                if (const SPropValue* value = view.Find(tag)) {
                    values[c] = *value;
                } else {
                    values[c] = SPropValue{};
                    values[c].ulPropTag = PROP_TAG(PT_ERROR, PROP_ID(tag));
                    values[c].Value.err = MAPI_E_NOT_FOUND;
                }
            }
            RowValues row;
            row.key = key;
            row.count = columns.cValues;
            HRESULT hr = CopyValues(values, row.values);
            if (FAILED(hr)) {
                rows.clear();
                return hr;
            }
            rows.push_back(std::move(row));
        }
    } catch (const std::bad_alloc&) {
        rows.clear();
        return MAPI_E_NOT_ENOUGH_MEMORY;
    }
    return S_OK;
}

std::vector<ULONG> MemoryRowSource::DefaultColumns() {
    return default_columns_;
}

}  // namespace orvella::platform::mapi::store
