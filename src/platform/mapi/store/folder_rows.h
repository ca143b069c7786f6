// The rows of a folder's tables: its messages (contents and associated contents) or its
// subfolders (hierarchy), read from the store file. Equality searches are narrowed through
// value indexes; the restriction evaluator decides every row. Values too large to appear in a
// row still count whole in restrictions and sort orders.
#pragma once

#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <unordered_map>
#include <vector>

#include "row_source.h"
#include "store_database.h"

namespace orvella::platform::mapi::store {

// A restriction made only of RES_EXIST tests (under RES_AND, RES_OR and RES_NOT), decided
// exactly from the sorted ids of each tested tag's holders.
struct ExistenceTest {
    ULONG rt = RES_EXIST;
    std::shared_ptr<const std::vector<ObjectId>> holders;  // RES_EXIST
    std::vector<ExistenceTest> terms;                      // RES_AND, RES_OR, RES_NOT (one)
    bool Holds(ObjectId id) const;
};

class FolderRows final : public RowSource {
public:
    enum class Scope { Messages, AssociatedMessages, Subfolders, AllSubfolders };
    FolderRows(std::shared_ptr<StoreDatabase> store, ObjectId folder, Scope scope);

    HRESULT MembershipVersion(std::uint64_t& version) override;
    HRESULT Keys(const SRestriction* restriction, const SSortOrderSet* sort,
                 KeyList& keys) override;
    HRESULT Candidates(const SRestriction& restriction, CandidateWindow* window,
                       std::optional<std::vector<RowKey>>& candidates) override;
    HRESULT Match(std::span<const RowKey> keys, const SRestriction& restriction,
                  std::vector<bool>& matches) override;
    HRESULT ReadRows(std::span<const RowKey> keys, const SPropTagArray& columns,
                     std::vector<RowValues>& rows) override;
    std::vector<ULONG> DefaultColumns() override;
    // Messages come in id order; folders depth first.
    bool NaturalOrderAscends() const override { return !IsHierarchy(); }

private:
    bool IsHierarchy() const {
        return scope_ == Scope::Subfolders || scope_ == Scope::AllSubfolders;
    }
    // Folder ids below the folder in depth-first order with their depth (from 1).
    std::vector<std::pair<ObjectId, LONG>> WalkFolders();
    // Whether SQL can test tag through a value index (created on first use).
    bool Indexed(ULONG tag);
    // Creates the value indexes the restriction's tests may use. Runs before the read snapshot
    // of a search, inside which nothing may be written.
    void PrepareIndexes(const SRestriction& restriction);
    // The objects whose tag equals value, case-blind (a superset); empty when not indexed.
    std::string EqualValues(ULONG tag, const SPropValue* value,
                            std::vector<const SPropValue*>& binds);
    // The SQL that narrows a restriction to a set of candidate ids, or empty when it cannot;
    // adds the tags whose values it reads to `tags`.
    std::string Narrowing(const SRestriction& restriction, std::vector<const SPropValue*>& binds,
                          std::vector<ULONG>& tags);
    // An SQL condition on the object id `column` that holds exactly for the objects that
    // satisfy the restriction, or empty when SQL cannot decide it exactly; adds its tags.
    std::string ExactCondition(const SRestriction& restriction, const std::string& column,
                               std::vector<const SPropValue*>& binds, std::vector<ULONG>& tags);
    // ExactCondition's test of the computed entry id: an equality or inequality with a given
    // one; empty for other comparisons.
    std::string EntryIdCondition(const SPropertyRestriction& test, const std::string& column,
                                 std::vector<const SPropValue*>& binds);
    // The candidates of a forward window from the last window read for the same restriction
    // (AppendKey's bytes), when nothing it depends on changed since; false when it must be read.
    bool FromKnownWindow(const std::string& restriction, CandidateWindow& window,
                         std::vector<RowKey>& keys);
    // The window's part of the last window read; false when it lies past what was read.
    bool SliceKnownWindow(CandidateWindow& window, std::vector<RowKey>& keys) const;
    // The restriction as existence tests alone, when it is one; else nullopt.
    std::optional<ExistenceTest> ExistenceTestOf(const SRestriction& restriction);
    KeyList OrderedKeys(const SSortOrderSet* sort);
    // Orders keys by values read into memory, with CompareProps (as the SQL sort orders).
    void SortInMemory(std::vector<RowKey>& keys, const SSortOrderSet* sort);

    std::shared_ptr<StoreDatabase> store_;
    ObjectId folder_;
    Scope scope_;
    std::mutex mutex_;
    std::unordered_map<ObjectId, LONG> depth_;  // of the last hierarchy walk
    // The last forward window of candidates read: a walk from match to match asks for the
    // candidates after each match, which one read answers for many steps.
    struct KnownWindow {
        std::string restriction;  // AppendKey's bytes
        StoreDatabase::ValuesStamp stamp;
        RowKey from = 0;
        bool more = false;
        bool exact = false;        // the candidates are the matches
        std::vector<ULONG> tags;   // whose values the candidates depend on
        std::vector<RowKey> keys;  // ascending: the candidates from `from` on
    };
    std::optional<KnownWindow> known_window_;
    // The object ids a search's SQL compares rows with, bound as its parameters.
    std::deque<SPropValue> named_ids_;
};

}  // namespace orvella::platform::mapi::store
