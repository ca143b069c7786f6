// Entry ids of the address book's objects: its containers and the directory's mail users.
// Opaque to callers, stable for the life of what they name, and told apart from store entry
// ids so that a session can route each to its provider.
#pragma once

#include <cstdint>
#include <optional>

#include "entry_id.h"

namespace orvella::platform::mapi::store {

enum class AbEntryKind : std::uint8_t {
    Root = 0x11,       // the address book's top container, whose hierarchy lists the others
    Directory = 0x12,  // the "Global Address List"
    Contacts = 0x13,   // the "Contacts" container
    MailUser = 0x14,   // one directory entry; its object id is the entry's id
};

struct AbEntryIdParts {
    AbEntryKind kind = AbEntryKind::Root;
    std::int64_t object = 0;
};

// Layout: 4 flag bytes (0), the address-book provider's uid, the kind, 3 zero bytes, the
// object id in little-endian order; the same size as store entry ids.
EntryIdBytes MakeAbEntryId(const AbEntryIdParts& parts);

// The parts of an address-book entry id; nullopt for anything else.
std::optional<AbEntryIdParts> ParseAbEntryId(ULONG cb, const ENTRYID* entry_id);

// Whether two address-book entry ids name the same object; nullopt when either is not one.
std::optional<bool> SameAbEntry(ULONG cb1, const ENTRYID* id1, ULONG cb2, const ENTRYID* id2);

}  // namespace orvella::platform::mapi::store
