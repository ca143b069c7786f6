// Conversion of one RFC 5322 message into the properties the store keeps.
#pragma once

#include <optional>
#include <string>

#include "imported_mail.h"

namespace orvella::host::mail {

// The message in `raw`, read with what can be read: broken addresses, 8-bit header text,
// missing dates and undecodable parts yield partial values, never a failure. nullopt only when
// `raw` is not mail at all (no header block naming any of From, To, Subject, Date, Message-ID,
// Received). May be called from any thread; GMime is initialised on first use.
std::optional<ImportedMail> ConvertMessage(std::string raw, const SourceContext& context);

}  // namespace orvella::host::mail
