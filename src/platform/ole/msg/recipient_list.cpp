// Recipient rows of a message on storage.
#include "recipient_list.h"

#include <algorithm>
#include <new>

#include "mapi_table.h"
#include "mapitags.h"
#include "mapiutil.h"
#include "mapix.h"
#include "memory_row_source.h"

namespace orvella::platform::ole {
namespace {

const SPropValue* RowIdOf(std::span<const SPropValue> values) {
    auto found = std::find_if(values.begin(), values.end(),
                              [](const SPropValue& v) { return v.ulPropTag == PR_ROWID; });
    return found == values.end() ? nullptr : &*found;
}

}  // namespace

mapi::MapiBuffer<SPropValue> RowWithId(std::span<const SPropValue> values, ULONG row_id,
                                       ULONG& count) {
    std::vector<SPropValue> row;
    SPropValue id = {};
    id.ulPropTag = PR_ROWID;
    id.Value.ul = row_id;
    row.push_back(id);
    for (const SPropValue& value : values)
        if (value.ulPropTag != PR_ROWID) row.push_back(value);
    LPSPropValue copy = nullptr;
    if (FAILED(ScDupPropset(static_cast<int>(row.size()), row.data(), MAPIAllocateBuffer, &copy)))
        throw std::bad_alloc();
    count = static_cast<ULONG>(row.size());
    return mapi::MapiBuffer<SPropValue>(copy);
}

void RecipientList::Load(std::span<const SPropValue> values, ULONG row_id) {
    const SPropValue* id = RowIdOf(values);
    Row row;
    row.row_id = id ? id->Value.ul : row_id;
    row.values = RowWithId(values, row.row_id, row.count);
    rows_.push_back(std::move(row));
}

HRESULT RecipientList::Modify(ULONG flags, const ADRLIST& changes) {
    try {
        if (flags == 0) rows_.clear();
        ULONG next = 0;
        for (const Row& row : rows_) next = std::max(next, row.row_id + 1);
        for (ULONG i = 0; i < changes.cEntries; ++i) {
            std::span<const SPropValue> values(changes.aEntries[i].rgPropVals,
                                               changes.aEntries[i].cValues);
            const SPropValue* id = RowIdOf(values);
            auto same = [&](const Row& row) { return id && row.row_id == id->Value.ul; };
            if (flags & MODRECIP_REMOVE) {
                std::erase_if(rows_, same);
            } else if (flags & MODRECIP_MODIFY) {
                auto found = std::find_if(rows_.begin(), rows_.end(), same);
                if (found == rows_.end()) return MAPI_E_NOT_FOUND;
                found->values = RowWithId(values, found->row_id, found->count);
            } else {
                Row row;
                row.row_id = next++;
                row.values = RowWithId(values, row.row_id, row.count);
                rows_.push_back(std::move(row));
            }
        }
        return S_OK;
    } catch (const std::bad_alloc&) {
        return MAPI_E_NOT_ENOUGH_MEMORY;
    }
}

mapi::ComPtr<IMAPITable> RecipientList::Table() const {
    auto source = std::make_shared<mapi::store::MemoryRowSource>(std::vector<ULONG>{
        PR_ROWID, PR_RECIPIENT_TYPE, PR_DISPLAY_NAME_A, PR_EMAIL_ADDRESS_A, PR_ADDRTYPE_A});
    for (const Row& row : rows_) source->AddRow({row.values.Get(), row.count});
    return mapi::store::OpenTable(source);
}

mapi::AdrListPtr RecipientList::ToAdrList() const {
    void* buffer = nullptr;
    if (FAILED(MAPIAllocateBuffer(CbNewADRLIST(rows_.size()), &buffer))) throw std::bad_alloc();
    mapi::AdrListPtr list(static_cast<LPADRLIST>(buffer));
    list->cEntries = 0;
    for (const Row& row : rows_) {
        ADRENTRY& entry = list->aEntries[list->cEntries];
        entry = {};
        ULONG count = 0;
        entry.rgPropVals = RowWithId({row.values.Get(), row.count}, row.row_id, count).Detach();
        entry.cValues = count;
        ++list->cEntries;
    }
    return list;
}

}  // namespace orvella::platform::ole
