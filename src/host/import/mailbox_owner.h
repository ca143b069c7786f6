// Whose mailbox a directory of mail is: what `orvella init` needs before an old mailbox is
// imported whose owner's addresses are not known.
#pragma once

#include <filesystem>
#include <string>

namespace orvella::host::mail {

// The commonest sender address of the message files in the mailbox's sent folders ("sent",
// "sent_items", "_sent_mail", "Sent", ... : sub-directories whose name starts with "sent" or
// "_sent", in any case), in lower case; empty when they hold no sender. Unreadable files are
// passed over.
std::string GuessOwnerAddress(const std::filesystem::path& mailbox);

}  // namespace orvella::host::mail
