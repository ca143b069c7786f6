// IMessage over the store file: properties, recipients and copies.
#include <algorithm>
#include <cstring>

#include "db/value_codec.h"
#include "mapi_table.h"
#include "mapitags.h"
#include "mapiutil.h"
#include "mapix.h"
#include "memory_row_source.h"
#include "store_objects.h"

namespace orvella::platform::mapi::store {
namespace {

// The recipient list as stored: a count, then each row's EncodeRow bytes with their size.
std::vector<std::uint8_t> EncodeRecipients(const std::vector<std::vector<std::uint8_t>>& rows) {
    std::vector<std::uint8_t> out;
    auto put = [&](std::uint32_t v) {
        auto* b = reinterpret_cast<const std::uint8_t*>(&v);
        out.insert(out.end(), b, b + 4);
    };
    put(static_cast<std::uint32_t>(rows.size()));
    for (const auto& row : rows) {
        put(static_cast<std::uint32_t>(row.size()));
        out.insert(out.end(), row.begin(), row.end());
    }
    return out;
}

MapiBuffer<SPropValue> CopyRow(const SPropValue* values, ULONG count) {
    LPSPropValue copy = nullptr;
    if (FAILED(ScDupPropset(static_cast<int>(count), const_cast<LPSPropValue>(values),
                            MAPIAllocateBuffer, &copy)))
        throw StoreFailure(MAPI_E_NOT_ENOUGH_MEMORY, "out of memory copying a recipient");
    return MapiBuffer<SPropValue>(copy);
}

const SPropValue* FindTag(const SPropValue* values, ULONG count, ULONG tag) {
    for (ULONG i = 0; i < count; ++i)
        if (values[i].ulPropTag == tag) return &values[i];
    return nullptr;
}

}  // namespace

Message::Message(std::shared_ptr<StoreDatabase> store, const ObjectInfo& info, bool writable)
    : props_(std::move(store), info, writable, *this) {
    if (!info.id) recipients_.emplace();
}

const std::vector<ULONG>& Message::ComputedTags() const {
    return CommonComputedTags();
}

bool Message::Compute(ULONG tag, void* parent, SPropValue& out) {
    return ComputeCommon(props_.store(), props_.info(), tag, parent, out);
}

void Message::LoadRecipients() {
    if (recipients_) return;
    std::vector<std::uint8_t> bytes = props_.store().LoadRecipients(props_.info().id);
    std::vector<Recipient> rows;
    std::size_t at = 0;
    auto take = [&](std::uint32_t& v) {
        if (bytes.size() - at < 4) return false;
        std::memcpy(&v, bytes.data() + at, 4);
        at += 4;
        return true;
    };
    std::uint32_t count = 0;
    if (!bytes.empty() && !take(count)) count = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        std::uint32_t size = 0;
        Recipient row{0, 0, {}};
        if (!take(size) || size > bytes.size() - at ||
            FAILED(DecodeRow({bytes.data() + at, size}, row.values, row.count)))
            throw StoreFailure(MAPI_E_CORRUPT_STORE,
                               props_.store().file().string() + " holds a damaged recipient list");
        at += size;
        const SPropValue* id = FindTag(row.values.Get(), row.count, PR_ROWID);
        row.row_id = id ? id->Value.ul : i;
        rows.push_back(std::move(row));
    }
    recipients_ = std::move(rows);
}

void Message::PrepareSave(SaveRequest& request) {
    if (!recipients_changed_) return;
    std::vector<std::vector<std::uint8_t>> rows;
    for (const Recipient& row : *recipients_)
        rows.push_back(EncodeRow({row.values.Get(), row.count}));
    request.recipients = EncodeRecipients(rows);
    recipients_changed_ = false;
}

HRESULT Message::GetRecipientTable(ULONG, LPMAPITABLE* table) {
    if (!table) return MAPI_E_INVALID_PARAMETER;
    return Guarded(props_.last_error(), [&]() -> HRESULT {
        LoadRecipients();
        auto source = std::make_shared<MemoryRowSource>(std::vector<ULONG>{
            PR_ROWID, PR_RECIPIENT_TYPE, PR_DISPLAY_NAME_A, PR_EMAIL_ADDRESS_A, PR_ADDRTYPE_A});
        for (const Recipient& row : *recipients_) source->AddRow({row.values.Get(), row.count});
        auto opened = OpenTable(source);
        if (!opened) return MAPI_E_CALL_FAILED;
        *table = opened.Detach();
        return S_OK;
    });
}

HRESULT Message::ModifyRecipients(ULONG flags, LPADRLIST mods) {
    if (!props_.writable()) return MAPI_E_NO_ACCESS;
    if (!mods) return MAPI_E_INVALID_PARAMETER;
    return Guarded(props_.last_error(), [&]() -> HRESULT {
        LoadRecipients();
        auto& rows = *recipients_;
        if (flags == 0) rows.clear();
        ULONG next = 0;
        for (const Recipient& row : rows) next = std::max(next, row.row_id + 1);
        for (ULONG i = 0; i < mods->cEntries; ++i) {
            const ADRENTRY& entry = mods->aEntries[i];
            const SPropValue* id = FindTag(entry.rgPropVals, entry.cValues, PR_ROWID);
            auto same_row = [&](const Recipient& row) { return id && row.row_id == id->Value.ul; };
            if (flags & MODRECIP_REMOVE) {
                std::erase_if(rows, same_row);
                continue;
            }
            if (flags & MODRECIP_MODIFY) {
                auto found = std::find_if(rows.begin(), rows.end(), same_row);
                if (found == rows.end()) return MAPI_E_NOT_FOUND;
                found->values = CopyRow(entry.rgPropVals, entry.cValues);
                found->count = entry.cValues;
                continue;
            }
            // Added rows get a fresh PR_ROWID, replacing any the caller gave.
            std::vector<SPropValue> values;
            for (ULONG v = 0; v < entry.cValues; ++v)
                if (entry.rgPropVals[v].ulPropTag != PR_ROWID)
                    values.push_back(entry.rgPropVals[v]);
            SPropValue row_id = {};
            row_id.ulPropTag = PR_ROWID;
            row_id.Value.ul = next++;
            values.insert(values.begin(), row_id);
            rows.push_back({row_id.Value.ul, static_cast<ULONG>(values.size()),
                            CopyRow(values.data(), static_cast<ULONG>(values.size()))});
        }
        recipients_changed_ = true;
        props_.MarkChanged();
        return S_OK;
    });
}

HRESULT Message::SetReadFlag(ULONG flags) {
    if (!props_.writable()) return MAPI_E_NO_ACCESS;
    return Guarded(props_.last_error(), [&] {
        const SPropValue* current = props_.Current(PROP_ID(PR_MESSAGE_FLAGS));
        SPropValue value = {};
        value.ulPropTag = PR_MESSAGE_FLAGS;
        value.Value.l = current && current->ulPropTag == PR_MESSAGE_FLAGS ? current->Value.l : 0;
        if (flags & CLEAR_READ_FLAG)
            value.Value.l &= ~static_cast<LONG>(MSGFLAG_READ);
        else
            value.Value.l |= static_cast<LONG>(MSGFLAG_READ);
        props_.Put(value);
        return props_.SaveChanges(KEEP_OPEN_READWRITE);
    });
}

HRESULT Message::CopyTo(ULONG, LPCIID, LPSPropTagArray exclude, ULONG_PTR, LPMAPIPROGRESS, LPCIID,
                        LPVOID target, ULONG, LPSPropProblemArray* problems) {
    if (!target) return MAPI_E_INVALID_PARAMETER;
    return Guarded(props_.last_error(), [&]() -> HRESULT {
        auto* destination = static_cast<IMessage*>(target);
        HRESULT hr = props_.CopyValuesTo(nullptr, exclude, this, destination, problems);
        if (FAILED(hr)) return hr;
        LoadRecipients();
        if (recipients_->empty()) return hr;
        void* buffer = nullptr;
        if (FAILED(MAPIAllocateBuffer(CbNewADRLIST(recipients_->size()), &buffer)))
            return MAPI_E_NOT_ENOUGH_MEMORY;
        AdrListPtr list(static_cast<LPADRLIST>(buffer));
        list->cEntries = 0;
        for (const Recipient& row : *recipients_) {
            ADRENTRY& entry = list->aEntries[list->cEntries++];
            entry = {};
            entry.cValues = row.count;
            entry.rgPropVals = CopyRow(row.values.Get(), row.count).Detach();
        }
        HRESULT recipients = destination->ModifyRecipients(0, list.Get());
        return FAILED(recipients) ? recipients : hr;
    });
}

}  // namespace orvella::platform::mapi::store
