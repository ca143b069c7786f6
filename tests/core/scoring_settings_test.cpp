// The scorer's weights under "Scoring" in the user's registry: what loading takes, what saving
// writes. The weights need no store session.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "CMsgScore.h"
#include "registry_values.h"
#include "temp_home.h"

namespace orvella::testing {
namespace {

constexpr char kScoringKey[] = "Software\\Orvella\\Vintor\\Scoring";

struct StoredValue {
    const char* name;
    DWORD type;
    std::vector<BYTE> data;
};

StoredValue Dword(const char* name, DWORD value) {
    const BYTE* bytes = reinterpret_cast<const BYTE*>(&value);
    return {name, REG_DWORD, std::vector<BYTE>(bytes, bytes + sizeof value)};
}

void Store(const std::vector<StoredValue>& values) {
    RegKey key;
    ASSERT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, kScoringKey, 0, nullptr, 0, KEY_ALL_ACCESS,
                              nullptr, key.put(), nullptr),
              ERROR_SUCCESS);
    for (const StoredValue& value : values)
        ASSERT_EQ(RegSetValueExA(key.get(), value.name, 0, value.type, value.data.data(),
                                 static_cast<DWORD>(value.data.size())),
                  ERROR_SUCCESS)
            << value.name;
}

// The eleven weights in their stored order.
std::vector<LONG> AsList(const ScoringWeights& w) {
    return {w.contactScaling,           w.domainScaling,
            w.addressDirectnessScaling, w.addressSpecificityScaling,
            w.addressSpecificityLimit,  w.priorityFlagScaling,
            w.threadPriorityScaling,    w.threadOriginatorScaling,
            w.threadReplyCountScaling,  w.threadReplyCountLimit,
            w.contactReplyCountScaling};
}

TEST(ScoringSettingsTest, LoadingTakesOnlyFourByteDwords) {
    struct Case {
        const char* what;
        bool createKey;
        std::vector<StoredValue> stored;
        std::vector<LONG> weights;
        bool debugging;
    } cases[] = {
        {"no key: the defaults", false, {}, {32, 40, 32, 4, 32, 8, 32, 12, 2, 12, 4}, false},
        {"an empty key: the defaults", true, {}, {32, 40, 32, 4, 32, 8, 32, 12, 2, 12, 4}, false},
        {"every weight stored",
         true,
         {Dword("ContactScaling", 1), Dword("DomainScaling", 2),
          Dword("AddressDirectnessScaling", 3), Dword("AddressSpecificityScaling", 4),
          Dword("AddressSpecificityLimit", 5), Dword("PriorityFlagScaling", 6),
          Dword("ThreadPriorityScaling", 7), Dword("ThreadOriginatorScaling", 8),
          Dword("ThreadReplyCountScaling", 9), Dword("ThreadReplyCountLimit", 10),
          Dword("ContactReplyCountScaling", 11), Dword("DebugScoring", 1)},
         {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11},
         true},
        {"a negative weight, and debugging stored as 0",
         true,
         {Dword("ThreadPriorityScaling", 0xFFFFFFF6u), Dword("DebugScoring", 0)},
         {32, 40, 32, 4, 32, 8, -10, 12, 2, 12, 4},
         false},
        {"values of another type or size are left out",
         true,
         {{"ContactScaling", REG_SZ, {'5', '0', 0}},
          {"DomainScaling", REG_BINARY, {50, 0, 0, 0}},
          {"PriorityFlagScaling", REG_DWORD, {50, 0}},
          {"DebugScoring", REG_SZ, {'1', 0}},
          Dword("ContactReplyCountScaling", 7)},
         {32, 40, 32, 4, 32, 8, 32, 12, 2, 12, 7},
         false},
    };
    for (const Case& c : cases) {
        TempHome home;
        if (c.createKey) Store(c.stored);
        CMsgScore scorer(nullptr);
        EXPECT_EQ(AsList(scorer.Weights()), c.weights) << c.what;
        EXPECT_EQ(scorer.IsDebugging(), c.debugging) << c.what;
    }
}

TEST(ScoringSettingsTest, SavingWritesTheElevenWeightsButNeverDebugScoring) {
    TempHome home;
    Store({Dword("DebugScoring", 1)});
    {
        CMsgScore scorer(nullptr);
        ASSERT_TRUE(scorer.IsDebugging());
        // Taken off by hand while the scorer runs: saving does not put it back.
        RegKey key;
        ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, kScoringKey, 0, KEY_ALL_ACCESS, key.put()),
                  ERROR_SUCCESS);
        ASSERT_EQ(RegDeleteValueA(key.get(), "DebugScoring"), ERROR_SUCCESS);
        ScoringWeights weights;
        weights.contactScaling = 50;
        weights.threadReplyCountLimit = -3;
        scorer.SetWeights(weights);
        scorer.SaveSettings();
    }
    RegKey key;
    ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, kScoringKey, 0, KEY_READ, key.put()), ERROR_SUCCESS);
    std::map<std::string, DWORD> expected = {
        {"ContactScaling", 50},           {"DomainScaling", 40},
        {"AddressDirectnessScaling", 32}, {"AddressSpecificityScaling", 4},
        {"AddressSpecificityLimit", 32},  {"PriorityFlagScaling", 8},
        {"ThreadPriorityScaling", 32},    {"ThreadOriginatorScaling", 12},
        {"ThreadReplyCountScaling", 2},   {"ThreadReplyCountLimit", 0xFFFFFFFDu},
        {"ContactReplyCountScaling", 4}};
    std::map<std::string, DWORD> stored;
    char name[64];
    for (DWORD i = 0;; ++i) {
        DWORD nameLength = sizeof name;
        DWORD type = 0;
        DWORD value = 0;
        DWORD size = sizeof value;
        if (RegEnumValueA(key.get(), i, name, &nameLength, nullptr, &type,
                          reinterpret_cast<BYTE*>(&value), &size) != ERROR_SUCCESS)
            break;
        EXPECT_EQ(type, static_cast<DWORD>(REG_DWORD)) << name;
        stored[name] = value;
    }
    EXPECT_EQ(stored, expected);

    // A new scorer reads back what was saved.
    CMsgScore reloaded(nullptr);
    EXPECT_EQ(AsList(reloaded.Weights()),
              (std::vector<LONG>{50, 40, 32, 4, 32, 8, 32, 12, 2, -3, 4}));
    EXPECT_FALSE(reloaded.IsDebugging());
}

}  // namespace
}  // namespace orvella::testing
