// Bytes as hex digits and back: how entry ids and binary values travel through text.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace orvella::platform {

// Two uppercase digits per byte, no separators ("00A1FF"), as entry ids appear as text.
std::string HexEncode(std::span<const unsigned char> bytes);

// The bytes of an even number of hex digits in either case; nullopt for anything else.
std::optional<std::vector<unsigned char>> HexDecode(std::string_view digits);

}  // namespace orvella::platform
