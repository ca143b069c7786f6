// Reading whole tables with HrQueryAllRows, and freeing row sets and address lists.
#include <gtest/gtest.h>

#include <vector>

#include "mapi_ptr.h"
#include "mapitags.h"
#include "mapiutil.h"
#include "test_objects.h"

namespace {

using orvella::platform::mapi::AdrListPtr;
using orvella::platform::mapi::RowSetPtr;
using orvella::platform::mapi::testing::LongValue;
using orvella::platform::mapi::testing::NewLongValue;
using orvella::platform::mapi::testing::RowTable;

// Rows numbered 0..count-1 in PR_ROWID; even rows also carry PR_IMPORTANCE.
void FillNumbered(RowTable& table, int count) {
    for (int i = 0; i < count; ++i) {
        std::vector<SPropValue> row = {LongValue(PR_ROWID, i)};
        if (i % 2 == 0) row.push_back(LongValue(PR_IMPORTANCE, i % 3));
        table.AddRow(row);
    }
}

TEST(RowUtils, HrQueryAllRowsReadsTheWholeTableFromTheBeginning) {
    RowTable table;
    FillNumbered(table, 600);
    ASSERT_EQ(table.SeekRow(BOOKMARK_BEGINNING, 450, nullptr), S_OK);
    SizedSPropTagArray(2, columns) = {2, {PR_ROWID, PR_IMPORTANCE}};

    RowSetPtr rows;
    ASSERT_EQ(HrQueryAllRows(&table, reinterpret_cast<LPSPropTagArray>(&columns), nullptr, nullptr,
                             0, rows.Put()),
              S_OK);
    ASSERT_EQ(rows->cRows, 600u);
    EXPECT_GT(table.QueryRowsCalls(), 2);
    for (ULONG i = 0; i < rows->cRows; ++i) {
        const SRow& row = rows->aRow[i];
        ASSERT_EQ(row.cValues, 2u);
        EXPECT_EQ(row.lpProps[0].Value.l, static_cast<LONG>(i));
    }
    EXPECT_EQ(rows->aRow[2].lpProps[1].ulPropTag, 0x00170003u);
    EXPECT_EQ(rows->aRow[3].lpProps[1].ulPropTag, 0x0017000Au);
    EXPECT_EQ(rows->aRow[3].lpProps[1].Value.err, static_cast<SCODE>(0x8004010F));
}

TEST(RowUtils, HrQueryAllRowsAppliesRestrictionAndSort) {
    RowTable table;
    FillNumbered(table, 7);
    SizedSPropTagArray(1, columns) = {1, {PR_ROWID}};
    SRestriction has_importance = {};
    has_importance.rt = RES_EXIST;
    has_importance.res.resExist.ulPropTag = PR_IMPORTANCE;
    SizedSSortOrderSet(1, newest_first) = {1, 0, 0, {{PR_ROWID, TABLE_SORT_DESCEND}}};

    RowSetPtr rows;
    ASSERT_EQ(HrQueryAllRows(&table, reinterpret_cast<LPSPropTagArray>(&columns), &has_importance,
                             reinterpret_cast<LPSSortOrderSet>(&newest_first), 0, rows.Put()),
              S_OK);
    std::vector<LONG> ids;
    for (ULONG i = 0; i < rows->cRows; ++i) ids.push_back(rows->aRow[i].lpProps[0].Value.l);
    EXPECT_EQ(ids, (std::vector<LONG>{6, 4, 2, 0}));
}

TEST(RowUtils, HrQueryAllRowsRefusesMoreRowsThanTheLimit) {
    struct Case {
        LONG limit;
        HRESULT expected;
    };
    const Case cases[] = {
        {0, S_OK},
        {300, S_OK},
        {301, S_OK},
        {299, static_cast<HRESULT>(0x80040403)},
        {1, static_cast<HRESULT>(0x80040403)},
    };
    for (const Case& c : cases) {
        RowTable table;
        FillNumbered(table, 300);
        LPSRowSet raw = reinterpret_cast<LPSRowSet>(0x1);
        EXPECT_EQ(HrQueryAllRows(&table, nullptr, nullptr, nullptr, c.limit, &raw), c.expected)
            << c.limit;
        RowSetPtr rows(raw != reinterpret_cast<LPSRowSet>(0x1) ? raw : nullptr);
        EXPECT_EQ(rows ? rows->cRows : 0u, c.expected == S_OK ? 300u : 0u) << c.limit;
    }
}

TEST(RowUtils, HrQueryAllRowsOfAnEmptyTableIsAnEmptyRowSet) {
    RowTable table;
    RowSetPtr rows;
    ASSERT_EQ(HrQueryAllRows(&table, nullptr, nullptr, nullptr, 0, rows.Put()), S_OK);
    ASSERT_TRUE(rows);
    EXPECT_EQ(rows->cRows, 0u);
}

TEST(RowUtils, HrQueryAllRowsPassesOnTheTablesFailureWithNoRows) {
    RowTable table;
    FillNumbered(table, 600);
    table.FailQueryRowsFrom(2, MAPI_E_NOT_ENOUGH_RESOURCES);
    SRestriction unsupported = {};
    unsupported.rt = RES_CONTENT;
    struct Case {
        const char* what;
        LPSRestriction restriction;
        HRESULT expected;
    };
    const Case cases[] = {
        {"restriction refused", &unsupported, static_cast<HRESULT>(0x80040117)},
        {"second read fails", nullptr, static_cast<HRESULT>(0x8004010E)},
    };
    for (const Case& c : cases) {
        LPSRowSet rows = reinterpret_cast<LPSRowSet>(0x1);
        EXPECT_EQ(HrQueryAllRows(&table, nullptr, c.restriction, nullptr, 0, &rows), c.expected)
            << c.what;
        EXPECT_EQ(rows, nullptr) << c.what;
    }
}

TEST(RowUtils, FreeingRowSetsAndAddressListsFreesEveryEntry) {
    LPVOID block = nullptr;
    ASSERT_EQ(MAPIAllocateBuffer(CbNewSRowSet(2), &block), S_OK);
    RowSetPtr rows(static_cast<LPSRowSet>(block));
    rows->cRows = 2;
    for (ULONG i = 0; i < 2; ++i) rows->aRow[i] = SRow{0, 1, NewLongValue(PR_ROWID, 7)};

    ASSERT_EQ(MAPIAllocateBuffer(CbNewADRLIST(3), &block), S_OK);
    AdrListPtr list(static_cast<LPADRLIST>(block));
    list->cEntries = 3;
    for (ULONG i = 0; i < 3; ++i) {
        list->aEntries[i] = ADRENTRY{0, 1, NewLongValue(PR_RECIPIENT_TYPE, MAPI_TO)};
    }
    EXPECT_EQ(rows->aRow[1].lpProps[0].Value.l, 7);
    EXPECT_EQ(list->aEntries[2].rgPropVals[0].Value.l, 1);

    // Under a leak checker: FreeProws and FreePadrlist free every entry with its container.
    rows.Reset();
    list.Reset();
    EXPECT_FALSE(rows);
    EXPECT_FALSE(list);
    FreeProws(nullptr);
    FreePadrlist(nullptr);
}

}  // namespace
