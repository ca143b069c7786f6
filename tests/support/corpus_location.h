// Where the Enron corpus is for tests and benchmarks: $ORVELLA_CORPUS/enron, else the corpus
// next to the sources this was built from.
#pragma once

#include <filesystem>

namespace orvella::testing {

std::filesystem::path EnronCorpus();

}  // namespace orvella::testing
