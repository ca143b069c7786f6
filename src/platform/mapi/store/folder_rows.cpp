// Folder tables read from the store file.
#include "folder_rows.h"

#include <algorithm>
#include <functional>
#include <set>
#include <string>

#include "db/value_codec.h"
#include "mapitags.h"
#include "mapix.h"
#include "restriction.h"
#include "store_objects.h"

namespace orvella::platform::mapi::store {
namespace {

// The fewest candidates a forward window reads: what a walk's next steps will ask for.
constexpr std::size_t kKeptWindow = 64;

// Types whose stored order and equality in SQL (NOCASE text, integers, reals, memcmp blobs)
// agree with CompareProps.
bool SqlComparable(ULONG type) {
    switch (type) {
        case PT_I2:
        case PT_LONG:
        case PT_BOOLEAN:
        case PT_I8:
        case PT_CURRENCY:
        case PT_SYSTIME:
        case PT_R4:
        case PT_DOUBLE:
        case PT_APPTIME:
        case PT_STRING8:
        case PT_BINARY:
            return true;
        default:
            return false;
    }
}

// Tags whose values a row computes (LoadRows) rather than stores: SQL sees none of them.
bool ComputedInRows(ULONG tag) {
    const std::vector<ULONG>& common = CommonComputedTags();
    return tag == PR_INSTANCE_KEY || tag == PR_DEPTH || tag == PR_CONTENT_COUNT ||
           tag == PR_ASSOC_CONTENT_COUNT || tag == PR_SUBFOLDERS ||
           std::find(common.begin(), common.end(), tag) != common.end();
}

// Whether no object stores a value under the tag's property id, in any type: SetProps refuses
// the ids that every object computes (its entry id ...), and nothing else writes values.
bool NeverStored(ULONG tag) {
    const std::vector<ULONG>& common = CommonComputedTags();
    return std::any_of(common.begin(), common.end(),
                       [&](ULONG computed) { return PROP_ID(computed) == PROP_ID(tag); });
}

// Every tag a restriction reads, with the multi-valued form of each single-valued one (the
// evaluator falls back to it).
void CollectTags(const SRestriction* res, std::set<ULONG>& tags) {
    if (!res) return;
    auto add = [&](ULONG tag) {
        tags.insert(tag & ~MV_INSTANCE);
        if (!(PROP_TYPE(tag) & MV_FLAG)) tags.insert(tag | MV_FLAG);
    };
    switch (res->rt) {
        case RES_AND:
        case RES_OR:
            if (!res->res.resAnd.lpRes) break;
            for (ULONG i = 0; i < res->res.resAnd.cRes; ++i)
                CollectTags(&res->res.resAnd.lpRes[i], tags);
            break;
        case RES_NOT:
            CollectTags(res->res.resNot.lpRes, tags);
            break;
        case RES_COMMENT:
            CollectTags(res->res.resComment.lpRes, tags);
            break;
        case RES_PROPERTY:
            add(res->res.resProperty.ulPropTag);
            break;
        case RES_CONTENT:
            add(res->res.resContent.ulPropTag);
            break;
        case RES_EXIST:
            add(res->res.resExist.ulPropTag);
            break;
        case RES_BITMASK:
            add(res->res.resBitMask.ulPropTag);
            break;
        case RES_SIZE:
            add(res->res.resSize.ulPropTag);
            break;
        case RES_COMPAREPROPS:
            add(res->res.resCompareProps.ulPropTag1);
            add(res->res.resCompareProps.ulPropTag2);
            break;
        default:
            break;
    }
}

// The restriction as bytes (its tests, tags and values): what a walk's steps compare to know
// they search for the same thing.
void AppendKey(const SRestriction* res, std::string& key) {
    auto put = [&](ULONG n) { key.append(reinterpret_cast<const char*>(&n), sizeof n); };
    auto value = [&](const SPropValue* v) {
        put(v ? v->ulPropTag : 0);
        if (!v) return;
        const std::vector<std::uint8_t> bytes = EncodeValue(*v);
        put(static_cast<ULONG>(bytes.size()));
        key.append(bytes.begin(), bytes.end());
    };
    if (!res) {
        put(~0u);
        return;
    }
    put(res->rt);
    switch (res->rt) {
        case RES_AND:
        case RES_OR:
            put(res->res.resAnd.lpRes ? res->res.resAnd.cRes : 0);
            for (ULONG i = 0; res->res.resAnd.lpRes && i < res->res.resAnd.cRes; ++i)
                AppendKey(&res->res.resAnd.lpRes[i], key);
            break;
        case RES_NOT:
            AppendKey(res->res.resNot.lpRes, key);
            break;
        case RES_COMMENT:
            AppendKey(res->res.resComment.lpRes, key);
            break;
        case RES_PROPERTY:
            put(res->res.resProperty.relop);
            put(res->res.resProperty.ulPropTag);
            value(res->res.resProperty.lpProp);
            break;
        case RES_CONTENT:
            put(res->res.resContent.ulFuzzyLevel);
            put(res->res.resContent.ulPropTag);
            value(res->res.resContent.lpProp);
            break;
        case RES_EXIST:
            put(res->res.resExist.ulPropTag);
            break;
        case RES_BITMASK:
            put(res->res.resBitMask.relBMR);
            put(res->res.resBitMask.ulPropTag);
            put(res->res.resBitMask.ulMask);
            break;
        case RES_SIZE:
            put(res->res.resSize.relop);
            put(res->res.resSize.ulPropTag);
            put(res->res.resSize.cb);
            break;
        case RES_COMPAREPROPS:
            put(res->res.resCompareProps.relop);
            put(res->res.resCompareProps.ulPropTag1);
            put(res->res.resCompareProps.ulPropTag2);
            break;
        default:
            break;
    }
}

// One object's row: its values for `tags` (stored or computed) in one MAPI buffer.
struct LoadedRow {
    ObjectInfo info;
    MapiBuffer<SPropValue> values;
    std::vector<const SPropValue*> found;  // per requested tag, null when lacking
};

}  // namespace

FolderRows::FolderRows(std::shared_ptr<StoreDatabase> store, ObjectId folder, Scope scope)
    : store_(std::move(store)), folder_(folder), scope_(scope) {}

std::vector<ULONG> FolderRows::DefaultColumns() {
    if (IsHierarchy())
        return {PR_ENTRYID, PR_DISPLAY_NAME_A, PR_CONTAINER_CLASS_A, PR_DEPTH, PR_INSTANCE_KEY};
    return {PR_ENTRYID, PR_MESSAGE_CLASS_A, PR_SUBJECT_A, PR_INSTANCE_KEY};
}

HRESULT FolderRows::MembershipVersion(std::uint64_t& version) {
    version = static_cast<std::uint64_t>(IsHierarchy() ? store_->HierarchyVersion()
                                                       : store_->MembershipVersion(folder_));
    return S_OK;
}

std::vector<std::pair<ObjectId, LONG>> FolderRows::WalkFolders() {
    std::vector<std::pair<ObjectId, LONG>> walk;
    std::function<void(ObjectId, LONG)> visit = [&](ObjectId parent, LONG depth) {
        for (ObjectId child : store_->Children(parent, EntryKind::Folder, false)) {
            walk.emplace_back(child, depth);
            if (scope_ == Scope::AllSubfolders) visit(child, depth + 1);
        }
    };
    visit(folder_, 1);
    std::lock_guard lock(mutex_);
    depth_.clear();
    for (auto [id, depth] : walk) depth_[id] = depth;
    return walk;
}

bool FolderRows::Indexed(ULONG tag) {
    return !(PROP_TYPE(tag) & MV_FLAG) && SqlComparable(PROP_TYPE(tag)) && !ComputedInRows(tag) &&
           !store_->TagInUse(tag | MV_FLAG) && store_->EnsureValueIndex(tag);
}

namespace {

// The property a test narrows through an index when it can: an equality, a full-string content
// match (which lies within the case-blind equality), an existence; 0 for other tests.
ULONG NarrowedTag(const SRestriction& res) {
    switch (res.rt) {
        case RES_PROPERTY:
            return res.res.resProperty.relop == RELOP_EQ ? res.res.resProperty.ulPropTag : 0;
        case RES_CONTENT:
            return (res.res.resContent.ulFuzzyLevel & 0xFFFF) == FL_FULLSTRING &&
                           PROP_TYPE(res.res.resContent.ulPropTag) == PT_STRING8
                       ? res.res.resContent.ulPropTag
                       : 0;
        case RES_EXIST:
            return res.res.resExist.ulPropTag;
        default:
            return 0;
    }
}

}  // namespace

void FolderRows::PrepareIndexes(const SRestriction& res) {
    switch (res.rt) {
        case RES_AND:
        case RES_OR:
            if (res.res.resAnd.lpRes)
                for (ULONG i = 0; i < res.res.resAnd.cRes; ++i)
                    PrepareIndexes(res.res.resAnd.lpRes[i]);
            return;
        case RES_NOT:
            if (res.res.resNot.lpRes) PrepareIndexes(*res.res.resNot.lpRes);
            return;
        default:
            if (const ULONG tag = NarrowedTag(res); tag && !store_->HasValueIndex(tag))
                Indexed(tag);
    }
}

std::string FolderRows::EqualValues(ULONG tag, const SPropValue* value,
                                    std::vector<const SPropValue*>& binds) {
    if (!value || value->ulPropTag != tag || !Indexed(tag)) return {};
    binds.push_back(value);
    return "SELECT obj FROM props WHERE tag = " + std::to_string(tag) + " AND val = ?" +
           std::to_string(binds.size() + 2) + " COLLATE NOCASE";
}

std::string FolderRows::Narrowing(const SRestriction& res, std::vector<const SPropValue*>& binds,
                                  std::vector<ULONG>& tags) {
    auto nested = [](const std::string& select) { return "SELECT obj FROM (" + select + ")"; };
    switch (res.rt) {
        case RES_PROPERTY:
        case RES_CONTENT: {
            const ULONG tag = NarrowedTag(res);
            if (!tag) return {};
            tags.push_back(tag);
            return EqualValues(
                tag,
                res.rt == RES_PROPERTY ? res.res.resProperty.lpProp : res.res.resContent.lpProp,
                binds);
        }
        case RES_EXIST:
            if (!Indexed(res.res.resExist.ulPropTag)) return {};
            tags.push_back(res.res.resExist.ulPropTag);
            return "SELECT obj FROM props WHERE tag = " +
                   std::to_string(res.res.resExist.ulPropTag);
        case RES_AND: {
            if (!res.res.resAnd.lpRes) return {};
            std::vector<std::string> parts;
            for (ULONG i = 0; i < res.res.resAnd.cRes; ++i) {
                std::string part = Narrowing(res.res.resAnd.lpRes[i], binds, tags);
                if (!part.empty()) parts.push_back(std::move(part));
            }
            // A lone part stays as it is, so that a window can still seek in its index.
            if (parts.size() == 1) return parts.front();
            std::string sql;
            for (const std::string& part : parts)
                sql += (sql.empty() ? "" : " INTERSECT ") + nested(part);
            return sql;
        }
        case RES_OR: {
            if (res.res.resOr.cRes == 0 || !res.res.resOr.lpRes) return {};
            const std::size_t bound = binds.size();
            std::string sql;
            for (ULONG i = 0; i < res.res.resOr.cRes; ++i) {
                std::string part = Narrowing(res.res.resOr.lpRes[i], binds, tags);
                if (part.empty()) {
                    binds.resize(bound);  // no parameter may outlive its SQL
                    return {};
                }
                sql += (sql.empty() ? "" : " UNION ") + nested(part);
            }
            return sql;
        }
        default:
            return {};
    }
}

std::string FolderRows::ExactCondition(const SRestriction& res, const std::string& column,
                                       std::vector<const SPropValue*>& binds,
                                       std::vector<ULONG>& tags) {
    auto holds = [&](ULONG tag, const std::string& value) {
        tags.push_back(tag);
        return "EXISTS (SELECT 1 FROM props x WHERE x.obj = " + column +
               " AND x.tag = " + std::to_string(tag) + value + ")";
    };
    switch (res.rt) {
        case RES_EXIST:
            // A stored value is the property's existence: no row computes an indexed tag.
            if (!Indexed(res.res.resExist.ulPropTag)) return {};
            return holds(res.res.resExist.ulPropTag, "");
        case RES_PROPERTY: {
            // Integers compare in SQL exactly as CompareProps does; strings fold case there.
            const SPropertyRestriction& test = res.res.resProperty;
            if (test.ulPropTag == PR_ENTRYID) return EntryIdCondition(test, column, binds);
            const ULONG type = PROP_TYPE(test.ulPropTag);
            if (test.relop != RELOP_EQ || !test.lpProp ||
                test.lpProp->ulPropTag != test.ulPropTag || (type != PT_LONG && type != PT_I8) ||
                !Indexed(test.ulPropTag))
                return {};
            binds.push_back(test.lpProp);
            return holds(test.ulPropTag, " AND x.val = ?" + std::to_string(binds.size() + 2));
        }
        case RES_NOT: {
            if (!res.res.resNot.lpRes) return {};
            const std::string inner = ExactCondition(*res.res.resNot.lpRes, column, binds, tags);
            return inner.empty() ? inner : "NOT (" + inner + ")";
        }
        case RES_AND:
        case RES_OR: {
            if (!res.res.resAnd.lpRes || res.res.resAnd.cRes == 0) return {};
            const std::size_t bound = binds.size();
            std::string sql;
            for (ULONG i = 0; i < res.res.resAnd.cRes; ++i) {
                const SRestriction& term = res.res.resAnd.lpRes[i];
                // An existence next to an equality of the same tag adds nothing to it.
                if (res.rt == RES_AND && term.rt == RES_EXIST &&
                    std::any_of(res.res.resAnd.lpRes, res.res.resAnd.lpRes + res.res.resAnd.cRes,
                                [&](const SRestriction& other) {
                                    return other.rt == RES_PROPERTY &&
                                           other.res.resProperty.relop == RELOP_EQ &&
                                           other.res.resProperty.ulPropTag ==
                                               term.res.resExist.ulPropTag;
                                }))
                    continue;
                const std::string part = ExactCondition(term, column, binds, tags);
                if (part.empty()) {
                    binds.resize(bound);  // no parameter may outlive its SQL
                    return {};
                }
                sql += (sql.empty() ? "(" : res.rt == RES_AND ? " AND " : " OR ") + part;
            }
            return sql + ")";
        }
        default:
            return {};
    }
}

std::string FolderRows::EntryIdCondition(const SPropertyRestriction& test,
                                         const std::string& column,
                                         std::vector<const SPropValue*>& binds) {
    if ((test.relop != RELOP_EQ && test.relop != RELOP_NE) || !test.lpProp ||
        test.lpProp->ulPropTag != PR_ENTRYID)
        return {};
    // Only this store's entry id of a message, in the form this store makes, names a row.
    const SBinary& given = test.lpProp->Value.bin;
    std::optional<ObjectId> named;
    const auto parts = ParseEntryId(given.cb, reinterpret_cast<const ENTRYID*>(given.lpb));
    if (parts && parts->kind == EntryKind::Message && parts->store == store_->uid()) {
        const EntryIdBytes made = MakeEntryId(*parts);
        if (given.cb == made.size() && std::equal(made.begin(), made.end(), given.lpb))
            named = parts->object;
    }
    const bool equal = test.relop == RELOP_EQ;
    if (!named) return equal ? "0" : "1";
    // A parameter, so that the statement is prepared once for every entry id.
    SPropValue& id = named_ids_.emplace_back();
    id.ulPropTag = PROP_TAG(PT_I8, 0);
    id.Value.li.QuadPart = *named;
    binds.push_back(&id);
    return column + (equal ? " = ?" : " <> ?") + std::to_string(binds.size() + 2);
}

std::optional<ExistenceTest> FolderRows::ExistenceTestOf(const SRestriction& res) {
    ExistenceTest test;
    test.rt = res.rt;
    switch (res.rt) {
        case RES_EXIST:
            // Exact: a stored value is the property's existence, as no row computes it.
            if (!Indexed(res.res.resExist.ulPropTag)) return std::nullopt;
            test.holders = store_->Holders(res.res.resExist.ulPropTag);
            return test;
        case RES_NOT:
            if (!res.res.resNot.lpRes) return std::nullopt;
            if (auto inner = ExistenceTestOf(*res.res.resNot.lpRes)) {
                test.terms.push_back(std::move(*inner));
                return test;
            }
            return std::nullopt;
        case RES_AND:
        case RES_OR:
            if (!res.res.resAnd.lpRes || res.res.resAnd.cRes == 0) return std::nullopt;
            for (ULONG i = 0; i < res.res.resAnd.cRes; ++i) {
                auto term = ExistenceTestOf(res.res.resAnd.lpRes[i]);
                if (!term) return std::nullopt;
                test.terms.push_back(std::move(*term));
            }
            return test;
        default:
            return std::nullopt;
    }
}

bool ExistenceTest::Holds(ObjectId id) const {
    switch (rt) {
        case RES_EXIST:
            return std::binary_search(holders->begin(), holders->end(), id);
        case RES_NOT:
            return !terms.front().Holds(id);
        case RES_AND:
            return std::all_of(terms.begin(), terms.end(),
                               [&](const auto& t) { return t.Holds(id); });
        default:
            return std::any_of(terms.begin(), terms.end(),
                               [&](const auto& t) { return t.Holds(id); });
    }
}

bool FolderRows::FromKnownWindow(const std::string& restriction, CandidateWindow& window,
                                 std::vector<RowKey>& keys) {
    if (!known_window_ || window.backward || known_window_->restriction != restriction ||
        window.from < known_window_->from ||
        store_->ChangedSince(known_window_->stamp, known_window_->tags, window.from))
        return false;
    window.exact = known_window_->exact;
    return SliceKnownWindow(window, keys);
}

bool FolderRows::SliceKnownWindow(CandidateWindow& window, std::vector<RowKey>& keys) const {
    const std::vector<RowKey>& known = known_window_->keys;
    const auto first = std::lower_bound(known.begin(), known.end(), window.from);
    const auto left = static_cast<std::size_t>(known.end() - first);
    if (left == 0 && known_window_->more) return false;
    const std::size_t taken = std::min(left, window.limit);
    keys.assign(first, first + static_cast<std::ptrdiff_t>(taken));
    window.more = taken < left || known_window_->more;
    return true;
}

HRESULT FolderRows::Candidates(const SRestriction& restriction, CandidateWindow* window,
                               std::optional<std::vector<RowKey>>& candidates) {
    candidates.reset();
    if (IsHierarchy()) return S_OK;
    std::lock_guard lock(mutex_);  // before the store's, as everywhere in this source
    // A forward window is read at least kKeptWindow long and kept with the stamp of the values
    // it was read by: the next steps of a walk find their candidates there, without a read and
    // without making the narrowing again.
    const bool keep = window && !window->backward;
    std::string key;
    if (keep) {
        AppendKey(&restriction, key);
        std::vector<RowKey> keys;
        if (FromKnownWindow(key, *window, keys)) {
            candidates = std::move(keys);
            return S_OK;
        }
    }
    named_ids_.clear();
    PrepareIndexes(restriction);
    // One read of the file for the whole narrowing: its checks of which tags are in use too.
    StoreDatabase::Snapshot snapshot(*store_);
    std::vector<const SPropValue*> binds;
    std::vector<ULONG> narrowed;
    if (std::string narrowing = Narrowing(restriction, binds, narrowed); !narrowing.empty()) {
        // Within a window, the nearest candidates only: a walk through a large thread then
        // reads each of its ids a few times, not once per step.
        const bool single = window && narrowing.find('(') == std::string::npos;
        // When SQL decides the whole restriction, a window's candidates are its matches and a
        // walk need not read each row to test it again. Else what a conjunction excludes for
        // certain (the rows that already show a value) is left out by SQL too, so that a walk
        // need not read each of them to find it matches not.
        const std::string column = single ? "props.obj" : "objects.id";
        std::string excluded;
        if (window) {
            const std::size_t bound = binds.size(), read = narrowed.size();
            const std::string condition = ExactCondition(restriction, column, binds, narrowed);
            window->exact = !condition.empty();
            if (window->exact) {
                excluded = " AND " + condition;
            } else {
                binds.resize(bound);
                narrowed.resize(read);
            }
        }
        if (excluded.empty() && restriction.rt == RES_AND && restriction.res.resAnd.lpRes) {
            for (ULONG i = 0; i < restriction.res.resAnd.cRes; ++i) {
                const SRestriction& part = restriction.res.resAnd.lpRes[i];
                if (part.rt != RES_NOT) continue;
                const std::string condition = ExactCondition(part, column, binds, narrowed);
                if (!condition.empty()) excluded += " AND " + condition;
            }
        }
        const int at = static_cast<int>(binds.size()) + 3;
        const std::string from = std::to_string(at), limit = std::to_string(at + 1);
        std::string sql;
        if (single) {
            // One index lookup: its index (value, then object) yields the window's ids in order.
            // What is excluded is tested first: in a walk past the messages that already show a
            // value, each costs one lookup.
            sql = narrowing + excluded +
                  " AND EXISTS (SELECT 1 FROM objects WHERE id = obj AND parent = ?1" +
                  " AND kind = 3 AND assoc = ?2)" +
                  (window->backward ? " AND obj < ?" + from + " ORDER BY obj DESC"
                                    : " AND obj >= ?" + from + " ORDER BY obj") +
                  " LIMIT ?" + limit;
        } else {
            // Every candidate, whatever the window. Asked for the ids in order from a point,
            // SQLite may walk the whole folder in id order testing each message against the
            // candidates, rather than look the candidates up: a window would cost the folder's
            // size. The ids are sorted here and the window cut from them.
            sql = "SELECT id FROM objects WHERE id IN (" + narrowing +
                  ") AND parent = ?1 AND kind = 3 AND assoc = ?2" + excluded;
        }
        const bool whole = window && !single;
        StoreDatabase::ValuesStamp stamp;
        if (keep) stamp = store_->Stamp();  // before the read: a change during it shows later
        const std::size_t read_limit = keep ? std::max(window->limit, kKeptWindow) : 0;
        store_->WithDatabase([&](Database& db) {
            Statement& query = db.Cached(sql);
            query.Bind(1, folder_).Bind(2, std::int64_t{scope_ == Scope::AssociatedMessages});
            for (std::size_t i = 0; i < binds.size(); ++i)
                BindValue(query, static_cast<int>(i + 3), *binds[i]);
            if (window && !whole)
                query.Bind(at, window->from)
                    .Bind(at + 1, static_cast<std::int64_t>(keep ? read_limit : window->limit));
            std::vector<RowKey> keys;
            while (query.Step()) keys.push_back(query.Int(0));
            if (whole) std::sort(keys.begin(), keys.end());
            if (keep) {
                // A multi-valued value of a narrowed tag would change how its rows match.
                std::vector<ULONG> tags = narrowed;
                for (ULONG tag : narrowed) tags.push_back(tag | MV_FLAG);
                known_window_ = KnownWindow{std::move(key),
                                            stamp,
                                            whole ? RowKey{0} : window->from,
                                            !whole && keys.size() == read_limit,
                                            window->exact,
                                            std::move(tags),
                                            keys};
                SliceKnownWindow(*window, keys);
            } else if (whole) {
                // Backward: the nearest candidates before the window's start.
                const auto end = std::lower_bound(keys.begin(), keys.end(), window->from);
                const auto begin =
                    end - std::min<std::ptrdiff_t>(end - keys.begin(),
                                                   static_cast<std::ptrdiff_t>(window->limit));
                window->more = begin != keys.begin();
                keys = std::vector<RowKey>(begin, end);
            } else if (window) {
                window->more = keys.size() == window->limit;
                if (window->backward) std::reverse(keys.begin(), keys.end());
            }
            candidates = std::move(keys);
        });
        return S_OK;
    }
    // What lacks a property (the messages not yet marked) has no index to narrow by: decide
    // each message from the sorted holders of its tags, only as far as the window reaches.
    std::optional<ExistenceTest> test = ExistenceTestOf(restriction);
    if (!test) return S_OK;
    const auto ids = store_->MessageIds(folder_, scope_ == Scope::AssociatedMessages);
    std::vector<RowKey> keys;
    if (!window) {
        std::copy_if(ids->begin(), ids->end(), std::back_inserter(keys),
                     [&](ObjectId id) { return test->Holds(id); });
    } else if (!window->backward) {
        for (auto it = std::lower_bound(ids->begin(), ids->end(), window->from); it != ids->end();
             ++it) {
            if (keys.size() == window->limit) {
                window->more = true;
                break;
            }
            if (test->Holds(*it)) keys.push_back(*it);
        }
    } else {
        for (auto it = std::lower_bound(ids->begin(), ids->end(), window->from);
             it != ids->begin();) {
            if (keys.size() == window->limit) {
                window->more = true;
                break;
            }
            if (test->Holds(*--it)) keys.push_back(*it);
        }
        std::reverse(keys.begin(), keys.end());
    }
    candidates = std::move(keys);
    return S_OK;
}

// Reads rows under the store's lock. Missing objects are skipped. Values too large to hand out
// read as MAPI_E_NOT_ENOUGH_MEMORY, unless `whole_values` keeps them to restrict and sort by.
static void LoadRows(StoreDatabase& store, Database& db, std::span<const RowKey> keys,
                     const std::vector<ULONG>& tags,
                     const std::unordered_map<ObjectId, LONG>* depth, bool whole_values,
                     const std::function<void(RowKey, LoadedRow&)>& take) {
    Statement& object = db.Cached("SELECT kind, parent, assoc, change FROM objects WHERE id = ?1");
    // One primary-key lookup per column: cheaper than a list of tags, whose temporary table
    // SQLite would build again for every row.
    Statement& value = db.Cached("SELECT val FROM props WHERE obj = ?1 AND tag = ?2");
    for (RowKey key : keys) {
        object.Reset();
        object.Bind(1, key);
        if (!object.Step()) continue;
        LoadedRow row;
        row.info = {key, static_cast<EntryKind>(object.Int(0)), object.Int(1), object.Int(2) != 0,
                    object.Int(3)};
        object.Reset();
        void* buffer = nullptr;
        if (FAILED(MAPIAllocateBuffer(static_cast<ULONG>(sizeof(SPropValue) * (tags.size() + 1)),
                                      &buffer)))
            throw StoreFailure(MAPI_E_NOT_ENOUGH_MEMORY, "out of memory reading rows");
        row.values.Reset(static_cast<LPSPropValue>(buffer));
        row.found.assign(tags.size(), nullptr);
        for (std::size_t i = 0; i < tags.size(); ++i) {
            const ULONG tag = tags[i];
            row.values[i] = {};
            row.values[i].ulPropTag = PROP_TAG(PT_ERROR, PROP_ID(tag));
            row.values[i].Value.err = MAPI_E_NOT_FOUND;
            if (PROP_TYPE(tag) == PT_ERROR || PROP_TYPE(tag) == PT_UNSPECIFIED || NeverStored(tag))
                continue;
            value.Bind(1, key).Bind(2, std::int64_t{tag});
            if (value.Step()) {
                if (FAILED(ReadValue(value, 0, tag, buffer, row.values[i]))) {
                    value.Reset();
                    throw StoreFailure(MAPI_E_CORRUPT_STORE,
                                       store.file().string() + " holds a damaged property value");
                }
                if (!whole_values && ValueBytes(row.values[i]) > kLargeValueBytes) {
                    row.values[i].ulPropTag = PROP_TAG(PT_ERROR, PROP_ID(tag));
                    row.values[i].Value.err = MAPI_E_NOT_ENOUGH_MEMORY;
                } else {
                    row.found[i] = &row.values[i];
                }
            }
            value.Reset();
        }
        for (std::size_t i = 0; i < tags.size(); ++i) {
            if (row.found[i]) continue;
            SPropValue computed = {};
            bool have = false;
            const ULONG tag = tags[i];
            if (tag == PR_INSTANCE_KEY) {
                void* bytes = nullptr;
                if (SUCCEEDED(MAPIAllocateMore(8, buffer, &bytes))) {
                    for (int b = 0; b < 8; ++b)
                        static_cast<BYTE*>(bytes)[b] = static_cast<BYTE>(key >> (8 * (7 - b)));
                    computed.ulPropTag = tag;
                    computed.Value.bin = {8, static_cast<LPBYTE>(bytes)};
                    have = true;
                }
            } else if (tag == PR_DEPTH && depth) {
                auto found = depth->find(key);
                if (found != depth->end()) {
                    computed.ulPropTag = tag;
                    computed.Value.l = found->second;
                    have = true;
                }
            } else if ((tag == PR_CONTENT_COUNT || tag == PR_ASSOC_CONTENT_COUNT ||
                        tag == PR_SUBFOLDERS) &&
                       row.info.kind == EntryKind::Folder) {
                Statement& count = db.Cached(
                    "SELECT count(*) FROM objects WHERE parent = ?1 AND kind = ?2 AND assoc = ?3");
                count.Bind(1, key)
                    .Bind(2, std::int64_t{tag == PR_SUBFOLDERS ? 2 : 3})
                    .Bind(3, std::int64_t{tag == PR_ASSOC_CONTENT_COUNT});
                std::int64_t n = count.Step() ? count.Int(0) : 0;
                count.Reset();
                computed.ulPropTag = tag;
                if (tag == PR_SUBFOLDERS)
                    computed.Value.b = n > 0;
                else
                    computed.Value.l = static_cast<LONG>(n);
                have = true;
            } else {
                have = ComputeCommon(store, row.info, tag, buffer, computed);
            }
            if (have && computed.ulPropTag == tag) {
                row.values[i] = computed;
                row.found[i] = &row.values[i];
            }
        }
        take(key, row);
    }
}

HRESULT FolderRows::Match(std::span<const RowKey> keys, const SRestriction& restriction,
                          std::vector<bool>& matches) {
    matches.assign(keys.size(), false);
    std::set<ULONG> tag_set;
    CollectTags(&restriction, tag_set);
    std::vector<ULONG> tags(tag_set.begin(), tag_set.end());
    std::unordered_map<RowKey, bool> result;
    std::lock_guard lock(mutex_);
    store_->WithDatabase([&](Database& db) {
        LoadRows(*store_, db, keys, tags, &depth_, true, [&](RowKey key, LoadedRow& row) {
            auto lookup = [&](ULONG tag) -> const SPropValue* {
                for (std::size_t i = 0; i < tags.size(); ++i)
                    if (tags[i] == tag) return row.found[i];
                return nullptr;
            };
            result[key] = EvaluateRestriction(restriction, lookup);
        });
    });
    for (std::size_t i = 0; i < keys.size(); ++i) matches[i] = result[keys[i]];
    return S_OK;
}

HRESULT FolderRows::ReadRows(std::span<const RowKey> keys, const SPropTagArray& columns,
                             std::vector<RowValues>& rows) {
    rows.clear();
    std::vector<ULONG> tags(columns.aulPropTag, columns.aulPropTag + columns.cValues);
    std::lock_guard lock(mutex_);
    store_->WithDatabase([&](Database& db) {
        LoadRows(*store_, db, keys, tags, &depth_, false, [&](RowKey key, LoadedRow& row) {
            rows.push_back({key, columns.cValues, std::move(row.values)});
        });
    });
    return S_OK;
}

KeyList FolderRows::OrderedKeys(const SSortOrderSet* sort) {
    const ULONG sort_keys = sort ? sort->cSorts : 0;
    bool in_sql = !IsHierarchy();
    for (ULONG i = 0; i < sort_keys; ++i)
        in_sql &= !(PROP_TYPE(sort->aSort[i].ulPropTag) & MV_FLAG) &&
                  SqlComparable(PROP_TYPE(sort->aSort[i].ulPropTag)) &&
                  !ComputedInRows(sort->aSort[i].ulPropTag);
    if (in_sql && sort_keys == 0)
        return store_->MessageIds(folder_, scope_ == Scope::AssociatedMessages);
    auto keys = std::make_shared<std::vector<RowKey>>();
    if (in_sql) {
        std::string joins, order;
        for (ULONG i = 0; i < sort_keys; ++i) {
            const std::string alias = "s" + std::to_string(i);
            joins += " LEFT JOIN props " + alias + " ON " + alias + ".obj = o.id AND " + alias +
                     ".tag = " + std::to_string(sort->aSort[i].ulPropTag);
            order += alias + ".val COLLATE NOCASE" +
                     (sort->aSort[i].ulOrder == TABLE_SORT_DESCEND ? " DESC, " : " ASC, ");
        }
        store_->WithDatabase([&](Database& db) {
            Statement& query = db.Cached("SELECT o.id FROM objects o" + joins +
                                         " WHERE o.parent = ?1 AND o.kind = 3 AND o.assoc = ?2"
                                         " ORDER BY " +
                                         order + "o.id");
            query.Bind(1, folder_).Bind(2, std::int64_t{scope_ == Scope::AssociatedMessages});
            while (query.Step()) keys->push_back(query.Int(0));
        });
        return keys;
    }
    if (IsHierarchy()) {
        for (auto [id, depth] : WalkFolders()) keys->push_back(id);
    } else {
        *keys = store_->Children(folder_, EntryKind::Message, scope_ == Scope::AssociatedMessages);
    }
    // Sorting by values SQL cannot order as MAPI does: read them and sort here.
    SortInMemory(*keys, sort);
    return keys;
}

void FolderRows::SortInMemory(std::vector<RowKey>& keys, const SSortOrderSet* sort) {
    const ULONG sort_keys = sort ? sort->cSorts : 0;
    if (sort_keys == 0) return;
    std::vector<ULONG> tags;
    for (ULONG i = 0; i < sort_keys; ++i) tags.push_back(sort->aSort[i].ulPropTag);
    std::unordered_map<RowKey, LoadedRow> loaded;
    std::lock_guard lock(mutex_);
    store_->WithDatabase([&](Database& db) {
        LoadRows(*store_, db, keys, tags, &depth_, true,
                 [&](RowKey key, LoadedRow& row) { loaded.emplace(key, std::move(row)); });
    });
    std::erase_if(keys, [&](RowKey key) { return !loaded.count(key); });
    std::stable_sort(keys.begin(), keys.end(), [&](RowKey a, RowKey b) {
        const LoadedRow& ra = loaded.at(a);
        const LoadedRow& rb = loaded.at(b);
        for (ULONG i = 0; i < sort_keys; ++i) {
            const SPropValue* va = ra.found[i];
            const SPropValue* vb = rb.found[i];
            int c = !va && !vb ? 0 : !va ? -1 : !vb ? 1 : CompareProps(*va, *vb);
            if (sort->aSort[i].ulOrder == TABLE_SORT_DESCEND) c = -c;
            if (c) return c < 0;
        }
        return false;
    });
}

HRESULT FolderRows::Keys(const SRestriction* restriction, const SSortOrderSet* sort,
                         KeyList& list) {
    list.reset();
    if (!restriction) {
        list = OrderedKeys(sort);
        return S_OK;
    }
    // With candidates from the indexes only they are ordered (by id, the natural order, then
    // by the sort in memory, which orders as SQL does); else the whole folder.
    std::optional<std::vector<RowKey>> candidates;
    if (HRESULT hr = Candidates(*restriction, nullptr, candidates); FAILED(hr)) return hr;
    KeyList ordered;
    if (candidates) {
        std::sort(candidates->begin(), candidates->end());
        SortInMemory(*candidates, sort);
        ordered = std::make_shared<const std::vector<RowKey>>(std::move(*candidates));
    } else {
        ordered = OrderedKeys(sort);
    }
    auto keys = std::make_shared<std::vector<RowKey>>();
    constexpr std::size_t kBatch = 256;
    for (std::size_t at = 0; at < ordered->size(); at += kBatch) {
        auto batch =
            std::span<const RowKey>(*ordered).subspan(at, std::min(kBatch, ordered->size() - at));
        std::vector<bool> matches;
        if (HRESULT hr = Match(batch, *restriction, matches); FAILED(hr)) return hr;
        for (std::size_t i = 0; i < batch.size(); ++i)
            if (matches[i]) keys->push_back(batch[i]);
    }
    list = std::move(keys);
    return S_OK;
}

}  // namespace orvella::platform::mapi::store
