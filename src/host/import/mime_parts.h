// What a message's MIME structure says: its MAPI message class and its readable body.
#pragma once

#include <string>

#include "gmime_runtime.h"

namespace orvella::host::mail {

struct MimeContent {
    std::string message_class;  // "IPM.Note", "IPM.Note.SMIME", "IPM.Schedule.Meeting.Request"
    std::string body;           // UTF-8
};

// The body is the first text/plain part that is not an attachment, decoded to UTF-8; failing
// that, text made from the first text/html part. Forwarded messages inside are not searched.
MimeContent ReadMimeContent(GMimeMessage* message);

}  // namespace orvella::host::mail
