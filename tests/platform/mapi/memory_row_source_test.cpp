// The in-memory row source behind small tables: keys, membership, copies of values, reads,
// matches and concurrent use.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "memory_row_source.h"
#include "table_test_rows.h"
#include "temp_home.h"

namespace {

using orvella::platform::mapi::store::KeyList;
using orvella::platform::mapi::store::MemoryRowSource;
using orvella::platform::mapi::store::RowKey;
using orvella::platform::mapi::store::RowValues;
using namespace orvella::platform::mapi::testing;

std::vector<RowKey> KeysOf(MemoryRowSource& source, const SRestriction* restriction,
                           const SSortOrderSet* sort) {
    KeyList keys;
    EXPECT_EQ(source.Keys(restriction, sort, keys), S_OK);
    return keys ? *keys : std::vector<RowKey>{};
}

std::vector<RowKey> AllKeys(MemoryRowSource& source) {
    return KeysOf(source, nullptr, nullptr);
}

std::uint64_t Version(MemoryRowSource& source) {
    std::uint64_t version = 0;
    EXPECT_EQ(source.MembershipVersion(version), S_OK);
    return version;
}

std::vector<std::string> Read(MemoryRowSource& source, std::vector<RowKey> keys,
                              std::vector<ULONG> tags) {
    std::vector<ULONG> storage = {static_cast<ULONG>(tags.size())};
    storage.insert(storage.end(), tags.begin(), tags.end());
    std::vector<RowValues> rows;
    EXPECT_EQ(source.ReadRows(keys, *reinterpret_cast<SPropTagArray*>(storage.data()), rows), S_OK);
    std::vector<std::string> texts;
    for (RowValues& row : rows) {
        SRow as_row = {0, row.count, row.values.Get()};
        texts.push_back(std::to_string(row.key) + "=" + RowText(as_row));
    }
    return texts;
}

class MemoryRowSourceTest : public ::testing::Test {
protected:
    orvella::testing::TempHome home_;
    MemoryRowSource source_{{kId, kName}};
};

TEST_F(MemoryRowSourceTest, KeysCountUpInTheOrderRowsAreAdded) {
    SPropValue one[] = {LongValue(kId, 10)};
    EXPECT_EQ(source_.AddRow(one), 1);
    EXPECT_EQ(source_.AddRow(one), 2);
    EXPECT_EQ(source_.AddRow(one), 3);
    EXPECT_TRUE(source_.RemoveRow(2));
    EXPECT_EQ(source_.AddRow(one), 4);
    EXPECT_EQ(AllKeys(source_), (std::vector<RowKey>{1, 3, 4}));
    source_.Clear();
    EXPECT_EQ(AllKeys(source_), std::vector<RowKey>{});
    EXPECT_EQ(source_.AddRow(one), 5);
    EXPECT_EQ(source_.DefaultColumns(), (std::vector<ULONG>{kId, kName}));
}

TEST_F(MemoryRowSourceTest, MembershipVersionChangesOnlyWhenRowsJoinOrLeave) {
    SPropValue one[] = {LongValue(kId, 1)};
    SPropValue other[] = {LongValue(kId, 2)};
    struct Case {
        const char* what;
        std::function<void()> change;
        bool changes;
    };
    RowKey key = 0;
    const Case cases[] = {
        {"add", [&] { key = source_.AddRow(one); }, true},
        {"replace", [&] { EXPECT_TRUE(source_.ReplaceRow(key, other)); }, false},
        {"remove an unknown row", [&] { EXPECT_FALSE(source_.RemoveRow(999)); }, false},
        {"replace an unknown row", [&] { EXPECT_FALSE(source_.ReplaceRow(999, one)); }, false},
        {"remove", [&] { EXPECT_TRUE(source_.RemoveRow(key)); }, true},
        {"clear an empty source", [&] { source_.Clear(); }, false},
        {"add again", [&] { source_.AddRow(one); }, true},
        {"clear", [&] { source_.Clear(); }, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const std::uint64_t before = Version(source_);
        c.change();
        EXPECT_EQ(Version(source_) != before, c.changes);
    }
}

TEST_F(MemoryRowSourceTest, RowsKeepCopiesOfTheirValues) {
    char name[] = "original";
    SPropValue values[] = {LongValue(kId, 1), StringProp(kName, name)};
    const RowKey key = source_.AddRow(values);
    std::strcpy(name, "changed!");
    values[0].Value.l = 2;
    EXPECT_EQ(Read(source_, {key}, {kId, kName}), std::vector<std::string>{"1=L:1|S:original"});

    SPropValue replacement[] = {StringProp(kName, "replaced")};
    ASSERT_TRUE(source_.ReplaceRow(key, replacement));
    EXPECT_EQ(Read(source_, {key}, {kId, kName}),
              std::vector<std::string>{"1=E(6710):8004010F|S:replaced"});

    SPropValue undefined[] = {LongValue(PROP_TAG(0x0999, 0x6799), 1)};
    EXPECT_EQ(source_.AddRow(undefined), 0);
    EXPECT_FALSE(source_.ReplaceRow(key, undefined));
    EXPECT_EQ(AllKeys(source_), std::vector<RowKey>{key});
}

TEST_F(MemoryRowSourceTest, ReadRowsFollowsTheKeysAndSkipsRowsThatAreGone) {
    for (LONG id = 1; id <= 3; ++id) {
        SPropValue values[] = {LongValue(kId, id), StringProp(kName, "n")};
        source_.AddRow(values);
    }
    EXPECT_EQ(
        Read(source_, {3, 99, 1}, {PR_INSTANCE_KEY, PROP_TAG(PT_UNSPECIFIED, 0x6710), kAbsent}),
        (std::vector<std::string>{"3=B:0000000000000003|L:3|E(6714):8004010F",
                                  "1=B:0000000000000001|L:1|E(6714):8004010F"}));
    EXPECT_EQ(Read(source_, {2}, {}), std::vector<std::string>{"2="});
}

TEST_F(MemoryRowSourceTest, MatchAndKeysDecideWithTheEvaluator) {
    const char* names[] = {"Ann", "bob", "ann", nullptr};
    for (LONG id = 1; id <= 4; ++id) {
        std::vector<SPropValue> values = {LongValue(kId, id)};
        if (names[id - 1] != nullptr) values.push_back(StringProp(kName, names[id - 1]));
        source_.AddRow(values);
    }
    Restrictions restrictions;
    SRestriction ann = restrictions.Property(RELOP_EQ, StringProp(kName, "ANN"));
    std::vector<bool> matches;
    ASSERT_EQ(source_.Match(std::vector<RowKey>{4, 3, 42, 1, 2}, ann, matches), S_OK);
    EXPECT_EQ(matches, (std::vector<bool>{false, true, false, true, false}));

    SizedSSortOrderSet(2, sort) = {
        2, 1, 0, {{kName, TABLE_SORT_DESCEND}, {kId, TABLE_SORT_ASCEND}}};
    EXPECT_EQ(KeysOf(source_, nullptr, reinterpret_cast<LPSSortOrderSet>(&sort)),
              (std::vector<RowKey>{2, 1, 3, 4}));

    BYTE third[] = {0, 0, 0, 0, 0, 0, 0, 3};
    SPropValue instance = {};
    instance.ulPropTag = PR_INSTANCE_KEY;
    instance.Value.bin = {sizeof(third), third};
    SRestriction by_instance = restrictions.Property(RELOP_EQ, instance);
    EXPECT_EQ(KeysOf(source_, &by_instance, nullptr), std::vector<RowKey>{3});

    std::optional<std::vector<RowKey>> candidates = std::vector<RowKey>{1};
    ASSERT_EQ(source_.Candidates(ann, nullptr, candidates), S_OK);
    EXPECT_FALSE(candidates);
}

TEST_F(MemoryRowSourceTest, ThreadsMayAddAndReadAtTheSameTime) {
    auto add = [this] {
        for (LONG id = 0; id < 300; ++id) {
            SPropValue values[] = {LongValue(kId, id)};
            source_.AddRow(values);
        }
    };
    std::thread first(add), second(add);
    for (int i = 0; i < 50; ++i) {
        std::vector<RowKey> keys = AllKeys(source_);
        EXPECT_TRUE(std::is_sorted(keys.begin(), keys.end()));
    }
    first.join();
    second.join();
    EXPECT_EQ(AllKeys(source_).size(), 600u);
}

}  // namespace
