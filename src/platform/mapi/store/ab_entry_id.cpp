// Address-book entry id encoding.
#include "ab_entry_id.h"

#include <cstring>

namespace orvella::platform::mapi::store {
namespace {

// The address-book provider's uid: the same in every profile, never a store's.
constexpr std::uint8_t kAbProviderUid[16] = {0x4F, 0x52, 0x56, 0x4C, 0x41, 0x42, 0x00, 0x01,
                                             0x9D, 0x3E, 0x41, 0x7A, 0xB2, 0x5C, 0x6E, 0x10};

}  // namespace

EntryIdBytes MakeAbEntryId(const AbEntryIdParts& parts) {
    EntryIdBytes bytes = {};
    std::memcpy(bytes.data() + 4, kAbProviderUid, sizeof kAbProviderUid);
    bytes[20] = static_cast<std::uint8_t>(parts.kind);
    const auto id = static_cast<std::uint64_t>(parts.object);
    for (int i = 0; i < 8; ++i) bytes[24 + i] = static_cast<std::uint8_t>(id >> (8 * i));
    return bytes;
}

std::optional<AbEntryIdParts> ParseAbEntryId(ULONG cb, const ENTRYID* entry_id) {
    if (cb != kEntryIdSize || !entry_id) return std::nullopt;
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(entry_id);
    for (int i : {0, 1, 2, 3, 21, 22, 23})
        if (bytes[i] != 0) return std::nullopt;
    if (std::memcmp(bytes + 4, kAbProviderUid, sizeof kAbProviderUid) != 0) return std::nullopt;
    if (bytes[20] < static_cast<std::uint8_t>(AbEntryKind::Root) ||
        bytes[20] > static_cast<std::uint8_t>(AbEntryKind::MailUser))
        return std::nullopt;
    AbEntryIdParts parts;
    parts.kind = static_cast<AbEntryKind>(bytes[20]);
    std::uint64_t id = 0;
    for (int i = 0; i < 8; ++i) id |= std::uint64_t{bytes[24 + i]} << (8 * i);
    parts.object = static_cast<std::int64_t>(id);
    if ((parts.kind == AbEntryKind::MailUser) != (parts.object > 0)) return std::nullopt;
    return parts;
}

std::optional<bool> SameAbEntry(ULONG cb1, const ENTRYID* id1, ULONG cb2, const ENTRYID* id2) {
    const auto a = ParseAbEntryId(cb1, id1);
    const auto b = ParseAbEntryId(cb2, id2);
    if (!a || !b) return std::nullopt;
    return a->kind == b->kind && a->object == b->object;
}

}  // namespace orvella::platform::mapi::store
