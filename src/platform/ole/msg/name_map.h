// A .msg file's own named-property mapping, kept in the "__nameid_version1.0" storage: which
// (property set, name or number) each property id from 0x8000 stands for.
#pragma once

#include <map>
#include <optional>
#include <string>

#include "mapidefs.h"
#include "ole_storage.h"

namespace orvella::platform::ole {

class NameMap {
public:
    struct Name {
        GUID guid = {};
        ULONG kind = MNID_ID;
        LONG lid = 0;
        std::wstring text;  // MNID_STRING
    };

    // The id of a name, or 0; with `create`, a missing name gets the next free id.
    ULONG IdOf(const MAPINAMEID& name, bool create);
    std::optional<Name> NameOf(ULONG prop_id) const;
    bool empty() const { return names_.empty(); }

    // Reads the mapping of a storage (none: an empty map). MAPI_E_CORRUPT_DATA when its streams
    // contradict each other.
    HRESULT Read(IStorage* storage);
    // Writes the mapping into the storage (the GUID, entry and string streams).
    HRESULT Write(IStorage* storage) const;

private:
    std::map<ULONG, Name> names_;  // by property id
};

}  // namespace orvella::platform::ole
