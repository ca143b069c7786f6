#include "corpus_location.h"

#include <cstdlib>

namespace orvella::testing {

std::filesystem::path EnronCorpus() {
    const char* set = std::getenv("ORVELLA_CORPUS");
    return std::filesystem::path(set ? set : ORVELLA_CORPUS) / "enron";
}

}  // namespace orvella::testing
