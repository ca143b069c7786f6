// The recipients of a message on storage: rows keyed by PR_ROWID, changed through
// ModifyRecipients and read as a table.
#pragma once

#include <span>
#include <vector>

#include "mapi_ptr.h"
#include "mapidefs.h"

namespace orvella::platform::ole {

class RecipientList {
public:
    struct Row {
        ULONG row_id = 0;
        ULONG count = 0;
        mapi::MapiBuffer<SPropValue> values;  // PR_ROWID included
    };

    // IMessage::ModifyRecipients: 0 replaces every row; MODRECIP_ADD appends rows with new
    // row ids; MODRECIP_MODIFY replaces the rows whose PR_ROWID is given (MAPI_E_NOT_FOUND for
    // an unknown one); MODRECIP_REMOVE removes them.
    HRESULT Modify(ULONG flags, const ADRLIST& changes);
    // Adds a row as read from a file: its PR_ROWID is kept, else `row_id` is given to it.
    void Load(std::span<const SPropValue> values, ULONG row_id);
    // A table over the rows (PR_ROWID, PR_RECIPIENT_TYPE, PR_DISPLAY_NAME_A, PR_EMAIL_ADDRESS_A,
    // PR_ADDRTYPE_A by default), null when memory runs out.
    mapi::ComPtr<IMAPITable> Table() const;
    // The rows as an address list for another message's ModifyRecipients(0, ...).
    mapi::AdrListPtr ToAdrList() const;

    const std::vector<Row>& rows() const { return rows_; }
    std::vector<Row>& rows() { return rows_; }

private:
    std::vector<Row> rows_;
};

// A copy of `values` with PR_ROWID set to `row_id`, in one MAPI buffer; throws std::bad_alloc.
mapi::MapiBuffer<SPropValue> RowWithId(std::span<const SPropValue> values, ULONG row_id,
                                       ULONG& count);

}  // namespace orvella::platform::ole
