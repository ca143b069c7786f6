// The embedded store's IMAPITable: keyset upkeep, cursor moves, reads, searches and bookmarks.
#include "mapi_table.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

#include "mapiguid.h"
#include "restriction_copy.h"

namespace orvella::platform::mapi::store {
namespace {

constexpr std::size_t kMaxBookmarks = 255;
// Rows matched per call to the source when FindRow scans every row from its origin.
constexpr std::size_t kScanBatch = 64;
// The most candidates matched per call (batches grow to it from one).
constexpr std::size_t kCandidateBatch = 16;
// Candidates asked for first by a search through a table in key order.
constexpr std::size_t kCandidateWindow = 8;
// Each further window of one search is twice as large, up to this.
constexpr std::size_t kCandidateWindowMost = 1024;

HRESULT CopyTags(const ULONG* tags, ULONG count, MapiBuffer<SPropTagArray>& out) {
    void* block = nullptr;
    SCODE sc = MAPIAllocateBuffer(static_cast<ULONG>(CbNewSPropTagArray(count)), &block);
    if (FAILED(sc)) return sc;
    auto* array = static_cast<LPSPropTagArray>(block);
    array->cValues = count;
    if (count > 0) std::memcpy(array->aulPropTag, tags, sizeof(ULONG) * count);
    out.Reset(array);
    return S_OK;
}

// Hands the rows over to a row set whose rows keep their own buffers.
HRESULT MakeRowSet(std::vector<RowValues>& rows, LPSRowSet* out) {
    void* block = nullptr;
    SCODE sc = MAPIAllocateBuffer(static_cast<ULONG>(CbNewSRowSet(rows.size())), &block);
    if (FAILED(sc)) return sc;
    auto* set = static_cast<LPSRowSet>(block);
    set->cRows = static_cast<ULONG>(rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        set->aRow[i].ulAdrEntryPad = 0;
        set->aRow[i].cValues = rows[i].count;
        set->aRow[i].lpProps = rows[i].values.Detach();
    }
    *out = set;
    return S_OK;
}

std::string Describe(HRESULT hr) {
    switch (hr) {
        case MAPI_E_INVALID_PARAMETER:
            return "an argument is missing or invalid";
        case MAPI_E_INVALID_BOOKMARK:
            return "the bookmark was not created by this table or has been freed";
        case MAPI_E_NOT_FOUND:
            return "no row satisfies the restriction";
        case MAPI_E_UNABLE_TO_COMPLETE:
            return "too many bookmarks are in use";
        case MAPI_E_NOT_ENOUGH_MEMORY:
            return "not enough memory";
        case MAPI_E_NO_SUPPORT:
            return "the table does not support this call";
        case MAPI_E_TOO_COMPLEX:
            return "the restriction or sort order is too complex";
        default: {
            char text[64];
            std::snprintf(text, sizeof(text), "the row source failed (0x%08X)",
                          static_cast<unsigned>(hr));
            return text;
        }
    }
}

}  // namespace

ComPtr<IMAPITable> OpenTable(std::shared_ptr<RowSource> source) {
    if (!source) return nullptr;
    try {
        return MakeCom<MapiTable>(std::move(source));
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

MapiTable::MapiTable(std::shared_ptr<RowSource> source) : source_(std::move(source)) {
    const std::vector<ULONG> columns = source_->DefaultColumns();
    if (FAILED(CopyTags(columns.data(), static_cast<ULONG>(columns.size()), columns_))) {
        throw std::bad_alloc();
    }
}

bool MapiTable::Supports(REFIID riid) const {
    return riid == IID_IMAPITable;
}

template <class Body>
HRESULT MapiTable::Run(const char* method, Body&& body) {
    HRESULT hr = S_OK;
    try {
        hr = Guarded(last_error_, [&]() -> HRESULT {
            HRESULT result = body();
            if (FAILED(result)) Remember(result, method);
            return result;
        });
    } catch (...) {  // nothing may leave a COM method
        hr = MAPI_E_CALL_FAILED;
        Remember(hr, method);
    }
    if (FAILED(hr)) last_error_code_ = hr;
    return hr;
}

void MapiTable::Remember(HRESULT hr, const char* method) {
    last_error_code_ = hr;
    try {
        last_error_.Set(std::string(method) + ": " + Describe(hr));
    } catch (const std::bad_alloc&) {
        last_error_.Set({});
    }
}

HRESULT MapiTable::TakeKeys(const SRestriction* restriction, const SSortOrderSet* sort,
                            Keyset& keys, std::uint64_t& version) {
    // The version is read first: a change during Keys then shows at the next call.
    HRESULT hr = source_->MembershipVersion(version);
    if (FAILED(hr)) return hr;
    KeyList ordered;
    hr = source_->Keys(restriction, sort, ordered);
    if (FAILED(hr)) return hr;
    keys =
        Keyset(std::move(ordered), (!sort || sort->cSorts == 0) && source_->NaturalOrderAscends());
    return S_OK;
}

HRESULT MapiTable::Refresh() {
    std::uint64_t version = 0;
    HRESULT hr = source_->MembershipVersion(version);
    if (FAILED(hr)) return hr;
    if (loaded_ && version == version_) return S_OK;
    Keyset fresh;
    hr = TakeKeys(restriction_.Get(), sort_.Get(), fresh, version);
    if (FAILED(hr)) return hr;
    if (!loaded_) {
        Start(std::move(fresh), version);
        return S_OK;
    }
    bool moved = false;
    cursor_ = fresh.Carry(keys_, cursor_, moved);
    for (auto& [id, mark] : bookmarks_) {
        mark.position = fresh.Carry(keys_, mark.position, moved);
        mark.moved = mark.moved || moved;
    }
    keys_ = std::move(fresh);
    version_ = version;
    return S_OK;
}

void MapiTable::Start(Keyset keys, std::uint64_t version) {
    keys_ = std::move(keys);
    version_ = version;
    loaded_ = true;
    cursor_ = 0;
    bookmarks_.clear();
}

HRESULT MapiTable::ResolveOrigin(BOOKMARK bookmark, Origin& origin) {
    switch (bookmark) {
        case BOOKMARK_BEGINNING:
            origin = {0, false};
            return S_OK;
        case BOOKMARK_CURRENT:
            origin = {cursor_, false};
            return S_OK;
        case BOOKMARK_END:
            origin = {keys_.Size(), false};
            return S_OK;
        default: {
            auto it = bookmarks_.find(bookmark);
            if (it == bookmarks_.end()) return MAPI_E_INVALID_BOOKMARK;
            origin = {it->second.position, it->second.moved};
            it->second.moved = false;  // reported once: from now on it stands on its new row
            return S_OK;
        }
    }
}

// ---------------------------------------------------------------------------------------------
// Columns, status and the calls this table does not support.

HRESULT MapiTable::SetColumns(LPSPropTagArray lpPropTagArray, ULONG) {
    return Run("SetColumns", [&]() -> HRESULT {
        if (lpPropTagArray == nullptr) return MAPI_E_INVALID_PARAMETER;
        return CopyTags(lpPropTagArray->aulPropTag, lpPropTagArray->cValues, columns_);
    });
}

HRESULT MapiTable::QueryColumns(ULONG, LPSPropTagArray* lpPropTagArray) {
    return Run("QueryColumns", [&]() -> HRESULT {
        if (lpPropTagArray == nullptr) return MAPI_E_INVALID_PARAMETER;
        *lpPropTagArray = nullptr;
        MapiBuffer<SPropTagArray> copy;
        HRESULT hr = CopyTags(columns_->aulPropTag, columns_->cValues, copy);
        if (SUCCEEDED(hr)) *lpPropTagArray = copy.Detach();
        return hr;
    });
}

HRESULT MapiTable::GetStatus(ULONG* lpulTableStatus, ULONG* lpulTableType) {
    if (lpulTableStatus == nullptr || lpulTableType == nullptr) return MAPI_E_INVALID_PARAMETER;
    *lpulTableStatus = TBLSTAT_COMPLETE;
    *lpulTableType = TBLTYPE_DYNAMIC;
    return S_OK;
}

HRESULT MapiTable::Abort() {
    return S_OK;
}

HRESULT MapiTable::WaitForCompletion(ULONG, ULONG, ULONG* lpulTableStatus) {
    if (lpulTableStatus != nullptr) *lpulTableStatus = TBLSTAT_COMPLETE;
    return S_OK;
}

HRESULT MapiTable::GetLastError(HRESULT hResult, ULONG ulFlags, LPMAPIERROR* lppMAPIError) {
    if (lppMAPIError == nullptr) return MAPI_E_INVALID_PARAMETER;
    *lppMAPIError = nullptr;
    if ((ulFlags & MAPI_UNICODE) != 0) return MAPI_E_BAD_CHARWIDTH;
    if (hResult != last_error_code_) return S_OK;
    return last_error_.Report(lppMAPIError);
}

HRESULT MapiTable::Advise(ULONG, LPMAPIADVISESINK, ULONG_PTR*) {
    return Run("Advise", [] { return MAPI_E_NO_SUPPORT; });
}

HRESULT MapiTable::Unadvise(ULONG_PTR) {
    return Run("Unadvise", [] { return MAPI_E_NO_SUPPORT; });
}

HRESULT MapiTable::ExpandRow(ULONG, LPBYTE, ULONG, ULONG, LPSRowSet*, ULONG*) {
    return Run("ExpandRow", [] { return MAPI_E_NO_SUPPORT; });
}

HRESULT MapiTable::CollapseRow(ULONG, LPBYTE, ULONG, ULONG*) {
    return Run("CollapseRow", [] { return MAPI_E_NO_SUPPORT; });
}

HRESULT MapiTable::GetCollapseState(ULONG, ULONG, LPBYTE, ULONG*, LPBYTE*) {
    return Run("GetCollapseState", [] { return MAPI_E_NO_SUPPORT; });
}

HRESULT MapiTable::SetCollapseState(ULONG, ULONG, LPBYTE, BOOKMARK*) {
    return Run("SetCollapseState", [] { return MAPI_E_NO_SUPPORT; });
}

// ---------------------------------------------------------------------------------------------
// Restriction and sort order.

HRESULT MapiTable::Restrict(LPSRestriction lpRestriction, ULONG) {
    return Run("Restrict", [&]() -> HRESULT {
        MapiBuffer<SRestriction> restriction;
        HRESULT hr = S_OK;
        if (lpRestriction != nullptr && FAILED(hr = CopyRestriction(*lpRestriction, restriction))) {
            return hr;
        }
        Keyset fresh;
        std::uint64_t version = 0;
        if (FAILED(hr = TakeKeys(restriction.Get(), sort_.Get(), fresh, version))) return hr;
        restriction_ = std::move(restriction);
        Start(std::move(fresh), version);
        return S_OK;
    });
}

HRESULT MapiTable::SortTable(LPSSortOrderSet lpSortCriteria, ULONG) {
    return Run("SortTable", [&]() -> HRESULT {
        MapiBuffer<SSortOrderSet> sort;
        HRESULT hr = S_OK;
        if (lpSortCriteria != nullptr && lpSortCriteria->cSorts > 0) {
            if (lpSortCriteria->cCategories > lpSortCriteria->cSorts ||
                lpSortCriteria->cExpanded > lpSortCriteria->cCategories) {
                return MAPI_E_INVALID_PARAMETER;
            }
            if (FAILED(hr = CopySortOrderSet(*lpSortCriteria, sort))) return hr;
        }
        Keyset fresh;
        std::uint64_t version = 0;
        if (FAILED(hr = TakeKeys(restriction_.Get(), sort.Get(), fresh, version))) return hr;
        sort_ = std::move(sort);
        Start(std::move(fresh), version);
        return S_OK;
    });
}

HRESULT MapiTable::QuerySortOrder(LPSSortOrderSet* lppSortCriteria) {
    return Run("QuerySortOrder", [&]() -> HRESULT {
        if (lppSortCriteria == nullptr) return MAPI_E_INVALID_PARAMETER;
        *lppSortCriteria = nullptr;
        const SSortOrderSet natural = {0, 0, 0, {}};
        MapiBuffer<SSortOrderSet> copy;
        HRESULT hr = CopySortOrderSet(sort_ ? *sort_ : natural, copy);
        if (SUCCEEDED(hr)) *lppSortCriteria = copy.Detach();
        return hr;
    });
}

// ---------------------------------------------------------------------------------------------
// Cursor and bookmarks.

HRESULT MapiTable::GetRowCount(ULONG, ULONG* lpulCount) {
    return Run("GetRowCount", [&]() -> HRESULT {
        if (lpulCount == nullptr) return MAPI_E_INVALID_PARAMETER;
        *lpulCount = 0;
        HRESULT hr = Refresh();
        if (FAILED(hr)) return hr;
        *lpulCount = static_cast<ULONG>(keys_.Size());
        return S_OK;
    });
}

HRESULT MapiTable::SeekRow(BOOKMARK bkOrigin, LONG lRowCount, LONG* lplRowsSought) {
    return Run("SeekRow", [&]() -> HRESULT {
        if (lplRowsSought != nullptr) *lplRowsSought = 0;
        HRESULT hr = Refresh();
        if (FAILED(hr)) return hr;
        Origin origin;
        if (FAILED(hr = ResolveOrigin(bkOrigin, origin))) return hr;
        const auto from = static_cast<std::int64_t>(origin.position);
        const std::int64_t target =
            std::clamp<std::int64_t>(from + lRowCount, 0, static_cast<std::int64_t>(keys_.Size()));
        cursor_ = static_cast<std::size_t>(target);
        if (lplRowsSought != nullptr) *lplRowsSought = static_cast<LONG>(target - from);
        return origin.moved ? MAPI_W_POSITION_CHANGED : S_OK;
    });
}

HRESULT MapiTable::SeekRowApprox(ULONG ulNumerator, ULONG ulDenominator) {
    return Run("SeekRowApprox", [&]() -> HRESULT {
        if (ulDenominator == 0) return MAPI_E_INVALID_PARAMETER;
        HRESULT hr = Refresh();
        if (FAILED(hr)) return hr;
        const std::uint64_t numerator = std::min(ulNumerator, ulDenominator);
        cursor_ = static_cast<std::size_t>(keys_.Size() * numerator / ulDenominator);
        return S_OK;
    });
}

HRESULT MapiTable::QueryPosition(ULONG* lpulRow, ULONG* lpulNumerator, ULONG* lpulDenominator) {
    return Run("QueryPosition", [&]() -> HRESULT {
        if (lpulRow == nullptr || lpulNumerator == nullptr || lpulDenominator == nullptr) {
            return MAPI_E_INVALID_PARAMETER;
        }
        HRESULT hr = Refresh();
        if (FAILED(hr)) return hr;
        *lpulRow = static_cast<ULONG>(cursor_);
        *lpulNumerator = static_cast<ULONG>(cursor_);
        *lpulDenominator = static_cast<ULONG>(std::max<std::size_t>(keys_.Size(), 1));
        return S_OK;
    });
}

HRESULT MapiTable::CreateBookmark(BOOKMARK* lpbkPosition) {
    return Run("CreateBookmark", [&]() -> HRESULT {
        if (lpbkPosition == nullptr) return MAPI_E_INVALID_PARAMETER;
        HRESULT hr = Refresh();
        if (FAILED(hr)) return hr;
        if (bookmarks_.size() >= kMaxBookmarks) return MAPI_E_UNABLE_TO_COMPLETE;
        const BOOKMARK id = next_bookmark_++;
        bookmarks_[id] = Bookmark{cursor_, false};
        *lpbkPosition = id;
        return S_OK;
    });
}

HRESULT MapiTable::FreeBookmark(BOOKMARK bkPosition) {
    return Run("FreeBookmark", [&]() -> HRESULT {
        if (bkPosition <= BOOKMARK_END) return S_OK;  // the predefined ones are never freed
        return bookmarks_.erase(bkPosition) == 1 ? S_OK : MAPI_E_INVALID_BOOKMARK;
    });
}

// ---------------------------------------------------------------------------------------------
// Reading rows.

HRESULT MapiTable::ReadForward(std::size_t from, std::size_t wanted, std::vector<RowValues>& rows,
                               std::size_t& next) {
    std::size_t position = from;
    while (rows.size() < wanted && position < keys_.Size()) {
        const std::size_t end = std::min(keys_.Size(), position + (wanted - rows.size()));
        std::vector<RowValues> chunk;
        HRESULT hr = source_->ReadRows(keys_.Range(position, end), *columns_, chunk);
        if (FAILED(hr)) return hr;
        for (RowValues& row : chunk) rows.push_back(std::move(row));
        position = end;
    }
    next = position;
    return S_OK;
}

HRESULT MapiTable::ReadBackward(std::size_t from, std::size_t wanted, std::vector<RowValues>& rows,
                                std::size_t& first) {
    // Chunks are read nearest first and put back into table order at the end.
    std::vector<std::vector<RowValues>> chunks;
    std::size_t position = from;
    std::size_t count = 0;
    while (count < wanted && position > 0) {
        const std::size_t begin = position - std::min(position, wanted - count);
        std::vector<RowValues> chunk;
        HRESULT hr = source_->ReadRows(keys_.Range(begin, position), *columns_, chunk);
        if (FAILED(hr)) return hr;
        count += chunk.size();
        chunks.push_back(std::move(chunk));
        position = begin;
    }
    for (auto chunk = chunks.rbegin(); chunk != chunks.rend(); ++chunk) {
        for (RowValues& row : *chunk) rows.push_back(std::move(row));
    }
    first = position;
    return S_OK;
}

HRESULT MapiTable::QueryRows(LONG lRowCount, ULONG ulFlags, LPSRowSet* lppRows) {
    return Run("QueryRows", [&]() -> HRESULT {
        if (lppRows == nullptr) return MAPI_E_INVALID_PARAMETER;
        *lppRows = nullptr;
        if (lRowCount == 0) return MAPI_E_INVALID_PARAMETER;
        HRESULT hr = Refresh();
        if (FAILED(hr)) return hr;
        const bool forward = lRowCount > 0;
        const std::size_t available = forward ? keys_.Size() - cursor_ : cursor_;
        const auto asked = static_cast<std::size_t>(
            forward ? static_cast<std::int64_t>(lRowCount) : -static_cast<std::int64_t>(lRowCount));
        const std::size_t wanted = std::min(asked, available);
        std::vector<RowValues> rows;
        rows.reserve(wanted);
        std::size_t after = cursor_;
        hr = forward ? ReadForward(cursor_, wanted, rows, after)
                     : ReadBackward(cursor_, wanted, rows, after);
        if (FAILED(hr)) return hr;
        if (FAILED(hr = MakeRowSet(rows, lppRows))) return hr;
        if ((ulFlags & TBL_NOADVANCE) == 0) cursor_ = after;
        return S_OK;
    });
}

// ---------------------------------------------------------------------------------------------
// Searching.

HRESULT MapiTable::SearchCandidates(const SRestriction& restriction,
                                    const std::vector<std::size_t>& positions,
                                    std::optional<std::size_t>& found) {
    std::vector<RowKey> batch;
    std::vector<bool> matches;
    // Batches grow from one candidate: most searches end at the first, and a walk from match
    // to match should read one row per step, not a batch.
    std::size_t size = 1;
    for (std::size_t begin = 0; begin < positions.size();
         begin += size, size = std::min(size * 2, kCandidateBatch)) {
        const std::size_t end = std::min(positions.size(), begin + size);
        batch.clear();
        for (std::size_t i = begin; i < end; ++i) batch.push_back(keys_.At(positions[i]));
        HRESULT hr = source_->Match(batch, restriction, matches);
        if (FAILED(hr)) return hr;
        for (std::size_t i = 0; i < batch.size() && i < matches.size(); ++i) {
            if (matches[i]) {
                found = positions[begin + i];
                return S_OK;
            }
        }
    }
    return S_OK;
}

HRESULT MapiTable::SearchAll(const SRestriction& restriction, std::size_t from, bool backward,
                             std::optional<std::size_t>& found) {
    std::vector<bool> matches;
    if (!backward) {
        for (std::size_t begin = from; begin < keys_.Size(); begin += kScanBatch) {
            const std::size_t end = std::min(keys_.Size(), begin + kScanBatch);
            HRESULT hr = source_->Match(keys_.Range(begin, end), restriction, matches);
            if (FAILED(hr)) return hr;
            for (std::size_t i = 0; i < end - begin && i < matches.size(); ++i) {
                if (matches[i]) {
                    found = begin + i;
                    return S_OK;
                }
            }
        }
        return S_OK;
    }
    for (std::size_t end = from; end > 0;) {
        const std::size_t begin = end - std::min(end, kScanBatch);
        HRESULT hr = source_->Match(keys_.Range(begin, end), restriction, matches);
        if (FAILED(hr)) return hr;
        for (std::size_t i = end - begin; i-- > 0;) {
            if (i < matches.size() && matches[i]) {
                found = begin + i;
                return S_OK;
            }
        }
        end = begin;
    }
    return S_OK;
}

HRESULT MapiTable::Search(const SRestriction& restriction, std::size_t from, bool backward,
                          std::optional<std::size_t>& found) {
    found.reset();
    if (backward ? from == 0 : from >= keys_.Size()) return S_OK;
    // A table in key order asks for candidates a window at a time, so that a walk from match to
    // match costs what it passes over rather than the whole table each time.
    std::optional<CandidateWindow> window;
    if (keys_.InKeyOrder()) {
        window = CandidateWindow{
            from < keys_.Size() ? keys_.At(from) : std::numeric_limits<RowKey>::max(), backward,
            kCandidateWindow};
    }
    for (;;) {
        std::optional<std::vector<RowKey>> candidates;
        if (window) window->exact = false;
        HRESULT hr = source_->Candidates(restriction, window ? &*window : nullptr, candidates);
        if (FAILED(hr)) return hr;
        if (!candidates) return SearchAll(restriction, from, backward, found);
        const std::vector<std::size_t> positions = keys_.PositionsFrom(*candidates, from, backward);
        if (window && window->exact) {
            if (!positions.empty()) found = positions.front();
        } else {
            hr = SearchCandidates(restriction, positions, found);
        }
        if (FAILED(hr) || found || !window || !window->more || candidates->empty()) return hr;
        window->from = backward ? candidates->front() : candidates->back() + 1;
        window->more = false;
        window->limit = std::min(window->limit * 2, kCandidateWindowMost);
    }
}

HRESULT MapiTable::FindRow(LPSRestriction lpRestriction, BOOKMARK bkOrigin, ULONG ulFlags) {
    return Run("FindRow", [&]() -> HRESULT {
        if (lpRestriction == nullptr) return MAPI_E_INVALID_PARAMETER;
        HRESULT hr = Refresh();
        if (FAILED(hr)) return hr;
        Origin origin;
        if (FAILED(hr = ResolveOrigin(bkOrigin, origin))) return hr;
        std::optional<std::size_t> found;
        hr = Search(*lpRestriction, origin.position, (ulFlags & DIR_BACKWARD) != 0, found);
        if (FAILED(hr)) return hr;
        if (!found) return MAPI_E_NOT_FOUND;
        cursor_ = *found;
        return origin.moved ? MAPI_W_POSITION_CHANGED : S_OK;
    });
}

}  // namespace orvella::platform::mapi::store
