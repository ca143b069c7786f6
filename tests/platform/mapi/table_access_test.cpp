// The two ways the add-in walks a table, written as the add-in writes them: the paged read of a
// whole folder and the restricted walk with FindRow, also while the walk deletes what it finds.
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <vector>

#include "mapi_ptr.h"
#include "mapi_table.h"
#include "mapiutil.h"
#include "memory_row_source.h"
#include "narrowing_row_source.h"
#include "table_test_rows.h"
#include "temp_home.h"

namespace {

using orvella::platform::mapi::ComPtr;
using orvella::platform::mapi::store::MemoryRowSource;
using orvella::platform::mapi::store::OpenTable;
using orvella::platform::mapi::store::RowKey;
using orvella::platform::mapi::store::RowSource;
using namespace orvella::platform::mapi::testing;

// Rows with ids 1..count; kGroup is id % 4.
std::shared_ptr<MemoryRowSource> NumberedRows(LONG count, std::map<LONG, RowKey>* keys = nullptr) {
    auto rows = std::make_shared<MemoryRowSource>(std::vector<ULONG>{kId, kGroup});
    for (LONG id = 1; id <= count; ++id) {
        SPropValue values[] = {LongValue(kId, id), LongValue(kGroup, id % 4)};
        RowKey key = rows->AddRow(values);
        if (keys != nullptr) (*keys)[id] = key;
    }
    return rows;
}

// SetColumns once, then pages of 50 from BOOKMARK_BEGINNING + rows read, until an empty page.
std::vector<LONG> PagedRead(IMAPITable* table) {
    std::vector<LONG> ids;
    SizedSPropTagArray(1, columns) = {1, {kId}};
    EXPECT_EQ(table->SetColumns(reinterpret_cast<LPSPropTagArray>(&columns), 0), S_OK);
    LONG read_so_far = 0;
    for (;;) {
        EXPECT_EQ(table->SeekRow(BOOKMARK_BEGINNING, read_so_far, nullptr), S_OK);
        LPSRowSet rows = nullptr;
        HRESULT hr = table->QueryRows(50, TBL_NOADVANCE, &rows);
        EXPECT_EQ(hr, S_OK);
        if (FAILED(hr) || rows == nullptr || rows->cRows == 0) {
            FreeProws(rows);
            break;
        }
        for (ULONG i = 0; i < rows->cRows; ++i) ids.push_back(rows->aRow[i].lpProps[0].Value.l);
        read_so_far += static_cast<LONG>(rows->cRows);
        FreeProws(rows);
    }
    return ids;
}

// From the beginning: FindRow from the cursor until MAPI_E_NOT_FOUND, reading each row found;
// `found` is told each id read (it may delete the row).
template <class OnFound>
std::vector<LONG> RestrictedWalk(IMAPITable* table, SRestriction& restriction, OnFound&& found) {
    std::vector<LONG> ids;
    EXPECT_EQ(table->SeekRow(BOOKMARK_BEGINNING, 0, nullptr), S_OK);
    for (;;) {
        HRESULT hr = table->FindRow(&restriction, BOOKMARK_CURRENT, 0);
        if (hr == MAPI_E_NOT_FOUND) break;
        EXPECT_EQ(hr, S_OK);
        if (hr != S_OK) break;
        LPSRowSet rows = nullptr;
        EXPECT_EQ(table->QueryRows(1, 0, &rows), S_OK);
        EXPECT_EQ(rows->cRows, 1u);
        if (rows->cRows == 1) {
            ids.push_back(rows->aRow[0].lpProps[0].Value.l);
            found(ids.back());
        }
        FreeProws(rows);
    }
    return ids;
}

TEST(TableAccess, PagedReadReturnsEveryRowOnceReadingOnlyThePages) {
    orvella::testing::TempHome home;
    auto rows = NumberedRows(1234);
    auto counting = std::make_shared<NarrowingRowSource>(rows, 1);
    ComPtr<IMAPITable> table = OpenTable(counting);

    std::vector<LONG> ids = PagedRead(table.Get());

    ASSERT_EQ(ids.size(), 1234u);
    for (LONG i = 0; i < 1234; ++i) ASSERT_EQ(ids[i], i + 1);
    EXPECT_EQ(counting->ReadKeys(), 1234u);
}

TEST(TableAccess, RestrictedWalkFindsEachMatchingRowInOrder) {
    for (bool narrowed : {false, true}) {
        SCOPED_TRACE(narrowed ? "with candidates" : "scanning");
        orvella::testing::TempHome home;
        auto rows = NumberedRows(40);
        std::shared_ptr<RowSource> source = rows;
        if (narrowed) source = std::make_shared<NarrowingRowSource>(rows, 7);
        ComPtr<IMAPITable> table = OpenTable(source);
        Restrictions restrictions;
        SRestriction group2 = restrictions.Property(RELOP_EQ, LongValue(kGroup, 2));

        std::vector<LONG> ids = RestrictedWalk(table.Get(), group2, [](LONG) {});

        EXPECT_EQ(ids, (std::vector<LONG>{2, 6, 10, 14, 18, 22, 26, 30, 34, 38}));
    }
}

TEST(TableAccess, RestrictedWalkThatDeletesWhatItFindsVisitsEachMatchOnce) {
    for (bool narrowed : {false, true}) {
        SCOPED_TRACE(narrowed ? "with candidates" : "scanning");
        orvella::testing::TempHome home;
        std::map<LONG, RowKey> keys;
        auto rows = NumberedRows(40, &keys);
        std::shared_ptr<RowSource> source = rows;
        if (narrowed) source = std::make_shared<NarrowingRowSource>(rows, 11);
        ComPtr<IMAPITable> table = OpenTable(source);
        Restrictions restrictions;
        SRestriction odd = restrictions.Or({restrictions.Property(RELOP_EQ, LongValue(kGroup, 1)),
                                            restrictions.Property(RELOP_EQ, LongValue(kGroup, 3))});

        std::vector<LONG> ids = RestrictedWalk(
            table.Get(), odd, [&](LONG id) { ASSERT_TRUE(rows->RemoveRow(keys[id])); });

        std::vector<LONG> odd_ids;
        for (LONG id = 1; id <= 40; id += 2) odd_ids.push_back(id);
        EXPECT_EQ(ids, odd_ids);
        ULONG count = 0;
        ASSERT_EQ(table->GetRowCount(0, &count), S_OK);
        EXPECT_EQ(count, 20u);
        std::vector<LONG> even_ids;
        for (LONG id = 2; id <= 40; id += 2) even_ids.push_back(id);
        EXPECT_EQ(PagedRead(table.Get()), even_ids);
    }
}

TEST(TableAccess, RestrictedWalkMatchesOnlyTheCandidatesOfALargeTable) {
    orvella::testing::TempHome home;
    auto rows = std::make_shared<MemoryRowSource>(std::vector<ULONG>{kId});
    for (LONG id = 1; id <= 5000; ++id) {
        std::vector<SPropValue> values = {LongValue(kId, id)};
        if (id % 1000 == 0) values.push_back(LongValue(kRank, id % 3000 == 0 ? 3 : 7));
        rows->AddRow(values);
    }
    auto narrowing = std::make_shared<NarrowingRowSource>(rows, 3);
    ComPtr<IMAPITable> table = OpenTable(narrowing);
    Restrictions restrictions;
    SRestriction rank7 = restrictions.Property(RELOP_EQ, LongValue(kRank, 7));

    std::vector<LONG> ids = RestrictedWalk(table.Get(), rank7, [](LONG) {});

    EXPECT_EQ(ids, (std::vector<LONG>{1000, 2000, 4000, 5000}));
    // Five holders of the property and a little noise per search, never the 5000 rows.
    EXPECT_LE(narrowing->MatchedKeys(), 60u);
    EXPECT_EQ(narrowing->ReadKeys(), 4u);
}

}  // namespace
