// IMAPIProp for the store's objects (the store, folders, messages): saved values, changes that
// stay invisible to everyone else until SaveChanges, computed values, named properties.
#pragma once

#include <map>
#include <memory>
#include <set>
#include <vector>

#include "mapi_error.h"
#include "mapidefs.h"
#include "store_database.h"

namespace orvella::platform::mapi::store {

// String and binary values larger than this are not handed out by GetProps (nor in table rows):
// the value reads as PT_ERROR with MAPI_E_NOT_ENOUGH_MEMORY and OpenProperty gives it as a stream.
inline constexpr std::size_t kLargeValueBytes = 32 * 1024;

// What an object adds to its saved values.
class ObjectHooks {
public:
    // The tags the object computes (entry ids, counts); never stored, refused by SetProps.
    virtual const std::vector<ULONG>& ComputedTags() const = 0;
    // Fills `out` with the computed value of `tag` (allocating on `parent`); false when the
    // object has no such value now.
    virtual bool Compute(ULONG tag, void* parent, SPropValue& out) = 0;
    // Adds what else the object saves (recipients) to a save.
    virtual void PrepareSave(SaveRequest&) {}

protected:
    ~ObjectHooks() = default;
};

// The IMAPIProp behaviour shared by the store's objects. One object is used by one thread at a
// time, as MAPI objects are.
class ObjectProperties {
public:
    // `info.id` is 0 for an object not saved yet (a new message or folder).
    ObjectProperties(std::shared_ptr<StoreDatabase> store, ObjectInfo info, bool writable,
                     ObjectHooks& hooks);

    StoreDatabase& store() const { return *store_; }
    const std::shared_ptr<StoreDatabase>& store_ptr() const { return store_; }
    const ObjectInfo& info() const { return info_; }
    bool writable() const { return writable_; }
    LastError& last_error() { return last_error_; }
    // The current value (saved or changed) of a property id, or null.
    const SPropValue* Current(ULONG prop_id);

    HRESULT GetProps(LPSPropTagArray tags, ULONG flags, ULONG* count, LPSPropValue* values);
    HRESULT GetPropList(ULONG flags, LPSPropTagArray* tags);
    HRESULT SetProps(ULONG count, LPSPropValue values, LPSPropProblemArray* problems);
    HRESULT DeleteProps(LPSPropTagArray tags, LPSPropProblemArray* problems);
    HRESULT SaveChanges(ULONG flags);
    // Copies every saved or changed value, except `exclude` and the computed ones, to `target`
    // with SetProps; `include` (when not null) limits the copy to its tags. Named properties are
    // carried by name: `self` (the object these are the properties of) names them.
    HRESULT CopyValuesTo(LPSPropTagArray include, LPSPropTagArray exclude, IMAPIProp* self,
                         IMAPIProp* target, LPSPropProblemArray* problems);
    // IStream over a string or binary value; with MAPI_MODIFY, writes become a change of the
    // value when the stream is committed.
    HRESULT OpenProperty(ULONG tag, LPCIID iid, ULONG flags, IUnknown* owner, LPUNKNOWN* out);
    HRESULT GetIDsFromNames(ULONG count, LPMAPINAMEID* names, ULONG flags, LPSPropTagArray* tags);
    HRESULT GetNamesFromIDs(LPSPropTagArray* tags, LPGUID guid, ULONG flags, ULONG* count,
                            LPMAPINAMEID** names);

    // Replaces a value as SetProps does, without checks (for the object's own bookkeeping).
    void Put(const SPropValue& value);
    // Marks the object's non-property state (recipients) as changed.
    void MarkChanged() { changed_ = true; }

private:
    // Reads the saved values at their first use, under the changes made before it: an object
    // opened to write one value (a score on each message of a thread) never reads the others.
    void LoadSaved();
    bool IsComputed(ULONG tag) const;
    HRESULT ValueFor(ULONG tag, void* parent, SPropValue& out);

    std::shared_ptr<StoreDatabase> store_;
    ObjectInfo info_;
    bool writable_;
    ObjectHooks& hooks_;
    LastError last_error_;
    bool loaded_;                   // whether values_ holds the saved values
    PropertyMap values_;            // by property id: saved values overlaid with changes
    std::map<ULONG, ULONG> saved_;  // property id -> tag as saved in the file, once loaded
    std::set<ULONG> touched_;       // property ids set or deleted since the last save
    bool changed_ = false;
};

}  // namespace orvella::platform::mapi::store
