// Model-based test of the store's tables: random calls against a table and against a plain
// reference model of rows and a cursor must agree, with and without the source narrowing
// FindRow's candidates.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "mapi_ptr.h"
#include "mapi_table.h"
#include "memory_row_source.h"
#include "narrowing_row_source.h"
#include "restriction.h"
#include "table_test_rows.h"
#include "temp_home.h"

namespace {

using namespace orvella::platform::mapi;
using namespace orvella::platform::mapi::store;
using namespace orvella::platform::mapi::testing;

struct ModelRow {
    RowKey key = 0;
    LONG id = 0;
    std::optional<LONG> rank;
    std::optional<std::string> name;
    std::optional<LONG> group;

    std::vector<SPropValue> Values() const {
        std::vector<SPropValue> values = {LongValue(kId, id)};
        if (rank) values.push_back(LongValue(kRank, *rank));
        if (name) values.push_back(StringProp(kName, name->c_str()));
        if (group) values.push_back(LongValue(kGroup, *group));
        return values;
    }
};

using SortKeys = std::vector<SSortOrder>;

std::string Lower(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return text;
}

template <class T>
int Order(const std::optional<T>& a, const std::optional<T>& b) {
    if (!a || !b) return int(bool(a)) - int(bool(b));  // a missing value first
    return *a < *b ? -1 : (*b < *a ? 1 : 0);
}

int CompareBy(ULONG tag, const ModelRow& a, const ModelRow& b) {
    if (tag == kRank) return Order(a.rank, b.rank);
    if (tag == kGroup) return Order(a.group, b.group);
    if (tag == kId) return Order(std::optional<LONG>(a.id), std::optional<LONG>(b.id));
    auto lower = [](const ModelRow& r) {
        return r.name ? std::optional<std::string>(Lower(*r.name)) : std::nullopt;
    };
    return Order(lower(a), lower(b));
}

// The reference: rows in natural order, the table's view of them as a list of keys, a cursor
// into the list and bookmarks, kept by the plainest means.
class Model {
public:
    struct Mark {
        std::size_t position = 0;
        bool moved = false;
    };

    std::vector<ModelRow> rows;
    const SRestriction* restriction = nullptr;
    const SortKeys* sort = nullptr;
    std::vector<ULONG> columns;
    std::vector<RowKey> view;
    std::size_t cursor = 0;
    std::map<BOOKMARK, Mark> marks;
    bool loaded = false;
    bool changed = true;

    const ModelRow& Row(RowKey key) const {
        return *std::find_if(rows.begin(), rows.end(),
                             [&](const ModelRow& r) { return r.key == key; });
    }

    bool Satisfies(const ModelRow& row, const SRestriction& r) const {
        std::vector<SPropValue> values = row.Values();
        return EvaluateRestriction(r, RowLookup(values));
    }

    std::vector<RowKey> Compute() const {
        std::vector<ModelRow> kept;
        for (const ModelRow& row : rows) {
            if (restriction == nullptr || Satisfies(row, *restriction)) kept.push_back(row);
        }
        if (sort != nullptr) {
            std::stable_sort(kept.begin(), kept.end(), [&](const ModelRow& a, const ModelRow& b) {
                for (const SSortOrder& key : *sort) {
                    int c = CompareBy(key.ulPropTag, a, b);
                    if (key.ulOrder == TABLE_SORT_DESCEND) c = -c;
                    if (c != 0) return c < 0;
                }
                return false;
            });
        }
        std::vector<RowKey> keys;
        for (const ModelRow& row : kept) keys.push_back(row.key);
        return keys;
    }

    // Where a position of the old view lands in the new one, and whether it left its row.
    static std::pair<std::size_t, bool> Follow(const std::vector<RowKey>& before,
                                               std::size_t position,
                                               const std::vector<RowKey>& after) {
        if (before.empty()) return {0, false};
        if (position >= before.size()) return {after.size(), false};
        for (std::size_t i = position; i < before.size(); ++i) {
            auto it = std::find(after.begin(), after.end(), before[i]);
            if (it != after.end()) return {std::size_t(it - after.begin()), i != position};
        }
        return {after.size(), true};
    }

    void Refresh() {
        if (loaded && !changed) return;
        std::vector<RowKey> fresh = Compute();
        if (!loaded) {
            cursor = 0;
        } else {
            cursor = Follow(view, cursor, fresh).first;
            for (auto& [id, mark] : marks) {
                auto [position, moved] = Follow(view, mark.position, fresh);
                mark.position = position;
                mark.moved = mark.moved || moved;
            }
        }
        view = fresh;
        loaded = true;
        changed = false;
    }

    void Reset() {
        view = Compute();
        cursor = 0;
        marks.clear();
        loaded = true;
        changed = false;
    }

    std::string Text(RowKey key) const {
        const ModelRow& row = Row(key);
        std::string text;
        for (ULONG tag : columns) {
            if (!text.empty()) text += '|';
            char missing[32];
            std::snprintf(missing, sizeof(missing), "E(%04X):8004010F", PROP_ID(tag));
            if (tag == kId) {
                text += "L:" + std::to_string(row.id);
            } else if (tag == kRank) {
                text += row.rank ? "L:" + std::to_string(*row.rank) : missing;
            } else if (tag == kGroup) {
                text += row.group ? "L:" + std::to_string(*row.group) : missing;
            } else if (tag == kName) {
                text += row.name ? "S:" + *row.name : missing;
            } else if (tag == PR_INSTANCE_KEY) {
                char bytes[24];
                std::snprintf(bytes, sizeof(bytes), "B:%016llx",
                              static_cast<unsigned long long>(key));
                text += bytes;
            } else {
                text += missing;
            }
        }
        return text;
    }
};

const char* const kNames[] = {"alpha", "Bravo", "charlie", "Delta", "echo", "ALPHA"};

class TableModelTest : public ::testing::TestWithParam<std::tuple<unsigned, bool>> {
public:  // the test body names the steps by member pointer
    TableModelTest()
        : random_(std::get<0>(GetParam())),
          rows_(std::make_shared<MemoryRowSource>(std::vector<ULONG>{kId, kRank, kName})) {
        std::shared_ptr<RowSource> source = rows_;
        if (std::get<1>(GetParam())) {
            source = std::make_shared<NarrowingRowSource>(rows_, std::get<0>(GetParam()));
        }
        model_.columns = {kId, kRank, kName};
        for (int i = 0; i < 8; ++i) AddRow();
        table_ = OpenTable(source);

        pool_ = {
            r_.Property(RELOP_EQ, LongValue(kRank, 2)),
            r_.Property(RELOP_GE, LongValue(kRank, 3)),
            r_.Property(RELOP_EQ, StringProp(kName, "alpha")),
            r_.Exist(kGroup),
            r_.Not(r_.Exist(kName)),
            r_.And({r_.Property(RELOP_LE, LongValue(kRank, 2)), r_.Exist(kName)}),
            r_.Or({r_.Property(RELOP_EQ, LongValue(kGroup, 1)),
                   r_.Content(FL_PREFIX | FL_IGNORECASE, StringProp(kName, "ch"))}),
            r_.Property(RELOP_NE, LongValue(kRank, 1)),
            r_.Content(FL_SUBSTRING, StringProp(kName, "a")),
        };
        sorts_ = {
            {{kRank, TABLE_SORT_ASCEND}},
            {{kName, TABLE_SORT_DESCEND}},
            {{kGroup, TABLE_SORT_ASCEND}, {kRank, TABLE_SORT_DESCEND}},
            {{kName, TABLE_SORT_ASCEND}, {kId, TABLE_SORT_DESCEND}},
        };
    }

    int Pick(int count) { return static_cast<int>(random_() % static_cast<unsigned>(count)); }
    int Between(int low, int high) { return low + Pick(high - low + 1); }

    void AddRow() {
        ModelRow row;
        row.id = next_id_++;
        if (Pick(5) != 0) row.rank = Between(0, 4);
        if (Pick(4) != 0) row.name = kNames[Pick(6)];
        if (Pick(2) != 0) row.group = Between(0, 2);
        std::vector<SPropValue> values = row.Values();
        row.key = rows_->AddRow(values);
        ASSERT_EQ(row.key, next_key_++);
        model_.rows.push_back(row);
        model_.changed = true;
    }

    void RemoveRow() {
        if (model_.rows.empty()) return;
        auto it = model_.rows.begin() + Pick(static_cast<int>(model_.rows.size()));
        ASSERT_TRUE(rows_->RemoveRow(it->key));
        model_.rows.erase(it);
        model_.changed = true;
    }

    // An origin for SeekRow or FindRow: a predefined one or a live bookmark; `unknown` is set
    // when it is a bookmark the table never made.
    BOOKMARK PickOrigin(bool& unknown) {
        unknown = false;
        const int choice = Pick(10);
        if (choice < 2) return BOOKMARK_BEGINNING;
        if (choice < 5) return BOOKMARK_CURRENT;
        if (choice < 7) return BOOKMARK_END;
        if (choice == 7 || model_.marks.empty()) {
            unknown = choice == 7;
            return unknown ? BOOKMARK{4000} : BOOKMARK_CURRENT;
        }
        auto it = model_.marks.begin();
        std::advance(it, Pick(static_cast<int>(model_.marks.size())));
        return it->first;
    }

    // The model's origin position; clears a bookmark's moved flag as using it does.
    std::size_t ModelOrigin(BOOKMARK origin, bool& moved) {
        moved = false;
        if (origin == BOOKMARK_BEGINNING) return 0;
        if (origin == BOOKMARK_CURRENT) return model_.cursor;
        if (origin == BOOKMARK_END) return model_.view.size();
        Model::Mark& mark = model_.marks.at(origin);
        moved = mark.moved;
        mark.moved = false;
        return mark.position;
    }

    void ExpectPosition() {
        model_.Refresh();
        ULONG row = 0, numerator = 0, denominator = 0;
        ASSERT_EQ(table_->QueryPosition(&row, &numerator, &denominator), S_OK);
        EXPECT_EQ(row, model_.cursor);
        EXPECT_EQ(numerator, model_.cursor);
        EXPECT_EQ(denominator, std::max<std::size_t>(model_.view.size(), 1));
    }

    void SetColumns() {
        std::vector<ULONG> all = {kId, kRank, kName, kGroup, kAbsent, PR_INSTANCE_KEY};
        std::shuffle(all.begin(), all.end(), random_);
        all.resize(Between(1, 4));
        SizedSPropTagArray(4, columns) = {static_cast<ULONG>(all.size()), {}};
        std::copy(all.begin(), all.end(), columns.aulPropTag);
        ASSERT_EQ(table_->SetColumns(reinterpret_cast<LPSPropTagArray>(&columns), 0), S_OK);
        model_.columns = all;
    }

    void Restrict() {
        const int choice = Pick(static_cast<int>(pool_.size()) + 1);
        SRestriction* restriction =
            choice < static_cast<int>(pool_.size()) ? &pool_[choice] : nullptr;
        ASSERT_EQ(table_->Restrict(restriction, 0), S_OK);
        model_.restriction = restriction;
        model_.Reset();
        ExpectPosition();
    }

    void SortTable() {
        const int choice = Pick(static_cast<int>(sorts_.size()) + 1);
        const SortKeys* keys = choice < static_cast<int>(sorts_.size()) ? &sorts_[choice] : nullptr;
        SizedSSortOrderSet(2, sort) = {};
        if (keys != nullptr) {
            sort.cSorts = static_cast<ULONG>(keys->size());
            std::copy(keys->begin(), keys->end(), sort.aSort);
        }
        ASSERT_EQ(table_->SortTable(reinterpret_cast<LPSSortOrderSet>(&sort), 0), S_OK);
        model_.sort = keys;
        model_.Reset();
        ExpectPosition();
    }

    void SeekRow() {
        bool unknown = false;
        const BOOKMARK origin = PickOrigin(unknown);
        const LONG count = Between(-7, 7);
        LONG sought = 99;
        const HRESULT hr = table_->SeekRow(origin, count, &sought);
        model_.Refresh();
        if (unknown) {
            EXPECT_EQ(hr, MAPI_E_INVALID_BOOKMARK);
        } else {
            bool moved = false;
            const auto from = static_cast<LONG>(ModelOrigin(origin, moved));
            const LONG target =
                std::clamp<LONG>(from + count, 0, static_cast<LONG>(model_.view.size()));
            EXPECT_EQ(hr, moved ? MAPI_W_POSITION_CHANGED : S_OK);
            EXPECT_EQ(sought, target - from);
            model_.cursor = static_cast<std::size_t>(target);
        }
        ExpectPosition();
    }

    void QueryRows() {
        LONG count = Between(1, 6);
        if (Pick(3) == 0) count = -count;
        const ULONG flags = Pick(3) == 0 ? TBL_NOADVANCE : 0;
        RowSetPtr rows;
        ASSERT_EQ(table_->QueryRows(count, flags, rows.Put()), S_OK);
        model_.Refresh();
        std::size_t first = model_.cursor, end = model_.cursor;
        if (count > 0) {
            end = std::min(model_.view.size(), model_.cursor + static_cast<std::size_t>(count));
        } else {
            first = model_.cursor - std::min(model_.cursor, static_cast<std::size_t>(-count));
        }
        std::vector<std::string> expected;
        for (std::size_t i = first; i < end; ++i) expected.push_back(model_.Text(model_.view[i]));
        EXPECT_EQ(RowTexts(rows.Get()), expected);
        if (flags == 0) model_.cursor = count > 0 ? end : first;
        ExpectPosition();
    }

    void FindRow() {
        SRestriction& restriction = pool_[Pick(static_cast<int>(pool_.size()))];
        bool unknown = false;
        const BOOKMARK origin = PickOrigin(unknown);
        const bool backward = Pick(2) == 0;
        const HRESULT hr = table_->FindRow(&restriction, origin, backward ? DIR_BACKWARD : 0);
        model_.Refresh();
        if (unknown) {
            EXPECT_EQ(hr, MAPI_E_INVALID_BOOKMARK);
        } else {
            bool moved = false;
            const std::size_t from = ModelOrigin(origin, moved);
            std::optional<std::size_t> found;
            if (!backward) {
                for (std::size_t i = from; i < model_.view.size() && !found; ++i) {
                    if (model_.Satisfies(model_.Row(model_.view[i]), restriction)) found = i;
                }
            } else {
                for (std::size_t i = from; i > 0 && !found; --i) {
                    if (model_.Satisfies(model_.Row(model_.view[i - 1]), restriction))
                        found = i - 1;
                }
            }
            if (found) {
                EXPECT_EQ(hr, moved ? MAPI_W_POSITION_CHANGED : S_OK);
                model_.cursor = *found;
            } else {
                EXPECT_EQ(hr, MAPI_E_NOT_FOUND);
            }
        }
        ExpectPosition();
    }

    void CreateBookmark() {
        if (model_.marks.size() >= 5) return;
        BOOKMARK bookmark = 0;
        ASSERT_EQ(table_->CreateBookmark(&bookmark), S_OK);
        model_.Refresh();
        ASSERT_EQ(model_.marks.count(bookmark), 0u);
        model_.marks[bookmark] = Model::Mark{model_.cursor, false};
    }

    void FreeBookmark() {
        if (model_.marks.empty()) return;
        auto it = model_.marks.begin();
        std::advance(it, Pick(static_cast<int>(model_.marks.size())));
        EXPECT_EQ(table_->FreeBookmark(it->first), S_OK);
        model_.marks.erase(it);
    }

    void GetRowCount() {
        ULONG count = 0;
        ASSERT_EQ(table_->GetRowCount(0, &count), S_OK);
        model_.Refresh();
        EXPECT_EQ(count, model_.view.size());
    }

    void SeekRowApprox() {
        const ULONG denominator = static_cast<ULONG>(Between(1, 4));
        const ULONG numerator = static_cast<ULONG>(Between(0, 4));
        ASSERT_EQ(table_->SeekRowApprox(numerator, denominator), S_OK);
        model_.Refresh();
        model_.cursor = model_.view.size() * std::min(numerator, denominator) / denominator;
        ExpectPosition();
    }

    orvella::testing::TempHome home_;
    std::mt19937 random_;
    std::shared_ptr<MemoryRowSource> rows_;
    ComPtr<IMAPITable> table_;
    Model model_;
    Restrictions r_;
    std::vector<SRestriction> pool_;
    std::vector<SortKeys> sorts_;
    LONG next_id_ = 1;
    RowKey next_key_ = 1;
};

TEST_P(TableModelTest, TableAgreesWithAPlainModelOverRandomCalls) {
    struct Step {
        const char* name;
        int weight;
        void (TableModelTest::*run)();
    };
    const Step steps[] = {
        {"SetColumns", 2, &TableModelTest::SetColumns},
        {"Restrict", 2, &TableModelTest::Restrict},
        {"SortTable", 2, &TableModelTest::SortTable},
        {"SeekRow", 6, &TableModelTest::SeekRow},
        {"QueryRows", 6, &TableModelTest::QueryRows},
        {"FindRow", 6, &TableModelTest::FindRow},
        {"CreateBookmark", 3, &TableModelTest::CreateBookmark},
        {"FreeBookmark", 1, &TableModelTest::FreeBookmark},
        {"GetRowCount", 2, &TableModelTest::GetRowCount},
        {"SeekRowApprox", 1, &TableModelTest::SeekRowApprox},
        {"AddRow", 5, &TableModelTest::AddRow},
        {"RemoveRow", 4, &TableModelTest::RemoveRow},
    };
    int total = 0;
    for (const Step& step : steps) total += step.weight;
    for (int i = 0; i < 500 && !HasFailure(); ++i) {
        int choice = Pick(total);
        const Step* step = steps;
        while (choice >= step->weight) choice -= (step++)->weight;
        SCOPED_TRACE(::testing::Message() << "step " << i << ": " << step->name);
        (this->*step->run)();
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, TableModelTest,
                         ::testing::Combine(::testing::Values(1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u),
                                            ::testing::Bool()));

}  // namespace
