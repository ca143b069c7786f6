// A row source for the table's candidate path: the real MemoryRowSource, wrapped so that
// Candidates narrows a restriction the way an index would (to the rows that hold the tested
// property, plus noise), so that tests can count what the table asked of it, and so that its
// reads can be made to fail.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <random>
#include <set>

#include "memory_row_source.h"

namespace orvella::platform::mapi::testing {

// Candidates for RES_PROPERTY (RELOP_EQ, RELOP_GT, RELOP_GE), RES_CONTENT and RES_EXIST: the
// rows holding the property; RES_AND: the first part that narrows; RES_OR: the union when every
// part narrows. Every other restriction: nullopt. Each set also holds a few rows chosen at
// random and keys that no row has. A window is honoured a few candidates at a time, so that a
// search goes through many windows. Everything else is the wrapped source's.
class NarrowingRowSource : public store::RowSource {
public:
    NarrowingRowSource(std::shared_ptr<store::MemoryRowSource> rows, unsigned noise_seed);

    // Keys passed to Match and ReadRows since the source was made.
    std::size_t MatchedKeys() const { return matched_keys_; }
    std::size_t ReadKeys() const { return read_keys_; }
    // From now on Keys, Match and ReadRows return `result` without an answer (S_OK: answer).
    void FailWith(HRESULT result) { failure_ = result; }

    HRESULT MembershipVersion(std::uint64_t& version) override;
    HRESULT Keys(const SRestriction* restriction, const SSortOrderSet* sort,
                 store::KeyList& keys) override;
    HRESULT Candidates(const SRestriction& restriction, store::CandidateWindow* window,
                       std::optional<std::vector<store::RowKey>>& candidates) override;
    HRESULT Match(std::span<const store::RowKey> keys, const SRestriction& restriction,
                  std::vector<bool>& matches) override;
    HRESULT ReadRows(std::span<const store::RowKey> keys, const SPropTagArray& columns,
                     std::vector<store::RowValues>& rows) override;
    std::vector<ULONG> DefaultColumns() override;

private:
    // The keys of the rows holding a value with exactly `tag`.
    std::set<store::RowKey> Holding(ULONG tag);
    std::optional<std::set<store::RowKey>> Narrow(const SRestriction& restriction);

    std::shared_ptr<store::MemoryRowSource> rows_;
    std::mt19937 noise_;
    std::size_t matched_keys_ = 0;
    std::size_t read_keys_ = 0;
    HRESULT failure_ = S_OK;
};

}  // namespace orvella::platform::mapi::testing
