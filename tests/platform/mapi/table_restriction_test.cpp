// Restrictions and sorting on contents tables in the cases the random tests do not reach:
// computed properties, values too large to hand out, and restrictions with missing parts.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "mapi_ptr.h"
#include "mapitags.h"
#include "mapiutil.h"
#include "mapix.h"
#include "profile.h"
#include "random_mailbox.h"
#include "store_database.h"
#include "store_fixture.h"
#include "store_test_support.h"
#include "table_test_rows.h"

namespace {

using orvella::platform::mapi::ComPtr;
using orvella::platform::mapi::testing::Restrictions;
using orvella::testing::StoreTest;
namespace t = orvella::testing;

class TableRestrictionTest : public StoreTest {
protected:
    // The kSerial of the rows Restrict leaves, and of those a FindRow walk finds.
    std::vector<LONG> Restricted(SRestriction restriction) {
        ComPtr<IMAPITable> table;
        EXPECT_EQ(inbox_->GetContentsTable(0, &table), S_OK);
        EXPECT_EQ(table->Restrict(&restriction, 0), S_OK);
        return t::Serials(t::AllRows(table.Get(), {t::kSerial}).Get());
    }
    std::vector<LONG> Found(SRestriction restriction) {
        ComPtr<IMAPITable> table;
        EXPECT_EQ(inbox_->GetContentsTable(0, &table), S_OK);
        SizedSPropTagArray(1, columns) = {1, {t::kSerial}};
        EXPECT_EQ(table->SetColumns(reinterpret_cast<LPSPropTagArray>(&columns), 0), S_OK);
        std::vector<LONG> found;
        while (table->FindRow(&restriction, BOOKMARK_CURRENT, 0) == S_OK) {
            orvella::platform::mapi::RowSetPtr row;
            EXPECT_EQ(table->QueryRows(1, 0, &row), S_OK);
            std::vector<LONG> serial = t::Serials(row.Get());
            if (serial.size() != 1) break;
            found.push_back(serial.front());
        }
        return found;
    }
    std::vector<LONG> Sorted(const std::vector<t::SortKey>& keys) {
        ComPtr<IMAPITable> table;
        EXPECT_EQ(inbox_->GetContentsTable(0, &table), S_OK);
        EXPECT_EQ(table->SortTable(t::SortOrder(keys).Get(), 0), S_OK);
        return t::Serials(t::AllRows(table.Get(), {t::kSerial}).Get());
    }

    t::ValueArena values_;
    Restrictions built_;
};

TEST_F(TableRestrictionTest, ComputedPropertiesRestrictLikeStoredOnes) {
    std::vector<t::EntryId> ids;
    for (LONG i = 0; i < 4; ++i) ids.push_back(SaveMessage({values_.Long(t::kSerial, i)}));
    const t::EntryId& third = ids[2];
    const SPropValue entry_id =
        values_.Binary(PR_ENTRYID, std::vector<BYTE>(third.begin(), third.end()));
    struct Case {
        const char* what;
        SRestriction restriction;
        std::vector<LONG> serials;
    };
    const Case cases[] = {
        {"the message with an entry id", built_.Property(RELOP_EQ, entry_id), {2}},
        {"every message has an entry id", built_.Exist(PR_ENTRYID), {0, 1, 2, 3}},
        {"every row is a message",
         built_.Property(RELOP_EQ, values_.Long(PR_OBJECT_TYPE, MAPI_MESSAGE)),
         {0, 1, 2, 3}},
        {"every row has an instance key", built_.Exist(PR_INSTANCE_KEY), {0, 1, 2, 3}},
        {"all but one message",
         built_.And({built_.Exist(PR_ENTRYID), built_.Not(built_.Property(RELOP_EQ, entry_id))}),
         {0, 1, 3}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(Restricted(c.restriction), c.serials);
        EXPECT_EQ(Found(c.restriction), c.serials);
    }
}

// A walk through a thread leaving out one message is decided by SQL alone: each kind of entry id
// it may be told to leave out (this store's, another object's, bytes this store never makes)
// must leave out exactly the rows whose entry id is those bytes.
TEST_F(TableRestrictionTest, AWalkThroughAThreadLeavesOutExactlyTheEntryIdItIsGiven) {
    const ULONG thread = NamedLong("Thread");
    std::vector<t::EntryId> ids;
    for (LONG serial = 0; serial < 10; ++serial)
        ids.push_back(SaveMessage(
            {values_.Long(t::kSerial, serial), values_.Long(thread, serial % 2 ? 8 : 7)}));
    // Entry id layout: flags (4 bytes), the store's uid (16), the kind, 3 zero bytes, the id.
    auto changed = [&](const t::EntryId& id, void (*change)(std::vector<BYTE>&)) {
        std::vector<BYTE> bytes(id.begin(), id.end());
        change(bytes);
        return values_.Binary(PR_ENTRYID, std::move(bytes));
    };
    const SPropValue fourth = changed(ids[4], [](std::vector<BYTE>&) {});
    const SPropValue other_thread = changed(ids[3], [](std::vector<BYTE>&) {});
    const SPropValue no_object = changed(ids[4], [](std::vector<BYTE>& b) { b[24] += 100; });
    const SPropValue a_folder = changed(ids[4], [](std::vector<BYTE>& b) { b[20] = 2; });
    const SPropValue other_store = changed(ids[4], [](std::vector<BYTE>& b) { b[4] ^= 0xFF; });
    const SPropValue longer = changed(ids[4], [](std::vector<BYTE>& b) { b.push_back(0); });
    const SPropValue flagged = changed(ids[4], [](std::vector<BYTE>& b) { b[0] = 1; });
    const SPropValue empty = changed(ids[4], [](std::vector<BYTE>& b) { b.clear(); });
    const SPropValue in_thread = values_.Long(thread, 7);
    struct Case {
        const char* what;
        const SPropValue& entry_id;
        std::vector<LONG> others, only;
    };
    const Case cases[] = {
        {"a message of the thread", fourth, {0, 2, 6, 8}, {4}},
        {"a message of another thread", other_thread, {0, 2, 4, 6, 8}, {}},
        {"an object that does not exist", no_object, {0, 2, 4, 6, 8}, {}},
        {"a folder's id with the message's number", a_folder, {0, 2, 4, 6, 8}, {}},
        {"another store's", other_store, {0, 2, 4, 6, 8}, {}},
        {"one byte longer", longer, {0, 2, 4, 6, 8}, {}},
        {"other flags", flagged, {0, 2, 4, 6, 8}, {}},
        {"no bytes", empty, {0, 2, 4, 6, 8}, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const SRestriction others = built_.And(
            {built_.Property(RELOP_EQ, in_thread), built_.Property(RELOP_NE, c.entry_id)});
        EXPECT_EQ(Found(others), c.others);
        EXPECT_EQ(Restricted(others), c.others);
        const SRestriction only = built_.And(
            {built_.Property(RELOP_EQ, in_thread), built_.Property(RELOP_EQ, c.entry_id)});
        EXPECT_EQ(Found(only), c.only);
        EXPECT_EQ(Restricted(only), c.only);
        // Told as what it is not: the same rows.
        const SRestriction not_equal =
            built_.And({built_.Property(RELOP_EQ, in_thread),
                        built_.Not(built_.Property(RELOP_EQ, c.entry_id))});
        EXPECT_EQ(Found(not_equal), c.others);
    }
}

TEST_F(TableRestrictionTest, ValuesTooLargeForRowsStillCountInRestrictionsAndSorting) {
    const std::string large = "Zulu " + std::string(40 * 1024, 'x');
    SaveMessage({values_.Long(t::kSerial, 0), values_.Text(PR_BODY_A, "short body"),
                 values_.Text(PR_SUBJECT_A, "beta")});
    SaveMessage({values_.Long(t::kSerial, 1), values_.Text(PR_BODY_A, large),
                 values_.Text(PR_SUBJECT_A, large)});
    SaveMessage({values_.Long(t::kSerial, 2), values_.Text(PR_SUBJECT_A, "gamma")});
    struct Case {
        const char* what;
        SRestriction restriction;
        std::vector<LONG> serials;
    };
    const Case cases[] = {
        {"bodies", built_.Exist(PR_BODY_A), {0, 1}},
        {"a word in a body",
         built_.Content(FL_SUBSTRING | FL_IGNORECASE, values_.Text(PR_BODY_A, "zulu")),
         {1}},
        {"subjects after a letter",
         built_.Property(RELOP_GT, values_.Text(PR_SUBJECT_A, "delta")),
         {1, 2}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(Restricted(c.restriction), c.serials);
        EXPECT_EQ(Found(c.restriction), c.serials);
    }
    // Sorted by the whole value, whether the store sorts in SQL or in C++.
    EXPECT_EQ(Sorted({{PR_SUBJECT_A, TABLE_SORT_ASCEND}}), (std::vector<LONG>{0, 2, 1}));
    EXPECT_EQ(Sorted({{PR_SUBJECT_A, TABLE_SORT_ASCEND},
                      {PROP_TAG(PT_MV_LONG, 0x684F), TABLE_SORT_ASCEND}}),
              (std::vector<LONG>{0, 2, 1}));
    // Rows still do not hand the value out.
    ComPtr<IMAPITable> table;
    ASSERT_EQ(inbox_->GetContentsTable(0, &table), S_OK);
    EXPECT_EQ(t::TableTexts(table.Get(), {t::kSerial, PR_BODY_A}),
              (std::vector<std::string>{"L:0|S:short body", "L:1|E(1000):8007000E",
                                        "L:2|E(1000):8004010F"}));
}

TEST_F(TableRestrictionTest, RestrictionsWithMissingPartsAreAnsweredAsDocumented) {
    for (LONG i = 0; i < 3; ++i)
        SaveMessage({values_.Long(t::kSerial, i), values_.Long(PR_IMPORTANCE, i)});
    SRestriction and_of_nothing = {};
    and_of_nothing.rt = RES_AND;
    and_of_nothing.res.resAnd = {2, nullptr};
    SRestriction or_of_nothing = {};
    or_of_nothing.rt = RES_OR;
    or_of_nothing.res.resOr = {2, nullptr};
    SRestriction not_of_nothing = {};
    not_of_nothing.rt = RES_NOT;
    SRestriction no_value = {};
    no_value.rt = RES_PROPERTY;
    no_value.res.resProperty = {RELOP_EQ, PR_IMPORTANCE, nullptr};
    struct Case {
        const char* what;
        SRestriction restriction;
        std::vector<LONG> serials;
    };
    const Case cases[] = {
        {"AND without parts", and_of_nothing, {0, 1, 2}},
        {"OR without parts", or_of_nothing, {}},
        {"NOT of nothing", not_of_nothing, {}},
        {"equality without a value", no_value, {}},
        {"AND holding an OR without parts",
         built_.And({built_.Property(RELOP_EQ, values_.Long(PR_IMPORTANCE, 1)), or_of_nothing}),
         {}},
        {"OR holding an AND without parts",
         built_.Or({built_.Property(RELOP_EQ, values_.Long(PR_IMPORTANCE, 1)), and_of_nothing}),
         {0, 1, 2}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(Restricted(c.restriction), c.serials);
        EXPECT_EQ(Found(c.restriction), c.serials);
    }
}

// Messages lacking a property have no index: a walk looks a window of messages at a time.
// Over many windows, forward and backward, it still finds each such message once, in order.
TEST_F(TableRestrictionTest, WalksForWhatLacksAPropertyFindEveryMatchAcrossManyWindows) {
    const ULONG marker = NamedLong("Marker");
    const std::vector<LONG> lacking = {0, 1, 299, 300, 301, 777, 1199};
    for (LONG serial = 0; serial < 1200; ++serial) {
        std::vector<SPropValue> values = {t::Long(t::kSerial, serial)};
        if (std::find(lacking.begin(), lacking.end(), serial) == lacking.end())
            values.push_back(t::Long(marker, 1));
        SaveMessage(values);
    }
    const SRestriction unmarked =
        built_.Or({built_.Not(built_.Exist(marker)), built_.Not(built_.Exist(PR_SUBJECT_A))});
    std::vector<LONG> all(1200);
    for (LONG serial = 0; serial < 1200; ++serial) all[serial] = serial;
    EXPECT_EQ(Found(unmarked), all);
    const SRestriction lacks_marker = built_.Not(built_.Exist(marker));
    EXPECT_EQ(Found(lacks_marker), lacking);
    EXPECT_EQ(Restricted(lacks_marker), lacking);

    ComPtr<IMAPITable> table;
    ASSERT_EQ(inbox_->GetContentsTable(0, &table), S_OK);
    SizedSPropTagArray(1, columns) = {1, {t::kSerial}};
    ASSERT_EQ(table->SetColumns(reinterpret_cast<LPSPropTagArray>(&columns), 0), S_OK);
    ASSERT_EQ(table->SeekRow(BOOKMARK_END, 0, nullptr), S_OK);
    SRestriction backward = lacks_marker;
    std::vector<LONG> found;
    while (table->FindRow(&backward, BOOKMARK_CURRENT, DIR_BACKWARD) == S_OK) {
        orvella::platform::mapi::RowSetPtr row;
        ASSERT_EQ(table->QueryRows(1, TBL_NOADVANCE, &row), S_OK);
        found.push_back(t::Serials(row.Get()).front());
    }
    EXPECT_EQ(found, std::vector<LONG>(lacking.rbegin(), lacking.rend()));
}

// An equality on a number is answered through the value's index until the store holds a
// multi-valued form of the property, which the index does not hold: a message given one
// through another connection to the file is found by the next search here.
TEST_F(TableRestrictionTest, AMultiValuedFormWrittenElsewhereIsFoundByTheNextEquality) {
    const ULONG label = NamedLong("Label");
    std::vector<t::EntryId> saved;
    for (LONG serial = 0; serial < 12; ++serial) {
        std::vector<SPropValue> values = {values_.Long(t::kSerial, serial)};
        if (serial < 10) values.push_back(values_.Long(label, serial % 3));
        saved.push_back(SaveMessage(values));
    }
    const SRestriction labelled = built_.Property(RELOP_EQ, values_.Long(label, 1));
    ASSERT_EQ(Restricted(labelled), (std::vector<LONG>{1, 4, 7}));
    ASSERT_EQ(Found(labelled), (std::vector<LONG>{1, 4, 7}));

    auto parts = orvella::platform::mapi::store::ParseEntryId(
        static_cast<ULONG>(saved[11].size()), reinterpret_cast<LPENTRYID>(saved[11].data()));
    ASSERT_TRUE(parts);
    orvella::platform::mapi::store::StoreDatabase other(
        orvella::platform::mapi::store::ProfileStores("Outlook")[0].file);
    const SPropValue labels = values_.LongList(PROP_TAG(PT_MV_LONG, PROP_ID(label)), {5, 1});
    orvella::platform::mapi::store::SaveRequest request;
    request.id = parts->object;
    request.force = true;
    request.set = {&labels};
    other.Save(request);

    EXPECT_EQ(Restricted(labelled), (std::vector<LONG>{1, 4, 7, 11}));
    EXPECT_EQ(Found(labelled), (std::vector<LONG>{1, 4, 7, 11}));
}

// A walk keeps what it learnt of the candidates ahead of its cursor only while nothing it
// depends on changes: values changed ahead of the cursor between its steps, here or through
// another connection to the file, are found (or left out) as they now are.
TEST_F(TableRestrictionTest, AWalkFindsWhatChangedAheadOfItsCursorBetweenSteps) {
    const ULONG thread = NamedLong("Thread");
    const ULONG shown = NamedLong("Shown");
    std::vector<t::EntryId> saved;
    for (LONG serial = 0; serial < 100; ++serial) {
        std::vector<SPropValue> values = {t::Long(t::kSerial, serial),
                                          t::Long(thread, serial % 2 == 0 ? 7 : 8)};
        if (serial == 20 || serial == 40) values.push_back(t::Long(shown, 5));
        saved.push_back(SaveMessage(values));
    }
    // The messages of thread 7 that do not show 5 yet.
    SRestriction others =
        built_.And({built_.Property(RELOP_EQ, t::Long(thread, 7)),
                    built_.Not(built_.And(
                        {built_.Exist(shown), built_.Property(RELOP_EQ, t::Long(shown, 5))}))});
    ComPtr<IMAPITable> table;
    ASSERT_EQ(inbox_->GetContentsTable(0, &table), S_OK);
    SizedSPropTagArray(1, columns) = {1, {t::kSerial}};
    ASSERT_EQ(table->SetColumns(reinterpret_cast<LPSPropTagArray>(&columns), 0), S_OK);
    auto set = [&](LONG serial, SPropValue value) {
        ComPtr<IMessage> message = Open(saved[serial]);
        ASSERT_EQ(HrSetOneProp(message.Get(), &value), S_OK);
        ASSERT_EQ(message->SaveChanges(0), S_OK);
    };
    std::vector<LONG> found;
    while (table->FindRow(&others, BOOKMARK_CURRENT, 0) == S_OK) {
        orvella::platform::mapi::RowSetPtr row;
        ASSERT_EQ(table->QueryRows(1, 0, &row), S_OK);
        found.push_back(t::Serials(row.Get()).front());
        if (found.size() != 1) continue;
        set(51, t::Long(thread, 7));  // joins the thread ahead
        set(10, t::Long(shown, 5));   // shows it now
        set(20, t::Long(shown, 6));   // no longer shows it
        set(0, t::Long(shown, 6));    // behind the cursor: changes nothing ahead
        // Another connection to the same file moves message 61 into the thread.
        auto parts = orvella::platform::mapi::store::ParseEntryId(
            static_cast<ULONG>(saved[61].size()), reinterpret_cast<LPENTRYID>(saved[61].data()));
        ASSERT_TRUE(parts);
        orvella::platform::mapi::store::StoreDatabase other(
            orvella::platform::mapi::store::ProfileStores("Outlook")[0].file);
        const SPropValue joins = t::Long(thread, 7);
        orvella::platform::mapi::store::SaveRequest request;
        request.id = parts->object;
        request.force = true;
        request.set = {&joins};
        other.Save(request);
    }
    EXPECT_EQ(found,
              (std::vector<LONG>{0,  2,  4,  6,  8,  12, 14, 16, 18, 20, 22, 24, 26, 28, 30, 32, 34,
                                 36, 38, 42, 44, 46, 48, 50, 51, 52, 54, 56, 58, 60, 61, 62, 64, 66,
                                 68, 70, 72, 74, 76, 78, 80, 82, 84, 86, 88, 90, 92, 94, 96, 98}));
}

}  // namespace
