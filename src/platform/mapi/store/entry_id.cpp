// Entry id encoding.
#include "entry_id.h"

#include "mapix.h"

#include <cstring>

namespace orvella::platform::mapi::store {

EntryIdBytes MakeEntryId(const EntryIdParts& parts) {
    EntryIdBytes bytes = {};
    std::memcpy(bytes.data() + 4, &parts.store, sizeof(GUID));
    bytes[20] = static_cast<std::uint8_t>(parts.kind);
    auto id = static_cast<std::uint64_t>(parts.object);
    for (int i = 0; i < 8; ++i) bytes[24 + i] = static_cast<std::uint8_t>(id >> (8 * i));
    return bytes;
}

std::optional<EntryIdParts> ParseEntryId(ULONG cb, const ENTRYID* entry_id) {
    if (cb != kEntryIdSize || !entry_id) return std::nullopt;
    auto* bytes = reinterpret_cast<const std::uint8_t*>(entry_id);
    for (int i : {0, 1, 2, 3, 21, 22, 23})
        if (bytes[i] != 0) return std::nullopt;
    if (bytes[20] < 1 || bytes[20] > 3) return std::nullopt;
    EntryIdParts parts;
    std::memcpy(&parts.store, bytes + 4, sizeof(GUID));
    parts.kind = static_cast<EntryKind>(bytes[20]);
    std::uint64_t id = 0;
    for (int i = 0; i < 8; ++i) id |= std::uint64_t{bytes[24 + i]} << (8 * i);
    parts.object = static_cast<ObjectId>(id);
    if ((parts.kind == EntryKind::Store) != (parts.object == 0)) return std::nullopt;
    return parts;
}

std::optional<bool> SameEntry(ULONG cb1, const ENTRYID* id1, ULONG cb2, const ENTRYID* id2) {
    auto a = ParseEntryId(cb1, id1);
    auto b = ParseEntryId(cb2, id2);
    if (!a || !b) return std::nullopt;
    return std::memcmp(&a->store, &b->store, sizeof(GUID)) == 0 && a->kind == b->kind &&
           a->object == b->object;
}

SCODE EntryIdValue(const EntryIdParts& parts, ULONG tag, void* parent, SPropValue& out) {
    EntryIdBytes bytes = MakeEntryId(parts);
    void* copy = nullptr;
    SCODE sc = MAPIAllocateMore(kEntryIdSize, parent, &copy);
    if (FAILED(sc)) return sc;
    std::memcpy(copy, bytes.data(), kEntryIdSize);
    out.ulPropTag = tag;
    out.Value.bin.cb = kEntryIdSize;
    out.Value.bin.lpb = static_cast<LPBYTE>(copy);
    return S_OK;
}

}  // namespace orvella::platform::mapi::store
