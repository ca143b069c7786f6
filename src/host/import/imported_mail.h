// One message read from a file, in the terms the store keeps: what conversion produces and the
// store writer saves.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "mapidefs.h"

namespace orvella::host::mail {

struct MailAddress {
    std::string name;     // display name, UTF-8; the address itself when the header gives none
    std::string address;  // as written, without angle brackets
};

struct MailRecipient {
    LONG type = MAPI_TO;  // MAPI_TO, MAPI_CC or MAPI_BCC
    MailAddress who;
};

struct ImportedMail {
    std::string message_class = "IPM.Note";
    std::string subject;
    std::optional<MailAddress> sender;  // From (Sender when there is no From)
    std::string display_to;             // names joined by "; "
    std::string display_cc;
    std::string display_bcc;
    std::vector<MailRecipient> recipients;
    std::optional<FILETIME> submit_time;  // Date
    FILETIME delivery_time = {};          // newest Received, else Date, else the file's time
    std::string received_by;              // empty: unknown
    LONG importance = IMPORTANCE_NORMAL;
    std::string body;        // UTF-8
    std::string message_id;  // with its angle brackets; empty when there is none
    std::string headers;     // the header block as UTF-8
    bool read = false;
    std::string source;  // the message exactly as it was in the file
};

// What the place a message came from says about it.
struct SourceContext {
    bool read = false;           // the source marks it seen (Maildir S flag, mbox Status R)
    std::int64_t file_time = 0;  // modification time of its file, seconds since 1970 (UTC)
    std::string own_address;     // the profile's own address, for mail that names no recipient
};

}  // namespace orvella::host::mail
