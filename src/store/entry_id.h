// EntryId: the store's binary identifier of a store, folder or message, owned by value. Two
// entry ids are compared only through the store (CompareEntryIDs), never byte by byte.
#pragma once

#include <string>
#include <vector>

#include "mapidefs.h"

class EntryId {
public:
    EntryId() = default;
    EntryId(ULONG cb, const BYTE* bytes) : bytes_(bytes, bytes + cb) {}
    explicit EntryId(const SBinary& binary) : EntryId(binary.cb, binary.lpb) {}
    explicit EntryId(std::vector<BYTE> bytes) : bytes_(std::move(bytes)) {}

    ULONG cb() const { return static_cast<ULONG>(bytes_.size()); }
    // For the LPENTRYID arguments of MAPI; the store does not write through it.
    LPENTRYID get() const { return reinterpret_cast<LPENTRYID>(const_cast<BYTE*>(bytes_.data())); }
    const std::vector<BYTE>& bytes() const { return bytes_; }
    bool empty() const { return bytes_.empty(); }

    // Upper-case hex, as the object model passes entry ids around as text.
    std::string ToHex() const;
    // The entry id of hex text in either case; empty for text that is not whole bytes of hex.
    static EntryId FromHex(const std::string& hex);

private:
    std::vector<BYTE> bytes_;
};
