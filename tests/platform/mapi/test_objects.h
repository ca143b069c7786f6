// Small stand-ins for a provider's objects, just enough to drive the MAPI utilities: a property
// bag, a table of rows and a reference counter. The real store provider has tests of its own.
#pragma once

#include <atomic>
#include <map>
#include <vector>

#include "mapi_ptr.h"
#include "mapidefs.h"
#include "mapiutil.h"

namespace orvella::platform::mapi::testing {

inline SPropValue LongValue(ULONG tag, LONG value) {
    SPropValue prop = {};
    prop.ulPropTag = tag;
    prop.Value.l = value;
    return prop;
}

// A MAPI buffer holding one PT_LONG value, as a row or an address entry holds its values.
LPSPropValue NewLongValue(ULONG tag, LONG value);

// Counts references and answers QueryInterface for IUnknown; never deletes itself, so tests
// can read the count after the last Release.
class CountedObject : public IUnknown {
public:
    HRESULT QueryInterface(REFIID riid, void** ppvObject) override;
    ULONG AddRef() override { return ++references_; }
    ULONG Release() override { return --references_; }
    ULONG References() const { return references_; }

private:
    std::atomic<ULONG> references_{1};
};

// An IMAPIProp holding property values in memory; GetProps and SetProps behave as a provider's
// do. Everything else is MAPI_E_NO_SUPPORT.
class PropertyBag final : public IMAPIProp {
public:
    // Reads of this tag come back as PT_ERROR with `error`.
    void FailReads(ULONG tag, SCODE error) { read_failures_[tag] = error; }
    // Writes of this tag are refused with a per-property problem.
    void MakeReadOnly(ULONG tag) { read_only_[tag] = true; }

    HRESULT QueryInterface(REFIID riid, void** ppvObject) override;
    ULONG AddRef() override { return 1; }
    ULONG Release() override { return 1; }

    HRESULT GetProps(LPSPropTagArray lpPropTagArray, ULONG ulFlags, ULONG* lpcValues,
                     LPSPropValue* lppPropArray) override;
    HRESULT SetProps(ULONG cValues, LPSPropValue lpPropArray,
                     LPSPropProblemArray* lppProblems) override;

    HRESULT GetLastError(HRESULT, ULONG, LPMAPIERROR*) override { return MAPI_E_NO_SUPPORT; }
    HRESULT SaveChanges(ULONG) override { return MAPI_E_NO_SUPPORT; }
    HRESULT GetPropList(ULONG, LPSPropTagArray*) override { return MAPI_E_NO_SUPPORT; }
    HRESULT OpenProperty(ULONG, LPCIID, ULONG, ULONG, LPUNKNOWN*) override {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT DeleteProps(LPSPropTagArray, LPSPropProblemArray*) override {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT CopyTo(ULONG, LPCIID, LPSPropTagArray, ULONG_PTR, LPMAPIPROGRESS, LPCIID, LPVOID, ULONG,
                   LPSPropProblemArray*) override {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT CopyProps(LPSPropTagArray, ULONG_PTR, LPMAPIPROGRESS, LPCIID, LPVOID, ULONG,
                      LPSPropProblemArray*) override {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT GetNamesFromIDs(LPSPropTagArray*, LPGUID, ULONG, ULONG*, LPMAPINAMEID**) override {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT GetIDsFromNames(ULONG, LPMAPINAMEID*, ULONG, LPSPropTagArray*) override {
        return MAPI_E_NO_SUPPORT;
    }

private:
    std::map<ULONG, MapiBuffer<SPropValue>> values_;  // by property id
    std::map<ULONG, SCODE> read_failures_;
    std::map<ULONG, bool> read_only_;
};

// An IMAPITable over fixed rows: columns, an existence restriction, a sort on one PT_LONG
// column, SeekRow from the beginning or the cursor, and QueryRows. QueryRows can be made to
// fail from its Nth call on.
class RowTable final : public IMAPITable {
public:
    // Adds a row holding copies of the values.
    void AddRow(std::vector<SPropValue> values);
    void FailQueryRowsFrom(int call, HRESULT result) {
        fail_from_call_ = call;
        failure_ = result;
    }
    int QueryRowsCalls() const { return query_rows_calls_; }

    HRESULT QueryInterface(REFIID riid, void** ppvObject) override;
    ULONG AddRef() override { return 1; }
    ULONG Release() override { return 1; }

    HRESULT SetColumns(LPSPropTagArray lpPropTagArray, ULONG ulFlags) override;
    HRESULT GetRowCount(ULONG ulFlags, ULONG* lpulCount) override;
    HRESULT SeekRow(BOOKMARK bkOrigin, LONG lRowCount, LONG* lplRowsSought) override;
    HRESULT Restrict(LPSRestriction lpRestriction, ULONG ulFlags) override;
    HRESULT SortTable(LPSSortOrderSet lpSortCriteria, ULONG ulFlags) override;
    HRESULT QueryRows(LONG lRowCount, ULONG ulFlags, LPSRowSet* lppRows) override;

    HRESULT GetLastError(HRESULT, ULONG, LPMAPIERROR*) override { return MAPI_E_NO_SUPPORT; }
    HRESULT Advise(ULONG, LPMAPIADVISESINK, ULONG_PTR*) override { return MAPI_E_NO_SUPPORT; }
    HRESULT Unadvise(ULONG_PTR) override { return MAPI_E_NO_SUPPORT; }
    HRESULT GetStatus(ULONG*, ULONG*) override { return MAPI_E_NO_SUPPORT; }
    HRESULT QueryColumns(ULONG, LPSPropTagArray*) override { return MAPI_E_NO_SUPPORT; }
    HRESULT SeekRowApprox(ULONG, ULONG) override { return MAPI_E_NO_SUPPORT; }
    HRESULT QueryPosition(ULONG*, ULONG*, ULONG*) override { return MAPI_E_NO_SUPPORT; }
    HRESULT FindRow(LPSRestriction, BOOKMARK, ULONG) override { return MAPI_E_NO_SUPPORT; }
    HRESULT CreateBookmark(BOOKMARK*) override { return MAPI_E_NO_SUPPORT; }
    HRESULT FreeBookmark(BOOKMARK) override { return MAPI_E_NO_SUPPORT; }
    HRESULT QuerySortOrder(LPSSortOrderSet*) override { return MAPI_E_NO_SUPPORT; }
    HRESULT Abort() override { return MAPI_E_NO_SUPPORT; }
    HRESULT ExpandRow(ULONG, LPBYTE, ULONG, ULONG, LPSRowSet*, ULONG*) override {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT CollapseRow(ULONG, LPBYTE, ULONG, ULONG*) override { return MAPI_E_NO_SUPPORT; }
    HRESULT WaitForCompletion(ULONG, ULONG, ULONG*) override { return MAPI_E_NO_SUPPORT; }
    HRESULT GetCollapseState(ULONG, ULONG, LPBYTE, ULONG*, LPBYTE*) override {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT SetCollapseState(ULONG, ULONG, LPBYTE, BOOKMARK*) override { return MAPI_E_NO_SUPPORT; }

private:
    struct Row {
        ULONG count;
        MapiBuffer<SPropValue> values;
    };
    const SPropValue* Find(const Row& row, ULONG tag) const;
    HRESULT FillRow(const Row& row, SRow* out) const;

    std::vector<Row> rows_;
    std::vector<size_t> view_;  // indices into rows_, restricted and sorted
    std::vector<ULONG> columns_;
    size_t cursor_ = 0;
    int query_rows_calls_ = 0;
    int fail_from_call_ = 0;  // 0: never
    HRESULT failure_ = S_OK;
};

}  // namespace orvella::platform::mapi::testing
