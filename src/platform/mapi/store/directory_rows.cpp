// Directory entries as rows, and ambiguous name resolution over them.
#include "directory_rows.h"

#include <array>
#include <cctype>
#include <deque>

#include "ab_entry_id.h"
#include "mapi_wide_text.h"
#include "mapitags.h"

namespace orvella::platform::mapi::store {
namespace {

bool StartsWithFolded(std::string_view text, std::string_view prefix) {
    if (text.size() < prefix.size()) return false;
    for (std::size_t i = 0; i < prefix.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(text[i])) !=
            std::tolower(static_cast<unsigned char>(prefix[i])))
            return false;
    return true;
}

std::string_view Trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::string Upper(std::string text) {
    for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

bool IsAnr(ULONG tag) {
    return PROP_ID(tag) == PROP_ID(PR_ANR_A);
}

// The ANR text of a restriction on PR_ANR, or nullopt when it is not one we resolve.
std::optional<std::string> AnrText(const SPropertyRestriction& r) {
    if (r.relop != RELOP_EQ || !r.lpProp) return std::nullopt;
    if (r.lpProp->ulPropTag == PR_ANR_A)
        return std::string(r.lpProp->Value.lpszA ? r.lpProp->Value.lpszA : "");
    if (r.lpProp->ulPropTag == PR_ANR_W)
        return r.lpProp->Value.lpszW ? WideToUtf8(r.lpProp->Value.lpszW) : std::string();
    return std::nullopt;
}

// The property tag a leaf restriction tests, or 0 for one that tests none.
ULONG LeafTag(const SRestriction& r) {
    switch (r.rt) {
        case RES_PROPERTY:
            return r.res.resProperty.ulPropTag;
        case RES_CONTENT:
            return r.res.resContent.ulPropTag;
        case RES_BITMASK:
            return r.res.resBitMask.ulPropTag;
        case RES_SIZE:
            return r.res.resSize.ulPropTag;
        case RES_EXIST:
            return r.res.resExist.ulPropTag;
        case RES_COMPAREPROPS:
            return IsAnr(r.res.resCompareProps.ulPropTag1) ? r.res.resCompareProps.ulPropTag1
                                                           : r.res.resCompareProps.ulPropTag2;
        default:
            return 0;
    }
}

bool MentionsAnr(const SRestriction* r) {
    if (!r) return false;
    switch (r->rt) {
        case RES_AND:
        case RES_OR:
            for (ULONG i = 0; r->res.resAnd.lpRes && i < r->res.resAnd.cRes; ++i)
                if (MentionsAnr(&r->res.resAnd.lpRes[i])) return true;
            return false;
        case RES_NOT:
            return MentionsAnr(r->res.resNot.lpRes);
        case RES_COMMENT:
            return MentionsAnr(r->res.resComment.lpRes);
        case RES_SUBRESTRICTION:
            return MentionsAnr(r->res.resSub.lpRes);
        default:
            return IsAnr(LeafTag(*r));
    }
}

}  // namespace

std::vector<std::uint8_t> EntrySearchKey(const DirectoryEntry& entry) {
    const std::string key = "EX:" + Upper(NativeAddress(entry.alias));
    std::vector<std::uint8_t> bytes(key.begin(), key.end());
    bytes.push_back(0);
    return bytes;
}

void AddEntryValues(const DirectoryEntry& entry, PropValueBuilder& values) {
    const EntryIdBytes id = MakeAbEntryId({AbEntryKind::MailUser, entry.id});
    const std::string native = NativeAddress(entry.alias);
    values.Binary(PR_ENTRYID, {id.begin(), id.end()})
        .Binary(PR_RECORD_KEY, {id.begin(), id.end()})
        .Binary(PR_SEARCH_KEY, EntrySearchKey(entry))
        .String(PR_DISPLAY_NAME_A, entry.display_name)
        .String(PR_ADDRTYPE_A, "EX")
        .String(PR_EMAIL_ADDRESS_A, native)
        .String(PR_ACCOUNT_A, entry.alias)
        .String(PR_SMTP_ADDRESS_A, entry.smtp)
        .Strings(PR_EMS_AB_PROXY_ADDRESSES_A, entry.proxies)
        .Long(PR_OBJECT_TYPE, MAPI_MAILUSER)
        .Long(PR_DISPLAY_TYPE, DT_MAILUSER);
}

bool AnrMatches(const DirectoryEntry& entry, std::string_view text) {
    text = Trimmed(text);
    if (text.empty()) return false;
    for (const std::string& field :
         {entry.display_name, entry.alias, entry.smtp, NativeAddress(entry.alias)})
        if (StartsWithFolded(field, text)) return true;
    for (const std::string& proxy : entry.proxies) {
        if (StartsWithFolded(proxy, text)) return true;
        const std::size_t colon = proxy.find(':');
        if (colon != std::string::npos &&
            StartsWithFolded(std::string_view(proxy).substr(colon + 1), text))
            return true;
    }
    return false;
}

// A restriction with every ANR test replaced by the rows it resolves to (RES_OR of
// PR_INSTANCE_KEY equalities), owning what it adds; untouched parts point into the original.
class DirectoryRowSource::Resolution {
public:
    Resolution(const DirectoryRowSource& source, const SRestriction& original) : source_(source) {
        if (!MentionsAnr(&original)) {
            root_ = &original;
            return;
        }
        SRestriction& copy = resolved_.emplace_back();
        status_ = Resolve(original, copy);
        root_ = &copy;
    }
    HRESULT status() const { return status_; }
    const SRestriction& root() const { return *root_; }

private:
    HRESULT Resolve(const SRestriction& in, SRestriction& out) {
        out = in;
        if (!MentionsAnr(&in)) return S_OK;
        if (in.rt == RES_AND || in.rt == RES_OR) {
            auto& children = arrays_.emplace_back(in.res.resAnd.cRes);
            for (ULONG i = 0; i < in.res.resAnd.cRes; ++i)
                if (HRESULT hr = Resolve(in.res.resAnd.lpRes[i], children[i]); FAILED(hr))
                    return hr;
            out.res.resAnd.lpRes = children.data();
            return S_OK;
        }
        std::optional<std::string> text;
        if (in.rt == RES_PROPERTY) text = AnrText(in.res.resProperty);
        if (!text) return MAPI_E_TOO_COMPLEX;
        auto& matches = arrays_.emplace_back();
        for (const auto& [key, entry] : source_.entries_) {
            if (!AnrMatches(entry, *text)) continue;
            if (matches.size() == kAnrMatchLimit) return MAPI_E_TABLE_TOO_BIG;
            auto& bytes = keys_.emplace_back();
            for (int i = 0; i < 8; ++i)
                bytes[i] = static_cast<BYTE>(static_cast<std::uint64_t>(key) >> (8 * (7 - i)));
            SPropValue& value = values_.emplace_back();
            value = {};
            value.ulPropTag = PR_INSTANCE_KEY;
            value.Value.bin = {8, bytes.data()};
            SRestriction& same = matches.emplace_back();
            same.rt = RES_PROPERTY;
            same.res.resProperty = {RELOP_EQ, PR_INSTANCE_KEY, &value};
        }
        out.rt = RES_OR;
        out.res.resOr = {static_cast<ULONG>(matches.size()), matches.data()};
        return S_OK;
    }

    const DirectoryRowSource& source_;
    const SRestriction* root_ = nullptr;
    HRESULT status_ = S_OK;
    std::deque<SRestriction> resolved_;
    std::deque<std::vector<SRestriction>> arrays_;
    std::deque<SPropValue> values_;
    std::deque<std::array<BYTE, 8>> keys_;
};

DirectoryRowSource::DirectoryRowSource(std::vector<DirectoryEntry> entries)
    : rows_({PR_ENTRYID, PR_DISPLAY_NAME_A, PR_ADDRTYPE_A, PR_EMAIL_ADDRESS_A, PR_ACCOUNT_A,
             PR_SMTP_ADDRESS_A, PR_OBJECT_TYPE, PR_DISPLAY_TYPE, PR_INSTANCE_KEY}) {
    for (DirectoryEntry& entry : entries) {
        PropValueBuilder values;
        AddEntryValues(entry, values);
        const RowKey key = rows_.AddRow(values.values());
        entries_.emplace_back(key, std::move(entry));
    }
}

HRESULT DirectoryRowSource::Keys(const SRestriction* restriction, const SSortOrderSet* sort,
                                 KeyList& keys) {
    keys.reset();
    if (!restriction) return rows_.Keys(nullptr, sort, keys);
    Resolution resolved(*this, *restriction);
    if (FAILED(resolved.status())) return resolved.status();
    return rows_.Keys(&resolved.root(), sort, keys);
}

HRESULT DirectoryRowSource::Candidates(const SRestriction& restriction, CandidateWindow*,
                                       std::optional<std::vector<RowKey>>& candidates) {
    candidates.reset();
    Resolution resolved(*this, restriction);
    return resolved.status();
}

HRESULT DirectoryRowSource::Match(std::span<const RowKey> keys, const SRestriction& restriction,
                                  std::vector<bool>& matches) {
    matches.clear();
    Resolution resolved(*this, restriction);
    if (FAILED(resolved.status())) return resolved.status();
    return rows_.Match(keys, resolved.root(), matches);
}

}  // namespace orvella::platform::mapi::store
