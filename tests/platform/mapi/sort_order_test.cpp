// Sorted contents tables: the same documented order (CompareProps, absent values first, ties in
// natural order) whether the store sorts a type in SQL or in C++.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "mapi_ptr.h"
#include "mapitags.h"
#include "mapiutil.h"
#include "mapix.h"
#include "random_mailbox.h"
#include "store_fixture.h"
#include "store_test_support.h"

namespace {

using orvella::platform::mapi::ComPtr;
using orvella::testing::StoreTest;
using orvella::testing::ValueArena;
namespace t = orvella::testing;

// A multi-valued property no message has: as a last sort key it changes no order, but makes the
// store sort in C++ what it would otherwise sort in SQL.
constexpr ULONG kNowhere = PROP_TAG(PT_MV_LONG, 0x684F);

// The kSerial of each row of the folder's contents table sorted by `keys`.
std::vector<LONG> SortedSerials(IMAPIFolder* folder, const std::vector<t::SortKey>& keys) {
    ComPtr<IMAPITable> table;
    EXPECT_EQ(folder->GetContentsTable(0, &table), S_OK);
    if (!table) return {};
    EXPECT_EQ(table->SortTable(t::SortOrder(keys).Get(), 0), S_OK);
    return t::Serials(t::AllRows(table.Get(), {t::kSerial}).Get());
}

TEST_F(StoreTest, SortedTablesPutAbsentValuesFirstAndKeepTiesInOrder) {
    ValueArena v;
    using Words = std::vector<std::string>;
    SaveMessage({v.Long(t::kSerial, 0), v.Text(t::kName, "beta"),
                 v.TextList(t::kKeywords, Words{"b"}), v.Bool(t::kFlag, true)});
    SaveMessage({v.Long(t::kSerial, 1), v.Bool(t::kFlag, false)});
    SaveMessage({v.Long(t::kSerial, 2), v.Text(t::kName, "Alpha"),
                 v.TextList(t::kKeywords, Words{"a", "z"})});
    SaveMessage({v.Long(t::kSerial, 3), v.Text(t::kName, "alpha"),
                 v.TextList(t::kKeywords, Words{"a"}), v.Bool(t::kFlag, true)});
    SaveMessage({v.Long(t::kSerial, 4), v.Text(t::kName, "_under"),
                 v.TextList(t::kKeywords, Words{}), v.Bool(t::kFlag, false)});
    SaveMessage({v.Long(t::kSerial, 5), v.Text(t::kName, "Beta"),
                 v.TextList(t::kKeywords, Words{"A", "z"}), v.Bool(t::kFlag, true)});
    struct Case {
        const char* what;
        std::vector<t::SortKey> keys;
        std::vector<LONG> serials;
    };
    const Case cases[] = {
        {"text ascending", {{t::kName, TABLE_SORT_ASCEND}}, {1, 4, 2, 3, 0, 5}},
        {"text descending", {{t::kName, TABLE_SORT_DESCEND}}, {0, 5, 2, 3, 4, 1}},
        {"text list ascending", {{t::kKeywords, TABLE_SORT_ASCEND}}, {1, 4, 3, 2, 5, 0}},
        {"text list descending", {{t::kKeywords, TABLE_SORT_DESCEND}}, {0, 2, 5, 3, 4, 1}},
        {"flag then text",
         {{t::kFlag, TABLE_SORT_DESCEND}, {t::kName, TABLE_SORT_ASCEND}},
         {3, 0, 5, 1, 4, 2}},
        {"flag then text list",
         {{t::kFlag, TABLE_SORT_ASCEND}, {t::kKeywords, TABLE_SORT_DESCEND}},
         {2, 4, 1, 0, 5, 3}},
        {"no keys", {}, {0, 1, 2, 3, 4, 5}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(SortedSerials(inbox_.Get(), c.keys), c.serials);
        // The same order when the store has to sort every key in C++.
        if (c.keys.empty()) continue;
        std::vector<t::SortKey> forced = c.keys;
        forced.push_back({kNowhere, TABLE_SORT_ASCEND});
        EXPECT_EQ(SortedSerials(inbox_.Get(), forced), c.serials);
    }
}

TEST_F(StoreTest, SortTableAgreesWithTheDocumentedOrderForEveryType) {
    const ULONG thread = NamedLong("OV-ThreadID");
    std::mt19937 random(20240517);
    // Enough messages that their object ids need more than one byte.
    t::FillRandomly(inbox_.Get(), thread, random, 300, 0);
    std::vector<ULONG> columns = t::RandomMailboxColumns(thread);
    columns.push_back(kNowhere);
    auto reference = t::ReadAllRows(inbox_.Get(), columns);
    ASSERT_EQ(reference->cRows, 300u);

    std::vector<std::vector<t::SortKey>> sorts;
    for (ULONG tag : {t::kRank, t::kFlags, t::kName, t::kSender, t::kFlag, t::kHash, t::kWhen,
                      t::kSize, t::kScore, t::kTitle, t::kKind, thread, t::kKeywords, t::kLevel,
                      t::kLevels, PR_ENTRYID, PR_INSTANCE_KEY, PR_OBJECT_TYPE}) {
        for (ULONG order : {TABLE_SORT_ASCEND, TABLE_SORT_DESCEND}) {
            sorts.push_back({{tag, order}});
            sorts.push_back({{tag, order}, {kNowhere, TABLE_SORT_ASCEND}});
        }
    }
    sorts.push_back({{t::kFlag, TABLE_SORT_DESCEND}, {t::kName, TABLE_SORT_ASCEND}});
    sorts.push_back({{t::kName, TABLE_SORT_ASCEND}, {t::kRank, TABLE_SORT_DESCEND}});
    sorts.push_back({{t::kHash, TABLE_SORT_ASCEND},
                     {t::kScore, TABLE_SORT_DESCEND},
                     {t::kSender, TABLE_SORT_ASCEND}});
    sorts.push_back({{t::kKeywords, TABLE_SORT_DESCEND}, {t::kWhen, TABLE_SORT_ASCEND}});
    sorts.push_back({{t::kTitle, TABLE_SORT_DESCEND}, {t::kRank, TABLE_SORT_ASCEND}});
    sorts.push_back({{t::kLevel, TABLE_SORT_ASCEND}, {t::kLevels, TABLE_SORT_DESCEND}});
    sorts.push_back({{thread, TABLE_SORT_ASCEND}, {t::kKind, TABLE_SORT_DESCEND}});

    for (const auto& keys : sorts) {
        auto sort = t::SortOrder(keys);
        std::string what;
        std::vector<std::size_t> key_columns;
        for (const t::SortKey& key : keys) {
            char text[24];
            std::snprintf(text, sizeof text, "%08X%s ", key.tag, key.order ? " desc" : "");
            what += text;
            key_columns.push_back(static_cast<std::size_t>(
                std::find(columns.begin(), columns.end(), key.tag) - columns.begin()));
        }
        SCOPED_TRACE(what);
        std::vector<LONG> expected;
        for (std::size_t row :
             t::SortedPositions(std::span(reference->aRow, reference->cRows), *sort, key_columns))
            expected.push_back(reference->aRow[row].lpProps[0].Value.l);
        EXPECT_EQ(SortedSerials(inbox_.Get(), keys), expected);
    }
}

}  // namespace
