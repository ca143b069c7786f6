// The store narrows restrictions through SQL before its evaluator decides: random restrictions on
// a folder of random messages must give, through Restrict and through FindRow walks, exactly the
// rows that EvaluateRestriction accepts on the same rows read without a restriction.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "mapi_ptr.h"
#include "mapitags.h"
#include "mapiutil.h"
#include "mapix.h"
#include "random_mailbox.h"
#include "restriction.h"
#include "store_fixture.h"
#include "store_test_support.h"
#include "table_test_rows.h"

namespace {

using orvella::platform::mapi::ComPtr;
using orvella::platform::mapi::RowSetPtr;
using orvella::platform::mapi::store::EvaluateRestriction;
using orvella::platform::mapi::store::RowLookup;
using orvella::platform::mapi::testing::Restrictions;
namespace t = orvella::testing;

// The single-valued form of the keywords: restrictions on it test every keyword of a message.
constexpr ULONG kKeyword = PROP_TAG(PT_STRING8, PROP_ID(t::kKeywords));

std::string Hex(ULONG value) {
    char text[16];
    std::snprintf(text, sizeof text, "%08X", value);
    return text;
}

// A restriction as text, for the message of a failing comparison.
std::string Describe(const SRestriction& r) {
    auto value = [](const SPropValue* v) {
        return v ? orvella::platform::mapi::testing::ValueText(*v) : std::string("null");
    };
    auto list = [](const char* name, ULONG count, const SRestriction* parts) {
        std::string text = std::string(name) + "(";
        for (ULONG i = 0; i < count; ++i) text += (i ? ", " : "") + Describe(parts[i]);
        return text + ")";
    };
    switch (r.rt) {
        case RES_AND:
            return list("AND", r.res.resAnd.cRes, r.res.resAnd.lpRes);
        case RES_OR:
            return list("OR", r.res.resOr.cRes, r.res.resOr.lpRes);
        case RES_NOT:
            return list("NOT", 1, r.res.resNot.lpRes);
        case RES_PROPERTY:
            return "PROPERTY(" + Hex(r.res.resProperty.ulPropTag) + " relop " +
                   std::to_string(r.res.resProperty.relop) + " " + value(r.res.resProperty.lpProp) +
                   ")";
        case RES_CONTENT:
            return "CONTENT(" + Hex(r.res.resContent.ulPropTag) + " level " +
                   Hex(r.res.resContent.ulFuzzyLevel) + " " + value(r.res.resContent.lpProp) + ")";
        case RES_EXIST:
            return "EXIST(" + Hex(r.res.resExist.ulPropTag) + ")";
        case RES_BITMASK:
            return "BITMASK(" + Hex(r.res.resBitMask.ulPropTag) +
                   (r.res.resBitMask.relBMR == BMR_EQZ ? " EQZ " : " NEZ ") +
                   Hex(r.res.resBitMask.ulMask) + ")";
        case RES_COMPAREPROPS:
            return "COMPAREPROPS(" + Hex(r.res.resCompareProps.ulPropTag1) + " relop " +
                   std::to_string(r.res.resCompareProps.relop) + " " +
                   Hex(r.res.resCompareProps.ulPropTag2) + ")";
        case RES_SIZE:
            return "SIZE(" + Hex(r.res.resSize.ulPropTag) + " relop " +
                   std::to_string(r.res.resSize.relop) + " " + std::to_string(r.res.resSize.cb) +
                   ")";
        default:
            return "rt " + std::to_string(r.rt);
    }
}

// Random restrictions over the random mailbox's properties. Equality, full-string and existence
// tests, alone and under RES_AND and RES_OR, are the common shapes: those the store narrows.
class RandomRestrictions {
public:
    RandomRestrictions(std::mt19937& random, ULONG thread, const SRowSet& rows)
        : random_(random), thread_(thread), rows_(rows) {}

    SRestriction Make(int depth) {
        const std::size_t shape = Pick(100);
        if (depth > 0 && shape < 30) {
            std::vector<SRestriction> parts = {Narrowable()};
            for (std::size_t i = Pick(3); i > 0; --i) parts.push_back(Make(depth - 1));
            std::shuffle(parts.begin(), parts.end(), random_);
            ++narrowable_shapes_;
            return built_.And(parts);
        }
        if (depth > 0 && shape < 48) {
            std::vector<SRestriction> parts;
            for (std::size_t i = 2 + Pick(2); i > 0; --i)
                parts.push_back(Pick(4) ? Narrowable() : Make(depth - 1));
            ++narrowable_shapes_;
            return built_.Or(parts);
        }
        if (depth > 0 && shape < 56) return built_.Not(Make(depth - 1));
        if (shape < 75) return Narrowable();
        return Other();
    }

    // How many RES_AND and RES_OR with narrowable parts were made.
    int narrowable_shapes() const { return narrowable_shapes_; }

private:
    static constexpr ULONG kRelops[] = {RELOP_LT, RELOP_LE, RELOP_GT, RELOP_GE, RELOP_EQ, RELOP_NE};

    std::size_t Pick(std::size_t n) { return static_cast<std::size_t>(random_() % n); }

    template <std::size_t N>
    ULONG OneOf(const ULONG (&tags)[N]) {
        return tags[Pick(N)];
    }

    SPropValue Value(ULONG tag) {
        if (tag == PR_ENTRYID || tag == PR_INSTANCE_KEY) {
            // The entry id or instance key of one of the folder's messages.
            const SRow& row = rows_.aRow[Pick(rows_.cRows)];
            for (ULONG c = 0; c < row.cValues; ++c)
                if (row.lpProps[c].ulPropTag == tag)
                    return tag == PR_ENTRYID ? EntryIdLike(row.lpProps[c].Value.bin)
                                             : row.lpProps[c];
        }
        return t::RandomValue(tag, random_, values_);
    }

    // A message's entry id, or now and then one that names no message of the folder: another
    // object, a folder, another store, or bytes this store never makes.
    SPropValue EntryIdLike(const SBinary& real) {
        std::vector<BYTE> bytes(real.lpb, real.lpb + real.cb);
        switch (Pick(10)) {
            case 0:
                bytes.back() ^= 0x40;  // the object id's highest byte
                break;
            case 1:
                bytes[20] = 2;  // the kind: a folder
                break;
            case 2:
                bytes[4] ^= 0xFF;  // the store's uid
                break;
            case 3:
                bytes.push_back(0);
                break;
            case 4:
                bytes.resize(bytes.size() / 2);
                break;
            default:
                break;
        }
        return values_.Binary(PR_ENTRYID, std::move(bytes));
    }

    // RES_PROPERTY RELOP_EQ, RES_CONTENT FL_FULLSTRING, RES_EXIST.
    SRestriction Narrowable() {
        const ULONG equal_tags[] = {t::kRank,     thread_,        t::kName,   t::kSender,
                                    t::kFlag,     t::kFlags,      t::kHash,   t::kSize,
                                    t::kScore,    t::kWhen,       t::kLevel,  kKeyword,
                                    t::kKeywords, PR_OBJECT_TYPE, PR_ENTRYID, PR_INSTANCE_KEY};
        const ULONG text_tags[] = {t::kName, t::kSender, kKeyword};
        const ULONG exist_tags[] = {t::kRank, thread_,      t::kName,       t::kSender, t::kFlag,
                                    t::kHash, t::kTitle,    t::kKind,       t::kLevel,  t::kLevels,
                                    kKeyword, t::kKeywords, PR_OBJECT_TYPE, PR_ENTRYID};
        switch (Pick(3)) {
            case 0:
                return built_.Property(RELOP_EQ, Value(OneOf(equal_tags)));
            case 1: {
                const ULONG case_levels[] = {0, FL_IGNORECASE, FL_LOOSE};
                return built_.Content(FL_FULLSTRING | OneOf(case_levels), Value(OneOf(text_tags)));
            }
            default:
                return built_.Exist(OneOf(exist_tags));
        }
    }

    // Every other kind of restriction the evaluator knows.
    SRestriction Other() {
        const ULONG ordered_tags[] = {t::kRank,  thread_,    t::kName,     t::kSender,
                                      t::kFlag,  t::kHash,   t::kWhen,     t::kSize,
                                      t::kScore, t::kTitle,  t::kKind,     kKeyword,
                                      t::kLevel, t::kLevels, t::kKeywords, PR_ENTRYID};
        // RELOP_EQ is among the narrowable ones; RELOP_RE is never true.
        const ULONG relops[] = {RELOP_LT, RELOP_LE, RELOP_GT, RELOP_GE, RELOP_NE, RELOP_RE};
        SRestriction r = {};
        switch (Pick(6)) {
            case 0: {
                const ULONG tag = OneOf(ordered_tags);
                r = built_.Property(OneOf(relops), Value(tag));
                // Now and then a value of another type than the property's.
                if (Pick(8) == 0) r.res.resProperty.ulPropTag = OneOf(ordered_tags);
                return r;
            }
            case 1: {
                const ULONG text_tags[] = {t::kName, t::kSender, kKeyword, kKeyword | MV_INSTANCE,
                                           t::kHash};
                const ULONG levels[] = {FL_SUBSTRING, FL_PREFIX, FL_FULLSTRING};
                const ULONG case_levels[] = {0, FL_IGNORECASE};
                return built_.Content(OneOf(levels) | OneOf(case_levels), Value(OneOf(text_tags)));
            }
            case 2: {
                const ULONG mask_tags[] = {t::kFlags, t::kFlags, t::kRank, t::kName};
                r.rt = RES_BITMASK;
                r.res.resBitMask = {Pick(2) ? BMR_EQZ : BMR_NEZ, OneOf(mask_tags),
                                    static_cast<ULONG>(1 + Pick(15))};
                return r;
            }
            case 3: {
                const ULONG pairs[][2] = {{t::kName, t::kSender},
                                          {t::kSender, t::kName},
                                          {t::kRank, thread_},
                                          {t::kRank, t::kName},
                                          {t::kLevel, t::kRank}};
                const auto& pair = pairs[Pick(std::size(pairs))];
                r.rt = RES_COMPAREPROPS;
                r.res.resCompareProps = {OneOf(kRelops), pair[0], pair[1]};
                return r;
            }
            case 4: {
                const ULONG size_tags[] = {t::kName, t::kHash, t::kKeywords,
                                           kKeyword, t::kRank, t::kTitle};
                r.rt = RES_SIZE;
                r.res.resSize = {OneOf(kRelops), OneOf(size_tags), static_cast<ULONG>(Pick(10))};
                return r;
            }
            default:
                return built_.Exist(OneOf(ordered_tags));
        }
    }

    std::mt19937& random_;
    ULONG thread_;
    const SRowSet& rows_;
    Restrictions built_;
    t::ValueArena values_;
    int narrowable_shapes_ = 0;
};

class NarrowingDifferentialTest : public t::StoreTest,
                                  public ::testing::WithParamInterface<unsigned> {
protected:
    void SetUp() override {
        StoreTest::SetUp();
        thread_ = NamedLong("OV-ThreadID");
        folder_ = t::MakeFolder(inbox_.Get(), "Random");
        ComPtr<IMAPIFolder> elsewhere = t::MakeFolder(inbox_.Get(), "Elsewhere");
        ASSERT_TRUE(folder_ && elsewhere);
        random_.seed(GetParam());
        t::FillRandomly(folder_.Get(), thread_, random_, 300, 0);
        // Messages like these in another folder must never be candidates.
        t::FillRandomly(elsewhere.Get(), thread_, random_, 40, 1000);
        columns_ = t::RandomMailboxColumns(thread_);
        reference_ = t::ReadAllRows(folder_.Get(), columns_);
        ASSERT_EQ(reference_->cRows, 300u);
    }

    void TearDown() override {
        folder_.Reset();
        StoreTest::TearDown();
    }

    // The serials of the reference rows the evaluator accepts, in natural order.
    std::vector<LONG> Accepted(const SRestriction& restriction) const {
        std::vector<LONG> serials;
        for (ULONG r = 0; r < reference_->cRows; ++r) {
            const SRow& row = reference_->aRow[r];
            if (EvaluateRestriction(restriction, RowLookup({row.lpProps, row.cValues})))
                serials.push_back(row.lpProps[0].Value.l);
        }
        return serials;
    }

    // The serials FindRow finds walking the whole table forward from the beginning, or backward
    // from the end (then in the order found), stopping after `limit` rows.
    std::vector<LONG> Walk(IMAPITable* table, SRestriction& restriction, bool backward,
                           std::size_t limit) {
        std::vector<LONG> found;
        EXPECT_EQ(table->SeekRow(backward ? BOOKMARK_END : BOOKMARK_BEGINNING, 0, nullptr), S_OK);
        while (found.size() < limit) {
            HRESULT hr =
                table->FindRow(&restriction, BOOKMARK_CURRENT, backward ? DIR_BACKWARD : 0);
            if (hr == MAPI_E_NOT_FOUND) break;
            EXPECT_EQ(hr, S_OK);
            if (hr != S_OK) break;
            RowSetPtr row;
            // Forward, reading the found row moves past it; backward, the next search starts
            // before the row the cursor is on.
            EXPECT_EQ(table->QueryRows(1, backward ? TBL_NOADVANCE : 0, &row), S_OK);
            std::vector<LONG> serial = t::Serials(row.Get());
            if (serial.size() != 1) {
                ADD_FAILURE() << "FindRow left the cursor on no row";
                break;
            }
            found.push_back(serial.front());
        }
        return found;
    }

    ULONG thread_ = 0;
    ComPtr<IMAPIFolder> folder_;
    std::mt19937 random_;
    std::vector<ULONG> columns_;
    RowSetPtr reference_;
};

TEST_P(NarrowingDifferentialTest, RestrictAndFindRowAgreeWithTheEvaluator) {
    // Walks stop after this many rows: a walk costs a search per row found.
    constexpr std::size_t kWalkLimit = 12;
    constexpr int kRestrictions = 120;
    RandomRestrictions make(random_, thread_, *reference_);
    ComPtr<IMAPITable> restricted, walked, sorted;
    ASSERT_EQ(folder_->GetContentsTable(0, &restricted), S_OK);
    ASSERT_EQ(folder_->GetContentsTable(0, &walked), S_OK);
    ASSERT_EQ(folder_->GetContentsTable(0, &sorted), S_OK);
    SizedSPropTagArray(1, serial_column) = {1, {t::kSerial}};
    ASSERT_EQ(walked->SetColumns(reinterpret_cast<LPSPropTagArray>(&serial_column), 0), S_OK);
    auto by_name = t::SortOrder({{t::kName, TABLE_SORT_DESCEND}, {t::kSerial, TABLE_SORT_ASCEND}});
    ASSERT_EQ(sorted->SortTable(by_name.Get(), 0), S_OK);
    const std::size_t name_column = static_cast<std::size_t>(
        std::find(columns_.begin(), columns_.end(), t::kName) - columns_.begin());
    const std::size_t sort_columns[] = {name_column, 0};
    std::vector<LONG> by_name_serials;
    for (std::size_t row :
         t::SortedPositions({reference_->aRow, reference_->cRows}, *by_name, sort_columns))
        by_name_serials.push_back(reference_->aRow[row].lpProps[0].Value.l);

    int matched_some = 0;
    for (int i = 0; i < kRestrictions; ++i) {
        SRestriction restriction = make.Make(3);
        SCOPED_TRACE("restriction " + std::to_string(i) + ": " + Describe(restriction));
        const std::vector<LONG> accepted = Accepted(restriction);
        matched_some += !accepted.empty() && accepted.size() < reference_->cRows;

        ASSERT_EQ(restricted->Restrict(&restriction, 0), S_OK);
        EXPECT_EQ(t::Serials(t::AllRows(restricted.Get(), {t::kSerial}).Get()), accepted);
        ULONG count = 0;
        ASSERT_EQ(restricted->GetRowCount(0, &count), S_OK);
        EXPECT_EQ(count, accepted.size());

        std::vector<LONG> first(accepted.begin(),
                                accepted.begin() + std::min(kWalkLimit, accepted.size()));
        EXPECT_EQ(Walk(walked.Get(), restriction, false, kWalkLimit), first);
        if (i % 3 == 0) {
            std::vector<LONG> last(accepted.rbegin(),
                                   accepted.rbegin() + std::min(kWalkLimit, accepted.size()));
            EXPECT_EQ(Walk(walked.Get(), restriction, true, kWalkLimit), last);
        }
        if (i % 4 == 0) {
            std::vector<LONG> expected;
            for (LONG serial : by_name_serials)
                if (std::binary_search(accepted.begin(), accepted.end(), serial))
                    expected.push_back(serial);
            ASSERT_EQ(sorted->Restrict(&restriction, 0), S_OK);
            EXPECT_EQ(t::Serials(t::AllRows(sorted.Get(), {t::kSerial}).Get()), expected);
        }
    }
    // The generator must keep making what the store narrows, and restrictions that tell rows
    // apart.
    EXPECT_GE(make.narrowable_shapes(), kRestrictions / 4);
    EXPECT_GE(matched_some, kRestrictions / 3);
}

INSTANTIATE_TEST_SUITE_P(Seeds, NarrowingDifferentialTest, ::testing::Values(7u, 1009u, 65537u));

}  // namespace
