// The AutoAssign rule set as the processor holds it before rules are built: its settings key
// is made, stored rules are left out with one note in the log, and running it changes nothing.
#include <gtest/gtest.h>

#include "CMsgAnalyzeManager.h"
#include "MsgProcessor.h"
#include "processor_fixture.h"
#include "registry_values.h"

namespace orvella::testing {
namespace {

constexpr char kJobsKey[] = "Software\\Orvella\\Vintor\\AnalyzeJobs";
constexpr char kNote[] = "LoadAllJobs: AutoAssign rules are not loaded yet";

class RulesSeamTest : public ProcessorTest {
protected:
    void SetUp() override { StartWithUser(); }
    static size_t Occurrences(const std::string& text, const std::string& part) {
        size_t count = 0;
        for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
            ++count;
        return count;
    }
};

TEST_F(RulesSeamTest, TheProcessorCreatesTheRulesKeyAndHoldsNoRule) {
    RegKey absent;
    ASSERT_NE(RegOpenKeyExA(HKEY_CURRENT_USER, kJobsKey, 0, KEY_READ, absent.put()), ERROR_SUCCESS);
    MsgProcessor processor(context_.get());
    RegKey created;
    EXPECT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, kJobsKey, 0, KEY_READ, created.put()),
              ERROR_SUCCESS);
    EXPECT_EQ(Occurrences(LogText(), kNote), 0u);

    CMsgAnalyzeManager rules(context_.get(), processor.Scorer());
    rules.LoadAllJobs();
    EXPECT_EQ(rules.JobCount(), 0u);
    EXPECT_EQ(rules.RunJobs(nullptr, nullptr, 0), 1);
}

TEST_F(RulesSeamTest, StoredRulesAreLeftOutWithOneNoteInTheLog) {
    RegKey rule;
    ASSERT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, "Software\\Orvella\\Vintor\\AnalyzeJobs\\Boss", 0,
                              nullptr, 0, KEY_ALL_ACCESS, nullptr, rule.put(), nullptr),
              ERROR_SUCCESS);
    MsgProcessor processor(context_.get());
    processor.ReloadRules();
    processor.ReloadRules();
    const std::string log = LogText();
    EXPECT_EQ(Occurrences(log, kNote), 1u) << log;
    EXPECT_NE(log.find("1 stored rule(s) left out"), std::string::npos) << log;
}

}  // namespace
}  // namespace orvella::testing
