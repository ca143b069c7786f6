// Cursor semantics of the store's tables over in-memory rows: seeking, reading, finding,
// restricting, sorting, bookmarks, and rows joining or leaving between calls.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "mapi_ptr.h"
#include "mapi_table.h"
#include "mapiguid.h"
#include "mapiutil.h"
#include "memory_row_source.h"
#include "narrowing_row_source.h"
#include "table_test_rows.h"
#include "temp_home.h"

namespace {

using orvella::platform::mapi::ComPtr;
using orvella::platform::mapi::MapiBuffer;
using orvella::platform::mapi::RowSetPtr;
using orvella::platform::mapi::store::KeyList;
using orvella::platform::mapi::store::MemoryRowSource;
using orvella::platform::mapi::store::OpenTable;
using orvella::platform::mapi::store::RowKey;
using namespace orvella::platform::mapi::testing;

enum class From { Beginning, Current, End, Bookmark };

// Six rows in natural order; row 5 has neither name nor rank.
//   id  name     rank
//   1   alpha    3
//   2   Bravo    1
//   3   charlie  2
//   4   delta    3
//   5   -        -
//   6   foxtrot  1
class TableTest : public ::testing::Test {
protected:
    TableTest()
        : source_(std::make_shared<MemoryRowSource>(std::vector<ULONG>{kId, kName, kRank})) {
        Add(1, "alpha", 3);
        Add(2, "Bravo", 1);
        Add(3, "charlie", 2);
        Add(4, "delta", 3);
        Add(5, nullptr, std::nullopt);
        Add(6, "foxtrot", 1);
        table_ = OpenTable(source_);
    }

    RowKey Add(LONG id, const char* name, std::optional<LONG> rank) {
        std::vector<SPropValue> values = {LongValue(kId, id)};
        if (name != nullptr) values.push_back(StringProp(kName, name));
        if (rank) values.push_back(LongValue(kRank, *rank));
        return source_->AddRow(values);
    }

    void SeekTo(LONG position) {
        ASSERT_EQ(table_->SeekRow(BOOKMARK_BEGINNING, position, nullptr), S_OK);
    }

    ULONG Position() {
        ULONG row = 0, numerator = 0, denominator = 0;
        EXPECT_EQ(table_->QueryPosition(&row, &numerator, &denominator), S_OK);
        return row;
    }

    ULONG Count() {
        ULONG count = 0;
        EXPECT_EQ(table_->GetRowCount(0, &count), S_OK);
        return count;
    }

    std::vector<LONG> Read(LONG count, ULONG flags = 0) {
        RowSetPtr rows;
        EXPECT_EQ(table_->QueryRows(count, flags, rows.Put()), S_OK);
        return RowIds(rows.Get());
    }

    // The ids of every row from the beginning; leaves the cursor at the end.
    std::vector<LONG> All() {
        SeekTo(0);
        return Read(100);
    }

    // Puts the cursor and a new bookmark (bookmark_) at `start`; returns the origin `from`.
    BOOKMARK StartAt(From from, LONG start) {
        SeekTo(start);
        EXPECT_EQ(table_->CreateBookmark(&bookmark_), S_OK);
        switch (from) {
            case From::Beginning:
                return BOOKMARK_BEGINNING;
            case From::Current:
                return BOOKMARK_CURRENT;
            case From::End:
                return BOOKMARK_END;
            case From::Bookmark:
                return bookmark_;
        }
        return BOOKMARK_BEGINNING;
    }

    orvella::testing::TempHome home_;
    std::shared_ptr<MemoryRowSource> source_;
    ComPtr<IMAPITable> table_;
    Restrictions restrictions_;
    BOOKMARK bookmark_ = 0;
};

TEST_F(TableTest, SeekRowClampsAndReportsTheRowsActuallyMoved) {
    struct Case {
        From from;
        LONG start;  // cursor (and bookmark) position before the seek
        LONG count;
        LONG sought;
        ULONG position;
    };
    const Case cases[] = {
        {From::Beginning, 3, 0, 0, 0},  {From::Beginning, 0, 4, 4, 4},
        {From::Beginning, 0, 9, 6, 6},  {From::Beginning, 2, -2, 0, 0},
        {From::Current, 2, 3, 3, 5},    {From::Current, 2, -5, -2, 0},
        {From::Current, 5, 4, 1, 6},    {From::Current, 6, 0, 0, 6},
        {From::End, 0, 0, 0, 6},        {From::End, 0, -2, -2, 4},
        {From::End, 1, -10, -6, 0},     {From::End, 1, 3, 0, 6},
        {From::Bookmark, 3, -1, -1, 2}, {From::Bookmark, 3, 2, 2, 5},
        {From::Bookmark, 6, -6, -6, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "from " << static_cast<int>(c.from) << " start "
                                        << c.start << " count " << c.count);
        const BOOKMARK origin = StartAt(c.from, c.start);
        LONG sought = 99;
        EXPECT_EQ(table_->SeekRow(origin, c.count, &sought), S_OK);
        EXPECT_EQ(sought, c.sought);
        EXPECT_EQ(Position(), c.position);
        EXPECT_EQ(table_->FreeBookmark(bookmark_), S_OK);
    }
    EXPECT_EQ(table_->SeekRow(BOOKMARK_BEGINNING, 2, nullptr), S_OK);
    EXPECT_EQ(Position(), 2u);
}

TEST_F(TableTest, QueryRowsReadsFromTheCursorInTableOrder) {
    struct Case {
        LONG start;
        LONG count;
        ULONG flags;
        std::vector<LONG> ids;
        ULONG position;  // after the call
    };
    const Case cases[] = {
        {0, 2, 0, {1, 2}, 2},
        {4, 5, 0, {5, 6}, 6},
        {6, 3, 0, {}, 6},
        {1, 3, TBL_NOADVANCE, {2, 3, 4}, 1},
        {6, 1, TBL_NOADVANCE, {}, 6},
        {4, -2, 0, {3, 4}, 2},
        {2, -5, 0, {1, 2}, 0},
        {0, -1, 0, {}, 0},
        {5, -3, TBL_NOADVANCE, {3, 4, 5}, 5},
        {6, -1, 0, {6}, 5},
        {0, 0x7FFFFFFF, 0, {1, 2, 3, 4, 5, 6}, 6},
        {6, -0x7FFFFFFF - 1, 0, {1, 2, 3, 4, 5, 6}, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "start " << c.start << " count " << c.count);
        SeekTo(c.start);
        RowSetPtr rows;
        ASSERT_EQ(table_->QueryRows(c.count, c.flags, rows.Put()), S_OK);
        ASSERT_TRUE(rows);
        EXPECT_EQ(rows->cRows, c.ids.size());
        EXPECT_EQ(RowIds(rows.Get()), c.ids);
        EXPECT_EQ(Position(), c.position);
    }
}

TEST_F(TableTest, QueryRowsRefusesAZeroCountAndANullResult) {
    RowSetPtr rows;
    EXPECT_EQ(table_->QueryRows(0, 0, rows.Put()), MAPI_E_INVALID_PARAMETER);
    EXPECT_FALSE(rows);
    EXPECT_EQ(table_->QueryRows(1, 0, nullptr), MAPI_E_INVALID_PARAMETER);
    EXPECT_EQ(Position(), 0u);
}

TEST_F(TableTest, ColumnsComeInTheOrderSetAndMissingOnesReadAsNotFound) {
    RowSetPtr rows;
    ASSERT_EQ(table_->QueryRows(6, 0, rows.Put()), S_OK);
    EXPECT_EQ(RowTexts(rows.Get()),
              (std::vector<std::string>{"L:1|S:alpha|L:3", "L:2|S:Bravo|L:1", "L:3|S:charlie|L:2",
                                        "L:4|S:delta|L:3", "L:5|E(6712):8004010F|E(6711):8004010F",
                                        "L:6|S:foxtrot|L:1"}));

    SizedSPropTagArray(3, columns) = {3, {kRank, kAbsent, kId}};
    ASSERT_EQ(table_->SetColumns(reinterpret_cast<LPSPropTagArray>(&columns), TBL_BATCH), S_OK);
    EXPECT_EQ(Position(), 6u);  // setting columns leaves the cursor
    SeekTo(3);
    ASSERT_EQ(table_->QueryRows(2, 0, rows.Put()), S_OK);
    EXPECT_EQ(RowTexts(rows.Get()),
              (std::vector<std::string>{"L:3|E(6714):8004010F|L:4",
                                        "E(6711):8004010F|E(6714):8004010F|L:5"}));

    MapiBuffer<SPropTagArray> current;
    for (ULONG flags : {0u, static_cast<ULONG>(TBL_ALL_COLUMNS)}) {
        ASSERT_EQ(table_->QueryColumns(flags, current.Put()), S_OK);
        ASSERT_EQ(current->cValues, 3u);
        EXPECT_EQ(current->aulPropTag[0], kRank);
        EXPECT_EQ(current->aulPropTag[1], kAbsent);
        EXPECT_EQ(current->aulPropTag[2], kId);
    }
    EXPECT_EQ(table_->SetColumns(nullptr, 0), MAPI_E_INVALID_PARAMETER);
}

TEST_F(TableTest, EachRowOfAResultIsABufferOfItsOwn) {
    RowSetPtr rows;
    ASSERT_EQ(table_->QueryRows(2, 0, rows.Put()), S_OK);
    MapiBuffer<SPropValue> second(rows->aRow[1].lpProps);
    rows->aRow[1].lpProps = nullptr;
    rows.Reset();  // FreeProws frees the set and the first row only
    EXPECT_EQ(second[0].Value.l, 2);
    EXPECT_STREQ(second[1].Value.lpszA, "Bravo");
}

TEST_F(TableTest, FindRowSearchesFromItsOriginInEitherDirection) {
    const SRestriction rank3 = restrictions_.Property(RELOP_EQ, LongValue(kRank, 3));  // ids 1, 4
    const SRestriction rank1 = restrictions_.Property(RELOP_EQ, LongValue(kRank, 1));  // ids 2, 6
    struct Case {
        const SRestriction* restriction;
        From from;
        LONG start;  // cursor and bookmark before the search
        ULONG flags;
        HRESULT result;
        ULONG position;  // after the search
    };
    const Case cases[] = {
        {&rank3, From::Beginning, 0, 0, S_OK, 0},
        {&rank3, From::Beginning, 2, 0, S_OK, 0},
        {&rank3, From::Current, 1, 0, S_OK, 3},
        {&rank3, From::Current, 3, 0, S_OK, 3},
        {&rank3, From::Current, 4, 0, MAPI_E_NOT_FOUND, 4},
        {&rank3, From::End, 2, 0, MAPI_E_NOT_FOUND, 2},
        {&rank3, From::End, 2, DIR_BACKWARD, S_OK, 3},
        {&rank3, From::Current, 3, DIR_BACKWARD, S_OK, 0},
        {&rank3, From::Current, 0, DIR_BACKWARD, MAPI_E_NOT_FOUND, 0},
        {&rank3, From::Beginning, 4, DIR_BACKWARD, MAPI_E_NOT_FOUND, 4},
        {&rank1, From::Current, 6, DIR_BACKWARD, S_OK, 5},
        {&rank1, From::Current, 6, 0, MAPI_E_NOT_FOUND, 6},
        {&rank1, From::Bookmark, 2, 0, S_OK, 5},
        {&rank1, From::Bookmark, 2, DIR_BACKWARD, S_OK, 1},
        {&rank1, From::Bookmark, 1, 0, S_OK, 1},
        {&rank3, From::Bookmark, 5, 0, MAPI_E_NOT_FOUND, 5},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "from " << static_cast<int>(c.from) << " start "
                                        << c.start << " flags " << c.flags);
        const BOOKMARK origin = StartAt(c.from, c.start);
        EXPECT_EQ(table_->FindRow(const_cast<LPSRestriction>(c.restriction), origin, c.flags),
                  c.result);
        EXPECT_EQ(Position(), c.position);
        EXPECT_EQ(table_->FreeBookmark(bookmark_), S_OK);
    }
}

TEST_F(TableTest, FindRowRefusesANullRestrictionAndAnUnknownBookmark) {
    SRestriction exists = restrictions_.Exist(kName);
    SeekTo(2);
    EXPECT_EQ(table_->FindRow(nullptr, BOOKMARK_BEGINNING, 0), MAPI_E_INVALID_PARAMETER);
    EXPECT_EQ(table_->FindRow(&exists, 77, 0), MAPI_E_INVALID_BOOKMARK);
    EXPECT_EQ(Position(), 2u);
}

TEST_F(TableTest, FindRowFindsARowByItsInstanceKey) {
    SizedSPropTagArray(2, columns) = {2, {kId, PR_INSTANCE_KEY}};
    ASSERT_EQ(table_->SetColumns(reinterpret_cast<LPSPropTagArray>(&columns), 0), S_OK);
    SeekTo(3);
    RowSetPtr rows;
    ASSERT_EQ(table_->QueryRows(1, 0, rows.Put()), S_OK);
    ASSERT_EQ(RowTexts(rows.Get()), std::vector<std::string>{"L:4|B:0000000000000004"});

    SRestriction same = restrictions_.Property(RELOP_EQ, rows->aRow[0].lpProps[1]);
    ASSERT_EQ(table_->FindRow(&same, BOOKMARK_BEGINNING, 0), S_OK);
    EXPECT_EQ(Position(), 3u);
    EXPECT_EQ(Read(1), std::vector<LONG>{4});
}

TEST_F(TableTest, RestrictFiltersRowsAndMovesTheCursorToTheBeginning) {
    SeekTo(4);
    BOOKMARK bookmark = 0;
    ASSERT_EQ(table_->CreateBookmark(&bookmark), S_OK);
    SRestriction rank3 = restrictions_.Property(RELOP_EQ, LongValue(kRank, 3));
    ASSERT_EQ(table_->Restrict(&rank3, 0), S_OK);
    EXPECT_EQ(Position(), 0u);
    EXPECT_EQ(Count(), 2u);
    EXPECT_EQ(Read(10), (std::vector<LONG>{1, 4}));
    EXPECT_EQ(table_->SeekRow(bookmark, 0, nullptr), MAPI_E_INVALID_BOOKMARK);

    SRestriction lacking = restrictions_.Not(restrictions_.Exist(kName));
    ASSERT_EQ(table_->Restrict(&lacking, TBL_BATCH), S_OK);
    EXPECT_EQ(All(), std::vector<LONG>{5});

    SeekTo(1);
    ASSERT_EQ(table_->Restrict(nullptr, 0), S_OK);
    EXPECT_EQ(Position(), 0u);
    EXPECT_EQ(Count(), 6u);
}

TEST_F(TableTest, RestrictKeepsItsOwnCopyOfTheRestriction) {
    {
        Restrictions scratch;
        SRestriction named = scratch.Content(FL_PREFIX | FL_IGNORECASE, StringProp(kName, "b"));
        ASSERT_EQ(table_->Restrict(&named, 0), S_OK);
    }
    Add(7, "bongo", 2);  // a new row makes the table take its keys again
    EXPECT_EQ(All(), (std::vector<LONG>{2, 7}));
}

TEST_F(TableTest, SortTableOrdersRowsStablyWithMissingValuesFirst) {
    struct Case {
        std::vector<SSortOrder> keys;
        std::vector<LONG> ids;
    };
    const Case cases[] = {
        {{{kRank, TABLE_SORT_ASCEND}}, {5, 2, 6, 3, 1, 4}},
        {{{kRank, TABLE_SORT_DESCEND}}, {1, 4, 3, 2, 6, 5}},
        {{{kName, TABLE_SORT_ASCEND}}, {5, 1, 2, 3, 4, 6}},
        {{{kRank, TABLE_SORT_ASCEND}, {kName, TABLE_SORT_DESCEND}}, {5, 6, 2, 3, 4, 1}},
        {{{PR_INSTANCE_KEY, TABLE_SORT_DESCEND}}, {6, 5, 4, 3, 2, 1}},
        {{}, {1, 2, 3, 4, 5, 6}},
    };
    for (const Case& c : cases) {
        SizedSSortOrderSet(2, sort) = {};
        sort.cSorts = static_cast<ULONG>(c.keys.size());
        for (size_t i = 0; i < c.keys.size(); ++i) sort.aSort[i] = c.keys[i];
        SeekTo(3);
        ASSERT_EQ(table_->SortTable(reinterpret_cast<LPSSortOrderSet>(&sort), 0), S_OK);
        EXPECT_EQ(Position(), 0u);
        EXPECT_EQ(All(), c.ids);

        MapiBuffer<SSortOrderSet> current;
        ASSERT_EQ(table_->QuerySortOrder(current.Put()), S_OK);
        ASSERT_EQ(current->cSorts, c.keys.size());
        for (size_t i = 0; i < c.keys.size(); ++i) {
            EXPECT_EQ(current->aSort[i].ulPropTag, c.keys[i].ulPropTag);
            EXPECT_EQ(current->aSort[i].ulOrder, c.keys[i].ulOrder);
        }
    }
    ASSERT_EQ(table_->SortTable(nullptr, 0), S_OK);
    EXPECT_EQ(All(), (std::vector<LONG>{1, 2, 3, 4, 5, 6}));

    SizedSSortOrderSet(1, bad) = {1, 2, 0, {{kRank, TABLE_SORT_ASCEND}}};
    EXPECT_EQ(table_->SortTable(reinterpret_cast<LPSSortOrderSet>(&bad), 0),
              MAPI_E_INVALID_PARAMETER);
}

TEST_F(TableTest, CursorStaysOnItsRowWhenRowsJoinOrLeave) {
    struct Case {
        const char* what;
        LONG start;
        std::vector<RowKey> removed;
        int added;  // rows appended after the removals
        ULONG position;
        ULONG count;
        std::vector<LONG> next;  // the next rows read
    };
    const Case cases[] = {
        {"row under the cursor removed", 2, {3}, 0, 2, 5, {4, 5}},
        {"row before the cursor removed", 2, {1}, 0, 1, 5, {3, 4}},
        {"rows under and after the cursor removed", 2, {3, 4}, 0, 2, 4, {5, 6}},
        {"last row under the cursor removed", 5, {6}, 0, 5, 5, {}},
        {"every row from the cursor removed", 2, {3, 4, 5, 6}, 0, 2, 2, {}},
        {"row appended", 1, {}, 1, 1, 7, {2, 3}},
        {"row appended with the cursor at the end", 6, {}, 1, 7, 7, {}},
        {"last row removed and another appended", 5, {6}, 1, 6, 6, {}},
        {"row removed and another appended", 3, {4}, 1, 3, 6, {5, 6}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        source_->Clear();
        for (LONG id = 1; id <= 6; ++id) Add(id, "x", id);
        table_ = OpenTable(source_);
        SeekTo(c.start);
        KeyList keys;  // the current keys, in order, to remove by position
        ASSERT_EQ(source_->Keys(nullptr, nullptr, keys), S_OK);
        for (RowKey removed : c.removed) ASSERT_TRUE(source_->RemoveRow((*keys)[removed - 1]));
        for (int i = 0; i < c.added; ++i) Add(100 + i, "new", 0);
        EXPECT_EQ(Position(), c.position);
        EXPECT_EQ(Count(), c.count);
        EXPECT_EQ(Read(2), c.next);
    }
}

TEST_F(TableTest, RowsSortedBeforeTheCursorShiftItsPosition) {
    SizedSSortOrderSet(1, by_rank) = {1, 0, 0, {{kRank, TABLE_SORT_ASCEND}}};
    ASSERT_EQ(table_->SortTable(reinterpret_cast<LPSSortOrderSet>(&by_rank), 0), S_OK);
    SeekTo(3);  // on id 3 (rank 2)
    Add(7, "early", 0);
    Add(8, "late", 9);
    EXPECT_EQ(Position(), 4u);
    EXPECT_EQ(Read(3), (std::vector<LONG>{3, 1, 4}));
    EXPECT_EQ(Read(5), std::vector<LONG>{8});
}

TEST_F(TableTest, BookmarkOfARemovedRowMovesToTheNextRowAndWarnsOnce) {
    SRestriction named = restrictions_.Exist(kName);
    SeekTo(2);
    BOOKMARK on_three = 0, on_five = 0, at_end = 0;
    ASSERT_EQ(table_->CreateBookmark(&on_three), S_OK);
    SeekTo(4);
    ASSERT_EQ(table_->CreateBookmark(&on_five), S_OK);
    SeekTo(6);
    ASSERT_EQ(table_->CreateBookmark(&at_end), S_OK);
    EXPECT_GE(on_three, 3u);
    EXPECT_NE(on_three, on_five);

    ASSERT_TRUE(source_->RemoveRow(3));
    ASSERT_TRUE(source_->RemoveRow(1));
    LONG sought = 0;
    EXPECT_EQ(table_->SeekRow(on_three, 0, &sought), MAPI_W_POSITION_CHANGED);
    EXPECT_EQ(Position(), 1u);
    EXPECT_EQ(Read(1), std::vector<LONG>{4});
    EXPECT_EQ(table_->SeekRow(on_three, 0, nullptr), S_OK);  // now it stands on row 4
    EXPECT_EQ(Position(), 1u);

    EXPECT_EQ(table_->SeekRow(on_five, 1, &sought), S_OK);  // row 5 stayed: same row, new place
    EXPECT_EQ(sought, 1);
    EXPECT_EQ(Read(1), std::vector<LONG>{6});

    ASSERT_TRUE(source_->RemoveRow(5));
    EXPECT_EQ(table_->FindRow(&named, on_five, 0), MAPI_W_POSITION_CHANGED);
    EXPECT_EQ(Read(1), std::vector<LONG>{6});

    ASSERT_TRUE(source_->RemoveRow(6));
    EXPECT_EQ(table_->SeekRow(on_five, 0, nullptr), MAPI_W_POSITION_CHANGED);  // to the end
    EXPECT_EQ(Position(), 2u);
    EXPECT_EQ(table_->SeekRow(at_end, -1, &sought), S_OK);
    EXPECT_EQ(sought, -1);
    EXPECT_EQ(Read(1), std::vector<LONG>{4});
}

TEST_F(TableTest, BookmarksAreLimitedFreeableAndCheckedWhenUsed) {
    std::vector<BOOKMARK> bookmarks(255);
    for (BOOKMARK& bookmark : bookmarks) ASSERT_EQ(table_->CreateBookmark(&bookmark), S_OK);
    BOOKMARK extra = 0;
    EXPECT_EQ(table_->CreateBookmark(&extra), MAPI_E_UNABLE_TO_COMPLETE);
    EXPECT_EQ(table_->FreeBookmark(bookmarks[10]), S_OK);
    EXPECT_EQ(table_->FreeBookmark(bookmarks[10]), MAPI_E_INVALID_BOOKMARK);
    EXPECT_EQ(table_->SeekRow(bookmarks[10], 0, nullptr), MAPI_E_INVALID_BOOKMARK);
    EXPECT_EQ(table_->CreateBookmark(&extra), S_OK);
    EXPECT_EQ(table_->FreeBookmark(BOOKMARK_CURRENT), S_OK);
    EXPECT_EQ(table_->CreateBookmark(nullptr), MAPI_E_INVALID_PARAMETER);
}

TEST_F(TableTest, QueryPositionAndSeekRowApproxUseFractionsOfTheTable) {
    struct Case {
        ULONG numerator;
        ULONG denominator;
        ULONG position;
    };
    const Case cases[] = {{0, 5, 0}, {1, 2, 3}, {50, 100, 3}, {2, 3, 4}, {5, 5, 6}, {7, 5, 6}};
    for (const Case& c : cases) {
        ASSERT_EQ(table_->SeekRowApprox(c.numerator, c.denominator), S_OK);
        ULONG row = 0, numerator = 0, denominator = 0;
        ASSERT_EQ(table_->QueryPosition(&row, &numerator, &denominator), S_OK);
        EXPECT_EQ(row, c.position);
        EXPECT_EQ(numerator, c.position);
        EXPECT_EQ(denominator, 6u);
    }
    EXPECT_EQ(table_->SeekRowApprox(1, 0), MAPI_E_INVALID_PARAMETER);

    source_->Clear();
    ULONG row = 9, numerator = 9, denominator = 9;
    ASSERT_EQ(table_->QueryPosition(&row, &numerator, &denominator), S_OK);
    EXPECT_EQ(row, 0u);
    EXPECT_EQ(numerator, 0u);
    EXPECT_EQ(denominator, 1u);
    EXPECT_EQ(Count(), 0u);
    EXPECT_EQ(Read(5), std::vector<LONG>{});
}

TEST_F(TableTest, HrQueryAllRowsReadsTheRestrictedSortedTable) {
    SizedSPropTagArray(2, columns) = {2, {kName, kId}};
    SRestriction ranked = restrictions_.Exist(kRank);
    SizedSSortOrderSet(1, by_name) = {1, 0, 0, {{kName, TABLE_SORT_DESCEND}}};
    SeekTo(4);
    RowSetPtr rows;
    ASSERT_EQ(HrQueryAllRows(table_.Get(), reinterpret_cast<LPSPropTagArray>(&columns), &ranked,
                             reinterpret_cast<LPSSortOrderSet>(&by_name), 0, rows.Put()),
              S_OK);
    EXPECT_EQ(RowTexts(rows.Get()),
              (std::vector<std::string>{"S:foxtrot|L:6", "S:delta|L:4", "S:charlie|L:3",
                                        "S:Bravo|L:2", "S:alpha|L:1"}));
}

TEST_F(TableTest, StatusCompletionAndUnsupportedCalls) {
    ULONG status = 99, type = 99;
    ASSERT_EQ(table_->GetStatus(&status, &type), S_OK);
    EXPECT_EQ(status, TBLSTAT_COMPLETE);
    EXPECT_EQ(type, TBLTYPE_DYNAMIC);
    status = 99;
    EXPECT_EQ(table_->WaitForCompletion(0, 1000, &status), S_OK);
    EXPECT_EQ(status, TBLSTAT_COMPLETE);
    EXPECT_EQ(table_->Abort(), S_OK);

    ULONG_PTR connection = 0;
    ULONG more = 0, size = 0;
    LPBYTE state = nullptr;
    BOOKMARK location = 0;
    EXPECT_EQ(table_->Advise(0, nullptr, &connection), MAPI_E_NO_SUPPORT);
    EXPECT_EQ(table_->Unadvise(1), MAPI_E_NO_SUPPORT);
    EXPECT_EQ(table_->ExpandRow(0, nullptr, 1, 0, nullptr, &more), MAPI_E_NO_SUPPORT);
    EXPECT_EQ(table_->CollapseRow(0, nullptr, 0, &more), MAPI_E_NO_SUPPORT);
    EXPECT_EQ(table_->GetCollapseState(0, 0, nullptr, &size, &state), MAPI_E_NO_SUPPORT);
    EXPECT_EQ(table_->SetCollapseState(0, 0, nullptr, &location), MAPI_E_NO_SUPPORT);

    ComPtr<IUnknown> unknown;
    EXPECT_EQ(table_.As(IID_IUnknown, unknown), S_OK);
    ComPtr<IMAPITable> again;
    EXPECT_EQ(table_.As(IID_IMAPITable, again), S_OK);
    ComPtr<IMAPIProp> prop;
    EXPECT_EQ(table_.As(IID_IMAPIProp, prop), E_NOINTERFACE);
}

TEST_F(TableTest, GetLastErrorDescribesTheLastFailure) {
    MapiBuffer<MAPIERROR> error;
    ASSERT_EQ(table_->SeekRow(12345, 0, nullptr), MAPI_E_INVALID_BOOKMARK);
    ASSERT_EQ(table_->GetLastError(MAPI_E_INVALID_BOOKMARK, 0, error.Put()), S_OK);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->ulVersion, static_cast<ULONG>(MAPI_ERROR_VERSION));
    EXPECT_STREQ(error->lpszError,
                 "SeekRow: the bookmark was not created by this table or has been freed");
    EXPECT_STREQ(error->lpszComponent, "Orvella message store");

    EXPECT_EQ(table_->GetLastError(MAPI_E_NOT_FOUND, 0, error.Put()), S_OK);
    EXPECT_FALSE(error);
    EXPECT_EQ(table_->GetLastError(MAPI_E_INVALID_BOOKMARK, MAPI_UNICODE, error.Put()),
              MAPI_E_BAD_CHARWIDTH);
    EXPECT_EQ(table_->GetLastError(S_OK, 0, nullptr), MAPI_E_INVALID_PARAMETER);
}

TEST(TableFailures, SourceFailuresComeBackAndLeaveTheTableAsItWas) {
    orvella::testing::TempHome home;
    auto rows = std::make_shared<MemoryRowSource>(std::vector<ULONG>{kId});
    for (LONG id = 1; id <= 6; ++id) {
        SPropValue values[] = {LongValue(kId, id), LongValue(kGroup, id % 2)};
        rows->AddRow(values);
    }
    auto source = std::make_shared<NarrowingRowSource>(rows, 5);
    ComPtr<IMAPITable> table = OpenTable(source);
    ASSERT_EQ(table->SeekRow(BOOKMARK_BEGINNING, 2, nullptr), S_OK);
    Restrictions restrictions;
    SRestriction even = restrictions.Property(RELOP_EQ, LongValue(kGroup, 0));

    source->FailWith(MAPI_E_DISK_ERROR);
    RowSetPtr read;
    EXPECT_EQ(table->Restrict(&even, 0), MAPI_E_DISK_ERROR);
    EXPECT_EQ(table->QueryRows(2, 0, read.Put()), MAPI_E_DISK_ERROR);
    EXPECT_FALSE(read);
    EXPECT_EQ(table->FindRow(&even, BOOKMARK_BEGINNING, 0), MAPI_E_DISK_ERROR);
    MapiBuffer<MAPIERROR> error;
    ASSERT_EQ(table->GetLastError(MAPI_E_DISK_ERROR, 0, error.Put()), S_OK);
    EXPECT_STREQ(error->lpszError, "FindRow: the row source failed (0x80040116)");
    ASSERT_TRUE(rows->RemoveRow(6));
    ULONG count = 0;
    EXPECT_EQ(table->GetRowCount(0, &count), MAPI_E_DISK_ERROR);

    source->FailWith(S_OK);
    ASSERT_EQ(table->GetRowCount(0, &count), S_OK);
    EXPECT_EQ(count, 5u);
    ASSERT_EQ(table->QueryRows(2, 0, read.Put()), S_OK);
    EXPECT_EQ(RowIds(read.Get()), (std::vector<LONG>{3, 4}));
}

}  // namespace
