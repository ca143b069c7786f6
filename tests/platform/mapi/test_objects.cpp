// The property bag, row table and counted object the MAPI utility tests drive.
#include "test_objects.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "mapiguid.h"
#include "mapitags.h"

namespace orvella::platform::mapi::testing {

namespace {

HRESULT AnswerQueryInterface(IUnknown* self, REFIID riid, REFIID own, void** ppvObject) {
    if (riid == IID_IUnknown || riid == own) {
        self->AddRef();
        *ppvObject = self;
        return S_OK;
    }
    *ppvObject = nullptr;
    return E_NOINTERFACE;
}

MapiBuffer<SPropValue> Duplicate(const SPropValue* values, ULONG count) {
    LPSPropValue copy = nullptr;
    EXPECT_EQ(ScDupPropset(static_cast<int>(count), const_cast<LPSPropValue>(values),
                           MAPIAllocateBuffer, &copy),
              S_OK);
    return MapiBuffer<SPropValue>(copy);
}

// Copies `value` into `out`, linked to the buffer `parent`, or records it as missing.
SCODE CopyOrMissing(const SPropValue* value, ULONG tag, SPropValue* out, void* parent) {
    if (value == nullptr) {
        *out = SPropValue{CHANGE_PROP_TYPE(tag, PT_ERROR), 0, {}};
        out->Value.err = MAPI_E_NOT_FOUND;
        return MAPI_W_ERRORS_RETURNED;
    }
    SCODE sc = PropCopyMore(out, const_cast<LPSPropValue>(value), MAPIAllocateMore, parent);
    return FAILED(sc) ? sc : S_OK;
}

}  // namespace

LPSPropValue NewLongValue(ULONG tag, LONG value) {
    LPVOID block = nullptr;
    if (FAILED(MAPIAllocateBuffer(sizeof(SPropValue), &block))) return nullptr;
    *static_cast<LPSPropValue>(block) = LongValue(tag, value);
    return static_cast<LPSPropValue>(block);
}

HRESULT CountedObject::QueryInterface(REFIID riid, void** ppvObject) {
    return AnswerQueryInterface(this, riid, IID_IUnknown, ppvObject);
}

HRESULT PropertyBag::QueryInterface(REFIID riid, void** ppvObject) {
    return AnswerQueryInterface(this, riid, IID_IMAPIProp, ppvObject);
}

HRESULT PropertyBag::GetProps(LPSPropTagArray lpPropTagArray, ULONG, ULONG* lpcValues,
                              LPSPropValue* lppPropArray) {
    if (lpPropTagArray == nullptr) return MAPI_E_NO_SUPPORT;
    const ULONG count = lpPropTagArray->cValues;
    LPVOID block = nullptr;
    if (FAILED(MAPIAllocateBuffer(count * sizeof(SPropValue), &block))) {
        return MAPI_E_NOT_ENOUGH_MEMORY;
    }
    MapiBuffer<SPropValue> result(static_cast<LPSPropValue>(block));
    HRESULT hr = S_OK;
    for (ULONG i = 0; i < count; ++i) {
        const ULONG tag = lpPropTagArray->aulPropTag[i];
        auto failure = read_failures_.find(tag);
        if (failure != read_failures_.end()) {
            result[i] = SPropValue{CHANGE_PROP_TYPE(tag, PT_ERROR), 0, {}};
            result[i].Value.err = failure->second;
            hr = MAPI_W_ERRORS_RETURNED;
            continue;
        }
        auto stored = values_.find(PROP_ID(tag));
        const SPropValue* value = nullptr;
        if (stored != values_.end() &&
            (PROP_TYPE(tag) == PT_UNSPECIFIED || stored->second->ulPropTag == tag)) {
            value = stored->second.Get();
        }
        SCODE sc = CopyOrMissing(value, tag, &result[i], block);
        if (FAILED(sc)) return sc;
        if (sc != S_OK) hr = sc;
    }
    *lpcValues = count;
    *lppPropArray = result.Detach();
    return hr;
}

HRESULT PropertyBag::SetProps(ULONG cValues, LPSPropValue lpPropArray,
                              LPSPropProblemArray* lppProblems) {
    std::vector<SPropProblem> problems;
    for (ULONG i = 0; i < cValues; ++i) {
        const ULONG tag = lpPropArray[i].ulPropTag;
        if (read_only_.count(tag) != 0) {
            problems.push_back(SPropProblem{i, tag, MAPI_E_NO_ACCESS});
            continue;
        }
        values_[PROP_ID(tag)] = Duplicate(&lpPropArray[i], 1);
    }
    if (lppProblems == nullptr) return S_OK;
    *lppProblems = nullptr;
    if (problems.empty()) return S_OK;
    LPVOID block = nullptr;
    if (FAILED(MAPIAllocateBuffer(CbNewSPropProblemArray(problems.size()), &block))) {
        return MAPI_E_NOT_ENOUGH_MEMORY;
    }
    auto* array = static_cast<LPSPropProblemArray>(block);
    array->cProblem = static_cast<ULONG>(problems.size());
    std::copy(problems.begin(), problems.end(), array->aProblem);
    *lppProblems = array;
    return S_OK;
}

void RowTable::AddRow(std::vector<SPropValue> values) {
    const ULONG count = static_cast<ULONG>(values.size());
    rows_.push_back(Row{count, Duplicate(values.data(), count)});
    view_.push_back(rows_.size() - 1);
}

HRESULT RowTable::QueryInterface(REFIID riid, void** ppvObject) {
    return AnswerQueryInterface(this, riid, IID_IMAPITable, ppvObject);
}

HRESULT RowTable::SetColumns(LPSPropTagArray lpPropTagArray, ULONG) {
    columns_.assign(lpPropTagArray->aulPropTag,
                    lpPropTagArray->aulPropTag + lpPropTagArray->cValues);
    return S_OK;
}

HRESULT RowTable::GetRowCount(ULONG, ULONG* lpulCount) {
    *lpulCount = static_cast<ULONG>(view_.size());
    return S_OK;
}

HRESULT RowTable::SeekRow(BOOKMARK bkOrigin, LONG lRowCount, LONG* lplRowsSought) {
    if (bkOrigin != BOOKMARK_BEGINNING && bkOrigin != BOOKMARK_CURRENT) return MAPI_E_NO_SUPPORT;
    const LONG from = bkOrigin == BOOKMARK_BEGINNING ? 0 : static_cast<LONG>(cursor_);
    const LONG to = std::clamp<LONG>(from + lRowCount, 0, static_cast<LONG>(view_.size()));
    cursor_ = static_cast<size_t>(to);
    if (lplRowsSought != nullptr) *lplRowsSought = to - from;
    return S_OK;
}

HRESULT RowTable::Restrict(LPSRestriction lpRestriction, ULONG) {
    if (lpRestriction != nullptr && lpRestriction->rt != RES_EXIST) return MAPI_E_TOO_COMPLEX;
    view_.clear();
    for (size_t i = 0; i < rows_.size(); ++i) {
        if (lpRestriction == nullptr ||
            Find(rows_[i], lpRestriction->res.resExist.ulPropTag) != nullptr) {
            view_.push_back(i);
        }
    }
    cursor_ = 0;
    return S_OK;
}

HRESULT RowTable::SortTable(LPSSortOrderSet lpSortCriteria, ULONG) {
    if (lpSortCriteria->cSorts != 1) return MAPI_E_TOO_COMPLEX;
    const SSortOrder order = lpSortCriteria->aSort[0];
    if (PROP_TYPE(order.ulPropTag) != PT_LONG) return MAPI_E_TOO_COMPLEX;
    auto key = [&](size_t row) {
        const SPropValue* value = Find(rows_[row], order.ulPropTag);
        return value != nullptr ? value->Value.l : 0;
    };
    std::stable_sort(view_.begin(), view_.end(), [&](size_t a, size_t b) {
        return order.ulOrder == TABLE_SORT_DESCEND ? key(a) > key(b) : key(a) < key(b);
    });
    cursor_ = 0;
    return S_OK;
}

HRESULT RowTable::QueryRows(LONG lRowCount, ULONG ulFlags, LPSRowSet* lppRows) {
    ++query_rows_calls_;
    if (fail_from_call_ != 0 && query_rows_calls_ >= fail_from_call_) return failure_;
    const size_t count = std::min(static_cast<size_t>(lRowCount), view_.size() - cursor_);
    LPVOID block = nullptr;
    if (FAILED(MAPIAllocateBuffer(CbNewSRowSet(count), &block))) return MAPI_E_NOT_ENOUGH_MEMORY;
    RowSetPtr rows(static_cast<LPSRowSet>(block));
    rows->cRows = 0;
    for (size_t i = 0; i < count; ++i) {
        HRESULT hr = FillRow(rows_[view_[cursor_ + i]], &rows->aRow[i]);
        if (FAILED(hr)) return hr;
        rows->cRows++;
    }
    if ((ulFlags & TBL_NOADVANCE) == 0) cursor_ += count;
    *lppRows = rows.Detach();
    return S_OK;
}

const SPropValue* RowTable::Find(const Row& row, ULONG tag) const {
    return PpropFindProp(row.values.Get(), row.count, tag);
}

HRESULT RowTable::FillRow(const Row& row, SRow* out) const {
    LPVOID block = nullptr;
    if (FAILED(MAPIAllocateBuffer(columns_.size() * sizeof(SPropValue), &block))) {
        return MAPI_E_NOT_ENOUGH_MEMORY;
    }
    MapiBuffer<SPropValue> values(static_cast<LPSPropValue>(block));
    for (size_t i = 0; i < columns_.size(); ++i) {
        SCODE sc = CopyOrMissing(Find(row, columns_[i]), columns_[i], &values[i], block);
        if (FAILED(sc)) return sc;
    }
    *out = SRow{0, static_cast<ULONG>(columns_.size()), values.Detach()};
    return S_OK;
}

}  // namespace orvella::platform::mapi::testing
