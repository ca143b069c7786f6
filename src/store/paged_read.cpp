// The paged table read.
#include "paged_read.h"

#include "mapi_ptr.h"
#include "store_failures.h"

using namespace store_failures;

void ReadTablePaged(IMAPITable* table, const std::string& seekFailure,
                    const std::string& queryFailure,
                    const std::function<bool(const SRowSet& page)>& onPage) {
    constexpr LONG kPageRows = 50;
    LONG read = 0;
    for (;;) {
        HRESULT hr = table->SeekRow(BOOKMARK_BEGINNING, read, nullptr);
        if (hr == MAPI_E_NOT_FOUND) return;
        CheckMapi(hr, table, seekFailure);
        orvella::platform::mapi::RowSetPtr page;
        hr = table->QueryRows(kPageRows, TBL_NOADVANCE, &page);
        if (hr == MAPI_E_NOT_FOUND) return;
        CheckMapi(hr, table, queryFailure);
        if (page->cRows == 0) return;
        if (!onPage(*page)) return;
        read += static_cast<LONG>(page->cRows);
    }
}
