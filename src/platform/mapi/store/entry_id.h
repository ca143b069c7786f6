// The provider's entry ids: opaque to callers, stable for the life of the object (moves within
// a store keep them), and naming the store so a session can route them.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "mapidefs.h"

namespace orvella::platform::mapi::store {

using ObjectId = std::int64_t;

// What an entry id names; the store itself has object id 0.
enum class EntryKind : std::uint8_t { Store = 1, Folder = 2, Message = 3 };

struct EntryIdParts {
    GUID store = {};
    EntryKind kind = EntryKind::Store;
    ObjectId object = 0;
};

inline constexpr ULONG kEntryIdSize = 32;
using EntryIdBytes = std::array<std::uint8_t, kEntryIdSize>;

// Layout: 4 flag bytes (0), the store's 16-byte uid, the kind, 3 zero bytes, the object id in
// little-endian order.
EntryIdBytes MakeEntryId(const EntryIdParts& parts);

// The parts of an entry id this provider made; nullopt for anything else.
std::optional<EntryIdParts> ParseEntryId(ULONG cb, const ENTRYID* entry_id);

// CompareEntryIDs: whether two entry ids name the same object; nullopt when either is not one of
// this provider's.
std::optional<bool> SameEntry(ULONG cb1, const ENTRYID* id1, ULONG cb2, const ENTRYID* id2);

// Copies an entry id into a binary value allocated on `parent` (MAPIAllocateMore).
SCODE EntryIdValue(const EntryIdParts& parts, ULONG tag, void* parent, SPropValue& out);

}  // namespace orvella::platform::mapi::store
