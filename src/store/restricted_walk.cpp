// The restricted table walk.
#include "restricted_walk.h"

#include "mapi_ptr.h"
#include "store_failures.h"

using namespace store_failures;

WalkFailures WalkFailuresOf(const std::string& operation) {
    return {operation + ": SeekRow failed", operation + ": FindRow failed",
            operation + ": QueryRows failed"};
}

bool ReportShortRow(const std::string& message, int line) {
    ReportFailure(orvella::diag::ProgramException(message, "", 2, kModule, line));
    return false;
}

void WalkRestricted(IMAPITable* table, SRestriction* restriction, LONG rowsPerMatch,
                    const WalkFailures& failures,
                    const std::function<bool(const SRowSet& rows)>& onRows) {
    HRESULT hr = table->SeekRow(BOOKMARK_BEGINNING, 0, nullptr);
    if (hr == MAPI_E_NOT_FOUND) return;
    CheckMapi(hr, table, failures.seek);
    for (;;) {
        hr = table->FindRow(restriction, BOOKMARK_CURRENT, 0);
        if (hr == MAPI_E_NOT_FOUND) return;
        CheckMapi(hr, table, failures.find);
        orvella::platform::mapi::RowSetPtr rows;
        CheckMapi(table->QueryRows(rowsPerMatch, 0, &rows), table, failures.query);
        if (rows->cRows == 0 || !onRows(*rows)) return;
    }
}
