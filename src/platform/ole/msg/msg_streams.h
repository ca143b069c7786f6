// One object's properties in a storage, as the .msg layout keeps them: the property stream
// "__properties_version1.0" (a header, then a 16-byte entry per property) and a
// "__substg1.0_TTTTTTTT" stream per value that is not inline.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "mapi_ptr.h"
#include "ole_storage.h"

namespace orvella::platform::ole {

// The property stream's header size: 32 bytes for a top-level message, 8 for a recipient.
inline constexpr std::size_t kMessageHeaderBytes = 32;
inline constexpr std::size_t kRecipientHeaderBytes = 8;

std::wstring SubstgName(ULONG tag);
std::wstring RecipientStorageName(ULONG index);

// The bytes of a stream; STG_E_FILENOTFOUND when there is none.
HRESULT ReadStream(IStorage* storage, const std::wstring& name, std::vector<std::uint8_t>& bytes);
// Creates (or replaces) a stream holding `bytes`.
HRESULT WriteStream(IStorage* storage, const std::wstring& name,
                    const std::vector<std::uint8_t>& bytes);

// Writes `values` (types the layout cannot keep are left out) after `header`, first removing
// the value streams of the properties the storage held before.
HRESULT WritePropertySet(IStorage* storage, const std::vector<std::uint8_t>& header,
                         const std::vector<SPropValue>& values);

// Reads the properties into one MAPI buffer (`values`, `count`) and the header. A storage
// without a property stream has no properties (S_FALSE); damaged streams are
// MAPI_E_CORRUPT_DATA.
HRESULT ReadPropertySet(IStorage* storage, std::size_t header_bytes,
                        std::vector<std::uint8_t>& header, mapi::MapiBuffer<SPropValue>& values,
                        ULONG& count);

}  // namespace orvella::platform::ole
