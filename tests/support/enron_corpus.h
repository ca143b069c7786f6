// The Enron mailboxes the real-mail tests read, and which of them a run covers: presto-k, the
// small one, unless ORVELLA_FULL_CORPUS is set.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "corpus_location.h"

namespace orvella::testing {

inline const std::vector<std::string>& EnronMailboxes() {
    static const std::vector<std::string> mailboxes = {"allen-p",  "buy-r",   "grigsby-m",
                                                       "keavey-p", "lewis-a", "presto-k"};
    return mailboxes;
}

// Why a test of this mailbox does not run now; empty when it does.
inline std::string EnronSkipReason(const std::string& mailbox) {
    if (!std::filesystem::is_directory(EnronCorpus() / mailbox))
        return "no corpus at " + EnronCorpus().string();
    if (mailbox != "presto-k" && !std::getenv("ORVELLA_FULL_CORPUS"))
        return "set ORVELLA_FULL_CORPUS=1 for every mailbox";
    return {};
}

// "presto_k" for the test of "presto-k".
inline std::string EnronTestName(const ::testing::TestParamInfo<std::string>& info) {
    std::string name = info.param;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

}  // namespace orvella::testing
