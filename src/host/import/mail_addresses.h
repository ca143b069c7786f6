// Address lists of real mail headers, including the broken ones (".williams@enron.com",
// "m..presto@enron.com", "Allen, Phillip K. </O=ENRON/...>") a strict parser drops.
#pragma once

#include <string_view>
#include <vector>

#include "imported_mail.h"

namespace orvella::host::mail {

// Every mailbox of a raw header value in order, group members included and empty groups
// ("undisclosed-recipients:;") giving none. Each comma-separated item is read by GMime; an item
// GMime cannot read is kept as written: the text in angle brackets as the address and what
// precedes it as the name, or the whole item as the address. Names are decoded (RFC 2047) and
// UTF-8; a mailbox without a name is named by its address.
std::vector<MailAddress> ParseAddressList(std::string_view raw);

}  // namespace orvella::host::mail
