// Entry ids, folders, table texts and the documented sort order for the store operation tests.
#include "store_test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

#include "mapitags.h"
#include "mapiutil.h"
#include "restriction.h"
#include "table_test_rows.h"

namespace orvella::testing {

using platform::mapi::ComPtr;
using platform::mapi::MapiBuffer;
using platform::mapi::RowSetPtr;

namespace {

SPropValue Tagged(ULONG tag) {
    SPropValue value = {};
    value.ulPropTag = tag;
    return value;
}

}  // namespace

SPropValue ValueArena::Long(ULONG tag, LONG v) {
    SPropValue value = Tagged(tag);
    value.Value.l = v;
    return value;
}

SPropValue ValueArena::Bool(ULONG tag, bool v) {
    SPropValue value = Tagged(tag);
    value.Value.b = v;
    return value;
}

SPropValue ValueArena::I8(ULONG tag, LONGLONG v) {
    SPropValue value = Tagged(tag);
    value.Value.li.QuadPart = v;
    return value;
}

SPropValue ValueArena::Double(ULONG tag, double v) {
    SPropValue value = Tagged(tag);
    value.Value.dbl = v;
    return value;
}

SPropValue ValueArena::Time(ULONG tag, ULONGLONG filetime) {
    SPropValue value = Tagged(tag);
    value.Value.ft.dwLowDateTime = static_cast<DWORD>(filetime);
    value.Value.ft.dwHighDateTime = static_cast<DWORD>(filetime >> 32);
    return value;
}

SPropValue ValueArena::Text(ULONG tag, std::string text) {
    SPropValue value = Tagged(tag);
    value.Value.lpszA = texts_.emplace_back(std::move(text)).data();
    return value;
}

SPropValue ValueArena::Unicode(ULONG tag, std::wstring text) {
    SPropValue value = Tagged(tag);
    value.Value.lpszW = wide_.emplace_back(std::move(text)).data();
    return value;
}

SPropValue ValueArena::Binary(ULONG tag, std::vector<BYTE> bytes) {
    SPropValue value = Tagged(tag);
    std::vector<BYTE>& kept = bytes_.emplace_back(std::move(bytes));
    value.Value.bin = {static_cast<ULONG>(kept.size()), kept.data()};
    return value;
}

SPropValue ValueArena::Guid(ULONG tag, const GUID& guid) {
    SPropValue value = Tagged(tag);
    value.Value.lpguid = &guids_.emplace_back(guid);
    return value;
}

SPropValue ValueArena::TextList(ULONG tag, std::vector<std::string> texts) {
    SPropValue value = Tagged(tag);
    std::vector<LPSTR>& pointers = text_lists_.emplace_back();
    for (std::string& text : texts) pointers.push_back(texts_.emplace_back(std::move(text)).data());
    value.Value.MVszA = {static_cast<ULONG>(pointers.size()), pointers.data()};
    return value;
}

SPropValue ValueArena::LongList(ULONG tag, std::vector<LONG> values) {
    SPropValue value = Tagged(tag);
    std::vector<LONG>& kept = long_lists_.emplace_back(std::move(values));
    value.Value.MVl = {static_cast<ULONG>(kept.size()), kept.data()};
    return value;
}

LONG LongOf(IMAPIProp* object, ULONG tag) {
    MapiBuffer<SPropValue> value;
    if (HrGetOneProp(object, tag, &value) != S_OK) return -1;
    return value->Value.l;
}

MapiBuffer<SPropTagArray> TagArray(const std::vector<ULONG>& tags) {
    MapiBuffer<SPropTagArray> array;
    EXPECT_EQ(MAPIAllocateBuffer(CbNewSPropTagArray(tags.size()), reinterpret_cast<void**>(&array)),
              S_OK);
    array->cValues = static_cast<ULONG>(tags.size());
    std::copy(tags.begin(), tags.end(), array->aulPropTag);
    return array;
}

RowSetPtr AllRows(IMAPITable* table, const std::vector<ULONG>& columns) {
    RowSetPtr rows;
    EXPECT_EQ(HrQueryAllRows(table, TagArray(columns).Get(), nullptr, nullptr, 0, &rows), S_OK);
    return rows;
}

std::vector<std::string> TableTexts(IMAPITable* table, std::vector<ULONG> columns) {
    return platform::mapi::testing::RowTexts(AllRows(table, columns).Get());
}

std::vector<std::string> ContentsTexts(IMAPIFolder* folder, std::vector<ULONG> columns,
                                       ULONG flags) {
    ComPtr<IMAPITable> table;
    EXPECT_EQ(folder->GetContentsTable(flags, &table), S_OK);
    if (!table) return {};
    return TableTexts(table.Get(), std::move(columns));
}

std::vector<std::string> HierarchyTexts(IMAPIFolder* folder, std::vector<ULONG> columns,
                                        ULONG flags) {
    ComPtr<IMAPITable> table;
    EXPECT_EQ(folder->GetHierarchyTable(flags, &table), S_OK);
    if (!table) return {};
    return TableTexts(table.Get(), std::move(columns));
}

MapiBuffer<SSortOrderSet> SortOrder(const std::vector<SortKey>& keys) {
    MapiBuffer<SSortOrderSet> sort;
    EXPECT_EQ(MAPIAllocateBuffer(CbNewSSortOrderSet(keys.size()), reinterpret_cast<void**>(&sort)),
              S_OK);
    sort->cSorts = static_cast<ULONG>(keys.size());
    sort->cCategories = 0;
    sort->cExpanded = 0;
    for (std::size_t i = 0; i < keys.size(); ++i) sort->aSort[i] = {keys[i].tag, keys[i].order};
    return sort;
}

std::vector<std::size_t> SortedPositions(std::span<const SRow> rows, const SSortOrderSet& sort,
                                         std::span<const std::size_t> columns) {
    std::vector<std::size_t> order(rows.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    auto value = [&](std::size_t row, ULONG key) -> const SPropValue* {
        const SPropValue& v = rows[row].lpProps[columns[key]];
        return v.ulPropTag == sort.aSort[key].ulPropTag ? &v : nullptr;
    };
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        for (ULONG key = 0; key < sort.cSorts; ++key) {
            const SPropValue* va = value(a, key);
            const SPropValue* vb = value(b, key);
            int c = !va && !vb ? 0
                    : !va      ? -1
                    : !vb      ? 1
                               : platform::mapi::store::CompareProps(*va, *vb);
            if (sort.aSort[key].ulOrder == TABLE_SORT_DESCEND) c = -c;
            if (c != 0) return c < 0;
        }
        return false;
    });
    return order;
}

}  // namespace orvella::testing
