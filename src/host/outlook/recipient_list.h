// The recipients of one mail item as the object model shows them: read from the message's
// recipient table, changed in memory, written with ModifyRecipients when the item is saved.
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "outlook_objects.h"

namespace orvella::host::outlook {

struct RecipientData {
    std::string name;
    std::string address;
    std::string address_type = "SMTP";
    LONG type = MAPI_TO;
    std::optional<ULONG> row_id;  // PR_ROWID once the message holds the row
    bool changed = false;         // a held row whose type changed since it was read
};

// Shared by the item and its Recipients objects; every member takes the mutex.
class RecipientList {
public:
    explicit RecipientList(ComPtr<IMessage> message) : message_(std::move(message)) {}

    HRESULT Count(LONG& count);
    // By 1-based number or by name without regard to case; DISP_E_BADINDEX when none.
    HRESULT Find(const VARIANT& index, std::shared_ptr<RecipientData>& found);
    // A new To recipient from "Name <address>" or an address (which is then the name too).
    HRESULT Add(const std::string& text, std::shared_ptr<RecipientData>& added);

    // Reads or changes one recipient's fields under the list's lock.
    template <class Work>
    auto With(const std::shared_ptr<RecipientData>& recipient, Work&& work) {
        std::lock_guard lock(mutex_);
        return work(*recipient);
    }

    // Hands new and changed rows to the message (ModifyRecipients); it saves them.
    HRESULT Flush();
    // Forgets what was not flushed and reads the rows of `message` from now on.
    void Reset(ComPtr<IMessage> message);
    // "Name <address>" (or the address alone when it is the name) of every recipient.
    HRESULT Describe(std::vector<std::string>& described);

private:
    HRESULT LoadLocked();
    // Row ids of the message's rows, in order.
    HRESULT RowIdsLocked(std::vector<ULONG>& ids);

    std::mutex mutex_;
    ComPtr<IMessage> message_;
    bool loaded_ = false;
    std::vector<std::shared_ptr<RecipientData>> rows_;
};

// The Recipients collection over a list.
Recipients* WrapRecipients(std::shared_ptr<RecipientList> list);

}  // namespace orvella::host::outlook
