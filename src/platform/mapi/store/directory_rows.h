// The rows of the address book's containers: the values of a directory entry, and the contents
// table's row source, which answers ambiguous name resolution (PR_ANR) as Exchange does.
#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "directory.h"
#include "fixed_properties.h"
#include "memory_row_source.h"

namespace orvella::platform::mapi::store {

// More entries than this matching one ANR text make the restriction MAPI_E_TABLE_TOO_BIG, as
// a directory server refuses a name too ambiguous to resolve.
inline constexpr std::size_t kAnrMatchLimit = 100;

// A mail user's values: PR_ENTRYID, PR_RECORD_KEY, PR_SEARCH_KEY ("EX:<native address>"),
// PR_DISPLAY_NAME_A, PR_ADDRTYPE_A ("EX"), PR_EMAIL_ADDRESS_A (the native address),
// PR_ACCOUNT_A, PR_SMTP_ADDRESS_A, PR_EMS_AB_PROXY_ADDRESSES_A, PR_OBJECT_TYPE (MAPI_MAILUSER),
// PR_DISPLAY_TYPE (DT_MAILUSER).
void AddEntryValues(const DirectoryEntry& entry, PropValueBuilder& values);

// PR_SEARCH_KEY of an entry: "EX:" and its native address in upper case, with a terminating 0.
std::vector<std::uint8_t> EntrySearchKey(const DirectoryEntry& entry);

// Whether `text` resolves to the entry: blanks around it are ignored, and it matches when the
// entry's display name, alias, primary SMTP address, native address or any proxy address (as
// given, "smtp:a@b", or without its type, "a@b") starts with it, without regard to case.
// Blank text matches nothing.
bool AnrMatches(const DirectoryEntry& entry, std::string_view text);

// A contents table's rows: the entries given, in their order, with every restriction of
// MemoryRowSource plus RES_PROPERTY RELOP_EQ on PR_ANR_A or PR_ANR_W (anywhere under RES_AND
// and RES_OR). Any other use of PR_ANR (another relop, under RES_NOT or RES_COMMENT, in any
// other kind of restriction) is MAPI_E_TOO_COMPLEX; an ANR text matching more than
// kAnrMatchLimit entries is MAPI_E_TABLE_TOO_BIG. The rows are those of the moment the source
// was made. Any thread may call it.
class DirectoryRowSource final : public RowSource {
public:
    explicit DirectoryRowSource(std::vector<DirectoryEntry> entries);

    HRESULT MembershipVersion(std::uint64_t& version) override {
        return rows_.MembershipVersion(version);
    }
    HRESULT Keys(const SRestriction* restriction, const SSortOrderSet* sort,
                 KeyList& keys) override;
    HRESULT Candidates(const SRestriction& restriction, CandidateWindow* window,
                       std::optional<std::vector<RowKey>>& candidates) override;
    HRESULT Match(std::span<const RowKey> keys, const SRestriction& restriction,
                  std::vector<bool>& matches) override;
    HRESULT ReadRows(std::span<const RowKey> keys, const SPropTagArray& columns,
                     std::vector<RowValues>& rows) override {
        return rows_.ReadRows(keys, columns, rows);
    }
    std::vector<ULONG> DefaultColumns() override { return rows_.DefaultColumns(); }

private:
    class Resolution;

    MemoryRowSource rows_;
    std::vector<std::pair<RowKey, DirectoryEntry>> entries_;
};

}  // namespace orvella::platform::mapi::store
