// The store's restriction evaluator and value order, over one message row.
#include <gtest/gtest.h>

#include <vector>

#include "restriction.h"
#include "mapitags.h"

namespace {

using orvella::platform::mapi::store::CompareProps;
using orvella::platform::mapi::store::EvaluateRestriction;
using orvella::platform::mapi::store::RowLookup;

SPropValue Long(ULONG tag, LONG value) {
    SPropValue v = {};
    v.ulPropTag = tag;
    v.Value.l = value;
    return v;
}

SPropValue Str(ULONG tag, const char* text) {
    SPropValue v = {};
    v.ulPropTag = tag;
    v.Value.lpszA = const_cast<char*>(text);
    return v;
}

SPropValue Bin(ULONG tag, std::vector<BYTE>& bytes) {
    SPropValue v = {};
    v.ulPropTag = tag;
    v.Value.bin = {static_cast<ULONG>(bytes.size()), bytes.data()};
    return v;
}

SPropValue Time(ULONG tag, DWORD high, DWORD low) {
    SPropValue v = {};
    v.ulPropTag = tag;
    v.Value.ft = {low, high};
    return v;
}

SRestriction Property(ULONG relop, SPropValue& value) {
    SRestriction r = {};
    r.rt = RES_PROPERTY;
    r.res.resProperty = {relop, value.ulPropTag, &value};
    return r;
}

SRestriction Content(ULONG level, SPropValue& value) {
    SRestriction r = {};
    r.rt = RES_CONTENT;
    r.res.resContent = {level, value.ulPropTag, &value};
    return r;
}

SRestriction Exist(ULONG tag) {
    SRestriction r = {};
    r.rt = RES_EXIST;
    r.res.resExist = {0, tag, 0};
    return r;
}

SRestriction BitMask(ULONG bmr, ULONG tag, ULONG mask) {
    SRestriction r = {};
    r.rt = RES_BITMASK;
    r.res.resBitMask = {bmr, tag, mask};
    return r;
}

SRestriction CompareTwo(ULONG relop, ULONG tag1, ULONG tag2) {
    SRestriction r = {};
    r.rt = RES_COMPAREPROPS;
    r.res.resCompareProps = {relop, tag1, tag2};
    return r;
}

SRestriction Size(ULONG relop, ULONG tag, ULONG cb) {
    SRestriction r = {};
    r.rt = RES_SIZE;
    r.res.resSize = {relop, tag, cb};
    return r;
}

SRestriction Group(ULONG rt, std::vector<SRestriction>& parts) {
    SRestriction r = {};
    r.rt = rt;
    r.res.resAnd = {static_cast<ULONG>(parts.size()), parts.empty() ? nullptr : parts.data()};
    return r;
}

SRestriction Not(SRestriction* inner) {
    SRestriction r = {};
    r.rt = RES_NOT;
    r.res.resNot = {0, inner};
    return r;
}

constexpr ULONG kProxyAddresses = PR_EMS_AB_PROXY_ADDRESSES_A;
constexpr ULONG kProxyAddress = PROP_TAG(PT_STRING8, 0x800F);
constexpr ULONG kCategories = PROP_TAG(PT_MV_LONG, 0x8010);

class Restriction : public ::testing::Test {
protected:
    Restriction() {
        SPropValue addresses = {};
        addresses.ulPropTag = kProxyAddresses;
        addresses.Value.MVszA = {2, proxies_};
        SPropValue categories = {};
        categories.ulPropTag = kCategories;
        categories.Value.MVl = {0, nullptr};
        SPropValue failed = {};
        failed.ulPropTag = CHANGE_PROP_TYPE(PR_SENSITIVITY, PT_ERROR);
        failed.Value.err = MAPI_E_NOT_FOUND;
        row_ = {Str(PR_SUBJECT_A, "Quarterly Figures"),
                Long(PR_MESSAGE_FLAGS, 0x5),
                Long(PR_IMPORTANCE, 2),
                Long(PR_PRIORITY, 2),
                Long(PR_ICON_INDEX, -1),
                Time(PR_CLIENT_SUBMIT_TIME, 0x01D9, 0x10),
                Time(PR_MESSAGE_DELIVERY_TIME, 0x01D9, 0x20),
                Bin(PR_SEARCH_KEY, key_),
                addresses,
                categories,
                failed};
    }

    bool Holds(const SRestriction& r) const { return EvaluateRestriction(r, RowLookup(row_)); }

    std::vector<BYTE> key_ = {0x01, 0x02, 0x03, 0x04};
    LPSTR proxies_[2] = {const_cast<char*>("SMTP:ann@example.com"),
                         const_cast<char*>("X500:/o=Org/cn=Ann")};
    std::vector<SPropValue> row_;
};

struct Case {
    const char* what;
    SRestriction res;
    bool expected;
};

TEST_F(Restriction, AbsentPropertySortsBeforeEveryValue) {
    // PR_SENSITIVITY is in the row only as a PT_ERROR column, so it counts as absent.
    SPropValue one = Long(PR_SENSITIVITY, 1);
    SPropValue other_type = Long(CHANGE_PROP_TYPE(PR_SUBJECT_A, PT_LONG), 1);
    const Case cases[] = {
        {"LT", Property(RELOP_LT, one), true},
        {"LE", Property(RELOP_LE, one), true},
        {"GT", Property(RELOP_GT, one), false},
        {"GE", Property(RELOP_GE, one), false},
        {"EQ", Property(RELOP_EQ, one), false},
        {"NE", Property(RELOP_NE, one), true},
        {"RE", Property(RELOP_RE, one), false},
        {"exist", Exist(PR_SENSITIVITY), false},
        {"same id, other type EQ", Property(RELOP_EQ, other_type), false},
        {"same id, other type NE", Property(RELOP_NE, other_type), true},
    };
    for (const Case& c : cases) EXPECT_EQ(Holds(c.res), c.expected) << c.what;
}

TEST_F(Restriction, PresentValuesCompareWithEveryRelop) {
    SPropValue two = Long(PR_IMPORTANCE, 2);
    SPropValue three = Long(PR_IMPORTANCE, 3);
    SPropValue earlier = Time(PR_CLIENT_SUBMIT_TIME, 0x01D8, 0xFFFFFFFF);
    SPropValue zero = Long(PR_ICON_INDEX, 0);
    const Case cases[] = {
        {"2 EQ 2", Property(RELOP_EQ, two), true},
        {"2 NE 2", Property(RELOP_NE, two), false},
        {"2 LE 2", Property(RELOP_LE, two), true},
        {"2 LT 2", Property(RELOP_LT, two), false},
        {"2 LT 3", Property(RELOP_LT, three), true},
        {"2 GE 3", Property(RELOP_GE, three), false},
        {"2 RE 2", Property(RELOP_RE, two), false},
        {"-1 LT 0 (signed)", Property(RELOP_LT, zero), true},
        {"time after an earlier high word", Property(RELOP_GT, earlier), true},
    };
    for (const Case& c : cases) EXPECT_EQ(Holds(c.res), c.expected) << c.what;
}

TEST_F(Restriction, StringsCompareWithoutRegardToCase) {
    SPropValue same = Str(PR_SUBJECT_A, "QUARTERLY figures");
    SPropValue later = Str(PR_SUBJECT_A, "quarterly report");
    const Case cases[] = {
        {"EQ other case", Property(RELOP_EQ, same), true},
        {"LT later", Property(RELOP_LT, later), true},
        {"GT later", Property(RELOP_GT, later), false},
    };
    for (const Case& c : cases) EXPECT_EQ(Holds(c.res), c.expected) << c.what;
}

TEST_F(Restriction, SingleValueMatchesAnyValueOfAMultiValuedProperty) {
    SPropValue ann = Str(kProxyAddress, "smtp:ANN@example.com");
    SPropValue bob = Str(kProxyAddress, "SMTP:bob@example.com");
    SPropValue x500 = Str(kProxyAddress, "x500:");
    SPropValue zero = Long(PROP_TAG(PT_LONG, 0x8010), 0);
    const Case cases[] = {
        {"EQ second value", Property(RELOP_EQ, ann), true},
        {"EQ no value", Property(RELOP_EQ, bob), false},
        {"NE one value differs", Property(RELOP_NE, ann), true},
        {"prefix of second value", Content(FL_PREFIX | FL_IGNORECASE, x500), true},
        {"exist through MV form", Exist(kProxyAddress), true},
        {"MVI flag", Exist(kProxyAddress | MVI_FLAG), true},
        {"empty MV, NE", Property(RELOP_NE, zero), false},
        {"empty MV, exist", Exist(PROP_TAG(PT_LONG, 0x8010)), true},
    };
    for (const Case& c : cases) EXPECT_EQ(Holds(c.res), c.expected) << c.what;
}

TEST_F(Restriction, ContentMatchesByFuzzyLevel) {
    SPropValue whole = Str(PR_SUBJECT_A, "Quarterly Figures");
    SPropValue lower_whole = Str(PR_SUBJECT_A, "quarterly figures");
    SPropValue part = Str(PR_SUBJECT_A, "ly Fig");
    SPropValue lower_part = Str(PR_SUBJECT_A, "ly fig");
    SPropValue start = Str(PR_SUBJECT_A, "Quarter");
    SPropValue empty = Str(PR_SUBJECT_A, "");
    SPropValue absent = Str(PR_BODY_A, "x");
    std::vector<BYTE> middle = {0x02, 0x03};
    std::vector<BYTE> head = {0x01, 0x02};
    SPropValue bin_middle = Bin(PR_SEARCH_KEY, middle);
    SPropValue bin_head = Bin(PR_SEARCH_KEY, head);
    const Case cases[] = {
        {"full, exact", Content(FL_FULLSTRING, whole), true},
        {"full, other case", Content(FL_FULLSTRING, lower_whole), false},
        {"full, ignore case", Content(FL_FULLSTRING | FL_IGNORECASE, lower_whole), true},
        {"full, part", Content(FL_FULLSTRING, part), false},
        {"substring", Content(FL_SUBSTRING, part), true},
        {"substring, other case", Content(FL_SUBSTRING, lower_part), false},
        {"substring, loose", Content(FL_SUBSTRING | FL_LOOSE, lower_part), true},
        {"substring, empty", Content(FL_SUBSTRING, empty), true},
        {"prefix", Content(FL_PREFIX, start), true},
        {"prefix, not at start", Content(FL_PREFIX, part), false},
        {"absent property", Content(FL_SUBSTRING, absent), false},
        {"binary substring", Content(FL_SUBSTRING, bin_middle), true},
        {"binary prefix", Content(FL_PREFIX, bin_middle), false},
        {"binary prefix of head", Content(FL_PREFIX, bin_head), true},
        {"binary full", Content(FL_FULLSTRING, bin_head), false},
    };
    for (const Case& c : cases) EXPECT_EQ(Holds(c.res), c.expected) << c.what;
}

TEST_F(Restriction, BitMaskCompareAndSizeTests) {
    const Case cases[] = {
        {"flags 5 & 4 NEZ", BitMask(BMR_NEZ, PR_MESSAGE_FLAGS, 0x4), true},
        {"flags 5 & 2 EQZ", BitMask(BMR_EQZ, PR_MESSAGE_FLAGS, 0x2), true},
        {"flags 5 & 1 EQZ", BitMask(BMR_EQZ, PR_MESSAGE_FLAGS, 0x1), false},
        {"absent EQZ", BitMask(BMR_EQZ, PR_MSG_STATUS, 0x1), false},
        {"absent NEZ", BitMask(BMR_NEZ, PR_MSG_STATUS, 0x1), false},
        {"importance EQ priority", CompareTwo(RELOP_EQ, PR_IMPORTANCE, PR_PRIORITY), true},
        {"submit LT delivery",
         CompareTwo(RELOP_LT, PR_CLIENT_SUBMIT_TIME, PR_MESSAGE_DELIVERY_TIME), true},
        {"different types", CompareTwo(RELOP_NE, PR_IMPORTANCE, PR_CLIENT_SUBMIT_TIME), false},
        {"one absent", CompareTwo(RELOP_NE, PR_IMPORTANCE, PR_MSG_STATUS), false},
        {"subject is 18 bytes", Size(RELOP_EQ, PR_SUBJECT_A, 18), true},
        {"search key under 5", Size(RELOP_LT, PR_SEARCH_KEY, 5), true},
        {"long is 4 bytes", Size(RELOP_GE, PR_IMPORTANCE, 5), false},
        {"time is 8 bytes", Size(RELOP_EQ, PR_CLIENT_SUBMIT_TIME, 8), true},
        {"MV strings sum", Size(RELOP_EQ, kProxyAddresses, 21 + 19), true},
        {"absent size", Size(RELOP_GE, PR_BODY_A, 0), false},
    };
    for (const Case& c : cases) EXPECT_EQ(Holds(c.res), c.expected) << c.what;
}

TEST_F(Restriction, CombinationsNestAndTreatEmptyGroupsAsIdentities) {
    SPropValue two = Long(PR_IMPORTANCE, 2);
    SPropValue prefix = Str(PR_SUBJECT_A, "quarter");
    std::vector<SRestriction> none;
    std::vector<SRestriction> either = {Exist(PR_BODY_A),
                                        Content(FL_PREFIX | FL_IGNORECASE, prefix)};
    SRestriction any = Group(RES_OR, either);
    SRestriction absent = Exist(PR_BODY_A);
    std::vector<SRestriction> all = {Property(RELOP_EQ, two), any, Not(&absent)};
    std::vector<SRestriction> one_fails = {Property(RELOP_EQ, two), absent};
    SRestriction nested = Group(RES_AND, all);
    SRestriction comment = {};
    comment.rt = RES_COMMENT;
    comment.res.resComment = {0, &absent, nullptr};
    SRestriction empty_comment = {};
    empty_comment.rt = RES_COMMENT;
    SRestriction sub = {};
    sub.rt = RES_SUBRESTRICTION;
    sub.res.resSub = {PR_MESSAGE_RECIPIENTS, &nested};
    const Case cases[] = {
        {"empty AND", Group(RES_AND, none), true},
        {"empty OR", Group(RES_OR, none), false},
        {"AND of OR and NOT", nested, true},
        {"NOT of that", Not(&nested), false},
        {"AND with a false part", Group(RES_AND, one_fails), false},
        {"comment evaluates its restriction", comment, false},
        {"comment without restriction", empty_comment, true},
        {"subrestriction", sub, false},
    };
    for (const Case& c : cases) EXPECT_EQ(Holds(c.res), c.expected) << c.what;
}

TEST(CompareProps, OrdersValuesOfEachType) {
    std::vector<BYTE> ab = {0x0A, 0x0B};
    std::vector<BYTE> abc = {0x0A, 0x0B, 0x0C};
    std::vector<BYTE> b = {0x0B};
    SPropValue yes = {};
    yes.ulPropTag = PR_HASATTACH;
    yes.Value.b = 1;
    SPropValue no = yes;
    no.Value.b = 0;
    SPropValue big = {};
    big.ulPropTag = PROP_TAG(PT_I8, 0x6000);
    big.Value.li.QuadPart = 1LL << 40;
    SPropValue small = big;
    small.Value.li.QuadPart = -(1LL << 40);
    SPropValue half = {};
    half.ulPropTag = PROP_TAG(PT_DOUBLE, 0x6001);
    half.Value.dbl = 0.5;
    SPropValue quarter = half;
    quarter.Value.dbl = 0.25;
    struct Pair {
        const char* what;
        SPropValue a;
        SPropValue b;
        int expected;
    };
    const Pair pairs[] = {
        {"long", Long(PR_IMPORTANCE, -3), Long(PR_IMPORTANCE, 2), -1},
        {"long equal", Long(PR_IMPORTANCE, 7), Long(PR_IMPORTANCE, 7), 0},
        {"boolean", yes, no, 1},
        {"i8", small, big, -1},
        {"double", half, quarter, 1},
        {"systime low word", Time(PR_CLIENT_SUBMIT_TIME, 1, 0xFFFFFFFF),
         Time(PR_CLIENT_SUBMIT_TIME, 2, 0), -1},
        {"string case", Str(PR_SUBJECT_A, "abc"), Str(PR_SUBJECT_A, "ABC"), 0},
        {"string order folds case", Str(PR_SUBJECT_A, "B"), Str(PR_SUBJECT_A, "a"), 1},
        {"string prefix first", Str(PR_SUBJECT_A, "ab"), Str(PR_SUBJECT_A, "ABc"), -1},
        {"string high byte after ASCII", Str(PR_SUBJECT_A, "\xE9"), Str(PR_SUBJECT_A, "z"), 1},
        {"null string is empty", Str(PR_SUBJECT_A, nullptr), Str(PR_SUBJECT_A, ""), 0},
        {"binary prefix first", Bin(PR_SEARCH_KEY, ab), Bin(PR_SEARCH_KEY, abc), -1},
        {"binary bytes before length", Bin(PR_SEARCH_KEY, abc), Bin(PR_SEARCH_KEY, b), -1},
        {"types differ", Long(PR_IMPORTANCE, 9), Str(PR_SUBJECT_A, "a"), -1},
    };
    for (const Pair& p : pairs) {
        const int order = CompareProps(p.a, p.b);
        EXPECT_EQ((order > 0) - (order < 0), p.expected) << p.what;
        const int reverse = CompareProps(p.b, p.a);
        EXPECT_EQ((reverse > 0) - (reverse < 0), -p.expected) << p.what;
    }
}

}  // namespace
