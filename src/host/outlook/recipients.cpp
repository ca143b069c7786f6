// Recipients and Recipient of the simulated Outlook, over a mail item's recipient list.
#include <strings.h>

#include "mapiutil.h"
#include "recipient_list.h"

namespace orvella::host::outlook {
namespace {

using platform::mapi::MapiBuffer;
using platform::mapi::RowSetPtr;

// The rows as ModifyRecipients takes them; ModifyRecipients copies the values, which live in
// `values` and in the recipients until the call returns.
HRESULT Modify(IMessage* message, ULONG flags,
               const std::vector<std::shared_ptr<RecipientData>>& rows) {
    if (rows.empty()) return S_OK;
    std::vector<std::vector<SPropValue>> values;
    MapiBuffer<ADRLIST> list;
    void* buffer = nullptr;
    if (FAILED(MAPIAllocateBuffer(static_cast<ULONG>(CbNewADRLIST(rows.size())), &buffer)))
        return MAPI_E_NOT_ENOUGH_MEMORY;
    list.Reset(static_cast<LPADRLIST>(buffer));
    list->cEntries = static_cast<ULONG>(rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const RecipientData& row = *rows[i];
        std::vector<SPropValue> props = {
            TextValue(PR_DISPLAY_NAME_A, row.name), TextValue(PR_EMAIL_ADDRESS_A, row.address),
            TextValue(PR_ADDRTYPE_A, row.address_type), LongValue(PR_RECIPIENT_TYPE, row.type)};
        if (row.row_id) props.push_back(LongValue(PR_ROWID, static_cast<LONG>(*row.row_id)));
        values.push_back(std::move(props));
        list->aEntries[i].ulReserved1 = 0;
        list->aEntries[i].cValues = static_cast<ULONG>(values.back().size());
        list->aEntries[i].rgPropVals = values.back().data();
    }
    return message->ModifyRecipients(flags, list.Get());
}

const char* TextOf(const SPropValue& value, ULONG tag) {
    return value.ulPropTag == tag && value.Value.lpszA ? value.Value.lpszA : "";
}

class RecipientObject final : public ComObject<Recipient> {
public:
    RecipientObject(std::shared_ptr<RecipientList> list, std::shared_ptr<RecipientData> data)
        : list_(std::move(list)), data_(std::move(data)) {}

    HRESULT get_Name(std::string* name) override {
        if (!name) return E_POINTER;
        *name = list_->With(data_, [](RecipientData& row) { return row.name; });
        return S_OK;
    }
    HRESULT get_Address(std::string* address) override {
        if (!address) return E_POINTER;
        *address = list_->With(data_, [](RecipientData& row) { return row.address; });
        return S_OK;
    }
    HRESULT get_Type(LONG* type) override {
        if (!type) return E_POINTER;
        *type = list_->With(data_, [](RecipientData& row) { return row.type; });
        return S_OK;
    }
    HRESULT put_Type(LONG type) override {
        if (type != Outlook::olTo && type != Outlook::olCC && type != Outlook::olBCC &&
            type != Outlook::olOriginator)
            return E_INVALIDARG;
        list_->With(data_, [type](RecipientData& row) {
            if (row.type == type) return;
            row.type = type;
            row.changed = row.row_id.has_value();
        });
        return S_OK;
    }

protected:
    bool Supports(REFIID riid) const override {
        return AnyOf(riid, {&IID_IDispatch, &IID_Recipient});
    }

private:
    std::shared_ptr<RecipientList> list_;
    std::shared_ptr<RecipientData> data_;
};

class RecipientsObject final : public ComObject<Recipients> {
public:
    explicit RecipientsObject(std::shared_ptr<RecipientList> list) : list_(std::move(list)) {}

    HRESULT get_Count(LONG* count) override {
        if (!count) return E_POINTER;
        return list_->Count(*count);
    }
    HRESULT Item(const VARIANT& index, Recipient** recipient) override {
        if (!recipient) return E_POINTER;
        *recipient = nullptr;
        std::shared_ptr<RecipientData> found;
        const HRESULT hr = list_->Find(index, found);
        if (FAILED(hr)) return hr;
        *recipient = MakeCom<RecipientObject>(list_, std::move(found)).Detach();
        return S_OK;
    }
    HRESULT Add(const std::string& name, Recipient** recipient) override {
        if (!recipient) return E_POINTER;
        *recipient = nullptr;
        std::shared_ptr<RecipientData> added;
        const HRESULT hr = list_->Add(name, added);
        if (FAILED(hr)) return hr;
        *recipient = MakeCom<RecipientObject>(list_, std::move(added)).Detach();
        return S_OK;
    }

protected:
    bool Supports(REFIID riid) const override {
        return AnyOf(riid, {&IID_IDispatch, &IID_Recipients});
    }

private:
    std::shared_ptr<RecipientList> list_;
};

}  // namespace

HRESULT RecipientList::LoadLocked() {
    if (loaded_) return S_OK;
    ComPtr<IMAPITable> table;
    HRESULT hr = message_->GetRecipientTable(0, &table);
    if (FAILED(hr)) return hr;
    SizedSPropTagArray(5, columns) = {
        5, {PR_ROWID, PR_RECIPIENT_TYPE, PR_DISPLAY_NAME_A, PR_EMAIL_ADDRESS_A, PR_ADDRTYPE_A}};
    RowSetPtr rows;
    hr = HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns), nullptr, nullptr,
                        0, &rows);
    if (FAILED(hr)) return hr;
    rows_.clear();
    for (ULONG i = 0; i < rows->cRows; ++i) {
        const SPropValue* props = rows->aRow[i].lpProps;
        auto row = std::make_shared<RecipientData>();
        if (props[0].ulPropTag == PR_ROWID) row->row_id = props[0].Value.ul;
        if (props[1].ulPropTag == PR_RECIPIENT_TYPE) row->type = props[1].Value.l;
        row->name = TextOf(props[2], PR_DISPLAY_NAME_A);
        row->address = TextOf(props[3], PR_EMAIL_ADDRESS_A);
        row->address_type = TextOf(props[4], PR_ADDRTYPE_A);
        rows_.push_back(std::move(row));
    }
    loaded_ = true;
    return S_OK;
}

HRESULT RecipientList::RowIdsLocked(std::vector<ULONG>& ids) {
    ComPtr<IMAPITable> table;
    HRESULT hr = message_->GetRecipientTable(0, &table);
    if (FAILED(hr)) return hr;
    SizedSPropTagArray(1, columns) = {1, {PR_ROWID}};
    RowSetPtr rows;
    hr = HrQueryAllRows(table.Get(), reinterpret_cast<LPSPropTagArray>(&columns), nullptr, nullptr,
                        0, &rows);
    if (FAILED(hr)) return hr;
    ids.clear();
    for (ULONG i = 0; i < rows->cRows; ++i) ids.push_back(rows->aRow[i].lpProps[0].Value.ul);
    return S_OK;
}

HRESULT RecipientList::Count(LONG& count) {
    std::lock_guard lock(mutex_);
    const HRESULT hr = LoadLocked();
    if (SUCCEEDED(hr)) count = static_cast<LONG>(rows_.size());
    return hr;
}

HRESULT RecipientList::Find(const VARIANT& index, std::shared_ptr<RecipientData>& found) {
    if (index.vt != VT_I4 && index.vt != VT_BSTR) return DISP_E_TYPEMISMATCH;
    std::lock_guard lock(mutex_);
    const HRESULT hr = LoadLocked();
    if (FAILED(hr)) return hr;
    for (std::size_t i = 0; i < rows_.size(); ++i) {
        if (index.vt == VT_I4 ? static_cast<LONG>(i + 1) == index.lVal
                              : strcasecmp(rows_[i]->name.c_str(), index.bstrVal.c_str()) == 0) {
            found = rows_[i];
            return S_OK;
        }
    }
    return DISP_E_BADINDEX;
}

HRESULT RecipientList::Add(const std::string& text, std::shared_ptr<RecipientData>& added) {
    const size_t open = text.rfind('<');
    const size_t close = text.rfind('>');
    auto row = std::make_shared<RecipientData>();
    if (open != std::string::npos && close == text.size() - 1 && open < close) {
        row->address = text.substr(open + 1, close - open - 1);
        const std::string before = text.substr(0, open);
        const size_t first = before.find_first_not_of(' ');
        row->name = first == std::string::npos
                        ? row->address
                        : before.substr(first, before.find_last_not_of(' ') - first + 1);
    } else {
        row->name = row->address = text;
    }
    if (row->address.empty()) return E_INVALIDARG;
    std::lock_guard lock(mutex_);
    const HRESULT hr = LoadLocked();
    if (FAILED(hr)) return hr;
    rows_.push_back(row);
    added = std::move(row);
    return S_OK;
}

HRESULT RecipientList::Flush() {
    std::lock_guard lock(mutex_);
    if (!loaded_) return S_OK;  // nothing was read, so nothing changed
    std::vector<std::shared_ptr<RecipientData>> added, changed;
    for (const auto& row : rows_) {
        if (!row->row_id)
            added.push_back(row);
        else if (row->changed)
            changed.push_back(row);
    }
    HRESULT hr = Modify(message_.Get(), MODRECIP_MODIFY, changed);
    if (SUCCEEDED(hr)) hr = Modify(message_.Get(), MODRECIP_ADD, added);
    if (FAILED(hr)) return hr;
    for (const auto& row : changed) row->changed = false;
    if (added.empty()) return S_OK;
    // The message numbered the new rows; they follow the held ones in the same order.
    std::vector<ULONG> ids;
    hr = RowIdsLocked(ids);
    if (FAILED(hr)) return hr;
    for (std::size_t i = 0; i < rows_.size() && i < ids.size(); ++i) rows_[i]->row_id = ids[i];
    return S_OK;
}

void RecipientList::Reset(ComPtr<IMessage> message) {
    std::lock_guard lock(mutex_);
    message_ = std::move(message);
    rows_.clear();
    loaded_ = false;
}

HRESULT RecipientList::Describe(std::vector<std::string>& described) {
    std::lock_guard lock(mutex_);
    const HRESULT hr = LoadLocked();
    if (FAILED(hr)) return hr;
    described.clear();
    for (const auto& row : rows_)
        described.push_back(row->name == row->address ? row->address
                                                      : row->name + " <" + row->address + ">");
    return S_OK;
}

Recipients* WrapRecipients(std::shared_ptr<RecipientList> list) {
    return MakeCom<RecipientsObject>(std::move(list)).Detach();
}

}  // namespace orvella::host::outlook
